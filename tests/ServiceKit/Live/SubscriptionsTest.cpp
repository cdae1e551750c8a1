#include "Live/Subscriptions.h"

#include "Shelf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

using Milliseconds = std::chrono::milliseconds;

constexpr ConnectionId ANNE = 1;
constexpr ConnectionId BERT = 2;

constexpr Milliseconds POLL_PERIOD = 500ms;

const ChangeSource POLLED{nullptr, true};

SharedRequest request(const std::string& event = "/shop/shelf")
{
    return std::make_shared<const Command::WebSocketRequestObject>(
        Command::WebSocketRequestObject::TYPE_SUBSCRIBE, event);
}

SubscriptionTerms changesOnly(Milliseconds updateLimit)
{
    return {0ms, updateLimit};
}

SubscriptionTerms every(Milliseconds interval)
{
    return {interval, 30ms};
}

/// Subscriptions at a time that the test tells.
class SubscriptionsTest : public ::testing::Test
{
protected:
    using Time = Subscriptions::Time;

    /// Carries out what is due and gives the deliveries, as "<connection> state <answered>" and the like.
    std::vector<std::string> evaluate(const Fingerprint& fingerprint, Outcome outcome = Outcome::STATE)
    {
        std::vector<std::string> lines;
        for (const Evaluation& evaluation : subscriptions.takeDue(now)) {
            for (const Delivery& delivery : subscriptions.finish(evaluation, outcome, fingerprint, now))
                lines.push_back(describe(delivery));
        }
        return lines;
    }

    /// The same at the moment when it is next due.
    std::vector<std::string> evaluateNext(const Fingerprint& fingerprint, Outcome outcome = Outcome::STATE)
    {
        now = std::max(now, *subscriptions.nextDue());
        return evaluate(fingerprint, outcome);
    }

    static std::string describe(const Delivery& delivery)
    {
        static const char* const KINDS[] = {" state ", " refusal ", " gone "};
        return std::to_string(delivery.connection) + KINDS[static_cast<int>(delivery.kind)] +
               std::to_string(delivery.answeredRequests);
    }

    Milliseconds untilDue() const
    {
        return std::chrono::duration_cast<Milliseconds>(*subscriptions.nextDue() - now);
    }

    Zovi::Test::Shop shop;
    Subscriptions subscriptions{POLL_PERIOD, 1ms};
    Time now{std::chrono::hours(100)};
    const ChangeSource told{shop.shelf.get(), false};
};

} // namespace

TEST_F(SubscriptionsTest, HasNothingToDoAtFirst)
{
    EXPECT_FALSE(subscriptions.nextDue());
    EXPECT_THAT(subscriptions.takeDue(now), IsEmpty());
    EXPECT_EQ(subscriptions.count(), 0u);
}

TEST_F(SubscriptionsTest, AcknowledgesAndTellsTheStateAtOnce)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_LE(*subscriptions.nextDue(), now);
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 1"));
}

TEST_F(SubscriptionsTest, CountsSubscriptions)
{
    subscriptions.add(ANNE, request("/a"), changesOnly(30ms), POLLED);
    subscriptions.add(ANNE, request("/b"), changesOnly(30ms), POLLED);
    subscriptions.add(ANNE, request("/b"), changesOnly(30ms), POLLED);
    subscriptions.add(BERT, request("/a"), changesOnly(30ms), POLLED);
    EXPECT_EQ(subscriptions.count(), 3u);
    EXPECT_EQ(subscriptions.count(ANNE), 2u);
    EXPECT_EQ(subscriptions.count(3), 0u);
    EXPECT_TRUE(subscriptions.has(BERT, "/a"));
    EXPECT_FALSE(subscriptions.has(BERT, "/b"));
    subscriptions.removeAll(ANNE);
    subscriptions.removeAll(ANNE);
    EXPECT_EQ(subscriptions.count(), 1u);
    EXPECT_EQ(subscriptions.count(ANNE), 0u);
    EXPECT_TRUE(subscriptions.has(BERT, "/a"));
}

