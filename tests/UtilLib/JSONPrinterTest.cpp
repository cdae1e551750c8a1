#include <JSONPrinter.h>

#include "RandomSource.h"

#include <Poco/DateTime.h>
#include <Poco/Dynamic/Struct.h>
#include <Poco/Exception.h>
#include <Poco/LocalDateTime.h>
#include <Poco/Timestamp.h>
#include <Poco/UUID.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <deque>
#include <iomanip>
#include <limits>
#include <list>
#include <sstream>
#include <string>
#include <thread>
#include <typeinfo>
#include <vector>

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Util::JSONPrinter;

/// What came out of printing, up to the exception if there was one.
struct Outcome {
    std::string text;
    std::string exception;

    bool operator==(const Outcome& other) const { return text == other.text && exception == other.exception; }
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << outcome.text << (outcome.exception.empty() ? "" : " then " + outcome.exception);
}

template <typename Print>
Outcome outcomeOf(Print print)
{
    std::ostringstream out;
    Outcome outcome;
    try {
        print(out);
    } catch (const Poco::Exception& failure) {
        outcome.exception = std::string(typeid(failure).name()) + ": " + failure.displayText();
    } catch (const std::exception& failure) {
        outcome.exception = std::string(typeid(failure).name()) + ": " + failure.what();
    }
    outcome.text = out.str();
    return outcome;
}

template <typename Json>
Outcome printed(const Json& json)
{
    return outcomeOf([&](std::ostream& out) { JSONPrinter::print(json, out); });
}

template <typename Json>
Outcome printedByPoco(const Json& json)
{
    return outcomeOf([&](std::ostream& out) { json.stringify(out, 0, -1); });
}

Object holding(const Var& value)
{
    Object object;
    object.set("key", value);
    return object;
}

TEST(JSONPrinter, WritesOneLineWithoutBlanks)
{
    Array::Ptr items(new Array);
    items->add(1).add("a\"b").add(Var());
    Object document;
    document.set("name", "eth0").set("id", 7).set("items", items);

    EXPECT_EQ(JSONPrinter::toString(document), R"({"id":7,"items":[1,"a\"b",null],"name":"eth0"})");
    EXPECT_EQ(JSONPrinter::toString(*items), R"([1,"a\"b",null])");
}

TEST(JSONPrinter, WritesEmptyContainers)
{
    Object document;
    document.set("a", Object::Ptr(new Object)).set("b", Array::Ptr(new Array)).set("c", "").set("", 1);
    EXPECT_EQ(JSONPrinter::toString(Object()), "{}");
    EXPECT_EQ(JSONPrinter::toString(Array()), "[]");
    EXPECT_EQ(JSONPrinter::toString(document), R"({"":1,"a":{},"b":[],"c":""})");
}

TEST(JSONPrinter, KeepsInsertionOrderWhereTheDocumentDoes)
{
    Object::Ptr inner(new Object(Poco::JSON_PRESERVE_KEY_ORDER));
    inner->set("z", 1).set("a", 2);
    Object outer(Poco::JSON_PRESERVE_KEY_ORDER);
    outer.set("second", 1).set("first", inner);
    outer.remove("second");
    outer.set("second", 2).set("first", *inner);

    EXPECT_EQ(JSONPrinter::toString(outer), R"({"first":{"z":1,"a":2},"second":2})");
    EXPECT_EQ(printed(outer), printedByPoco(outer));
}

TEST(JSONPrinter, RefusesAnAssignedDocumentWhoseOrderBelongsToAnother)
{
    Object source(Poco::JSON_PRESERVE_KEY_ORDER);
    source.set("z", 1).set("a", 2);
    Object target;
    target = source;

    EXPECT_EQ(printed(target), printedByPoco(target));
    EXPECT_THROW(JSONPrinter::toString(target), Poco::NotFoundException);
}

