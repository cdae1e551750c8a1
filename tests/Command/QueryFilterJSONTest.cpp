#include <Command/QueryFilterJSON.h>

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "QueryFilterSteps.h"

#include <Command/Query/ExpandParameter.h>
#include <Command/Query/FilterParameter.h>
#include <Command/Query/ValueSearch.h>

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>
#include <Poco/URI.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace
{

using Poco::JSON::Array;
using Poco::JSON::Object;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using Zovi::Command::AnyValueSearch;
using Zovi::Command::AnyValueSearchCollection;
using Zovi::Command::AttributeValueSearch;
using Zovi::Command::AttributeValueSearchCollection;
using Zovi::Command::FilterParameter;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::QueryFilterJSONSteps;
using Zovi::Command::RequestBase;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::LogCapture;

Object::Ptr object(const std::string& text)
{
    return Zovi::Test::parseJson(text).extract<Object::Ptr>();
}

RequestBase request(const std::string& query = "")
{
    return RequestBase(Poco::URI("/svc/res/el" + query));
}

AnyValueSearchCollection freetexts(const std::vector<std::string>& values)
{
    AnyValueSearchCollection result;
    for (const std::string& value : values)
        result.emplace_back(new AnyValueSearch(value));
    return result;
}

AttributeValueSearchCollection attributes(const std::vector<std::pair<std::string, std::string>>& pairs)
{
    AttributeValueSearchCollection result;
    for (const auto& [name, value] : pairs)
        result.emplace_back(new AttributeValueSearch(name, value));
    return result;
}

/// `text` shaped by `query`.
std::string shaped(const std::string& text, const std::string& query)
{
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*object(text), request(query), result);
    return compact(result);
}

const std::string DOCUMENT =
    R"({"id":"1","name":"n","a":{"id":"2","x":1,"deep":{"id":"3","y":1}},"b":[{"id":"4","x":1}],"c":[1,2,3]})";

TEST(CopyObject, CopiesTheTopLevelAndSharesTheValues)
{
    const Object::Ptr source = object(DOCUMENT);
    Object::Ptr copy = Zovi::copyObject(*source);
    EXPECT_EQ(compact(copy), compact(source));
    EXPECT_EQ(copy->getObject("a").get(), source->getObject("a").get());
    EXPECT_EQ(copy->getArray("b").get(), source->getArray("b").get());
    copy->remove("a");
    EXPECT_TRUE(source->has("a"));
}

TEST(CopyObject, KeepsTheInsertionOrder)
{
    Object source(Poco::JSON_PRESERVE_KEY_ORDER);
    source.set("z", 1).set("a", 2);
    EXPECT_EQ(compact(Zovi::copyObject(source)), R"({"z":1,"a":2})");
}

TEST(QueryFilterJSON, CopiesAnElementWithoutCriteriaAndSharesItsValues)
{
    const Object::Ptr source = object(DOCUMENT);
    Object result;
    result.set("former", 1);
    QueryFilterJSON::filterJSONObjectByQuery(*source, request(), result);
    EXPECT_EQ(compact(result), compact(source));
    EXPECT_EQ(result.getObject("a").get(), source->getObject("a").get());
    EXPECT_EQ(result.getArray("b").get(), source->getArray("b").get());
}

TEST(QueryFilterJSON, CopiesAnElementThatKeepsItsInsertionOrder)
{
    Object result;
    {
        Object source(Poco::JSON_PRESERVE_KEY_ORDER);
        source.set("z", 1).set("a", 2);
        QueryFilterJSON::filterJSONObjectByQuery(source, request(), result);
    }
    EXPECT_EQ(compact(result), R"({"z":1,"a":2})");
    QueryFilterJSON::filterJSONObjectByQuery(result, request(), result);
    EXPECT_EQ(compact(result), R"({"z":1,"a":2})");
}

TEST(QueryFilterJSON, SelectsTheFieldsOfAnElement)
{
    EXPECT_THAT(shaped(DOCUMENT, "?$fields=c"), IsJson(R"({"id":"1","name":"n","c":[1,2,3]})"));
    EXPECT_THAT(shaped(DOCUMENT, "?$fields=c($offset:1,$limit:1)"),
                IsJson(R"({"id":"1","name":"n","c":[2]})"));
}

TEST(QueryFilterJSON, CutsACopyOfAnArrayInAnElement)
{
    const Object::Ptr source = object(DOCUMENT);
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*source, request("?$fields=c($offset:1,$limit:1)"), result);
    EXPECT_EQ(source->getArray("c")->size(), 3U);
    EXPECT_EQ(result.getArray("c")->size(), 1U);
}

