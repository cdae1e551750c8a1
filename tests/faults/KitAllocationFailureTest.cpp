#include "FailEachAllocation.h"

#include "ClientFrames.h"
#include "Gzip.h"
#include "JSONPrinter.h"
#include "Live/EvaluationThreads.h"
#include "Live/Frame.h"
#include "Live/LiveConnection.h"
#include "Live/SendQueue.h"
#include "Live/SubscriptionProtocol.h"
#include "LiveClient.h"
#include "Lobby.h"
#include "LogCapture.h"
#include "OpenConnections.h"
#include "OwnHosts.h"
#include "SampleTree.h"
#include "ServerMessages.h"
#include "ServiceKit/Body.h"
#include "ServiceKit/ElementReference.h"
#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/HttpServer.h"
#include "ServiceKit/ResourceReference.h"
#include "ServiceKit/Text.h"
#include "ServiceKit/TreeReader.h"
#include "ServiceKit/Values.h"
#include "Shelf.h"
#include "SocketPair.h"

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Every allocation of an operation of the kit is made to fail in turn. The operation ends in std::bad_alloc,
// in an error document that is whole, or as if nothing had failed; nothing leaks, what it was given is as it
// was, and the same operation works afterwards.

namespace Zovi::ServiceKit
{

namespace
{

namespace FailingAllocations = Test::FailingAllocations;
using Poco::JSON::Object;
using Test::APPLE_ID;
using Test::Arrival;
using Test::Basket;
using Test::clientClose;
using Test::ClientFrame;
using Test::clientText;
using Test::failEachAllocation;
using Test::gunzip;
using Test::gzip;
using Test::LogCapture;
using Test::makePuppet;
using Test::makeSampleTree;
using Test::ROOT_ID;
using Test::ServerRequest;
using Test::ServerResponse;
using Test::Shelf;
using Test::Shop;
using ::testing::StartsWith;

const std::string LONG = "a text that is longer than what a string holds itself";

/// As it is written, or not at all.
template <typename Json>
std::string compact(const Json& json)
{
    return Util::JSONPrinter::toString(json);
}

/// A document without its time.
std::string withoutTime(std::string document)
{
    const std::string key = "\"timestamp\":";
    const std::size_t begin = document.find(key);
    if (begin != std::string::npos)
        document.erase(begin, document.find_first_not_of("0123456789", begin + key.size()) - begin);
    return document;
}

std::string textOf(const Command::HttpResponse& response)
{
    return std::to_string(response.getStatus()) + " " +
           (response.hasJsonContent() ? withoutTime(compact(*response.getJson())) : response.getText());
}

/// Where memory is wanting, a body is told from one that is no JSON as little as any other text is.
const std::string UNREADABLE_BODY =
    R"(400 {"code":400,"message":"the body must be a JSON object","status":"error"})";

/// What `read` gives, or the answer by which it is refused.
std::string refusalOf(const std::function<std::string()>& read)
{
    try {
        return read();
    } catch (const RequestError& refusal) {
        return textOf(refusal.toResponse());
    }
}

std::string namesOf(const Service& service)
{
    std::string names;
    for (const auto& resource : service.resources())
        names += resource->reference().name + " ";
    return names + compact(*service.info().toJSON(0));
}

} // namespace

TEST(KitAllocationFailure, OfBuildingATree)
{
    failEachAllocation([] {
        const auto tree = makeSampleTree();
        return namesOf(*tree->services().front()) + tree->root().uri;
    });
}

TEST(KitAllocationFailure, OfAddingToAServiceLeavesItAsItWas)
{
    failEachAllocation([] {
        Service shop(rootReference(ROOT_ID).child("shop"), "Sells fruit.");
        shop.add(std::make_shared<Basket>(shop.reference()));
        const std::string before = namesOf(shop);
        try {
            shop.add(std::make_shared<Shelf>(shop.reference(), false));
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(namesOf(shop), before);
            shop.add(std::make_shared<Shelf>(shop.reference(), false));
        }
        return namesOf(shop);
    });
}

TEST(KitAllocationFailure, OfAddingToATreeLeavesItAsItWas)
{
    failEachAllocation([] {
        ServiceTree tree(ROOT_ID);
        const auto shop = std::make_shared<Service>(tree.root().child("shop"), "Sells fruit.");
        const auto folder = std::make_shared<StaticFolder>("window");
        try {
            tree.add(shop);
            tree.add(folder);
            folder->add("a_file_with_a_longer_name.html", LONG);
        } catch (const std::bad_alloc&) {
            if (tree.services().empty())
                tree.add(shop);
            if (!folder->find("a_file_with_a_longer_name.html"))
                folder->add("a_file_with_a_longer_name.html", LONG);
        }
        return std::to_string(tree.services().size()) +
               folder->find("a_file_with_a_longer_name.html")->content;
    });
}

TEST(KitAllocationFailure, OfASpecification)
{
    failEachAllocation([] {
        return compact(*makeSpecification(
            "baskets", LONG, {{"weight", "integer", "kg", LONG, true, true}, {"text", "text", "", LONG}}));
    });
}

TEST(KitAllocationFailure, OfReferencesAndIds)
{
    failEachAllocation([] {
        const Reference resource = rootReference(ROOT_ID).child("shop").child("a_basket_with_a_longer_name");
        const Reference element = resource.element(nameBasedId(resource.id, LONG), LONG);
        Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
        element.identify(object);
        return compact(*object.toJSON(0)) + parseId(element.id.toString())->toString() +
               std::to_string(parseId("no id").has_value());
    });
}

TEST(KitAllocationFailure, OfAttributesThatRefer)
{
    const auto basket = std::make_shared<Basket>(rootReference(ROOT_ID).child("shop"));
    failEachAllocation([&basket] {
        auto element = basket->makeElement(basket->idOf(LONG), LONG);
        element->setValue<ElementReference>("fruit", ElementLink(*basket, APPLE_ID, LONG));
        element->setValue<ResourceReference>("basket", basket);
        return compact(*element->toJSON(0)) + compact(*element->toJSON(1));
    });
}

TEST(KitAllocationFailure, OfALinkLeavesItAbleToFindTheElement)
{
    const Basket basket(rootReference(ROOT_ID).child("shop"));
    const ElementReference reference(ElementLink(basket, APPLE_ID, LONG));
    failEachAllocation([&reference] {
        const ElementReference copy(reference);
        return compact(*copy.toJSON(0).extract<Object::Ptr>());
    });
}

TEST(KitAllocationFailure, OfValues)
{
    failEachAllocation([] {
        Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
        object.setValue<Text>("text", LONG);
        object.setValue<TextList>("list", {LONG, "b"});
        object.setValue<Integer>("integer", 3);
        object.setValue<Number>("number", 1.5);
        object.setValue<Flag>("flag", true);
        object.setValue<Counter>("counter", 4U);
        return compact(*object.toJSON(0));
    });
}

TEST(KitAllocationFailure, OfReadingABody)
{
    const Basket basket(rootReference(ROOT_ID).child("shop"));
    const std::string json = R"({"text":")" + LONG + R"(","list":[")" + LONG +
                             R"("],"integer":3,"number":1.5,)" + R"("flag":true,"fruit":{"id":")" +
                             APPLE_ID.toString() + "\"}}";
    failEachAllocation(
        [&] {
            return refusalOf([&] {
                Body body(json);
                const std::string text = body.text("text", 100) + body.texts("list", 1, 100).front();
                const std::string numbers =
                    std::to_string(body.integer("integer", 0, 9)) + std::to_string(body.number("number"));
                const std::string others =
                    std::to_string(body.flag("flag")) + body.reference("fruit", basket).toString();
                body.refuseOthers();
                return text + numbers + others;
            });
        },
        [] {}, {UNREADABLE_BODY});
}

TEST(KitAllocationFailure, OfRefusingABody)
{
    failEachAllocation(
        [] {
            return refusalOf([] {
                Body body(R"({"a member with a longer name than usual":1})");
                body.has("one that is known");
                body.refuseOthers();
                return std::string("accepted");
            });
        },
        [] {}, {UNREADABLE_BODY});
}

TEST(KitAllocationFailure, OfErrorDocuments)
{
    failEachAllocation([] {
        const RequestError error(Command::HTTPStatus::HTTP_CONFLICT, LONG);
        const MethodNotAllowed refusal(LONG, MethodSet::readOnly().toHeader());
        const Basket basket(rootReference(ROOT_ID).child("shop"));
        const Command::UrlPath path("/shop/basket/no-id");
        return textOf(error.toResponse()) + textOf(refusal.toResponse()) + refusal.allowed() +
               textOf(basket.absence(path).toResponse());
    });
}

TEST(KitAllocationFailure, OfTexts)
{
    failEachAllocation([] { return inQuotes(LONG + "\xFF\n" + LONG) + toValidUtf8(LONG + "\xFF" + LONG); });
}

TEST(KitAllocationFailure, OfOwnHostsAndOrigins)
{
    failEachAllocation([] {
        const std::vector<std::string> names{"panel.with-a-name-of-some-length.example"};
        const Poco::Net::IPAddress address("127.0.0.1");
        std::string text;
        for (const std::string host : {"PANEL.with-a-name-of-some-length.example:8080", "127.0.0.1:80",
                                       "[::ffff:127.0.0.1]:80", "[::1"}) {
            const std::optional<std::string> name = hostOf(host);
            text += name ? *name + std::to_string(isOwnHost(*name, names, address)) : "none";
            text += std::to_string(isOwnOrigin("http://" + host, host, {"https://" + LONG}));
        }
        return text + std::to_string(toPort("8080"));
    });
}

TEST(KitAllocationFailure, OfReadingATree)
{
    const auto tree = makeSampleTree([] { return Data::ElementCollection{makePuppet(LONG)}; });
    const std::string addresses[] = {
        "/",
        "/id",
        "/shop",
        "/shop/id",
        "/shop/spec",
        "/shop/accessrights",
        "/shop/basket/spec",
        "/shop/puppet?$q=%25text%25,none&$sortby=-name,id&$offset=0&$limit=1&$fields=name,uri&$expand=0",
        "/shop/basket/" + APPLE_ID.toString() + "?$fields=name&$expand=1",
    };
    for (const std::string& address : addresses) {
        SCOPED_TRACE(address);
        failEachAllocation([&] {
            const Command::RequestBase request{Poco::URI(address)};
            return textOf(TreeReader(*tree).read(request));
        });
    }
}

TEST(KitAllocationFailure, OfTellingOfAChangeLeavesTheListenersAsTheyWere)
{
    struct Listener : ChangeListener {
        void onChanged(const Resource&) override { ++changes; }
        int changes = 0;
    };
    failEachAllocation([] {
        Shelf shelf(rootReference(ROOT_ID).child("shop"), true);
        const auto listener = std::make_shared<Listener>();
        shelf.addChangeListener(listener);
        shelf.addChangeListener(std::make_shared<Listener>());
        shelf.put(1, 1);
        return std::to_string(listener->changes);
    });
}

namespace
{

const std::string APPLE = "/shop/basket/" + APPLE_ID.toString();

using Headers = std::vector<std::pair<std::string, std::string>>;

/// What the client is sent: status, the headers that matter and the body, decoded and without its time. The
/// exception if the connection is closed instead.
std::string exchange(const ServiceTree& tree, const std::string& method, const std::string& url,
                     const Headers& headers = {}, const std::string& body = "")
{
    static const ExchangeOptions OPTIONS;
    ServerRequest request(method, url, body);
    request.set("Host", "localhost");
    if (!body.empty())
        request.setContentLength(static_cast<std::streamsize>(body.size()));
    for (const auto& [name, value] : headers)
        request.set(name, value);
    ExchangeHandler(tree, OPTIONS, [] { return true; }).handleRequest(request, request.response());
    ServerResponse& response = request.response();
    // The stream that stands for the connection keeps its failure to itself.
    if (!response.send())
        throw std::bad_alloc();
    std::string text = std::to_string(response.getStatus()) + " ";
    for (const char* header : {"ETag", "Location", "Sec-WebSocket-Accept"}) {
        if (response.has(header))
            text += header + (": " + response.get(header)) + " ";
    }
    const bool isCoded = response.get("Content-Encoding", "") == "gzip";
    return text + withoutTime(isCoded ? gunzip(response.body()) : response.body());
}

/// The answer to a request that could not be fulfilled.
const std::string FAILURE =
    textOf(Command::HttpResponse::createError(Command::HTTPStatus::HTTP_INTERNAL_SERVER_ERROR, ""));

} // namespace

TEST(KitAllocationFailure, OfAnExchangeEndsInItsAnswerOrInAWholeDocumentThatSaysSo)
{
    const LogCapture silence(0);
    const auto tree = makeSampleTree([] { return Data::ElementCollection{makePuppet(LONG)}; });
    const Headers none;
    const struct {
        std::string method;
        std::string url;
        Headers headers;
        std::string body;
        std::string expected; ///< the beginning of the answer
    } rows[] = {
        {"GET", "/shop/puppet?$q=%25text%25&$sortby=-name&$limit=1&$fields=name&$expand=0", none, "",
         "200 E"},
        {"GET", APPLE, {{"Accept-Encoding", "gzip"}}, "", "200 E"},
        {"GET", APPLE, {{"If-None-Match", "*"}}, "", "304 E"},
        {"HEAD", "/shop", none, "", "200 E"},
        {"GET", "/cdn/window/index.html", none, "", "200 E"},
        {"POST", "/shop/basket", none, LONG, "200 "},
        {"POST", "/shop/basket", {{"Content-Encoding", "gzip"}}, gzip(LONG), "200 "},
        {"PUT", APPLE, {{"Origin", "http://localhost"}}, LONG, "200 "},
        {"DELETE", APPLE, none, "", "200 "},
        {"GET", "/shop/nothing-with-a-name-of-some-length", none, "", "404 "},
        {"PUT", "/shop", none, LONG, "405 "},
        {"GET", "/", {{"Host", "somebody-else-with-a-longer-name.example"}}, "", "421 "},
        {"PUT", APPLE, {{"Origin", "http://somebody-else.example"}}, LONG, "403 "},
        {"GET", "/shop?$limit=a_text_in_place_of_a_number", none, "", "400 "},
        {"POST", "/shop/basket", {{"Content-Encoding", "an-unknown-content-coding"}}, LONG, "415 "},
        {"GET",
         "/",
         {{"Upgrade", "websocket"},
          {"Connection", "Upgrade"},
          {"Sec-WebSocket-Version", "13"},
          {"Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25jZQ=="}},
         "",
         "101 S"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method + " " + row.url);
        const auto ask = [&] {
            return exchange(*tree, row.method, row.url, row.headers, row.body);
        };
        EXPECT_THAT(ask(), StartsWith(row.expected));
        // The answer to a HEAD has no body.
        failEachAllocation(ask, [] {}, {row.method == "HEAD" ? "500 " : FAILURE});
    }
}

namespace
{

/// What the frames carry that `bytes` are: "<kind> <payload>" each.
std::string read(FrameReader& reader, std::string_view bytes)
{
    std::string text;
    while (const std::optional<FrameEvent> event = reader.read(bytes))
        text += std::to_string(static_cast<int>(event->kind)) + " " + event->payload + " ";
    return text;
}

SharedFrame share(const std::string& text)
{
    return std::make_shared<const std::string>(text);
}

std::string takeAll(SendQueue& queue)
{
    std::string text;
    while (!queue.isEmpty()) {
        text += std::string(queue.front()) + " ";
        queue.advance(queue.front().size());
    }
    return text;
}

} // namespace

TEST(KitAllocationFailure, OfReadingAndWritingFrames)
{
    const std::string bytes = ClientFrame{0x1, LONG, false}.bytes() + ClientFrame{0x9, LONG}.bytes() +
                              ClientFrame{0x0, LONG}.bytes() + clientText(LONG) + clientClose(1000, LONG);
    failEachAllocation([&bytes] {
        FrameReader reader(1024);
        return read(reader, bytes) + makeFrame(Opcode::PONG, LONG) + makeCloseFrame(1000);
    });
}

TEST(KitAllocationFailure, OfQueueingLeavesTheQueueAsItWas)
{
    failEachAllocation([] {
        SendQueue queue;
        queue.push(share("first"));
        queue.pushState("/shop/shelf?with=a_name_of_some_length", share("old"));
        queue.advance(2);
        std::size_t replies = queue.replies();
        std::size_t bytes = queue.bytes();
        try {
            queue.push(share(LONG));
            replies = queue.replies();
            bytes = queue.bytes();
            queue.pushState("/shop/cellar?with=a_name_of_some_length", share(LONG));
            bytes = queue.bytes();
            queue.pushPong(share(LONG));
            bytes = queue.bytes();
            queue.pushState("/shop/shelf?with=a_name_of_some_length", share("new"));
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(queue.replies(), replies);
            EXPECT_EQ(queue.bytes(), bytes);
            EXPECT_EQ(takeAll(queue).substr(0, 8), "rst old ");
            throw;
        }
        queue.dropState("/shop/cellar?with=a_name_of_some_length");
        return takeAll(queue);
    });
}

TEST(KitAllocationFailure, OfAConnectionLeavesItAbleToClose)
{
    const LiveOptions options;
    const LiveConnection::Time now;
    const std::string bytes = ClientFrame{0x9, LONG}.bytes() + clientText(LONG);
    failEachAllocation([&] {
        LiveConnection connection(options, now);
        try {
            std::string_view rest = bytes;
            const std::optional<std::string> message = connection.receive(rest, now);
            connection.send(share(*message), now);
            connection.sendState("/shop/shelf?with=a_name_of_some_length", share(LONG), now);
            return std::to_string(connection.nextBytes().size()) + *message;
        } catch (const std::bad_alloc&) {
            connection.close(1011, now);
            EXPECT_EQ(connection.nextBytes(), makeCloseFrame(1011));
            throw;
        }
    });
}

namespace
{

constexpr ConnectionId ANNE = 1;
constexpr ConnectionId BERT = 2;

const std::string LEVELS = "/shop/shelf?$fields=level";

/// Does once more what memory was wanting for.
template <typename Act>
auto again(Act act) -> decltype(act())
{
    try {
        return act();
    } catch (const std::bad_alloc&) {
        return act();
    }
}

std::string describe(const SubscriptionProtocol::Messages& messages)
{
    std::string text;
    for (const OutgoingMessage& message : messages)
        text += std::to_string(message.connection) + ": " +
                (message.frame ? withoutTime(*message.frame) : "dropped") + "\n";
    return text;
}

bool isRefusal(const SubscriptionProtocol::Messages& messages)
{
    return !messages.empty() && messages.front().frame &&
           messages.front().frame->find(R"("type":"error")") != std::string::npos;
}

/// Two clients that follow a shop. Each step is done once more where memory was wanting.
class Following
{
public:
    SubscriptionProtocol::Messages receive(ConnectionId connection, const std::string& type,
                                           const std::string& event)
    {
        const std::string text = R"({"type":")" + type + R"(","event":")" + event + "\"}";
        const std::size_t count = m_protocol.subscriptions().count();
        try {
            SubscriptionProtocol::Messages messages = m_protocol.receive(connection, text);
            // To read a message never throws, so that it may be refused as one that is malformed.
            if (!isRefusal(messages))
                return messages;
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(m_protocol.subscriptions().count(), count) << "nothing has happened";
        return m_protocol.receive(connection, text);
    }

    void subscribe()
    {
        for (const ConnectionId connection : {ANNE, BERT})
            receive(connection, "subscribe", LEVELS);
        receive(BERT, "subscribe", "/id");
    }

    /// What is sent when all that is due is evaluated.
    std::string evaluate()
    {
        std::string text;
        while (m_protocol.subscriptions().nextDue() <= m_now) {
            for (const Evaluation& evaluation :
                 again([this] { return m_protocol.subscriptions().takeDue(m_now); }))
                text += finish(evaluation);
        }
        return text;
    }

    void dropAll()
    {
        for (const ConnectionId connection : {ANNE, BERT})
            m_protocol.removeConnection(connection);
        EXPECT_EQ(m_protocol.subscriptions().count(), 0U);
        EXPECT_FALSE(m_protocol.subscriptions().nextDue());
    }

private:
    std::string finish(const Evaluation& evaluation)
    {
        EvaluatedEvent event = again([&] { return ServiceKit::evaluate(evaluation, m_reader); });
        if (event.outcome == Outcome::ERROR) // which is told as any other
            event = ServiceKit::evaluate(evaluation, m_reader);
        return describe(m_protocol.finish(event, m_now));
    }

    Shop m_shop;
    TreeReader m_reader{*m_shop.tree};
    LiveOptions m_options;
    ExchangeOptions m_exchangeOptions;
    SubscriptionProtocol m_protocol{*m_shop.tree, m_options, m_exchangeOptions};
    Subscriptions::Time m_now{std::chrono::hours(100)};
};

} // namespace

TEST(KitAllocationFailure, OfFollowingLeavesItAbleToFollow)
{
    const LogCapture silence(0);
    failEachAllocation([] {
        Following following;
        following.subscribe();
        std::string text;
        try {
            text = following.evaluate();
        } catch (const std::bad_alloc&) {
            following.dropAll();
            following.subscribe();
            text = following.evaluate();
        }
        text += describe(following.receive(BERT, "unsubscribe", "/id"));
        text += describe(following.receive(ANNE, "subscribe", LEVELS));
        text += describe(following.receive(ANNE, "unsubscribe", LEVELS));
        following.dropAll();
        return text;
    });
}

TEST(KitAllocationFailure, OfBeginningThreadsEndsThoseThatHaveBegun)
{
    const Shop shop;
    const TreeReader reader(*shop.tree);
    failEachAllocation([&reader] {
        const EvaluationThreads threads(3, reader, [](EvaluatedEvent&&) {});
        return std::to_string(threads.count());
    });
}

namespace
{

/// A place at which an allocation of the thread that comes by is made to fail.
class Snare
{
public:
    /// The next one that comes by has its allocation of that number fail.
    void set(long number) { m_number = number; }

    /// Whether the allocation has failed, known when the thread comes by again.
    bool hasCaught() const { return m_hasCaught; }

    void comeBy()
    {
        m_hasCaught = FailingAllocations::disarm();
        FailingAllocations::arm(m_number.exchange(0));
    }

private:
    std::atomic<long> m_number{0};
    std::atomic<bool> m_hasCaught{false};
};

/// A shelf with a snare for the thread that serves all WebSockets, and for one that evaluates events.
class SnaredShelf : public Shelf
{
public:
    using Shelf::Shelf;

    MethodSet collectionMethods() const override
    {
        serving.comeBy();
        return Shelf::collectionMethods();
    }

    Data::ElementCollection elements() const override
    {
        evaluating.comeBy();
        return Shelf::elements();
    }

    mutable Snare serving;
    mutable Snare evaluating;
};

/// A server with such a shelf.
class SnaredServer
{
public:
    SnaredServer()
    {
        const auto shop = std::make_shared<Service>(m_tree->root().child("shop"), "Sells jam.");
        shelf = std::make_shared<SnaredShelf>(shop->reference(), true);
        shelf->put(1, 1);
        shop->add(shelf);
        m_tree->add(shop);
        ServerOptions options;
        options.live.evaluationThreads = 1;
        m_server = std::make_unique<HttpServer>(m_tree, options);
        m_server->start();
    }

    /// Whether a client can follow the shelf. It is an error if nothing happens at all.
    bool isFollowed() const
    {
        try {
            Test::LiveClient client(m_server->address());
            client.subscribe(shelf->reference().uri);
            return client.receiveJson()->getValue<std::string>("type") == "subscribe" &&
                   client.receiveJson()->getValue<std::string>("type") == "data";
        } catch (const Poco::TimeoutException&) {
            throw;
        } catch (const std::exception&) {
            return false; // it is dropped
        }
    }

    std::shared_ptr<SnaredShelf> shelf;

private:
    std::shared_ptr<ServiceTree> m_tree = std::make_shared<ServiceTree>(ROOT_ID);
    std::unique_ptr<HttpServer> m_server;
};

/// Lets the first, the second, ... allocation fail of a thread that gets into `snare`, until it needs no
/// more.
void failEachAllocationIn(const SnaredServer& server, Snare& snare)
{
    const LogCapture silence(0);
    ASSERT_TRUE(server.isFollowed());
    long number = 0;
    do {
        SCOPED_TRACE("allocation " + std::to_string(++number));
        snare.set(number);
        server.isFollowed();
        // The allocation that fails may be one for the next client.
        ASSERT_TRUE(server.isFollowed() || server.isFollowed());
    } while (snare.hasCaught());
    EXPECT_GT(number, 10);
}

} // namespace

TEST(KitAllocationFailure, OfServingWebSocketsDropsClientsAndServesTheNext)
{
    const SnaredServer server;
    failEachAllocationIn(server, server.shelf->serving);
}

TEST(KitAllocationFailure, OfEvaluatingEventsIsToldOrMadeUpFor)
{
    const SnaredServer server;
    failEachAllocationIn(server, server.shelf->evaluating);
}

namespace
{

/// A client that has sent the head of a request.
Poco::Net::StreamSocket ask(const Poco::Net::ServerSocket& listener)
{
    static const std::string HEAD = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";
    Poco::Net::StreamSocket client(listener.address());
    client.sendBytes(HEAD.data(), static_cast<int>(HEAD.size()));
    return client;
}

/// Looks at who has come, and at what they have sent. Whether somebody is to be given out.
bool look(Lobby& lobby)
{
    lobby.poll(Poco::Timespan(), Poco::Net::Socket::SELECT_READ);
    return lobby.poll(Poco::Timespan(), Poco::Net::Socket::SELECT_READ);
}

} // namespace

TEST(KitAllocationFailure, OfWaitingForARequestClosesTheConnection)
{
    const Poco::Net::ServerSocket listener(Poco::Net::SocketAddress("127.0.0.1", 0));
    bool hasFailed = true;
    for (long number = 1; hasFailed; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        Lobby lobby(listener, {9, std::chrono::minutes(5), std::chrono::minutes(5)});
        Poco::Net::StreamSocket client = ask(listener);
        FailingAllocations::arm(number);
        const bool isGivenOut = look(lobby);
        hasFailed = FailingAllocations::disarm();
        EXPECT_NE(isGivenOut, client.poll(Poco::Timespan(), Poco::Net::Socket::SELECT_READ))
            << "it is given out or closed";
        if (isGivenOut)
            lobby.acceptConnection();
        const Poco::Net::StreamSocket next = ask(listener);
        ASSERT_TRUE(look(lobby));
        EXPECT_EQ(lobby.acceptConnection().peerAddress(), next.address());
    }
}

TEST(KitAllocationFailure, OfTakingAPlaceLeavesItToTheNext)
{
    using Entry = OpenConnections::Entry;
    OpenConnections connections(1, 1);
    const Arrival lost(connections);
    FailingAllocations::arm(1);
    EXPECT_THROW(Entry(connections, lost.server), std::bad_alloc);
    ASSERT_TRUE(FailingAllocations::disarm());
    Arrival next(connections);
    Entry entry(connections, next.server);
    entry.beginWait();
    EXPECT_FALSE(next.isEndedByNow()) << "nobody else wants the place";
}

TEST(KitAllocationFailure, OfStoppingAServerStopsItAllTheSame)
{
    const auto tree = makeSampleTree();
    bool hasFailed = true;
    long number = 0;
    while (hasFailed) {
        HttpServer server(tree, {});
        server.start();
        FailingAllocations::arm(++number);
        server.stop();
        hasFailed = FailingAllocations::disarm();
        EXPECT_THROW(server.address(), Poco::InvalidAccessException);
    }
    EXPECT_GT(number, 1);
}

} // namespace Zovi::ServiceKit