TEST(JSONPrinter, WritesEachTypeOfValueAsPocoDoes)
{
    Poco::DynamicStruct record;
    record["number"] = 1;
    record["text"] = "a/\"b";
    Object::Ptr object(new Object);
    object->set("x", 1);
    Array::Ptr array(new Array);
    array->add(object).add(*object).add(1.5);

    const std::vector<Var> values = {
        // integers of all widths, at their edges
        std::numeric_limits<Poco::Int8>::min(), std::numeric_limits<Poco::UInt8>::max(),
        std::numeric_limits<Poco::Int16>::min(), std::numeric_limits<Poco::UInt16>::max(),
        std::numeric_limits<Poco::Int32>::min(), std::numeric_limits<Poco::Int32>::max(),
        std::numeric_limits<Poco::UInt32>::max(), std::numeric_limits<Poco::Int64>::min(),
        std::numeric_limits<Poco::Int64>::max(), std::numeric_limits<Poco::UInt64>::max(),
        std::numeric_limits<long long>::min(), std::numeric_limits<unsigned long long>::max(), 0, -1,
        // floating point
        0.0, -0.0, 1.0, 0.1, -1.5, 1e15, 1e16, 1e21, 1e-5, 1e-7, 5e-324, 1.7976931348623157e308, 1.1F, -3.0F,
        std::nan(""), INFINITY, -INFINITY, std::numeric_limits<float>::quiet_NaN(),
        // other scalars
        true, false, 'a', '"', '\x01', '\xe4', Var(), std::string(), "text", "\xc3\xa4/\\\"\x7f\x1f",
        Poco::UTF16String(2, 'x'),
        // what has a text of its own
        Poco::DateTime(2020, 1, 2, 3, 4, 5), Poco::LocalDateTime(2020, 1, 2), Poco::Timestamp(0),
        Poco::UUID("00000000-0000-0000-0000-00000000000a"), std::vector<Var>{1, "a\"b", Var()},
        std::list<Var>{1.5, true}, std::deque<Var>{}, record,
        // documents by pointer and by themselves
        object, *object, array, *array};

    for (std::size_t i = 0; i < values.size(); ++i) {
        SCOPED_TRACE("value " + std::to_string(i) + ": " + printedByPoco(holding(values[i])).text);
        EXPECT_EQ(printed(holding(values[i])), printedByPoco(holding(values[i])));
    }
}

TEST(JSONPrinter, EscapesEachCharacterAsPocoDoes)
{
    for (int code = 0; code < 256; ++code) {
        SCOPED_TRACE("character " + std::to_string(code));
        const std::string text = "a" + std::string(1, static_cast<char>(code)) + "b";
        Object document = holding(text);
        document.set(text, 1);
        EXPECT_EQ(printed(document), printedByPoco(document));
        document.setEscapeUnicode();
        EXPECT_EQ(printed(document), printedByPoco(document));
    }
}

TEST(JSONPrinter, EscapesUnicodeAsTheOutermostDocumentSays)
{
    const std::string text = "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80";
    for (const bool outerEscapes : {false, true}) {
        for (const bool innerEscapes : {false, true}) {
            Object::Ptr inner(new Object(innerEscapes ? Poco::JSON_ESCAPE_UNICODE : 0));
            inner->set(text, text);
            Array outer(outerEscapes ? Poco::JSON_ESCAPE_UNICODE : 0);
            outer.add(text).add(inner);
            const Outcome byUs = printed(outer);
            EXPECT_EQ(inner->getEscapeUnicode(), innerEscapes) << "printing only reads";
            EXPECT_EQ(byUs, printedByPoco(outer));
        }
    }
}

TEST(JSONPrinter, ThrowsWhatPocoThrowsAfterTheSameText)
{
    struct Opaque {
    };
    const std::vector<Var> refused = {Object::Ptr(), Array::Ptr(), Opaque()};
    for (const Var& value : refused) {
        SCOPED_TRACE(value.type().name());
        Object document = holding(value);
        document.set("before", "text");
        Array array;
        array.add(1).add(document);
        EXPECT_EQ(printed(document), printedByPoco(document));
        EXPECT_EQ(printed(array), printedByPoco(array));
        EXPECT_FALSE(printed(array).exception.empty());
    }
}

