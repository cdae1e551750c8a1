#include "Lobby.h"

#include <Poco/Exception.h>
#include <Poco/Timespan.h>

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <string_view>
#include <thread>

namespace Zovi::ServiceKit
{

namespace
{

using namespace std::chrono_literals;

/// Stands for the listener in the poll; guests are numbered from 1.
constexpr std::uint64_t LISTENER_ID = 0;

/// Who has sent more without an end is given out as it is.
constexpr std::size_t MAX_LOOK_LENGTH = 16 * 1024;

constexpr std::chrono::milliseconds CHECK_PERIOD = 20ms;

/// A guest is looked at when something has come, and not again until more comes.
constexpr std::uint32_t AWAITED_OF_GUESTS = EPOLLIN | EPOLLRDHUP | EPOLLET;

bool hasWholeHead(std::string_view bytes)
{
    return bytes.size() == MAX_LOOK_LENGTH || bytes.find("\n\r\n") != std::string_view::npos ||
           bytes.find("\n\n") != std::string_view::npos;
}

bool isForNow(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

LobbySocket::LobbySocket(Poco::Net::SocketImpl* listener, const LobbyLimits& limits)
    : m_listener(listener, true)
    , m_limits(limits)
{
    reset(listener->sockfd());
    // One that has left meanwhile must not hold up the others.
    m_listener->setBlocking(false);
    m_poll.add(listener->sockfd(), LISTENER_ID, EPOLLIN);
}

LobbySocket::~LobbySocket()
{
    // The descriptor belongs to the shared listener.
    reset();
}

void LobbySocket::close()
{
    reset();
}

bool LobbySocket::poll(const Poco::Timespan& timeout, int)
{
    const Clock::time_point end = Clock::now() + std::chrono::microseconds(timeout.totalMicroseconds());
    do {
        waitForEvents(end);
        checkTimes();
    } while (m_ready.empty() && Clock::now() < end);
    return !m_ready.empty();
}

Poco::Net::SocketImpl* LobbySocket::acceptConnection(Poco::Net::SocketAddress& client)
{
    if (m_ready.empty())
        throw Poco::IllegalStateException("nobody is to be given out");
    Poco::AutoPtr<ArrivedSocket> socket = m_ready.front();
    m_ready.pop_front();
    client = socket->peerAddress();
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): references are counted
    return socket.duplicate();
}

void LobbySocket::waitForEvents(Clock::time_point end)
{
    std::chrono::milliseconds time(0);
    if (m_ready.empty())
        time = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (!m_guests.empty())
        time = std::min(time, CHECK_PERIOD);
    const int count = m_poll.wait(static_cast<int>(std::max(time, 0ms).count()));
    for (int i = 0; i < count; ++i) {
        const auto [id, events] = m_poll.ready(i);
        const auto guest = m_guests.find(id);
        if (id == LISTENER_ID)
            takeArrivals();
        else if (guest != m_guests.end())
            look(guest, events);
    }
}

void LobbySocket::takeArrivals()
{
    static constexpr int MANY = 64;
    for (int i = 0; i < MANY; ++i) {
        const int descriptor = ::accept4(m_listener->sockfd(), nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0) {
            if (!isForNow(errno) && errno != ECONNABORTED)
                giveUpDescriptor();
            return;
        }
        admit(descriptor);
    }
}

/// Called when the system has no descriptor left.
void LobbySocket::giveUpDescriptor()
{
    if (!m_guests.empty())
        m_guests.erase(m_guests.begin());
    else
        std::this_thread::sleep_for(CHECK_PERIOD); // others have them all, and may give some back
}

void LobbySocket::admit(int descriptor)
{
    if (m_guests.size() >= m_limits.maxWaiting)
        m_guests.erase(m_guests.begin());
    const Guests::iterator guest = makeGuest(descriptor);
    if (guest == m_guests.end())
        return;
    if (!m_poll.add(descriptor, guest->first, AWAITED_OF_GUESTS))
        m_guests.erase(guest);
    if (descriptor > m_limits.highestDescriptor && m_guests.size() > 1)
        m_guests.erase(m_guests.begin());
}

/// The end if memory is wanting; the connection is closed then.
LobbySocket::Guests::iterator LobbySocket::makeGuest(int descriptor)
{
    Poco::AutoPtr<ArrivedSocket> socket;
    try {
        socket = new ArrivedSocket(descriptor);
        return m_guests.emplace(++m_lastId, Guest{socket, Clock::now()}).first;
    } catch (const std::bad_alloc&) {
        if (!socket)
            ::close(descriptor);
        return m_guests.end();
    }
}

void LobbySocket::look(Guests::iterator guest, std::uint32_t events)
{
    std::array<char, MAX_LOOK_LENGTH> bytes;
    ArrivedSocket& socket = *guest->second.socket;
    const auto count = ::recv(socket.sockfd(), bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    if (count < 0 && isForNow(errno))
        return;
    if (count <= 0) {
        m_guests.erase(guest);
        return;
    }
    if (!socket.requestBegin)
        socket.requestBegin = Clock::now();
    if ((events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0 ||
        hasWholeHead({bytes.data(), static_cast<std::size_t>(count)}))
        giveOut(guest);
}

void LobbySocket::checkTimes()
{
    const Clock::time_point now = Clock::now();
    if (now < m_nextCheck)
        return;
    m_nextCheck = now + CHECK_PERIOD;
    for (auto position = m_guests.begin(); position != m_guests.end();) {
        const auto guest = position++;
        const auto& begin = guest->second.socket->requestBegin;
        if (begin && now - *begin > m_limits.requestTimeout)
            giveOut(guest);
        else if (!begin && now - guest->second.arrival > m_limits.idleTimeout)
            m_guests.erase(guest);
    }
}

void LobbySocket::giveOut(Guests::iterator guest)
{
    m_poll.remove(guest->second.socket->sockfd());
    try {
        m_ready.push_back(guest->second.socket);
    } catch (const std::bad_alloc&) {
        // It is closed, rather than waited for without end.
    }
    m_guests.erase(guest);
}

} // namespace Zovi::ServiceKit
