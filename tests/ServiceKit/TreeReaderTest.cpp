#include "ServiceKit/TreeReader.h"

#include "JsonMatchers.h"
#include "SampleTree.h"
#include "ServiceKit/Values.h"

#include <Poco/String.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace Zovi::ServiceKit
{

using Command::HTTPStatus;
using Command::RequestBase;
using Test::compact;
using Test::IsJson;
using Test::makePuppet;
using Test::makeSampleTree;
using Test::parseJson;
using Test::ROOT_ID;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

/// The "data" of the answer, as text.
std::string dataAt(const std::string& url)
{
    const auto tree = makeSampleTree();
    const Command::HttpResponse answer = TreeReader(*tree).read(RequestBase(Poco::URI(url)));
    EXPECT_EQ(answer.getStatus(), HTTPStatus::HTTP_OK);
    EXPECT_EQ(answer.getJson()->getValue<std::string>("status"), "ok");
    std::ostringstream text;
    answer.getJson()->get("data").extract<Poco::JSON::Object::Ptr>()->stringify(text);
    return text.str();
}

std::string listAt(const std::string& url)
{
    const auto tree = makeSampleTree();
    const Command::HttpResponse answer = TreeReader(*tree).read(RequestBase(Poco::URI(url)));
    return compact(answer.getJson()->getArray("data"));
}

const std::string SHOP_ID = nameBasedId(ROOT_ID, "shop").toString();
const std::string BASKET_ID = nameBasedId(Poco::UUID(SHOP_ID), "basket").toString();
const std::string PUPPET_ID = nameBasedId(Poco::UUID(SHOP_ID), "puppet").toString();
const std::string APPLE = R"({"id":"aaaaaaaa-0000-0000-0000-000000000001","name":"apple",)"
                          R"("uri":"/shop/basket/aaaaaaaa-0000-0000-0000-000000000001"})";

/// Refers to somebody whom it does not keep.
class Liking : public Data::AttributeValue<const Data::XObjectBase*, Data::AttributeValueObjectBase>
{
public:
    Liking(const Data::XObjectBase* whom)
        : AttributeValue(whom)
    {
    }
    const Data::XObjectBase* getReferencedObject() const override { return m_value; }
};

} // namespace

TEST(TreeReader, ListsTheServicesAtTheRoot)
{
    EXPECT_THAT(listAt("/"), IsJson(R"([{"id":")" + SHOP_ID + R"(","name":"shop","uri":"/shop"}])"));
    EXPECT_THAT(listAt("/api/v1/"), IsJson(listAt("/")));
}

TEST(TreeReader, ListsTheElementsOfAResource)
{
    EXPECT_THAT(listAt("/shop/basket"), IsJson("[" + APPLE + "]"));
    EXPECT_THAT(listAt("/shop/puppet"), IsJson("[]"));
}

TEST(TreeReader, AnswersEveryAddressOfOneThing)
{
    const struct {
        std::string url;
        std::string data;
    } rows[] = {
        {"/id", R"({"id":"11111111-2222-3333-4444-555555555555"})"},
        {"/shop/id", R"({"id":")" + SHOP_ID + R"("})"},
        {"/shop/basket/id", R"({"id":")" + BASKET_ID + R"("})"},
        {"/shop/basket/spec", R"({"name":"basket"})"},
        {"/shop/basket/$spec", R"({"name":"basket"})"},
        {"/shop/basket/aaaaaaaa-0000-0000-0000-000000000001", APPLE},
        {"/SHOP/BASKET/AAAAAAAA-0000-0000-0000-000000000001", APPLE},
        {"/shop", R"({"description":"Sells fruit.","id":")" + SHOP_ID +
                      R"(","name":"shop","uri":"/shop","privileges":[],"serviceCategories":[],"versions":[],
            "resources":[{"id":")" +
                      BASKET_ID + R"(","name":"basket","uri":"/shop/basket"},
            {"id":")" +
                      PUPPET_ID + R"(","name":"puppet","uri":"/shop/puppet"}]})"},
        {"/shop/spec", R"({"description":"Sells fruit.","name":"shop",
            "resources":{"basket":{"name":"basket"},"puppet":{}}})"},
        {"/shop/accessrights", R"({"/shop":["GET","HEAD"],"/shop/basket":["GET","HEAD","POST"],
            "/shop/basket/<id>":["GET","HEAD","PUT","DELETE"],"/shop/puppet":["GET","HEAD"],
            "/shop/puppet/<id>":["GET","HEAD"]})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        EXPECT_THAT(dataAt(row.url), IsJson(row.data));
    }
}

