#include "Command/UrlPath.h"

#include "../reference/PlainAddress.h"
#include "LogCapture.h"
#include "RandomSource.h"

#include <Poco/Exception.h>
#include <Poco/UUID.h>

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Test::LogCapture;
using Test::RandomSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

const std::string A_UUID = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";

constexpr UrlPath::Characteristic ELEMENT = UrlPath::SERVICE_RESOURCE_ELEMENT;

static_assert(std::is_copy_constructible_v<UrlPath> && std::is_copy_assignable_v<UrlPath>);
static_assert(!std::is_polymorphic_v<UrlPath>);
static_assert(sizeof(UrlPath::Characteristic) == 4);
static_assert(std::is_same_v<UrlPath::QueryParameterMap, std::multimap<std::string, std::string>>);
static_assert(std::is_same_v<UrlPath::QueryParameters, Poco::URI::QueryParameters>);
static_assert(std::is_same_v<decltype(std::declval<const UrlPath&>().getService()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const UrlPath&>().getResource()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const UrlPath&>().getElement()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const UrlPath&>().getUri()), const Poco::URI&>);

/// An address whose fields are chosen freely, those that no URL gives included.
class AssembledPath : public UrlPath
{
public:
    AssembledPath(Characteristic kind, const std::string& serviceName, const std::string& resourceName,
                  const std::string& elementName)
    {
        characteristic = kind;
        service = serviceName;
        resource = resourceName;
        element = elementName;
    }

    AssembledPath(const std::string& parsedUrl, const std::string& otherUrl)
        : UrlPath(parsedUrl)
    {
        uri = Poco::URI(otherUrl);
    }

    const QueryParameterMap& parameters() const { return queryParameter; }
};

using Address = Test::PlainAddress;

void expectAddress(const UrlPath& path, const Address& expected)
{
    EXPECT_EQ(path.getCharacteristic(), expected.characteristic);
    EXPECT_EQ(path.isValid(), expected.characteristic != UrlPath::INVALID);
    EXPECT_EQ(path.getService(), expected.service);
    EXPECT_EQ(path.getResource(), expected.resource);
    EXPECT_EQ(path.getElement(), expected.element);
}

void expectAddresses(const std::vector<Address>& rows)
{
    for (const Address& row : rows) {
        SCOPED_TRACE(row.url);
        expectAddress(UrlPath(row.url), row);
    }
}

} // namespace

TEST(UrlPath, NamesItsKeywords)
{
    EXPECT_EQ(UrlPath::URI_ROOT, "/");
    EXPECT_EQ(UrlPath::URI_ROOT_API, "/api/v1/");
    EXPECT_EQ(UrlPath::RESERVED_KEY_ID, "id");
    EXPECT_EQ(UrlPath::RESERVED_KEY_SPEC, "spec");
    EXPECT_EQ(UrlPath::RESERVED_KEY_RIGHTS, "accessrights");
    EXPECT_EQ(UrlPath::QUERY_FREETEXT_SEARCH, "$q");
    EXPECT_EQ(UrlPath::QUERY_WILDCARD, "%");
    EXPECT_EQ(UrlPath::QUERY_WILDCARD_HTML, "%25");
    EXPECT_EQ(UrlPath::QUERY_FIELDS, "$fields");
    EXPECT_EQ(UrlPath::QUERY_SORTBY, "$sortby");
    EXPECT_EQ(UrlPath::QUERY_PAGING_OFFSET, "$offset");
    EXPECT_EQ(UrlPath::QUERY_PAGING_LIMIT, "$limit");
    EXPECT_EQ(UrlPath::QUERY_EXPAND, "$expand");
}

TEST(UrlPath, NumbersItsCharacteristics)
{
    EXPECT_EQ(static_cast<int>(UrlPath::INVALID), 0);
    EXPECT_EQ(static_cast<int>(UrlPath::ROOT), 1);
    EXPECT_EQ(static_cast<int>(UrlPath::ROOT_ID), 2);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE), 3);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_ID), 4);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_SPEC), 5);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RIGHTS), 6);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RESOURCE), 7);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RESOURCE_ID), 8);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RESOURCE_SPEC), 9);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RESOURCE_OBJECT), 268435455);
    EXPECT_EQ(static_cast<int>(UrlPath::SERVICE_RESOURCE_ELEMENT), 268435455);
}

TEST(UrlPath, IsInvalidAndEmptyByDefault)
{
    const UrlPath path;
    expectAddress(path, {"", UrlPath::INVALID, "", "", ""});
    EXPECT_TRUE(path.getUri().empty());
    EXPECT_THAT(path.getQueryParameters(), IsEmpty());
    EXPECT_FALSE(path.hasQueryParameter(""));
}

TEST(UrlPath, KeepsTheWholeUriAsGiven)
{
    const Poco::URI uri("http://user@host:8080/api/v1/svc?b=2&a=1#part");
    EXPECT_EQ(UrlPath(uri).getUri(), uri);
    EXPECT_EQ(UrlPath(uri.toString()).getUri(), uri);
    expectAddress(UrlPath(uri), {"", UrlPath::SERVICE, "svc", "", ""});
}

TEST(UrlPath, ClassifiesTheRoot)
{
    expectAddresses({
        {"/", UrlPath::ROOT, "", "", ""},
        {"/?x=1", UrlPath::ROOT, "", "", ""},
        {"/api/v1/", UrlPath::ROOT, "", "", ""},
        {"/api/v1///", UrlPath::ROOT, "", "", ""},
        {"", UrlPath::ROOT, "", "", ""},
        {"?x=1", UrlPath::ROOT, "", "", ""},
        {"http://host", UrlPath::ROOT, "", "", ""},
        {"http://host//", UrlPath::ROOT, "", "", ""},
        {"/id", UrlPath::ROOT_ID, "", "", ""},
        {"/$id", UrlPath::ROOT_ID, "", "", ""},
        {"/%24id", UrlPath::ROOT_ID, "", "", ""},
        {"/api/v1/id", UrlPath::ROOT_ID, "", "", ""},
        {"/api/v1/$id", UrlPath::ROOT_ID, "", "", ""},
        {"/id/", UrlPath::ROOT_ID, "", "", ""},
    });
}

