#pragma once
// GET /api/events: server-sent events. Each open stream has its own bounded queue in CMEventHub, so a
// slow or gone client loses only its own events. The stream carries one JSON object per "data:" line
// and a comment line (": keepalive") every second without events, which is also how a client that
// went away is noticed: the write fails and the stream, with its queue, is forgotten. When events of
// a stream were dropped, {"path": "", "change": "reset"} goes out before the next one: the client
// must read again whatever it shows. The stream ends when the host shuts down.
// Handlers run in the server's worker threads; install() from the main thread before the server starts.
#include <atomic>
#include <memory>
#include <string>

class CMEventSubscriber;

namespace httplib {
class Server;
class DataSink;
}  // namespace httplib

class EventStream
{
public:
    static constexpr int KeepAliveMs = 1000;
    // stopping: set by the host before it closes the hub's subscribers. At most maxStreams are open
    // at once (each holds one server thread); more are answered 503.
    EventStream(const std::atomic<bool>* stopping, int maxStreams);
    void install(httplib::Server& server);
    int openStreams() const { return m_open.load(); }

    // What a stream sends next, waiting up to waitMs: the next event as a "data:" block (after a
    // reset block when events were dropped), a keepalive comment when none came, or an empty text
    // once the subscriber is closed.
    static std::string nextChunk(CMEventSubscriber& subscriber, int waitMs);

private:
    struct Stream;
    // One step of a stream. False when the client is gone.
    bool pump(Stream& stream, httplib::DataSink& sink) const;

    const std::atomic<bool>* m_stopping;
    int m_maxStreams;
    std::atomic<int> m_open{0};
};
