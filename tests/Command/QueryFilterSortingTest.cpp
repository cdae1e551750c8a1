#include <Command/QueryFilterJSON.h>

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "QueryFilterSteps.h"
#include "RandomSource.h"

#include <Command/SortingFilter.h>
#include <JSONTools.h>

#include <Poco/DateTime.h>
#include <Poco/Exception.h>
#include <Poco/Timespan.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using testing::ElementsAre;
using Zovi::Command::Paging;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::QueryFilterJSONSteps;
using Zovi::Command::RequestBase;
using Zovi::Command::SortingParameter;
using Zovi::Test::parseJson;
using Zovi::Util::CompareHelper;
using Zovi::Util::CompareResult;
using Zovi::Util::JSONTools;
using Objects = QueryFilterJSON::JsonObjectArray;

// The comparison as it reads, for the sort of the standard library: what the product must agree with.
struct PlainCompare {
    CompareResult operator()(const Object::Ptr& a, const Object::Ptr& b, const std::string& name) const
    {
        const bool hasLeft = a && a->has(name);
        const bool hasRight = b && b->has(name);
        if (!hasLeft && !hasRight)
            return Zovi::Util::EQUAL;
        if (!hasRight)
            return Zovi::Util::GREATER;
        if (!hasLeft)
            return Zovi::Util::LESS;
        return compare(a->get(name), b->get(name), 0);
    }

    static CompareResult compare(const Var& lhs, const Var& rhs, int recursion)
    {
        if (recursion > 2)
            return Zovi::Util::EQUAL;
        if (lhs.isInteger() && rhs.isInteger()) {
            if (lhs.isSigned())
                return CompareHelper::compare(lhs.convert<Poco::Int64>(), rhs.convert<Poco::Int64>());
            return CompareHelper::compare(lhs.convert<Poco::UInt64>(), rhs.convert<Poco::UInt64>());
        }
        if (lhs.isNumeric() && rhs.isNumeric())
            return CompareHelper::compare(lhs.convert<double>(), rhs.convert<double>());
        if (const Object* left = JSONTools::extractJsonObject(lhs)) {
            const Object* right = JSONTools::extractJsonObject(rhs);
            if (!right)
                return Zovi::Util::LESS;
            const std::string id = left->optValue<std::string>("id", "");
            return CompareHelper::convertResult(id.compare(right->optValue<std::string>("id", "")));
        }
        if (const Array* left = JSONTools::extractJsonArray(lhs)) {
            const Array* right = JSONTools::extractJsonArray(rhs);
            if (!right || left->size() < right->size())
                return Zovi::Util::LESS;
            if (left->size() > right->size())
                return Zovi::Util::GREATER;
            for (unsigned int i = 0; i < left->size(); ++i) {
                const CompareResult result = compare(left->get(i), right->get(i), recursion + 1);
                if (result != Zovi::Util::EQUAL)
                    return result;
            }
            return Zovi::Util::EQUAL;
        }
        const std::string text = lhs.toString();
        return CompareHelper::convertResult(text.compare(rhs.toString()));
    }
};

using PlainSort = Zovi::Command::SortingFilter<Objects, PlainCompare, Object::Ptr>;

Object::Ptr objectWith(const Var& value)
{
    Object::Ptr object(new Object);
    object->set("key", value);
    return object;
}

Object::Ptr withoutKey()
{
    return new Object;
}

/// True if the object `a` goes before the object `b`: sorting a pair asks just that of the second one.
bool isBefore(const Object::Ptr& a, const Object::Ptr& b, const std::string& sortBy = "key")
{
    Objects pair{b, a};
    QueryFilterJSONSteps::sort(SortingParameter(sortBy), pair);
    return pair.front() == a;
}

bool isLess(const Var& lhs, const Var& rhs)
{
    return isBefore(objectWith(lhs), objectWith(rhs));
}

/// What the comparison of `lhs` with `rhs` ends in.
std::string failureOf(const Var& lhs, const Var& rhs)
{
    try {
        isLess(lhs, rhs);
    } catch (const Poco::Exception& failure) {
        return std::string(failure.name()) + ": " + failure.message();
    }
    return "";
}