TEST(QueryFilterJSON, TakesOnlyTheFirstFieldSelection)
{
    EXPECT_THAT(shaped(DOCUMENT, "?$fields=c&$fields=a"), IsJson(R"({"id":"1","name":"n","c":[1,2,3]})"));
}

TEST(QueryFilterJSON, AppliesAnInvalidFieldSelectionToAnElement)
{
    RequestBase withInvalid = request();
    withInvalid.addRenderCriterion<FilterParameter>(new FilterParameter("c,,a"));
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*object(DOCUMENT), withInvalid, result);
    EXPECT_TRUE(result.has("c"));
    EXPECT_FALSE(result.has("b"));
}

TEST(QueryFilterJSON, StopsAtANullFieldSelection)
{
    RequestBase withNull = request();
    withNull.addRenderCriterion<FilterParameter>(nullptr);
    withNull.addRenderCriterion<FilterParameter>(new FilterParameter("c"));
    Object result;
    result.set("former", 1);
    try {
        QueryFilterJSON::filterJSONObjectByQuery(*object(DOCUMENT), withNull, result);
        FAIL() << "no exception";
    } catch (const Poco::BugcheckException& failure) {
        EXPECT_THAT(failure.message(), testing::HasSubstr("QueryFilterJSON.cpp"));
    }
    EXPECT_EQ(compact(result), R"({"former":1})");
}

TEST(QueryFilterJSON, ExpandsAnElement)
{
    EXPECT_THAT(shaped(DOCUMENT, "?$expand=0"),
                IsJson(R"({"id":"1","name":"n","a":{"id":"2"},"b":[{"id":"4"}],"c":[1,2,3]})"));
    EXPECT_THAT(shaped(DOCUMENT, "?$expand=1"),
                IsJson(R"({"id":"1","name":"n","a":{"id":"2","x":1,"deep":{"id":"3"}},)"
                       R"("b":[{"id":"4","x":1}],"c":[1,2,3]})"));
    EXPECT_THAT(shaped(DOCUMENT, "?$expand=b"),
                IsJson(R"({"id":"1","name":"n","a":{"id":"2"},"b":[{"id":"4","x":1}],"c":[1,2,3]})"));
}

TEST(QueryFilterJSON, ExpandsWhatTheFieldSelectionLeft)
{
    const Object::Ptr source = object(DOCUMENT);
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*source, request("?$fields=a&$expand=0"), result);
    EXPECT_THAT(compact(result), IsJson(R"({"id":"1","name":"n","a":{"id":"2"}})"));
    EXPECT_TRUE(source->getArray("b")->getObject(0)->has("x")) << "was removed before";
    EXPECT_FALSE(source->getObject("a")->has("x")) << "is shared with the output";
}

TEST(QueryFilterJSON, PrefersTheExpansionLevelToNames)
{
    RequestBase both = request();
    both.addRenderCriterion<Zovi::Command::PropertyExpansion>(new Zovi::Command::PropertyExpansion("a"));
    both.addRenderCriterion<Zovi::Command::LevelExpansion>(new Zovi::Command::LevelExpansion("0"));
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*object(DOCUMENT), both, result);
    EXPECT_FALSE(result.getObject("a")->has("x"));
}

TEST(QueryFilterJSON, AppliesNoExpansionWhereTheLevelIsANullPointer)
{
    RequestBase both = request();
    both.addRenderCriterion<Zovi::Command::LevelExpansion>(nullptr);
    both.addRenderCriterion<Zovi::Command::PropertyExpansion>(new Zovi::Command::PropertyExpansion("a"));
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*object(DOCUMENT), both, result);
    EXPECT_THAT(compact(result), IsJson(DOCUMENT));
}

TEST(QueryFilterJSON, AppliesAnInvalidExpansion)
{
    RequestBase invalid = request();
    invalid.addRenderCriterion<Zovi::Command::LevelExpansion>(new Zovi::Command::LevelExpansion("9"));
    Object result;
    QueryFilterJSON::filterJSONObjectByQuery(*object(DOCUMENT), invalid, result);
    EXPECT_FALSE(result.getObject("a")->has("x"));
}

TEST(QueryFilterJSON, PassesTheFailureOfAnExpansion)
{
    EXPECT_THROW(shaped(R"({"a":[{"id":"1"},2]})", "?$expand=0"), Poco::BadCastException);
}

TEST(QueryFilterJSON, IgnoresSearchSortingAndPagingOfAnElement)
{
    EXPECT_THAT(shaped(DOCUMENT, "?name=other&$q=other&$sortby=-name&$offset=5&$limit=1"), IsJson(DOCUMENT));
}