TEST(UrlPath, ClassifiesServices)
{
    expectAddresses({
        {"/svc", UrlPath::SERVICE, "svc", "", ""},
        {"svc", UrlPath::SERVICE, "svc", "", ""},
        {"/svc/", UrlPath::SERVICE, "svc", "", ""},
        {"http://h//a//", UrlPath::SERVICE, "a", "", ""},
        {"//a//", UrlPath::SERVICE, "a", "", ""},
        {"/SvC", UrlPath::SERVICE, "SvC", "", ""},
        {"/api/v1/svc", UrlPath::SERVICE, "svc", "", ""},
        {"/api", UrlPath::SERVICE, "api", "", ""},
        {"/.a_b-c~9", UrlPath::SERVICE, ".a_b-c~9", "", ""},
        {"/s%76c", UrlPath::SERVICE, "svc", "", ""},
        // words that are reserved only behind a service, or only in their exact form
        {"/spec", UrlPath::SERVICE, "spec", "", ""},
        {"/accessrights", UrlPath::SERVICE, "accessrights", "", ""},
        {"/ID", UrlPath::SERVICE, "ID", "", ""},
        {"/Id", UrlPath::SERVICE, "Id", "", ""},
        {"/ids", UrlPath::SERVICE, "ids", "", ""},
        {"/cdn", UrlPath::SERVICE, "cdn", "", ""},
        // the forms of a service
        {"/svc/id", UrlPath::SERVICE_ID, "svc", "", ""},
        {"/svc/$id", UrlPath::SERVICE_ID, "svc", "", ""},
        {"/svc/spec", UrlPath::SERVICE_SPEC, "svc", "spec", ""},
        {"/svc/$spec", UrlPath::SERVICE_SPEC, "svc", "$spec", ""},
        {"/api/v1/svc/id", UrlPath::SERVICE_ID, "svc", "", ""},
        {"/api/v1/svc/spec/", UrlPath::SERVICE_SPEC, "svc", "spec", ""},
        // "id" is a service when something stands behind it
        {"/id/id", UrlPath::SERVICE_ID, "id", "", ""},
        {"/id/spec", UrlPath::SERVICE_SPEC, "id", "spec", ""},
    });
}

TEST(UrlPath, ClassifiesResources)
{
    expectAddresses({
        {"/svc/res", UrlPath::SERVICE_RESOURCE, "svc", "res", ""},
        {"/svc//res/", UrlPath::SERVICE_RESOURCE, "svc", "res", ""},
        {"/a%2Fb", UrlPath::SERVICE_RESOURCE, "a", "b", ""},
        {"/svc/RES.1", UrlPath::SERVICE_RESOURCE, "svc", "RES.1", ""},
        {"/api/v1/svc/res", UrlPath::SERVICE_RESOURCE, "svc", "res", ""},
        // rights are an ordinary resource to all later code
        {"/svc/accessrights", UrlPath::SERVICE_RESOURCE, "svc", "accessrights", ""},
        {"/svc/$accessrights", UrlPath::SERVICE_RESOURCE, "svc", "$accessrights", ""},
        // other cases of a keyword are ordinary resources
        {"/svc/ID", UrlPath::SERVICE_RESOURCE, "svc", "ID", ""},
        {"/svc/Spec", UrlPath::SERVICE_RESOURCE, "svc", "Spec", ""},
        {"/id/res", UrlPath::SERVICE_RESOURCE, "id", "res", ""},
        // without the closing slash it is no prefix
        {"/api/v1", UrlPath::SERVICE_RESOURCE, "api", "v1", ""},
        {"/api/v1?x=/", UrlPath::SERVICE_RESOURCE, "api", "v1", ""},
        {"/API/V1/", UrlPath::SERVICE_RESOURCE, "API", "V1", ""},
        // the forms of a resource
        {"/svc/res/id", UrlPath::SERVICE_RESOURCE_ID, "svc", "res", ""},
        {"/svc/res/$id", UrlPath::SERVICE_RESOURCE_ID, "svc", "res", ""},
        {"/svc/res/spec", UrlPath::SERVICE_RESOURCE_SPEC, "svc", "res", ""},
        {"/svc/res/$spec", UrlPath::SERVICE_RESOURCE_SPEC, "svc", "res", ""},
        {"/api/v1/svc/res/id", UrlPath::SERVICE_RESOURCE_ID, "svc", "res", ""},
        {"/api/v1/svc/res/spec", UrlPath::SERVICE_RESOURCE_SPEC, "svc", "res", ""},
        // keywords of the second level are resources when something stands behind them
        {"/svc/id/id", UrlPath::SERVICE_RESOURCE_ID, "svc", "id", ""},
        {"/svc/spec/spec", UrlPath::SERVICE_RESOURCE_SPEC, "svc", "spec", ""},
        {"/svc/accessrights/id", UrlPath::SERVICE_RESOURCE_ID, "svc", "accessrights", ""},
        {"/API/V1/id", UrlPath::SERVICE_RESOURCE_ID, "API", "V1", ""},
        // also under "cdn"
        {"/cdn/res/id", UrlPath::SERVICE_RESOURCE_ID, "cdn", "res", ""},
        {"/cdn/res/spec", UrlPath::SERVICE_RESOURCE_SPEC, "cdn", "res", ""},
    });
}

