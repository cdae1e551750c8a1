#include "HostProgram.h"

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <Poco/StreamCopier.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Zovi::Test::HostProgram;

namespace
{

/// What curl prints: the heads, and behind them the body if it asks for one.
std::string curl(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"--silent", "--show-error", "--max-time", "20"});
    Poco::Pipe output;
    const Poco::ProcessHandle process = Poco::Process::launch("curl", arguments, nullptr, &output, nullptr);
    Poco::PipeInputStream stream(output);
    std::string text;
    Poco::StreamCopier::copyToString(stream, text);
    EXPECT_EQ(process.wait(), 0) << text;
    return text;
}

std::string tagIn(const std::string& head)
{
    static const std::regex TAG("\r\nETag: ([^\r]+)\r\n");
    std::smatch match;
    return std::regex_search(head, match, TAG) ? match[1].str() : "none";
}

} // namespace

TEST(HostCache, LetsCurlKnowItsCopyAgain)
{
    HostProgram program;
    // What it tells of itself does not change while it runs, unlike the machine.
    const std::string url = "http://" + program.waitForAddress().toString() + "/host/spec";

    const std::string head = curl({"-I", url});
    EXPECT_THAT(head, StartsWith("HTTP/1.1 200 OK"));
    const std::string tag = tagIn(head);
    EXPECT_THAT(tag, StartsWith("W/\""));
    EXPECT_EQ(tagIn(curl({"-i", url})), tag);
    const std::string compressed = curl({"-i", "--compressed", url});
    EXPECT_THAT(compressed, HasSubstr("Content-Encoding: gzip"));
    EXPECT_EQ(tagIn(compressed), tag);

    const std::string condition = "If-None-Match: " + tag;
    const std::vector<std::string> again[] = {
        {"-i", "-H", condition, url},
        {"-i", "--compressed", "-H", condition, url},
        {"-I", "-H", condition, url},
    };
    for (const auto& arguments : again) {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        const std::string answer = curl(arguments);
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 304 Not Modified"));
        EXPECT_EQ(tagIn(answer), tag);
        EXPECT_EQ(answer.find("\r\n\r\n") + 4, answer.size()) << "a body follows";
    }
    const std::string other = curl({"-i", "-H", "If-None-Match: W/\"01234567\"", url});
    EXPECT_THAT(other, StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(other, HasSubstr("\"status\":\"ok\""));
}
