#include "Command/RequestBase.h"

#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "LogCapture.h"
#include "RequestBaseNamesakes.h"

#include <Poco/Exception.h>

#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace Namesakes
{

namespace
{

// Of the same type names as two classes in RequestBaseNamesakes.cpp, but different classes.
class RenderNamesake : public RenderCriterion
{
};

class SearchNamesake : public SearchCriterion
{
};

} // namespace

} // namespace Namesakes

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Zovi::Test::LogCapture;

static_assert(std::has_virtual_destructor_v<RequestBase>);
static_assert(std::is_copy_constructible_v<RequestBase> && std::is_copy_assignable_v<RequestBase>);
static_assert(std::is_constructible_v<RequestBase, const Poco::URI&>);
static_assert(std::is_constructible_v<RequestBase, Poco::URI>);
static_assert(std::is_constructible_v<RequestBase, const UrlPath&>);
static_assert(!std::is_default_constructible_v<RequestBase>);
static_assert(!std::is_constructible_v<RequestBase, const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const RequestBase&>().getUrlPath()), const UrlPath&>);
static_assert(std::is_same_v<RequestBase::RenderCollection, RequestBase::QueryCollection<RenderCriterion>>);

/// Counts its living instances.
class RenderProbe : public RenderCriterion
{
public:
    RenderProbe() { ++living; }
    ~RenderProbe() override { --living; }
    RenderProbe(const RenderProbe&) = delete;
    RenderProbe& operator=(const RenderProbe&) = delete;

    static int living;
};

int RenderProbe::living = 0;

class DerivedRenderProbe : public RenderProbe
{
};

class OtherRenderProbe : public RenderCriterion
{
};

class SearchProbe : public SearchCriterion
{
};

class OtherSearchProbe : public SearchCriterion
{
};

using RenderProbePtr = Poco::SharedPtr<RenderProbe>;
using SearchProbePtr = Poco::SharedPtr<SearchProbe>;

/// Gives access to what only derived classes may call.
class FrameProbe : public RequestBase
{
public:
    FrameProbe() = default;
    explicit FrameProbe(const std::string& url)
        : RequestBase(url)
    {
    }
    explicit FrameProbe(const Poco::URI& uri)
        : RequestBase(uri)
    {
    }
    explicit FrameProbe(const UrlPath& path)
        : RequestBase(path)
    {
    }

    using RequestBase::initializeFromUri;
};

/// An address whose URI and characteristic are not those that were parsed.
class AlteredPath : public UrlPath
{
public:
    AlteredPath(const std::string& parsedUrl, const std::string& otherUrl, Characteristic kind)
        : UrlPath(parsedUrl)
    {
        uri = Poco::URI(otherUrl);
        characteristic = kind;
    }
};

RequestBase requestOf(const std::string& url)
{
    return RequestBase(Poco::URI(url));
}

template <typename T>
RequestBase::QueryCollection<T> renderCriteriaOf(const RequestBase& request)
{
    RequestBase::QueryCollection<T> result;
    request.extractRenderCriteria<T>(result);
    return result;
}

template <typename T>
RequestBase::QueryCollection<T> searchCriteriaOf(const RequestBase& request)
{
    RequestBase::QueryCollection<T> result;
    request.extractSearchCriteria<T>(result);
    return result;
}

/// The names of the first fields that the selections of `request` ask for, in the order of the selections.
std::vector<std::string> selectedFields(const RequestBase& request)
{
    std::vector<std::string> result;
    for (const auto& selection : renderCriteriaOf<FilterParameter>(request))
        result.push_back(selection->getFields().at(0).getName());
    return result;
}

void expectNoCriteria(const RequestBase& request)
{
    EXPECT_FALSE(request.hasAnyCriteria());
    EXPECT_FALSE(request.hasRenderCriteria());
    EXPECT_FALSE(request.hasSearchCriteria());
}

} // namespace

TEST(RequestBase, HoldsTheAddressOfAnUriWithoutQuery)
{
    LogCapture log;
    const Poco::URI uri("http://host/svc/res");
    const RequestBase request(uri);
    EXPECT_EQ(request.getUri(), uri);
    EXPECT_EQ(request.getUrlPath(), UrlPath(uri));
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE);
    EXPECT_EQ(&request.getUri(), &request.getUrlPath().getUri());
    expectNoCriteria(request);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RequestBase, LeavesTheCharacteristicAloneWithoutQuery)
{
    for (const char* url : {"/", "/id", "/svc", "/svc/id", "/svc/spec", "/svc/accessrights", "/svc/res/id",
                            "/svc/res/spec", "/svc/id?", "/$foo", "/a/b/c/d"}) {
        SCOPED_TRACE(url);
        EXPECT_EQ(requestOf(url).getUrlPath().getCharacteristic(),
                  UrlPath(std::string(url)).getCharacteristic());
        expectNoCriteria(requestOf(url));
    }
}