TEST(QueryFilterJSON, PassesObjectsThroughAResourceSearch)
{
    struct Row {
        std::string document;
        std::vector<std::pair<std::string, std::string>> attributes;
        std::vector<std::string> freetexts;
        bool passes;
    };
    const std::vector<Row> rows = {
        // no criteria
        {"{}", {}, {}, true},
        {R"({"a":"x"})", {}, {}, true},
        // attributes: each must be there and match
        {R"({"a":"x"})", {{"a", "x"}}, {}, true},
        {R"({"a":"x"})", {{"a", "y"}}, {}, false},
        {R"({"a":"x"})", {{"b", "x"}}, {}, false},
        {R"({"a":"x","b":"y"})", {{"a", "x"}, {"b", "y"}}, {}, true},
        {R"({"a":"x","b":"y"})", {{"a", "x"}, {"b", "z"}}, {}, false},
        {R"({"a":"x","b":"y"})", {{"missing", "x"}, {"b", "y"}}, {}, false},
        {R"({"a":"x"})", {{"a", "x"}, {"a", "x"}}, {}, true},
        // free text: one must match, two never do
        {R"({"a":"x"})", {}, {"x"}, true},
        {R"({"a":"x","b":"y"})", {}, {"y"}, true},
        {R"({"a":"x"})", {}, {"y"}, false},
        {"{}", {}, {"x"}, false},
        {R"({"a":"x"})", {}, {"x", "x"}, false},
        {R"({"a":"x","b":"y"})", {}, {"x", "y"}, false},
        // both
        {R"({"a":"x","b":"y"})", {{"a", "x"}}, {"y"}, true},
        {R"({"a":"x","b":"y"})", {{"a", "y"}}, {"y"}, false},
        {R"({"a":"x","b":"y"})", {{"a", "x"}}, {"z"}, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.document + " with " + std::to_string(row.attributes.size()) + " attributes and " +
                     std::to_string(row.freetexts.size()) + " texts");
        EXPECT_EQ(QueryFilterJSONSteps::search(*object(row.document), attributes(row.attributes),
                                               freetexts(row.freetexts)),
                  row.passes);
    }
}

TEST(QueryFilterJSON, CountsNullPointersOfAResourceSearchAsMissing)
{
    const Object::Ptr document = object(R"({"a":"x"})");
    AttributeValueSearchCollection withNull = attributes({{"a", "x"}});
    withNull.insert(withNull.begin(), nullptr);
    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, withNull, {}));

    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, {}, {nullptr}));
    AnyValueSearchCollection textAndNull = freetexts({"x"});
    textAndNull.insert(textAndNull.begin(), nullptr);
    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, {}, textAndNull));
}

/// Meant so: the matches are counted in 16 bits.
TEST(QueryFilterJSON, LosesCountOfMoreAttributesThan16BitsHold)
{
    const Object::Ptr document = object(R"({"a":"x"})");
    AttributeValueSearchCollection searches(65'535, attributes({{"a", "x"}}).front());
    EXPECT_TRUE(QueryFilterJSONSteps::search(*document, searches, {}));
    searches.push_back(searches.front());
    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, searches, {}));
}

TEST(QueryFilterJSON, TriesTheAttributesBehindAMissingOneButNotBehindAWrongOne)
{
    const Object::Ptr document = object(R"({"a":"x","empty":null})");
    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, attributes({{"a", "y"}, {"empty", "x"}}), {}));
    EXPECT_THROW(QueryFilterJSONSteps::search(*document, attributes({{"none", "y"}, {"empty", "x"}}), {}),
                 Poco::InvalidAccessException);
}

TEST(QueryFilterJSON, EndsTheFreetextSearchAtTheFirstHit)
{
    const Object::Ptr document = object(R"({"a":"x","b":null})");
    EXPECT_TRUE(QueryFilterJSONSteps::search(*document, {}, freetexts({"x"})));
    EXPECT_FALSE(QueryFilterJSONSteps::search(*document, {}, freetexts({"x", "y"})));
    EXPECT_THROW(QueryFilterJSONSteps::search(*document, {}, freetexts({"y", "x"})),
                 Poco::InvalidAccessException);
}

TEST(QueryFilterJSON, FindsEachFreetextSomewhere)
{
    const Object::Ptr document = object(R"({"a":"x","b":"y"})");
    EXPECT_TRUE(QueryFilterJSON::findContainedFreetexts(*document, {}));
    EXPECT_TRUE(QueryFilterJSON::findContainedFreetexts(*document, freetexts({"y"})));
    EXPECT_TRUE(QueryFilterJSON::findContainedFreetexts(*document, freetexts({"x", "y"})));
    EXPECT_FALSE(QueryFilterJSON::findContainedFreetexts(*document, freetexts({"x", "z"})));
    EXPECT_FALSE(QueryFilterJSON::findContainedFreetexts(*document, freetexts({"z", "x"})));
    EXPECT_FALSE(QueryFilterJSON::findContainedFreetexts(*document, {nullptr}));
    EXPECT_TRUE(QueryFilterJSON::findContainedFreetexts(Object(), {}));
    EXPECT_FALSE(QueryFilterJSON::findContainedFreetexts(Object(), freetexts({"x"})));
}

