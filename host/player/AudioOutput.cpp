#include "AudioOutput.h"

#include <gst/audio/streamvolume.h>
#include <chrono>
#include <gst/gst.h>
#include <memory>

#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPlayLogic.h"
#include "HostLog.h"

namespace {
// playbin's flags: audio with its own volume; pictures and subtitles of a file are not played.
constexpr guint PlayAudio = 1u << 1;
constexpr guint PlaySoftVolume = 1u << 4;
constexpr int JoinPollMs = 5;
constexpr qint64 JoinLimitMs = 1000;  // a tail longer than this is not waited for
// How long the pipeline's request for the next stream waits for the player's answer while the buffered
// rest plays. A short file is read whole as it is handed over, before the player heard it start and
// asked what follows; the former stream's tail, the join and a slow play logic fit in this. An answer
// that comes later costs a gap; a seek, stop or open ends the wait at once.
constexpr int QueueWaitMs = 3000;
// An http server that takes the connection and then sends nothing, or stops sending mid-stream, is
// given up after this long, with no retry: a listener who hears nothing for longer takes the stream for
// broken, while a slow first answer (a redirect, a TLS handshake over a poor link) still fits. The
// source's own default (15 s, retried 3 times) would hold the player for a minute.
constexpr guint HttpTimeoutS = 5;

bool initGStreamer(QString* why)
{
    GError* error = nullptr;
    if (gst_init_check(nullptr, nullptr, &error))
        return true;
    *why = QStringLiteral("GStreamer does not start: %1").arg(QString::fromUtf8(error ? error->message : "unknown"));
    g_clear_error(&error);
    return false;
}

GstElement* makeSink(const QString& description, QString* why)
{
    GError* error = nullptr;
    GstElement* sink = gst_parse_bin_from_description(description.toUtf8().constData(), TRUE, &error);
    if (!sink) {
        *why = QStringLiteral("the audio sink \"%1\" cannot be built: %2")
                   .arg(description, QString::fromUtf8(error ? error->message : "unknown"));
        g_clear_error(&error);
        return nullptr;
    }
    g_clear_error(&error);  // a warning about properties still leaves a usable bin
    return sink;
}

// autoaudiosink falls back to a fakesink of its own when no device opens.
bool discards(GstElement* sink)
{
    bool found = false;
    GstIterator* it = gst_bin_iterate_recurse(GST_BIN(sink));
    GValue item = G_VALUE_INIT;
    while (gst_iterator_next(it, &item) == GST_ITERATOR_OK) {
        GstElementFactory* factory = gst_element_get_factory(GST_ELEMENT(g_value_get_object(&item)));
        if (factory && g_strcmp0(gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory)), "fakesink") == 0)
            found = true;
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(it);
    return found;
}

QString messageText(GError* error, const gchar* debug)
{
    QString text = QString::fromUtf8(error ? error->message : "unknown error");
    if (debug)
        KELO_LOG_DEBUG(PlayerLogger, "GStreamer: " << debug);
    return text;
}
}  // namespace

