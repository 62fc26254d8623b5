#include "CMEventHub.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QWaitCondition>
#include <algorithm>
#include <deque>
#include <utility>
#include <vector>

namespace {

class Queue : public CMEventSubscriber
{
public:
    explicit Queue(int limit) : m_limit(std::max(1, limit)) {}

    bool next(QVariantHash* event, int timeoutMs) override
    {
        QMutexLocker locker(&m_mutex);
        const QDeadlineTimer deadline = timeoutMs < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeoutMs);
        while (m_events.empty() && !m_closed) {
            if (!m_condition.wait(&m_mutex, deadline))
                break;
        }
        if (m_closed || m_events.empty())
            return false;
        if (event)
            *event = m_events.front();
        m_events.pop_front();
        return true;
    }

    int takeDroppedCount() override
    {
        QMutexLocker locker(&m_mutex);
        return std::exchange(m_dropped, 0);
    }

    void close() override
    {
        QMutexLocker locker(&m_mutex);
        m_closed = true;
        m_events.clear();
        m_condition.wakeAll();
    }

    void push(const QVariantHash& event)
    {
        QMutexLocker locker(&m_mutex);
        if (m_closed)
            return;
        if (static_cast<int>(m_events.size()) >= m_limit) {
            m_events.pop_front();
            ++m_dropped;
        }
        m_events.push_back(event);
        m_condition.wakeOne();
    }

private:
    QMutex m_mutex;
    QWaitCondition m_condition;
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
    mutable QMutex mutex;
    std::vector<std::weak_ptr<Queue>> queues;

    std::vector<std::shared_ptr<Queue>> live()
    {
        QMutexLocker locker(&mutex);
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
    QMutexLocker locker(&hub->mutex);
    hub->queues.push_back(queue);
    return queue;
}

void CMEventHub::publish(const QVariantHash& event)
{
    // Pushed outside the hub's lock, so one busy queue never holds up subscribing or other publishers.
    for (const auto& queue : impl()->live())
        queue->push(event);
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
