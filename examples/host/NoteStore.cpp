#include "NoteStore.h"

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/SQLite/SQLiteException.h>
#include <Poco/Exception.h>
#include <Poco/Tuple.h>

namespace Zovi::Host
{

namespace
{

using namespace Poco::Data::Keywords;

constexpr int SCHEMA_VERSION = 1;

/// How long to wait for another program to let go of the file.
constexpr std::size_t TIMEOUT_SECONDS = 1;

/// In the order of `COLUMNS`.
using Row = Poco::Tuple<std::string, std::string, std::string, bool, Poco::Int64, Poco::Int64>;

const std::string COLUMNS = "id, name, text, pinned, created, modified";

Note toNote(const Row& row)
{
    return {Poco::UUID(row.get<0>()), {row.get<1>(), row.get<2>(), row.get<3>()}, row.get<4>(), row.get<5>()};
}

Poco::Data::Session open(const std::string& file)
{
    Poco::Data::SQLite::Connector::registerConnector();
    return {Poco::Data::SQLite::Connector::KEY, file, TIMEOUT_SECONDS};
}

} // namespace

NoteStore::NoteStore(const std::string& file)
try : m_session(open(file)) {
    prepare();
} catch (const Poco::Data::SQLite::DBLockedException&) {
    throw NoteStoreError("cannot keep notes in " + file + ": another program uses it");
} catch (const Poco::Exception& failure) {
    throw NoteStoreError("cannot keep notes in " + file + ": " + failure.message());
}

NoteStore::~NoteStore() = default;

void NoteStore::prepare()
{
    std::string mode;
    // The lock is taken with the first access, and kept.
    m_session << "PRAGMA locking_mode = EXCLUSIVE", into(mode), now;
    m_session << "PRAGMA journal_mode = WAL", into(mode), now;
    m_session << "PRAGMA synchronous = FULL", now;
    int version = 0;
    m_session << "PRAGMA user_version", into(version), now;
    if (version > SCHEMA_VERSION)
        throw Poco::DataException("it was written by a newer version of this program");
    m_session << "CREATE TABLE IF NOT EXISTS notes (id TEXT PRIMARY KEY NOT NULL, name TEXT NOT NULL, "
                 "text TEXT NOT NULL, pinned INTEGER NOT NULL, created INTEGER NOT NULL, "
                 "modified INTEGER NOT NULL)",
        now;
    m_session << "PRAGMA user_version = " + std::to_string(SCHEMA_VERSION), now;
}

std::vector<Note> NoteStore::readAll() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Row> rows;
    m_session << "SELECT " + COLUMNS + " FROM notes ORDER BY created, id", into(rows), now;
    std::vector<Note> notes;
    notes.reserve(rows.size());
    for (const Row& row : rows)
        notes.push_back(toNote(row));
    return notes;
}

std::optional<Note> NoteStore::find(const Poco::UUID& id) const
{
    const std::lock_guard lock(m_mutex);
    return findLocked(id);
}

std::optional<Note> NoteStore::findLocked(const Poco::UUID& id) const
{
    std::vector<Row> rows;
    m_session << "SELECT " + COLUMNS + " FROM notes WHERE id = ?", into(rows), bind(id.toString()), now;
    return rows.empty() ? std::nullopt : std::optional(toNote(rows.front()));
}

bool NoteStore::add(const Note& note, std::size_t maxCount)
{
    const std::lock_guard lock(m_mutex);
    Poco::UInt64 count = 0;
    m_session << "SELECT COUNT(*) FROM notes", into(count), now;
    if (count >= maxCount)
        return false;
    m_session << "INSERT INTO notes (" + COLUMNS + ") VALUES (?, ?, ?, ?, ?, ?)", bind(note.id.toString()),
        bind(note.content.name), bind(note.content.text), bind(note.content.isPinned), bind(note.created),
        bind(note.modified), now;
    return true;
}

std::optional<Note> NoteStore::replace(const Poco::UUID& id, const NoteContent& content,
                                       std::int64_t modified)
{
    const std::lock_guard lock(m_mutex);
    std::optional<Note> note = findLocked(id);
    if (!note)
        return std::nullopt;
    m_session << "UPDATE notes SET name = ?, text = ?, pinned = ?, modified = ? WHERE id = ?",
        bind(content.name), bind(content.text), bind(content.isPinned), bind(modified), bind(id.toString()),
        now;
    note->content = content;
    note->modified = modified;
    return note;
}

bool NoteStore::remove(const Poco::UUID& id)
{
    const std::lock_guard lock(m_mutex);
    if (!findLocked(id))
        return false;
    m_session << "DELETE FROM notes WHERE id = ?", bind(id.toString()), now;
    return true;
}

} // namespace Zovi::Host
