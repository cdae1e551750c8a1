#include "FailEachAllocation.h"

#include "AccessibleStringStream.h"
#include "Command/HttpRequest.h"
#include "Command/HttpResponse.h"
#include "Command/Query/ExpandParameter.h"
#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Command/QueryFilterJSON.h"
#include "Command/SortingFilter.h"
#include "Command/WebSocketResponseObject.h"
#include "Data/AttributeContainer.h"
#include "Data/AttributeValueArray.h"
#include "Data/ElementBase.h"
#include "Data/ResourceBase.h"
#include "Data/ZoviDataUtil.h"
#include "Gzip.h"
#include "HTTPCacheHandler.h"
#include "HTTPEncoderDecoder.h"
#include "Http/ZoviHttpCacheHandler.h"
#include "JSONPrinter.h"
#include "JSONTools.h"
#include "JsonMatchers.h"
#include "KeptObject.h"
#include "LogCapture.h"
#include "Logging/LogStream.h"
#include "MicroServiceInfo.h"
#include "ServerMessages.h"
#include "ServiceRegistryConnection.h"

#include <Poco/StreamCopier.h>

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

// Every allocation of an operation is made to fail in turn. Whatever it is, the operation ends in
// std::bad_alloc, in the result that it promises for a failure, or as if nothing had failed, but never in a
// part of its result; nothing leaks, and what it was given is as it was.

using Poco::JSON::Array;
using Poco::JSON::Object;
using namespace Zovi::Command;
using namespace Zovi::Data;
using Zovi::MicroServiceInfo;
using Zovi::Test::failEachAllocation;
using Zovi::Test::LogCapture;
using Zovi::Test::parseJson;
using Zovi::Test::ServerRequest;
using Zovi::Test::ServerResponse;

namespace
{

/// As it is written, or not at all.
template <typename Json>
std::string compact(const Json& json)
{
    return Zovi::Util::JSONPrinter::toString(json);
}

using Text = AttributeValueStringable<std::string>;

/// For a `SortingFilter`.
struct ByText {
    Zovi::Util::CompareResult operator()(const std::string& a, const std::string& b, const std::string&) const
    {
        return Zovi::Util::CompareHelper::compare(a, b);
    }
};

/// A resource with one element, which has its name.
class Shelf : public GenericObject<ResourceBase>
{
public:
    explicit Shelf(const ElementGeneric& element)
        : GenericObject(5)
        , m_element(new ElementGeneric(element))
    {
    }

    std::string getDescription() const override { return "a shelf with a description of some length"; }
    const std::string& getSpecification() const override { return m_specification; }
    bool hasElement(XObjectId) const override { return true; }
    ElementBase::Ptr getElement(XObjectId) const override { return m_element; }
    ElementCollection getElements() const override { return {m_element, m_element}; }

private:
    std::string m_specification;
    ElementBase::Ptr m_element;
};

const char* const COLLECTION = R"([
    {"id":"1","name":"one","uri":"/s/r/1","size":3,"tags":["a","b","c"],"owner":{"id":"7","name":"seven"}},
    {"id":"2","name":"two","uri":"/s/r/2","size":1.5,"tags":[],"owner":{"id":"8","name":"eight"}},
    {"id":"3","name":"three","uri":"/s/r/3","size":2,"tags":["d"],"owner":{"id":"7","name":"seven"}}])";

const char* const QUERY = "/s/r?$q=%25e%25,o%2B&owner=seven&$sortby=-size,name&$offset=0&$limit=2"
                          "&$fields=size,owner,tags($offset:0,$limit:1)&$expand=1";

} // namespace

TEST(AllocationFailure, OfReadingAnAddressAndItsQuery)
{
    failEachAllocation([] {
        const RequestBase request{Poco::URI(QUERY)};
        RequestBase copy(request);
        copy = request;
        UrlPath path = copy.getUrlPath();
        path = UrlPath(QUERY);
        return path.getUri().toString() + " " + path.getService() + " " + std::to_string(path.isValid()) +
               " " + std::to_string(copy.getExpansionLevel());
    });
}

