#include "DeadlineSocket.h"

#include <Poco/Exception.h>
#include <Poco/Timespan.h>

#include <sys/socket.h>

#include <algorithm>

namespace Zovi::ServiceKit
{

DeadlineSocket::DeadlineSocket(Poco::Net::SocketImpl* connection, OpenConnections::Entry& entry,
                               Duration requestTimeout, Duration answerTimeout)
    : StreamSocketImpl(connection->sockfd())
    , m_connection(connection, true)
    , m_entry(entry)
    , m_requestTimeout(requestTimeout)
    , m_answerTimeout(answerTimeout)
{
    beginExchange(Clock::now());
}

DeadlineSocket::~DeadlineSocket()
{
    // The descriptor belongs to the shared connection.
    reset();
}

void DeadlineSocket::beginExchange(Clock::time_point time)
{
    m_requestDeadline = time + m_requestTimeout;
    m_answerDeadline.reset();
}

void DeadlineSocket::close()
{
    reset();
}

int DeadlineSocket::receiveBytes(void* buffer, int length, int flags)
{
    waitFor(SELECT_READ, m_requestDeadline);
    return StreamSocketImpl::receiveBytes(buffer, length, flags);
}

int DeadlineSocket::sendBytes(const void* buffer, int length, int flags)
{
    if (!m_answerDeadline)
        m_answerDeadline = Clock::now() + m_answerTimeout;
    const char* bytes = static_cast<const char*>(buffer);
    int sent = 0;
    while (sent < length) {
        waitFor(SELECT_WRITE, *m_answerDeadline);
        // The direct base would wait without a limit until all is sent.
        // NOLINTNEXTLINE(bugprone-parent-virtual-call)
        sent += SocketImpl::sendBytes(bytes + sent, length - sent, flags | MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    return sent;
}

bool DeadlineSocket::poll(const Poco::Timespan& timeout, int mode)
{
    if (StreamSocketImpl::poll(Poco::Timespan(), mode))
        return true;
    m_entry.beginWait();
    const bool isReady = StreamSocketImpl::poll(timeout, mode);
    m_entry.endWait();
    return isReady;
}

void DeadlineSocket::waitFor(int mode, Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
    if (!poll(Poco::Timespan(std::max<std::chrono::microseconds::rep>(left.count(), 0)), mode))
        throw Poco::TimeoutException("The exchange takes too long");
}

} // namespace Zovi::ServiceKit