TEST_F(SubscriptionsTest, TellsOfNoUnchangedAnswer)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), POLLED);
    evaluate("a");
    for (int i = 0; i < 5; ++i)
        EXPECT_THAT(evaluateNext("a"), IsEmpty());
    EXPECT_THAT(evaluateNext("b"), ElementsAre("1 state 0"));
}

TEST_F(SubscriptionsTest, PollsAtTheUpdateLimitButNotMoreOftenThanAllowed)
{
    const struct {
        Milliseconds updateLimit;
        Milliseconds period;
    } rows[] = {{0ms, POLL_PERIOD}, {30ms, POLL_PERIOD}, {500ms, 500ms}, {2000ms, 2000ms}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.updateLimit.count());
        subscriptions.add(ANNE, request(), changesOnly(row.updateLimit), POLLED);
        evaluate("a");
        EXPECT_EQ(untilDue(), row.period);
        evaluateNext("a");
        EXPECT_EQ(untilDue(), row.period);
        subscriptions.removeAll(ANNE);
    }
}

TEST_F(SubscriptionsTest, DoesNotPollWhoTellsOfChanges)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, HearsOfAChangeAtOnceAfterALongSilence)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    now += 1h;
    subscriptions.markChanged(*shop.shelf);
    EXPECT_LE(*subscriptions.nextDue(), now);
    EXPECT_THAT(evaluate("b"), ElementsAre("1 state 0"));
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, HearsOfChangesNoSoonerThanTheUpdateLimitAllows)
{
    subscriptions.add(ANNE, request(), changesOnly(1000ms), told);
    evaluate("a");
    now += 10ms;
    subscriptions.markChanged(*shop.shelf);
    subscriptions.markChanged(*shop.shelf);
    EXPECT_EQ(untilDue(), 990ms);
    EXPECT_THAT(evaluate("b"), IsEmpty());
    EXPECT_THAT(evaluateNext("b"), ElementsAre("1 state 0"));
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, IgnoresChangesOfOthers)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    subscriptions.markChanged(*shop.cellar);
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, AsksAgainWhenAChangeCameDuringAnEvaluation)
{
    subscriptions.add(ANNE, request(), changesOnly(0ms), told);
    const std::vector<Evaluation> evaluations = subscriptions.takeDue(now);
    subscriptions.markChanged(*shop.shelf);
    EXPECT_FALSE(subscriptions.nextDue()) << "one evaluation of an event at a time";
    subscriptions.finish(evaluations.front(), Outcome::STATE, "a", now);
    EXPECT_LE(*subscriptions.nextDue(), now);
    EXPECT_THAT(evaluate("b"), ElementsAre("1 state 0"));
}

TEST_F(SubscriptionsTest, PollsAlsoWhoTellsOfChangesWhereTheAnswerHoldsMore)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), {shop.shelf.get(), true});
    evaluate("a");
    EXPECT_EQ(untilDue(), POLL_PERIOD);
    subscriptions.markChanged(*shop.shelf);
    EXPECT_EQ(untilDue(), 30ms);
}

TEST_F(SubscriptionsTest, TellsAtTheIntervalChangedOrNot)
{
    subscriptions.add(ANNE, request(), every(100ms), told);
    evaluate("a");
    EXPECT_EQ(untilDue(), 100ms);
    subscriptions.markChanged(*shop.shelf);
    EXPECT_EQ(untilDue(), 100ms) << "no message in between";
    EXPECT_THAT(evaluateNext("a"), ElementsAre("1 state 0"));
    EXPECT_EQ(untilDue(), 100ms);
    EXPECT_THAT(evaluateNext("b"), ElementsAre("1 state 0"));
}

TEST_F(SubscriptionsTest, KeepsTheBeatOfAnIntervalButDoesNotCatchUp)
{
    subscriptions.add(ANNE, request(), every(100ms), told);
    evaluate("a");
    now += 120ms;
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 0"));
    EXPECT_EQ(untilDue(), 80ms);
    now += 1000ms;
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 0"));
    EXPECT_EQ(untilDue(), 100ms);
}