TEST(UrlPath, ClassifiesElements)
{
    const std::string upper = "6BA7B810-9DAD-11D1-80B4-00C04FD430C8";
    const std::string bare = "6ba7b8109dad11d180b400c04fd430c8";
    expectAddresses({
        {"/svc/res/" + A_UUID, ELEMENT, "svc", "res", A_UUID},
        {"/svc/res/" + A_UUID + "/", ELEMENT, "svc", "res", A_UUID},
        {"/api/v1/svc/res/" + A_UUID, ELEMENT, "svc", "res", A_UUID},
        {"/svc/res/" + upper, ELEMENT, "svc", "res", upper},
        {"/svc/res/" + bare, ELEMENT, "svc", "res", bare},
        {"/svc/accessrights/" + A_UUID, ELEMENT, "svc", "accessrights", A_UUID},
        {"/svc/id/" + A_UUID, ELEMENT, "svc", "id", A_UUID},
        {"/cdn/res/not-a-uuid", ELEMENT, "cdn", "res", "not-a-uuid"},
        {"/cdn/explorer/index.html", ELEMENT, "cdn", "explorer", "index.html"},
        {"/cdn/res/accessrights", ELEMENT, "cdn", "res", "accessrights"},
        {"/api/v1/cdn/res/x", ELEMENT, "cdn", "res", "x"},
    });
}

TEST(UrlPath, RefusesAMalformedSegmentAndKeepsWhatWasTakenBefore)
{
    expectAddresses({
        // one level
        {"/$foo", UrlPath::INVALID, "", "", ""},
        {"/$spec", UrlPath::INVALID, "", "", ""},
        {"/$accessrights", UrlPath::INVALID, "", "", ""},
        {"/$$id", UrlPath::INVALID, "", "", ""},
        {"/$ID", UrlPath::INVALID, "", "", ""},
        {"/a%20b", UrlPath::INVALID, "", "", ""},
        {"/a+b", UrlPath::INVALID, "", "", ""},
        {"/abc%0A", UrlPath::INVALID, "", "", ""},
        {"/%00", UrlPath::INVALID, "", "", ""},
        {"/abc%00", UrlPath::INVALID, "", "", ""},
        {"/%C3%A4", UrlPath::INVALID, "", "", ""},
        {"/a%25b", UrlPath::INVALID, "", "", ""},
        // two levels
        {"/$foo/res", UrlPath::INVALID, "", "", ""},
        {"/$foo/id", UrlPath::INVALID, "", "", ""},
        {"/$id/id", UrlPath::INVALID, "", "", ""},
        {"/a%20b/spec", UrlPath::INVALID, "", "", ""},
        {"/svc/$foo", UrlPath::INVALID, "svc", "", ""},
        {"/svc/a%20b", UrlPath::INVALID, "svc", "", ""},
        {"/svc/$$spec", UrlPath::INVALID, "svc", "", ""},
        // three levels
        {"/$foo/res/id", UrlPath::INVALID, "", "", ""},
        {"/svc/$foo/id", UrlPath::INVALID, "", "", ""},
        {"/svc/$id/id", UrlPath::INVALID, "", "", ""},
        {"/svc/$spec/spec", UrlPath::INVALID, "", "", ""},
        {"/svc/$accessrights/" + A_UUID, UrlPath::INVALID, "", "", ""},
        {"/svc/a%20b/" + A_UUID, UrlPath::INVALID, "", "", ""},
        {"/svc/res/$foo", UrlPath::INVALID, "svc", "res", ""},
        {"/svc/res/$accessrights", UrlPath::INVALID, "svc", "res", ""},
        {"/svc/res/a%20b", UrlPath::INVALID, "svc", "res", ""},
        {"/svc/res/" + A_UUID + "%0A", UrlPath::INVALID, "svc", "res", ""},
        {"/svc/res/%7B" + A_UUID + "%7D", UrlPath::INVALID, "svc", "res", ""},
        {"/cdn/res/a%20b", UrlPath::INVALID, "cdn", "res", ""},
    });
}

TEST(UrlPath, RefusesAnElementThatIsNoUuidAndKeepsItsText)
{
    expectAddresses({
        {"/svc/res/not-a-uuid", UrlPath::INVALID, "svc", "res", "not-a-uuid"},
        {"/svc/res/17", UrlPath::INVALID, "svc", "res", "17"},
        {"/svc/res/accessrights", UrlPath::INVALID, "svc", "res", "accessrights"},
        {"/svc/res/ID", UrlPath::INVALID, "svc", "res", "ID"},
        {"/API/V1/x", UrlPath::INVALID, "API", "V1", "x"},
        {"http://h//api/v1/x", UrlPath::INVALID, "api", "v1", "x"},
        {"/api//v1/x", UrlPath::INVALID, "api", "v1", "x"},
        {"/api/v1x/y", UrlPath::INVALID, "api", "v1x", "y"},
        // "cdn" is exact and is the service, not the resource
        {"/CDN/res/not-a-uuid", UrlPath::INVALID, "CDN", "res", "not-a-uuid"},
        {"/cdn2/res/not-a-uuid", UrlPath::INVALID, "cdn2", "res", "not-a-uuid"},
        {"/svc/cdn/not-a-uuid", UrlPath::INVALID, "svc", "cdn", "not-a-uuid"},
    });
}

TEST(UrlPath, RefusesMoreThanThreeLevelsAndTakesNone)
{
    expectAddresses({
        {"/a/b/c/d", UrlPath::INVALID, "", "", ""},
        {"/a/b/" + A_UUID + "/id", UrlPath::INVALID, "", "", ""},
        {"/a/b/c/d/e", UrlPath::INVALID, "", "", ""},
        {"/api/v1/a/b/c/d", UrlPath::INVALID, "", "", ""},
        {"/API/v1/a/id", UrlPath::INVALID, "", "", ""},
    });
}

