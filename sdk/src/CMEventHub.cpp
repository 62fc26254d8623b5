#include "CMEventHub.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace {

class Queue : public CMEventSubscriber
{
public:
    explicit Queue(int limit) : m_limit(std::max(1, limit)) {}

    Next next(QVariantHash* event, int timeoutMs) override
    {
        std::unique_lock<std::mutex> locker(m_mutex);
        const auto ready = [this]() { return !m_events.empty() || m_closed; };
        if (timeoutMs < 0)
            m_condition.wait(locker, ready);
        else
            m_condition.wait_for(locker, std::chrono::milliseconds(timeoutMs), ready);
        if (m_closed)
            return Closed;
        if (m_events.empty())
            return TimedOut;
        if (event)
            *event = m_events.front();
        m_events.pop_front();
        return Event;
    }

    int takeDroppedCount() override
    {
        std::lock_guard<std::mutex> locker(m_mutex);
        return std::exchange(m_dropped, 0);
    }

    void close() override
    {
        std::lock_guard<std::mutex> locker(m_mutex);
        m_closed = true;
        m_events.clear();
        m_condition.notify_all();
    }

    void push(const QVariantHash& event)
    {
        std::lock_guard<std::mutex> locker(m_mutex);
        if (m_closed)
            return;
        if (static_cast<int>(m_events.size()) >= m_limit) {
            m_events.pop_front();
            ++m_dropped;
        }
        m_events.push_back(event);
        m_condition.notify_one();
    }

private:
    // Standard primitives rather than Qt's, so that ThreadSanitizer sees every hand-over.
    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::deque<QVariantHash> m_events;
    const int m_limit;
    int m_dropped = 0;
    bool m_closed = false;
};

}  // namespace

// The hub only watches its subscribers: a stream that ends just drops its pointer, and the hub
// forgets it at the next look.
struct CMEventHub::Impl
{
    std::mutex mutex;
    std::vector<std::weak_ptr<Queue>> queues;

    std::vector<std::shared_ptr<Queue>> live()
    {
        std::lock_guard<std::mutex> locker(mutex);
        std::vector<std::shared_ptr<Queue>> result;
        result.reserve(queues.size());
        for (const auto& weak : queues) {
            if (auto queue = weak.lock())
                result.push_back(std::move(queue));
        }
        queues.assign(result.begin(), result.end());
        return result;
    }
};

CMEventHub& CMEventHub::instance()
{
    static CMEventHub hub;
    return hub;
}

std::shared_ptr<CMEventHub::Impl> CMEventHub::impl()
{
    static const std::shared_ptr<Impl> impl = std::make_shared<Impl>();
    return impl;
}

std::shared_ptr<CMEventSubscriber> CMEventHub::subscribe(int queueLimit)
{
    auto queue = std::make_shared<Queue>(queueLimit);
    const auto hub = impl();
    std::lock_guard<std::mutex> locker(hub->mutex);
    hub->queues.push_back(queue);
    return queue;
}

void CMEventHub::publish(const QVariantHash& event)
{
    // Pushed outside the hub's lock, so one busy queue never holds up subscribing or other publishers.
    for (const auto& queue : impl()->live())
        queue->push(event);
}

bool CMEventHub::hasSubscribers() const
{
    const auto hub = impl();
    std::lock_guard<std::mutex> locker(hub->mutex);
    return std::any_of(hub->queues.begin(), hub->queues.end(), [](const std::weak_ptr<Queue>& queue) { return !queue.expired(); });
}

int CMEventHub::subscriberCount() const
{
    return static_cast<int>(impl()->live().size());
}

void CMEventHub::closeAll()
{
    for (const auto& queue : impl()->live())
        queue->close();
}