TEST(RequestBase, CopiesAnAddress)
{
    const UrlPath path("/svc/res");
    const RequestBase request(path);
    EXPECT_EQ(request.getUrlPath(), path);
    EXPECT_EQ(request.getUri(), path.getUri());
    expectNoCriteria(request);
}

TEST(RequestBase, KeepsACopiedAddressInvalid)
{
    UrlPath path("/svc/res");
    path.setCharacteristicInvalid();
    const RequestBase request(path);
    EXPECT_FALSE(request.getUrlPath().isValid());
    EXPECT_EQ(request.getUrlPath().getService(), "svc");
}

TEST(RequestBase, IsMadeOfATextByDerivedClasses)
{
    const FrameProbe request(std::string("/svc/res"));
    EXPECT_EQ(request.getUrlPath(), UrlPath("/svc/res"));
    expectNoCriteria(request);
    const FrameProbe condemned(std::string("/svc/id?x=1"));
    EXPECT_FALSE(condemned.getUrlPath().isValid()) << "the query is walked";
}

TEST(RequestBase, IsInvalidAndEmptyByDefaultForDerivedClasses)
{
    const FrameProbe request;
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
    EXPECT_TRUE(request.getUri().empty());
    expectNoCriteria(request);
}

TEST(RequestBase, CondemnsAReservedAddressThatHasAQuery)
{
    for (const char* url : {"/id?x=1", "/svc/id?x=1", "/svc/spec?x=1", "/svc/res/id?x=1", "/svc/res/spec?x=1",
                            "/svc/$id?$limit=5", "/svc/res/$spec?$offset=5&$limit=5", "/svc/id?x",
                            "/svc/id?=", "/api/v1/svc/id?x=1"}) {
        SCOPED_TRACE(url);
        LogCapture log(Poco::Message::PRIO_INFORMATION);
        const RequestBase condemned = requestOf(url);
        EXPECT_EQ(condemned.getUrlPath().getCharacteristic(), UrlPath::INVALID);
        expectNoCriteria(condemned);
        EXPECT_EQ(condemned.getUri(), Poco::URI(url));
        EXPECT_THAT(log.texts(), IsEmpty());
    }
    EXPECT_EQ(requestOf("/svc/id?x=1").getUrlPath().getService(), "svc")
        << "nothing else of the address changes";
}

TEST(RequestBase, CondemnsACopiedAddressThatIsReservedAndHasAQuery)
{
    const UrlPath path("/svc/id?x=1");
    EXPECT_FALSE(RequestBase(path).getUrlPath().isValid());
    EXPECT_TRUE(path.isValid());
    const AlteredPath rights("/svc", "/svc?x=1", UrlPath::SERVICE_RIGHTS);
    EXPECT_FALSE(RequestBase(rights).getUrlPath().isValid());
    const AlteredPath rightsWithoutQuery("/svc?x=1", "/svc", UrlPath::SERVICE_RIGHTS);
    EXPECT_EQ(RequestBase(rightsWithoutQuery).getUrlPath().getCharacteristic(), UrlPath::SERVICE_RIGHTS)
        << "the pairs are those of the URI";
}

TEST(RequestBase, AcceptsAQueryOnTheRightsOfAService)
{
    EXPECT_EQ(requestOf("/svc/accessrights?x=1").getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE);
    EXPECT_EQ(requestOf("/svc/res?x=1").getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE);
}

TEST(RequestBase, LetsAQueryThatCannotBeDecodedThrow)
{
    LogCapture log;
    EXPECT_THROW(RequestBase(Poco::URI("/svc?x=%zz")), Poco::URISyntaxException);
    EXPECT_THROW(FrameProbe(std::string("/svc?x=%zz")), Poco::URISyntaxException);
    EXPECT_THROW(FrameProbe(std::string("/svc/id?a=1&x=%")), Poco::URISyntaxException);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RequestBase, LetsATextThatIsNoUriThrow)
{
    EXPECT_THROW(FrameProbe(std::string("/a%zz")), Poco::URISyntaxException);
    EXPECT_THROW(FrameProbe(std::string("http://host:port/")), Poco::URISyntaxException);
}

