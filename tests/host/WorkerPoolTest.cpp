// The front end's worker threads: which worker takes a job, and the order of jobs that wait.
#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "http/WorkerPool.h"

namespace {

// Holds the jobs that wait on it until opened.
class Gate
{
public:
    void pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_condition.wait(lock, [this] { return m_open; });
    }
    void open()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_condition.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_open = false;
};

void awaitIdle(const WorkerPool& pool, size_t count)
{
    while (pool.idleWorkers() != count)
        std::this_thread::yield();
}

}  // namespace

TEST(WorkerPool, TheWorkerThatBecameIdleLastTakesTheNextJob)
{
    WorkerPool pool(3);
    awaitIdle(pool, 3);
    Gate gates[3];
    std::mutex mutex;
    std::vector<std::thread::id> workers(3);
    for (int i = 0; i < 3; ++i) {
        pool.enqueue([&, i] {
            {
                std::lock_guard<std::mutex> lock(mutex);
                workers[i] = std::this_thread::get_id();
            }
            gates[i].pass();
        });
    }
    awaitIdle(pool, 0);
    // Freed one after the other: the worker of job 1 becomes idle last.
    size_t idle = 0;
    for (int i : {2, 0, 1}) {
        gates[i].open();
        awaitIdle(pool, ++idle);
    }
    std::thread::id taker;
    Gate done;
    pool.enqueue([&] {
        taker = std::this_thread::get_id();
        done.open();
    });
    done.pass();
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(taker, workers[1]);
}

TEST(WorkerPool, JobsBeyondTheWorkersWaitInOrderAndStillRunWhenThePoolShutsDown)
{
    WorkerPool pool(1);
    Gate gate;
    std::vector<int> ran;  // only the one worker writes it
    pool.enqueue([&] { gate.pass(); });
    for (int n = 1; n <= 5; ++n)
        pool.enqueue([&ran, n] { ran.push_back(n); });
    gate.open();
    pool.shutdown();
    EXPECT_EQ(ran, std::vector<int>({1, 2, 3, 4, 5}));
    EXPECT_EQ(pool.idleWorkers(), 0u);
}
