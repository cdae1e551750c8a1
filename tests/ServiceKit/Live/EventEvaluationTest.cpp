#include "Live/EventEvaluation.h"

#include "Live/EvaluationThreads.h"
#include "Live/LoopInbox.h"
#include "LogCapture.h"
#include "ServiceKit/RequestError.h"
#include "Shelf.h"

#include <Poco/Exception.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <future>
#include <stdexcept>
#include <string>

namespace Zovi::ServiceKit
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Zovi::Test::LogCapture;

namespace
{

Evaluation order(const std::string& event, const Fingerprint& known = "", bool isAlwaysSent = false)
{
    return {1,
            std::make_shared<const Command::WebSocketRequestObject>(
                Command::WebSocketRequestObject::TYPE_SUBSCRIBE, event),
            known, isAlwaysSent};
}

bool isReadable(int descriptor)
{
    pollfd wanted{descriptor, POLLIN, 0};
    return ::poll(&wanted, 1, 0) == 1;
}

const std::string SHELF = "/shop/shelf";

} // namespace

TEST(EventEvaluation, KnowsAnUnchangedStateAgain)
{
    const Zovi::Test::Shop shop;
    const TreeReader reader(*shop.tree);
    const EvaluatedEvent first = evaluate(order(SHELF), reader);
    EXPECT_EQ(first.outcome, Outcome::STATE);
    ASSERT_TRUE(first.frame);
    EXPECT_THAT(*first.frame, HasSubstr(R"("type":"data")"));

    const EvaluatedEvent second = evaluate(order(SHELF, first.fingerprint), reader);
    EXPECT_EQ(second.fingerprint, first.fingerprint);
    EXPECT_FALSE(second.frame);
    EXPECT_TRUE(evaluate(order(SHELF, first.fingerprint, true), reader).frame);

    shop.shelf->put(1, 10);
    const EvaluatedEvent third = evaluate(order(SHELF, first.fingerprint), reader);
    EXPECT_NE(third.fingerprint, first.fingerprint);
    EXPECT_TRUE(third.frame);
}

TEST(EventEvaluation, SeesAChangeOfThePagingAlone)
{
    const Zovi::Test::Shop shop;
    const TreeReader reader(*shop.tree);
    const std::string event = SHELF + "?$limit=1";
    const EvaluatedEvent first = evaluate(order(event), reader);
    EXPECT_THAT(*first.frame, HasSubstr(R"("total":3)"));
    shop.shelf->put(4, 4);
    EXPECT_THAT(*evaluate(order(event, first.fingerprint), reader).frame, HasSubstr(R"("total":4)"));
}

TEST(EventEvaluation, TellsWhatIsAbsent)
{
    const Zovi::Test::Shop shop;
    const EvaluatedEvent event = evaluate(order(shop.shelf->addressOf(9)), TreeReader(*shop.tree));
    EXPECT_EQ(event.outcome, Outcome::ABSENT);
    EXPECT_THAT(*event.frame, HasSubstr(R"("code":404)"));
}

TEST(EventEvaluation, TellsWhatTheResourceRefuses)
{
    const Zovi::Test::Shop shop;
    shop.shelf->beforeEachAnswer(
        [] { throw RequestError(Command::HTTPStatus::HTTP_SERVICE_UNAVAILABLE, ""); });
    const LogCapture log;
    const EvaluatedEvent event = evaluate(order(SHELF), TreeReader(*shop.tree));
    EXPECT_EQ(event.outcome, Outcome::ERROR);
    EXPECT_THAT(*event.frame, HasSubstr(R"("code":503)"));
    EXPECT_THAT(*event.frame, HasSubstr(getDefaultMessage(Command::HTTPStatus::HTTP_SERVICE_UNAVAILABLE)));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(EventEvaluation, LogsWhatNobodyForesawOnceAndDoesNotTellIt)
{
    const Zovi::Test::Shop shop;
    const TreeReader reader(*shop.tree);
    const struct {
        std::function<void()> act;
        std::string logged;
    } rows[] = {
        {[] { throw Poco::IOException("secret"); }, "I/O error: secret"},
        {[] { throw std::runtime_error("secret"); }, "secret"},
        {[] { throw 5; }, "unknown exception"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.logged);
        shop.shelf->beforeEachAnswer(row.act);
        const LogCapture log;
        const EvaluatedEvent event = evaluate(order(SHELF), reader);
        EXPECT_EQ(event.outcome, Outcome::ERROR);
        EXPECT_THAT(*event.frame, HasSubstr(R"("code":500)"));
        EXPECT_THAT(*event.frame, ::testing::Not(HasSubstr("secret")));
        evaluate(order(SHELF, event.fingerprint), reader);
        EXPECT_THAT(log.texts(), ElementsAre("Error: Event failed: /shop/shelf: " + row.logged));
    }
}

TEST(EvaluationThreads, EvaluateWhatTheyAreGiven)
{
    const Zovi::Test::Shop shop;
    const TreeReader reader(*shop.tree);
    std::promise<EvaluatedEvent> result;
    EvaluationThreads threads(2, reader,
                              [&result](EvaluatedEvent&& event) { result.set_value(std::move(event)); });
    threads.evaluate(order(SHELF));
    EXPECT_EQ(result.get_future().get().outcome, Outcome::STATE);
}

TEST(EvaluationThreads, GoOnWhileOneOfThemIsHeldUp)
{
    const Zovi::Test::Shop shop;
    const TreeReader reader(*shop.tree);
    std::promise<void> release;
    std::shared_future<void> isReleased = release.get_future().share();
    shop.shelf->beforeEachAnswer([isReleased] { isReleased.wait(); });
    std::promise<void> hasAnswered;
    EvaluationThreads threads(2, reader, [&](EvaluatedEvent&& event) {
        if (event.evaluation.request->getEvent().toString() == "/id")
            hasAnswered.set_value();
    });
    threads.evaluate(order(SHELF));
    threads.evaluate(order("/id"));
    hasAnswered.get_future().wait();
    release.set_value();
}

TEST(LoopInbox, IsReadableWhileSomethingIsInIt)
{
    const Zovi::Test::Shop shop;
    LoopInbox inbox;
    EXPECT_FALSE(isReadable(inbox.descriptor()));
    inbox.onChanged(*shop.shelf);
    inbox.onChanged(*shop.shelf);
    inbox.put(EvaluatedEvent{order(SHELF), Outcome::ERROR, "x", {}});
    EXPECT_TRUE(isReadable(inbox.descriptor()));

    const LoopInbox::Content content = inbox.take();
    EXPECT_THAT(content.changed, ElementsAre(shop.shelf.get()));
    EXPECT_EQ(content.evaluated.size(), 1u);
    EXPECT_FALSE(content.isStopping);
    EXPECT_FALSE(isReadable(inbox.descriptor()));
    EXPECT_THAT(inbox.take().changed, IsEmpty());
}

TEST(LoopInbox, KeepsTheOrderToStop)
{
    LoopInbox inbox;
    inbox.stop();
    EXPECT_TRUE(isReadable(inbox.descriptor()));
    EXPECT_TRUE(inbox.take().isStopping);
    EXPECT_TRUE(inbox.take().isStopping);
}

} // namespace Zovi::ServiceKit
