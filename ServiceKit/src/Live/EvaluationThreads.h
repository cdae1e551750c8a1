#pragma once

#include "Live/EventEvaluation.h"
#include "ServiceKit/TreeReader.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Zovi::ServiceKit
{

/// A few threads that evaluate events in the order in which they were given.
class EvaluationThreads
{
public:
    using Report = std::function<void(EvaluatedEvent&&)>;

    /// `reader` must outlive it. `report` is called by the threads. If that, or the evaluation itself, ends
    /// for want of memory, both are done again a little later; it must throw nothing else.
    EvaluationThreads(std::size_t count, const TreeReader& reader, Report report);

    /// Waits for the evaluations that are under way; the others are dropped.
    ~EvaluationThreads();

    EvaluationThreads(const EvaluationThreads&) = delete;
    EvaluationThreads& operator=(const EvaluationThreads&) = delete;

    /// How many threads there are, one at least.
    std::size_t count() const { return m_threads.size(); }

    void evaluate(Evaluation&& evaluation);

private:
    void run();
    bool carryOut(const Evaluation& evaluation);
    void end();

    const TreeReader& m_reader;
    Report m_report;
    std::mutex m_mutex;
    std::condition_variable m_hasWork;
    std::deque<Evaluation> m_waiting;
    bool m_isStopping = false;
    std::vector<std::thread> m_threads;
};

} // namespace Zovi::ServiceKit