TEST(RequestBase, WarnsOfAQueryThatNoLongerDecodesAndIsCondemned)
{
    const Poco::URI undecodable("/svc/res?x=1&y=%zz");
    std::string reason;
    try {
        undecodable.getQueryParameters();
    } catch (const Poco::Exception& failure) {
        reason = failure.displayText();
    }
    ASSERT_NE(reason, "");

    const AlteredPath path("/svc/res?x=1", undecodable.toString(), UrlPath::SERVICE_RESOURCE);
    LogCapture log;
    const RequestBase request(path);
    ASSERT_THAT(log.texts(), ElementsAre("Warning: Request initilisation failed due to: " + reason));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
    EXPECT_EQ(log.records()[0].source, "RequestBase.cpp");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
    EXPECT_EQ(request.getUrlPath().getService(), "svc");
    expectNoCriteria(request);
}

TEST(RequestBase, WarnsOfNothingWhenTheLevelIsOff)
{
    const AlteredPath path("/svc", "/svc?x=%zz", UrlPath::SERVICE);
    LogCapture log(Poco::Message::PRIO_ERROR);
    EXPECT_FALSE(RequestBase(path).getUrlPath().isValid());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(RequestBase, TakesUpCriteria)
{
    RequestBase request = requestOf("/svc/res");
    const RenderProbePtr render(new RenderProbe);
    EXPECT_TRUE(request.addRenderCriterion(render));
    EXPECT_TRUE(request.hasRenderCriteria());
    EXPECT_FALSE(request.hasSearchCriteria());
    EXPECT_TRUE(request.hasAnyCriteria());
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(render));

    RequestBase searching = requestOf("/svc/res");
    const SearchProbePtr search(new SearchProbe);
    EXPECT_TRUE(searching.addSearchCriterion(search));
    EXPECT_FALSE(searching.hasRenderCriteria());
    EXPECT_TRUE(searching.hasSearchCriteria());
    EXPECT_TRUE(searching.hasAnyCriteria());
    EXPECT_THAT(searchCriteriaOf<SearchProbe>(searching), ElementsAre(search));
    EXPECT_TRUE(searching.getUrlPath().isValid());
}

TEST(RequestBase, TakesUpAnInvalidCriterionWithoutCondemningTheRequest)
{
    class Invalid : public RenderCriterion
    {
    public:
        Invalid() { m_valid = false; }
    };
    RequestBase request = requestOf("/svc");
    EXPECT_TRUE(request.addRenderCriterion(Poco::SharedPtr<Invalid>(new Invalid)));
    EXPECT_TRUE(request.getUrlPath().isValid());
    ASSERT_FALSE(request.getFirstCriterion<Invalid>().isNull());
    EXPECT_FALSE(request.getFirstCriterion<Invalid>()->isValid());
}

TEST(RequestBase, KeepsCriteriaOfOneTypeInTheOrderOfArrival)
{
    RequestBase request = requestOf("/svc");
    const RenderProbePtr first(new RenderProbe);
    const RenderProbePtr second(new RenderProbe);
    const Poco::SharedPtr<OtherRenderProbe> other(new OtherRenderProbe);
    request.addRenderCriterion(first);
    request.addRenderCriterion(other);
    request.addRenderCriterion(second);
    request.addRenderCriterion(first);
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(first, second, first));
    EXPECT_THAT(renderCriteriaOf<OtherRenderProbe>(request), ElementsAre(other));

    const SearchProbePtr searchOne(new SearchProbe);
    const SearchProbePtr searchTwo(new SearchProbe);
    const Poco::SharedPtr<OtherSearchProbe> searchOther(new OtherSearchProbe);
    request.addSearchCriterion(searchOne);
    request.addSearchCriterion(searchOther);
    request.addSearchCriterion(searchTwo);
    EXPECT_THAT(searchCriteriaOf<SearchProbe>(request), ElementsAre(searchOne, searchTwo));
    EXPECT_THAT(searchCriteriaOf<OtherSearchProbe>(request), ElementsAre(searchOther));
}

TEST(RequestBase, FilesACriterionUnderTheTypeOfThePointerItCameBy)
{
    RequestBase request = requestOf("/svc");
    const RenderProbePtr derivedByItsBase(new DerivedRenderProbe);
    request.addRenderCriterion(derivedByItsBase);
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(derivedByItsBase));
    EXPECT_THAT(renderCriteriaOf<DerivedRenderProbe>(request), IsEmpty());
    EXPECT_THAT(renderCriteriaOf<RenderCriterion>(request), IsEmpty());

    const Poco::SharedPtr<RenderCriterion> byItsKind(new RenderProbe);
    request.addRenderCriterion(byItsKind);
    EXPECT_THAT(renderCriteriaOf<RenderCriterion>(request), ElementsAre(byItsKind));
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(derivedByItsBase));
}

