#pragma once

#include "Note.h"

#include <Poco/Data/Session.h>
#include <Poco/UUID.h>

#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zovi::Host
{

/// Thrown if notes cannot be kept in a file; its text names the file and the reason.
class NoteStoreError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Keeps notes in an SQLite file. A change that has been made survives the end of the program at any moment,
/// and of the power too, as far as the disk keeps what it says it has written.
///
/// One program at a time uses a file. Any thread may call the operations; they throw what Poco Data throws if
/// the file cannot be read or written, and the notes are then as they were.
class NoteStore
{
public:
    /// Opens `file`, or makes it; ":memory:" keeps the notes no longer than this object. Throws
    /// `NoteStoreError` if the file cannot be opened, is used by another program, is no database, or was
    /// written by a newer version.
    explicit NoteStore(const std::string& file);

    ~NoteStore();
    NoteStore(const NoteStore&) = delete;
    NoteStore& operator=(const NoteStore&) = delete;

    std::vector<Note> readAll() const;
    std::optional<Note> find(const Poco::UUID& id) const;

    /// Adds a note whose id is new. False if there are `maxCount` notes already.
    bool add(const Note& note, std::size_t maxCount);

    /// Gives the note `id` another content. The note as it is now, nothing if there is none of this id.
    std::optional<Note> replace(const Poco::UUID& id, const NoteContent& content, std::int64_t modified);

    /// False if there is no note of this id.
    bool remove(const Poco::UUID& id);

private:
    void prepare();
    std::optional<Note> findLocked(const Poco::UUID& id) const;

    mutable std::mutex m_mutex;
    mutable Poco::Data::Session m_session;
};

} // namespace Zovi::Host
