#include "Live/Subscriptions.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace Zovi::ServiceKit
{

namespace
{

LiveClock::time_point roundUp(LiveClock::time_point time, LiveClock::duration tick)
{
    const auto rest = time.time_since_epoch() % tick;
    return rest.count() == 0 ? time : time + (tick - rest);
}

} // namespace

Subscriptions::Subscriptions(Milliseconds shortestPollPeriod, Milliseconds tick)
    : m_shortestPollPeriod(shortestPollPeriod)
    , m_tick(std::max(tick, Milliseconds(1)))
{
}

void Subscriptions::add(ConnectionId connection, const SharedRequest& request, const SubscriptionTerms& terms,
                        const ChangeSource& source)
{
    const std::string key = request->getEvent().toString();
    if (!has(connection, key))
        open(connection, key, request, source);
    const auto event = m_events.find(key);
    Subscription& subscription = event->second.subscriptions.at(connection);
    subscription.terms = terms;
    subscription.nextInterval = Time();
    if (subscription.openRequests++ == 0)
        subscription.requestedAt = m_lastTime;
    schedule(event);
}

/// Takes all the memory that it needs before it changes anything.
void Subscriptions::open(ConnectionId connection, const std::string& key, const SharedRequest& request,
                         const ChangeSource& source)
{
    DueTimes dueTime{{Time(), key}};
    Events event;
    event[key].request = request;
    event[key].source = source;
    event[key].notDue = dueTime.extract(dueTime.begin());
    std::map<ConnectionId, Subscription> subscription;
    subscription.try_emplace(connection);
    std::map<ConnectionId, std::set<std::string>> events;
    events.try_emplace(connection);
    std::set<std::string> keys{key};

    // What is there already stays as it is.
    m_events.merge(event);
    m_events.find(key)->second.subscriptions.merge(subscription);
    m_eventsOf.merge(events);
    m_eventsOf.find(connection)->second.merge(keys);
    ++m_count;
}

std::optional<std::size_t> Subscriptions::remove(ConnectionId connection, const std::string& event)
{
    if (!has(connection, event))
        return std::nullopt;
    const auto position = m_events.find(event);
    const std::size_t openRequests = position->second.subscriptions.at(connection).openRequests;
    position->second.subscriptions.erase(connection);
    forget(connection, event);
    eraseOrSchedule(position);
    return openRequests;
}

void Subscriptions::removeAll(ConnectionId connection)
{
    const auto events = m_eventsOf.extract(connection);
    if (events.empty())
        return;
    for (const std::string& key : events.mapped()) {
        const auto event = m_events.find(key);
        event->second.subscriptions.erase(connection);
        eraseOrSchedule(event);
        --m_count;
    }
}

bool Subscriptions::has(ConnectionId connection, const std::string& event) const
{
    const auto events = m_eventsOf.find(connection);
    return events != m_eventsOf.end() && events->second.count(event) > 0;
}

std::size_t Subscriptions::count(ConnectionId connection) const
{
    const auto events = m_eventsOf.find(connection);
    return events == m_eventsOf.end() ? 0 : events->second.size();
}

std::size_t Subscriptions::countOpenRequests(ConnectionId connection, const std::string& event) const
{
    return has(connection, event) ? m_events.at(event).subscriptions.at(connection).openRequests : 0;
}

void Subscriptions::hold(ConnectionId connection, const std::string& event)
{
    if (!has(connection, event))
        return;
    const auto position = m_events.find(event);
    Subscription& subscription = position->second.subscriptions.at(connection);
    subscription.isHeld = true;
    subscription.sent.clear();
    schedule(position);
}

bool Subscriptions::release(ConnectionId connection)
{
    const auto events = m_eventsOf.find(connection);
    if (events == m_eventsOf.end())
        return false;
    Subscription* first = nullptr;
    Events::iterator event;
    for (const std::string& key : events->second) {
        const auto position = m_events.find(key);
        Subscription& candidate = position->second.subscriptions.at(connection);
        if (candidate.isHeld && (first == nullptr || candidate.lastSent < first->lastSent)) {
            first = &candidate;
            event = position;
        }
    }
    if (first == nullptr)
        return false;
    first->isHeld = false;
    schedule(event);
    return true;
}

void Subscriptions::markChanged(const Resource& resource)
{
    for (auto event = m_events.begin(); event != m_events.end(); ++event) {
        if (event->second.source.resource != &resource)
            continue;
        event->second.isChanged = true;
        schedule(event);
    }
}

std::optional<Subscriptions::Time> Subscriptions::nextDue() const
{
    if (m_due.empty())
        return std::nullopt;
    return m_due.begin()->first;
}

std::vector<Evaluation> Subscriptions::takeDue(Time now, std::size_t maxCount)
{
    m_lastTime = now;
    std::vector<Evaluation> evaluations;
    while (evaluations.size() < maxCount && !m_due.empty() && m_due.begin()->first <= now) {
        const auto event = m_events.find(m_due.begin()->second);
        try {
            evaluations.push_back({++m_lastEvaluation, event->second.request, event->second.known, false});
        } catch (const std::bad_alloc&) {
            if (evaluations.empty())
                throw;
            break;
        }
        begin(event->second, evaluations.back(), now);
        schedule(event);
    }
    return evaluations;
}

void Subscriptions::begin(Event& event, Evaluation& evaluation, Time now)
{
    for (auto& [connection, subscription] : event.subscriptions) {
        const bool hasInterval = subscription.terms.interval.count() > 0;
        const bool isLimitOver = subscription.isEstablished && !subscription.isHeld &&
                                 subscription.lastSent + subscription.terms.updateLimit <= now;
        subscription.awaited = subscription.openRequests;
        subscription.mustHear = hasInterval && isLimitOver && subscription.nextInterval <= now;
        subscription.mayHear = !hasInterval && isLimitOver;
        evaluation.isAlwaysSent = evaluation.isAlwaysSent || subscription.awaited > 0 ||
                                  subscription.mustHear ||
                                  (subscription.mayHear && isBehind(event, subscription));
    }
    event.evaluation = evaluation.id;
    event.evaluatedAt = now;
    event.isChanged = false;
}

bool Subscriptions::isBehind(const Event& event, const Subscription& subscription)
{
    return subscription.sent != event.known;
}

std::vector<Delivery> Subscriptions::finish(const Evaluation& evaluation, Outcome outcome,
                                            const Fingerprint& fingerprint, Time now)
{
    std::vector<Delivery> deliveries;
    const std::string key = evaluation.request->getEvent().toString();
    const auto event = m_events.find(key);
    // All who were subscribed may have left meanwhile, and others come.
    if (event == m_events.end() || event->second.evaluation != evaluation.id)
        return deliveries;
    auto& subscriptions = event->second.subscriptions;
    deliveries.reserve(subscriptions.size());
    reserveFor(event->second, fingerprint);
    event->second.evaluation.reset();
    event->second.known = fingerprint;
    for (auto position = subscriptions.begin(); position != subscriptions.end();) {
        const ConnectionId connection = position->first;
        std::optional<Delivery> delivery = deliver(position->second, outcome, fingerprint, now);
        const bool isEnded = delivery && delivery->kind != Delivery::Kind::STATE;
        if (delivery) {
            delivery->connection = connection;
            deliveries.push_back(*delivery);
        }
        position = isEnded ? subscriptions.erase(position) : std::next(position);
        if (isEnded)
            forget(connection, key);
    }
    eraseOrSchedule(event);
    return deliveries;
}

/// Lets `fingerprint` be noted afterwards without taking memory.
void Subscriptions::reserveFor(Event& event, const Fingerprint& fingerprint)
{
    event.known.reserve(fingerprint.size());
    for (auto& [connection, subscription] : event.subscriptions)
        subscription.sent.reserve(fingerprint.size());
}

/// The delivery to one subscriber, which is not named in it; nothing if it has nothing to hear.
std::optional<Delivery> Subscriptions::deliver(Subscription& subscription, Outcome outcome,
                                               const Fingerprint& fingerprint, Time now)
{
    const std::size_t awaited = std::exchange(subscription.awaited, 0);
    const bool isOwed = std::exchange(subscription.mustHear, false) || awaited > 0;
    const bool isNews = std::exchange(subscription.mayHear, false) && subscription.sent != fingerprint;
    if (outcome == Outcome::ABSENT && subscription.isEstablished)
        return Delivery{0, Delivery::Kind::GONE, subscription.openRequests};
    if (outcome != Outcome::STATE && awaited > 0)
        return Delivery{0, Delivery::Kind::REFUSAL, subscription.openRequests};
    if (!isOwed && !isNews)
        return std::nullopt;
    subscription.openRequests -= awaited;
    noteSent(subscription, fingerprint, now);
    return Delivery{0, Delivery::Kind::STATE, awaited};
}

void Subscriptions::noteSent(Subscription& subscription, const Fingerprint& fingerprint, Time now)
{
    const SubscriptionTerms& terms = subscription.terms;
    // The beat is kept, but messages that were missed are not sent one after the other.
    const Time nextBeat = subscription.nextInterval + terms.interval;
    subscription.nextInterval = nextBeat > now ? nextBeat : now + terms.interval;
    subscription.isEstablished = true;
    subscription.lastSent = now;
    subscription.sent = fingerprint;
}

std::optional<Subscriptions::Time> Subscriptions::dueTime(const Event& event,
                                                          const Subscription& subscription) const
{
    // Not before all others: who asks again and again must keep nobody from being told.
    if (subscription.openRequests > 0)
        return subscription.requestedAt;
    if (subscription.isHeld)
        return std::nullopt;
    const Time limit = subscription.lastSent + subscription.terms.updateLimit;
    // The limit is not rounded: where it is as long as the interval, each message would be late by a tick.
    if (subscription.terms.interval.count() > 0)
        return std::max(limit, roundUp(subscription.nextInterval, m_tick));
    if (event.isChanged || isBehind(event, subscription))
        return limit;
    if (event.source.isPolled)
        return std::max(limit,
                        event.evaluatedAt + std::max(subscription.terms.updateLimit, m_shortestPollPeriod));
    return std::nullopt;
}

void Subscriptions::schedule(Events::iterator event)
{
    std::optional<Time> earliest;
    if (!event->second.evaluation) {
        for (const auto& [connection, subscription] : event->second.subscriptions) {
            const std::optional<Time> due = dueTime(event->second, subscription);
            if (due && (!earliest || *due < *earliest))
                earliest = due;
        }
    }
    setDue(event, earliest);
}

void Subscriptions::setDue(Events::iterator event, std::optional<Time> due)
{
    Event& changed = event->second;
    if (changed.due)
        changed.notDue = m_due.extract(*std::exchange(changed.due, std::nullopt));
    if (!due)
        return;
    changed.notDue.value().first = *due;
    changed.due = m_due.insert(std::move(changed.notDue)).position;
}

void Subscriptions::forget(ConnectionId connection, const std::string& key)
{
    const auto events = m_eventsOf.find(connection);
    events->second.erase(key);
    if (events->second.empty())
        m_eventsOf.erase(events);
    --m_count;
}

void Subscriptions::eraseOrSchedule(Events::iterator event)
{
    if (!event->second.subscriptions.empty())
        return schedule(event);
    setDue(event, std::nullopt);
    m_events.erase(event);
}

} // namespace Zovi::ServiceKit