TEST(RequestBase, StoresANullPointerAsOne)
{
    RequestBase request = requestOf("/svc");
    EXPECT_TRUE(request.addRenderCriterion(RenderProbePtr()));
    EXPECT_TRUE(request.hasRenderCriteria());
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(RenderProbePtr()));
    EXPECT_TRUE(request.getFirstCriterion<RenderProbe>().isNull());

    const RenderProbePtr second(new RenderProbe);
    EXPECT_TRUE(request.addRenderCriterion(second));
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(RenderProbePtr(), second));
    EXPECT_TRUE(request.getFirstCriterion<RenderProbe>().isNull()) << "the first one is the null pointer";

    EXPECT_TRUE(request.addSearchCriterion(SearchProbePtr()));
    EXPECT_TRUE(request.hasSearchCriteria());
    EXPECT_THAT(searchCriteriaOf<SearchProbe>(request), ElementsAre(SearchProbePtr()));
}

TEST(RequestBase, ExtractsACriterionOfAnotherTypeAsANullPointer)
{
#if defined(__clang__)
    GTEST_SKIP() << "clang does not tell two local types of one name apart at run time";
#endif
    RequestBase request = requestOf("/svc");
    const Poco::SharedPtr<Namesakes::RenderNamesake> own(new Namesakes::RenderNamesake);
    Namesakes::addRenderNamesake(request);
    request.addRenderCriterion(own);
    EXPECT_THAT(renderCriteriaOf<Namesakes::RenderNamesake>(request),
                ElementsAre(Poco::SharedPtr<Namesakes::RenderNamesake>(), own));
    EXPECT_TRUE(request.getFirstCriterion<Namesakes::RenderNamesake>().isNull());

    const Poco::SharedPtr<Namesakes::SearchNamesake> ownSearch(new Namesakes::SearchNamesake);
    Namesakes::addSearchNamesake(request);
    request.addSearchCriterion(ownSearch);
    EXPECT_THAT(searchCriteriaOf<Namesakes::SearchNamesake>(request),
                ElementsAre(Poco::SharedPtr<Namesakes::SearchNamesake>(), ownSearch));
}

TEST(RequestBase, AppendsToACollectionWithoutClearingIt)
{
    RequestBase request = requestOf("/svc");
    const RenderProbePtr present(new RenderProbe);
    const RenderProbePtr added(new RenderProbe);
    RequestBase::QueryCollection<RenderProbe> collection = {present};
    request.extractRenderCriteria<RenderProbe>(collection);
    EXPECT_THAT(collection, ElementsAre(present)) << "an absent type leaves it as it was";
    request.addRenderCriterion(added);
    request.extractRenderCriteria<RenderProbe>(collection);
    EXPECT_THAT(collection, ElementsAre(present, added));

    const SearchProbePtr search(new SearchProbe);
    RequestBase::QueryCollection<SearchProbe> searches = {search};
    request.extractSearchCriteria<SearchProbe>(searches);
    EXPECT_THAT(searches, ElementsAre(search));
    request.addSearchCriterion(search);
    request.extractSearchCriteria<SearchProbe>(searches);
    EXPECT_THAT(searches, ElementsAre(search, search));
}

TEST(RequestBase, GivesTheFirstRenderCriterionOfAType)
{
    RequestBase request = requestOf("/svc");
    EXPECT_TRUE(request.getFirstCriterion<RenderProbe>().isNull());
    request.addRenderCriterion(Poco::SharedPtr<OtherRenderProbe>(new OtherRenderProbe));
    EXPECT_TRUE(request.getFirstCriterion<RenderProbe>().isNull());
    const RenderProbePtr first(new RenderProbe);
    request.addRenderCriterion(first);
    request.addRenderCriterion(RenderProbePtr(new RenderProbe));
    EXPECT_EQ(request.getFirstCriterion<RenderProbe>(), first);
}