TEST(AllocationFailure, OfEachCriterion)
{
    failEachAllocation([] {
        Array array;
        for (int i = 0; i < 5; ++i)
            array.add(i);
        Paging("1", "2").applyArrayPaging(array);
        const SortingParameter sorting("-name,size");
        const FilterParameter fields("name,tags($offset:0,$limit:1)");
        const LevelExpansion level("2");
        const PropertyExpansion properties("owner,tags");
        const AnyValueSearch search("a%,(b|c)+");
        const AttributeValueSearch attribute("name", "1,2,three");
        return compact(array) + " " + std::to_string(sorting.getFields().size()) + " " +
               std::to_string(fields.getFields().size()) + " " + std::to_string(level.getLevel()) + " " +
               std::to_string(properties.isValid()) + " " + std::to_string(search.match(std::string("bcb"))) +
               " " + std::to_string(attribute.match(Poco::Dynamic::Var(2)));
    });
}

TEST(AllocationFailure, OfSortingAContainerOfOnesOwn)
{
    using Filter = SortingFilter<std::vector<std::string>, ByText, std::string>;
    const std::vector<std::string> names{"a name longer than a string holds", "another", "the third of them"};
    failEachAllocation([&names] {
        std::string text;
        for (const std::string& name : Filter(SortingParameter("-text"))(names))
            text += name + ",";
        return text;
    });
}

TEST(AllocationFailure, OfQueryingACollectionLeavesTheInputAsItWas)
{
    const Array::Ptr input = parseJson(COLLECTION).extract<Array::Ptr>();
    const std::string text = compact(*input);
    const RequestBase request{Poco::URI("/s/r?$q=%25e%25&$sortby=-size,name&$limit=2&$fields=name,owner")};
    failEachAllocation(
        [&] {
            Array output;
            Object::Ptr paging;
            QueryFilterJSON::filterJSONArrayByQuery(*input, request, output, paging);
            return compact(output) + compact(*paging);
        },
        [&] { ASSERT_EQ(compact(*input), text); });
}

TEST(AllocationFailure, OfQueryingAnObjectLeavesTheInputAsItWas)
{
    const Object::Ptr input = parseJson(COLLECTION).extract<Array::Ptr>()->get(0).extract<Object::Ptr>();
    const std::string text = compact(*input);
    const RequestBase request{Poco::URI("/s/r/x?$fields=name,tags")};
    failEachAllocation(
        [&] {
            Object output;
            QueryFilterJSON::filterJSONObjectByQuery(*input, request, output);
            return compact(output) + compact(*Zovi::copyObject(*input));
        },
        [&] { ASSERT_EQ(compact(*input), text); });
}

TEST(AllocationFailure, OfAnHttpExchange)
{
    const Array::Ptr elements = parseJson(COLLECTION).extract<Array::Ptr>();
    failEachAllocation([&elements] {
        ServerRequest request("POST", QUERY, R"({"text":"hello"})");
        request.setContentLength(16);
        request.set("Accept-Encoding", "gzip");
        Zovi::Net::HTTPEncoderDecoder coder(request, request.response());
        const HttpRequest read(request, coder);
        HttpResponse answer(HTTPStatus::HTTP_OK);
        answer.setDataFromArray(elements, Object::Ptr());
        answer.getJson()->set("timestamp", 0);
        answer.send(request.response(), coder, false);
        // The stream that stands for the connection keeps its failure to itself.
        return request.response().send() ? request.response().body() : throw std::bad_alloc();
    });
}

TEST(AllocationFailure, OfContentCodingAndCacheValidation)
{
    failEachAllocation([] {
        ServerRequest request("POST", "/", "not compressed at all");
        request.set("Content-Encoding", "gzip");
        request.set("If-None-Match", "W/\"00000000\", *");
        ServerResponse response;
        Zovi::Net::HTTPEncoderDecoder coder(request, response);
        std::string text;
        try {
            Poco::StreamCopier::copyToString(coder.getInputStream(request.stream()), text);
        } catch (const Poco::Exception& failure) {
            text = failure.message();
        }
        const auto result =
            Zovi::Net::HTTPCacheHandler().handleRequest(request, response, std::string("content"));
        return text + " " + std::to_string(result) + " " + response.get("ETag");
    });
}