TEST_F(SubscriptionsTest, KeepsTheUpdateLimitBetweenTwoBeats)
{
    subscriptions.add(ANNE, request(), {100ms, 90ms}, told);
    evaluate("a");
    now += 150ms;
    evaluate("a");
    EXPECT_EQ(untilDue(), 90ms);
}

TEST_F(SubscriptionsTest, KeepsAnIntervalThatIsAsLongAsTheUpdateLimit)
{
    subscriptions = Subscriptions(POLL_PERIOD, 100ms);
    subscriptions.add(ANNE, request(), {500ms, 500ms}, told);
    evaluate("a");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(untilDue(), 500ms) << i;
        now = *subscriptions.nextDue() + 1ms; // nobody wakes up at the very moment
        EXPECT_THAT(evaluate("a"), ElementsAre("1 state 0"));
    }
}

TEST_F(SubscriptionsTest, KeepsTheUpdateLimitWhenAnotherIsTold)
{
    subscriptions.add(ANNE, request(), {100ms, 90ms}, told);
    evaluate("a");
    now += 150ms;
    evaluate("a");
    now += 60ms;
    subscriptions.add(BERT, request(), every(100ms), told);
    EXPECT_THAT(evaluate("a"), ElementsAre("2 state 1"));
    EXPECT_EQ(untilDue(), 30ms);
    EXPECT_THAT(evaluateNext("a"), ElementsAre("1 state 0"));
}

TEST_F(SubscriptionsTest, EndsIntervalsTogetherWhoeverCameWhen)
{
    subscriptions = Subscriptions(POLL_PERIOD, 100ms);
    subscriptions.add(ANNE, request(), every(250ms), told);
    evaluate("a");
    now += 30ms;
    subscriptions.add(BERT, request(), every(250ms), told);
    evaluate("a");
    EXPECT_EQ(untilDue(), 270ms);
    EXPECT_THAT(evaluateNext("a"), ElementsAre("1 state 0", "2 state 0"));
    EXPECT_EQ(untilDue(), 200ms) << "the beat is kept";
}

TEST_F(SubscriptionsTest, SharesEvaluationsAmongAllSubscribersOfAnEvent)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    subscriptions.add(BERT, request(), every(1000ms), told);
    const std::vector<Evaluation> evaluations = subscriptions.takeDue(now);
    ASSERT_EQ(evaluations.size(), 1u);
    EXPECT_TRUE(evaluations.front().isAlwaysSent);
    EXPECT_EQ(subscriptions.finish(evaluations.front(), Outcome::STATE, "a", now).size(), 2u);
}

TEST_F(SubscriptionsTest, TellsEachSubscriberAtItsOwnTime)
{
    subscriptions.add(ANNE, request(), changesOnly(0ms), told);
    subscriptions.add(BERT, request(), changesOnly(1000ms), told);
    evaluate("a");
    now += 10ms;
    subscriptions.markChanged(*shop.shelf);
    EXPECT_THAT(evaluate("b"), ElementsAre("1 state 0"));
    EXPECT_EQ(untilDue(), 990ms) << "the other has still to hear of it";
    EXPECT_THAT(evaluateNext("b"), ElementsAre("2 state 0"));
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, SendsNothingWhenAChangeWasTakenBackMeanwhile)
{
    subscriptions.add(ANNE, request(), changesOnly(0ms), told);
    subscriptions.add(BERT, request(), changesOnly(1000ms), told);
    evaluate("a");
    now += 10ms;
    subscriptions.markChanged(*shop.shelf);
    evaluate("b");
    subscriptions.markChanged(*shop.shelf);
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 0"));
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, WantsTheTextOfAnUnchangedAnswerOnlyForWhoWillBeSentIt)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), POLLED);
    evaluate("a");
    now += 1s;
    std::vector<Evaluation> evaluations = subscriptions.takeDue(now);
    EXPECT_EQ(evaluations.front().known, "a");
    EXPECT_FALSE(evaluations.front().isAlwaysSent);
    subscriptions.finish(evaluations.front(), Outcome::STATE, "a", now);
    subscriptions.add(BERT, request(), changesOnly(30ms), POLLED);
    evaluations = subscriptions.takeDue(now);
    EXPECT_TRUE(evaluations.front().isAlwaysSent);
}

