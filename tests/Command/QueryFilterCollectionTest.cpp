#include <Command/QueryFilterJSON.h>

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "QueryFilterSteps.h"

#include <Command/Query/ExpandParameter.h>
#include <Command/Query/FilterParameter.h>
#include <Command/Query/ValueSearch.h>

#include <Poco/Exception.h>
#include <Poco/Format.h>
#include <Poco/URI.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using testing::ElementsAre;
using testing::IsEmpty;
using Zovi::Command::FilterParameter;
using Zovi::Command::Paging;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::QueryFilterJSONSteps;
using Zovi::Command::RequestBase;
using Zovi::Command::SortingParameter;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::LogCapture;

Array::Ptr array(const std::string& text)
{
    return Zovi::Test::parseJson(text).extract<Array::Ptr>();
}

RequestBase request(const std::string& query = "")
{
    return RequestBase(Poco::URI("/svc/res" + query));
}

/// Objects with the ids "00", "01" and so on, the last one first.
Array::Ptr numbered(int count)
{
    Array::Ptr result(new Array);
    for (int number = count - 1; number >= 0; --number) {
        Object::Ptr object(new Object);
        object->set("id", Poco::format("%02d", number)).set("n", number).set("parity", number % 2);
        result->add(object);
    }
    return result;
}

std::vector<int> numbersOf(const Array& objects)
{
    std::vector<int> numbers;
    for (const Var& element : objects)
        numbers.push_back(element.extract<Object::Ptr>()->getValue<int>("n"));
    return numbers;
}

struct Answer {
    Array objects;
    Object::Ptr paging;
};

Answer answer(const Array::Ptr& input, const RequestBase& asked)
{
    Answer result;
    QueryFilterJSON::filterJSONArrayByQuery(*input, asked, result.objects, result.paging);
    return result;
}

Answer answer(const Array::Ptr& input, const std::string& query)
{
    return answer(input, request(query));
}

std::vector<int> numbers(const Array::Ptr& input, const std::string& query)
{
    return numbersOf(answer(input, query).objects);
}

std::vector<int> range(int begin, int end)
{
    std::vector<int> result;
    for (int number = begin; number < end; ++number)
        result.push_back(number);
    return result;
}

/// A criterion that is there and invalid.
template <typename Criterion>
struct Invalid : Criterion {
    template <typename... Arguments>
    explicit Invalid(const Arguments&... arguments)
        : Criterion(arguments...)
    {
        this->m_valid = false;
    }
};

template <typename Criterion>
RequestBase withCriterion(Criterion* criterion, const std::string& query = "")
{
    RequestBase result = request(query);
    result.addRenderCriterion(Poco::SharedPtr<Criterion>(criterion));
    return result;
}

TEST(QueryFilterCollection, AnswersAnEmptyCollection)
{
    const Answer whole = answer(array("[]"), "");
    EXPECT_TRUE(whole.objects.empty());
    EXPECT_TRUE(whole.paging.isNull());

    const Answer page = answer(array("[]"), "?$limit=5");
    EXPECT_TRUE(page.objects.empty());
    EXPECT_EQ(page.paging->getValue<int>("total"), 0);
    EXPECT_EQ(page.paging->getValue<int>("offset"), 0);
    EXPECT_FALSE(page.paging->has("offsetId"));
}

TEST(QueryFilterCollection, AnswersUpTo25ObjectsWhole)
{
    const Object::Ptr before(new Object);
    Array page;
    Object::Ptr paging = before;
    QueryFilterJSON::filterJSONArrayByQuery(*numbered(25), request(), page, paging);
    EXPECT_EQ(numbersOf(page), range(0, 25));
    EXPECT_EQ(paging.get(), before.get());
    EXPECT_EQ(before->size(), 0U);
}

TEST(QueryFilterCollection, AnswersTheFirst25OfMore)
{
    const Answer result = answer(numbered(26), "");
    EXPECT_EQ(numbersOf(result.objects), range(0, 25));
    EXPECT_THAT(compact(result.paging), IsJson(R"({"offsetId":"00","offset":0,"limit":25,"total":26,)"
                                               R"("totalPages":2,"next":"/svc/res?$limit=25&$offset=25"})"));
}

