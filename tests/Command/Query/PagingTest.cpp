#include "Command/Query/Paging.h"

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "RandomSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;
using Test::LogCapture;
using Test::RandomSource;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string UUID = "0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4d";
const std::string OTHER_UUID = "11111111-2222-4333-8444-555555555555";
constexpr int LOWEST = std::numeric_limits<int>::min();
constexpr int HIGHEST = std::numeric_limits<int>::max();

std::string textOf(const Paging& paging)
{
    static const char* const TYPES[] = {"TOTAL", "UUID", "INDEX"};
    static const char* const REQUESTS[] = {"NONE", "OFFSET_LIMIT", "OFFSET", "LIMIT", "FORCED"};
    return std::string(paging.isValid() ? "valid" : "invalid") + " " + TYPES[paging.getType()] + " '" +
           paging.getUUIDOffset() + "' " + std::to_string(paging.getNumberOffset()) + " " +
           std::to_string(paging.getLimit()) + " " + REQUESTS[paging.getPagingRequestType()];
}

std::vector<int> numbers(int size)
{
    std::vector<int> list;
    for (int number = 0; number < size; ++number)
        list.push_back(number);
    return list;
}

std::string textOfNumber(int number)
{
    return std::to_string(number);
}

Array arrayOfNumbers(int size)
{
    Array array;
    for (int number = 0; number < size; ++number)
        array.add(number);
    return array;
}

Object::Ptr objectWithId(const Var& id)
{
    Object::Ptr object(new Object);
    object->set("id", id);
    return object;
}

/// Four objects held by pointer; the third has `UUID` as its id.
Array arrayOfObjects()
{
    Array array;
    array.add(objectWithId("a"));
    array.add(objectWithId("b"));
    array.add(objectWithId(UUID));
    array.add(objectWithId("d"));
    return array;
}

bool isByValue(const Var& element)
{
    return element.type() == typeid(Object) || element.type() == typeid(Array);
}

} // namespace

TEST(Paging, HasFixedNumbers)
{
    EXPECT_EQ(Paging::PAGING_LIMIT_DEFAULT, 25);
    EXPECT_EQ(Paging::PAGING_LIMIT_MAX, 100);
    EXPECT_EQ(sizeof(Paging::PAGING_LIMIT_MAX), 2U);

    EXPECT_EQ(Paging::TYPE_TOTAL, 0);
    EXPECT_EQ(Paging::TYPE_UUID, 1);
    EXPECT_EQ(Paging::TYPE_INDEX, 2);

    EXPECT_EQ(Paging::NONE, 0);
    EXPECT_EQ(Paging::OFFSET_LIMIT, 1);
    EXPECT_EQ(Paging::OFFSET, 2);
    EXPECT_EQ(Paging::LIMIT, 3);
    EXPECT_EQ(Paging::FORCED, 4);
}