bool AudioOutput::probe(const QString& sinkDescription, QString* why)
{
    if (!initGStreamer(why))
        return false;
    GstElement* sink = makeSink(sinkDescription, why);
    if (!sink)
        return false;
    bool ok = gst_element_set_state(sink, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE;
    if (!ok)
        *why = QStringLiteral("the audio sink \"%1\" does not open").arg(sinkDescription);
    else if (!sinkDescription.contains(QLatin1String("fakesink")) && discards(sink)) {
        ok = false;
        *why = QStringLiteral("no audio device opens for \"%1\"").arg(sinkDescription);
    }
    gst_element_set_state(sink, GST_STATE_NULL);
    gst_object_unref(sink);
    return ok;
}

AudioOutput* AudioOutput::create(const QString& sinkDescription, QString* error)
{
    if (!initGStreamer(error))
        return nullptr;
    GstElement* sink = makeSink(sinkDescription, error);
    if (!sink)
        return nullptr;
    GstElement* playbin = gst_element_factory_make("playbin", nullptr);
    if (!playbin) {
        gst_object_unref(sink);
        *error = QStringLiteral("GStreamer has no playbin (the base plug-ins are missing)");
        return nullptr;
    }
    g_object_set(playbin, "audio-sink", sink, "flags", PlayAudio | PlaySoftVolume, nullptr);
    return new AudioOutput(playbin, sinkDescription);
}

AudioOutput::AudioOutput(GstElement* playbin, const QString& sinkDescription)
    : m_playbin(playbin), m_bus(gst_element_get_bus(playbin)), m_sink(sinkDescription), m_joinTimer(new QTimer(this))
{
    m_joinTimer->setInterval(JoinPollMs);
    CMGlobal::connect(m_joinTimer, &QTimer::timeout, this, &AudioOutput::on_joinTimer_timeout);
    g_signal_connect(m_playbin, "about-to-finish", G_CALLBACK(&AudioOutput::on_playbin_aboutToFinish), this);
    g_signal_connect(m_playbin, "source-setup", G_CALLBACK(&AudioOutput::on_playbin_sourceSetup), nullptr);
    gst_bus_set_sync_handler(m_bus, reinterpret_cast<GstBusSyncHandler>(&AudioOutput::on_bus_syncMessage), this,
                             nullptr);
}

AudioOutput::~AudioOutput()
{
    endQueueWait();
    // NULL joins the streaming threads; only then may the callbacks go.
    gst_element_set_state(m_playbin, GST_STATE_NULL);
    gst_bus_set_sync_handler(m_bus, nullptr, nullptr, nullptr);
    g_signal_handlers_disconnect_by_data(m_playbin, this);
    gst_object_unref(m_bus);
    gst_object_unref(m_playbin);
}

bool AudioOutput::open(const QString& uri, qint64 lengthMs, bool paused)
{
    KELO_ASSERT_THREAD(this);
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queued.clear();
        m_lengthKnown = lengthMs > 0;
    }
    m_length = 0;
    m_lastPosition = 0;
    if (!gst_uri_is_valid(uri.toUtf8().constData())) {
        stop();
        return false;
    }
    startPipeline(uri, paused, 0);
    if (!m_open)
        return false;
    return true;
}

void AudioOutput::startPipeline(const QString& uri, bool paused, qint64 fromMs)
{
    endQueueWait();  // READY waits for the streaming threads
    m_joinTimer->stop();
    gst_element_set_state(m_playbin, GST_STATE_READY);
    ++m_pipeline;  // what the former stream posted is stale now
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queueAnswered = false;
    }
    m_handedOver = false;
    m_uri = uri;
    g_object_set(m_playbin, "uri", uri.toUtf8().constData(), nullptr);
    m_awaitingFirst = true;
    m_prerolled = false;
    m_pendingSeek = fromMs > 0 ? fromMs : -1;
    m_open = true;
    m_playing = !paused;
    if (gst_element_set_state(m_playbin, paused ? GST_STATE_PAUSED : GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
        m_open = false;
        gst_element_set_state(m_playbin, GST_STATE_READY);
    }
}

// The stream handed over for a gapless join failed before it started, and the pipeline with it. The
// current stream goes on from where it was; the failed one is left to the player, which opens it
// again at the end and hears its failure then. Nothing is joined to the reopened stream, so its end
// does not wait for an answer the player already gave.
bool AudioOutput::reopenAfterFailedHandOver()
{
    if (!m_handedOver || m_awaitingFirst)
        return false;
    const qint64 position = playTime();
    KELO_LOG_INFO(PlayerLogger, "The next stream failed before it started; " << m_uri << " goes on at " << position << " ms");
    gst_element_set_state(m_playbin, GST_STATE_NULL);
    startPipeline(m_uri, !m_playing, position);
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queued.clear();
        m_queueAnswered = true;
    }
    return m_open;
}

void AudioOutput::queue(const QString& uri, qint64 lengthMs)
{
    KELO_ASSERT_THREAD(this);
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queued = uri;
        m_queuedLength = lengthMs;
        m_queueAnswered = true;
    }
    m_queueChanged.notify_all();
}

void AudioOutput::endQueueWait()
{
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        ++m_queueWaitsEnded;
    }
    m_queueChanged.notify_all();
}

void AudioOutput::pause()
{
    KELO_ASSERT_THREAD(this);
    if (!m_open)
        return;
    m_lastPosition = playTime();
    m_playing = false;
    gst_element_set_state(m_playbin, GST_STATE_PAUSED);
}

void AudioOutput::resume()
{
    KELO_ASSERT_THREAD(this);
    if (!m_open)
        return;
    m_playing = true;
    gst_element_set_state(m_playbin, GST_STATE_PLAYING);
}