TEST(JSONPrinter, WritesTextsLongerThanAnyBuffer)
{
    for (const std::size_t size : std::vector<std::size_t>{4093, 4094, 4095, 4096, 4097, 100'000}) {
        SCOPED_TRACE(size);
        Object document = holding(std::string(size, 'x'));
        document.set("quoted", std::string(size, '"')).set("number", 12345678901234567LL);
        EXPECT_EQ(printed(document), printedByPoco(document));
    }
}

TEST(JSONPrinter, WritesDeepNesting)
{
    Object::Ptr document(new Object);
    for (int depth = 0; depth < 2'000; ++depth) {
        Array::Ptr array(new Array);
        array->add(document);
        document = new Object;
        document->set("down", array);
    }
    EXPECT_EQ(printed(*document), printedByPoco(*document));
}

TEST(JSONPrinter, TakesTheStreamAsPocoDoes)
{
    const Object document = holding("text");
    std::ostringstream byUs;
    std::ostringstream byPoco;
    for (std::ostringstream* out : {&byUs, &byPoco})
        *out << std::hex << std::showbase << std::setfill('*') << std::setw(5);
    JSONPrinter::print(document, byUs);
    document.stringify(byPoco, 0, -1);
    EXPECT_EQ(byUs.str(), byPoco.str());
    EXPECT_EQ(byUs.width(), 0);

    std::ostringstream bad;
    bad.setstate(std::ios::badbit);
    JSONPrinter::print(document, bad);
    EXPECT_EQ(bad.str(), "");
}

TEST(JSONPrinter, LetsThreadsPrintDocumentsThatShareValues)
{
    Object::Ptr shared(new Object);
    shared->set("name", "\xc3\xa4");
    const auto printOften = [shared](int options) {
        Object own(options);
        own.set("shared", shared);
        const std::string first = JSONPrinter::toString(own);
        for (int round = 0; round < 1'000; ++round)
            ASSERT_EQ(JSONPrinter::toString(own), first);
    };
    std::thread other(printOften, Poco::JSON_ESCAPE_UNICODE);
    printOften(0);
    other.join();
}

/// Documents of any shape and content.
class RandomDocuments
{
public:
    std::uint32_t seed() const { return m_random.seed(); }

    Object object(int depth)
    {
        static const int OPTIONS[] = {0, Poco::JSON_PRESERVE_KEY_ORDER, Poco::JSON_ESCAPE_UNICODE};
        Object result(OPTIONS[below(3)]);
        for (unsigned int count = below(8); count > 0; --count)
            result.set(text(), value(depth));
        return result;
    }

private:
    unsigned int below(unsigned int end) { return static_cast<unsigned int>(m_random.below(end)); }
    Poco::UInt64 bits() { return m_random.below(std::numeric_limits<std::size_t>::max()); }

    std::string text()
    {
        static const std::string PIECES[] = {
            "a", "id", "\"", "\\", "/", "\n", "\xc3\xa4", "\xff", "\xe2\x82", "longer than a short string"};
        std::string result;
        for (unsigned int count = below(5); count > 0; --count)
            result += below(4) == 0 ? std::string(1, static_cast<char>(below(256))) : PIECES[below(10)];
        return result;
    }

    Array array(int depth)
    {
        Array result;
        for (unsigned int count = below(5); count > 0; --count)
            result.add(value(depth));
        return result;
    }

    double floating()
    {
        double result = 0;
        const Poco::UInt64 anyBits = bits();
        std::memcpy(&result, &anyBits, sizeof result);
        return below(2) == 0 ? result : static_cast<double>(static_cast<int>(below(100'000)) - 50'000) / 100;
    }

    Poco::UInt64 integer() { return bits() >> below(64); }

    Var value(int depth)
    {
        switch (below(depth > 0 ? 16 : 12)) {
        case 0:
            return Var();
        case 1:
            return below(2) == 0;
        case 2:
            return static_cast<int>(integer());
        case 3:
            return static_cast<Poco::Int64>(integer());
        case 4:
            return integer();
        case 5:
            return static_cast<Poco::UInt32>(integer());
        case 6:
            return floating();
        case 7:
            return static_cast<float>(below(1000)) / 8;
        case 8:
            return Poco::Timestamp(static_cast<Poco::Int64>(integer() >> 20));
        case 12:
            return Object::Ptr(new Object(object(depth - 1)));
        case 13:
            return object(depth - 1);
        case 14:
            return Array::Ptr(new Array(array(depth - 1)));
        case 15:
            return below(2) == 0 ? Var(array(depth - 1)) : Var(std::vector<Var>{value(0), value(0)});
        default:
            return text();
        }
    }

    Zovi::Test::RandomSource m_random;
};

TEST(JSONPrinter, WritesRandomDocumentsAsPocoDoes)
{
    RandomDocuments documents;
    for (int number = 0; number < 2'000; ++number) {
        SCOPED_TRACE("document " + std::to_string(number) + " of seed " + std::to_string(documents.seed()));
        const Object document = documents.object(4);
        const Outcome byUs = printed(document);
        ASSERT_EQ(byUs, printedByPoco(document));
        ASSERT_EQ(JSONPrinter::toString(document), byUs.text);
    }
}

} // namespace
