#include "FileText.h"

#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

namespace Zovi::Host
{

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Zovi::Test::MadeUpMachine;

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
