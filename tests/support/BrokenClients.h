#pragma once

#include "LogCapture.h"
#include "RawClient.h"
#include "ServiceKit/HttpServer.h"

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace Zovi::Test
{

/// What the server has sent, without what differs from one time to the next.
inline std::string timeless(std::string answer)
{
    static const Poco::RegularExpression TIMES("(?<=\"timestamp\":)\\d+|(?<=Date: )[^\\r]+");
    TIMES.subst(answer, "", Poco::RegularExpression::RE_GLOBAL);
    return answer;
}

/// The rest that the server sends until it closes; it may end the connection by a reset as well.
inline std::string receiveRest(RawClient& client)
{
    try {
        return client.receiveRest();
    } catch (const Poco::TimeoutException&) {
        throw;
    } catch (const Poco::IOException&) {
        return "";
    }
}

/// A server whose clients break off. At the end of each test it serves as before; and when it has gone, no
/// descriptor and no thread of it are left, and it has logged no error.
class BrokenClients : public ::testing::Test
{
protected:
    /// Nobody comes to the end of this one.
    static constexpr std::chrono::seconds LONG{20};

    void serve(std::shared_ptr<const ServiceKit::ServiceTree> tree, const ServiceKit::ServerOptions& options)
    {
        m_descriptors = countEntries(DESCRIPTORS);
        m_threads = countEntries(THREADS);
        m_server = std::make_unique<ServiceKit::HttpServer>(std::move(tree), options);
        m_server->start();
    }

    void TearDown() override
    {
        expectNextWorks();
        m_server.reset();
        EXPECT_EQ(countEntries(DESCRIPTORS), m_descriptors);
        awaitEndOfThreads();
        EXPECT_EQ(countEntries(THREADS), m_threads);
        EXPECT_THAT(m_log.texts(), ::testing::IsEmpty()) << "clients that leave are no errors of the service";
    }

    RawClient connect() const { return RawClient(m_server->address()); }

    /// Whoever comes next is served.
    virtual void expectNextWorks() const
    {
        RawClient client = connect();
        client.send("GET /id HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_EQ(client.receive().status, 200);
        client.reset();
    }

private:
    static constexpr const char* DESCRIPTORS = "/proc/self/fd";
    static constexpr const char* THREADS = "/proc/self/task";

    static std::size_t countEntries(const char* folder)
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }

    /// The system lists a thread for a moment longer than it takes to join it.
    void awaitEndOfThreads() const
    {
        const auto end = std::chrono::steady_clock::now() + LONG;
        while (countEntries(THREADS) > m_threads && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
    }

    LogCapture m_log{Poco::Message::PRIO_ERROR};
    std::size_t m_descriptors = 0;
    std::size_t m_threads = 0;
    std::unique_ptr<ServiceKit::HttpServer> m_server;
};

} // namespace Zovi::Test
