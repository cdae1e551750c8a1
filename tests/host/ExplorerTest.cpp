#include "Explorer.h"

#include <Poco/RegularExpression.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::Host
{

using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

const std::vector<std::string> FILES{"index.html", "explorer.css", "explorer.js", "forms.js",
                                     "query.js",   "service.js",   "views.js",    "icon.svg"};

std::string contentOf(const std::string& file)
{
    const auto folder = makeExplorer();
    return folder->find(file) ? folder->find(file)->content : "";
}

/// What the first group of `pattern` holds at each place where it matches.
std::vector<std::string> allMatches(const std::string& text, const std::string& pattern)
{
    const Poco::RegularExpression expression(pattern);
    std::vector<std::string> found;
    Poco::RegularExpression::MatchVec match;
    for (std::size_t from = 0; expression.match(text, from, match) > 1;
         from = match[0].offset + match[0].length)
        found.push_back(text.substr(match[1].offset, match[1].length));
    return found;
}

} // namespace

TEST(Explorer, IsServedAsTheFolderExplorer)
{
    EXPECT_EQ(makeExplorer()->name(), "explorer");
}

TEST(Explorer, HoldsItsFilesWhole)
{
    for (const std::string& file : FILES) {
        SCOPED_TRACE(file);
        ASSERT_FALSE(contentOf(file).empty());
        EXPECT_EQ(contentOf(file).back(), '\n');
        EXPECT_EQ(contentOf(file).find('\0'), std::string::npos);
    }
    EXPECT_EQ(contentOf("index.html").compare(0, 15, "<!doctype html>"), 0);
}

TEST(Explorer, AsksForNothingThatItDoesNotHold)
{
    std::vector<std::string> wanted = allMatches(contentOf("index.html"), R"re((?:src|href)="([^"#]+)")re");
    for (const std::string& file : FILES) {
        for (const std::string& import : allMatches(contentOf(file), R"re(from "\./([^"]+)")re"))
            wanted.push_back(import);
    }
    EXPECT_GT(wanted.size(), FILES.size());
    for (const std::string& file : wanted)
        EXPECT_FALSE(contentOf(file).empty()) << file;
}

TEST(Explorer, HasNothingThatItsPolicyForbids)
{
    for (const std::string& file : FILES) {
        SCOPED_TRACE(file);
        EXPECT_THAT(contentOf(file), Not(HasSubstr("https://")));
        EXPECT_THAT(contentOf(file), Not(HasSubstr("innerHTML")));
        EXPECT_THAT(contentOf(file), Not(HasSubstr("insertAdjacentHTML")));
        EXPECT_THAT(contentOf(file), Not(HasSubstr("eval(")));
    }
    EXPECT_THAT(contentOf("index.html"), Not(HasSubstr("<style")));
    EXPECT_THAT(contentOf("index.html"), Not(HasSubstr("style=")));
    EXPECT_THAT(contentOf("index.html"), Not(HasSubstr("<script>")));
}

} // namespace Zovi::Host
