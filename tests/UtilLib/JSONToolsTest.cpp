#include "JSONTools.h"

#include "JsonMatchers.h"

#include <gtest/gtest.h>

#include <limits>

namespace Zovi::Util
{
namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;

std::string repeated(const std::string& text, std::size_t times)
{
    std::string result;
    result.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        result += text;
    return result;
}

std::string nested(std::size_t depth)
{
    return repeated(R"({"a":)", depth - 1) + "{}" + repeated("}", depth - 1);
}

TEST(JSONTools, ParsesAnObject)
{
    struct Row {
        std::string text;
        std::string object;
    };
    const Row rows[] = {
        {"{}", "{}"},
        {" \t\r\n{ } \n", "{}"},
        {R"({"b":1,"a":"x"})", R"({"a":"x","b":1})"},
        {R"({"a":[1,{"b":null}],"c":true,"d":-1.5})", R"({"a":[1,{"b":null}],"c":true,"d":-1.5})"},
        {R"({"a":1,"a":2})", R"({"a":2})"},
        {R"({"a":"\u0000\ud83d\ude00"})", "{\"a\":\"\\u0000\xF0\x9F\x98\x80\"}"},
        // the widest integers, and digits that are text
        {R"({"a":18446744073709551615})", R"({"a":18446744073709551615})"},
        {R"({"a":-9223372036854775808})", R"({"a":-9223372036854775808})"},
        // negative ones, which the parser rounds where they are long, beside what looks like them
        {R"({"a":-9223372036854775807})", R"({"a":-9223372036854775807})"},
        {R"({"-1":[-9007199254740993,"-2",-0,-3.5,-4e0,{"b":-1234567890123456789}],"c":-5})",
         R"({"-1":[-9007199254740993,"-2",0,-3.5,-4,{"b":-1234567890123456789}],"c":-5})"},
        {R"({"18446744073709551616":"\\\"18446744073709551616"})",
         R"({"18446744073709551616":"\\\"18446744073709551616"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        Object::Ptr object;
        EXPECT_TRUE(JSONTools::parseJSONString(row.text, object));
        ASSERT_TRUE(object);
        EXPECT_EQ(compact(object), row.object);
    }
}

TEST(JSONTools, RefusesWhatIsNoObjectAndLeavesTheResultAlone)
{
    const std::string texts[] = {
        "",
        " ",
        "[]",
        R"([{"a":1}])",
        "1",
        "true",
        "null",
        R"("text")",
        "{",
        "}",
        R"({"a")",
        R"({"a":})",
        R"({"a":1,})",
        "{} x",
        "{}{}",
        "{}}",
        "{'a':1}",
        "{a:1}",
        "/* no */{}",
        "\xEF\xBB\xBF{}",
        R"({"a":01})",
        R"({"a":+1})",
        R"({"a":1.})",
        R"({"a":NaN})",
        R"({"a":1e999})",
        R"({"a":"\ud800"})",
        R"({"a":"\x"})",
        "{\"a\":\"\n\"}",
        "{\"a\":\"\xFF\"}",
        std::string("{\"a\":1}\0", 8),
        std::string("{\0}", 3),
        std::string("{\"a\0\":1}", 8),
        // integers that fit no 64-bit type must not pass as another number
        R"({"a":18446744073709551616})",
        R"({"a":-9223372036854775809})",
        R"([{"a":18446744073709551616}])",
        R"({"a":[0,"1",{"b":18446744073709551616}]})",
        R"({"a":)" + repeated("9", 1000) + "}",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        const Object::Ptr before = new Object;
        Object::Ptr object = before;
        EXPECT_FALSE(JSONTools::parseJSONString(text, object));
        EXPECT_EQ(object.get(), before.get());
    }
}

TEST(JSONTools, SurvivesHostileTexts)
{
    const std::string texts[] = {
        nested(129),
        nested(1000000),
        repeated("[", 1000000),
        repeated(R"({"a":)", 1000000),
        repeated("\"", 99999),
        R"({"a":")" + repeated("\\", 99999),
        "{\"" + repeated("a", 1000000),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20));
        Object::Ptr object;
        EXPECT_FALSE(JSONTools::parseJSONString(text, object));
        EXPECT_FALSE(object);
    }
}