TEST_F(SubscriptionsTest, EvaluatesAnewForWhoCameDuringAnEvaluation)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    const std::vector<Evaluation> evaluations = subscriptions.takeDue(now);
    subscriptions.add(BERT, request(), changesOnly(30ms), told);
    EXPECT_EQ(subscriptions.finish(evaluations.front(), Outcome::STATE, "a", now).size(), 1u);
    EXPECT_THAT(evaluate("a"), ElementsAre("2 state 1"));
}

TEST_F(SubscriptionsTest, AnswersEachRequestToSubscribe)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 2"));
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 1")) << "with the state, though it is the same";
}

TEST_F(SubscriptionsTest, TakesNewTermsFromASecondRequest)
{
    subscriptions.add(ANNE, request(), every(100ms), told);
    evaluate("a");
    subscriptions.add(ANNE, request(), every(5000ms), told);
    evaluate("a");
    EXPECT_EQ(untilDue(), 5000ms);
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    EXPECT_FALSE(subscriptions.nextDue());
    EXPECT_EQ(subscriptions.count(), 1u);
}

TEST_F(SubscriptionsTest, TellsWhatWasUnansweredWhenASubscriptionEnds)
{
    EXPECT_FALSE(subscriptions.remove(ANNE, "/shop/shelf"));
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_EQ(subscriptions.remove(ANNE, "/shop/shelf"), 1u);
    EXPECT_FALSE(subscriptions.nextDue());
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    EXPECT_EQ(subscriptions.remove(ANNE, "/shop/shelf"), 0u);
    EXPECT_FALSE(subscriptions.remove(ANNE, "/shop/shelf"));
}

TEST_F(SubscriptionsTest, DropsTheResultOfAnEvaluationThatNobodyWaitsFor)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    const std::vector<Evaluation> old = subscriptions.takeDue(now);
    subscriptions.removeAll(ANNE);
    EXPECT_THAT(subscriptions.finish(old.front(), Outcome::STATE, "a", now), IsEmpty());

    subscriptions.add(BERT, request(), changesOnly(30ms), told);
    const std::vector<Evaluation> current = subscriptions.takeDue(now);
    EXPECT_THAT(subscriptions.finish(old.front(), Outcome::STATE, "a", now), IsEmpty());
    EXPECT_EQ(subscriptions.finish(current.front(), Outcome::STATE, "a", now).size(), 1u);
}

TEST_F(SubscriptionsTest, RefusesWhatIsAbsentOrInError)
{
    for (const Outcome outcome : {Outcome::ABSENT, Outcome::ERROR}) {
        subscriptions.add(ANNE, request(), changesOnly(30ms), told);
        subscriptions.add(ANNE, request(), changesOnly(30ms), told);
        EXPECT_THAT(evaluate("error", outcome), ElementsAre("1 refusal 2"));
        EXPECT_EQ(subscriptions.count(), 0u);
        EXPECT_FALSE(subscriptions.nextDue());
    }
}

TEST_F(SubscriptionsTest, EndsWhenWhatWasThereIsGone)
{
    subscriptions.add(ANNE, request(), changesOnly(1000ms), told);
    subscriptions.add(BERT, request(), every(5000ms), told);
    evaluate("a");
    now += 2s;
    subscriptions.markChanged(*shop.shelf);
    EXPECT_THAT(evaluate("absent", Outcome::ABSENT), ElementsAre("1 gone 0", "2 gone 0"));
    EXPECT_EQ(subscriptions.count(), 0u);
}

TEST_F(SubscriptionsTest, AnswersARequestAlsoWhenWhatWasThereIsGone)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_THAT(evaluate("absent", Outcome::ABSENT), ElementsAre("1 gone 1"));
}

TEST_F(SubscriptionsTest, TellsOfAnErrorOnceAndOfItsEnd)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), POLLED);
    evaluate("a");
    EXPECT_THAT(evaluateNext("error", Outcome::ERROR), ElementsAre("1 state 0"));
    EXPECT_THAT(evaluateNext("error", Outcome::ERROR), IsEmpty());
    EXPECT_THAT(evaluateNext("a"), ElementsAre("1 state 0"));
    EXPECT_EQ(subscriptions.count(), 1u);
}

