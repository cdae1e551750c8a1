#pragma once

#include "Live/EventEvaluation.h"
#include "ServiceKit/Resource.h"

#include <Poco/Net/StreamSocket.h>

#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// A connection that has just become a WebSocket.
struct NewConnection {
    Poco::Net::StreamSocket socket;
    std::string received; ///< what the client has sent behind its handshake already
};

/// What other threads hand to the one that holds the WebSockets. Any thread may put something in; that wakes
/// whoever waits for `descriptor` to become readable.
class LoopInbox : public ChangeListener
{
public:
    struct Content {
        std::vector<NewConnection> connections;
        std::vector<EvaluatedEvent> evaluated;
        std::set<const Resource*> changed;
        bool isStopping = false;
    };

    /// Throws `Poco::SystemException` if there is no descriptor left.
    LoopInbox();
    ~LoopInbox() override;
    LoopInbox(const LoopInbox&) = delete;
    LoopInbox& operator=(const LoopInbox&) = delete;

    int descriptor() const { return m_descriptor; }

    void put(const NewConnection& connection);
    void put(EvaluatedEvent&& event);
    void onChanged(const Resource& resource) override;

    /// The order to stop stays in the box.
    void stop();

    /// Empties the box. Does not wait.
    Content take();

private:
    void wake() const;

    int m_descriptor;
    std::mutex m_mutex;
    Content m_content;
};

} // namespace Zovi::ServiceKit
