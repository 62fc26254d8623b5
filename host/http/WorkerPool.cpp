#include "http/WorkerPool.h"

WorkerPool::WorkerPool(int threads)
{
    m_threads.reserve(static_cast<size_t>(threads));
    for (int i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { work(); });
}

WorkerPool::~WorkerPool()
{
    shutdown();
}

void WorkerPool::enqueue(std::function<void()> job)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_idle.empty()) {
        m_jobs.push_back(std::move(job));
        return;
    }
    Idle* worker = m_idle.back();
    m_idle.pop_back();
    worker->job = std::move(job);
    worker->woken = true;
    lock.unlock();
    // The worker cannot be gone: it leaves only at shutdown, and nothing is enqueued from then on.
    worker->wake.notify_one();
}

size_t WorkerPool::idleWorkers() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_idle.size();
}

void WorkerPool::shutdown()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        for (Idle* worker : m_idle) {
            worker->woken = true;
            worker->wake.notify_one();
        }
        m_idle.clear();
    }
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
}

void WorkerPool::work()
{
    Idle self;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        std::function<void()> job;
        if (!m_jobs.empty()) {
            job = std::move(m_jobs.front());
            m_jobs.pop_front();
        } else if (m_stopping) {
            return;
        } else {
            self.woken = false;
            m_idle.push_back(&self);
            self.wake.wait(lock, [&self] { return self.woken; });
            job = std::move(self.job);
            self.job = nullptr;
            if (!job)
                continue;
        }
        lock.unlock();
        job();
        job = nullptr;  // what the job holds goes before the worker takes the next
        lock.lock();
    }
}
