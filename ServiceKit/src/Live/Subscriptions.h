#pragma once

#include "Command/WebSocketRequestObject.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::ServiceKit
{

class Resource;

using ConnectionId = std::uint64_t;
using LiveClock = std::chrono::steady_clock;
using SharedRequest = std::shared_ptr<const Command::WebSocketRequestObject>;

/// How often one subscriber wants to hear of an event.
struct SubscriptionTerms {
    /// Time from one message to the next, changed or not; 0 to hear of changes only.
    std::chrono::milliseconds interval{0};

    /// Least time between two messages.
    std::chrono::milliseconds updateLimit{0};
};

/// How it is found out that the answer to an event has changed.
struct ChangeSource {
    /// Tells of its changes; null if nobody does.
    const Resource* resource = nullptr;

    /// Whether the event is to be asked for changes again and again.
    bool isPolled = true;
};

/// A text that tells two answers apart as good as surely, whatever the length of the answers.
using Fingerprint = std::string;

/// An order to evaluate an event.
struct Evaluation {
    std::uint64_t id = 0;
    SharedRequest request;

    /// What the last evaluation gave; empty if there was none.
    Fingerprint known;

    /// Whether somebody is to be sent the answer even if it is what was known.
    bool isAlwaysSent = false;
};

/// What became of an evaluation.
enum class Outcome {
    STATE,  ///< there is a state
    ERROR,  ///< there is none, for now
    ABSENT, ///< there is nothing at that address
};

/// What one subscriber is to be sent after an evaluation.
struct Delivery {
    enum class Kind {
        STATE,   ///< the outcome, a state or an error, behind the acknowledgements
        REFUSAL, ///< an error in place of each acknowledgement; the subscription has ended
        GONE,    ///< what was there is not any more; the subscription has ended
    };

    ConnectionId connection = 0;
    Kind kind = Kind::STATE;

    /// So many requests to subscribe are answered by this: acknowledged by a state, refused by the others.
    std::size_t answeredRequests = 0;
};

/// Who has subscribed to what, and when whom to tell.
///
/// All subscribers of an event share its evaluations: it is evaluated when the first of them may hear of it,
/// and not while an evaluation of it is under way. It holds no clock, no socket and no thread: the owner
/// tells the time, carries out the evaluations that are due and sends what is to be delivered.
class Subscriptions
{
public:
    using Time = LiveClock::time_point;
    using Milliseconds = std::chrono::milliseconds;

    /// An event is polled after `shortestPollPeriod` at the earliest. Intervals end at multiples of `tick`,
    /// so that those who came at different moments share evaluations.
    Subscriptions(Milliseconds shortestPollPeriod, Milliseconds tick);

    /// Begins a subscription to the event of `request`, or gives the one that `connection` has new terms. It
    /// is acknowledged, and sent the state, after the next evaluation, which is due at once. Where memory is
    /// wanting, nothing has happened.
    void add(ConnectionId connection, const SharedRequest& request, const SubscriptionTerms& terms,
             const ChangeSource& source);

    /// Ends the subscription of `connection` to `event`, which is the text of its URL. Gives the number of
    /// requests for it that were not answered yet; nothing if there is no such subscription.
    std::optional<std::size_t> remove(ConnectionId connection, const std::string& event);

    /// Ends all subscriptions of `connection`. Never throws.
    void removeAll(ConnectionId connection);

    bool has(ConnectionId connection, const std::string& event) const;
    std::size_t count(ConnectionId connection) const;
    std::size_t count() const { return m_count; }

    /// Requests of `connection` to subscribe to `event` that were not answered yet.
    std::size_t countOpenRequests(ConnectionId connection, const std::string& event) const;

    /// A state of `event` could not be kept for `connection`: it is told nothing more of it before it is
    /// released, and then what there is at that time.
    void hold(ConnectionId connection, const std::string& event);

    /// Releases the event of `connection` that is held and was told of least lately. False if none is held.
    bool release(ConnectionId connection);

    /// What `resource` offers may have changed.
    void markChanged(const Resource& resource);

    /// When the next evaluation is due; nothing if none will ever be.
    std::optional<Time> nextDue() const;

    /// The evaluations that are due, `maxCount` of them at most, the longest due first; each begins by this
    /// and is to be reported by `finish`. The time is that of the next requests, too. Where memory is
    /// wanting, those that could not begin stay due; if none could, it throws.
    std::vector<Evaluation> takeDue(Time now, std::size_t maxCount = std::numeric_limits<std::size_t>::max());

    /// An evaluation has come to its end. `fingerprint` tells its outcome from others, of whatever kind.
    /// Where memory is wanting, nothing has happened.
    std::vector<Delivery> finish(const Evaluation& evaluation, Outcome outcome,
                                 const Fingerprint& fingerprint, Time now);

private:
    struct Subscription {
        SubscriptionTerms terms;
        std::size_t openRequests = 0; ///< requests to subscribe that were not answered yet
        Time requestedAt;             ///< when the first of them came
        bool isEstablished = false;
        Time lastSent;
        Time nextInterval;
        Fingerprint sent;
        bool isHeld = false;

        // What the evaluation under way is to it, as it stood when that began.
        std::size_t awaited = 0; ///< open requests that it will answer
        bool mustHear = false;   ///< its interval is over
        bool mayHear = false;    ///< its update limit is over
    };

    using DueTimes = std::set<std::pair<Time, std::string>>;

    struct Event {
        SharedRequest request;
        ChangeSource source;
        std::map<ConnectionId, Subscription> subscriptions;
        std::optional<std::uint64_t> evaluation; ///< the one that is under way
        Time evaluatedAt;                        ///< when the last one began
        bool isChanged = false;
        Fingerprint known;
        std::optional<DueTimes::iterator> due;
        DueTimes::node_type notDue; ///< what stands among the due times while it is due: no memory is needed
    };

    using Events = std::map<std::string, Event>;

    void open(ConnectionId connection, const std::string& key, const SharedRequest& request,
              const ChangeSource& source);
    static void reserveFor(Event& event, const Fingerprint& fingerprint);
    static bool isBehind(const Event& event, const Subscription& subscription);
    static void begin(Event& event, Evaluation& evaluation, Time now);
    static std::optional<Delivery> deliver(Subscription& subscription, Outcome outcome,
                                           const Fingerprint& fingerprint, Time now);
    static void noteSent(Subscription& subscription, const Fingerprint& fingerprint, Time now);
    std::optional<Time> dueTime(const Event& event, const Subscription& subscription) const;
    void schedule(Events::iterator event);
    void setDue(Events::iterator event, std::optional<Time> due);
    void forget(ConnectionId connection, const std::string& key);
    void eraseOrSchedule(Events::iterator event);

    Milliseconds m_shortestPollPeriod;
    Milliseconds m_tick;
    Events m_events;
    DueTimes m_due;
    std::map<ConnectionId, std::set<std::string>> m_eventsOf;
    std::size_t m_count = 0;
    std::uint64_t m_lastEvaluation = 0;
    Time m_lastTime;
};

} // namespace Zovi::ServiceKit
