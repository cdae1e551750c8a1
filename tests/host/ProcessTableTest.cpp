#include "ProcessTable.h"

#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ::testing::IsEmpty;
using Zovi::Test::MadeUpMachine;

namespace
{

const std::string TAIL = " S 1 7 7 0 -1 4194304 98 0 0 0 250 50 9 9 20 0 7 0 136753 3133440 358 1\n";

} // namespace

TEST(ProcessTable, ReadsTheFieldsOfAState)
{
    const auto stat = parseProcessStat("4711 (cat)" + TAIL);
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->pid, 4711);
    EXPECT_EQ(stat->name, "cat");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->parentPid, 1);
    EXPECT_EQ(stat->userTicks, 250U);
    EXPECT_EQ(stat->systemTicks, 50U);
    EXPECT_EQ(stat->threads, 7);
    EXPECT_EQ(stat->startTicks, 136753U);
}

TEST(ProcessTable, TakesAnyNameOfAProcess)
{
    for (const std::string name :
         {"", " ", "(sd-pam)", "a) R 1 (b", ")", "((", "a\nb", "\xFF\xFE", "1 (x) S 2"}) {
        SCOPED_TRACE(name);
        const auto stat = parseProcessStat("17 (" + name + ")" + TAIL);
        ASSERT_TRUE(stat);
        EXPECT_EQ(stat->name, name);
        EXPECT_EQ(stat->pid, 17);
        EXPECT_EQ(stat->parentPid, 1);
    }
}

TEST(ProcessTable, RefusesAStateThatIsMalformedOrCutOff)
{
    for (const std::string text : {"", "17", "17 (cat", "17 cat S 1", "17) (x",
                                   "x (cat) S 1 7 7 0 -1 4 98 0 0 0 250 50 9 9 20 0 7 0 1 3",
                                   "17 (cat) SS 1 7 7 0 -1 4 98 0 0 0 250 50 9 9 20 0 7 0 1 3",
                                   "17 (cat) S x 7 7 0 -1 4 98 0 0 0 250 50 9 9 20 0 7 0 1 3"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(parseProcessStat(text));
    }
    const std::string whole = "17 (cat) S 1 7 7 0 -1 4 98 0 0 0 250 50 9 9 20 0 7 0 1";
    EXPECT_TRUE(parseProcessStat(whole));
    for (std::size_t length = 0; length < whole.size() - 1; ++length) {
        SCOPED_TRACE(whole.substr(0, length));
        EXPECT_FALSE(parseProcessStat(whole.substr(0, length)));
    }
}

TEST(ProcessTable, ReadsTheEffectiveUserAndTheMemory)
{
    const auto status =
        parseProcessStatus("Name:\tUid:\t9\nUid:\t1000\t1001\t1002\t1003\nVmRSS:\t    1432 kB\n");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->userId, 1001U);
    EXPECT_EQ(status->residentMemory, 1432U * 1024);
}

TEST(ProcessTable, TakesAThreadOfTheKernelToHaveNoMemory)
{
    const auto status = parseProcessStatus("Name:\tkthreadd\nUid:\t0\t0\t0\t0\n");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->userId, 0U);
    EXPECT_EQ(status->residentMemory, 0U);
}

TEST(ProcessTable, RefusesAStatusWithoutAUser)
{
    for (const char* text : {"", "Name:\tcat\n", "Uid:\n", "Uid:\tx\ty\n", "Uidx:\t0\t0\n"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(parseProcessStatus(text));
    }
}

TEST(ProcessTable, ReadsTheStartOfTheMachine)
{
    EXPECT_EQ(parseBootTime("cpu  1 2 3\nintr 5 btime 6\nbtime 1767225600\nprocesses 7\n"), 1767225600);
    EXPECT_EQ(parseBootTime("cpu 1\n"), std::nullopt);
    EXPECT_EQ(parseBootTime(""), std::nullopt);
    EXPECT_EQ(parseBootTime("btime x\n"), std::nullopt);
}

TEST(ProcessTable, HasAWordForEachState)
{
    const std::pair<char, std::string> rows[] = {
        {'R', "running"}, {'S', "sleeping"}, {'D', "waiting"}, {'T', "stopped"},
        {'t', "traced"},  {'Z', "zombie"},   {'X', "dead"},    {'x', "dead"},
        {'I', "idle"},    {'P', "parked"},   {'?', "unknown"},
    };
    for (const auto& [state, name] : rows) {
        SCOPED_TRACE(state);
        EXPECT_EQ(toStateName(state), name);
    }
}

TEST(ProcessTable, LeavesOutWhatIsNoProcessOrIsOneNoLonger)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", "Uid:\t0\t0\t0\t0\n");
    machine.addProcess(20, 1, "cat", "Uid:\t5\t5\t5\t5\n");
    machine.write("proc/30/status", "the process has ended between two reads");
    machine.write("proc/40/stat", "");
    machine.write("proc/stat", "btime 1767225600\n");
    machine.write("proc/self/stat", "1 (self)" + TAIL);
    const ProcessTable table(machine.root());
    const auto processes = table.readAll();
    ASSERT_EQ(processes.size(), 2U);
    EXPECT_EQ(processes.at(1).name, "init");
    EXPECT_EQ(processes.at(20).parentPid, 1);
    EXPECT_EQ(table.readStatus(20)->userId, 5U);
    EXPECT_FALSE(table.readStatus(30));
    EXPECT_FALSE(table.readStatus(99));
    EXPECT_EQ(table.readBootTime(), 1767225600);
}

TEST(ProcessTable, IsEmptyWithoutTheFilesOfAKernel)
{
    const MadeUpMachine machine;
    const ProcessTable table(machine.root());
    EXPECT_THAT(table.readAll(), IsEmpty());
    EXPECT_EQ(table.readBootTime(), 0);
}

} // namespace Zovi::Host