Var json(const std::string& text)
{
    return parseJson(text);
}

/// From here on not every integer is a double.
constexpr Poco::Int64 TWO_TO_53 = Poco::Int64{1} << 53;

TEST(QueryFilterSorting, OrdersValuesOfOneKind)
{
    struct Row {
        Var less;
        Var greater;
    };
    const std::vector<Row> rows = {
        // integers as numbers, at all widths
        {2, 10},
        {-1, 0},
        {Poco::Int64{-5'000'000'000}, 3},
        {std::numeric_limits<Poco::Int64>::min(), std::numeric_limits<Poco::Int64>::max()},
        {Poco::UInt64{2}, std::numeric_limits<Poco::UInt64>::max()},
        {Poco::UInt64{1} << 63, (Poco::UInt64{1} << 63) + 1},
        {2, Poco::UInt32{3}},
        {Poco::UInt32{2}, 3},
        // also where a double cannot tell them apart
        {TWO_TO_53, TWO_TO_53 + 1},
        {-TWO_TO_53 - 1, -TWO_TO_53},
        {static_cast<Poco::UInt64>(TWO_TO_53), TWO_TO_53 + 1},
        // false before true, as 0 and 1
        {false, true},
        {false, 1},
        {0, true},
        {true, 2},
        // other numbers as double
        {1, 1.5},
        {0.5, 1},
        {-0.5, 0.25},
        {-2.5, -1.5},
        {1.5F, 1.75},
        {-INFINITY, -1e308},
        // texts bytewise
        {"10", "2"},
        {"", "a"},
        {"a", std::string("a\0", 2)},
        {"abcdefg", "abcdefga"},
        {"abcdefgh", "abcdefgi"},
        {"abcdefgZ", "abcdefga"},
        {"A", "a"},
        {"z", "\xc3\xa4"},
        {"prefix that is long, one", "prefix that is long, two"},
        // mixed with a text: as text
        {10, "2"},
        {"10", 2},
        {1.5, "1.6"},
        {false, "true"},
        // objects by their id
        {json(R"({"id":"a","x":9})"), json(R"({"id":"b","x":1})")},
        {json(R"({"x":9})"), json(R"({"id":"b"})")},
        {json(R"({"id":null})"), json(R"({"id":"b"})")},
        {json(R"({"id":10})"), json(R"({"id":2})")},
        // arrays by size, then by their elements
        {json("[1,2]"), json("[1,2,0]")},
        {json("[9,9]"), json("[1,1,1]")},
        {json("[1,2]"), json("[1,3]")},
        {json("[]"), json("[0]")},
        {json("[[1],[2]]"), json("[[1],[3]]")},
        {json("[[[]]]"), json("[[[1]]]")},
        // what has a text of its own
        {Poco::DateTime(2020, 1, 2), Poco::DateTime(2021, 1, 2)},
        {Poco::UUID("00000000-0000-0000-0000-000000000001"),
         Poco::UUID("00000000-0000-0000-0000-000000000002")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.less.toString() + " < " + row.greater.toString());
        EXPECT_TRUE(isLess(row.less, row.greater));
        EXPECT_FALSE(isLess(row.greater, row.less));
        EXPECT_TRUE(isBefore(objectWith(row.greater), objectWith(row.less), "-key"));
        EXPECT_FALSE(isBefore(objectWith(row.less), objectWith(row.greater), "-key"));
    }
}

TEST(QueryFilterSorting, TakesTheseValuesForEqual)
{
    struct Row {
        Var lhs;
        Var rhs;
    };
    const std::vector<Row> rows = {
        {1, Poco::UInt64{1}},
        {1, 1.0},
        {0.0, -0.0},
        {true, 1},
        // an integer beside another number is a double, which holds 53 bits
        {TWO_TO_53 + 1, static_cast<double>(TWO_TO_53)},
        {-TWO_TO_53 - 1, static_cast<double>(-TWO_TO_53)},
        {std::numeric_limits<Poco::Int64>::max(), 9223372036854775808.0},
        {std::nan(""), 1.0},
        {std::nan(""), std::nan("")},
        {5, "5"},
        {json(R"({"x":1})"), json(R"({"x":2})")},
        {json(R"({"id":"a","x":1})"), json(R"({"id":"a"})")},
        {json("[]"), json("[]")},
        // the fourth level of nesting does not count
        {json("[[[1]]]"), json("[[[2]]]")},
        {json("[[[[]]]]"), json("[[[[1]]]]")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.lhs.toString() + " and " + row.rhs.toString());
        EXPECT_FALSE(isLess(row.lhs, row.rhs));
        EXPECT_FALSE(isLess(row.rhs, row.lhs));
    }
}

TEST(QueryFilterSorting, IsNotSymmetricalWhereObjectsAndArraysMeetOtherValues)
{
    const Var object = json(R"({"id":"a"})");
    const Var array = json("[1]");
    EXPECT_TRUE(isLess(object, array));
    EXPECT_TRUE(isLess(array, object));
    EXPECT_TRUE(isLess(object, "a"));
    EXPECT_TRUE(isLess(array, 5));
    // the text of an object begins with a brace, that of an array with a bracket
    EXPECT_TRUE(isLess("a", object));
    EXPECT_FALSE(isLess("~", object));
    EXPECT_TRUE(isLess(5, array));
    EXPECT_FALSE(isLess("a", array));
    EXPECT_TRUE(isLess(object, Var()));
    EXPECT_TRUE(isLess(array, Var()));
}

TEST(QueryFilterSorting, TakesObjectsAndArraysHeldByThemselves)
{
    const Object::Ptr object = json(R"({"id":"a"})").extract<Object::Ptr>();
    const Object::Ptr later = json(R"({"id":"b"})").extract<Object::Ptr>();
    const Array::Ptr array = json("[1]").extract<Array::Ptr>();
    const Array::Ptr longer = json("[1,2]").extract<Array::Ptr>();
    EXPECT_TRUE(isLess(*object, *later));
    EXPECT_FALSE(isLess(*later, *object));
    EXPECT_TRUE(isLess(object, *later));
    EXPECT_TRUE(isLess(*array, *longer));
    EXPECT_FALSE(isLess(longer, *array));
}

TEST(QueryFilterSorting, PutsObjectsWithoutTheFieldFirstAndLastWhenDescending)
{
    const Object::Ptr missing = withoutKey();
    for (const Var& value : {Var(std::numeric_limits<Poco::Int64>::min()), Var(Poco::UInt64{0}), Var(-1.5),
                             Var(""), Var(), json("{}"), json("[]")}) {
        const Object::Ptr present = objectWith(value);
        EXPECT_TRUE(isBefore(missing, present));
        EXPECT_FALSE(isBefore(present, missing));
        EXPECT_TRUE(isBefore(present, missing, "-key"));
        EXPECT_FALSE(isBefore(missing, present, "-key"));
        EXPECT_TRUE(isBefore(Object::Ptr(), present));
        EXPECT_FALSE(isBefore(present, Object::Ptr()));
    }
    EXPECT_FALSE(isBefore(missing, withoutKey()));
    EXPECT_FALSE(isBefore(missing, Object::Ptr()));
    EXPECT_FALSE(isBefore(Object::Ptr(), missing));
}

TEST(QueryFilterSorting, OrdersEqualObjectsByTheNextField)
{
    Objects objects;
    for (const char* text : {R"({"n":1,"a":2,"b":1})", R"({"n":2,"a":1,"b":2})", R"({"n":3,"a":1,"b":1})",
                             R"({"n":4,"b":9})", R"({"n":5,"b":8})"})
        objects.push_back(json(text).extract<Object::Ptr>());
    const auto orderBy = [&](const std::string& fields) {
        Objects sorted = objects;
        QueryFilterJSONSteps::sort(SortingParameter(fields), sorted);
        std::vector<int> numbers;
        for (const Object::Ptr& object : sorted)
            numbers.push_back(object->getValue<int>("n"));
        return numbers;
    };
    EXPECT_THAT(orderBy("a,b"), ElementsAre(5, 4, 3, 2, 1));
    EXPECT_THAT(orderBy("a,-b"), ElementsAre(4, 5, 2, 3, 1));
    EXPECT_THAT(orderBy("-a,b"), ElementsAre(1, 3, 2, 5, 4));
    EXPECT_THAT(orderBy("nothing,b,-n"), ElementsAre(3, 1, 2, 5, 4));
}

TEST(QueryFilterSorting, RefusesWhatCannotBeCompared)
{
    struct Row {
        Var lhs;
        Var rhs;
        std::string failure;
    };
    const std::string EMPTY = "Invalid access: Can not convert empty value.";
    const std::string TOO_SMALL = "Out of range: Value too small.";
    const std::string TOO_LARGE = "Out of range: Value too large.";
    const std::vector<Row> rows = {
        {Var(), 1, EMPTY},
        {1, Var(), EMPTY},
        {Var(), Var(), EMPTY},
        {Var(), "a", EMPTY},
        {Var(), json("{}"), EMPTY},
        {json("[null]"), json("[null]"), EMPTY},
        {Poco::UInt64{1}, -1, TOO_SMALL},
        {true, -1, TOO_SMALL},
        {-1, std::numeric_limits<Poco::UInt64>::max(), TOO_LARGE},
        {"a", Poco::URI("/a"), "Bad cast exception: Can not convert to std::string"},
        {Poco::URI("/a"), Var(), "Bad cast exception: Can not convert to std::string"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.lhs.type().name()) + " and " + row.rhs.type().name());
        EXPECT_EQ(failureOf(row.lhs, row.rhs), row.failure);
    }
    EXPECT_EQ(failureOf(-1, Poco::UInt64{1}), "");
    EXPECT_EQ(failureOf(json("[[null]]"), json("[[null]]")), EMPTY);
    EXPECT_EQ(failureOf(json("[[[null]]]"), json("[[[null]]]")), "");
}

TEST(QueryFilterSorting, ComparesNothingWhereThereIsNothingToCompare)
{
    Objects none;
    Objects one{objectWith(Var())};
    Objects oneNull{withoutKey(), objectWith(Var()), withoutKey()};
    EXPECT_NO_THROW(QueryFilterJSONSteps::sort(SortingParameter("key"), none));
    EXPECT_NO_THROW(QueryFilterJSONSteps::sort(SortingParameter("key"), one));
    EXPECT_NO_THROW(QueryFilterJSONSteps::sort(SortingParameter("key"), oneNull));
    EXPECT_TRUE(oneNull.back()->has("key"));

    Objects two{objectWith(2), objectWith(1)};
    QueryFilterJSONSteps::sort(SortingParameter(""), two);
    EXPECT_EQ(two.front()->getValue<int>("key"), 2);
}

TEST(QueryFilterSorting, ComparesAnObjectThatStandsTwiceAsTwoCopies)
{
    const Object::Ptr withNull = objectWith(Var());
    Object collection;
    Array input;
    input.add(withNull).add(withNull);
    Array output;
    const RequestBase request(Poco::URI("/svc/res?$sortby=key"));
    EXPECT_THROW(QueryFilterJSON::filterJSONArrayByQuery(input, request, output),
                 Poco::InvalidAccessException);
}

TEST(QueryFilterSorting, RefusesAnInvalidCriterionWithALogLine)
{
    struct InvalidSorting : SortingParameter {
        InvalidSorting()
            : SortingParameter("key")
        {
            m_valid = false;
        }
    };
    const Zovi::Test::LogCapture log;
    Objects objects{objectWith(2), objectWith(1)};
    QueryFilterJSONSteps::sort(InvalidSorting(), objects);
    EXPECT_EQ(objects.front()->getValue<int>("key"), 2);
    EXPECT_THAT(log.texts(), ElementsAre("Error: Cannot apply invalid sorting query"));
    EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
}

// Random collections, sorted by the product and as the comparison reads.

/// Makes values of one kind for a field; the smaller `range`, the more of them are equal.
struct Kind {
    std::string name;
    bool isConsistent;
    std::function<Var(Zovi::Test::RandomSource& random, std::size_t range)> make;
};

std::string randomText(Zovi::Test::RandomSource& random, std::size_t range)
{
    static const std::vector<std::string> PREFIXES = {
        "", "a", "state", "a prefix of some length ", std::string("\0\0", 2), "\xff"};
    const std::string text = random.pick(PREFIXES) + std::to_string(random.below(range));
    return text.substr(0, random.below(text.size() + 1));
}

Var randomReference(Zovi::Test::RandomSource& random, std::size_t range)
{
    Object::Ptr reference(new Object);
    if (!random.oneIn(8))
        reference->set("id", random.oneIn(4) ? Var(random.below(range)) : Var(randomText(random, range)));
    return random.oneIn(3) ? Var(*reference) : Var(reference);
}

Var randomArray(Zovi::Test::RandomSource& random, std::size_t range)
{
    Array::Ptr array(new Array);
    for (std::size_t size = random.below(3); size > 0; --size)
        array->add(static_cast<int>(random.below(range)));
    return array;
}

const std::vector<Kind>& kinds()
{
    using Random = Zovi::Test::RandomSource;
    const auto number = [](Random& random, std::size_t range) {
        return static_cast<Poco::Int64>(random.below(range)) - static_cast<Poco::Int64>(range / 2);
    };
    static const std::vector<Kind> KINDS = {
        {"signed", true,
         [=](Random& r, std::size_t n) {
             return r.oneIn(2) ? Var(number(r, n)) : Var(static_cast<int>(number(r, n)));
         }},
        {"signed edges", true,
         [=](Random& r, std::size_t n) {
             const Poco::Int64 value = number(r, n) / 4;
             return Var(value < 0 ? std::numeric_limits<Poco::Int64>::max() + value
                                  : std::numeric_limits<Poco::Int64>::min() + value);
         }},
        {"unsigned", true,
         [=](Random& r, std::size_t n) {
             return Var(static_cast<Poco::UInt64>(number(r, n)));
         }},
        {"boolean", true,
         [](Random& r, std::size_t) {
             return Var(r.oneIn(2));
         }},
        {"floating", true,
         [=](Random& r, std::size_t n) {
             return r.oneIn(9) ? Var(r.oneIn(2) ? -0.0 : INFINITY)
                               : Var(static_cast<double>(number(r, n)) / 8);
         }},
        {"mixed numbers", true,
         [=](Random& r, std::size_t n) {
             return r.oneIn(2) ? Var(number(r, n)) : Var(static_cast<double>(number(r, n)) / 2);
         }},
        {"mixed signedness", true,
         [](Random& r, std::size_t n) {
             return r.oneIn(2) ? Var(static_cast<int>(r.below(n)))
                               : Var(static_cast<Poco::UInt32>(r.below(n)));
         }},
        {"text", true,
         [](Random& r, std::size_t n) {
             return Var(randomText(r, n));
         }},
        {"date", true,
         [](Random& r, std::size_t n) {
             return r.oneIn(3) ? Var(randomText(r, n))
                               : Var(Poco::DateTime(2020, 1, 1) +
                                     Poco::Timespan(static_cast<int>(r.below(n)), 0, 0, 0, 0));
         }},
        {"reference", true, randomReference},
        {"array", false, randomArray},
        {"not a number", false,
         [=](Random& r, std::size_t n) {
             return r.oneIn(6) ? Var(std::nan("")) : Var(static_cast<double>(number(r, n)));
         }},
        {"number or text", false,
         [=](Random& r, std::size_t n) {
             return r.oneIn(2) ? Var(number(r, n)) : Var(randomText(r, n));
         }},
        {"signed and unsigned", false,
         [=](Random& r, std::size_t n) {
             return r.oneIn(9) ? Var(static_cast<Poco::UInt64>(r.below(n))) : Var(number(r, n));
         }},
        {"anything", false,
         [=](Random& r, std::size_t n) {
             switch (r.below(6)) {
             case 0:
                 return Var(number(r, n));
             case 1:
                 return Var(static_cast<double>(number(r, n)) / 3);
             case 2:
                 return randomArray(r, n);
             case 3:
                 return randomReference(r, n);
             case 4:
                 return Var(r.oneIn(2));
             default:
                 return r.oneIn(20) ? Var() : Var(randomText(r, n));
             }
         }},
    };
    return KINDS;
}

/// Objects with the fields "x" and "y", and their number in "n".
struct Collection {
    Objects objects;
    std::string description;
    bool isConsistent;
};

Collection randomCollection(Zovi::Test::RandomSource& random, std::size_t maxSize)
{
    const Kind& x = random.pick(kinds());
    const Kind& y = random.pick(kinds());
    const std::size_t range = random.pick(std::vector<std::size_t>{2, 5, 40, 10'000});
    const std::size_t missing = random.pick(std::vector<std::size_t>{2, 10, 1'000'000});
    Collection result{{}, x.name + ", " + y.name, x.isConsistent && y.isConsistent};
    const std::size_t size = random.below(maxSize + 1);
    for (std::size_t i = 0; i < size; ++i) {
        Object::Ptr object(new Object(random.oneIn(5) ? Poco::JSON_PRESERVE_KEY_ORDER : 0));
        object->set("n", i);
        if (!random.oneIn(missing))
            object->set("x", x.make(random, range));
        if (!random.oneIn(missing))
            object->set("y", y.make(random, range));
        result.objects.push_back(object);
    }
    result.description += ", " + std::to_string(size) + " objects, seed " + std::to_string(random.seed());
    return result;
}

const std::vector<std::string> SORTINGS = {"x", "-x", "x,y", "x,-y", "-x,y", "-y,-x", "none,y", "", "x,x,y"};

/// The numbers of `objects` after `sort`, or the exception that it ended in.
template <typename Sort>
std::string outcomeOf(Objects objects, Sort sort)
{
    try {
        sort(objects);
    } catch (const Poco::Exception& failure) {
        return failure.displayText();
    }
    std::string numbers;
    for (const Object::Ptr& object : objects)
        numbers += object->get("n").toString() + " ";
    return numbers;
}

std::string sortedByProduct(const Objects& objects, const SortingParameter& sorting)
{
    return outcomeOf(objects, [&](Objects& all) { QueryFilterJSONSteps::sort(sorting, all); });
}

std::string sortedPlainly(const Objects& objects, const SortingParameter& sorting)
{
    return outcomeOf(objects, [&](Objects& all) { PlainSort(sorting).apply(all); });
}

TEST(QueryFilterSorting, SortsAsTheStandardLibraryDoesWhereTheOrderIsConsistent)
{
    Zovi::Test::RandomSource random;
    int compared = 0;
    while (compared < 500) {
        const Collection collection = randomCollection(random, 300);
        if (!collection.isConsistent)
            continue;
        ++compared;
        const std::string sorting = random.pick(SORTINGS);
        SCOPED_TRACE(sorting + ": " + collection.description);
        const SortingParameter criterion(sorting);
        ASSERT_EQ(sortedByProduct(collection.objects, criterion),
                  sortedPlainly(collection.objects, criterion));
    }
}

TEST(QueryFilterSorting, SortsUpTo16ObjectsAsTheStandardLibraryDoesWhateverTheyHold)
{
    Zovi::Test::RandomSource random;
    for (int round = 0; round < 3'000; ++round) {
        const Collection collection = randomCollection(random, 16);
        const std::string sorting = random.pick(SORTINGS);
        SCOPED_TRACE(sorting + ": " + collection.description);
        const SortingParameter criterion(sorting);
        ASSERT_EQ(sortedByProduct(collection.objects, criterion),
                  sortedPlainly(collection.objects, criterion));
    }
}

TEST(QueryFilterSorting, LosesNoObjectWhereTheOrderIsNotConsistent)
{
    Zovi::Test::RandomSource random;
    for (int round = 0; round < 200; ++round) {
        const Collection collection = randomCollection(random, 300);
        SCOPED_TRACE(collection.description);
        Objects sorted = collection.objects;
        try {
            QueryFilterJSONSteps::sort(SortingParameter(random.pick(SORTINGS)), sorted);
        } catch (const Poco::Exception&) {
            EXPECT_FALSE(collection.isConsistent);
        }
        ASSERT_TRUE(std::is_permutation(sorted.begin(), sorted.end(), collection.objects.begin(),
                                        collection.objects.end(),
                                        [](const auto& a, const auto& b) { return a.get() == b.get(); }));
    }
}

TEST(QueryFilterSorting, OrdersManyValuesThatOnlyComparingThemCanOrder)
{
    const int count = 1'000;
    Objects objects;
    for (int i = 0; i < count; ++i)
        objects.push_back(objectWith(json("[" + std::to_string(i * 7 % count) + "]")));
    QueryFilterJSONSteps::sort(SortingParameter("key"), objects);
    ASSERT_EQ(objects.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(objects[static_cast<std::size_t>(i)]->getArray("key")->getElement<int>(0), i);
}

TEST(QueryFilterSorting, StaysInsideTheListWhenOneArrayStandsAmongTexts)
{
    Objects objects;
    for (int i = 0; i < 2'000; ++i)
        objects.push_back(objectWith(std::to_string(i * 7 % 2'000)));
    objects[1'000] = objectWith(json("[1]"));
    QueryFilterJSONSteps::sort(SortingParameter("key"), objects);
    EXPECT_EQ(objects.size(), 2'000U);
}

TEST(QueryFilterSorting, CutsThePagesOfOneListSoThatTheyFitTogether)
{
    Zovi::Test::RandomSource random;
    for (int round = 0; round < 150; ++round) {
        const Collection collection = randomCollection(random, 700);
        const std::string sorting = random.pick(SORTINGS);
        const std::string whole = sortedByProduct(collection.objects, SortingParameter(sorting));
        SCOPED_TRACE(sorting + ": " + collection.description);
        Array input;
        for (const Object::Ptr& object : collection.objects)
            input.add(object);
        const int limit = 20 + static_cast<int>(random.below(200));
        std::string pages;
        std::size_t failures = 0;
        for (int offset = 0; offset < static_cast<int>(input.size()); offset += limit) {
            RequestBase request(Poco::URI("/svc/res?$sortby=" + sorting));
            if (sorting.empty())
                request.addRenderCriterion<SortingParameter>(new SortingParameter(""));
            request.addRenderCriterion<Paging>(new Paging(offset, limit));
            Array page;
            try {
                QueryFilterJSON::filterJSONArrayByQuery(input, request, page);
            } catch (const Poco::Exception& failure) {
                ++failures;
                pages = failure.displayText();
            }
            for (const Var& element : page)
                pages += element.extract<Object::Ptr>()->get("n").toString() + " ";
        }
        ASSERT_EQ(pages, whole) << failures << " pages failed";
    }
}

TEST(QueryFilterSorting, OrdersTheFirstPagesOfALongListAsTheWholeList)
{
    Zovi::Test::RandomSource random;
    for (int round = 0; round < 40; ++round) {
        const Collection collection = randomCollection(random, 3'000);
        const std::string sorting = random.pick(SORTINGS);
        SCOPED_TRACE(sorting + ": " + collection.description);
        Objects sorted = collection.objects;
        try {
            QueryFilterJSONSteps::sort(SortingParameter(sorting), sorted);
        } catch (const Poco::Exception&) {
            continue;
        }
        Array input;
        for (const Object::Ptr& object : collection.objects)
            input.add(object);
        for (int limit : {1, 7, 30, 90}) {
            RequestBase request(Poco::URI("/svc/res"));
            request.addRenderCriterion<SortingParameter>(new SortingParameter(sorting));
            request.addRenderCriterion<Paging>(new Paging(limit / 3, limit));
            Array page;
            QueryFilterJSON::filterJSONArrayByQuery(input, request, page);
            for (unsigned int i = 0; i < page.size(); ++i)
                ASSERT_EQ(page.getObject(i)->getValue<int>("n"),
                          sorted[i + static_cast<unsigned int>(limit / 3)]->getValue<int>("n"));
        }
    }
}

} // namespace
