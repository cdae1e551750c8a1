#pragma once

#include "FileText.h"
#include "ServiceKit/RequestError.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

namespace Zovi::Test
{

/// No file can be opened by this process, and no socket, while it lives.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        meetClasses();
        getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }

    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }

    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    // The undefined-behaviour sanitizer opens a pipe to look at an object of a class that it has not met
    // before.
    static void meetClasses()
    {
        Host::readLine("/proc/self/stat");
        try {
            Host::requireRoom(EMFILE);
        } catch (const ServiceKit::RequestError& refusal) {
            EXPECT_EQ(refusal.status(), Command::HTTPStatus::HTTP_SERVICE_UNAVAILABLE);
            EXPECT_STRNE(refusal.what(), "");
        }
    }

    rlimit m_before{};
};

} // namespace Zovi::Test
