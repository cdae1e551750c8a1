#include "Command/RequestBase.h"

#include "Command/Query/ExpandParameter.h"
#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "LogCapture.h"

#include <Poco/Exception.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

RequestBase request(const std::string& query)
{
    return RequestBase(Poco::URI("/svc/res?" + query));
}

template <typename T>
std::vector<Poco::SharedPtr<T>> rendering(const RequestBase& command)
{
    std::vector<Poco::SharedPtr<T>> criteria;
    command.extractRenderCriteria<T>(criteria);
    return criteria;
}

template <typename T>
std::vector<Poco::SharedPtr<T>> searching(const RequestBase& command)
{
    std::vector<Poco::SharedPtr<T>> criteria;
    command.extractSearchCriteria<T>(criteria);
    return criteria;
}

/// All criteria of a request, kind by kind, each in the order of arrival.
std::string textOf(const RequestBase& command)
{
    std::string text;
    for (const auto& fields : rendering<FilterParameter>(command)) {
        text += "fields";
        for (const FilterField& field : fields->getFields())
            text += " " + field.getName();
        text += ";";
    }
    for (const auto& sorting : rendering<SortingParameter>(command)) {
        text += "sortby";
        for (const OrderedField& field : sorting->getFields())
            text += (field.isOrderDescending() ? " -" : " ") + field.getName();
        text += ";";
    }
    for (const auto& expansion : rendering<LevelExpansion>(command))
        text += "level " + std::to_string(expansion->getLevel()) + ";";
    for (const auto& expansion : rendering<PropertyExpansion>(command)) {
        text += "properties";
        for (const std::string& field : expansion->getFieldsExpansion())
            text += " " + field;
        text += ";";
    }
    for (const auto& paging : rendering<Paging>(command))
        text += "paging " + std::to_string(paging->getNumberOffset()) + " " +
                std::to_string(paging->getLimit()) + ";";
    for (const auto& search : searching<AnyValueSearch>(command))
        text += "any " + search->getQueryValue() + ";";
    for (const auto& search : searching<AttributeValueSearch>(command))
        text += search->getAttributeName() + "=" + search->getQueryValue() + ";";
    return text;
}

/// A request that shows what it builds when it starts anew.
class RestartingRequest : public RequestBase
{
public:
    using RequestBase::initializeFromUri;
    using RequestBase::RequestBase;
};

} // namespace

