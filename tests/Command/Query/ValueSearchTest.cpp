#include "Command/Query/ValueSearch.h"

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"
#include "Data/XObjectGeneric.h"
#include "JsonMatchers.h"
#include "LogCapture.h"
#include "PatternRefusal.h"
#include "PlainPattern.h"
#include "RandomSource.h"
#include "VirtualSlot.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <gmock/gmock.h>
#include <pthread.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace Zovi::Command
{

namespace
{

using namespace std::string_literals;

using Data::AttributeValueBase;
using Data::AttributeValueInteger;
using Data::AttributeValueStringable;
using Data::AttributeValueStringArray;
using Data::XObjectGeneric;
using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::LogCapture;
using Test::parseJson;
using Test::PlainPattern;
using Test::RandomSource;
using Test::refusalOf;
using Test::virtualSlot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Values = std::vector<std::string>;

static_assert(std::is_base_of_v<SearchCriterion, AbstractValueSearch>);
static_assert(std::is_abstract_v<AbstractValueSearch>);
static_assert(std::is_base_of_v<AbstractValueSearch, AnyValueSearch>);
static_assert(std::is_base_of_v<AbstractValueSearch, AttributeValueSearch>);
static_assert(sizeof(AnyValueSearch) == sizeof(AbstractValueSearch));

/// Opens what derived classes may use, and tells which of the two forms was asked at which depth.
class Probe : public AbstractValueSearch
{
public:
    using AbstractValueSearch::AbstractValueSearch;
    using AbstractValueSearch::createRegEx;
    using AbstractValueSearch::hasPattern;
    using AbstractValueSearch::m_regEx;
    using AbstractValueSearch::setPattern;
    using AbstractValueSearch::splitValues;

    mutable std::vector<std::string> calls;

protected:
    bool matchImpl(const Var& /*value*/, int recursion) const override
    {
        calls.push_back("Var " + std::to_string(recursion));
        return true;
    }
    bool matchImpl(const AttributeValueBase& /*value*/, int recursion) const override
    {
        calls.push_back("AttributeValueBase " + std::to_string(recursion));
        return true;
    }
};

class OpenAnyValueSearch : public AnyValueSearch
{
public:
    using AnyValueSearch::AnyValueSearch;
    using AnyValueSearch::matchImpl;
};

class OpenAttributeValueSearch : public AttributeValueSearch
{
public:
    using AttributeValueSearch::AttributeValueSearch;
    using AttributeValueSearch::m_attributeName;
    using AttributeValueSearch::m_regEx;
    using AttributeValueSearch::matchImpl;
};

using Text = AttributeValueStringable<std::string>;

/// A value of a service: a floating-point number.
class Ratio : public Data::AttributeValue<double, AttributeValueBase>
{
public:
    explicit Ratio(double value)
        : AttributeValue(value)
    {
    }
};

/// A reference of a service. It keeps nothing alive.
class Reference : public Data::AttributeValueObjectBase
{
public:
    explicit Reference(const Data::XObjectBase* object)
        : m_object(object)
    {
    }

    const std::type_info& type() const override { return typeid(m_object); }
    Data::GenericValue asGeneric() const override { return {}; }
    const Data::XObjectBase* getReferencedObject() const override { return m_object; }

private:
    const Data::XObjectBase* m_object;
};

/// An array of a service, whose elements may be of any class, or missing.
class MixedArray : public Data::AttributeValueArrayBase
{
public:
    explicit MixedArray(std::vector<const AttributeValueBase*> elements)
        : m_elements(std::move(elements))
    {
    }

    const std::type_info& type() const override { return typeid(m_elements); }
    Data::GenericValue asGeneric() const override { return {}; }
    Var toJSON(int /*expandLvl*/) const override { return {}; }
    std::vector<const AttributeValueBase*> getValueArray() const override { return m_elements; }
    std::vector<AttributeValueBase*> getValueArray() override { return {}; }
    std::size_t size() const override { return m_elements.size(); }

private:
    std::vector<const AttributeValueBase*> m_elements;
};

/// A value that says it is an array or a reference, and is neither.
class Impostor : public Data::AttributeValue<std::string, AttributeValueBase>
{
public:
    Impostor(bool array, bool reference)
        : AttributeValue(std::string("impostor"))
        , m_array(array)
        , m_reference(reference)
    {
    }

    bool isArray() const override { return m_array; }
    bool isXObjReference() const override { return m_reference; }

private:
    bool m_array;
    bool m_reference;
};

const std::string UUID_TEXT = "7f1c0a52-93c1-4f0e-8a3e-5d2c6b1e9f40";

XObjectGeneric person()
{
    XObjectGeneric object("ada", UUID_TEXT, "/host/people/" + UUID_TEXT, Data::INVALID_XOBJ_ID);
    object.setValue<AttributeValueInteger>("age", 36);
    object.setValue<AttributeValueStringArray>("skills", {Text("algebra"), Text("poetry")});
    return object;
}

bool anyMatches(const std::string& list, const Var& value)
{
    return AnyValueSearch(list).match(value);
}

bool attributeMatches(const std::string& list, const Var& value)
{
    return AttributeValueSearch("x", list).match(value);
}

std::string repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (; count != 0; --count)
        result += text;
    return result;
}

/// Runs `action` on a thread with 256 KiB of stack.
template <typename Action>
void runOnSmallStack(Action action)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
    const auto run = [](void* argument) -> void* {
        (*static_cast<Action*>(argument))();
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
}

} // namespace

// ---------------------------------------------------------------- the list