TEST(UrlPath, DecodesThePathBeforeItLooksForThePrefix)
{
    expectAddresses({
        {"/%61pi/v1/svc", UrlPath::SERVICE, "svc", "", ""},
        {"/api%2Fv1%2Fsvc", UrlPath::SERVICE, "svc", "", ""},
        {"/api/v1%2F", UrlPath::ROOT, "", "", ""},
    });
}

TEST(UrlPath, RemovesThePrefixOnlyOnce)
{
    expectAddresses({{"/api/v1/api/v1/", UrlPath::SERVICE_RESOURCE, "api", "v1", ""},
                     {"/api/v1/api/v1/id", UrlPath::SERVICE_RESOURCE_ID, "api", "v1", ""}});
}

TEST(UrlPath, LogsTheRemovedPrefixAtDebugLevel)
{
    for (const char* url : {"/api/v1/", "/api/v1/svc", "/api/v1/svc/res/17", "/api/v1/a/b/c/d"}) {
        SCOPED_TRACE(url);
        LogCapture log;
        const UrlPath path{std::string(url)};
        ASSERT_THAT(log.texts(), ElementsAre("Debug: removed API part of URI"));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_DEBUG);
        EXPECT_EQ(log.records()[0].source, "UrlPath.cpp");
    }
}