void AudioOutput::stop()
{
    KELO_ASSERT_THREAD(this);
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_queued.clear();
    }
    endQueueWait();
    m_joinTimer->stop();
    m_open = false;
    m_playing = false;
    m_handedOver = false;
    m_pendingSeek = -1;
    m_lastPosition = 0;
    m_length = 0;
    gst_element_set_state(m_playbin, GST_STATE_READY);
    ++m_pipeline;
}

void AudioOutput::seek(qint64 ms)
{
    KELO_ASSERT_THREAD(this);
    if (!m_open)
        return;
    endQueueWait();  // a flushing seek waits for the streaming threads
    m_lastPosition = ms;
    if (!m_prerolled) {
        m_pendingSeek = ms;
        return;
    }
    if (!gst_element_seek_simple(m_playbin, GST_FORMAT_TIME, GstSeekFlags(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
                                 ms * GST_MSECOND))
        KELO_LOG_WARN(PlayerLogger, "The stream does not seek to " << ms << " ms");
}

void AudioOutput::setVolume(int level)
{
    KELO_ASSERT_THREAD(this);
    gst_stream_volume_set_volume(GST_STREAM_VOLUME(m_playbin), GST_STREAM_VOLUME_FORMAT_CUBIC,
                                 qBound(0, level, 100) / 100.0);
}

qint64 AudioOutput::playTime() const
{
    KELO_ASSERT_THREAD(this);
    if (m_joinTimer->isActive())
        return qMin(m_joinFrom + (QElapsedTimer_getMonotonicMsecs() - m_joinSince), qMax(m_length, m_joinFrom));
    if (!m_open)
        return m_lastPosition;
    gint64 position = 0;
    if (gst_element_query_position(m_playbin, GST_FORMAT_TIME, &position) && position >= 0)
        m_lastPosition = position / GST_MSECOND;
    return m_lastPosition;
}

qint64 AudioOutput::realMsUntil(qint64 target) const
{
    KELO_ASSERT_THREAD(this);
    const qint64 left = target - playTime();
    if (left <= 0)
        return 0;
    return m_open && m_playing ? left : -1;
}

QString AudioOutput::description() const
{
    KELO_ASSERT_THREAD(this);
    return QStringLiteral("the audio pipeline (sink \"%1\")").arg(m_sink);
}

// Runs in a streaming thread, while the current stream's data is still being played. A short file is
// read whole before the player heard what follows it; the answer is waited for while its tail plays.
void AudioOutput::on_playbin_aboutToFinish(GstElement* playbin, void* self)
{
    auto* output = static_cast<AudioOutput*>(self);
    std::unique_lock<std::mutex> lock(output->m_queueMutex);
    // Without a length the player asks only at the end, which this wait would put off.
    const unsigned waitsEnded = output->m_queueWaitsEnded;
    if (output->m_lengthKnown) {
        output->m_queueChanged.wait_for(lock, std::chrono::milliseconds(QueueWaitMs), [output, waitsEnded] {
            return output->m_queueAnswered || output->m_queueWaitsEnded != waitsEnded;
        });
    }
    if (output->m_queued.isEmpty())
        return;
    g_object_set(playbin, "uri", output->m_queued.toUtf8().constData(), nullptr);
    output->m_handedUri = output->m_queued;
    output->m_queued.clear();
    output->m_queueAnswered = false;  // what follows the handed stream is still to be asked
    output->m_lengthKnown = output->m_queuedLength > 0;
    output->m_handedOver = true;
}

// Runs in whichever thread creates the source of a stream.
void AudioOutput::on_playbin_sourceSetup(GstElement*, GstElement* source, void*)
{
    GstElementFactory* factory = gst_element_get_factory(source);
    if (!factory || g_strcmp0(gst_plugin_feature_get_name(GST_PLUGIN_FEATURE(factory)), "souphttpsrc") != 0)
        return;
    g_object_set(source, "timeout", HttpTimeoutS, "retries", 0, nullptr);
}

// Runs in whichever thread posts. The message goes to the player's thread inside the call that
// handles it, and never waits on the bus: the bus queues a message only after this handler returned,
// so a drain the handler asked for may run before the message is there and miss it for good.
int AudioOutput::on_bus_syncMessage(GstBus*, GstMessage* message, void* self)
{
    constexpr int handled = GST_MESSAGE_ERROR | GST_MESSAGE_WARNING | GST_MESSAGE_EOS | GST_MESSAGE_STREAM_START |
                            GST_MESSAGE_ASYNC_DONE | GST_MESSAGE_DURATION_CHANGED;
    if (!(GST_MESSAGE_TYPE(message) & handled))
        return GST_BUS_DROP;
    auto* output = static_cast<AudioOutput*>(self);
    const unsigned pipeline = output->m_pipeline;
    const std::shared_ptr<GstMessage> held(gst_message_ref(message), &gst_message_unref);
    QMetaObject::invokeMethod(
        output,
        [output, held, pipeline] {
            if (pipeline == output->m_pipeline)
                output->handle(held.get());
        },
        Qt::QueuedConnection);
    return GST_BUS_DROP;
}

void AudioOutput::handle(GstMessage* message)
{
    switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ERROR: {
        GError* error = nullptr;
        gchar* debug = nullptr;
        gst_message_parse_error(message, &error, &debug);
        const int code = error && error->domain == GST_RESOURCE_ERROR ? CannotOpenErrorCode
                         : error && error->domain == GST_STREAM_ERROR ? CannotDecodeErrorCode
                                                                      : PipelineErrorCode;
        const QString text = messageText(error, debug);
        g_clear_error(&error);
        g_free(debug);
        if (!m_open || reopenAfterFailedHandOver())
            return;
        stop();
        // A failed source may leave its error behind in the pipeline; only NULL clears everything.
        gst_element_set_state(m_playbin, GST_STATE_NULL);
        emit failed(code, text);
        return;
    }
    case GST_MESSAGE_WARNING: {
        GError* error = nullptr;
        gchar* debug = nullptr;
        gst_message_parse_warning(message, &error, &debug);
        KELO_LOG_WARN(PlayerLogger, "GStreamer: " << messageText(error, debug));
        g_clear_error(&error);
        g_free(debug);
        return;
    }
    case GST_MESSAGE_EOS:
        // A sink that does not keep time may reach the end before the join was seen.
        if (m_joinTimer->isActive())
            finishJoin();
        if (m_open) {
            m_lastPosition = playTime();
            m_open = false;
            m_playing = false;
            emit ended();
        }
        return;
    case GST_MESSAGE_STREAM_START:
        if (!m_open)
            return;
        if (m_awaitingFirst) {
            m_awaitingFirst = false;
            m_length = 0;
            updateLength();
            emit opened();
            return;
        }
        beginJoin();
        return;
    case GST_MESSAGE_ASYNC_DONE:
        m_prerolled = true;
        if (m_pendingSeek >= 0 && m_open) {
            const qint64 ms = m_pendingSeek;
            m_pendingSeek = -1;
            seek(ms);
        }
        updateLength();
        return;
    case GST_MESSAGE_DURATION_CHANGED:
        updateLength();
        return;
    default:
        return;
    }
}

