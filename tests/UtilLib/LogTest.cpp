#include "Logging/Log.h"

#include "LogCapture.h"

#include <Poco/ConsoleChannel.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

namespace Logging
{
namespace
{

// Catches what is written to the standard error stream while it lives.
class StandardErrorCapture
{
public:
    StandardErrorCapture()
        : m_previous(std::cerr.rdbuf(m_text.rdbuf()))
    {
    }
    ~StandardErrorCapture() { std::cerr.rdbuf(m_previous); }

    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_previous;
};

void exitWith(bool success)
{
    std::exit(success ? EXIT_SUCCESS : EXIT_FAILURE);
}

// Each of these cases runs in a process of its own, in which the logger is new.
class FreshLog : public testing::Test
{
protected:
    FreshLog() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST(Log, GivesOneLoggerOfItsName)
{
    EXPECT_EQ(Log::Logger().name(), "Zovi");
    EXPECT_EQ(&Log::Logger(), &Log::Logger());
    EXPECT_EQ(&Log::Logger(), &Poco::Logger::get("Zovi"));
}

TEST(Log, WritesNoticesToTheStandardErrorStreamOutOfTheBox)
{
    EXPECT_EQ(Log::Logger().getLevel(), Poco::Message::PRIO_NOTICE);
    const StandardErrorCapture error;
    Log::Logger().notice("a notice");
    Log::Logger().information("an information");
    EXPECT_EQ(error.text(), "a notice\n");
}

TEST(Log, IsActiveUpToTheLevel)
{
    const Zovi::Test::LogCapture log(Poco::Message::PRIO_WARNING);
    EXPECT_TRUE(Log::IsLogLevelActive(Poco::Message::PRIO_FATAL));
    EXPECT_TRUE(Log::IsLogLevelActive(Poco::Message::PRIO_ERROR));
    EXPECT_TRUE(Log::IsLogLevelActive(Poco::Message::PRIO_WARNING));
    EXPECT_FALSE(Log::IsLogLevelActive(Poco::Message::PRIO_NOTICE));
    EXPECT_FALSE(Log::IsLogLevelActive(Poco::Message::PRIO_TRACE));
}

TEST(Log, FollowsTheLevelThatTheServiceSets)
{
    const Zovi::Test::LogCapture log(Poco::Message::PRIO_ERROR);
    EXPECT_FALSE(Log::IsLogLevelActive(Poco::Message::PRIO_TRACE));
    Poco::Logger::setLevel("Zovi", Poco::Message::PRIO_TRACE);
    EXPECT_TRUE(Log::IsLogLevelActive(Poco::Message::PRIO_TRACE));
    Log::Logger().setLevel(0);
    EXPECT_FALSE(Log::IsLogLevelActive(Poco::Message::PRIO_FATAL));
}

TEST_F(FreshLog, TakesOverLevelAndChannelOfARootThatTheServiceConfigured)
{
    const auto check = [] {
        const Poco::Channel::Ptr channel = new Poco::ConsoleChannel;
        Poco::Logger::root().setChannel(channel);
        Poco::Logger::root().setLevel(Poco::Message::PRIO_DEBUG);
        return Log::Logger().getChannel() == channel && Log::Logger().getLevel() == Poco::Message::PRIO_DEBUG;
    };
    EXPECT_EXIT(exitWith(check()), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(FreshLog, KeepsALoggerThatTheServiceMade)
{
    const auto check = [] {
        const Poco::Channel::Ptr channel = new Poco::ConsoleChannel;
        Poco::Logger::create("Zovi", channel, Poco::Message::PRIO_TRACE);
        return Log::Logger().getChannel() == channel && Log::Logger().getLevel() == Poco::Message::PRIO_TRACE;
    };
    EXPECT_EXIT(exitWith(check()), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(FreshLog, GivesALoggerWithoutAChannelTheStandardErrorStream)
{
    const auto write = [] {
        Poco::Logger::get("Zovi").setLevel(Poco::Message::PRIO_TRACE);
        Log::Logger().trace("from a logger without a channel");
    };
    EXPECT_EXIT((write(), exitWith(true)), testing::ExitedWithCode(EXIT_SUCCESS),
                "from a logger without a channel");
}

TEST_F(FreshLog, OutlivesTheShutdownOfAllLoggers)
{
    const auto write = [] {
        Log::Logger().notice("before");
        Poco::Logger::shutdown();
        Log::Logger().notice("after");
    };
    EXPECT_EXIT((write(), exitWith(true)), testing::ExitedWithCode(EXIT_SUCCESS), "before\nafter");
}

} // namespace
} // namespace Logging
