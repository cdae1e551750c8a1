#include "OwnHosts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using Poco::Net::IPAddress;

TEST(OwnHosts, FindsTheHostOfAnAuthority)
{
    const struct {
        std::string authority;
        std::string host;
    } rows[] = {
        {"localhost", "localhost"},
        {"LocalHost:8080", "localhost"},
        {"localhost:", "localhost"},
        {"127.0.0.1:1", "127.0.0.1"},
        {"[::1]", "::1"},
        {"[FE80::1]:80", "fe80::1"},
        {"my-box_1.local:65535", "my-box_1.local"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.authority);
        EXPECT_EQ(hostOf(row.authority), row.host);
    }
}

TEST(OwnHosts, RefusesWhatIsNoAuthority)
{
    for (const std::string authority : {"", ":80", "a b", "a:b", "a:123456", "user@a", "a/b", "::1", "[::1",
                                        "[::1]x", "[a]", "[]", "[127.0.0.1]", "a,b", "a:80:80", "\xC3\xA4"}) {
        SCOPED_TRACE(authority);
        EXPECT_EQ(hostOf(authority), std::nullopt);
    }
}

TEST(OwnHosts, KnowsItsNamesAndTheAddressThatTheClientConnectedTo)
{
    const struct {
        std::string host;
        std::string connectedTo;
        bool isOwn;
    } rows[] = {
        {"localhost", "10.0.0.7", true},
        {"box", "10.0.0.7", true},
        {"10.0.0.7", "10.0.0.7", true},
        {"::1", "::1", true},
        {"0:0::1", "::1", true},
        {"10.0.0.7", "::ffff:10.0.0.7", true},
        {"10.0.0.8", "10.0.0.7", false},
        // The interface of a link-local address is known at this end only.
        {"fe80::1", "fe80::1%lo", true},
        {"fe80::1%lo", "fe80::1", true},
        {"fe80::2", "fe80::1%lo", false},
        {"127.0.0.1", "10.0.0.7", false},
        {"box.example", "10.0.0.7", false},
        {"localhost.example", "127.0.0.1", false},
        {"", "127.0.0.1", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.host + " at " + row.connectedTo);
        EXPECT_EQ(isOwnHost(row.host, {"Box"}, IPAddress(row.connectedTo)), row.isOwn);
    }
}

TEST(OwnHosts, TakesOnlyItselfAndWhomItWasToldForItsOrigin)
{
    const struct {
        std::string origin;
        std::string authority;
        bool isOwn;
    } rows[] = {
        {"http://localhost:8080", "localhost:8080", true},
        {"http://LOCALHOST", "localhost:80", true},
        {"http://localhost:80", "localhost", true},
        {"https://panel.example", "localhost:8080", true},
        {"http://localhost:3000", "localhost:8080", false},
        {"https://localhost:8080", "localhost:8080", false},
        {"http://localhost:8080.evil.example", "localhost:8080", false},
        {"http://panel.example", "localhost:8080", false},
        {"null", "localhost:8080", false},
        {"", "localhost:8080", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.origin);
        EXPECT_EQ(isOwnOrigin(row.origin, row.authority, {"https://panel.example"}), row.isOwn);
    }
}

} // namespace Zovi::ServiceKit
