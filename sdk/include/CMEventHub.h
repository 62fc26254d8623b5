#pragma once
// The process's event fan-out: row changes (CMSubscribe), settings changes (the root) and the
// player's state go in as JSON objects (the events of docs/api.md); every subscriber (an open events
// stream) takes them out of its own bounded queue. Publishing never blocks on a subscriber: when a queue is full its
// oldest event is dropped and the subscriber is marked as having lost events. Thread-safe throughout:
// any thread may publish, subscribe, and use a subscriber.
#include <QVariantHash>
#include <memory>

class CMEventSubscriber
{
public:
    // What next() found.
    enum Next {
        Event,     // *event holds the next event (when event is not null), taken from the queue
        TimedOut,  // none came within the wait
        Closed,    // the subscriber is closed; every later call answers Closed at once
    };

    virtual ~CMEventSubscriber() = default;
    // Waits up to timeoutMs (negative: without limit) for the next event.
    virtual Next next(QVariantHash* event, int timeoutMs) = 0;
    // How many events were dropped because the queue was full, since the last call (then reset to 0).
    virtual int takeDroppedCount() = 0;
    // Drops the queued events and wakes a waiting next(), which answers Closed from now on.
    virtual void close() = 0;
};

class CMEventHub
{
public:
    static CMEventHub& instance();

    static constexpr int DefaultQueueLimit = 4096;
    // The subscriber is removed from the hub when the returned pointer's last copy goes away.
    std::shared_ptr<CMEventSubscriber> subscribe(int queueLimit = DefaultQueueLimit);
    void publish(const QVariantHash& event);
    int subscriberCount() const;
    // Whether any subscriber is open: an event nobody will read need not be built. One that
    // subscribes right after this answered false misses the event, as it would had it been published.
    bool hasSubscribers() const;
    // Closes every subscriber (at shutdown, so that open streams end).
    void closeAll();

private:
    CMEventHub() = default;
    struct Impl;
    static std::shared_ptr<Impl> impl();
};