// The parser took the byte 0xFF for the end of the text, so that what followed was never checked; the search
// for integers that are too wide went on behind it and left the text at a quotation mark without a partner.
TEST(JSONTools, RefusesAByteThatTheParserTakesForTheEnd)
{
    const std::string texts[] = {
        "{\"d\":2}\xFF", "{\"d\":2}\xFF\":0", "{\"d\":2}\xFF\"\\", "{}\xFF{", "{\"a\":\"\xFF\"}", "\xFF{}",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        Poco::JSON::Object::Ptr object;
        EXPECT_FALSE(JSONTools::parseJSONString(text, object));
        EXPECT_TRUE(object.isNull());
    }
}

TEST(JSONTools, NestsUpTo128Levels)
{
    Object::Ptr object;
    EXPECT_TRUE(JSONTools::parseJSONString(nested(128), object));
    EXPECT_EQ(compact(object), nested(128));
}

TEST(JSONTools, RecognisesAnObjectByPointerAndByValue)
{
    const Object::Ptr pointer = new Object;
    const Var byPointer = pointer;
    EXPECT_EQ(JSONTools::extractJsonObject(byPointer), pointer.get());
    EXPECT_TRUE(JSONTools::testJsonObject(byPointer));

    const Var byValue = Object();
    EXPECT_EQ(JSONTools::extractJsonObject(byValue), &byValue.extract<Object>());
    EXPECT_TRUE(JSONTools::testJsonObject(byValue));

    const Object* found = nullptr;
    EXPECT_TRUE(JSONTools::testJsonObject(byPointer, &found));
    EXPECT_EQ(found, pointer.get());
    EXPECT_TRUE(JSONTools::testJsonObject(byValue, &found));
    EXPECT_EQ(found, &byValue.extract<Object>());
}

TEST(JSONTools, RecognisesAnArrayByPointerAndByValue)
{
    const Array::Ptr pointer = new Array;
    const Var byPointer = pointer;
    EXPECT_EQ(JSONTools::extractJsonArray(byPointer), pointer.get());
    EXPECT_TRUE(JSONTools::testJsonArray(byPointer));

    const Var byValue = Array();
    EXPECT_EQ(JSONTools::extractJsonArray(byValue), &byValue.extract<Array>());
    EXPECT_TRUE(JSONTools::testJsonArray(byValue));

    const Array* found = nullptr;
    EXPECT_TRUE(JSONTools::testJsonArray(byPointer, &found));
    EXPECT_EQ(found, pointer.get());
    EXPECT_TRUE(JSONTools::testJsonArray(byValue, &found));
    EXPECT_EQ(found, &byValue.extract<Array>());
}

TEST(JSONTools, FindsNeitherInOtherValues)
{
    struct Row {
        std::string name;
        Var value;
    };
    const Row rows[] = {
        {"empty", Var()},
        {"null object", Object::Ptr()},
        {"null array", Array::Ptr()},
        {"text", std::string("{}")},
        {"integer", 1},
        {"vector", std::vector<Var>{1, 2}},
        {"structure", Poco::DynamicStruct()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Object object;
        const Array array;
        const Object* foundObject = &object;
        const Array* foundArray = &array;
        EXPECT_FALSE(JSONTools::testJsonObject(row.value, &foundObject));
        EXPECT_FALSE(JSONTools::testJsonArray(row.value, &foundArray));
        EXPECT_EQ(foundObject, &object);
        EXPECT_EQ(foundArray, &array);
        EXPECT_FALSE(JSONTools::testJsonObject(row.value));
        EXPECT_FALSE(JSONTools::testJsonArray(row.value));
        EXPECT_EQ(JSONTools::extractJsonObject(row.value), nullptr);
        EXPECT_EQ(JSONTools::extractJsonArray(row.value), nullptr);
    }
}

TEST(JSONTools, TellsObjectsFromArrays)
{
    const Var object = Object::Ptr(new Object);
    const Var array = Array::Ptr(new Array);
    EXPECT_EQ(JSONTools::extractJsonArray(object), nullptr);
    EXPECT_EQ(JSONTools::extractJsonObject(array), nullptr);
    EXPECT_FALSE(JSONTools::testJsonArray(object));
    EXPECT_FALSE(JSONTools::testJsonObject(array));
}

} // namespace
} // namespace Zovi::Util
