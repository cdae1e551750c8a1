#include "FailingAllocations.h"

#include "Command/HttpRequest.h"
#include "Command/HttpResponse.h"
#include "Command/Query/ExpandParameter.h"
#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Command/QueryFilterJSON.h"
#include "Command/WebSocketResponseObject.h"
#include "Data/AttributeContainer.h"
#include "Data/AttributeValueArray.h"
#include "Data/ElementBase.h"
#include "HTTPCacheHandler.h"
#include "HTTPEncoderDecoder.h"
#include "JSONTools.h"
#include "JsonMatchers.h"
#include "Logging/Log.h"
#include "MicroServiceInfo.h"
#include "ServerMessages.h"

#include <Poco/StreamCopier.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

// Every allocation of an operation is made to fail in turn. Whatever it is, the operation ends in an
// exception or in the result that it promises for a failure, nothing leaks, and what it was given is as it
// was.

using Poco::JSON::Array;
using Poco::JSON::Object;
using namespace Zovi::Command;
using namespace Zovi::Data;
using Zovi::MicroServiceInfo;
using Zovi::Test::compact;
using Zovi::Test::parseJson;
using Zovi::Test::ServerRequest;
using Zovi::Test::ServerResponse;
namespace FailingAllocations = Zovi::Test::FailingAllocations;

namespace
{

using Operation = std::function<void()>;

/// What is thrown for want of memory: by the language, or by Poco on top of it.
void runAndSwallow(const Operation& operation)
{
    try {
        operation();
    } catch (const std::exception&) {
    }
}

/// Runs `operation` with its first, second, ... allocation failing, until it needs no more; `check` is asked
/// after each run.
void failEachAllocation(
    const Operation& operation, const Operation& check = [] {})
{
    operation();
    const long before = FailingAllocations::liveBlocks();
    bool hasFailed = true;
    for (long number = 1; hasFailed; ++number) {
        FailingAllocations::arm(number);
        runAndSwallow(operation);
        hasFailed = FailingAllocations::disarm();
        ASSERT_EQ(FailingAllocations::liveBlocks(), before) << "blocks leaked, allocation " << number;
        check();
    }
}

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
        const RequestBase copy(request);
        EXPECT_TRUE(copy.getUrlPath().isValid());
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
        search.match(std::string("bcb"));
        const AttributeValueSearch attribute("name", "1,2,three");
        attribute.match(Poco::Dynamic::Var(2));
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
        answer.send(request.response(), coder, false);
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
        } catch (const Poco::Exception&) {
        }
        Zovi::Net::HTTPCacheHandler().handleRequest(request, response, std::string("content"));
    });
}

TEST(AllocationFailure, OfWebSocketMessages)
{
    const Object::Ptr content = parseJson(R"({"a":1})").extract<Object::Ptr>();
    failEachAllocation([&content] {
        const WebSocketRequestObject request(
            R"({"type":"subscribe","event":"/s/r?$sortby=name","interval":100,"updatelimit":5})");
        WebSocketResponseObject response(request);
        const ResponseObject state(content);
        response.setData(&state);
        response.toJsonString();
        WebSocketResponseObject(request, 404, "gone").toJsonString();
    });
}

TEST(AllocationFailure, OfAttributesAndElements)
{
    using Text = AttributeValueStringable<std::string>;
    failEachAllocation([] {
        AttributeContainer attributes(7);
        attributes.setValue("name", Text("a text that is longer than what fits into a string itself"));
        attributes.setValue("size", AttributeValueInteger(3));
        attributes.setValue("tags", AttributeValueStringArray{Text("a"), Text("b")});
        attributes.setValue("name", Text("another text that is longer than what fits into a string"));
        const AttributeContainer copy = AttributeContainer::deepCopy(attributes);
        copy.toJSON(1);
        copy.toJSON({"name", "tags"});
    });
}

TEST(AllocationFailure, OfSettingAnAttributeLeavesTheContainerAsItWas)
{
    using Text = AttributeValueStringable<std::string>;
    AttributeContainer attributes(7);
    attributes.setValue("name", Text("as it was"));
    const std::string text = compact(*attributes.toJSON(0));
    failEachAllocation(
        [&] {
            AttributeContainer copy = AttributeContainer::deepCopy(attributes);
            copy.setValue("name", Text("a text that is longer than what fits into a string itself"));
            copy.setValue("other", AttributeValueInteger(3));
        },
        [&] { ASSERT_EQ(compact(*attributes.toJSON(0)), text); });
}

TEST(AllocationFailure, OfTheDescriptionOfAService)
{
    const Object::Ptr document = parseJson(R"({"name":"n","description":"d","port":80,"privileges":["a"],
        "id":"11111111-2222-3333-4444-555555555555","uri":"/n","serviceCategories":["b"],"versions":["v1"]})")
                                     .extract<Object::Ptr>();
    Logging::Log::Logger().setLevel(0);
    failEachAllocation([&] {
        const std::unique_ptr<MicroServiceInfo> service(MicroServiceInfo::FromJson(document));
        if (!service)
            return; // for want of memory, which is in the log
        // Not copied: the register of numbers keeps an entry for each copy of an object without a number.
        service->toJSON(0);
        service->getSpecification();
    });
}

TEST(AllocationFailure, OfParsingADocument)
{
    const std::string text =
        R"({"a":[1,2,{"b":"c"}],"d":"a text that is longer than a string holds itself"})";
    failEachAllocation([&] {
        Object::Ptr object;
        Zovi::Util::JSONTools::parseJSONString(text, object);
    });
}
