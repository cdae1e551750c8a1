#pragma once

#include <sys/resource.h>

namespace Zovi::Test
{

/// No file can be opened by this process, and no socket, while it lives.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }

    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }

    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_before{};
};

} // namespace Zovi::Test
