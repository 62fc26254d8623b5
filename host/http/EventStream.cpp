#include "http/EventStream.h"

#include <httplib.h>

#include "CMEventHub.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "http/HttpErrors.h"
#include "HostLog.h"

struct EventStream::Stream
{
    std::shared_ptr<CMEventSubscriber> subscriber;
    bool greeted = false;
};

namespace {

bool writeText(httplib::DataSink& sink, const std::string& text)
{
    return sink.write(text.data(), text.size());
}

std::string eventBlock(const QVariantHash& event)
{
    return "data: " + KeloJson::stringifyUtf8(event).toStdString() + "\n\n";
}

}  // namespace

EventStream::EventStream(const std::atomic<bool>* stopping, int maxStreams)
    : m_stopping(stopping), m_maxStreams(maxStreams)
{
}

void EventStream::install(httplib::Server& server)
{
    server.Get("/api/events", [this](const httplib::Request&, httplib::Response& res) {
        if (++m_open > m_maxStreams || m_stopping->load()) {
            --m_open;
            return HttpErrors::answer(res, CMError(HttpErrors::UnavailableName(),
                                                   QStringLiteral("Too many open event streams.")));
        }
        // Subscribed before the answer starts: a client that has read the first line misses nothing.
        auto stream = std::make_shared<Stream>();
        stream->subscriber = CMEventHub::instance().subscribe();
        KELO_LOG_INFO(HostLogger, "event stream opened, " << m_open.load() << " open");
        res.set_header("Cache-Control", "no-cache");
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, stream](size_t, httplib::DataSink& sink) { return pump(*stream, sink); },
            [this, stream](bool) {
                stream->subscriber.reset();
                const int open = --m_open;
                KELO_LOG_INFO(HostLogger, "event stream closed, " << open << " open");
            });
    });
}

std::string EventStream::nextChunk(CMEventSubscriber& subscriber, int waitMs)
{
    QVariantHash event;
    switch (subscriber.next(&event, waitMs)) {
    case CMEventSubscriber::Closed:
        return std::string();
    case CMEventSubscriber::TimedOut:
        return ": keepalive\n\n";
    case CMEventSubscriber::Event:
        break;
    }
    std::string chunk;
    if (subscriber.takeDroppedCount() > 0)
        chunk = eventBlock({{QStringLiteral("path"), QString()}, {QStringLiteral("change"), QStringLiteral("reset")}});
    return chunk + eventBlock(event);
}

bool EventStream::pump(Stream& stream, httplib::DataSink& sink) const
{
    if (!stream.greeted) {
        stream.greeted = true;
        return writeText(sink, ": connected\n\n");
    }
    const std::string chunk = nextChunk(*stream.subscriber, KeepAliveMs);
    if (chunk.empty() || m_stopping->load()) {
        sink.done();
        return true;
    }
    return writeText(sink, chunk);
}