TEST(AbstractValueSearch, SplitsAtCommasWithoutBlanksAndEmptyValues)
{
    struct Row {
        std::string text;
        Values expected;
    };
    const std::vector<Row> rows = {
        {"", {}},
        {"a", {"a"}},
        {"a,b", {"a", "b"}},
        {"b,a,b", {"b", "a", "b"}},
        {" a , b ", {"a", "b"}},
        {",a,,b,", {"a", "b"}},
        {", ,\t,", {}},
        {"a b", {"a b"}},
        {"\ta\r\n,b", {"a", "b"}},
        {"%, %25 ", {"%", "%25"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Probe::splitValues(row.text), row.expected);
        EXPECT_EQ(Probe(row.text).getSearchValues(), row.expected);
        EXPECT_EQ(AnyValueSearch(row.text).getSearchValues(), row.expected);
        EXPECT_EQ(AttributeValueSearch("x", row.text).getSearchValues(), row.expected);
    }
}

TEST(AbstractValueSearch, KeepsTheTextAsItCame)
{
    EXPECT_EQ(Probe(" a , b,").getQueryValue(), " a , b,");
    EXPECT_EQ(AnyValueSearch(" a , b,").getQueryValue(), " a , b,");
    EXPECT_EQ(AttributeValueSearch("x", " a , b,").getQueryValue(), " a , b,");
}

TEST(AbstractValueSearch, IsAlwaysValid)
{
    for (const std::string text : {"", ",", "a", "%", "a.b"}) {
        EXPECT_TRUE(Probe(text).isValid());
        EXPECT_TRUE(AnyValueSearch(text).isValid());
        EXPECT_TRUE(AttributeValueSearch("x", text).isValid());
    }
}

TEST(AbstractValueSearch, ComparesPlainlyUntilAPatternIsSet)
{
    Probe search("a.b,%");
    EXPECT_FALSE(search.hasPattern());
    EXPECT_EQ(search.m_regEx, nullptr);
    EXPECT_TRUE(search.match("a.b"s));
    EXPECT_TRUE(search.match("%"s));
    EXPECT_FALSE(search.match("axb"s));
    EXPECT_FALSE(search.match("A.B"s));
    EXPECT_FALSE(search.match(""s));

    search.setPattern();
    EXPECT_TRUE(search.hasPattern());
    EXPECT_TRUE(search.match("axb"s));
    EXPECT_FALSE(search.match(""s));
}

TEST(AbstractValueSearch, AsksForValuesAtDepthZero)
{
    const Probe search("a");
    EXPECT_TRUE(search.match(Var("b")));
    EXPECT_TRUE(search.match(Text("b")));
    EXPECT_THAT(search.calls, ElementsAre("Var 0", "AttributeValueBase 0"));
}

TEST(AbstractValueSearch, KeepsItsVirtualFunctionsInOrder)
{
    using OfVar = bool (AnyValueSearch::*)(const Var&, int) const;
    using OfModel = bool (AnyValueSearch::*)(const AttributeValueBase&, int) const;
    EXPECT_EQ(virtualSlot(static_cast<OfVar>(&OpenAnyValueSearch::matchImpl)), 0U);
    EXPECT_EQ(virtualSlot(static_cast<OfModel>(&OpenAnyValueSearch::matchImpl)), 1U);
}

TEST(AbstractValueSearch, CompilesOneValueOrAList)
{
    const auto compiledValue = [](const std::string& value) {
        return std::unique_ptr<Poco::RegularExpression>(Probe::createRegEx(value));
    };
    const auto compiledList = [](const Values& values) {
        return std::unique_ptr<Poco::RegularExpression>(Probe::createRegEx(values));
    };
    EXPECT_TRUE(compiledValue("a%b")->match("axxb", 0));
    EXPECT_FALSE(compiledValue("a%b")->match("axxbc", 0));
    EXPECT_TRUE(compiledValue("a%%b")->match("ab", 0));
    EXPECT_TRUE(compiledValue("%25")->match("x25", 0));
    EXPECT_FALSE(compiledValue("%25")->match("x", 0));
    EXPECT_TRUE(compiledValue("a,b")->match("a,b", 0));
    EXPECT_FALSE(compiledValue("")->match("a", 0));
    EXPECT_FALSE(compiledValue("A")->match("a", 0));

    EXPECT_TRUE(compiledList({"a", "b"})->match("a", 0));
    EXPECT_TRUE(compiledList({"a", "b"})->match("b", 0));
    EXPECT_FALSE(compiledList({"a", "b"})->match("ab", 0));
    EXPECT_FALSE(compiledList({"a", "b"})->match("xb", 0));
    EXPECT_FALSE(compiledList({})->match("a", 0));
    EXPECT_FALSE(compiledList({})->match("", 0));

    EXPECT_EQ(refusalOf([&] { compiledValue("("); }), "missing ) (at offset 3)");
    EXPECT_EQ(refusalOf([&] { compiledList({"a", "("}); }), "missing ) (at offset 7)");
}

// ---------------------------------------------------------------- patterns

TEST(AnyValueSearch, MatchesTheWholeText)
{
    struct Row {
        std::string list;
        std::string text;
        bool expected;
    };
    const std::vector<Row> rows = {
        {"abc", "abc", true},
        {"abc", "xabcx", false},
        {"%abc%", "xabcx", true},
        {"a%b", "ab", true},
        {"a%b", "axb", true},
        {"a%b", "axbc", false},
        {"%%", "x", true},
        {"%%", "", false},
        {"%25", "25", true},
        {"%25", "x25", true},
        {"%25", "x", false},
        {"a,b", "a", true},
        {"a,b", "b", true},
        {"a,b", "a,b", false},
        {"name", "Name", false},
        {"abc", "abc\n", false},
        {"%", "a\nb", false},
        // every value is a pattern
        {"a.b", "a.b", true},
        {"a.b", "axb", true},
        {"a\\.b", "axb", false},
        {"a\\.b", "a.b", true},
        {"[0-9]+", "2024", true},
        {"[0-9]+", "2024x", false},
        {"a|b", "a", true},
        {"a|b", "b", true},
        {"(?i)abc", "ABC", true},
        {"%[xyz]", "abcx", true},
        // the first alternative that matches at the start decides
        {"ab*,ab%c", "abbc", true},
        {"a|ab", "ab", false},
        {"(a|ab)", "ab", true},
        {"a|b,c", "a|b", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list + " on " + row.text);
        EXPECT_EQ(AnyValueSearch(row.list).match(row.text), row.expected);
        EXPECT_EQ(PlainPattern(PlainPattern::split(row.list)).match(row.text), row.expected);
    }
}

TEST(AnyValueSearch, MatchesNothingWithAnEmptyList)
{
    for (const std::string list : {"", ",", " , ,"}) {
        SCOPED_TRACE(list);
        const AnyValueSearch search(list);
        for (const std::string text : {"", ",", "a", "\n"}) {
            EXPECT_FALSE(search.match(text));
            EXPECT_FALSE(search.match(Var(text)));
            EXPECT_FALSE(search.getRegEx().match(text, 0));
        }
        EXPECT_FALSE(search.match(Var(1)));
        EXPECT_FALSE(search.match(parseJson(R"({"a":["b",1,2.5,true]})")));
    }
}

/// What is no regular expression leaves the constructor with the text that compiling it gives.
TEST(AnyValueSearch, RefusesWhatIsNoRegularExpression)
{
    struct Row {
        std::string list;
        std::string text;
    };
    const std::vector<Row> rows = {
        {"(", "missing ) (at offset 3)"},
        {")", "unmatched parentheses (at offset 1)"},
        {"a,b(", "missing ) (at offset 8)"},
        {"[", "missing terminating ] for character class (at offset 3)"},
        {"a**+*", "nothing to repeat (at offset 3)"},
        {"*", "nothing to repeat (at offset 1)"},
        {"(%", "missing ) (at offset 5)"},
        {"a\\", ""},
        {"(?<n>a)(?<n>b)", ""},
        {"(*LIMIT_MATCH=100000000)a", ""},
        {"(*LIMIT_RECURSION=100000000)a", ""},
        {"(*UTF8)a", ""},
        {repeated("(", 300) + "a" + repeated(")", 300), ""},
        {repeated("a", 40'000), ""},
        {repeated("%a", 40'000), "regular expression is too large (at offset 120002)"},
        {repeated("a,", 20'000), ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list.substr(0, 50));
        const std::string text = refusalOf([&] { AnyValueSearch search(row.list); });
        if (row.text.empty())
            EXPECT_EQ(text, refusalOf([&] { PlainPattern(PlainPattern::split(row.list)); }));
        else
            EXPECT_EQ(text, row.text);
    }
}

/// Compiling these would take minutes, or years.
TEST(AnyValueSearch, RefusesPatternsThatCallTheirGroupsManyTimes)
{
    const auto chain = [](int groups, const std::string& call) {
        std::string pattern;
        for (int group = 2; group <= groups; ++group)
            pattern += "(x?" + call + std::to_string(group) + ")" + call + std::to_string(group) + "))";
        return pattern + "(a*)";
    };
    const std::string refusal = "too many subroutine calls";
    for (const std::string& list :
         {chain(100, "(?"), chain(8, "(?"), repeated("(?R)", 13), repeated("(?P>n)", 13),
          repeated("(?&n)", 13), repeated("(?-1)", 13), repeated("(?+1)", 13), repeated("\\g<1>", 13),
          repeated("\\g'1'", 13), "(x?(?2){99})(x?(?3){99})(x?(?4){99})(a*)"s}) {
        SCOPED_TRACE(list.substr(0, 50));
        EXPECT_EQ(refusalOf([&] { AnyValueSearch search(list); }), refusal);
    }
    EXPECT_TRUE(AnyValueSearch("(a|b)(?1)(?1)x\\g<1>%").match("abaxb!"s));
    EXPECT_TRUE(AnyValueSearch("(a|b)(?1){3}").match("abba"s));
    EXPECT_TRUE(AnyValueSearch(chain(7, "(?")).match("xxxxxxa"s));
    EXPECT_TRUE(AnyValueSearch(repeated("(?i)(?:a)(?=b)(?-i)b", 20) + "%").match(repeated("Ab", 20)));
    std::string namedGroups;
    for (int group = 0; group < 20; ++group)
        namedGroups += "(?P<g" + std::to_string(group) + ">a)";
    EXPECT_TRUE(AnyValueSearch(namedGroups).match(repeated("a", 20)));
    EXPECT_TRUE(AnyValueSearch(repeated("(?:>)", 20)).match(repeated(">", 20)));
}

/// A list of wildcards needs no expression, but is refused where its expression would be too large.
TEST(AnyValueSearch, AcceptsListsOfWildcardsUpToTheSizeOfTheirExpression)
{
    struct Row {
        std::string part;
        std::string expressionOfThePart;
    };
    const Row rows[] = {{"a", "a"}, {"%a", ".*a"}, {"a,", "a$|^"}, {"%,", ".*$|^"}};
    for (const std::size_t count : {3990U, 4010U, 7990U, 8010U, 13'000U, 16'000U, 17'000U, 33'000U}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.part + " times " + std::to_string(count));
            const std::string list = repeated(row.part, count) + "b";
            const std::string expression = "^" + repeated(row.expressionOfThePart, count) + "b$";
            EXPECT_EQ(refusalOf([&] { AnyValueSearch search(list); }),
                      refusalOf([&] { Poco::RegularExpression plain(expression, 0, true); }));
        }
    }
}

TEST(AnyValueSearch, GivesItsRegularExpression)
{
    const AnyValueSearch wildcards("a%b,c");
    const Poco::RegularExpression& expression = wildcards.getRegEx();
    EXPECT_TRUE(expression.match("axb", 0));
    EXPECT_TRUE(expression.match("c", 0));
    EXPECT_FALSE(expression.match("axbc", 0));
    EXPECT_EQ(&wildcards.getRegEx(), &expression);
    EXPECT_TRUE(wildcards.match("axb"s));

    const AnyValueSearch pattern("[ab]%");
    EXPECT_TRUE(pattern.getRegEx().match("bx", 0));
    EXPECT_EQ(&pattern.getRegEx(), &pattern.getRegEx());

    const AnyValueSearch large(repeated("a", 9000));
    EXPECT_TRUE(large.getRegEx().match(repeated("a", 9000), 0));
}

TEST(AnyValueSearch, MayBeUsedByManyThreads)
{
    const std::string longText = repeated("x", 20'000) + "1";
    for (const std::string list : {"a%b,c", "[ac].*b?", "%[0-9]", "(?=[ax])%[b1]"}) {
        const AnyValueSearch search(list);
        std::vector<const Poco::RegularExpression*> expressions(4);
        std::vector<std::thread> threads;
        for (auto& expression : expressions) {
            threads.emplace_back([&search, &expression, &longText] {
                search.match("axb"s);
                search.match(longText);
                expression = &search.getRegEx();
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        for (const auto* expression : expressions)
            EXPECT_EQ(expression, expressions.front());
    }
}

TEST(AttributeValueSearch, UsesAPatternOnlyIfAValueHasAWildcard)
{
    struct Row {
        std::string list;
        std::string text;
        bool expected;
    };
    const std::vector<Row> rows = {
        {"a.b", "a.b", true},
        {"a.b", "axb", false},
        {"(", "(", true},
        {"A", "a", false},
        {"a,b", "b", true},
        {"a,b", "a,b", false},
        {" a ", "a", true},
        {"a", "", false},
        {"", "", false},
        {",", ",", false},
        // one wildcard makes the whole list a pattern
        {"a.b,c%", "axb", true},
        {"c%,a.b", "axb", true},
        {"%a%", "bab", true},
        {"%A%", "bab", false},
        {"%25", "x25", true},
        {"%25", "%25", true},
        {"%", "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list + " on " + row.text);
        EXPECT_EQ(AttributeValueSearch("x", row.list).match(row.text), row.expected);
    }
    EXPECT_EQ(OpenAttributeValueSearch("x", "a.b").m_regEx, nullptr);
    EXPECT_NE(OpenAttributeValueSearch("x", "a.b%").m_regEx, nullptr);
}

TEST(AttributeValueSearch, RefusesWhatIsNoRegularExpressionOnlyWithAWildcard)
{
    EXPECT_EQ(refusalOf([] { AttributeValueSearch search("x", "("); }), "not refused");
    EXPECT_EQ(refusalOf([] { AttributeValueSearch search("x", "(%"); }), "missing ) (at offset 5)");
    EXPECT_EQ(refusalOf([] { AttributeValueSearch search("x", "(,%"); }), "missing ) (at offset 8)");
    EXPECT_EQ(refusalOf([] { AttributeValueSearch search("x", "%,["); }),
              "missing terminating ] for character class (at offset 8)");
}

TEST(AttributeValueSearch, KeepsTheNameAsItCame)
{
    EXPECT_EQ(AttributeValueSearch("Name", "a").getAttributeName(), "Name");
    EXPECT_EQ(AttributeValueSearch("", "a").getAttributeName(), "");
    EXPECT_EQ(AttributeValueSearch("$unknown", "1").getAttributeName(), "$unknown");
    EXPECT_EQ(OpenAttributeValueSearch("x", "a").m_attributeName, "x");
}

// ---------------------------------------------------------------- JSON values, free text

TEST(AnyValueSearch, ComparesScalarsAsText)
{
    struct Row {
        std::string list;
        Var value;
        bool expected;
    };
    const std::vector<Row> rows = {
        {"abc", "abc"s, true},
        {"10", 10, true},
        {"10", "10"s, true},
        {"1%", 10, true},
        {"%0", Poco::Int64(-10), true},
        {"-%", Poco::Int64(-10), true},
        {"%a%", 10, false},
        {"[0-9]+", 10, true},
        {"[a-z]+", 10, false},
        {"18446744073709551615", std::numeric_limits<Poco::UInt64>::max(), true},
        {"7", Poco::UInt32(7), true},
        {"7", Poco::Int8(7), true},
        {"7", Poco::UInt16(7), true},
        {"a", 'a', true},
        {"%a%", 'a', true},
        {"1.5", 1.5, true},
        {"1.50", 1.5, false},
        {"%.5", 1.5, true},
        {"1.5", 1.5F, true},
        {"%e%", 1e300, true},
        {"%x%", 1.5, false},
        {"nan", std::numeric_limits<double>::quiet_NaN(), true},
        {"-inf", -std::numeric_limits<double>::infinity(), true},
        {"inf%", std::numeric_limits<float>::infinity(), true},
        {"true", true, true},
        {"%als%", false, true},
        {"1", true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list + " on " + row.value.convert<std::string>());
        EXPECT_EQ(anyMatches(row.list, row.value), row.expected);
    }
}

/// In a text a NUL byte is a byte like any other; only in a pattern it ends what is looked at.
TEST(ValueSearch, TakesTextsWithANulByteWhole)
{
    const Var text(std::string("a\0b", 3));
    const std::string same("a\0b", 3);
    for (const std::string list : {"a", "b", "[a]"}) {
        EXPECT_FALSE(anyMatches(list, text)) << list;
        EXPECT_FALSE(attributeMatches(list, text)) << list;
    }
    for (const std::string list : {"a%b", "a%", "%b%", "[a]%b"}) {
        EXPECT_TRUE(anyMatches(list, text)) << list;
        EXPECT_TRUE(attributeMatches(list, text)) << list;
    }
    EXPECT_TRUE(anyMatches("a.b", text));
    EXPECT_TRUE(attributeMatches(same, text));
    EXPECT_FALSE(attributeMatches(same, Var("a")));
    EXPECT_FALSE(anyMatches(same, text));
    EXPECT_TRUE(anyMatches(same, Var("a")));
}

TEST(AnyValueSearch, LooksIntoObjectsAndArraysOneLevelDeep)
{
    struct Row {
        std::string json;
        bool expected;
    };
    const std::vector<Row> rows = {
        {R"({"a":"x"})", true},
        {R"({"x":"a"})", false},
        {R"({"a":1,"b":"x"})", true},
        {R"({})", false},
        {R"([])", false},
        {R"(["a","x"])", true},
        {R"({"a":{"b":"x"}})", false},
        {R"({"a":{"b":{"c":"x"}}})", false},
        {R"({"a":["x"]})", false},
        {R"([["x"]])", false},
        // objects in an array cost no level
        {R"([{"a":"x"}])", true},
        {R"([{"a":["x"]}])", false},
        {R"([{"a":{"b":"x"}}])", false},
        {R"([[{"a":"x"}]])", false},
        {R"({"a":[{"b":"x"}]})", false},
    };
    const AnyValueSearch search("x");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(search.match(parseJson(row.json)), row.expected);
    }
}

TEST(AnyValueSearch, SaysNoBelowTheLimitWithoutLooking)
{
    const OpenAnyValueSearch search("x");
    EXPECT_TRUE(search.matchImpl(Var("x"), 1));
    EXPECT_FALSE(search.matchImpl(Var("x"), 2));
    EXPECT_FALSE(search.matchImpl(Var(), 2));
    EXPECT_TRUE(search.matchImpl(Text("x"), 1));
    EXPECT_FALSE(search.matchImpl(Text("x"), 2));
    EXPECT_FALSE(search.matchImpl(Impostor(true, false), 2));
    // Nulls that stand too deep are not looked at either.
    EXPECT_FALSE(search.match(parseJson(R"({"a":{"b":null},"c":[null]})")));
}

TEST(AnyValueSearch, RecognisesObjectsAndArraysHeldByValue)
{
    Object object;
    object.set("a", "x");
    Array array;
    array.add("x");
    Array objects;
    objects.add(object);
    EXPECT_TRUE(anyMatches("x", Var(object)));
    EXPECT_TRUE(anyMatches("x", Var(array)));
    EXPECT_TRUE(anyMatches("x", Var(objects)));
}

TEST(AnyValueSearch, ThrowsOnAnEmptyValueThatItComesUpon)
{
    const auto expectThrow = [](const std::string& list, const Var& value) {
        try {
            anyMatches(list, value);
            ADD_FAILURE() << "no exception";
        } catch (const Poco::InvalidAccessException& exception) {
            EXPECT_EQ(exception.message(), "Can not convert empty value.");
        }
    };
    for (const std::string list : {"x", "%", "[x]", ","}) {
        SCOPED_TRACE(list);
        expectThrow(list, Var());
        expectThrow(list, parseJson(R"({"a":null,"b":"x"})"));
        expectThrow(list, parseJson(R"([null,"x"])"));
    }
    // The first match ends the search.
    EXPECT_TRUE(anyMatches("x", parseJson(R"({"a":"x","b":null})")));
    EXPECT_TRUE(anyMatches("x", parseJson(R"(["x",null])")));
}

TEST(AnyValueSearch, PassesOnWhatAValueWithoutTextThrows)
{
    EXPECT_THROW(anyMatches("x", Var(Object::Ptr())), Poco::NullPointerException);
    EXPECT_THROW(anyMatches("x", Var(Poco::URI("/a"))), Poco::BadCastException);
}

// ---------------------------------------------------------------- JSON values, one attribute

TEST(AttributeValueSearch, ComparesPrimitives)
{
    struct Row {
        std::string list;
        Var value;
        bool expected;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<Row> rows = {
        {"abc", "abc"s, true},
        {"ABC", "abc"s, false},
        // booleans and integers as text
        {"true", true, true},
        {"false", false, true},
        {"1", true, false},
        {"t%", true, true},
        {"10", 10, true},
        {"10.0", 10, false},
        {"010", 10, false},
        {"1%", 10, true},
        {"a,10", 10, true},
        {"a", 10, false},
        {"a", 'a', true},
        {"0", 0, true},
        {"nonsense", 0, false},
        {"-5", Poco::Int64(-5), true},
        {"18446744073709551615", std::numeric_limits<Poco::UInt64>::max(), true},
        // floating-point numbers by value
        {"1.5", 1.5, true},
        {"1.50", 1.5, true},
        {"1.5", 1.5F, true},
        {"15e-1", 1.5, true},
        {"10", 10.0, true},
        {"1.6", 1.5, false},
        {"2,1.5", 1.5, true},
        {"1.5000000000000002", 1.5, true},
        {"1.5000000000000004", 1.5, false},
        {"1.0000000000000002", 1.0, true},
        {"nonsense", 0.0, true},
        {"nonsense", -0.0, true},
        {"nonsense", 1.0, false},
        {"1x", 0.0, true},
        {"1x", 1.0, false},
        {"0.0", 0.0, true},
        {"", 0.0, false},
        {",", 0.0, false},
        {"inf", infinity, false},
        {"nan", std::numeric_limits<double>::quiet_NaN(), false},
        // with a pattern they are texts
        {"1.5%", 1.5, true},
        {"1.50%", 1.5, false},
        {"nonsense,%x", 0.0, false},
        {"%", 0.0, true},
        {"i%", infinity, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.list + " on " + row.value.convert<std::string>());
        EXPECT_EQ(attributeMatches(row.list, row.value), row.expected);
    }
}

TEST(AttributeValueSearch, MatchesAnObjectByItsIdAlone)
{
    struct Row {
        std::string json;
        bool expected;
    };
    const std::vector<Row> rows = {
        {R"({"id":"x"})", true},  {R"({"id":"y","a":"x"})", false}, {R"({"a":"x"})", false},
        {R"({})", false},         {R"({"id":""})", false},          {R"({"id":null})", false},
        {R"({"ID":"x"})", false}, {R"([{"id":"x"}])", true},        {R"([{"id":"y"},{"id":"x"}])", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(attributeMatches("x", parseJson(row.json)), row.expected);
    }
    EXPECT_TRUE(attributeMatches("5", parseJson(R"({"id":5})")));
    EXPECT_FALSE(attributeMatches("%", parseJson(R"({"id":null})")));
    EXPECT_FALSE(attributeMatches("%", parseJson(R"({"a":"x"})")));

    Object unconvertible;
    unconvertible.set("id", Poco::URI("/a"));
    EXPECT_FALSE(attributeMatches("%", Var(unconvertible)));
}

TEST(AttributeValueSearch, LooksIntoArraysOneLevelDeep)
{
    EXPECT_TRUE(attributeMatches("x", parseJson(R"(["a","x"])")));
    EXPECT_TRUE(attributeMatches("1.50", parseJson("[1.5]")));
    EXPECT_FALSE(attributeMatches("x", parseJson(R"([["x"]])")));
    EXPECT_FALSE(attributeMatches("x", parseJson(R"([[{"id":"x"}]])")));
    EXPECT_FALSE(attributeMatches("x", parseJson("[]")));

    Array byValue;
    byValue.add("x");
    EXPECT_TRUE(attributeMatches("x", Var(byValue)));

    const OpenAttributeValueSearch search("a", "x");
    EXPECT_TRUE(search.matchImpl(Var("x"), 1));
    EXPECT_FALSE(search.matchImpl(Var("x"), 2));
    EXPECT_FALSE(search.matchImpl(Var(), 2));
    EXPECT_TRUE(search.matchImpl(Text("x"), 1));
    EXPECT_FALSE(search.matchImpl(Text("x"), 2));
}

TEST(AttributeValueSearch, ThrowsOnAnEmptyValueThatItComesUpon)
{
    for (const std::string list : {"x", "%", "[x]%", ","}) {
        for (const Var& value : {Var(), parseJson(R"([null,"x"])")}) {
            try {
                attributeMatches(list, value);
                ADD_FAILURE() << "no exception";
            } catch (const Poco::InvalidAccessException& exception) {
                EXPECT_EQ(exception.message(), "Can not convert empty value.");
            }
        }
    }
    EXPECT_TRUE(attributeMatches("x", parseJson(R"(["x",null])")));
}

// ---------------------------------------------------------------- values of the object model

TEST(AnyValueSearch, MatchesValuesOfTheObjectModel)
{
    EXPECT_TRUE(AnyValueSearch("%b%").match(Text("abc")));
    EXPECT_FALSE(AnyValueSearch("b").match(Text("abc")));
    EXPECT_TRUE(AnyValueSearch("10").match(AttributeValueInteger(10)));
    EXPECT_TRUE(AnyValueSearch("1.5").match(Ratio(1.5)));
    EXPECT_TRUE(AnyValueSearch("poetry").match(AttributeValueStringArray{Text("algebra"), Text("poetry")}));
    EXPECT_FALSE(AnyValueSearch("poet").match(AttributeValueStringArray{Text("algebra"), Text("poetry")}));
    EXPECT_FALSE(AnyValueSearch("%").match(AttributeValueStringArray()));
}

TEST(AnyValueSearch, LooksIntoReferencedObjects)
{
    const XObjectGeneric ada = person();
    const Reference reference(&ada);
    EXPECT_TRUE(AnyValueSearch("ada").match(reference));
    EXPECT_TRUE(AnyValueSearch("36").match(reference));
    EXPECT_TRUE(AnyValueSearch(UUID_TEXT).match(reference));
    EXPECT_FALSE(AnyValueSearch("bob").match(reference));
    // The elements of an attribute that is an array stand one level too deep.
    EXPECT_FALSE(AnyValueSearch("poetry").match(reference));

    // A reference in an array costs no level, any other element does.
    EXPECT_TRUE(AnyValueSearch("ada").match(MixedArray({nullptr, &reference})));
    EXPECT_FALSE(AnyValueSearch("bob").match(MixedArray({nullptr, &reference})));
    const MixedArray inner({&reference});
    EXPECT_FALSE(AnyValueSearch("ada").match(MixedArray({&inner})));
    const Text text("x");
    const MixedArray texts({&text});
    EXPECT_TRUE(AnyValueSearch("x").match(texts));
    EXPECT_FALSE(AnyValueSearch("x").match(MixedArray({&texts})));
}

TEST(AnyValueSearch, LogsAndThrowsOnModelValuesThatDoNotGiveWhatTheyPromise)
{
    const std::string array = "Unable to retrieve elements of array attribute";
    const std::string reference = "Attribute value can not be converted to XObjectBase";
    const Impostor noArray(true, false);
    const Impostor neither(true, true);
    const Impostor noReference(false, true);
    const Reference nowhere(nullptr);
    const MixedArray holder({&nowhere});
    struct Row {
        const AttributeValueBase& value;
        std::string text;
    };
    for (const Row& row : {Row{noArray, array}, Row{neither, array}, Row{noReference, reference},
                           Row{nowhere, reference}, Row{holder, reference}}) {
        LogCapture log;
        try {
            AnyValueSearch("%").match(row.value);
            ADD_FAILURE() << "no exception";
        } catch (const Poco::InvalidArgumentException& exception) {
            EXPECT_EQ(exception.message(), row.text);
        }
        ASSERT_THAT(log.texts(), ElementsAre("Error: Invalid argument: " + row.text));
        EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
    }
}

TEST(AttributeValueSearch, MatchesValuesOfTheObjectModel)
{
    const auto match = [](const std::string& list, const AttributeValueBase& value) {
        return AttributeValueSearch("x", list).match(value);
    };
    EXPECT_TRUE(match("abc", Text("abc")));
    EXPECT_FALSE(match("a.c", Text("abc")));
    EXPECT_TRUE(match("a%", Text("abc")));
    EXPECT_TRUE(match("10", AttributeValueInteger(10)));
    EXPECT_FALSE(match("10.0", AttributeValueInteger(10)));
    EXPECT_TRUE(match("1.50", Ratio(1.5)));
    EXPECT_TRUE(match("1.5%", Ratio(1.5)));
    EXPECT_TRUE(match("poetry", AttributeValueStringArray{Text("algebra"), Text("poetry")}));
    EXPECT_FALSE(match("%", AttributeValueStringArray()));

    const XObjectGeneric ada = person();
    const Reference reference(&ada);
    EXPECT_TRUE(match(UUID_TEXT, reference));
    EXPECT_TRUE(match("%9f40", reference));
    EXPECT_FALSE(match("ada", reference));
    EXPECT_TRUE(match(UUID_TEXT, MixedArray({nullptr, &reference})));
    const MixedArray inner({&reference});
    EXPECT_FALSE(match(UUID_TEXT, MixedArray({&inner})));
}

TEST(AttributeValueSearch, LogsAndThrowsOnModelValuesThatDoNotGiveWhatTheyPromise)
{
    const std::string reference = "Attribute value can not be converted to XObjectBase";
    const Impostor noArray(true, false);
    const Impostor neither(true, true);
    const Impostor noReference(false, true);
    const Reference nowhere(nullptr);
    const std::string array = "Attribute arrays need to implement Data::AttributeValueArrayBase interface";
    struct Row {
        const AttributeValueBase& value;
        std::string logged;
        std::string thrown;
    };
    const Row rows[] = {
        {noArray, array, "Attribute array needs to implement data::AttributeValueArrayBase interface"},
        {neither, array, "Attribute array needs to implement data::AttributeValueArrayBase interface"},
        {noReference, reference, reference},
        {nowhere, reference, reference},
    };
    for (const Row& row : rows) {
        LogCapture log;
        try {
            AttributeValueSearch("x", "%").match(row.value);
            ADD_FAILURE() << "no exception";
        } catch (const Poco::InvalidArgumentException& exception) {
            EXPECT_EQ(exception.message(), row.thrown);
        }
        ASSERT_THAT(log.texts(), ElementsAre("Error: Invalid argument: " + row.logged));
        EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
    }
}

TEST(ValueSearch, ThrowsWithoutALineWhereErrorsAreNotLogged)
{
    LogCapture log(Poco::Message::PRIO_CRITICAL);
    EXPECT_THROW(AnyValueSearch("%").match(Impostor(true, false)), Poco::InvalidArgumentException);
    EXPECT_THROW(AttributeValueSearch("x", "%").match(Impostor(false, true)), Poco::InvalidArgumentException);
    EXPECT_THAT(log.texts(), IsEmpty());
}

// ---------------------------------------------------------------- hostile input

TEST(ValueSearch, SurvivesHostilePatternsOnASmallStack)
{
    const std::size_t megabyte = 1'000'000;
    const std::vector<std::string> texts = {repeated("a", megabyte), repeated("x", megabyte),
                                            repeated("a", 40), repeated("x", 16 * 1024)};
    const std::vector<std::string> lists = {
        "(.|a)*",
        "(?:.|a)*b%",
        "(a+)+b",
        "(a|aa)+b",
        "(x+x+)+y",
        "([a-zA-Z]+)*1",
        "(.*)*(.*)*(.*)*b",
        "(?:(?:(?:a?)*)*)*b",
        "(?>(a|b))*",
        "(?=(?:a|x)*)",
        "(a(?1)?|x)%",
        "(a|(?1)b)+",
        "(?:(?=[ax])[ax]|b)*",
        "(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)%",
        ".*?[^a]*+b",
        ".*?(?=[^a]*+b)",
        ".*?(?=.*+a|.*+b|.*+c|.*+d|.*+e|.*+f|.*+g|.*+h)",
        "(?:[^a]*+b|[^c]*+d|[^e]*+f|.)*",
        "%%[0-9]%[0-9]%[0-9]%[0-9]%[0-9]%",
        "(*LIMIT_RECURSION=100000000)(.|a)*",
        "x,(*LIMIT_MATCH=100000000)(a+)+b",
        "(*NO_START_OPT)(a+)+b",
        repeated("(", 245) + "a" + repeated(")*", 245),
        repeated("(?:a|", 245) + "a" + repeated(")*", 245),
        repeated("(", 100'000),
        repeated("[", 100'000),
        repeated("(?R)", 10'000),
        repeated("%a", 3000) + "b",
        repeated("%", megabyte) + "b",
        repeated("%", megabyte) + "[0-9]",
        repeated("%a", 500'000),
        "%" + repeated("a", 7900) + "b%",
    };
    for (const std::string& list : lists) {
        for (std::size_t i = 0; i != texts.size(); ++i) {
            SCOPED_TRACE(list.substr(0, 60) + " on text " + std::to_string(i));
            std::string strange;
            runOnSmallStack([&] {
                try {
                    AnyValueSearch(list).match(texts[i]);
                } catch (const Poco::RegularExpressionException&) {
                } catch (const std::exception& exception) {
                    strange = exception.what();
                }
            });
            EXPECT_EQ(strange, "");
        }
    }
}

TEST(ValueSearch, EndsHostilePatternsByAnExceptionThatNamesThem)
{
    const struct {
        std::string reason;
        std::string list;
        std::string text;
    } ROWS[] = {
        {"PCRE error -21", "(?:(a)|b)*\\1%", repeated("a", 10'000)},
        {"PCRE error -8", "(a+)+b\\1%", repeated("a", 41) + "!b"},
        {"the searches take too many steps", "(?:(a)|b)*\\1%", repeated("a", 1'000'000)},
        {"the searches take too many steps", ".*?[^a]*+b%", repeated("x", 1'000'000)},
        {"too many captured substrings", repeated("(a)", 25) + "%", repeated("a", 30)},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.list);
        EXPECT_EQ(refusalOf([&] { AttributeValueSearch("x", row.list).match(row.text); }),
                  row.reason + ": " + row.list);
    }
}

/// Both used to end in an exception: "$" may stand before the line feed, which makes a second way to match.
TEST(ValueSearch, MatchesTextsThatEndWithALineFeedInLinearTime)
{
    EXPECT_FALSE(AnyValueSearch("(a+)+b%").match(repeated("a", 41) + "!b\n"));
    EXPECT_FALSE(AnyValueSearch("%[0-9]%").match(repeated("x", 20'000) + "\n"));
    EXPECT_TRUE(AnyValueSearch("x*\\n").match(repeated("x", 20'000) + "\n"));
}

/// What is everyday stays far below the limits.
TEST(ValueSearch, LeavesRoomForOrdinaryPatterns)
{
    const std::string words = repeated("lorem ipsum ", 1000);
    EXPECT_TRUE(AnyValueSearch("%ipsum [0-9]%").match(words + "ipsum 7 dolor"));
    EXPECT_FALSE(AnyValueSearch("%ipsum [0-9]%").match(words));
    EXPECT_FALSE(AnyValueSearch("%[0-9]%").match(words));
    EXPECT_TRUE(AnyValueSearch("(lorem|ipsum| )+").match(repeated("lorem ipsum ", 30)));
    EXPECT_TRUE(AnyValueSearch("[a-z]+@[a-z]+\\.(org|net)").match("ada@analytical.org"s));
    EXPECT_TRUE(AnyValueSearch("[a-z ]+").match(repeated(words, 100)));
    for (const std::size_t length : {17'017U, 1'000'000U}) {
        SCOPED_TRACE(length);
        const std::string text = repeated("x", length - 17) + "10.0.0.7 is it :)";
        EXPECT_TRUE(AnyValueSearch("%10.0.0.7%").match(text));
        EXPECT_FALSE(AnyValueSearch("%10.0.0.8%").match(text));
        EXPECT_TRUE(AttributeValueSearch("x", "%[0-9]{2}\\.0\\.0\\.\\d%").match(text));
        EXPECT_TRUE(AnyValueSearch("b,x+(10|20)%").match(text));
        EXPECT_FALSE(AnyValueSearch("%(is|was) not %,y%.").match(text));
        EXPECT_TRUE(AnyValueSearch("(.|x)*").match(text));
    }
    EXPECT_FALSE(AnyValueSearch("(a+)+b").match(repeated("a", 41)));
    // Wildcards alone know no limit.
    EXPECT_FALSE(AnyValueSearch(repeated("%i", 100) + "%7").match(repeated(words, 100)));
}

// ---------------------------------------------------------------- randomised comparison

namespace
{

Var randomScalar(RandomSource& random)
{
    static const std::vector<Var> edges = {std::numeric_limits<Poco::Int64>::min(),
                                           std::numeric_limits<Poco::UInt64>::max(),
                                           -0.0,
                                           1e300,
                                           1e-7,
                                           1e21,
                                           std::numeric_limits<double>::infinity(),
                                           std::numeric_limits<double>::quiet_NaN(),
                                           'e',
                                           '5',
                                           Poco::Int8(-5),
                                           Poco::UInt8(5),
                                           Poco::Int16(-12),
                                           Poco::UInt32(25),
                                           2.5F,
                                           ""s,
                                           "\n"s,
                                           "true"s};
    const int number = static_cast<int>(random.below(300)) - 150;
    switch (random.below(6)) {
    case 0:
        return number;
    case 1:
        return Poco::Int64(number);
    case 2:
        return static_cast<double>(number) / 4;
    case 3:
        return random.oneIn(2);
    case 4:
        return random.pick(edges);
    default:
        return std::to_string(number) + random.oneOf("ae\n.");
    }
}

std::string randomList(RandomSource& random)
{
    static const Values parts = {"%", "%", "1", "2",  "5", "0", ".", "-",     "e",  "tru",   "als", "e",
                                 "n", ",", ",", "25", " ", "+", "?", "[0-9]", "\n", "(a|1)", "|"};
    std::string list;
    for (std::size_t count = random.below(6); count != 0; --count)
        list += random.pick(parts);
    return list;
}

/// True or false, or the text of the refusal.
template <typename Match>
std::string outcomeOf(const Match& match)
{
    try {
        return match() ? "true" : "false";
    } catch (const Poco::RegularExpressionException& exception) {
        return exception.message();
    }
}

} // namespace

TEST(ValueSearch, GivesWhatConvertingEveryScalarGives)
{
    RandomSource random;
    for (int round = 0; round != 20'000; ++round) {
        const std::string list = randomList(random);
        const Var value = randomScalar(random);
        const std::string text = value.convert<std::string>();
        const std::string plain =
            outcomeOf([&] { return PlainPattern(PlainPattern::split(list)).match(text); });
        ASSERT_EQ(outcomeOf([&] { return anyMatches(list, value); }), plain) << list << " on " << text;
        if (list.find('%') == std::string::npos)
            continue;
        ASSERT_EQ(outcomeOf([&] { return attributeMatches(list, value); }), plain) << list << " on " << text;
    }
}

} // namespace Zovi::Command
