#include "Live/SubscriptionProtocol.h"

#include "Live/SubscriptionCheck.h"

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "Shelf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Zovi::Test::IsJson;
using Zovi::Test::LogCapture;

namespace
{

constexpr ConnectionId ANNE = 1;
constexpr ConnectionId BERT = 2;

const std::string SHELF = "/shop/shelf";

const std::string BAD_EXPANSION =
    "Expand is only allowed on elements with the maximum expand level 3. For service or resource the expand "
    "is restricted to level 0.";

/// The text of a frame of a server's.
std::string textOf(const SharedFrame& frame)
{
    if (!frame)
        return "dropped";
    const auto length = static_cast<unsigned char>((*frame)[1]);
    return frame->substr(length == 127 ? 10 : length == 126 ? 4 : 2);
}

std::string message(const std::string& type, const std::string& event)
{
    return R"({"type":")" + type + R"(","event":")" + event + "\"}";
}

std::string subscribe(const std::string& event)
{
    return message("subscribe", event);
}

std::string acknowledgement(const std::string& type, const std::string& event = SHELF)
{
    return R"({"event":")" + event + R"(","status":"ok","type":")" + type + "\"}";
}

std::string error(int code, const std::string& event, const std::string& text)
{
    return R"({"code":)" + std::to_string(code) + R"(,"event":")" + event + R"(","message":")" + text +
           R"(","type":"error"})";
}

class SubscriptionProtocolTest : public ::testing::Test
{
protected:
    std::vector<std::string> receive(const std::string& text, ConnectionId connection = ANNE)
    {
        return textsFor(connection, protocol.receive(connection, text));
    }

    /// What `connection` is told after all that is due was evaluated.
    std::vector<std::string> evaluate(ConnectionId connection = ANNE)
    {
        std::vector<std::string> texts;
        for (const Evaluation& evaluation : protocol.subscriptions().takeDue(now)) {
            for (std::string& text :
                 textsFor(connection, protocol.finish(ServiceKit::evaluate(evaluation, reader), now)))
                texts.push_back(std::move(text));
        }
        return texts;
    }

    static std::vector<std::string> textsFor(ConnectionId connection,
                                             const SubscriptionProtocol::Messages& messages)
    {
        std::vector<std::string> texts;
        for (const OutgoingMessage& outgoing : messages) {
            if (outgoing.connection == connection)
                texts.push_back(textOf(outgoing.frame));
        }
        return texts;
    }

    Zovi::Test::Shop shop;
    TreeReader reader{*shop.tree};
    LiveOptions options;
    ExchangeOptions exchangeOptions;
    SubscriptionProtocol protocol{*shop.tree, options, exchangeOptions};
    Subscriptions::Time now{std::chrono::hours(100)};
};

} // namespace

TEST_F(SubscriptionProtocolTest, AcknowledgesWhenTheStateIsKnown)
{
    EXPECT_THAT(receive(subscribe("/id")), IsEmpty());
    const std::vector<std::string> texts = evaluate();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0], acknowledgement("subscribe", "/id"));
    EXPECT_THAT(texts[1], ::testing::MatchesRegex(
                              R"(\{"data":\{"id":"[-0-9]+"\},"event":"/id","status":"ok","timestamp":[0-9]+,)"
                              R"("type":"data"\})"));
}