void AudioOutput::beginJoin()
{
    // The position may already read the new stream's here, so the last one read counts too. It is not
    // run on by the time since: the former stream's tail still plays at the sink, and a position ahead
    // of it would take the tail for the new stream's start.
    const qint64 before = m_lastPosition;
    m_joinFrom = qMax(before, playTime());
    m_joinReset = false;
    m_joinSince = QElapsedTimer_getMonotonicMsecs();
    m_joinTimer->start();
}

// Right after the stream start the position may still be the former stream's; then it reads 0 until
// the new stream's first sample plays.
void AudioOutput::on_joinTimer_timeout()
{
    gint64 position = 0;
    const bool known = gst_element_query_position(m_playbin, GST_FORMAT_TIME, &position);
    const qint64 ms = known ? position / GST_MSECOND : 0;
    if (ms <= 0 || ms + JoinPollMs * 4 < m_joinFrom)
        m_joinReset = true;
    const bool started = m_joinReset && ms > 0;
    if (!started && QElapsedTimer_getMonotonicMsecs() - m_joinSince < JoinLimitMs)
        return;
    m_lastPosition = started ? position / GST_MSECOND : 0;
    finishJoin();
}

void AudioOutput::finishJoin()
{
    m_joinTimer->stop();
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_uri = m_handedUri;
    }
    m_handedOver = false;
    m_length = 0;
    updateLength();
    emit advanced();
}

void AudioOutput::updateLength()
{
    gint64 duration = 0;
    if (!m_open || !gst_element_query_duration(m_playbin, GST_FORMAT_TIME, &duration) || duration <= 0)
        return;
    const qint64 ms = duration / GST_MSECOND;
    if (ms == m_length)
        return;
    m_length = ms;
    if (!m_joinTimer->isActive()) {  // the length of the stream heard, not of one handed over
        std::lock_guard<std::mutex> lock(m_queueMutex);
        m_lengthKnown = true;
    }
    emit lengthChanged();
}