TEST(TreeReader, RefusesWhatIsNotThere)
{
    const struct {
        std::string url;
        std::string message;
    } rows[] = {
        {"/other", "no service is called 'other'"},
        {"/other/id", "no service is called 'other'"},
        {"/other/accessrights", "no service is called 'other'"},
        {"/other/basket", "no service is called 'other'"},
        {"/shop/other", "'shop' has no resource 'other'"},
        {"/shop/other/spec", "'shop' has no resource 'other'"},
        {"/shop/basket/aaaaaaaa-0000-0000-0000-000000000002",
         "/shop/basket has no element 'aaaaaaaa-0000-0000-0000-000000000002'"},
        // what is taken for a UUID, but is not written as one
        {"/shop/basket/aaaaaaaa-0000-0000-0000-000000000001x",
         "/shop/basket has no element 'aaaaaaaa-0000-0000-0000-000000000001x'"},
        {"/shop/basket/aaaaaaaa000000000000000000000001",
         "/shop/basket has no element 'aaaaaaaa000000000000000000000001'"},
    };
    const auto tree = makeSampleTree();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        try {
            TreeReader(*tree).read(RequestBase(Poco::URI(row.url)));
            ADD_FAILURE() << "not refused";
        } catch (const RequestError& error) {
            EXPECT_EQ(error.status(), HTTPStatus::HTTP_NOT_FOUND);
            EXPECT_EQ(error.what(), row.message);
        }
    }
}

TEST(TreeReader, ShapesACollectionAsTheQueryAsks)
{
    EXPECT_THAT(listAt("/shop/basket?name=pear"), IsJson("[]"));
    EXPECT_THAT(listAt("/shop/basket?$q=app%25"), IsJson("[" + APPLE + "]"));
    EXPECT_THAT(listAt("/?name=sh%25&$fields=id"),
                IsJson(R"([{"id":")" + SHOP_ID + R"(","name":"shop","uri":"/shop"}])"));
}

TEST(TreeReader, TellsOfThePageThatItCut)
{
    const auto tree = makeSampleTree();
    const Command::HttpResponse answer =
        TreeReader(*tree).read(RequestBase(Poco::URI("/shop/basket?$limit=0")));
    EXPECT_THAT(compact(answer.getJson()), HasSubstr(R"("paging":{"total":1})"));
    const Command::HttpResponse whole = TreeReader(*tree).read(RequestBase(Poco::URI("/shop/basket")));
    EXPECT_FALSE(whole.getJson()->has("paging"));
}

TEST(TreeReader, ShapesAnElementAsTheQueryAsks)
{
    EXPECT_THAT(dataAt("/shop?$fields=name"),
                IsJson(R"({"id":")" + SHOP_ID + R"(","name":"shop","uri":"/shop"})"));
}

TEST(TreeReader, WritesReferencesOutAsDeepAsItIsAsked)
{
    const struct {
        std::string query;
        std::string friends; ///< of Ann, who likes Bob, who likes her
    } rows[] = {
        {"", R"({"id":"I","name":"bob","uri":"U"})"},
        {"?$expand=0", R"({"id":"I","name":"bob","uri":"U"})"},
        {"?$expand=1", R"({"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U"}})"},
        {"?$expand=2", R"({"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U",
            "likes":{"id":"I","name":"bob","uri":"U"}}})"},
        {"?$expand=3", R"({"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U",
            "likes":{"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U"}}}})"},
        {"?$expand=likes", R"({"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U"}})"},
        {"?$expand=other", R"({"id":"I","name":"bob","uri":"U"})"},
        {"?$fields=likes&$expand=1",
         R"({"id":"I","name":"bob","uri":"U","likes":{"id":"I","name":"ann","uri":"U"}})"},
    };
    Poco::SharedPtr<Data::ElementGeneric> ann = makePuppet("ann");
    Poco::SharedPtr<Data::ElementGeneric> bob = makePuppet("bob");
    ann->setValue<Liking>("likes", bob.get());
    bob->setValue<Liking>("likes", ann.get());
    const auto tree = makeSampleTree([ann] { return Data::ElementCollection{ann}; });
    for (const auto& row : rows) {
        SCOPED_TRACE(row.query);
        const Command::HttpResponse answer =
            TreeReader(*tree).read(RequestBase(Poco::URI("/shop/puppet" + row.query)));
        std::string text = compact(answer.getJson()->getArray("data")->getObject(0)->getObject("likes"));
        Poco::replaceInPlace(text, ann->getUri().toString(), std::string("U"));
        Poco::replaceInPlace(text, ann->getId().toString(), std::string("I"));
        EXPECT_THAT(text, IsJson(row.friends));
    }
}

TEST(TreeReader, LooksForATextInWhatIsWrittenOut)
{
    Poco::SharedPtr<Data::ElementGeneric> ann = makePuppet("ann");
    Poco::SharedPtr<Data::ElementGeneric> bob = makePuppet("bob");
    bob->setValue<Data::AttributeValueStringable<std::string>>("town", "Rome");
    ann->setValue<Liking>("likes", bob.get());
    const auto tree = makeSampleTree([ann] { return Data::ElementCollection{ann}; });
    const auto count = [&tree](const std::string& query) {
        const RequestBase request(Poco::URI("/shop/puppet?" + query));
        return TreeReader(*tree).read(request).getJson()->getArray("data")->size();
    };
    EXPECT_EQ(count("$q=Rome"), 0U);
    EXPECT_EQ(count("$q=Rome&$expand=1"), 1U);
    EXPECT_EQ(count("$q=bob"), 1U);
}

