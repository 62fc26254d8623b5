#include "http/EventStream.h"

#include <QElapsedTimer>
#include <httplib.h>

#include "CMEventHub.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "http/HttpErrors.h"

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

bool writeEvent(httplib::DataSink& sink, const QVariantHash& event)
{
    return writeText(sink, "data: " + KeloJson::stringify(event).toStdString() + "\n\n");
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
        KELO_LOG_INFO("Host", "event stream opened, " << m_open.load() << " open");
        res.set_header("Cache-Control", "no-cache");
        res.set_chunked_content_provider(
            "text/event-stream",
            [this, stream](size_t, httplib::DataSink& sink) { return pump(*stream, sink); },
            [this, stream](bool) {
                stream->subscriber.reset();
                const int open = --m_open;
                KELO_LOG_INFO("Host", "event stream closed, " << open << " open");
            });
    });
}

bool EventStream::pump(Stream& stream, httplib::DataSink& sink) const
{
    if (!stream.greeted) {
        stream.greeted = true;
        return writeText(sink, ": connected\n\n");
    }
    QVariantHash event;
    QElapsedTimer waited;
    waited.start();
    if (!stream.subscriber->next(&event, KeepAliveMs)) {
        // A closed subscriber answers at once; a quiet one after the whole wait.
        if (m_stopping->load() || waited.elapsed() < KeepAliveMs / 2) {
            sink.done();
            return true;
        }
        return writeText(sink, ": keepalive\n\n");
    }
    if (stream.subscriber->takeDroppedCount() > 0) {
        const QVariantHash reset = {{QStringLiteral("path"), QString()}, {QStringLiteral("change"), QStringLiteral("reset")}};
        if (!writeEvent(sink, reset))
            return false;
    }
    return writeEvent(sink, event);
}
