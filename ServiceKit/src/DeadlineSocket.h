#pragma once

#include "OpenConnections.h"

#include <Poco/AutoPtr.h>
#include <Poco/Net/StreamSocketImpl.h>

#include <chrono>
#include <optional>

namespace Zovi::ServiceKit
{

/// A connection on which a whole exchange has a time limit, and not only each single read or write: who sends
/// or takes a byte at a time gains nothing by it. It tells when it waits for the client.
///
/// It shares the connection that it is made from, which stays open as long as anybody else holds it.
class DeadlineSocket : public Poco::Net::StreamSocketImpl
{
public:
    using Duration = std::chrono::milliseconds;

    /// `requestTimeout` runs from `beginExchange`, `answerTimeout` from the first byte sent after that.
    /// `entry` must outlive it.
    DeadlineSocket(Poco::Net::SocketImpl* connection, OpenConnections::Entry& entry, Duration requestTimeout,
                   Duration answerTimeout);

    /// The first byte of a request came at `time`, or the client may send it from then on.
    void beginExchange(std::chrono::steady_clock::time_point time);

    /// Lets go of the connection. It is closed by whoever holds it last, never twice, and never while
    /// somebody else may still use its descriptor.
    void close() override;

    /// These throw `Poco::TimeoutException` when the time is over.
    int receiveBytes(void* buffer, int length, int flags) override;
    int sendBytes(const void* buffer, int length, int flags) override;

    bool poll(const Poco::Timespan& timeout, int mode) override;

    using StreamSocketImpl::receiveBytes;
    using StreamSocketImpl::sendBytes;

protected:
    ~DeadlineSocket() override;

private:
    using Clock = std::chrono::steady_clock;

    void waitFor(int mode, Clock::time_point deadline);

    Poco::AutoPtr<Poco::Net::SocketImpl> m_connection;
    OpenConnections::Entry& m_entry;
    Duration m_requestTimeout;
    Duration m_answerTimeout;
    Clock::time_point m_requestDeadline;
    std::optional<Clock::time_point> m_answerDeadline;
};

} // namespace Zovi::ServiceKit