/// One evaluation has one budget, whichever search it is spent on.
TEST(QueryFilterJSON, BoundsWhatThePatternsOfOneEvaluationCostTogether)
{
    const std::string LOOKS_BACK = "(?=.*x).*y%";
    Object::Ptr document(new Object);
    document->set("a", 'y' + std::string(9'000, 'x') + '!');
    EXPECT_TRUE(AnyValueSearch(LOOKS_BACK).match(document->get("a")));
    const AnyValueSearchCollection texts(50, freetexts({LOOKS_BACK}).front());
    const AttributeValueSearchCollection pairs(50, attributes({{"a", LOOKS_BACK}}).front());
    const auto few = texts.begin() + 2;
    EXPECT_TRUE(QueryFilterJSON::findContainedFreetexts(*document, {texts.begin(), few}));
    EXPECT_THROW(QueryFilterJSON::findContainedFreetexts(*document, texts), Poco::RegularExpressionException);
    EXPECT_TRUE(QueryFilterJSON::findContainedAttributePairs(*document, {pairs.begin(), pairs.begin() + 2}));
    EXPECT_THROW(QueryFilterJSON::findContainedAttributePairs(*document, pairs),
                 Poco::RegularExpressionException);
    EXPECT_TRUE(QueryFilterJSONSteps::search(*document, {pairs.begin(), pairs.begin() + 2}, {}));
    EXPECT_THROW(QueryFilterJSONSteps::search(*document, pairs, {}), Poco::RegularExpressionException);
}

TEST(QueryFilterJSON, FindsEachAttributePair)
{
    const Object::Ptr document = object(R"({"a":"x","b":"y"})");
    const auto find = [&](const AttributeValueSearchCollection& pairs) {
        return QueryFilterJSON::findContainedAttributePairs(*document, pairs);
    };
    EXPECT_TRUE(find({}));
    EXPECT_TRUE(find(attributes({{"a", "x"}})));
    EXPECT_TRUE(find(attributes({{"b", "y"}, {"a", "x"}})));
    EXPECT_FALSE(find(attributes({{"a", "x"}, {"b", "x"}})));
    EXPECT_FALSE(find(attributes({{"A", "x"}})));
    EXPECT_FALSE(find(attributes({{"c", "x"}})));
    EXPECT_FALSE(find({nullptr}));
    EXPECT_TRUE(QueryFilterJSON::findContainedAttributePairs(Object(), {}));
    EXPECT_FALSE(QueryFilterJSON::findContainedAttributePairs(Object(), attributes({{"a", "x"}})));
}

TEST(QueryFilterJSON, FindsOneFieldOfEachSelection)
{
    const Object::Ptr document = object(R"({"a":null,"b":"y"})");
    const auto find = [&](const std::vector<std::string>& selections) {
        RequestBase::RenderCollection criteria;
        for (const std::string& fields : selections)
            criteria.emplace_back(new FilterParameter(fields));
        return QueryFilterJSON::findContainedFields(*document, &criteria);
    };
    EXPECT_TRUE(find({}));
    EXPECT_TRUE(find({"a"}));
    EXPECT_TRUE(find({"none,b"}));
    EXPECT_TRUE(find({"a", "b"}));
    EXPECT_FALSE(find({"none"}));
    EXPECT_FALSE(find({"a", "none"}));
    EXPECT_FALSE(find({"id"})) << "the fields that are always kept do not count";
    EXPECT_FALSE(find({""}));
}

TEST(QueryFilterJSON, SkipsNullPointersAmongFieldSelections)
{
    RequestBase::RenderCollection criteria(1);
    EXPECT_TRUE(QueryFilterJSON::findContainedFields(Object(), &criteria));
    criteria.emplace_back(new FilterParameter("a"));
    EXPECT_FALSE(QueryFilterJSON::findContainedFields(Object(), &criteria));
}

TEST(QueryFilterJSON, RefusesNoFieldSelectionsAtAllWithALogLine)
{
    const LogCapture log;
    EXPECT_FALSE(QueryFilterJSON::findContainedFields(Object(), nullptr));
    EXPECT_THAT(log.texts(), ElementsAre("Error: Received invalid pointer for FieldFilter"));
    EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
    EXPECT_EQ(log.records().front().source, "QueryFilterJSON.cpp");
}

} // namespace