TEST(TreeReader, WritesOutTheResourcesOfAServiceWhenItIsAsked)
{
    const std::string described = R"([{"description":"Fruit.","id":")" + BASKET_ID +
                                  R"(","name":"basket","uri":"/shop/basket"},
        {"description":"Does as it is told.","id":")" +
                                  PUPPET_ID + R"(","name":"puppet","uri":"/shop/puppet"}])";
    for (const std::string expand : {"1", "3", "resources"}) {
        SCOPED_TRACE(expand);
        const auto data = parseJson(dataAt("/shop?$expand=" + expand));
        EXPECT_THAT(compact(data.extract<Poco::JSON::Object::Ptr>()->getArray("resources")),
                    IsJson(described));
    }
}

TEST(TreeReader, KeepsAnAttributeThatIsCalledData)
{
    Poco::SharedPtr<Data::ElementGeneric> disk = makePuppet("disk");
    disk->setValue<Data::AttributeValueInteger>("data", 7);
    const Poco::JSON::Object::Ptr data =
        answerElement(RequestBase(Poco::URI("/shop/puppet")), *disk).getJson()->getObject("data");
    ASSERT_TRUE(data);
    EXPECT_EQ(data->getValue<int>("data"), 7);
    EXPECT_EQ(data->getValue<std::string>("name"), "disk");
}

TEST(TreeReader, ShowsNothingThatJsonDoesNotHave)
{
    const auto makeProbe = [] {
        Poco::SharedPtr<Data::ElementGeneric> probe = makePuppet("probe");
        probe->setValue<Number>("value", std::nan(""));
        probe->setValue<Text>("place", "shed \xFF");
        return probe;
    };
    const std::string members = "\"name\":\"probe\",\"place\":\"shed \xEF\xBF\xBD\"";
    const auto tree = makeSampleTree([makeProbe] { return Data::ElementCollection{makeProbe()}; });
    for (const std::string query :
         {"$fields=value,place", "$sortby=value&$fields=place", "$q=probe&$expand=1"}) {
        SCOPED_TRACE(query);
        const RequestBase request(Poco::URI("/shop/puppet?" + query));
        EXPECT_THAT(compact(TreeReader(*tree).read(request).getJson()->getArray("data")), HasSubstr(members));
    }
    const RequestBase request(Poco::URI("/shop/puppet/" + Zovi::Test::APPLE_ID.toString()));
    const Command::HttpResponse one = answerElement(request, *makeProbe());
    EXPECT_THAT(compact(one.getJson()->getObject("data")), HasSubstr(members));
    EXPECT_FALSE(one.getJson()->getObject("data")->has("value"));
}

TEST(TreeReader, PassesOnWhatAnEmptyValueThrows)
{
    const auto tree = makeSampleTree([] {
        Poco::SharedPtr<Data::ElementGeneric> ann = makePuppet("ann");
        Poco::SharedPtr<Data::ElementGeneric> bob = makePuppet("bob");
        ann->setValue<Liking>("likes", nullptr);
        bob->setValue<Liking>("likes", nullptr);
        return Data::ElementCollection{ann, bob};
    });
    const auto read = [&tree](const std::string& query) {
        return TreeReader(*tree).read(RequestBase(Poco::URI("/shop/puppet" + query)));
    };
    EXPECT_THAT(compact(read("?$fields=likes").getJson()), HasSubstr(R"("likes":null)"));
    // The id, which comes first, decides.
    EXPECT_EQ(read("?$q=aaaa%25").getJson()->getArray("data")->size(), 2U);
    EXPECT_THROW(read("?$q=x"), Poco::InvalidAccessException);
    EXPECT_THROW(read("?likes=x"), Poco::InvalidAccessException);
    EXPECT_THROW(read("?$sortby=likes"), Poco::InvalidAccessException);
}

TEST(TreeReader, NamesTheSearchThatTakesTooMuchEffort)
{
    const auto tree =
        makeSampleTree([] { return Data::ElementCollection{makePuppet(std::string(10000, 'a'))}; });
    const std::string pattern = "(?:(a)|b)*\\1b";
    const std::string encoded = "(?:(a)%7Cb)*%5C1b";
    const struct {
        std::string query;
        std::string parameter;
    } rows[] = {
        {"$q=" + encoded, "$q"},
        {"$q=a%25&name=" + encoded + ",%25", "name"},
        {"uri=%25&name=" + encoded + ",%25&$q=" + encoded + "&$limit=1", "name"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.query);
        try {
            TreeReader(*tree).read(RequestBase(Poco::URI("/shop/puppet?" + row.query)));
            ADD_FAILURE() << "the pattern was matched";
        } catch (const RequestError& refusal) {
            EXPECT_EQ(refusal.status(), HTTPStatus::HTTP_BAD_REQUEST);
            EXPECT_THAT(refusal.what(), StartsWith("parameter '" + row.parameter + "' is '"));
            EXPECT_THAT(refusal.what(), HasSubstr(pattern));
            EXPECT_THAT(refusal.what(), EndsWith("', expected a pattern that takes less effort to match"));
        }
    }
}

} // namespace Zovi::ServiceKit