TEST(UrlPath, LogsNothingOnAnyOtherAddress)
{
    LogCapture log;
    for (const char* url :
         {"", "/", "/svc", "/api/v1", "/API/V1/", "/svc/res/17", "/svc/$foo", "/a/b/c/d", "/$x"})
        const UrlPath path{std::string(url)};
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(UrlPath, LogsNothingWhenTheLevelIsOff)
{
    LogCapture log(Poco::Message::PRIO_INFORMATION);
    const UrlPath path("/api/v1/svc");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(UrlPath, LetsATextThatIsNoUriThrow)
{
    for (const char* url : {"/a%zz", "/%", "http://host:port/", "http://[::1/x", "http://h:99999/"}) {
        SCOPED_TRACE(url);
        std::string expected;
        try {
            const Poco::URI uri{std::string(url)};
            FAIL() << "this is a URI";
        } catch (const Poco::URISyntaxException& refusal) {
            expected = refusal.displayText();
        }
        try {
            const UrlPath path{std::string(url)};
            FAIL() << "nothing was thrown";
        } catch (const Poco::URISyntaxException& refusal) {
            EXPECT_EQ(refusal.displayText(), expected);
        }
    }
}

TEST(UrlPath, LetsAQueryThatCannotBeDecodedThrowWhateverTheAddress)
{
    for (const char* url : {"/svc?x=%zz", "/svc?%zz=x", "/svc?x=%4", "/?x=%zz", "?x=%zz", "/api/v1/?x=%zz",
                            "/id?x=%zz", "/$foo?x=%zz", "/a/b/c/d?x=%zz", "/svc?a=1&x=%&b=2"}) {
        SCOPED_TRACE(url);
        const Poco::URI uri{std::string(url)};
        EXPECT_THROW(UrlPath{uri}, Poco::URISyntaxException);
        EXPECT_THROW(UrlPath{std::string(url)}, Poco::URISyntaxException);
    }
}

TEST(UrlPath, CanBeCondemnedAndNothingElseChanges)
{
    UrlPath path("/svc/res/" + A_UUID + "?x=1");
    path.setCharacteristicInvalid();
    expectAddress(path, {"", UrlPath::INVALID, "svc", "res", A_UUID});
    EXPECT_TRUE(path.hasQueryParameter("x"));
    EXPECT_EQ(path.getUri(), Poco::URI("/svc/res/" + A_UUID + "?x=1"));
}

TEST(UrlPath, IsReplacedWholeByAssignment)
{
    UrlPath path("/$foo?x=1");
    const UrlPath other("/svc/res?y=2");
    path = other;
    EXPECT_EQ(path, other);
    EXPECT_EQ(path.getUri(), other.getUri());
    EXPECT_FALSE(path.hasQueryParameter("x"));
    EXPECT_TRUE(path.hasQueryParameter("y"));

    UrlPath copy(path);
    copy.setCharacteristicInvalid();
    EXPECT_TRUE(path.isValid());
}

TEST(UrlPath, ComparesALevelWithATextRegardlessOfCase)
{
    const AssembledPath path(ELEMENT, "Svc", "rEs", "eLe\xC4");
    EXPECT_TRUE(path.isServiceEqual("SVC"));
    EXPECT_TRUE(path.isServiceEqual("svc"));
    EXPECT_FALSE(path.isServiceEqual("svc2"));
    EXPECT_FALSE(path.isServiceEqual(""));
    EXPECT_FALSE(path.isServiceEqual("res"));
    EXPECT_TRUE(path.isResourceEqual("RES"));
    EXPECT_TRUE(path.isResourceEqual("res"));
    EXPECT_FALSE(path.isResourceEqual("re"));
    EXPECT_FALSE(path.isResourceEqual("svc"));
    EXPECT_TRUE(path.isElementEqual("ELE\xC4"));
    EXPECT_FALSE(path.isElementEqual("ele\xE4")) << "only ASCII letters have two cases";
    EXPECT_FALSE(path.isElementEqual("svc"));
    EXPECT_TRUE(UrlPath().isServiceEqual("") && UrlPath().isResourceEqual("") &&
                UrlPath().isElementEqual(""));
    EXPECT_TRUE(UrlPath("/svc").isServiceEqual("SVC"));
}

TEST(UrlPath, TellsReservedAddresses)
{
    const std::vector<std::pair<UrlPath::Characteristic, bool>> rows = {
        {UrlPath::INVALID, false},
        {UrlPath::ROOT, false},
        {UrlPath::ROOT_ID, true},
        {UrlPath::SERVICE, false},
        {UrlPath::SERVICE_ID, true},
        {UrlPath::SERVICE_SPEC, true},
        {UrlPath::SERVICE_RIGHTS, true},
        {UrlPath::SERVICE_RESOURCE, false},
        {UrlPath::SERVICE_RESOURCE_ID, true},
        {UrlPath::SERVICE_RESOURCE_SPEC, true},
        {UrlPath::SERVICE_RESOURCE_OBJECT, false},
        {UrlPath::SERVICE_RESOURCE_ELEMENT, false},
        {static_cast<UrlPath::Characteristic>(10), false},
        {static_cast<UrlPath::Characteristic>(268435454), false},
    };
    LogCapture log;
    for (const auto& [characteristic, reserved] : rows) {
        SCOPED_TRACE(static_cast<int>(characteristic));
        EXPECT_EQ(UrlPath::isReservedKeyword(characteristic), reserved);
        EXPECT_EQ(AssembledPath(characteristic, "s", "r", "e").isReservedKeyword(), reserved);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_TRUE(UrlPath("/svc/id").isReservedKeyword());
    EXPECT_FALSE(UrlPath("/svc/accessrights").isReservedKeyword());
}

TEST(UrlPath, FindsAQueryKeyExactly)
{
    const UrlPath path("/svc?x=1&x=2&$limit=5&empty");
    EXPECT_TRUE(path.hasQueryParameter("x"));
    EXPECT_FALSE(path.hasQueryParameter("X"));
    EXPECT_TRUE(path.hasQueryParameter("$limit"));
    EXPECT_FALSE(path.hasQueryParameter("limit"));
    EXPECT_TRUE(path.hasQueryParameter("empty"));
    EXPECT_FALSE(path.hasQueryParameter(""));
}

TEST(UrlPath, GivesTheValuesOfAKeyInUrlOrder)
{
    const UrlPath path("/svc?x=2&a=9&x=1&X=7&x=2&y&x");
    EXPECT_THAT(path.getQueryParameters("x"), ElementsAre("2", "1", "2", ""));
    EXPECT_THAT(path.getQueryParameters("X"), ElementsAre("7"));
    EXPECT_THAT(path.getQueryParameters("y"), ElementsAre(""));
    EXPECT_THAT(path.getQueryParameters("z"), IsEmpty());
    EXPECT_THAT(UrlPath("/svc?x=1&x=2").getQueryParameters("x"), ElementsAre("1", "2"));
}

TEST(UrlPath, KeepsManyEqualKeysInUrlOrder)
{
    std::string url = "/svc?";
    std::vector<std::string> expected;
    for (int i = 0; i < 200; ++i) {
        url += "k=" + std::to_string(i) + "&other=" + std::to_string(-i) + "&";
        expected.push_back(std::to_string(i));
    }
    EXPECT_EQ(UrlPath(url).getQueryParameters("k"), expected);
}

TEST(UrlPath, DecodesTheQuery)
{
    const UrlPath path("/svc?a%20b=c+d&p=%2B%26%3D&w=%2525&=v");
    EXPECT_THAT(path.getQueryParameters("a b"), ElementsAre("c d"));
    EXPECT_THAT(path.getQueryParameters("p"), ElementsAre("+&="));
    EXPECT_THAT(path.getQueryParameters("w"), ElementsAre("%25"));
    EXPECT_THAT(path.getQueryParameters(""), ElementsAre("v"));
}

TEST(UrlPath, KeepsTheQueryOfABadAddress)
{
    EXPECT_THAT(UrlPath("/$foo?x=1").getQueryParameters("x"), ElementsAre("1"));
    EXPECT_THAT(UrlPath("/a/b/c/d?x=1").getQueryParameters("x"), ElementsAre("1"));
    EXPECT_THAT(UrlPath("/?x=1").getQueryParameters("x"), ElementsAre("1"));
}

TEST(UrlPath, GivesAllPairsInUrlOrderNotInKeyOrder)
{
    EXPECT_THAT(UrlPath("/svc?b=2&a=1&b=1&c").getQueryParameters(),
                ElementsAre(Pair("b", "2"), Pair("a", "1"), Pair("b", "1"), Pair("c", "")));
    EXPECT_THAT(UrlPath("/svc").getQueryParameters(), IsEmpty());
}

TEST(UrlPath, OrdersItsOwnMapByKeyBytes)
{
    const AssembledPath path("/svc?b=2&B=4&a=1&%C3=5&b=1", "/svc");
    EXPECT_THAT(path.parameters(), ElementsAre(Pair("B", "4"), Pair("a", "1"), Pair("b", "2"), Pair("b", "1"),
                                               Pair("\xC3", "5")));
}

TEST(UrlPath, ReadsThePairsAfreshFromTheUri)
{
    const AssembledPath path("/svc?x=1", "/svc?y=2");
    EXPECT_THAT(path.getQueryParameters(), ElementsAre(Pair("y", "2")));
    EXPECT_THAT(path.getQueryParameters("x"), ElementsAre("1"));
    EXPECT_FALSE(path.hasQueryParameter("y"));

    const AssembledPath undecodable("/svc?x=1", "/svc?x=%zz");
    EXPECT_THROW(undecodable.getQueryParameters(), Poco::URISyntaxException);
    EXPECT_THAT(undecodable.getQueryParameters("x"), ElementsAre("1"));
}

TEST(UrlPath, IsEqualByCharacteristicAndLevels)
{
    const AssembledPath path(ELEMENT, "s", "r", "e");
    EXPECT_TRUE(path == AssembledPath(ELEMENT, "s", "r", "e"));
    EXPECT_FALSE(path != AssembledPath(ELEMENT, "s", "r", "e"));
    for (const AssembledPath& other :
         {AssembledPath(UrlPath::INVALID, "s", "r", "e"), AssembledPath(UrlPath::SERVICE, "s", "r", "e"),
          AssembledPath(ELEMENT, "S", "r", "e"), AssembledPath(ELEMENT, "s", "R", "e"),
          AssembledPath(ELEMENT, "s", "r", "E"), AssembledPath(ELEMENT, "", "r", "e"),
          AssembledPath(ELEMENT, "s", "", "e"), AssembledPath(ELEMENT, "s", "r", "")}) {
        EXPECT_FALSE(path == other);
        EXPECT_TRUE(path != other);
        EXPECT_FALSE(other == path);
    }
}

TEST(UrlPath, IgnoresUriAndQueryInEquality)
{
    EXPECT_TRUE(UrlPath("/svc?x=1") == UrlPath("/svc?y=2"));
    EXPECT_TRUE(UrlPath("/svc") == UrlPath("http://host/api/v1/svc/"));
    EXPECT_TRUE(UrlPath("/svc/res/id") == UrlPath("/svc/res/$id"));
    EXPECT_FALSE(UrlPath("/svc/spec") == UrlPath("/svc/$spec")) << "the resource holds the word as it came";
    EXPECT_FALSE(UrlPath("/SVC") == UrlPath("/svc"));
    EXPECT_FALSE(UrlPath("/svc") == UrlPath("/svc/id"));
    EXPECT_TRUE(UrlPath() == UrlPath("/a/b/c/d"));
}

TEST(UrlPath, OrdersByLevelFirst)
{
    const std::vector<AssembledPath> byLevel = {
        AssembledPath(UrlPath::ROOT, "z", "z", "z"), AssembledPath(UrlPath::SERVICE_SPEC, "y", "y", "y"),
        AssembledPath(UrlPath::SERVICE_RESOURCE, "x", "x", "x"), AssembledPath(ELEMENT, "a", "a", "a")};
    for (std::size_t i = 0; i < byLevel.size(); ++i) {
        for (std::size_t j = i + 1; j < byLevel.size(); ++j) {
            EXPECT_TRUE(byLevel[i] < byLevel[j]) << i << ' ' << j;
            EXPECT_FALSE(byLevel[j] < byLevel[i]) << i << ' ' << j;
        }
    }
}

TEST(UrlPath, OrdersEqualLevelsFromTheDeepestFieldUpwards)
{
    struct Row {
        const char* meaning;
        AssembledPath left;
        AssembledPath right;
        bool less;
    };
    using Path = AssembledPath;
    const auto RES = UrlPath::SERVICE_RESOURCE;
    const std::vector<Row> rows = {
        {"empty element before any", Path(ELEMENT, "z", "z", ""), Path(ELEMENT, "a", "a", "a"), true},
        {"less element decides", Path(ELEMENT, "z", "z", "a"), Path(ELEMENT, "a", "a", "b"), true},
        {"greater element falls to the resource", Path(ELEMENT, "z", "a", "b"), Path(ELEMENT, "a", "b", "a"),
         true},
        {"greater element falls to the service", Path(ELEMENT, "a", "r", "b"), Path(ELEMENT, "b", "r", "a"),
         true},
        {"greater in all", Path(ELEMENT, "b", "b", "b"), Path(ELEMENT, "a", "a", "a"), false},
        {"greater element, rest equal", Path(ELEMENT, "s", "r", "b"), Path(ELEMENT, "s", "r", "a"), false},
        {"equal element falls to the resource", Path(ELEMENT, "z", "a", "e"), Path(ELEMENT, "a", "b", "e"),
         true},
        {"no element on the right", Path(ELEMENT, "a", "", "e"), Path(ELEMENT, "b", "", ""), true},
        {"empty resource before any", Path(RES, "z", "", ""), Path(RES, "a", "a", ""), true},
        {"less resource decides", Path(RES, "z", "a", ""), Path(RES, "a", "b", ""), true},
        {"greater resource falls to the service", Path(RES, "a", "b", ""), Path(RES, "b", "a", ""), true},
        {"greater resource and service", Path(RES, "b", "b", ""), Path(RES, "a", "a", ""), false},
        {"equal resource falls to the service", Path(RES, "a", "r", ""), Path(RES, "b", "r", ""), true},
        {"no resource on the right", Path(RES, "a", "r", ""), Path(RES, "b", "", ""), true},
        {"empty service is never less", Path(RES, "", "r", ""), Path(RES, "b", "", ""), false},
        {"both services empty", Path(UrlPath::ROOT, "", "", ""), Path(UrlPath::ROOT_ID, "", "", ""), false},
        {"empty service on the right", Path(RES, "a", "", ""), Path(RES, "", "", ""), false},
        {"less service", Path(UrlPath::SERVICE, "a", "", ""), Path(UrlPath::SERVICE_ID, "b", "", ""), true},
        {"greater service", Path(UrlPath::SERVICE, "b", "", ""), Path(UrlPath::SERVICE_ID, "a", "", ""),
         false},
        {"equal service", Path(UrlPath::SERVICE, "a", "", ""), Path(UrlPath::SERVICE_ID, "a", "", ""), false},
        {"bytes, not letters", Path(UrlPath::SERVICE, "Z", "", ""), Path(UrlPath::SERVICE, "a", "", ""),
         true},
        {"bytes are unsigned", Path(UrlPath::SERVICE, "z", "", ""), Path(UrlPath::SERVICE, "\xC3", "", ""),
         true},
        {"a beginning is less", Path(UrlPath::SERVICE, "a", "", ""), Path(UrlPath::SERVICE, "ab", "", ""),
         true},
        {"empty element, empty service", Path(ELEMENT, "", "", ""), Path(ELEMENT, "", "", "e"), true},
        {"empty resource, empty service", Path(RES, "", "", ""), Path(RES, "", "r", ""), true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.meaning);
        EXPECT_EQ(row.left < row.right, row.less);
    }
}

TEST(UrlPath, SkipsTheLevelsInTheOrderIfEitherSideIsInvalid)
{
    const AssembledPath bad(UrlPath::INVALID, "a", "a", "a");
    const AssembledPath good(UrlPath::SERVICE, "b", "b", "b");
    EXPECT_TRUE(bad < good);
    EXPECT_FALSE(good < bad) << "level -1 is less than 1 but does not count";
    const AssembledPath low(UrlPath::SERVICE, "a", "a", "a");
    const AssembledPath badAndHigh(UrlPath::INVALID, "b", "b", "b");
    EXPECT_TRUE(low < badAndHigh) << "level 1 is greater than -1 but does not count";
    EXPECT_FALSE(badAndHigh < low);
    EXPECT_TRUE(bad < badAndHigh);
    EXPECT_FALSE(UrlPath() < UrlPath());
}

TEST(UrlPath, LogsNothingWhenItComparesInvalidAddresses)
{
    LogCapture log;
    EXPECT_FALSE(UrlPath() < UrlPath("/svc"));
    EXPECT_FALSE(UrlPath("/svc") < UrlPath());
    EXPECT_THAT(log.texts(), IsEmpty());
}

namespace
{

/// The order written out field by field.
bool plainLess(const AssembledPath& left, const AssembledPath& right)
{
    if (left.isValid() && right.isValid()) {
        const int difference = UrlPath::getCharacteristicLevel(left.getCharacteristic()) -
                               UrlPath::getCharacteristicLevel(right.getCharacteristic());
        if (difference != 0)
            return difference < 0;
    }
    if (!right.getElement().empty() && (left.getElement().empty() || left.getElement() < right.getElement()))
        return true;
    if (!right.getResource().empty() &&
        (left.getResource().empty() || left.getResource() < right.getResource()))
        return true;
    return !left.getService().empty() && left.getService() < right.getService();
}

} // namespace

TEST(UrlPath, OrdersEveryPairOfSmallAddressesByTheRule)
{
    std::vector<AssembledPath> all;
    for (auto kind : {UrlPath::INVALID, UrlPath::ROOT, UrlPath::SERVICE, UrlPath::SERVICE_RESOURCE, ELEMENT})
        for (const char* service : {"", "a", "b"})
            for (const char* resource : {"", "a", "b"})
                for (const char* element : {"", "a", "b"})
                    all.emplace_back(kind, service, resource, element);
    for (const AssembledPath& left : all) {
        for (const AssembledPath& right : all) {
            ASSERT_EQ(left < right, plainLess(left, right))
                << left.getCharacteristic() << left.getService() << '/' << left.getResource() << '/'
                << left.getElement() << " < " << right.getCharacteristic() << right.getService() << '/'
                << right.getResource() << '/' << right.getElement();
        }
    }
}

TEST(UrlPath, TellsTheLevelOfEachCharacteristic)
{
    const std::vector<std::pair<UrlPath::Characteristic, int>> rows = {
        {UrlPath::INVALID, -1},
        {UrlPath::ROOT, 0},
        {UrlPath::ROOT_ID, 0},
        {UrlPath::SERVICE, 1},
        {UrlPath::SERVICE_ID, 1},
        {UrlPath::SERVICE_SPEC, 1},
        {UrlPath::SERVICE_RIGHTS, 1},
        {UrlPath::SERVICE_RESOURCE, 2},
        {UrlPath::SERVICE_RESOURCE_ID, 2},
        {UrlPath::SERVICE_RESOURCE_SPEC, 2},
        {UrlPath::SERVICE_RESOURCE_OBJECT, 3},
        {UrlPath::SERVICE_RESOURCE_ELEMENT, 3},
    };
    LogCapture log;
    for (const auto& [characteristic, level] : rows) {
        SCOPED_TRACE(static_cast<int>(characteristic));
        EXPECT_EQ(UrlPath::getCharacteristicLevel(characteristic), level);
    }
    EXPECT_THAT(log.texts(), IsEmpty()) << "INVALID has its level without a complaint";
}

TEST(UrlPath, LogsAnUnknownCharacteristicAndGivesItNoLevel)
{
    for (const int number : {10, 99, 268435454}) {
        LogCapture log;
        EXPECT_EQ(UrlPath::getCharacteristicLevel(static_cast<UrlPath::Characteristic>(number)), -1);
        ASSERT_THAT(log.texts(),
                    ElementsAre("Error: Invalid characteristics found. " + std::to_string(number)));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
        EXPECT_EQ(log.records()[0].source, "UrlPath.cpp");
    }
    LogCapture quiet(Poco::Message::PRIO_CRITICAL);
    EXPECT_EQ(UrlPath::getCharacteristicLevel(static_cast<UrlPath::Characteristic>(10)), -1);
    EXPECT_THAT(quiet.texts(), IsEmpty());
}

TEST(UrlPath, ComparesCharacteristicsByTheirDepth)
{
    EXPECT_EQ(UrlPath::compareCharacteristic(UrlPath::ROOT, ELEMENT), 3);
    EXPECT_EQ(UrlPath::compareCharacteristic(ELEMENT, UrlPath::ROOT), -3);
    EXPECT_EQ(UrlPath::compareCharacteristic(UrlPath::SERVICE, UrlPath::SERVICE_RESOURCE_ID), 1);
    EXPECT_EQ(UrlPath::compareCharacteristic(UrlPath::SERVICE_ID, UrlPath::SERVICE_SPEC), 0);
    EXPECT_EQ(UrlPath::compareCharacteristic(UrlPath::INVALID, ELEMENT), 4);
    EXPECT_EQ(UrlPath::compareCharacteristic(UrlPath::SERVICE, UrlPath::INVALID), -2);
}

TEST(UrlPath, IsParsedByManyThreadsAtOnce)
{
    std::atomic<int> valid{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&valid] {
            for (int round = 0; round < 200; ++round)
                valid += UrlPath("/svc/res/" + A_UUID + "?x=1").isValid() ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(valid, 800);
}

namespace
{

/// `path` with every byte percent-encoded, slashes excepted.
std::string encoded(const std::string& path)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string result;
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '/')
            result += character;
        else
            (((result += '%') += digits[byte >> 4U]) += digits[byte & 15U]);
    }
    return result;
}

std::string hexadecimal(RandomSource& random, std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i)
        text += random.oneOf("0123456789abcdefABCDEF");
    return text;
}

std::string uuidText(RandomSource& random)
{
    const std::string hyphen = random.oneIn(8) ? "" : "-";
    return hexadecimal(random, 8) + hyphen + hexadecimal(random, 4) + hyphen + hexadecimal(random, 4) +
           hyphen + hexadecimal(random, 4) + hyphen + hexadecimal(random, 12);
}

/// A UUID with up to two places changed, left out or added.
std::string nearlyUuid(RandomSource& random)
{
    static const std::string characters = "0123456789abcdefABCDEFgG-_.~{}x ";
    std::string text = uuidText(random);
    for (std::size_t changes = random.below(3); changes > 0; --changes) {
        const std::size_t place = random.below(text.size());
        switch (random.below(4)) {
        case 0:
            text[place] = random.oneOf(characters);
            break;
        case 1:
            text.erase(place, 1);
            break;
        case 2:
            text.insert(place, 1, random.oneOf(characters));
            break;
        default:
            text += random.oneOf(characters);
        }
    }
    return text;
}

std::string bytes(RandomSource& random)
{
    std::string text;
    for (std::size_t i = random.below(6) + 1; i > 0; --i)
        text += random.byte();
    return text;
}

std::string goodBytesAndOneOther(RandomSource& random)
{
    std::string text;
    for (std::size_t i = random.below(5) + 1; i > 0; --i)
        text += random.oneOf(".abczABCZ0189_-~");
    if (random.oneIn(2))
        text.insert(random.below(text.size() + 1), 1, random.byte());
    return text;
}

std::string segment(RandomSource& random)
{
    static const std::vector<std::string> words = {
        "id", "spec", "accessrights", "$id", "$spec", "$accessrights", "cdn", "api", "v1", "",
        "ID", "svc",  "CDN",          "$",   "$$id",  "API",           "V1",  "a b", "."};
    switch (random.below(5)) {
    case 0:
    case 1:
        return random.pick(words);
    case 2:
        return goodBytesAndOneOther(random);
    case 3:
        return nearlyUuid(random);
    default:
        return bytes(random);
    }
}

void expectParsedAsPlainly(const std::string& path, std::uint32_t seed)
{
    Poco::URI uri;
    uri.setPath(encoded(path));
    SCOPED_TRACE("seed " + std::to_string(seed) + ", path " + encoded(path));
    expectAddress(UrlPath(uri), Test::parsePlainly(uri));
}

} // namespace