TEST(QueryFilterCollection, DropsWhatIsNoObject)
{
    Array::Ptr input = array(R"([1,{"id":"b"},"text",null,[{"id":"x"}],{"id":"a"},true])");
    input->add(Object::Ptr()).add(Var(*array(R"([{"id":"c"}])")->getObject(0)));
    for (const std::string query : {"?$limit=9", "?$limit=9&id=%25"}) {
        const Answer result = answer(input, query);
        EXPECT_THAT(compact(result.objects), IsJson(R"([{"id":"a"},{"id":"b"},{"id":"c"}])"));
        EXPECT_EQ(result.paging->getValue<int>("total"), 3);
    }
}

TEST(QueryFilterCollection, Searches)
{
    EXPECT_THAT(numbers(numbered(6), "?parity=1"), ElementsAre(1, 3, 5));
    EXPECT_THAT(numbers(numbered(6), "?parity=1&n=3"), ElementsAre(3));
    EXPECT_THAT(numbers(numbered(6), "?$q=4"), ElementsAre(4));
    EXPECT_THAT(numbers(numbered(6), "?$q=1&parity=1"), ElementsAre(1, 3, 5));
    EXPECT_THAT(numbers(numbered(6), "?missing=1"), IsEmpty());
    EXPECT_THAT(numbers(numbered(6), "?$q=1&$q=3"), IsEmpty());
}

TEST(QueryFilterCollection, SortsByIdUnlessToldOtherwise)
{
    EXPECT_EQ(numbers(numbered(5), ""), range(0, 5));
    EXPECT_THAT(numbers(numbered(5), "?$sortby=-n"), ElementsAre(4, 3, 2, 1, 0));
    EXPECT_THAT(numbers(numbered(5), "?$sortby=parity,-n"), ElementsAre(4, 2, 0, 3, 1));
}