TEST(Paging, ParsesOffsetAndLimit)
{
    struct Row {
        std::string offset;
        std::string limit;
        std::string expected;
    };
    const Row rows[] = {
        // one of the two, or both
        {"5", "", "valid INDEX '' 5 25 OFFSET"},
        {"", "10", "valid INDEX '' 0 10 LIMIT"},
        {"5", "10", "valid INDEX '' 5 10 OFFSET_LIMIT"},
        {"0", "1", "valid INDEX '' 0 1 OFFSET_LIMIT"},
        {"-3", "-10", "valid INDEX '' -3 -10 OFFSET_LIMIT"},
        // a limit of 0 asks for the total, also over a UUID
        {"5", "0", "valid TOTAL '' 5 0 OFFSET"},
        {"", "0", "valid TOTAL '' 0 0 NONE"},
        {"-5", "-0", "valid TOTAL '' -5 0 OFFSET"},
        {UUID, "0", "valid TOTAL '" + UUID + "' 0 0 OFFSET"},
        // UUIDs, spelled as sent
        {UUID, "10", "valid UUID '" + UUID + "' 0 10 OFFSET_LIMIT"},
        {UUID, "", "valid UUID '" + UUID + "' 0 25 OFFSET"},
        {"0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D", "-1",
         "valid UUID '0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D' 0 -1 OFFSET_LIMIT"},
        {"0a1b2c3d4e5f4a6b8c7d9e0f1a2b3c4d", "1",
         "valid UUID '0a1b2c3d4e5f4a6b8c7d9e0f1a2b3c4d' 0 1 OFFSET_LIMIT"},
        {UUID + " and more", "1", "valid UUID '" + UUID + " and more' 0 1 OFFSET_LIMIT"},
        // the bound
        {"", "100", "valid INDEX '' 0 100 LIMIT"},
        {"", "-100", "valid INDEX '' 0 -100 LIMIT"},
        {"", "101", "valid INDEX '' 0 100 FORCED"},
        {"", "-101", "valid INDEX '' 0 -100 FORCED"},
        {"5", "500", "valid INDEX '' 5 100 FORCED"},
        {"", "-500", "valid INDEX '' 0 -100 FORCED"},
        {UUID, "500", "valid UUID '" + UUID + "' 0 100 FORCED"},
        {"", "2147483647", "valid INDEX '' 0 100 FORCED"},
        {"", "-2147483647", "valid INDEX '' 0 -100 FORCED"},
        {"", "-2147483648", "valid INDEX '' 0 -2147483648 LIMIT"},
        {"1", "-2147483648", "valid INDEX '' 1 -2147483648 OFFSET_LIMIT"},
        // what the number parser takes for a number
        {"1,000", "1,0", "valid INDEX '' 1000 10 OFFSET_LIMIT"},
        {"+7", " 8", "valid INDEX '' 7 8 OFFSET_LIMIT"},
        {"-", ",", "valid TOTAL '' 0 0 OFFSET"},
        {"-2147483648", "007", "valid INDEX '' -2147483648 7 OFFSET_LIMIT"},
        {"2147483647", "7", "valid INDEX '' 2147483647 7 OFFSET_LIMIT"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("offset '" + row.offset + "', limit '" + row.limit + "'");
        EXPECT_EQ(textOf(Paging(row.offset, row.limit)), row.expected);
    }
}

TEST(Paging, IsInvalidWithoutBothTexts)
{
    EXPECT_EQ(textOf(Paging(std::string(), std::string())), "invalid INDEX '' 0 0 NONE");
}

TEST(Paging, RefusesAnOffsetThatIsNeitherUuidNorNumber)
{
    const std::vector<std::string> refused = {"abc", "5 ",          "1.5",         "0x10",
                                              "--1", "99999999999", UUID.substr(1)};
    for (const std::string& offset : refused) {
        SCOPED_TRACE(offset);
        LogCapture log;
        const Paging withLimit(offset, "10");
        EXPECT_FALSE(withLimit.isValid());
        EXPECT_EQ(withLimit.getType(), Paging::TYPE_INDEX);
        EXPECT_EQ(withLimit.getUUIDOffset(), "");
        EXPECT_EQ(withLimit.getLimit(), 10) << "the limit is read all the same";
        EXPECT_EQ(withLimit.getPagingRequestType(), Paging::LIMIT);

        EXPECT_EQ(Paging(offset, "").getLimit(), 25);
        EXPECT_EQ(Paging(offset, "").getPagingRequestType(), Paging::NONE);
        EXPECT_EQ(Paging(offset, "0").getType(), Paging::TYPE_TOTAL);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
    EXPECT_EQ(textOf(Paging("abc", "10")), "invalid INDEX '' 0 10 LIMIT");
}

TEST(Paging, RefusesALimitThatIsNoNumber)
{
    const std::vector<std::string> refused = {"abc", "5 ", "1.5", "99999999999", "-99999999999", " ", UUID};
    for (const std::string& limit : refused) {
        SCOPED_TRACE(limit);
        LogCapture log;
        const Paging withOffset("5", limit);
        EXPECT_FALSE(withOffset.isValid());
        EXPECT_EQ(withOffset.getType(), Paging::TYPE_INDEX);
        EXPECT_EQ(withOffset.getNumberOffset(), 5);
        EXPECT_EQ(withOffset.getPagingRequestType(), Paging::OFFSET);
        EXPECT_EQ(Paging("", limit).getPagingRequestType(), Paging::NONE);
        EXPECT_EQ(Paging(UUID, limit).getUUIDOffset(), UUID);
        EXPECT_EQ(Paging(UUID, limit).getType(), Paging::TYPE_UUID);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
    EXPECT_FALSE(Paging("abc", "abc").isValid());
    EXPECT_EQ(Paging("abc", "abc").getPagingRequestType(), Paging::NONE);
}

TEST(Paging, WarnsWhenALimitIsCut)
{
    LogCapture log;
    const Paging forward("", "101");
    const Paging backward("", "-101");
    const Paging kept("", "100");
    const Paging unbounded("", "-2147483648");
    EXPECT_THAT(log.texts(), ElementsAre("Warning: Reset paging limit to maximum allowed value (100)",
                                         "Warning: Reset paging limit to maximum allowed value (100)"));
    EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_WARNING);
}

TEST(Paging, CutsALimitSilentlyBelowTheWarningLevel)
{
    LogCapture log(Poco::Message::PRIO_ERROR);
    EXPECT_EQ(Paging("", "500").getLimit(), 100);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Paging, TakesNumbersAsTheyAre)
{
    LogCapture log;
    EXPECT_EQ(textOf(Paging(3, 4)), "valid INDEX '' 3 4 NONE");
    EXPECT_EQ(textOf(Paging(-3, -400)), "valid INDEX '' -3 -400 NONE");
    EXPECT_EQ(textOf(Paging(0, 0)), "valid INDEX '' 0 0 NONE");
    EXPECT_EQ(textOf(Paging(LOWEST, HIGHEST)), "valid INDEX '' -2147483648 2147483647 NONE");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(Paging, DefaultsToTheFirstTwentyFive)
{
    EXPECT_EQ(textOf(Paging::createDefaultPaging()), "valid INDEX '' 0 25 NONE");
}

TEST(Paging, CutsTenElements)
{
    struct Row {
        int offset;
        int limit;
        std::vector<int> expected;
        int start;
    };
    const Row rows[] = {
        // forward
        {0, 3, {0, 1, 2}, 0},
        {8, 3, {8, 9}, 8},
        {9, 1, {9}, 9},
        {10, 3, {}, 0},
        {HIGHEST, 3, {}, 0},
        {-1, 3, {9}, 9},
        {-10, 3, {0, 1, 2}, 0},
        {-11, 3, {}, 0},
        {LOWEST, 3, {}, 0},
        {1, HIGHEST, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 1},
        // backward
        {5, -3, {3, 4, 5}, 3},
        {1, -3, {0, 1}, 0},
        {2, -3, {0, 1, 2}, 0},
        {3, -3, {1, 2, 3}, 1},
        {-1, -3, {7, 8, 9}, 7},
        {10, -3, {}, 0},
        {-11, -3, {}, 0},
        {4, LOWEST, {0, 1, 2, 3, 4}, 0},
        {-2, LOWEST, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 0},
        {HIGHEST, LOWEST, {}, 0},
        // everything
        {0, 10, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {0, HIGHEST, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {9, -10, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        {-1, LOWEST, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
        // nothing, since a number of 0 is no question for the total
        {0, 0, {}, 0},
        {4, 0, {}, 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("offset " + std::to_string(row.offset) + ", limit " + std::to_string(row.limit));
        const Paging paging(row.offset, row.limit);

        std::vector<int> list = numbers(10);
        EXPECT_EQ(paging.applyArrayPaging(list, textOfNumber), row.start);
        EXPECT_EQ(list, row.expected);

        Array array = arrayOfNumbers(10);
        Array expected;
        for (int number : row.expected)
            expected.add(number);
        EXPECT_EQ(paging.applyArrayPaging(array), row.start);
        EXPECT_EQ(compact(array), compact(expected));
    }
}

TEST(Paging, LeavesEverythingAloneIfInvalid)
{
    const Paging invalid("abc", "1");
    std::vector<int> list = numbers(3);
    EXPECT_EQ(invalid.applyArrayPaging(list, textOfNumber), 0);
    EXPECT_THAT(list, ElementsAre(0, 1, 2));

    const Paging total("abc", "0");
    Array array = arrayOfNumbers(3);
    EXPECT_EQ(total.applyArrayPaging(array), 0);
    EXPECT_EQ(compact(array), "[0,1,2]");
}

TEST(Paging, EmptiesTheListIfOnlyTheTotalIsAskedFor)
{
    const Paging total("2", "0");
    std::vector<int> list = numbers(3);
    EXPECT_EQ(total.applyArrayPaging(list, textOfNumber), 0);
    EXPECT_THAT(list, IsEmpty());

    Array array = arrayOfObjects();
    EXPECT_EQ(Paging(UUID, "0").applyArrayPaging(array), 0);
    EXPECT_TRUE(array.empty());
}

TEST(Paging, GivesZeroForAnEmptyList)
{
    for (const Paging& paging : {Paging("2", "0"), Paging(2, 3), Paging(-1, -1), Paging(UUID, "1")}) {
        std::vector<int> list;
        EXPECT_EQ(paging.applyArrayPaging(list, textOfNumber), 0);
        Array array;
        EXPECT_EQ(paging.applyArrayPaging(array), 0);
        EXPECT_TRUE(array.empty());
    }
}

TEST(Paging, StartsAtTheElementWithTheUuid)
{
    Array forward = arrayOfObjects();
    EXPECT_EQ(Paging(UUID, "5").applyArrayPaging(forward), 2);
    EXPECT_EQ(compact(forward), R"([{"id":")" + UUID + R"("},{"id":"d"}])");

    Array backward = arrayOfObjects();
    EXPECT_EQ(Paging(UUID, "-2").applyArrayPaging(backward), 1);
    EXPECT_EQ(compact(backward), R"([{"id":"b"},{"id":")" + UUID + R"("}])");
}

TEST(Paging, TakesTheFirstOfEqualIds)
{
    const std::vector<std::string> ids = {"x", UUID, "y", UUID};
    std::vector<std::string> list = ids;
    EXPECT_EQ(Paging(UUID, "2").applyArrayPaging(list, [](const std::string& id) { return id; }), 1);
    EXPECT_THAT(list, ElementsAre(UUID, "y"));
}

TEST(Paging, StartsAtTheFrontIfTheUuidIsNotFound)
{
    Array array = arrayOfObjects();
    EXPECT_EQ(Paging(OTHER_UUID, "2").applyArrayPaging(array), 0);
    EXPECT_EQ(compact(array), R"([{"id":"a"},{"id":"b"}])");

    Array backward = arrayOfObjects();
    EXPECT_EQ(Paging(OTHER_UUID, "-2").applyArrayPaging(backward), 0);
    EXPECT_EQ(compact(backward), R"([{"id":"a"}])");
}

TEST(Paging, ComparesUuidsAsText)
{
    Array array = arrayOfObjects();
    EXPECT_EQ(Paging("0A1B2C3D-4E5F-4A6B-8C7D-9E0F1A2B3C4D", "1").applyArrayPaging(array), 0);
    EXPECT_EQ(compact(array), R"([{"id":"a"}])");
}

TEST(Paging, FindsNoUuidAmongPlainValues)
{
    Array array;
    array.add("plain");
    array.add(UUID);
    array.add(objectWithId(UUID));
    EXPECT_EQ(Paging(UUID, "1").applyArrayPaging(array), 0);
    EXPECT_EQ(compact(array), R"(["plain"])");
}

TEST(Paging, FindsNoUuidIfTheFirstObjectIsHeldByValue)
{
    Array array;
    array.add(*objectWithId("a"));
    array.add(objectWithId(UUID));
    EXPECT_EQ(Paging(UUID, "1").applyArrayPaging(array), 0);
    EXPECT_EQ(compact(array), R"([{"id":"a"}])");
}

TEST(Paging, PassesOverElementsWithoutAReadableId)
{
    Array array;
    array.add(Object::Ptr(new Object));
    array.add(Object::Ptr());
    array.add(Var());
    array.add(7);
    array.add(UUID);
    array.add(objectWithId(Var()));
    array.add(objectWithId(5));
    array.add(*objectWithId(UUID));
    array.add(objectWithId(UUID));
    EXPECT_EQ(Paging(UUID, "1").applyArrayPaging(array), 7);
    EXPECT_EQ(compact(array), R"([{"id":")" + UUID + R"("}])");
}

TEST(Paging, PutsContainersHeldByValueBehindPointersWhenItCuts)
{
    Array inner;
    inner.add(1);
    Array array;
    array.add(inner);
    array.add(*objectWithId("a"));
    array.add("text");

    Array whole = array;
    EXPECT_EQ(Paging(0, 3).applyArrayPaging(whole), 0);
    EXPECT_TRUE(isByValue(whole.get(0)));
    EXPECT_TRUE(isByValue(whole.get(1)));

    Array cut = array;
    EXPECT_EQ(Paging(0, 2).applyArrayPaging(cut), 0);
    EXPECT_EQ(compact(cut), R"([[1],{"id":"a"}])");
    EXPECT_EQ(cut.get(0).type(), typeid(Array::Ptr));
    EXPECT_EQ(cut.get(1).type(), typeid(Object::Ptr));
}

TEST(Paging, SharesWhatIsHeldByPointer)
{
    Array array = arrayOfObjects();
    const Object::Ptr second = array.getObject(1);
    EXPECT_EQ(Paging(1, 1).applyArrayPaging(array), 1);
    EXPECT_EQ(array.getObject(0), second);
}

TEST(Paging, LeavesTheListAsItWasIfAnIdThrows)
{
    std::vector<int> list = numbers(3);
    const auto getId = [](int number) {
        if (number == 1)
            throw std::runtime_error("no id");
        return std::to_string(number);
    };
    EXPECT_THROW(Paging(UUID, "1").applyArrayPaging(list, getId), std::runtime_error);
    EXPECT_THAT(list, ElementsAre(0, 1, 2));
    EXPECT_EQ(Paging(1, 1).applyArrayPaging(list, getId), 1) << "an index needs no id";
}

namespace
{

/// The slice in words: every element that the anchor and the limit select, one by one, in numbers that are
/// wide enough for all of them.
template <typename Element>
std::vector<Element> plainSlice(const std::vector<Element>& list, std::int64_t offset, std::int64_t limit,
                                std::int64_t& start)
{
    const auto size = static_cast<std::int64_t>(list.size());
    const std::int64_t anchor = offset < 0 ? offset + size : offset;
    std::vector<Element> slice;
    start = 0;
    if (anchor < 0 || anchor >= size)
        return slice;
    start = anchor;
    for (std::int64_t index = 0; index < size; ++index) {
        const bool selected = limit < 0 ? index <= anchor && anchor - index < -limit
                                        : index >= anchor && index - anchor < limit;
        if (selected) {
            start = std::min(start, index);
            slice.push_back(list[static_cast<std::size_t>(index)]);
        }
    }
    return slice;
}

std::vector<int> edgesOf32Bits()
{
    return {LOWEST,
            LOWEST + 1,
            LOWEST + 2,
            LOWEST + 299,
            LOWEST + 300,
            LOWEST + 301,
            -1000000,
            -301,
            -300,
            -299,
            -101,
            -100,
            -99,
            -2,
            -1,
            0,
            1,
            2,
            24,
            25,
            26,
            99,
            100,
            101,
            299,
            300,
            301,
            1000000,
            HIGHEST - 301,
            HIGHEST - 300,
            HIGHEST - 299,
            HIGHEST - 2,
            HIGHEST - 1,
            HIGHEST};
}

} // namespace

TEST(Paging, StaysInsideTheListForAllEdgesOf32Bits)
{
    const std::vector<int> all = numbers(300);
    for (int size = 0; size <= 300; ++size) {
        const std::vector<int> list(all.begin(), all.begin() + size);
        for (int offset : edgesOf32Bits()) {
            for (int limit : edgesOf32Bits()) {
                std::int64_t expectedStart = 0;
                const std::vector<int> expected = plainSlice(list, offset, limit, expectedStart);
                std::vector<int> cut = list;
                const int start = Paging(offset, limit).applyArrayPaging(cut, textOfNumber);
                ASSERT_TRUE(start == expectedStart && cut == expected)
                    << "size " << size << ", offset " << offset << ", limit " << limit << ", start " << start;
            }
        }
    }
}

namespace
{

Object::Ptr plainObject(const Var& element)
{
    return element.type() == typeid(Object) ? Object::Ptr(new Object(element.extract<Object>()))
                                            : element.extract<Object::Ptr>();
}

std::string plainId(const Var& element)
{
    try {
        const Object::Ptr object = plainObject(element);
        return object && object->has("id") ? object->get("id").convert<std::string>() : std::string();
    } catch (const Poco::Exception&) {
        return {};
    }
}

/// Cuts an array the long way: copies all of it, finds the anchor, slices the copy.
int plainArrayPaging(const Paging& paging, Array& array)
{
    if (array.empty() || !paging.isValid())
        return 0;
    if (paging.getType() == Paging::TYPE_TOTAL) {
        array.clear();
        return 0;
    }
    std::vector<Var> elements;
    for (const Var& element : array) {
        if (element.type() == typeid(Object))
            elements.emplace_back(Object::Ptr(new Object(element.extract<Object>())));
        else if (element.type() == typeid(Array))
            elements.emplace_back(Array::Ptr(new Array(element.extract<Array>())));
        else
            elements.push_back(element);
    }
    std::int64_t anchor = paging.getNumberOffset();
    if (paging.getType() == Paging::TYPE_UUID) {
        for (std::size_t index = elements.size(); array.isObject(0) && index-- > 0;) {
            if (plainId(elements[index]) == paging.getUUIDOffset())
                anchor = static_cast<std::int64_t>(index);
        }
    }
    std::int64_t start = 0;
    elements = plainSlice(elements, anchor, paging.getLimit(), start);
    if (elements.size() != array.size()) {
        array.clear();
        for (const Var& element : elements)
            array.add(element);
    }
    return static_cast<int>(start);
}

std::string randomId(RandomSource& random)
{
    static const std::vector<std::string> IDS = {UUID, OTHER_UUID, "a", ""};
    return random.pick(IDS);
}

Var randomElement(RandomSource& random)
{
    switch (random.below(12)) {
    case 0:
        return Var();
    case 1:
        return static_cast<int>(random.below(5));
    case 2:
        return randomId(random);
    case 3:
        return Object::Ptr();
    case 4:
        return Array::Ptr(new Array);
    case 5:
        return Array();
    case 6:
        return *objectWithId(randomId(random));
    default:
        return objectWithId(randomId(random));
    }
}

Paging randomPaging(RandomSource& random)
{
    static const std::vector<std::string> OFFSETS = {"",  UUID, UUID, OTHER_UUID, "0",  "1",          "3",
                                                     "9", "-1", "-2", "-5",       "xx", "-2147483648"};
    static const std::vector<std::string> LIMITS = {"",   "0",  "1",   "2", "5",
                                                    "-1", "-3", "200", "x", "-2147483648"};
    const std::string offset = random.pick(OFFSETS);
    return Paging(offset, random.pick(LIMITS));
}

/// Content, kinds and identity of the elements.
std::string traceOf(const Array& array)
{
    std::string trace;
    for (const Var& element : array) {
        trace += element.type().name();
        if (element.type() == typeid(Object::Ptr) && element.extract<Object::Ptr>())
            trace += compact(element.extract<Object::Ptr>());
        else if (element.type() == typeid(Object))
            trace += compact(element.extract<Object>());
        else if (!element.isEmpty() && element.type() != typeid(Object::Ptr))
            trace += element.toString();
        trace += ";";
    }
    return trace;
}

} // namespace

TEST(Paging, CutsRandomArraysAsThePlainWayDoes)
{
    RandomSource random;
    LogCapture log(Poco::Message::PRIO_ERROR);
    for (int round = 0; round < 20000; ++round) {
        Array array;
        for (std::size_t count = random.below(9); count > 0; --count)
            array.add(randomElement(random));
        const Paging paging = randomPaging(random);

        Array expected = array;
        Array cut = array;
        const int expectedStart = plainArrayPaging(paging, expected);
        ASSERT_EQ(paging.applyArrayPaging(cut), expectedStart)
            << "round " << round << ", seed " << random.seed() << ", " << textOf(paging) << ", "
            << traceOf(array);
        ASSERT_EQ(traceOf(cut), traceOf(expected))
            << "round " << round << ", seed " << random.seed() << ", " << textOf(paging);
    }
}

} // namespace Zovi::Command