TEST(AllocationFailure, OfABodyThatInflatesToTooMuch)
{
    const std::string body = Zovi::Test::gzip(std::string(100'000, 'x'));
    failEachAllocation([&body] {
        ServerRequest request("POST", "/", body);
        request.set("Content-Encoding", "gzip");
        Zovi::Net::HTTPEncoderDecoder coder(request, request.response());
        coder.setInputLimit(50'000);
        std::string text;
        try {
            Poco::StreamCopier::copyToString(coder.getInputStream(request.stream()), text);
        } catch (const Zovi::Net::ContentTooLargeException& failure) {
            const HttpResponse answer =
                HttpResponse::createError(HTTPStatus::HTTP_BAD_REQUEST, failure.message());
            return answer.getJson()->getValue<std::string>("message");
        }
        return std::string("not refused");
    });
}

TEST(AllocationFailure, OfCacheValidationOfAnAnswer)
{
    const Array::Ptr elements = parseJson(COLLECTION).extract<Array::Ptr>();
    const std::string text = compact(*elements);
    failEachAllocation(
        [&elements] {
            HttpResponse answer(HTTPStatus::HTTP_OK);
            answer.setDataFromArray(elements, Object::Ptr());
            ServerRequest request;
            request.set("If-None-Match", "\"01234567\"");
            ServerResponse response;
            const auto result = Zovi::Net::ZoviHttpCacheHandler().handleRequest(request, response, answer);
            return std::to_string(result) + " " + response.get("ETag");
        },
        [&] { ASSERT_EQ(compact(*elements), text); });
}

TEST(AllocationFailure, OfWebSocketMessages)
{
    const Object::Ptr content = parseJson(R"({"a":1})").extract<Object::Ptr>();
    failEachAllocation(
        [&content]() -> std::string {
            const WebSocketRequestObject request(
                R"({"type":"subscribe","event":"/s/r?$sortby=name","interval":100,"updatelimit":5})");
            if (!request.isValid())
                return "invalid"; // as any message that cannot be read
            WebSocketResponseObject response(request);
            const ResponseObject state(content);
            response.setData(&state);
            response.getObject()->set("timestamp", 0);
            return response.toJsonString() + WebSocketResponseObject(request, 404, "gone").toJsonString();
        },
        [] {}, {"invalid"});
}

TEST(AllocationFailure, OfMessagesThatAreBuilt)
{
    const LogCapture silence(0);
    failEachAllocation(
        []() -> std::string {
            const std::string user = "somebody whose name is longer than what a string holds itself";
            WebSocketRequestObject request("subscribe", "/s/r?$fields=name&$limit=3", 250L, 10L, &user, true);
            request.setEvent(Poco::URI("/s/other/resource?$sortby=name"));
            WebSocketResponseObject response(request);
            response.setError(HTTPStatus::HTTP_NOT_FOUND, "a message that is longer than a string holds");
            const std::string text = response.toJsonString();
            const WebSocketResponseObject again = WebSocketResponseObject::fromJsonString(text);
            // What cannot be read for want of memory is no message.
            return again.isValid() ? compact(*request.getJson()) + again.toJsonString() : "unread";
        },
        [] {}, {"unread"});
}

TEST(AllocationFailure, OfStatusDocuments)
{
    failEachAllocation([] {
        ResponseObject document;
        document.setErrorStatus(404, "a message that is longer than what a string holds itself");
        document.getObject()->set("timestamp", 0);
        ResponseObject copy;
        copy.copyObject(document.getObject().get());
        copy.getObject()->set("timestamp", 0);
        std::ostringstream text;
        text.exceptions(std::ios::badbit);
        text << copy << &document;
        return text.str() + Zovi::getDefaultMessage(HTTPStatus::HTTP_NOT_FOUND);
    });
}

TEST(AllocationFailure, OfCopyingIntoAStatusDocumentLeavesItAsItWas)
{
    const Object::Ptr source =
        parseJson(R"({"a":"a text that is longer than a string holds itself","b":2})").extract<Object::Ptr>();
    Object::Ptr content = parseJson(R"({"c":3,"d":{"e":4}})").extract<Object::Ptr>();
    ResponseObject document(content);
    const std::string before = compact(*content);
    failEachAllocation(
        [&] {
            document.copyObject(source.get());
            return compact(*document.getObject());
        },
        [&] {
            const std::string after = compact(*content);
            ASSERT_TRUE(after == before || after == compact(*source)) << after;
            *content = Object(*parseJson(before).extract<Object::Ptr>());
        });
}

TEST(AllocationFailure, OfAttributesAndElements)
{
    failEachAllocation([] {
        AttributeContainer attributes(7);
        attributes.setValue("name", Text("a text that is longer than what fits into a string itself"));
        attributes.setValue("size", AttributeValueInteger(3));
        attributes.setValue("tags", AttributeValueStringArray{Text("a"), Text("b")});
        attributes.setValue("name", Text("another text that is longer than what fits into a string"));
        const AttributeContainer copy = AttributeContainer::deepCopy(attributes);
        return compact(*copy.toJSON(1)) + compact(*copy.toJSON({"name", "tags"}));
    });
}

TEST(AllocationFailure, OfSettingAnAttributeLeavesTheContainerAsItWas)
{
    AttributeContainer attributes(7);
    attributes.setValue("name", Text("as it was"));
    const std::string text = compact(*attributes.toJSON(0));
    failEachAllocation(
        [&] {
            AttributeContainer copy = AttributeContainer::deepCopy(attributes);
            copy.setValue("name", Text("a text that is longer than what fits into a string itself"));
            copy.setValue("other", AttributeValueInteger(3));
            return compact(*copy.toJSON(0));
        },
        [&] { ASSERT_EQ(compact(*attributes.toJSON(0)), text); });
}

TEST(AllocationFailure, OfSettingAnAttributeThatIsSharedLeavesItOrSetsIt)
{
    AttributeContainer attributes(7);
    const std::string longText = "a text that is longer than what fits into a string itself";
    const std::string newText = "another text, and one that is longer than the first of them was";
    failEachAllocation(
        [&] {
            attributes.setValue("name", Text(newText));
            return compact(*attributes.toJSON(0));
        },
        [&] {
            const std::string now = attributes.getValue<Text>("name").get();
            ASSERT_TRUE(now == longText || now == newText) << now;
            attributes.setValue("name", Text(longText));
        });
}

TEST(AllocationFailure, OfObjectsOfTheTree)
{
    const std::string uuid = "5a5a5a5a-0000-4000-8000-000000000001";
    const LogCapture silence(0); // numbers are used twice
    failEachAllocation([&uuid] {
        ElementGeneric parent(Poco::URI("/host/processes/" + uuid), "a parent with a name of some length", 3);
        ElementGeneric element("host", "processes", "init", uuid, 4);
        element.setValue<Attribute<AttributeValueInteger>>("pid", 1);
        element.setValue<Attribute<Text>>("text", Text("a text that is longer than a string holds itself"));
        element = parent.copy();
        ElementGeneric copy(element);
        const Shelf shelf(copy);
        ElementCollection elements = shelf.getElements();
        std::string text = compact(*shelf.toJSON(1));
        for (const ElementBase::Ptr& one : elements)
            text += compact(*one->toJSON(0));
        return text;
    });
}

TEST(AllocationFailure, OfReferencesAndSearchesInThem)
{
    using Reference = Zovi::Test::KeptObject<XObjectGeneric>;
    const std::string uuid = "5a5a5a5a-0000-4000-8000-000000000001";
    failEachAllocation([&uuid] {
        Poco::SharedPtr<XObjectGeneric> owner(
            new XObjectGeneric("an owner with a name of some length", uuid, "/s/r/" + uuid, INVALID_XOBJ_ID));
        owner->setValue<AttributeValueStringArray>("tags", {Text("a"), Text("a tag longer than a string")});
        XObjectGeneric object("a thing", uuid, "/s/r/" + uuid, INVALID_XOBJ_ID);
        object.setValue<Reference>("owner", owner);
        const AttributeValueBase& reference = *object.getValue("owner");
        return compact(*LevelExpansion("1").apply(object)) +
               compact(*PropertyExpansion("owner,tags").apply(object)) +
               std::to_string(AnyValueSearch("%longer%").match(reference)) +
               std::to_string(AttributeValueSearch("owner", uuid).match(reference)) +
               std::to_string(object.getValue("name")->compare(*owner->getValue("name"))) +
               std::to_string(owner->getValue("tags")->asGeneric().isArray());
    });
}

TEST(AllocationFailure, OfValuesOfEveryKind)
{
    failEachAllocation([] {
        Array array;
        array.add(Zovi::Data::Util::toJson(std::string("a text that is longer than a string holds"), 0));
        array.add(Zovi::Data::Util::toJson(Poco::UUID::dns(), 0));
        array.add(Zovi::Data::Util::toJson(Poco::URI("http://localhost/a/path?that=is#long"), 0));
        array.add(Zovi::Data::Util::toJson(std::vector<std::string>{"one", "two"}, 0));
        array.add(Zovi::Data::Util::toJson(1.5, 0));
        return compact(array);
    });
}

TEST(AllocationFailure, OfTheDescriptionOfAService)
{
    const Object::Ptr document = parseJson(R"({"name":"n","description":"d","port":80,"privileges":["a"],
        "id":"11111111-2222-3333-4444-555555555555","uri":"/n","serviceCategories":["b"],"versions":["v1"]})")
                                     .extract<Object::Ptr>();
    const LogCapture silence(0);
    failEachAllocation(
        [&]() -> std::string {
            const std::unique_ptr<MicroServiceInfo> service(MicroServiceInfo::FromJson(document));
            if (!service)
                return "none"; // for want of memory, which is in the log
            // Not copied: the register of numbers keeps an entry for each copy of an object without a number.
            return compact(*service->toJSON(0)) + service->getSpecification();
        },
        [] {}, {"none"});
}

TEST(AllocationFailure, OfDescribingAnotherService)
{
    const Poco::UUID id("11111111-2222-3333-4444-555555555555");
    MicroServiceInfo service(id, Poco::URI(), "a service with a name of some length", 80, "a description");
    const std::string text = compact(*service.toJSON(0));
    failEachAllocation(
        [&] {
            MicroServiceInfo info(static_cast<const ServiceBase&>(service));
            info.setVersions({Text("a version that is longer than what a string holds itself"), Text("2")});
            info.updateServiceId(Poco::UUID("99999999-2222-3333-4444-555555555555"));
            MicroServiceInfo taken = std::move(info);
            return compact(*taken.toJSON(0)) + taken.getSpecification() + taken.getUriString();
        },
        [&] { ASSERT_EQ(compact(*service.toJSON(0)), text); });
}

TEST(AllocationFailure, OfParsingADocument)
{
    const std::string text =
        R"({"a":[1,2,{"b":"c"}],"d":"a text that is longer than a string holds itself"})";
    failEachAllocation(
        [&] {
            Object::Ptr object;
            return Zovi::Util::JSONTools::parseJSONString(text, object) ? compact(*object) : "none";
        },
        [] {}, {"none"});
}

TEST(AllocationFailure, OfPrintingADocument)
{
    const Array::Ptr array = parseJson(COLLECTION).extract<Array::Ptr>();
    failEachAllocation([&array] {
        Zovi::Util::AccessibleStringStream stream;
        stream.exceptions(std::ios::badbit);
        Zovi::Util::JSONPrinter::print(*array, stream);
        return std::string(stream.getBuffer(), stream.size()) + Zovi::Util::JSONPrinter::toString(*array);
    });
}

TEST(AllocationFailure, OfARecordOfTheLog)
{
    failEachAllocation([] {
        const LogCapture log;
        // It may come in part, or not at all.
        ZOVI_LOG_ERROR("a record that is longer than what a string holds itself");
        return std::string();
    });
}

TEST(AllocationFailure, OfConnectingToTheRegistry)
{
    failEachAllocation([] {
        const LogCapture log;
        // There may be one, or none.
        Zovi::ServiceRegistryConnection::connect();
        return std::string();
    });
}
