#include "Note.h"

#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

namespace
{

std::string repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string named(const std::string& name)
{
    return "{\"name\":\"" + name + "\"}";
}

NoteContent parse(const std::string& json)
{
    return parseNoteContent(ServiceKit::Body(json));
}

std::string saying(const std::string& text)
{
    return R"({"name":"a","text":")" + text + "\"}";
}

} // namespace

TEST(Note, IsReadWithAllThatItHas)
{
    const NoteContent content =
        parse(R"({"pinned":true,"text":"Two b\u00f6ttles.\n\tGood.","name":" M\"ilk "})");
    EXPECT_EQ(content.name, " M\"ilk ");
    EXPECT_EQ(content.text, "Two b\xC3\xB6ttles.\n\tGood.");
    EXPECT_TRUE(content.isPinned);
}

TEST(Note, NeedsNoMoreThanAName)
{
    const NoteContent content = parse(named("a"));
    EXPECT_EQ(content.name, "a");
    EXPECT_EQ(content.text, "");
    EXPECT_FALSE(content.isPinned);
}

TEST(Note, CountsCharactersAndNotBytes)
{
    EXPECT_EQ(parse(named(repeated("\xE2\x82\xAC", 200))).name.size(), 600U);
    EXPECT_EQ(parse(saying(repeated("\xF0\x9F\x8D\xB0", 10'000))).text.size(), 40'000U);
}

TEST(Note, IsRefusedWithAMessageThatNamesTheFault)
{
    const std::string noObject = "the body must be a JSON object";
    const std::string noText = "must not hold a NUL character";
    const struct {
        std::string body;
        std::string message;
    } rows[] = {
        {"", noObject},
        {"[]", noObject},
        {"\"a\"", noObject},
        {"{\"name\":", noObject},
        {"{}", "'name' is missing"},
        {R"({"text":"a"})", "'name' is missing"},
        {named(""), "'name' must not be blank"},
        {named("   "), "'name' must not be blank"},
        {named("a\\nb"), "'name' must be a single line without control characters"},
        {named("a\\u007f"), "'name' must be a single line without control characters"},
        {named(repeated("a", 201)), "'name' must have 200 characters at most"},
        {named("a\xFF"), noObject},
        {named("a\\udc00b"), noObject},
        {named("a\\u0000b"), "'name' " + noText},
        {R"({"name":17})", "'name' must be a text"},
        {R"({"name":null})", "'name' must be a text"},
        {R"({"name":["a"]})", "'name' must be a text"},
        {saying(repeated("a", 10'001)), "'text' must have 10000 characters at most"},
        {saying("\xC0\xAF"), noObject},
        {saying("\\ud83d\\ud83d"), noObject},
        {saying("a\\u0000b"), "'text' " + noText},
        {R"({"name":"a","text":{}})", "'text' must be a text"},
        {R"({"name":"a","pinned":1})", "'pinned' must be true or false"},
        {R"({"name":"a","pinned":"true"})", "'pinned' must be true or false"},
        {R"({"name":"a","pinned":null})", "'pinned' must be true or false"},
        {R"({"name":"a","id":"b"})", "'id' cannot be set, only 'name', 'text' and 'pinned' can"},
        {R"({"name":"a","Text":"b"})", "'Text' cannot be set, only 'name', 'text' and 'pinned' can"},
        {R"({"name":"a","\u001b":"b"})",
         "'\xEF\xBF\xBD' cannot be set, only 'name', 'text' and 'pinned' can"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        try {
            parse(row.body);
            ADD_FAILURE() << "not refused";
        } catch (const ServiceKit::RequestError& refusal) {
            EXPECT_EQ(refusal.status(), Command::HTTPStatus::HTTP_BAD_REQUEST);
            EXPECT_EQ(refusal.what(), row.message);
        }
    }
}

} // namespace Zovi::Host
