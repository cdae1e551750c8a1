#include "Live/EvaluationThreads.h"

#include <algorithm>
#include <utility>

namespace Zovi::ServiceKit
{

EvaluationThreads::EvaluationThreads(std::size_t count, const TreeReader& reader, Report report)
    : m_reader(reader)
    , m_report(std::move(report))
{
    for (std::size_t i = 0; i < std::max<std::size_t>(count, 1); ++i)
        m_threads.emplace_back([this] { run(); });
}

EvaluationThreads::~EvaluationThreads()
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
        m_report(ServiceKit::evaluate(next, m_reader));
        lock.lock();
    }
}

} // namespace Zovi::ServiceKit