TEST(QueryFilterCollection, KeepsTheInputOrderWhereTheSortingIsInvalid)
{
    const LogCapture log;
    const auto asked = withCriterion<SortingParameter>(new Invalid<SortingParameter>("n"));
    EXPECT_THAT(numbersOf(answer(numbered(5), asked).objects), ElementsAre(4, 3, 2, 1, 0));
    EXPECT_EQ(numbersOf(answer(numbered(30), asked).objects).front(), 29);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(QueryFilterCollection, CutsThePageOfTheSortedCollection)
{
    struct Row {
        std::string query;
        std::vector<int> numbers;
        int offset;
    };
    const std::vector<Row> rows = {
        {"$limit=3", {0, 1, 2}, 0},
        {"$offset=4&$limit=3", {4, 5, 6}, 4},
        {"$offset=38&$limit=3", {38, 39}, 38},
        {"$offset=40&$limit=3", {}, 0},
        {"$offset=-1&$limit=3", {39}, 39},
        {"$offset=-3&$limit=2", {37, 38}, 37},
        {"$offset=-1&$limit=-3", {37, 38, 39}, 37},
        {"$offset=1&$limit=-3", {0, 1}, 0},
        {"$offset=20", range(20, 40), 20},
        {"$offset=0&$limit=40", range(0, 40), 0},
        {"$offset=10&$limit=30", range(10, 40), 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.query);
        const Answer result = answer(numbered(40), "?" + row.query);
        EXPECT_EQ(numbersOf(result.objects), row.numbers);
        EXPECT_EQ(result.paging->getValue<int>("offset"), row.offset);
        EXPECT_EQ(result.paging->getValue<int>("total"), 40);
        EXPECT_EQ(result.paging->has("offsetId"), !row.numbers.empty());
    }
}

TEST(QueryFilterCollection, AnswersTheTotalAlone)
{
    const Answer result = answer(numbered(40), "?$limit=0&parity=1");
    EXPECT_TRUE(result.objects.empty());
    EXPECT_EQ(compact(result.paging), R"({"total":20})");
}

TEST(QueryFilterCollection, SortsAlsoWhereNoObjectIsOnThePage)
{
    const Array::Ptr input = numbered(20);
    input->getObject(3)->set("n", Var());
    Array page;
    for (const std::string query : {"?$limit=0&$sortby=n", "?$offset=99&$sortby=n", "?$sortby=n"})
        EXPECT_THROW(QueryFilterJSON::filterJSONArrayByQuery(*input, request(query), page),
                     Poco::InvalidAccessException)
            << query;
}

TEST(QueryFilterCollection, FindsThePageByTheIdOfAnObject)
{
    const std::string PREFIX = "00000000-0000-0000-0000-0000000000";
    Array::Ptr input = numbered(40);
    for (const Var& element : *input) {
        Object::Ptr object = element.extract<Object::Ptr>();
        object->set("id", PREFIX + object->get("id").toString());
    }
    const Answer forward = answer(input, "?$offset=" + PREFIX + "17&$limit=3&$sortby=-n");
    EXPECT_THAT(numbersOf(forward.objects), ElementsAre(17, 16, 15));
    EXPECT_EQ(forward.paging->getValue<int>("offset"), 22);
    EXPECT_EQ(forward.paging->getValue<std::string>("offsetId"), PREFIX + "17");

    EXPECT_THAT(numbers(input, "?$offset=" + PREFIX + "17&$limit=-2"), ElementsAre(16, 17));
    EXPECT_THAT(numbers(input, "?$offset=" + PREFIX + "77&$limit=2"), ElementsAre(0, 1)) << "not found";
}

TEST(QueryFilterCollection, CountsWhatTheSearchKept)
{
    const Answer result = answer(numbered(40), "?parity=1&$offset=5&$limit=2");
    EXPECT_THAT(numbersOf(result.objects), ElementsAre(11, 13));
    EXPECT_EQ(result.paging->getValue<int>("total"), 20);
}

namespace
{

/// Objects whose only member beside the id is a text that ends with its number.
Array::Ptr withTexts(int count, const std::string& text)
{
    Array::Ptr result(new Array);
    for (int number = 0; number != count; ++number) {
        Object::Ptr object(new Object);
        object->set("id", std::to_string(number)).set("text", text + std::to_string(number));
        result->add(object);
    }
    return result;
}

/// The query for a free text, encoded.
std::string freetext(const std::string& value)
{
    Poco::URI uri("/");
    uri.addQueryParameter("$q", value);
    return '?' + uri.getRawQuery();
}

} // namespace

/// Each of these texts took a fifth of a second and no exception, so that a thousand of them took minutes.
TEST(QueryFilterCollection, BoundsWhatThePatternsOfOneEvaluationCostTogether)
{
    const std::string hostile = "(?:[^a]+?\\w*){0,99}";
    const std::string longText = std::string(2'000, 'b') + '-';
    EXPECT_FALSE(Zovi::Command::AnyValueSearch(hostile).match(longText));
    const auto count = [&](int objects) {
        return answer(withTexts(objects, longText), freetext(hostile) + "&$limit=0")
            .paging->getValue<int>("total");
    };
    EXPECT_EQ(count(5), 0);
    EXPECT_THROW(count(1'000), Poco::RegularExpressionException);
    EXPECT_EQ(count(5), 0);
}

TEST(QueryFilterCollection, LeavesRoomForOrdinaryPatternsOnManyObjects)
{
    const auto total = [](int objects, const std::string& text, const std::string& pattern) {
        return answer(withTexts(objects, text), freetext(pattern) + "&$limit=0")
            .paging->getValue<int>("total");
    };
    EXPECT_EQ(total(20'000, "10.0.0.", "10.0.0.7%"), 1'111);
    EXPECT_EQ(total(20'000, "eth", "eth\\d+\\b"), 20'000);
    EXPECT_EQ(total(20'000, "a disk of a machine ", "(?!net)[a-z ]+(?<= )[0-9]{4}"), 9'000);
    EXPECT_EQ(total(1'000, std::string(20'000, 'x') + " number ", "(?i)%x NUMBER [0-9]{2}"), 90);
    for (const std::string pattern : {"%(?i)tapes%", "%\\btapes\\b%", "%tapes%|%rolls%"}) {
        SCOPED_TRACE(pattern);
        EXPECT_EQ(total(100'000, "a text of sixty characters about disks of a machine, number ", pattern), 0);
    }
}

/// They go first, and the page that begins with one of them has no id to begin with.
TEST(QueryFilterCollection, PagesObjectsWithoutAnId)
{
    const Answer result = answer(array(R"([{},{"id":"a"},{}])"), "?$limit=9");
    EXPECT_EQ(compact(result.objects), R"([{},{},{"id":"a"}])");
    EXPECT_THAT(compact(result.paging), IsJson(R"({"offset":0,"limit":9,"total":3,"totalPages":1})"));
}

TEST(QueryFilterCollection, CutsNoPageWhereThePagingIsInvalid)
{
    const LogCapture log;
    const Answer result = answer(numbered(40), withCriterion<Paging>(new Paging("abc", "5")));
    EXPECT_EQ(numbersOf(result.objects), range(0, 40));
    EXPECT_TRUE(result.paging.isNull());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(QueryFilterCollection, SelectsFieldsAfterSortingByOthers)
{
    const Answer result = answer(numbered(4), "?$fields=parity&$sortby=-n");
    EXPECT_THAT(compact(result.objects), IsJson(R"([{"id":"03","parity":1},{"id":"02","parity":0},)"
                                                R"({"id":"01","parity":1},{"id":"00","parity":0}])"));
}

TEST(QueryFilterCollection, LeavesAnInvalidFieldSelectionOut)
{
    const Answer result =
        answer(numbered(1), withCriterion<FilterParameter>(new Invalid<FilterParameter>("parity")));
    EXPECT_THAT(compact(result.objects), IsJson(R"([{"id":"00","n":0,"parity":0}])"));
}

TEST(QueryFilterCollection, ExpandsTheObjectsOfThePageOnly)
{
    Array::Ptr input = numbered(30);
    for (const Var& element : *input) {
        Object::Ptr reference(new Object);
        reference->set("id", "x").set("more", 1);
        Object::Ptr(element.extract<Object::Ptr>())->set("other", reference);
    }
    Answer result = answer(input, "?$expand=0&$limit=2");
    EXPECT_THAT(compact(*result.objects.getObject(0)->getObject("other")), IsJson(R"({"id":"x"})"));
    EXPECT_FALSE(input->getObject(29)->getObject("other")->has("more")) << "shared with the output";
    EXPECT_TRUE(input->getObject(0)->getObject("other")->has("more")) << "not on the page";

    result = answer(input, "?$expand=other&$offset=9&$limit=1");
    EXPECT_TRUE(result.objects.getObject(0)->getObject("other")->has("more"));
    result = answer(input, withCriterion(new Zovi::Command::LevelExpansion("7"), "?$offset=9&$limit=1"));
    EXPECT_FALSE(result.objects.getObject(0)->getObject("other")->has("more")) << "validity is not asked";
}

TEST(QueryFilterCollection, SharesNestedValuesAndNotTheTopLevel)
{
    const Array::Ptr input = array(R"([{"id":"a","items":[1,2,3],"inner":{"x":1}}])");
    const Answer result = answer(input, "?$fields=inner");
    const Object::Ptr original = input->getObject(0);
    EXPECT_NE(result.objects.getObject(0).get(), original.get());
    EXPECT_EQ(result.objects.getObject(0)->getObject("inner").get(), original->getObject("inner").get());
    EXPECT_EQ(compact(original), R"({"id":"a","inner":{"x":1},"items":[1,2,3]})");
}

TEST(QueryFilterCollection, CutsTheSharedArrayOfASlicedField)
{
    const Array::Ptr input = array(R"([{"id":"a","items":[1,2,3]}])");
    const Answer result = answer(input, "?$fields=items($offset:1,$limit:1)");
    EXPECT_THAT(compact(result.objects), IsJson(R"([{"id":"a","items":[2]}])"));
    EXPECT_EQ(compact(input), R"([{"id":"a","items":[2]}])");
}

TEST(QueryFilterCollection, MakesTwoObjectsOfOneThatStandsTwice)
{
    Array::Ptr input = numbered(1);
    input->add(input->get(0));
    const Answer result = answer(input, "");
    ASSERT_EQ(result.objects.size(), 2U);
    EXPECT_NE(result.objects.getObject(0).get(), result.objects.getObject(1).get());
}

TEST(QueryFilterCollection, AcceptsOneArrayAsInputAndOutput)
{
    Array::Ptr both = numbered(40);
    both->add(7).add(*both->getObject(5));
    Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(*both, request("?$offset=3&$limit=2"), *both, paging);
    EXPECT_THAT(numbersOf(*both), ElementsAre(3, 4));
    EXPECT_EQ(paging->getValue<int>("total"), 41);
}

TEST(QueryFilterCollection, ReplacesWhatTheOutputHeld)
{
    Array page;
    page.add(1).add(2);
    QueryFilterJSON::filterJSONArrayByQuery(*numbered(1), request(), page);
    EXPECT_EQ(numbersOf(page), range(0, 1));
}

TEST(QueryFilterCollection, CutsTheSamePageWithoutADescriptionOfIt)
{
    for (const std::string query : {"", "?$offset=7&$limit=-4", "?$limit=0", "?$q=5&$sortby=-n"}) {
        Array page;
        QueryFilterJSON::filterJSONArrayByQuery(*numbered(40), request(query), page);
        EXPECT_EQ(numbersOf(page), numbers(numbered(40), query)) << query;
    }
}

TEST(QueryFilterCollection, LeavesTheOutputAloneWhenAStepBeforeItFails)
{
    const Array::Ptr input = array(R"([{"id":"a","k":null},{"id":"b","k":1}])");
    for (const std::string query : {"?k=1", "?$q=nothing", "?$sortby=k"}) {
        SCOPED_TRACE(query);
        Array page;
        page.add(7);
        const Object::Ptr before(new Object);
        Object::Ptr paging = before;
        EXPECT_THROW(QueryFilterJSON::filterJSONArrayByQuery(*input, request(query), page, paging),
                     Poco::InvalidAccessException);
        EXPECT_EQ(compact(page), "[7]");
        EXPECT_EQ(paging.get(), before.get());
    }
}

TEST(QueryFilterCollection, RefusesAPageThatBeginsWithANullId)
{
    const Array::Ptr input = array(R"([{"n":1,"id":null}])");
    Array page;
    page.add(7);
    Object::Ptr paging;
    EXPECT_THROW(QueryFilterJSON::filterJSONArrayByQuery(*input, request("?$limit=3"), page, paging),
                 Poco::InvalidAccessException);
    EXPECT_EQ(compact(page), "[7]");
    EXPECT_TRUE(paging.isNull());
    EXPECT_NO_THROW(QueryFilterJSON::filterJSONArrayByQuery(*input, request(), page, paging)) << "no page";
}

TEST(QueryFilterCollection, KeepsTheObjectsDoneBeforeAnExpansionFails)
{
    const Array::Ptr input = array(R"([{"id":"a"},{"id":"b","k":[{"id":"c"},1]},{"id":"d"}])");
    Array page;
    page.add(7);
    Object::Ptr paging;
    EXPECT_THROW(
        QueryFilterJSON::filterJSONArrayByQuery(*input, request("?$expand=0&$limit=9"), page, paging),
        Poco::BadCastException);
    EXPECT_EQ(compact(page), R"([{"id":"a"}])");
    EXPECT_EQ(paging->getValue<int>("total"), 3);
}

TEST(QueryFilterCollection, LinksTheNeighbouringPages)
{
    const Answer result = answer(numbered(10), "?$offset=4&$limit=4&$fields=n&$sortby=-n");
    EXPECT_EQ(result.paging->getValue<std::string>("previous"),
              "/svc/res?$limit=4&$offset=0&$fields=n&$sortby=-n");
    EXPECT_EQ(result.paging->getValue<std::string>("next"),
              "/svc/res?$limit=4&$offset=8&$fields=n&$sortby=-n");
}

TEST(QueryFilterCollection, CutsAPageOfObjectsThatAreAlreadyThere)
{
    const Array::Ptr input = numbered(10);
    QueryFilterJSON::JsonObjectArray objects;
    for (const Var& element : *input)
        objects.push_back(element.extract<Object::Ptr>());
    objects.push_back(nullptr);
    Object::Ptr paging;
    QueryFilterJSONSteps::cutPage(request(), Paging(2, 3), objects, paging);
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects.front()->getValue<int>("n"), 7);
    EXPECT_EQ(paging->getValue<std::string>("offsetId"), "07");
    EXPECT_EQ(paging->getValue<int>("total"), 11);

    objects.assign(1, nullptr);
    QueryFilterJSONSteps::cutPage(request(), Paging(0, 3), objects, paging);
    EXPECT_FALSE(paging->has("offsetId"));
}

TEST(QueryFilterCollection, RefusesAnInvalidPagingWithALogLine)
{
    const LogCapture log;
    QueryFilterJSON::JsonObjectArray objects(3);
    Object::Ptr paging;
    QueryFilterJSONSteps::cutPage(request(), Paging("abc", "1"), objects, paging);
    EXPECT_EQ(objects.size(), 3U);
    EXPECT_TRUE(paging.isNull());
    EXPECT_THAT(log.texts(), ElementsAre("Error: Cannot apply invalid paging query"));
    EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
}

} // namespace
