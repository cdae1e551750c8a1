#pragma once

#include "HostProgram.h"

#include <Poco/Net/SocketAddress.h>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

namespace Zovi::Test
{

/// One host service for all tests of a suite, which leave it as they have found it.
class HostTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        program = std::make_unique<HostProgram>();
        address = std::make_unique<Poco::Net::SocketAddress>(program->waitForAddress());
    }

    static void TearDownTestSuite()
    {
        program->sendSignal(SIGTERM);
        EXPECT_EQ(program->wait(), 0);
        program.reset();
        address.reset();
    }

    inline static std::unique_ptr<HostProgram> program;
    inline static std::unique_ptr<Poco::Net::SocketAddress> address;
};

} // namespace Zovi::Test
