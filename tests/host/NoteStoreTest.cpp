#include "NoteStore.h"

#include "TemporaryFolder.h"

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/UUIDGenerator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace Zovi::Host
{

using Test::TemporaryFolder;
using ::testing::StartsWith;

namespace
{

Note makeNote(const std::string& name, std::int64_t created = 1)
{
    return {Poco::UUIDGenerator().createRandom(), {name, "text of " + name, true}, created, created};
}

std::string describe(const Note& note)
{
    return note.id.toString() + "|" + note.content.name + "|" + note.content.text + "|" +
           std::to_string(note.content.isPinned) + "|" + std::to_string(note.created) + "|" +
           std::to_string(note.modified);
}

std::string describeAll(const NoteStore& store)
{
    std::string all;
    for (const Note& note : store.readAll())
        all += describe(note) + "\n";
    return all;
}

std::string refusalOf(const std::string& file)
{
    try {
        const NoteStore store(file);
        return "not refused";
    } catch (const NoteStoreError& failure) {
        return failure.what();
    }
}

} // namespace

TEST(NoteStore, KeepsWhatItIsGiven)
{
    const TemporaryFolder folder;
    const Note first{
        Poco::UUIDGenerator().createRandom(),
        {"'); DROP TABLE notes; --", std::string("\xE2\x82\xAC\n\"?\\") + std::string(40'000, 'x')},
        9'000'000'000'000,
        -1};
    const Note second = makeNote("second", 9'000'000'000'001);
    std::string before;
    {
        NoteStore store(folder.file("notes.sqlite"));
        EXPECT_EQ(describeAll(store), "");
        EXPECT_TRUE(store.add(second, 10));
        EXPECT_TRUE(store.add(first, 10));
        before = describeAll(store);
        EXPECT_EQ(before, describe(first) + "\n" + describe(second) + "\n");
    }
    const NoteStore store(folder.file("notes.sqlite"));
    EXPECT_EQ(describeAll(store), before);
    EXPECT_EQ(describe(store.find(second.id).value()), describe(second));
    EXPECT_FALSE(store.find(Poco::UUID::dns()));
}

TEST(NoteStore, ReplacesANoteAndKeepsWhenItWasMade)
{
    NoteStore store(":memory:");
    const Note note = makeNote("old", 5);
    store.add(note, 10);
    const std::optional<Note> replaced = store.replace(note.id, {"new", "", false}, 6);
    EXPECT_EQ(describe(replaced.value()), note.id.toString() + "|new||0|5|6");
    EXPECT_EQ(describe(store.find(note.id).value()), describe(*replaced));
    EXPECT_FALSE(store.replace(Poco::UUID::dns(), {"new", "", false}, 6));
    EXPECT_EQ(store.readAll().size(), 1U);
}

TEST(NoteStore, RemovesANoteOnce)
{
    NoteStore store(":memory:");
    const Note note = makeNote("a");
    const Note other = makeNote("b");
    store.add(note, 10);
    store.add(other, 10);
    EXPECT_TRUE(store.remove(note.id));
    EXPECT_FALSE(store.remove(note.id));
    EXPECT_EQ(describeAll(store), describe(other) + "\n");
}

TEST(NoteStore, TakesNoMoreThanItMay)
{
    NoteStore store(":memory:");
    EXPECT_TRUE(store.add(makeNote("a"), 2));
    EXPECT_TRUE(store.add(makeNote("b"), 2));
    EXPECT_FALSE(store.add(makeNote("c"), 2));
    EXPECT_EQ(store.readAll().size(), 2U);
    store.remove(store.readAll().front().id);
    EXPECT_TRUE(store.add(makeNote("c"), 2));
}

TEST(NoteStore, SharesItsFileWithNobody)
{
    const TemporaryFolder folder;
    const NoteStore store(folder.file("notes.sqlite"));
    EXPECT_EQ(refusalOf(folder.file("notes.sqlite")),
              "cannot keep notes in " + folder.file("notes.sqlite") + ": another program uses it");
}

TEST(NoteStore, NamesAFileThatItCannotUse)
{
    const TemporaryFolder folder;
    EXPECT_THAT(refusalOf("/no/such/folder/notes"),
                StartsWith("cannot keep notes in /no/such/folder/notes: "));
    const std::string text = std::string(4096, 'x');
    std::ofstream(folder.file("notes.sqlite")) << text;
    EXPECT_THAT(refusalOf(folder.file("notes.sqlite")),
                StartsWith("cannot keep notes in " + folder.file("notes.sqlite") + ": "));
    EXPECT_EQ(std::filesystem::file_size(folder.file("notes.sqlite")), text.size());
}

TEST(NoteStore, LeavesAFileOfANewerVersionAlone)
{
    const TemporaryFolder folder;
    {
        const NoteStore store(folder.file("notes.sqlite"));
    }
    {
        Poco::Data::Session session(Poco::Data::SQLite::Connector::KEY, folder.file("notes.sqlite"));
        session << "PRAGMA user_version = 2", Poco::Data::Keywords::now;
    }
    EXPECT_EQ(refusalOf(folder.file("notes.sqlite")),
              "cannot keep notes in " + folder.file("notes.sqlite") +
                  ": it was written by a newer version of this program");
}

} // namespace Zovi::Host