TEST(RequestBase, KeepsACriterionAliveUntilItsLastPointerIsGone)
{
    RenderProbePtr extracted;
    {
        RequestBase request = requestOf("/svc");
        request.addRenderCriterion(RenderProbePtr(new RenderProbe));
        EXPECT_EQ(RenderProbe::living, 1);
        extracted = request.getFirstCriterion<RenderProbe>();
        EXPECT_EQ(extracted.referenceCount(), 2) << "one counter for the criterion and for its base kind";
    }
    EXPECT_EQ(RenderProbe::living, 1);
    EXPECT_EQ(extracted.referenceCount(), 1);
    extracted.reset();
    EXPECT_EQ(RenderProbe::living, 0);
}

TEST(RequestBase, SharesItsCriteriaWithCopies)
{
    RequestBase original = requestOf("/svc/res");
    const RenderProbePtr render(new RenderProbe);
    const SearchProbePtr search(new SearchProbe);
    original.addRenderCriterion(render);
    original.addSearchCriterion(search);

    RequestBase copy(original);
    EXPECT_EQ(copy.getUrlPath(), original.getUrlPath());
    EXPECT_EQ(copy.getUri(), original.getUri());
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(copy), ElementsAre(render));
    EXPECT_THAT(searchCriteriaOf<SearchProbe>(copy), ElementsAre(search));

    RequestBase assigned = requestOf("/other");
    assigned.addRenderCriterion(RenderProbePtr(new RenderProbe));
    assigned = original;
    EXPECT_EQ(assigned.getUrlPath(), original.getUrlPath());
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(assigned), ElementsAre(render));

    copy.addRenderCriterion(RenderProbePtr(new RenderProbe));
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(original), ElementsAre(render)) << "each has its own list";
}

TEST(RequestBase, DoesNothingWhenItStartsAnewWithTheSameUri)
{
    FrameProbe request(Poco::URI("/svc/res"));
    const RenderProbePtr render(new RenderProbe);
    const SearchProbePtr search(new SearchProbe);
    request.addRenderCriterion(render);
    request.addSearchCriterion(search);
    request.initializeFromUri(Poco::URI("/svc/res"));
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(render));
    EXPECT_THAT(searchCriteriaOf<SearchProbe>(request), ElementsAre(search));
    EXPECT_TRUE(request.getUrlPath().isValid());
}

TEST(RequestBase, StaysCondemnedWhenItStartsAnewWithTheSameUri)
{
    UrlPath path("/svc/res");
    path.setCharacteristicInvalid();
    FrameProbe copied{path};
    copied.initializeFromUri(Poco::URI("/svc/res"));
    EXPECT_FALSE(copied.getUrlPath().isValid());

    FrameProbe condemned(Poco::URI("/svc/id?x=1"));
    condemned.initializeFromUri(Poco::URI("/svc/id?x=1"));
    EXPECT_FALSE(condemned.getUrlPath().isValid());

    FrameProbe empty;
    empty.initializeFromUri(Poco::URI());
    EXPECT_EQ(empty.getUrlPath().getCharacteristic(), UrlPath::INVALID) << "the empty URI is no news to it";
}

TEST(RequestBase, RebuildsEverythingWhenItStartsAnewWithAnotherUri)
{
    FrameProbe request(Poco::URI("/svc/id?x=1"));
    request.addRenderCriterion(RenderProbePtr(new RenderProbe));
    request.addSearchCriterion(SearchProbePtr(new SearchProbe));
    request.initializeFromUri(Poco::URI("/svc/id"));
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE_ID);
    EXPECT_EQ(request.getUri(), Poco::URI("/svc/id"));
    expectNoCriteria(request);

    request.initializeFromUri(Poco::URI("/svc/id?y=1"));
    EXPECT_FALSE(request.getUrlPath().isValid());
    expectNoCriteria(request);

    FrameProbe late;
    late.initializeFromUri(Poco::URI("/svc/res"));
    EXPECT_EQ(late.getUrlPath(), UrlPath("/svc/res"));
}

TEST(RequestBase, ClearsItsCriteriaAlsoWhenItStartsAnewWithAReservedAddress)
{
    FrameProbe request(Poco::URI("/svc"));
    request.addRenderCriterion(RenderProbePtr(new RenderProbe));
    request.addSearchCriterion(SearchProbePtr(new SearchProbe));
    request.initializeFromUri(Poco::URI("/svc/id?x=1"));
    EXPECT_FALSE(request.getUrlPath().isValid());
    expectNoCriteria(request);
}