TEST(UrlPath, AppliesTheSegmentPatternToEveryByte)
{
    for (int value = 0; value < 256; ++value) {
        const char byte = static_cast<char>(static_cast<unsigned char>(value));
        if (byte == '/')
            continue;
        SCOPED_TRACE(value);
        for (const std::string& text : {std::string(1, byte), std::string("a") + byte,
                                        byte + std::string("a"), std::string("a") + byte + "a"}) {
            Poco::URI uri;
            uri.setPath(encoded("/" + text));
            EXPECT_EQ(UrlPath(uri).getCharacteristic(),
                      Zovi::Test::Detail::isWellFormed(text) ? UrlPath::SERVICE : UrlPath::INVALID);
        }
    }
}

TEST(UrlPath, AppliesTheSegmentPatternToRandomBytes)
{
    RandomSource random;
    for (int round = 0; round < 5000 && !HasFailure(); ++round) {
        const std::string text = random.oneIn(2) ? bytes(random) : goodBytesAndOneOther(random);
        expectParsedAsPlainly("/" + text, random.seed());
        expectParsedAsPlainly("/svc/" + text, random.seed());
        expectParsedAsPlainly("/cdn/res/" + text, random.seed());
    }
}

TEST(UrlPath, AcceptsTheElementsThatPocoTakesForUuids)
{
    RandomSource random;
    int accepted = 0;
    const int rounds = 5000;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        const std::string text = nearlyUuid(random);
        expectParsedAsPlainly("/svc/res/" + text, random.seed());
        accepted += UrlPath("/svc/res/" + encoded(text)).isValid() ? 1 : 0;
    }
    EXPECT_GT(accepted, rounds / 10);
    EXPECT_LT(accepted, rounds - rounds / 10);
}

TEST(UrlPath, ParsesRandomPathsAsThePlainRulesDo)
{
    RandomSource random;
    for (int round = 0; round < 10000 && !HasFailure(); ++round) {
        std::string path = random.oneIn(4) ? "/api/v1/" : "/";
        for (std::size_t levels = random.below(5); levels > 0; --levels)
            path += segment(random) + (random.oneIn(8) ? "//" : "/");
        if (random.oneIn(2))
            path.pop_back();
        expectParsedAsPlainly(path, random.seed());
    }
}

TEST(UrlPath, TakesASegmentOfAnyLength)
{
    const std::string text(1 << 20, 'a');
    EXPECT_TRUE(UrlPath("/" + text).isValid());
    EXPECT_FALSE(UrlPath("/" + text + "$").isValid());
}

} // namespace Zovi::Command
