#pragma once
// The front end's worker threads. A job goes to the worker that became idle last: its stack and
// caches are still warm, and only it is woken, after the pool's lock is released, so it never wakes
// just to wait for that lock. When every worker is busy, jobs wait and are taken in order.
// Threads: enqueue() from any thread, never once shutdown() began; shutdown() (or the destructor)
// from the owner: the queued jobs still run, then the workers end and are joined.
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class WorkerPool
{
public:
    explicit WorkerPool(int threads);
    ~WorkerPool();  // shutdown()
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void enqueue(std::function<void()> job);
    void shutdown();
    // Workers waiting for a job; a worker counts once it finished its job and is ready for the next.
    size_t idleWorkers() const;

private:
    // A worker waiting for a job; lives on the worker's own stack.
    struct Idle
    {
        std::condition_variable wake;
        std::function<void()> job;  // handed over by enqueue(); empty when woken to end
        bool woken = false;
    };
    void work();

    mutable std::mutex m_mutex;
    std::deque<std::function<void()>> m_jobs;
    std::vector<Idle*> m_idle;  // the last one became idle last
    bool m_stopping = false;
    std::vector<std::thread> m_threads;
};
