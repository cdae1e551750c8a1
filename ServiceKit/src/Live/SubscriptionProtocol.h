#pragma once

#include "Live/EventEvaluation.h"
#include "Live/Subscriptions.h"
#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/LiveOptions.h"
#include "ServiceKit/ServiceTree.h"

#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// What is to be sent to one client.
struct OutgoingMessage {
    ConnectionId connection;
    SharedFrame frame;    ///< null for a state that is not to be sent any more
    bool isState = false; ///< whether it takes the place of an older one of the same event
    std::string event;    ///< of a state
};

/// Carries out what clients ask for over their WebSockets, and says what they are told.
///
/// | message | answer |
/// | --- | --- |
/// | subscribe | acknowledgement and state, when the event was evaluated; or an error |
/// | unsubscribe | acknowledgement; `unableToUnsubscribe` without a subscription |
/// | data | `noData` without data; else 405, since data are taken over HTTP |
/// | anything else | `noData` if it is no JSON object with members, else `badData` or a 400 that tells more |
///
/// It knows nothing of sockets and threads, and is used by one thread.
class SubscriptionProtocol
{
public:
    using Messages = std::vector<OutgoingMessage>;

    /// All three must outlive it.
    SubscriptionProtocol(const ServiceTree& tree, const LiveOptions& options,
                         const ExchangeOptions& exchangeOptions);

    /// Takes a message of a client. Where memory is wanting, nothing has happened.
    Messages receive(ConnectionId connection, const std::string& text);

    /// The evaluation of an event has come to its end. If it throws, for want of memory, those who follow the
    /// event may wait for their messages in vain: they are to be dropped.
    Messages finish(const EvaluatedEvent& event, Subscriptions::Time now);

    /// A client has left. Never throws.
    void removeConnection(ConnectionId connection) { m_subscriptions.removeAll(connection); }

    Subscriptions& subscriptions() { return m_subscriptions; }
    const Subscriptions& subscriptions() const { return m_subscriptions; }

private:
    Messages answer(ConnectionId connection, const SharedRequest& request);
    Messages subscribe(ConnectionId connection, const SharedRequest& request);
    Messages unsubscribe(ConnectionId connection, const SharedRequest& request);
    std::string describeLimit(ConnectionId connection, const std::string& event) const;

    const ServiceTree& m_tree;
    const LiveOptions& m_options;
    const ExchangeOptions& m_exchangeOptions;
    Subscriptions m_subscriptions;
};

} // namespace Zovi::ServiceKit
