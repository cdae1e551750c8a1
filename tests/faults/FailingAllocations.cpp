#include "FailingAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{

std::atomic<long> liveBlockCount{0};
thread_local long countdown = 0;

void* allocate(std::size_t size)
{
    if (countdown > 0 && --countdown == 0)
        throw std::bad_alloc();
    void* const block = std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++liveBlockCount;
    return block;
}

void release(void* block) noexcept
{
    if (block)
        --liveBlockCount;
    std::free(block);
}

} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}

void* operator new[](std::size_t size)
{
    return allocate(size);
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete[](void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    release(block);
}

namespace Zovi::Test::FailingAllocations
{

void arm(long number)
{
    countdown = number;
}

bool disarm()
{
    const bool hasFailed = countdown == 0;
    countdown = 0;
    return hasFailed;
}

long liveBlocks()
{
    return liveBlockCount;
}

} // namespace Zovi::Test::FailingAllocations