TEST(RequestBase, StaysAsItWasWhenItStartsAnewWithAQueryThatCannotBeDecoded)
{
    FrameProbe request(Poco::URI("/svc/res"));
    const RenderProbePtr render(new RenderProbe);
    request.addRenderCriterion(render);
    EXPECT_THROW(request.initializeFromUri(Poco::URI("/other?x=%zz")), Poco::URISyntaxException);
    EXPECT_EQ(request.getUri(), Poco::URI("/svc/res"));
    EXPECT_EQ(request.getUrlPath(), UrlPath("/svc/res"));
    EXPECT_THAT(renderCriteriaOf<RenderProbe>(request), ElementsAre(render));
}

TEST(RequestBase, TurnsItsQueryIntoCriteriaInUrlOrder)
{
    const RequestBase request = requestOf("/svc/res?$fields=b&$limit=5&$fields=a&$fields=c");
    EXPECT_TRUE(request.getUrlPath().isValid());
    EXPECT_THAT(selectedFields(request), ElementsAre("b", "a", "c"));
    EXPECT_THAT(renderCriteriaOf<Paging>(request), SizeIs(1));
    EXPECT_THAT(selectedFields(RequestBase(UrlPath("/svc?$fields=b&$fields=a"))), ElementsAre("b", "a"));
    EXPECT_THAT(selectedFields(FrameProbe(std::string("/svc?$fields=b&$fields=a"))), ElementsAre("b", "a"));
}

TEST(RequestBase, KeepsTheCriteriaAroundABadParameterAndIsCondemned)
{
    for (const char* bad : {"$sortby=", "$expand=", "$offset=", "$limit="}) {
        SCOPED_TRACE(bad);
        LogCapture log;
        const RequestBase request =
            requestOf(std::string("/svc/res?$fields=a&") + bad + "&$fields=b&$limit=5");
        EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
        EXPECT_THAT(selectedFields(request), ElementsAre("a", "b"));
        EXPECT_THAT(renderCriteriaOf<Paging>(request), SizeIs(1))
            << "paging is built behind the walk all the same";
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(RequestBase, WalksTheQueryOfAnInvalidAddressToo)
{
    UrlPath condemned("/svc/res?$fields=a&$limit=5");
    condemned.setCharacteristicInvalid();
    for (const RequestBase& request :
         {RequestBase(condemned), requestOf("/svc/$foo?$fields=a&$limit=5"),
          requestOf("/a/b/c/d?$fields=a&$limit=5"), requestOf("/svc/res/17?$fields=a&$limit=5")}) {
        EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
        EXPECT_THAT(selectedFields(request), ElementsAre("a"));
        EXPECT_THAT(renderCriteriaOf<Paging>(request), SizeIs(1));
    }
}

TEST(RequestBase, BuildsNoCriteriaOfTheQueryOfAReservedAddress)
{
    expectNoCriteria(requestOf("/svc/id?a=1&$fields=x&$offset=1&$limit=5"));
    expectNoCriteria(RequestBase(UrlPath("/svc/spec?a=1&$fields=x&$offset=1&$limit=5")));
}

TEST(RequestBase, SharesTheCriteriaOfItsQueryWithCopies)
{
    const RequestBase original = requestOf("/svc?$fields=a&$limit=5");
    const RequestBase copy(original);
    EXPECT_FALSE(copy.getFirstCriterion<Paging>().isNull());
    EXPECT_EQ(copy.getFirstCriterion<Paging>(), original.getFirstCriterion<Paging>());
    EXPECT_EQ(copy.getFirstCriterion<FilterParameter>(), original.getFirstCriterion<FilterParameter>());
}

TEST(RequestBase, BuildsItsCriteriaAnewOnlyForAnotherUri)
{
    FrameProbe request(Poco::URI("/svc?$fields=a&$limit=5"));
    const Poco::SharedPtr<Paging> paging = request.getFirstCriterion<Paging>();
    request.initializeFromUri(Poco::URI("/svc?$fields=a&$limit=5"));
    EXPECT_EQ(request.getFirstCriterion<Paging>(), paging);
    EXPECT_THAT(selectedFields(request), ElementsAre("a"));

    request.initializeFromUri(Poco::URI("/svc?$fields=b"));
    EXPECT_TRUE(request.getFirstCriterion<Paging>().isNull());
    EXPECT_THAT(selectedFields(request), ElementsAre("b"));

    request.initializeFromUri(Poco::URI("/svc?$sortby="));
    EXPECT_FALSE(request.getUrlPath().isValid());
    request.initializeFromUri(Poco::URI("/svc?$fields=b"));
    EXPECT_TRUE(request.getUrlPath().isValid()) << "a new parse may be valid again";
}

} // namespace Zovi::Command
