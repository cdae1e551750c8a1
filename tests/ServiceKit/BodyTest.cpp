#include "ServiceKit/Body.h"

#include "SampleTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>

namespace Zovi::ServiceKit
{

using Test::APPLE_ID;
using Test::Basket;
using Test::ROOT_ID;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

constexpr std::int64_t LOWEST = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t HIGHEST = std::numeric_limits<std::int64_t>::max();

const Basket& basket()
{
    static const Basket instance(rootReference(ROOT_ID).child("shop"));
    return instance;
}

/// Why `read` refuses the body; empty if it does not.
std::string refusalOf(const std::string& json, const std::function<void(Body&)>& read)
{
    try {
        Body body(json);
        read(body);
        return "";
    } catch (const RequestError& refusal) {
        EXPECT_EQ(refusal.status(), Command::HTTPStatus::HTTP_BAD_REQUEST);
        return refusal.what();
    }
}

std::string withA(const std::string& value)
{
    return "{\"a\":" + value + "}";
}

struct Row {
    std::string value;
    std::string message; ///< behind "'a' "
};

void expectRefusals(const std::vector<Row>& rows, const std::function<void(Body&)>& read)
{
    EXPECT_EQ(refusalOf("{}", read), "'a' is missing");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        EXPECT_EQ(refusalOf(withA(row.value), read), row.message);
    }
}

} // namespace

TEST(Body, IsAJsonObject)
{
    for (const std::string json :
         {"", "[]", "1", "null", "{\"a\":", "{\"a\":\"\xFF\"}", "{} {}", "{\"a\":99999999999999999999}"}) {
        SCOPED_TRACE(json);
        EXPECT_EQ(refusalOf(json, [](Body&) {}), "the body must be a JSON object");
    }
    EXPECT_EQ(refusalOf("{}", [](Body&) {}), "");
}

TEST(Body, SaysWhetherAMemberIsThere)
{
    Body body(R"({"a":null})");
    EXPECT_TRUE(body.has("a"));
    EXPECT_FALSE(body.has("b"));
}

TEST(Body, GivesTexts)
{
    EXPECT_EQ(Body(withA("\"\"")).text("a", 0), "");
    EXPECT_EQ(Body(withA(R"("\u20ac\u20ac")")).text("a", 2), "\xE2\x82\xAC\xE2\x82\xAC");
    expectRefusals(
        {
            {"1", "'a' must be a text"},
            {"null", "'a' must be a text"},
            {"[\"b\"]", "'a' must be a text"},
            {R"("abc")", "'a' must have 2 characters at most"},
            {R"("\u0000")", "'a' must not hold a NUL character"},
        },
        [](Body& body) { body.text("a", 2); });
}

TEST(Body, GivesListsOfTexts)
{
    EXPECT_THAT(Body(withA("[]")).texts("a", 0, 0), IsEmpty());
    EXPECT_THAT(Body(withA(R"(["b","","\u20ac"])")).texts("a", 3, 1), ElementsAre("b", "", "\xE2\x82\xAC"));
    expectRefusals(
        {
            {"\"b\"", "'a' must be an array of texts"},
            {"{}", "'a' must be an array of texts"},
            {R"(["b","c","d"])", "'a' must have 2 texts at most"},
            {R"(["b",1])", "each of 'a' must be a text"},
            {R"(["bcde"])", "each of 'a' must have 3 characters at most"},
            {R"(["\u0000"])", "each of 'a' must not hold a NUL character"},
        },
        [](Body& body) { body.texts("a", 2, 3); });
}

TEST(Body, GivesIntegers)
{
    EXPECT_EQ(Body(withA("-9223372036854775808")).integer("a", LOWEST, HIGHEST), LOWEST);
    EXPECT_EQ(Body(withA("9223372036854775807")).integer("a", LOWEST, HIGHEST), HIGHEST);
    EXPECT_EQ(refusalOf(withA("9223372036854775808"), [](Body& body) { body.integer("a", LOWEST, HIGHEST); }),
              "'a' must be an integer from -9223372036854775808 to 9223372036854775807");
    const std::string message = "'a' must be an integer from -1 to 5";
    expectRefusals(
        {
            {"-2", message},
            {"6", message},
            {"1.0", message},
            {"\"1\"", message},
            {"true", message},
            {"null", message},
            {"[1]", message},
            {"18446744073709551615", message},
        },
        [](Body& body) { body.integer("a", -1, 5); });
}

TEST(Body, GivesNumbers)
{
    EXPECT_EQ(Body(withA("1.5")).number("a"), 1.5);
    EXPECT_EQ(Body(withA("-2")).number("a"), -2.0);
    EXPECT_EQ(Body(withA("18446744073709551615")).number("a"), 18446744073709551615.0);
    const std::string message = "'a' must be a number";
    expectRefusals({{"\"1\"", message}, {"false", message}, {"null", message}, {"{}", message}},
                   [](Body& body) { body.number("a"); });
}

TEST(Body, GivesFlags)
{
    EXPECT_TRUE(Body(withA("true")).flag("a"));
    EXPECT_FALSE(Body(withA("false")).flag("a"));
    const std::string message = "'a' must be true or false";
    expectRefusals({{"1", message}, {"\"true\"", message}, {"null", message}},
                   [](Body& body) { body.flag("a"); });
}

TEST(Body, GivesReferencesToElementsThatAreThere)
{
    const std::string id = "\"" + APPLE_ID.toString() + "\"";
    EXPECT_EQ(Body(withA(id)).reference("a", basket()), APPLE_ID);
    EXPECT_EQ(Body(withA("{\"name\":\"apple\",\"id\":" + id + "}")).reference("a", basket()), APPLE_ID);
    const std::string message = "'a' must be the id of an element, or an object with its 'id'";
    expectRefusals(
        {
            {"1", message},
            {"null", message},
            {"\"apple\"", message},
            {"\"" + APPLE_ID.toString() + "0\"", message},
            {"{}", message},
            {R"({"id":1})", message},
            {"\"" + ROOT_ID.toString() + "\"", "'a' is no element of /shop/basket: " + ROOT_ID.toString()},
        },
        [](Body& body) { body.reference("a", basket()); });
}

TEST(Body, RefusesWhatNobodyHasAskedFor)
{
    const auto read = [](Body& body) {
        body.has("b");
        body.text("a", 9);
        body.refuseOthers();
    };
    EXPECT_EQ(refusalOf(R"({"a":"","b":1})", read), "");
    EXPECT_EQ(refusalOf(R"({"a":"","c":1})", read), "'c' cannot be set, only 'b' and 'a' can");
    EXPECT_EQ(refusalOf(R"({"a":"","\u001b":1})", read),
              "'\xEF\xBF\xBD' cannot be set, only 'b' and 'a' can");
    EXPECT_EQ(refusalOf(R"({"c":1})", [](Body& body) { body.refuseOthers(); }), "'c' cannot be set");
    EXPECT_EQ(refusalOf(R"({"d":1})",
                        [](Body& body) {
                            for (const char* name : {"a", "b", "c"})
                                body.has(name);
                            body.refuseOthers();
                        }),
              "'d' cannot be set, only 'a', 'b' and 'c' can");
}

} // namespace Zovi::ServiceKit