TEST_F(SubscriptionProtocolTest, RefusesWhatIsNoRequest)
{
    const std::string noData = error(400, "", "No data");
    const std::string badSubscription = error(400, "", "Bad subscription.");
    const std::string badShelf = error(400, SHELF, "Bad subscription.");
    const struct {
        std::string text;
        std::string answer;
        std::string logged;
    } rows[] = {
        {"", noData, "No data (not a JSON object with members)"},
        {"garbage", noData, "No data (not a JSON object with members)"},
        {"{}", noData, "No data (not a JSON object with members)"},
        {"[1]", noData, "No data (not a JSON object with members)"},
        {"5", noData, "No data (not a JSON object with members)"},
        {R"({"event":"/shop/shelf"})", badSubscription,
         "Bad subscription. (a key is missing or of the wrong type)"},
        {R"({"type":"subscribe"})", badSubscription,
         "Bad subscription. (a key is missing or of the wrong type)"},
        {R"({"type":"subscribe","event":"/shop/shelf","interval":"1"})", badShelf,
         "Bad subscription. (a key is missing or of the wrong type)"},
        {R"({"type":"subscribe","event":"/shop/shelf","updatelimit":1.5})", badShelf,
         "Bad subscription. (a key is missing or of the wrong type)"},
        {R"({"type":"subscribe","event":"/shop/shelf","autosubscribe":"yes"})", badShelf,
         "Bad subscription. (a key is missing or of the wrong type)"},
        {R"({"type":"subscribe","event":"/shop/shelf","interval":-1})", badShelf,
         "Bad subscription. (a time is negative)"},
        {R"({"type":"subscribe","event":"/shop/shelf","updatelimit":-1})", badShelf,
         "Bad subscription. (a time is negative)"},
        {R"({"type":"publish","event":"/shop/shelf"})", badShelf, "Bad subscription. (unknown type publish)"},
        {R"({"type":"data","event":"/shop/shelf"})", error(400, SHELF, "No data"),
         "No data (a data message)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const LogCapture log;
        EXPECT_THAT(receive(row.text), ElementsAre(row.answer));
        EXPECT_THAT(log.texts(), ElementsAre("Warning: " + row.logged));
    }
    EXPECT_EQ(protocol.subscriptions().count(), 0u);
}

TEST_F(SubscriptionProtocolTest, TakesNoData)
{
    EXPECT_THAT(receive(R"({"type":"data","event":"/shop/shelf","data":{"level":1}})"),
                ElementsAre(error(405, SHELF, "data are taken over HTTP alone")));
}

TEST_F(SubscriptionProtocolTest, RefusesEventsThatNameNothing)
{
    const std::string noAddress = "not an address of a service, resource or element: ";
    const struct {
        std::string event;
        std::string message;
    } rows[] = {
        {"/shop/nothing", "'shop' has no resource 'nothing'"},
        {"/nothing", "no service is called 'nothing'"},
        {"/shop/shelf/17", noAddress + "'/shop/shelf/17'"},
        {"/shop/shelf/17?$limit=1", noAddress + "'/shop/shelf/17?$limit=1'"},
        {"//localhost/shop/shelf", noAddress + "'//localhost/shop/shelf'"},
        {"/cdn/window/index.html", noAddress + "'/cdn/window/index.html'"},
        {"http://localhost/shop/shelf?level=1",
         "an event has neither scheme nor host: 'http://localhost/shop/shelf?level=1'"},
        {"shop:/shop/shelf", "an event has neither scheme nor host: 'shop:/shop/shelf'"},
        {"/shop/shelf?$limit=0#x", "an event has no fragment: '/shop/shelf?$limit=0#x'"},
        {"shop/shelf", "an event begins with a slash: 'shop/shelf'"},
        {"?$limit=1", "an event begins with a slash: '?$limit=1'"},
        {"", "an event begins with a slash: ''"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.event);
        EXPECT_THAT(receive(subscribe(row.event)), ElementsAre(error(404, row.event, row.message)));
    }
}

TEST_F(SubscriptionProtocolTest, QuotesARefusedEventAsItCame)
{
    EXPECT_THAT(
        receive(subscribe("/%73hop/shelf/a%20b")),
        ElementsAre(error(404, "/shop/shelf/a%20b",
                          "not an address of a service, resource or element: '/%73hop/shelf/a%20b'")));
}

TEST_F(SubscriptionProtocolTest, GivesBackTheEventWithItsQueryAsItCameAndItsPathPlain)
{
    const std::pair<std::string, std::string> rows[] = {
        {SHELF + "?$fields=level", SHELF + "?$fields=level"},
        {SHELF + "?%24fields=level", SHELF + "?%24fields=level"},
        {SHELF + "?level=%61+b c", SHELF + "?level=%61+b c"},
        {"/shop//shelf/", "/shop//shelf/"},
        {"/shop/%73helf?level=%31", SHELF + "?level=%31"},
        {SHELF + "?", SHELF},
        {SHELF + "#", SHELF},
    };
    for (const auto& [sent, given] : rows) {
        SCOPED_TRACE(sent);
        receive(subscribe(sent));
        EXPECT_THAT(evaluate(), ::testing::Contains(acknowledgement("subscribe", given)));
    }
}

TEST_F(SubscriptionProtocolTest, RefusesQueriesThatMakeNoSense)
{
    const struct {
        std::string query;
        std::string message;
    } rows[] = {
        {"$limit=x", "parameter '$limit' is 'x', expected a number of elements, which runs backward if "
                     "negative, or 0 for the total alone"},
        {"level=(%25",
         "parameter 'level' is '(%', expected texts separated by commas, % for any text; a regular "
         "expression in them must be well-formed"},
        {"level=%zz", "malformed query: 'level=%zz'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.query);
        const std::string event = SHELF + "?" + row.query;
        EXPECT_THAT(receive(subscribe(event)), ElementsAre(error(400, event, row.message)));
    }
}

TEST_F(SubscriptionProtocolTest, BoundsAnEventAsAUrlIsBounded)
{
    exchangeOptions.maxUrlLength = 20;
    exchangeOptions.maxQueryEntries = 2;
    const std::string longEvent = "/shop/shelf?level=123";
    EXPECT_THAT(receive(subscribe(longEvent)),
                ElementsAre(error(414, longEvent, "an event may have 20 bytes at most")));
    const std::string manyEntries = SHELF + "?a=1,2,3";
    EXPECT_THAT(receive(subscribe(manyEntries)),
                ElementsAre(error(400, manyEntries,
                                  "parameter 'a' is too long or one too many: a query may have 2 parameters "
                                  "and entries of their lists at most")));
    EXPECT_THAT(receive(subscribe(SHELF + "?a=1,2")), IsEmpty());
}

TEST_F(SubscriptionProtocolTest, ExpandsElementsAlone)
{
    const std::string jar = shop.shelf->addressOf(1);
    for (const std::string& event : {SHELF + "?$expand=1", SHELF + "?$expand=4", SHELF + "?$expand=parent",
                                     std::string("/?$expand=1"), std::string("/shop?$expand=1"),
                                     jar + "?$expand=4", jar + "?$expand=-1", jar + "?$limit=x&$expand=4"}) {
        SCOPED_TRACE(event);
        const LogCapture log;
        EXPECT_THAT(receive(subscribe(event)), ElementsAre(error(400, event, BAD_EXPANSION)));
        EXPECT_THAT(log.texts(), ElementsAre("Warning: " + BAD_EXPANSION + " (" + event + ")"));
    }
    for (const std::string& event : {SHELF + "?$expand=0", std::string("/shop?$expand=0"), jar + "?$expand=3",
                                     jar + "?$expand=parent"}) {
        SCOPED_TRACE(event);
        EXPECT_THAT(receive(subscribe(event)), IsEmpty());
    }
    const std::string specification = SHELF + "/spec?$expand=0";
    EXPECT_THAT(receive(subscribe(specification)),
                ElementsAre(error(400, specification, "this address takes no query: '$expand=0'")));
}

TEST_F(SubscriptionProtocolTest, AnswersUnsubscribe)
{
    const LogCapture log;
    const std::string refusal = error(404, SHELF, "There was no subscription to unsubscribe.");
    EXPECT_THAT(receive(message("unsubscribe", SHELF)), ElementsAre(refusal));
    EXPECT_THAT(log.texts(), ElementsAre("Warning: There was no subscription to unsubscribe. /shop/shelf"));
    receive(subscribe(SHELF));
    evaluate();
    EXPECT_THAT(receive(message("unsubscribe", SHELF), BERT), ElementsAre(refusal));
    EXPECT_THAT(receive(message("unsubscribe", SHELF)),
                ElementsAre("dropped", acknowledgement("unsubscribe")));
    EXPECT_THAT(receive(message("unsubscribe", SHELF)), ElementsAre(refusal));
}

TEST_F(SubscriptionProtocolTest, AcknowledgesBothWhenItIsUnsubscribedBeforeTheStateIsKnown)
{
    receive(subscribe(SHELF));
    EXPECT_THAT(receive(message("unsubscribe", SHELF)),
                ElementsAre("dropped", acknowledgement("subscribe"), acknowledgement("unsubscribe")));
    EXPECT_THAT(evaluate(), IsEmpty());
}

TEST_F(SubscriptionProtocolTest, RefusesAnElementThatIsNotThereInPlaceOfTheAcknowledgement)
{
    const std::string jar = shop.shelf->addressOf(9);
    EXPECT_THAT(receive(subscribe(jar)), IsEmpty());
    EXPECT_THAT(evaluate(), ElementsAre(error(404, jar,
                                              "/shop/shelf has no element "
                                              "'aaaaaaaa-0000-0000-0000-000000000009'")));
    EXPECT_EQ(protocol.subscriptions().count(), 0u);
}

TEST_F(SubscriptionProtocolTest, TellsWhatIsGoneAndDropsItsLastState)
{
    const std::string jar = shop.shelf->addressOf(1);
    receive(subscribe(jar));
    evaluate();
    shop.shelf->takeAway(1);
    protocol.subscriptions().markChanged(*shop.shelf);
    now += 1s;
    EXPECT_THAT(evaluate(), ElementsAre("dropped", error(410, jar, "element has gone")));
}

TEST_F(SubscriptionProtocolTest, LimitsSubscriptions)
{
    options.maxSubscriptionsPerConnection = 1;
    options.maxSubscriptions = 2;
    EXPECT_THAT(receive(subscribe("/id")), IsEmpty());
    EXPECT_THAT(receive(subscribe("/id")), IsEmpty()) << "it has that one";
    EXPECT_THAT(receive(subscribe("/")),
                ElementsAre(error(503, "/", "a connection may have 1 subscriptions at most")));
    EXPECT_THAT(receive(subscribe("/"), BERT), IsEmpty());
    EXPECT_THAT(receive(subscribe("/"), 3),
                ElementsAre(error(503, "/", "there are 2 subscriptions, no more are taken")));
    protocol.removeConnection(ANNE);
    EXPECT_THAT(receive(subscribe("/"), 3), IsEmpty());
}

TEST_F(SubscriptionProtocolTest, LimitsRequestsThatWaitForTheirAnswer)
{
    for (int i = 0; i < 32; ++i)
        EXPECT_THAT(receive(subscribe("/id")), IsEmpty()) << i;
    EXPECT_THAT(receive(subscribe("/id")),
                ElementsAre(error(503, "/id", "32 requests for this event are not answered yet")));
    EXPECT_THAT(receive(subscribe("/")), IsEmpty()) << "another event";
    EXPECT_THAT(receive(subscribe("/id"), BERT), IsEmpty()) << "another client";
    EXPECT_EQ(evaluate().size(), 32u + 1 + 2) << "each request is acknowledged, and two states are told";
    EXPECT_THAT(receive(subscribe("/id")), IsEmpty());
}

TEST_F(SubscriptionProtocolTest, SharesOneFrameAmongAllSubscribers)
{
    protocol.receive(ANNE, subscribe("/id"));
    protocol.receive(BERT, subscribe("/id"));
    const Evaluation evaluation = protocol.subscriptions().takeDue(now).front();
    const SubscriptionProtocol::Messages messages =
        protocol.finish(ServiceKit::evaluate(evaluation, reader), now);
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[1].frame, messages[3].frame);
    EXPECT_TRUE(messages[1].isState);
    EXPECT_EQ(messages[1].event, "/id");
}

TEST_F(SubscriptionProtocolTest, TakesTimesAsFarAsTheyAreAllowed)
{
    options.shortestInterval = 100ms;
    const struct {
        std::string times;
        std::chrono::milliseconds interval;
        std::chrono::milliseconds updateLimit;
    } rows[] = {
        {"", 0ms, 30ms},
        {R"(,"updatelimit":0)", 0ms, 0ms},
        {R"(,"updatelimit":50)", 0ms, 50ms},
        {R"(,"interval":0)", 0ms, 30ms},
        {R"(,"interval":1)", 100ms, 30ms},
        {R"(,"interval":250)", 250ms, 30ms},
        {R"(,"interval":250,"updatelimit":1000)", 1000ms, 1000ms},
        {R"(,"interval":9223372036854775807,"updatelimit":9223372036854775807)", 8760h, 8760h},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.times);
        const Command::WebSocketRequestObject request(R"({"type":"subscribe","event":"/id")" + row.times +
                                                      "}");
        const SubscriptionTerms terms = termsOf(request, options);
        EXPECT_EQ(terms.interval, row.interval);
        EXPECT_EQ(terms.updateLimit, row.updateLimit);
    }
}

TEST_F(SubscriptionProtocolTest, PollsWhereNobodyTellsOfChanges)
{
    const std::string jar = shop.shelf->addressOf(1);
    const struct {
        std::string event;
        const Resource* resource;
        bool isPolled;
    } rows[] = {
        {"/", nullptr, true},
        {"/shop", nullptr, true},
        {"/shop/accessrights", nullptr, true},
        {"/shop/cellar", nullptr, true},
        {SHELF, shop.shelf.get(), false},
        {SHELF + "?level=2", shop.shelf.get(), false},
        {jar, shop.shelf.get(), false},
        {jar + "?$expand=1", shop.shelf.get(), true},
        {jar + "?$expand=parent", shop.shelf.get(), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.event);
        const ChangeSource source =
            changeSourceOf(Command::WebSocketRequestObject(subscribe(row.event)), *shop.tree);
        EXPECT_EQ(source.resource, row.resource);
        EXPECT_EQ(source.isPolled, row.isPolled);
    }
}

} // namespace Zovi::ServiceKit
