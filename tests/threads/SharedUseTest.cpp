// What several threads may use at once, used by eight of them. Under the thread sanitizer this shows that
// nothing is written behind the readers' backs; without it, that all get the same answers.

#include "Command/HttpResponse.h"
#include "Command/QueryFilterJSON.h"
#include "Command/RequestBase.h"
#include "Command/ResponseObject.h"
#include "Command/UrlPath.h"
#include "Data/AttributeContainer.h"
#include "Data/AttributeValue.h"
#include "Data/ElementBase.h"
#include "HTTPEncoderDecoder.h"
#include "Http/ZoviHttpCacheHandler.h"
#include "JSONPrinter.h"
#include "JSONTools.h"
#include "LogCapture.h"
#include "Logging/LogStream.h"
#include "ServerMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::HttpResponse;
using Zovi::Command::HTTPStatus;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Command::ResponseObject;
using Zovi::Command::UrlPath;
using Zovi::Data::AttributeContainer;
using Zovi::Data::AttributeValueInteger;
using Zovi::Data::ElementGeneric;
using Zovi::Data::INVALID_XOBJ_ID;
using Zovi::Util::JSONPrinter;

namespace
{

const std::size_t THREADS = 8;
const int ROUNDS = 50;

/// Runs `work(number of the thread)` on all threads at once; none begins before the last one is there.
template <typename Work>
void onAllThreads(const Work& work)
{
    std::atomic<std::size_t> ready{0};
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < THREADS; ++number) {
        threads.emplace_back([&, number] {
            ++ready;
            while (ready < THREADS)
                std::this_thread::yield();
            work(number);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

Object::Ptr processOf(int number)
{
    Object::Ptr parent = new Object;
    parent->set("id", "parent of " + std::to_string(number));
    Object::Ptr process = new Object;
    process->set("id", std::to_string(number));
    process->set("name", number % 3 == 0 ? "watchdog" : "worker " + std::to_string(number % 7));
    process->set("threads", number % 5);
    process->set("parent", parent);
    return process;
}

Array processes()
{
    Array all;
    for (int number = 0; number < 40; ++number)
        all.add(processOf(number));
    return all;
}

std::string answerTo(const RequestBase& request)
{
    Array page;
    Object::Ptr paging;
    QueryFilterJSON::filterJSONArrayByQuery(processes(), request, page, paging);
    std::ostringstream text;
    page.stringify(text);
    if (paging)
        paging->stringify(text);
    return text.str();
}

std::string tagOf(const Object::Ptr& document)
{
    Poco::Net::HTTPResponse response;
    Zovi::Net::HTTPCacheHandler().handleRequest(Poco::Net::HTTPRequest(), response, document);
    return response.get("ETag");
}

} // namespace

TEST(SharedUse, CriteriaServeAllThreadsThatHaveACopyOfTheRequest)
{
    const std::string longPattern = "w*k?r " + std::string(40, '*');
    for (const std::string& query :
         {std::string("$sortby=-threads,name&$offset=3&$limit=5&$fields=id,name,parent[id]"),
          std::string("name=w*k*r 3&$expand=2"), std::string("$search=*watch*&$expand=parent"),
          std::string("threads=3&$sortby=parent&$limit=-4&$offset=20"), "name=" + longPattern}) {
        SCOPED_TRACE(query);
        const RequestBase request(Poco::URI("/host/processes?" + query));
        const std::string expected = answerTo(RequestBase(Poco::URI("/host/processes?" + query)));
        const std::vector<RequestBase> copies(THREADS, request);
        std::array<int, THREADS> differing{};
        onAllThreads([&](std::size_t number) {
            for (int round = 0; round < ROUNDS; ++round)
                differing[number] += answerTo(copies[number]) != expected ? 1 : 0;
        });
        EXPECT_EQ(differing, (std::array<int, THREADS>{}));
    }
}

TEST(SharedUse, StatusDocumentsOfAllThreadsMayShareTheValuesBelowTheirTopLevel)
{
    ResponseObject common;
    Object::Ptr data = processOf(1);
    common.setData(data);
    const std::string expected = JSONPrinter::toString(*data);
    std::vector<ResponseObject> copies(THREADS, common);
    std::array<int, THREADS> differing{};
    onAllThreads([&](std::size_t number) {
        ResponseObject& own = copies[number];
        for (int round = 0; round < ROUNDS; ++round) {
            own.setErrorStatus(400 + static_cast<int>(number), "refused");
            own.setStatus(ResponseObject::STATUS_OK);
            const std::string text = JSONPrinter::toString(*own.getObject());
            differing[number] += text.find(expected) == std::string::npos ? 1 : 0;
        }
    });
    EXPECT_EQ(differing, (std::array<int, THREADS>{}));
    EXPECT_EQ(common.getStatus(), ResponseObject::STATUS_OK);
    EXPECT_FALSE(common.getObject()->has(ResponseObject::FIELD_ERROR_CODE));
}

TEST(SharedUse, AttributesThatContainersShareGoFromThreadToThreadUnderALock)
{
    AttributeContainer common(INVALID_XOBJ_ID);
    common.setValue("count", AttributeValueInteger(0));
    std::vector<AttributeContainer> copies(THREADS, common);
    std::mutex mutex;
    onAllThreads([&](std::size_t number) {
        AttributeContainer& own = copies[number];
        for (int round = 0; round < ROUNDS; ++round) {
            // Holding the attribute and letting it go needs no lock, its value does.
            const Zovi::Data::AttributeBase::Ptr held = own.getAttribute("count");
            const std::lock_guard<std::mutex> lock(mutex);
            own.setValue("count",
                         AttributeValueInteger(own.getValue<AttributeValueInteger>("count").get() + 1));
        }
    });
    EXPECT_EQ(common.getValue<AttributeValueInteger>("count").get(), static_cast<int>(THREADS) * ROUNDS);
}

TEST(SharedUse, ObjectsWithoutANumberAreMadeAndRenderedOnAnyThread)
{
    const std::string uuid = "5a5a5a5a-0000-4000-8000-000000000001";
    std::array<std::string, THREADS> texts;
    onAllThreads([&](std::size_t number) {
        for (int round = 0; round < ROUNDS; ++round) {
            ElementGeneric element("host", "processes", "init", uuid, INVALID_XOBJ_ID);
            element.setValue<Zovi::Data::Attribute<AttributeValueInteger>>("pid", 1);
            texts[number] = JSONPrinter::toString(*element.toJSON(0));
        }
    });
    EXPECT_NE(texts[0].find(uuid), std::string::npos);
    EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), 1U);
}

TEST(SharedUse, AddressesAndRequestsAreReadOnAnyThread)
{
    std::array<int, THREADS> wrong{};
    onAllThreads([&](std::size_t number) {
        for (int round = 0; round < ROUNDS; ++round) {
            const UrlPath path("/host/processes/5a5a5a5a-0000-4000-8000-000000000001?$expand=1");
            const RequestBase request(path);
            wrong[number] += path.isValid() && request.getExpansionLevel() == 1 ? 0 : 1;
            wrong[number] +=
                RequestBase(Poco::URI("/host/processes?$limit=many")).getUrlPath().isValid() ? 1 : 0;
        }
    });
    EXPECT_EQ(wrong, (std::array<int, THREADS>{}));
}

TEST(SharedUse, TheCommonAnswerAndOneCacheHandlerServeAllThreads)
{
    const Zovi::Net::ZoviHttpCacheHandler cache;
    std::array<std::set<std::string>, THREADS> answers;
    onAllThreads([&](std::size_t number) {
        for (int round = 0; round < ROUNDS; ++round) {
            Zovi::Test::ServerRequest request;
            request.set("Accept-Encoding", round % 2 == 0 ? "identity" : "gzip");
            Zovi::Net::HTTPEncoderDecoder coder(request, request.response());
            const HttpResponse answer = HttpResponse::createStatusOk();
            cache.handleRequest(request, request.response(), std::string("content"));
            answer.send(request.response(), coder, round % 2 != 0);
            answers[number].insert(request.response().get("ETag") + request.response().body() +
                                   HttpResponse::createError(HTTPStatus::HTTP_NOT_FOUND, "").getMimetype());
        }
    });
    EXPECT_EQ(answers[0].size(), 2U) << "with a body and without";
    for (const auto& texts : answers)
        EXPECT_EQ(texts, answers[0]);
}

TEST(SharedUse, OneDocumentIsReadOnAnyThread)
{
    const Object::Ptr document = processOf(1);
    const std::string expected = JSONPrinter::toString(*document);
    const Poco::Dynamic::Var value = document;
    const std::string tag = tagOf(document);
    std::array<int, THREADS> differing{};
    onAllThreads([&](std::size_t number) {
        for (int round = 0; round < ROUNDS; ++round) {
            Object::Ptr parsed;
            differing[number] += Zovi::Util::JSONTools::extractJsonObject(value) != document.get() ? 1 : 0;
            differing[number] += Zovi::Util::JSONTools::parseJSONString(expected, parsed) ? 0 : 1;
            differing[number] += JSONPrinter::toString(*document) != expected ? 1 : 0;
            differing[number] += tagOf(document) != tag ? 1 : 0;
        }
    });
    EXPECT_EQ(differing, (std::array<int, THREADS>{}));
}

TEST(SharedUse, RecordsOfAllThreadsAreWhole)
{
    const Zovi::Test::LogCapture log;
    onAllThreads([](std::size_t number) {
        for (int round = 0; round < ROUNDS; ++round)
            ZOVI_LOG_ERROR("thread " << number << " tells of\nround " << round);
    });
    std::vector<std::string> expected;
    for (std::size_t number = 0; number < THREADS; ++number) {
        for (int round = 0; round < ROUNDS; ++round)
            expected.push_back("Error: thread " + std::to_string(number) + " tells of\\nround " +
                               std::to_string(round));
    }
    EXPECT_THAT(log.texts(), ::testing::UnorderedElementsAreArray(expected));
}