TEST(RequestCriteria, BuildsTheCriterionOfEachKey)
{
    struct Row {
        std::string query;
        std::string expected;
    };
    const Row rows[] = {
        {"$fields=a,b", "fields a b;"},
        {"$sortby=a,-b", "sortby a -b;"},
        {"$expand=2", "level 2;"},
        {"$expand=0", "level 0;"},
        {"$expand=a,b", "properties a b;"},
        {"$offset=5", "paging 5 25;"},
        {"$limit=5", "paging 0 5;"},
        {"$limit=5&$offset=2", "paging 2 5;"},
        {"$offset=2&name=x&$limit=5", "paging 2 5;name=x;"},
        {"$limit=500", "paging 0 100;"},
        {"$limit=0", "paging 0 0;"},
        {"$q=a", "any a;"},
        {"name=x", "name=x;"},
        // repeated keys
        {"$fields=a&$fields=b", "fields a;fields b;"},
        {"$q=a&$q=b", "any a;any b;"},
        {"name=x&name=y", "name=x;name=y;"},
        // empty values that their criteria accept
        {"$fields=", "fields;"},
        {"$fields", "fields;"},
        {"$q=", "any ;"},
        {"name=", "name=;"},
        {"name", "name=;"},
        // what a number is, is the number parser's matter
        {"$expand=-", "level 0;"},
        {"$expand=,", "level 0;"},
        {"$expand=2 ", "properties 2;"},
        {"$expand=99999999999", "properties 99999999999;"},
        {"$limit=-", "paging 0 0;"},
        // any other key is an attribute; case counts
        {"$unknown=1", "$unknown=1;"},
        {"$Fields=a", "$Fields=a;"},
        {"$FIELDS=a&fields=b&$field=c&$fieldss=d", "$FIELDS=a;fields=b;$field=c;$fieldss=d;"},
        {"=x", "=x;"},
        {"%25=x", "%=x;"},
        // encoded keys and values
        {"%24fields=a%2Cb&na%6De=x+y", "fields a b;name=x y;"},
        // all together
        {"a=1&$q=f&$fields=a&$sortby=b&$expand=1&$offset=2&$limit=3&b=4",
         "fields a;sortby b;level 1;paging 2 3;any f;a=1;b=4;"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.query);
        LogCapture log(Poco::Message::PRIO_ERROR);
        const RequestBase command = request(row.query);
        EXPECT_EQ(textOf(command), row.expected);
        EXPECT_TRUE(command.getUrlPath().isValid());
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(RequestCriteria, CondemnsARefusedParameterAndGoesOn)
{
    struct Row {
        std::string query;
        std::string expected;
    };
    const Row rows[] = {
        // empty values
        {"$sortby=", ""},
        {"$expand=", ""},
        {"$offset=", ""},
        {"$limit=", ""},
        {"$sortby", ""},
        {"$limit=5&$offset=", "paging 0 5;"},
        // repeated keys
        {"$sortby=a&$sortby=b", "sortby a;"},
        {"$expand=1&$expand=2", "level 1;"},
        {"$expand=2&$expand=a", "level 2;"},
        {"$expand=a&$expand=2", "properties a;"},
        {"$expand=a&$expand=b", "properties a;"},
        {"$offset=1&$offset=2", "paging 1 25;"},
        {"$limit=1&$limit=2&$offset=3", "paging 3 1;"},
        {"$offset=1&$offset=1", "paging 1 25;"},
        {"$offset=&$offset=2", "paging 2 25;"},
        {"$sortby=&$sortby=a", "sortby a;"},
        // values that their criterion refuses
        {"$fields=a,,b", ""},
        {"$fields=a&$fields=,b&$fields=c", "fields a;fields c;"},
        {"$expand=4", ""},
        {"$expand=-1", ""},
        {"$expand=1,000", ""},
        {"$expand=4&$expand=2", "level 2;"},
        {"$offset=abc", ""},
        {"$limit=abc", ""},
        {"$offset=2&$limit=abc", ""},
        {"$offset=2 ", ""},
        // the parameters around it stay
        {"a=1&$expand=9&$fields=x&$sortby=&$q=y&$limit=2", "fields x;paging 0 2;any y;a=1;"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.query);
        LogCapture log;
        const RequestBase command = request(row.query);
        EXPECT_EQ(textOf(command), row.expected);
        EXPECT_EQ(command.getUrlPath().getCharacteristic(), UrlPath::INVALID);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(RequestCriteria, WalksTheQueryOfAnInvalidAddressAllTheSame)
{
    const RequestBase command(Poco::URI("/svc/res/no-uuid?a=1&$limit=3"));
    EXPECT_EQ(textOf(command), "paging 0 3;a=1;");
    EXPECT_FALSE(command.getUrlPath().isValid());
}

TEST(RequestCriteria, BuildsNothingOnAReservedAddress)
{
    const RequestBase command(Poco::URI("/svc/id?a=1&$limit=3"));
    EXPECT_FALSE(command.hasAnyCriteria());
    EXPECT_FALSE(command.getUrlPath().isValid());
}

TEST(RequestCriteria, LetsASearchThatIsNoExpressionThrow)
{
    EXPECT_THROW(request("$q=("), Poco::RegularExpressionException);
    EXPECT_THROW(request("a=%25("), Poco::RegularExpressionException);
    EXPECT_NO_THROW(request("a=("));

    RestartingRequest command(Poco::URI("/svc/res?b=1"));
    EXPECT_THROW(command.initializeFromUri(Poco::URI("/svc/res?a=1&$limit=2&$q=(")),
                 Poco::RegularExpressionException);
    EXPECT_EQ(textOf(command), "a=1;") << "what stood before stays, the paging comes last";
}

TEST(RequestCriteria, TellsWhichKindsThereAre)
{
    struct Row {
        std::string query;
        bool fields, sortby, paging, level, properties, freetext, attribute;
    };
    const Row rows[] = {
        {"", false, false, false, false, false, false, false},
        {"$fields=a", true, false, false, false, false, false, false},
        {"$sortby=a", false, true, false, false, false, false, false},
        {"$offset=1", false, false, true, false, false, false, false},
        {"$limit=1", false, false, true, false, false, false, false},
        {"$expand=1", false, false, false, true, false, false, false},
        {"$expand=a", false, false, false, false, true, false, false},
        {"$q=a", false, false, false, false, false, true, false},
        {"a=b", false, false, false, false, false, false, true},
        {"$fields=a&$limit=1&a=b", true, false, true, false, false, false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.query);
        const RequestBase command = request(row.query);
        EXPECT_EQ(command.hasFieldsCriteria(), row.fields);
        EXPECT_EQ(command.hasSortbyCriteria(), row.sortby);
        EXPECT_EQ(command.hasPagingCriteria(), row.paging);
        EXPECT_EQ(command.hasExpandCriteria(), row.level);
        EXPECT_EQ(command.hasPropertyExpandCriteria(), row.properties);
        EXPECT_EQ(command.hasFreetextCriteria(), row.freetext);
        EXPECT_EQ(command.hasAttributeCriteria(), row.attribute);
        const bool anyRender = row.fields || row.sortby || row.paging || row.level || row.properties;
        EXPECT_EQ(command.hasRenderCriteria(), anyRender);
        EXPECT_EQ(command.hasSearchCriteria(), row.freetext || row.attribute);
    }
}

TEST(RequestCriteria, GivesTheExpansionLevel)
{
    LogCapture log;
    EXPECT_EQ(request("").getExpansionLevel(), 0U);
    EXPECT_EQ(request("$expand=0").getExpansionLevel(), 0U);
    EXPECT_EQ(request("$expand=3").getExpansionLevel(), 3U);
    EXPECT_EQ(request("$expand=a").getExpansionLevel(), 0U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RequestCriteria, WarnsOfSeveralExpansionLevelsAndGivesTheFirst)
{
    RequestBase command = request("$expand=2");
    command.addRenderCriterion(Poco::SharedPtr<LevelExpansion>(new LevelExpansion("3")));
    LogCapture log;
    EXPECT_EQ(command.getExpansionLevel(), 2U);
    EXPECT_THAT(log.texts(), ElementsAre("Warning: Multiple expansion levels found!"));
    EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_WARNING);
}

TEST(RequestCriteria, GivesTheExpandedProperties)
{
    std::vector<std::string> properties = {"old", "older"};
    EXPECT_FALSE(request("").getExpansionProperties(properties));
    EXPECT_FALSE(request("$expand=1").getExpansionProperties(properties));
    EXPECT_THAT(properties, ElementsAre("old", "older"));

    EXPECT_TRUE(request("$expand=b, a,").getExpansionProperties(properties));
    EXPECT_THAT(properties, ElementsAre("b", "a"));

    RequestBase command = request("$expand=first");
    command.addRenderCriterion(Poco::SharedPtr<PropertyExpansion>(new PropertyExpansion("second")));
    LogCapture log;
    EXPECT_TRUE(command.getExpansionProperties(properties));
    EXPECT_THAT(properties, ElementsAre("first"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RequestCriteria, HasNothingToGiveOfAnExpansionThatIsANullPointer)
{
    RequestBase command = request("");
    command.addRenderCriterion(Poco::SharedPtr<LevelExpansion>());
    command.addRenderCriterion(Poco::SharedPtr<PropertyExpansion>());
    std::vector<std::string> properties = {"old"};
    EXPECT_THROW(command.getExpansionLevel(), Poco::NullPointerException);
    EXPECT_THROW(command.getExpansionProperties(properties), Poco::NullPointerException);
    EXPECT_THAT(properties, ElementsAre("old"));
}

TEST(RequestCriteria, NamesTheCollectionsOfTheValueSearches)
{
    EXPECT_TRUE((std::is_same_v<AnyValueSearchCollection, std::vector<Poco::SharedPtr<AnyValueSearch>>>));
    EXPECT_TRUE(
        (std::is_same_v<AttributeValueSearchCollection, RequestBase::AttributeValueSearchCollection>));
    EXPECT_TRUE((
        std::is_same_v<RequestBase::AnyValueSearchCollection, RequestBase::QueryCollection<AnyValueSearch>>));

    RequestBase::AttributeValueSearchCollection searches;
    request("a=1&b=2").extractSearchCriteria<AttributeValueSearch>(searches);
    ASSERT_EQ(searches.size(), 2U);
    EXPECT_EQ(searches[1]->getAttributeName(), "b");
}

} // namespace Zovi::Command
