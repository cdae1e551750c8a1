#include "FileText.h"

#include "MadeUpMachine.h"
#include "NoDescriptors.h"
#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>

namespace Zovi::Host
{

using ServiceKit::RequestError;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Zovi::Test::MadeUpMachine;
using Zovi::Test::NoDescriptors;

namespace
{

/// The status and the message by which `operation` is refused.
std::string refusalOf(const std::function<void()>& operation)
{
    try {
        operation();
        return "not refused";
    } catch (const RequestError& refusal) {
        return std::to_string(refusal.status()) + " " + refusal.what();
    }
}

} // namespace

TEST(FileText, ReadsFilesWhole)
{
    const MadeUpMachine machine;
    const std::string text = std::string("a\0b\n", 4) + std::string(100'000, 'x') + "\n \t\n";
    machine.write("file", text);
    EXPECT_EQ(readFile(machine.root() / "file"), text);
    EXPECT_EQ(readLine(machine.root() / "file"), text.substr(0, text.size() - 4));
}

TEST(FileText, ReadsNothingWhereThereIsNoFile)
{
    const MadeUpMachine machine;
    machine.write("folder/file", "");
    EXPECT_EQ(readFile(machine.root() / "none"), std::nullopt);
    EXPECT_EQ(readLine(machine.root() / "none"), std::nullopt);
    EXPECT_EQ(readFile(machine.root() / "folder"), std::nullopt);
    EXPECT_EQ(readFile(machine.root() / "folder/file"), "");
}

TEST(FileText, ListsTheNamesInAFolder)
{
    const MadeUpMachine machine;
    machine.write("folder/a", "");
    machine.write("folder/b/c", "");
    EXPECT_THAT(namesIn(machine.root() / "folder"), UnorderedElementsAre("a", "b"));
    EXPECT_THAT(namesIn(machine.root() / "none"), IsEmpty());
    EXPECT_THAT(namesIn(machine.root() / "folder/a"), IsEmpty());
}

TEST(FileText, TakesNothingForAbsentWhenThereIsNoDescriptorLeft)
{
    const MadeUpMachine machine;
    machine.write("folder/file", "text");
    const std::string refusal = "503 cannot look at the machine: Too many open files";
    const NoDescriptors none;
    EXPECT_EQ(refusalOf([&] { readFile(machine.root() / "folder/file"); }), refusal);
    EXPECT_EQ(refusalOf([&] { readLine(machine.root() / "none"); }), refusal);
    EXPECT_EQ(refusalOf([&] { namesIn(machine.root() / "folder"); }), refusal);
}

TEST(FileText, RefusesForWantOfRoomAlone)
{
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        SCOPED_TRACE(error);
        EXPECT_THROW(requireRoom(error), RequestError);
    }
    for (const int error : {0, ENOENT, ESRCH, EACCES, EIO}) {
        SCOPED_TRACE(error);
        EXPECT_NO_THROW(requireRoom(error));
    }
}

TEST(FileText, TakesOnlyWholeNumbers)
{
    EXPECT_EQ(toNumber<std::int32_t>("-17"), -17);
    EXPECT_EQ(toNumber<std::uint64_t>("18446744073709551615"), UINT64_MAX);
    for (const char* text : {"", " 1", "1 ", "1x", "+1", "0x1", "99999999999"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(toNumber<std::int32_t>(text), std::nullopt);
    }
    EXPECT_EQ(toNumber<std::uint64_t>("-1"), std::nullopt);
    EXPECT_EQ(toNumber<std::uint64_t>("18446744073709551616"), std::nullopt);
}

TEST(FileText, TakesWordsAndLines)
{
    std::string_view words = " a\tbc \n d";
    EXPECT_EQ(takeWord(words), "a");
    EXPECT_EQ(takeWord(words), "bc");
    EXPECT_EQ(takeWord(words), "d");
    EXPECT_EQ(takeWord(words), "");
    std::string_view lines = "a b\n\nc";
    EXPECT_EQ(takeLine(lines), "a b");
    EXPECT_EQ(takeLine(lines), "");
    EXPECT_EQ(takeLine(lines), "c");
    EXPECT_TRUE(lines.empty());
}

} // namespace Zovi::Host
