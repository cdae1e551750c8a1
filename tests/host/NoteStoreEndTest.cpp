#include "NoteStore.h"

#include "FailingWrites.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// A program that keeps notes is ended at each of its writes in turn, in several ways. Whatever is left of its
// files, all that it had done is there when they are opened again, and of what it was doing all or nothing.

namespace Zovi::Host
{

using Test::TemporaryFolder;
using Test::WriteEnd;
using ::testing::AnyOf;
namespace FailingWrites = Test::FailingWrites;

namespace
{

using Operation = std::function<void(NoteStore&)>;

constexpr std::size_t MANY = 100;

/// More than a page of the file has.
const std::string LONG_TEXT(10'000, 'x');

Poco::UUID idOf(int number)
{
    return Poco::UUID("00000000-0000-4000-8000-00000000000" + std::to_string(number));
}

Operation adding(int number, const std::string& text)
{
    return [=](NoteStore& store) {
        const std::string name = "note " + std::to_string(number);
        store.add({idOf(number), {name, text, false}, number, number}, MANY);
    };
}

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> OPERATIONS{
        adding(1, "short"),
        adding(2, LONG_TEXT),
        adding(3, ""),
        [](NoteStore& store) {
            store.replace(idOf(1), {"changed", LONG_TEXT, true}, 4);
        },
        [](NoteStore& store) { store.remove(idOf(2)); },
        adding(4, LONG_TEXT),
        [](NoteStore& store) {
            store.replace(idOf(4), {"changed", "", true}, 5);
        },
        [](NoteStore& store) { store.remove(idOf(3)); },
    };
    return OPERATIONS;
}

std::string describe(const NoteStore& store)
{
    std::string text;
    for (const Note& note : store.readAll())
        text += note.id.toString() + " " + note.content.name + " " + note.content.text + " " +
                std::to_string(note.content.isPinned) + " " + std::to_string(note.modified) + "\n";
    return text;
}

/// What the notes are before the first operation, behind it, and so on.
std::vector<std::string> expectedStates()
{
    NoteStore store(":memory:");
    std::vector<std::string> states{describe(store)};
    for (const Operation& operation : operations()) {
        operation(store);
        states.push_back(describe(store));
    }
    return states;
}

/// How a program ended that was to do all operations.
struct Ending {
    std::size_t doneCount = 0; ///< operations that it had told of
    bool isWhole = false;      ///< it was not ended before its time
    long writes = 0;           ///< only if it was not
};

/// Runs in a process of its own, and tells of each operation once it is done.
[[noreturn]] void keepNotes(const std::string& file, int report)
{
    {
        NoteStore store(file);
        for (const Operation& operation : operations()) {
            operation(store);
            if (::write(report, "x", 1) != 1)
                _exit(2);
        }
    }
    const long writes = FailingWrites::count();
    _exit(::write(report, &writes, sizeof writes) == sizeof writes ? 0 : 2);
}

std::string readAll(int descriptor)
{
    std::string text;
    std::array<char, 64> bytes{};
    for (ssize_t count = 1; count > 0;) {
        count = ::read(descriptor, bytes.data(), bytes.size());
        text.append(bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0));
    }
    return text;
}

/// Lets a program keep notes in `file` and ends it at the write with this number, 0 for none.
Ending keepNotesUntil(const std::string& file, long number, WriteEnd how)
{
    std::array<int, 2> report{};
    if (pipe(report.data()) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(report[0]);
        FailingWrites::arm(number, how);
        keepNotes(file, report[1]);
    }
    close(report[1]);
    const std::string told = readAll(report[0]);
    close(report[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Ending ending;
    ending.isWhole = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    ending.doneCount = ending.isWhole ? operations().size() : told.size();
    if (ending.isWhole)
        told.copy(reinterpret_cast<char*>(&ending.writes), sizeof ending.writes, ending.doneCount);
    else
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    return ending;
}

void expectNoLoss(long number, WriteEnd how)
{
    static const std::vector<std::string> STATES = expectedStates();
    const TemporaryFolder folder;
    const std::string file = folder.file("notes.sqlite");
    const Ending ending = keepNotesUntil(file, number, how);
    EXPECT_FALSE(ending.isWhole);
    NoteStore store(file);
    const std::size_t next = std::min(ending.doneCount + 1, operations().size());
    EXPECT_THAT(describe(store), AnyOf(STATES[ending.doneCount], STATES[next])) << ending.doneCount;
    EXPECT_TRUE(store.add({idOf(9), {"the next", LONG_TEXT, false}, 9, 9}, MANY));
}

} // namespace

TEST(NoteStoreEnd, LosesNothingAtWhicheverWriteItComes)
{
    const TemporaryFolder folder;
    const Ending whole = keepNotesUntil(folder.file("notes.sqlite"), 0, WriteEnd::BEFORE);
    ASSERT_TRUE(whole.isWhole);
    EXPECT_EQ(describe(NoteStore(folder.file("notes.sqlite"))), expectedStates().back());
    ASSERT_GT(whole.writes, 50) << "the calls of SQLite are not replaced";
    for (long number = 1; number <= whole.writes; ++number) {
        for (const WriteEnd how :
             {WriteEnd::BEFORE, WriteEnd::HALF, WriteEnd::POWER_LOSS, WriteEnd::ODD_POWER_LOSS}) {
            SCOPED_TRACE("write " + std::to_string(number) + ", end " +
                         std::to_string(static_cast<int>(how)));
            expectNoLoss(number, how);
        }
    }
    RecordProperty("writes", std::to_string(whole.writes));
}

} // namespace Zovi::Host