TEST_F(SubscriptionsTest, TakesNoMoreThanThereIsRoomForAndTheLongestDueFirst)
{
    subscriptions.add(ANNE, request("/told"), every(100ms), told);
    evaluate("a");
    now += 150ms;
    subscriptions.takeDue(now, 0);
    subscriptions.add(BERT, request("/new"), every(100ms), told);
    subscriptions.add(BERT, request("/other"), every(100ms), told);
    EXPECT_THAT(subscriptions.takeDue(now, 0), IsEmpty());
    std::vector<std::string> events;
    for (int i = 0; i < 3; ++i) {
        const std::vector<Evaluation> taken = subscriptions.takeDue(now, 1);
        ASSERT_EQ(taken.size(), 1u);
        events.push_back(taken.front().request->getEvent().toString());
        subscriptions.remove(BERT, events.back());
        now += 1ms;
        subscriptions.takeDue(now, 0);
        if (i > 0)
            subscriptions.add(BERT, request(events.back()), every(100ms), told);
    }
    EXPECT_THAT(events, ElementsAre("/told", "/new", "/other")) << "who asks anew waits behind the others";
}

TEST_F(SubscriptionsTest, TakesOnlyWhatIsDue)
{
    subscriptions.add(ANNE, request("/a"), every(100ms), POLLED);
    subscriptions.add(ANNE, request("/b"), every(200ms), POLLED);
    evaluate("x");
    now += 100ms;
    const std::vector<Evaluation> due = subscriptions.takeDue(now);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due.front().request->getEvent().toString(), "/a");
    EXPECT_EQ(untilDue(), 100ms);
}

TEST_F(SubscriptionsTest, TellsWhoIsHeldNothingBeforeItIsReleased)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    subscriptions.add(BERT, request(), changesOnly(30ms), told);
    evaluate("a");
    subscriptions.hold(ANNE, "/shop/shelf");
    EXPECT_FALSE(subscriptions.nextDue());
    subscriptions.markChanged(*shop.shelf);
    EXPECT_THAT(evaluateNext("b"), ElementsAre("2 state 0"));
    EXPECT_FALSE(subscriptions.release(BERT));
    EXPECT_TRUE(subscriptions.release(ANNE));
    EXPECT_FALSE(subscriptions.release(ANNE));
    EXPECT_THAT(evaluateNext("b"), ElementsAre("1 state 0"));
    EXPECT_FALSE(subscriptions.nextDue());
}

TEST_F(SubscriptionsTest, TellsWhoIsReleasedAgainWhatDidNotReachIt)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    subscriptions.hold(ANNE, "/shop/shelf");
    subscriptions.release(ANNE);
    EXPECT_THAT(evaluateNext("a"), ElementsAre("1 state 0"));
}

TEST_F(SubscriptionsTest, ReleasesFirstWhoWasToldLeastLately)
{
    subscriptions.add(ANNE, request("/b"), changesOnly(30ms), told);
    evaluate("b");
    now += 1ms;
    subscriptions.add(ANNE, request("/a"), changesOnly(30ms), told);
    evaluate("a");
    for (const char* event : {"/a", "/b", "/c"})
        subscriptions.hold(ANNE, event);
    subscriptions.release(ANNE);
    now = *subscriptions.nextDue();
    const std::vector<Evaluation> due = subscriptions.takeDue(now);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due.front().request->getEvent().toString(), "/b");
}

TEST_F(SubscriptionsTest, AnswersRequestsOfWhoIsHeld)
{
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    evaluate("a");
    subscriptions.hold(ANNE, "/shop/shelf");
    subscriptions.add(ANNE, request(), changesOnly(30ms), told);
    EXPECT_THAT(evaluate("a"), ElementsAre("1 state 1"));
    subscriptions.hold(BERT, "/shop/shelf");
    EXPECT_FALSE(subscriptions.release(BERT));
}

} // namespace Zovi::ServiceKit
