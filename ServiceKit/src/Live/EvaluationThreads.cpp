#include "Live/EvaluationThreads.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

constexpr std::chrono::milliseconds RETRY_PERIOD{100};

} // namespace

EvaluationThreads::EvaluationThreads(std::size_t count, const TreeReader& reader, Report report)
    : m_reader(reader)
    , m_report(std::move(report))
{
    try {
        for (std::size_t i = 0; i < std::max<std::size_t>(count, 1); ++i)
            m_threads.emplace_back([this] { run(); });
    } catch (...) {
        end(); // those that have begun
        throw;
    }
}

EvaluationThreads::~EvaluationThreads()
{
    end();
}

void EvaluationThreads::end()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_waiting.clear();
    }
    m_hasWork.notify_all();
    for (std::thread& thread : m_threads)
        thread.join();
}

void EvaluationThreads::evaluate(Evaluation&& evaluation)
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(evaluation));
    }
    m_hasWork.notify_one();
}

void EvaluationThreads::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_isStopping) {
        m_hasWork.wait(lock, [this] { return m_isStopping || !m_waiting.empty(); });
        if (m_isStopping)
            return;
        const Evaluation next = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        bool isDone = carryOut(next);
        lock.lock();
        while (!isDone && !m_hasWork.wait_for(lock, RETRY_PERIOD, [this] { return m_isStopping; })) {
            lock.unlock();
            isDone = carryOut(next);
            lock.lock();
        }
    }
}

/// False for want of memory. Nobody would be told of the event any more if its evaluation never ended.
bool EvaluationThreads::carryOut(const Evaluation& evaluation)
{
    try {
        m_report(ServiceKit::evaluate(evaluation, m_reader));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace Zovi::ServiceKit
