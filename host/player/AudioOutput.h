#pragma once
// The audio output: a GStreamer playbin that plays the track's uri into a sink chosen by description
// ("autoaudiosink", "fakesink sync=true", "wavenc ! filesink location=out.wav", ...). A queued uri is
// handed to the pipeline when it asks for the next stream (about-to-finish), so that it follows
// without a gap and without reopening the sink; advanced() is emitted when the pipeline's position
// says the new stream plays, which is the boundary the listener hears (its stream start reaches the
// sink up to a buffer earlier, while the former stream's tail still plays).
//
// Created, used and destroyed in the player's thread; GStreamer's own threads only take the queued uri
// (under m_queueMutex, waiting a bounded moment for queue() when the player has not answered yet) and
// post bus messages, which are handed to the player's thread and handled there. An http source gives
// up on a server that stays silent after a few seconds.
#include <QString>
#include <QTimer>
#include <atomic>
#include <condition_variable>
#include <mutex>

#include "PlayerOutput.h"

typedef struct _GstElement GstElement;
typedef struct _GstBus GstBus;
typedef struct _GstMessage GstMessage;

class AudioOutput : public PlayerOutput
{
    Q_OBJECT
public:
    static constexpr int CannotOpenErrorCode = 1;    // missing file, unreachable server, refused uri
    static constexpr int CannotDecodeErrorCode = 2;  // not audio, or data the decoders refuse
    static constexpr int PipelineErrorCode = 3;      // anything else the pipeline reports

    // Whether GStreamer starts and sinkDescription builds a sink that opens a real output (a sink that
    // falls back to discarding the sound does not count, unless the description asks for a fakesink).
    // False with *why. Any thread; initialises GStreamer once.
    static bool probe(const QString& sinkDescription, QString* why);
    // The output, or null with *error when GStreamer or the sink cannot be set up.
    static AudioOutput* create(const QString& sinkDescription, QString* error);
    ~AudioOutput() override;

    bool open(const QString& uri, qint64 lengthMs, bool paused) override;
    void queue(const QString& uri, qint64 lengthMs) override;
    void pause() override;
    void resume() override;
    void stop() override;
    void seek(qint64 ms) override;
    void setVolume(int level) override;

    qint64 playTime() const override;
    qint64 length() const override { return m_length; }
    qint64 realMsUntil(qint64 target) const override;
    QString description() const override;
    bool confirmsOpening() const override { return true; }

private:
    AudioOutput(GstElement* playbin, const QString& sinkDescription);
    static void on_playbin_aboutToFinish(GstElement* playbin, void* self);
    static void on_playbin_sourceSetup(GstElement* playbin, GstElement* source, void*);
    static int on_bus_syncMessage(GstBus* bus, GstMessage* message, void* self);
    void handle(GstMessage* message);
    void updateLength();
    void startPipeline(const QString& uri, bool paused, qint64 fromMs);
    void endQueueWait();
    void beginJoin();
    void on_joinTimer_timeout();
    void finishJoin();
    bool reopenAfterFailedHandOver();

    GstElement* m_playbin;  // owned
    GstBus* m_bus;          // owned
    QString m_sink;
    // Counts the times the pipeline was sent back to READY; a message posted before the latest is stale.
    // Written in the player's thread, read in any.
    std::atomic<unsigned> m_pipeline{0};
    std::mutex m_queueMutex;
    QString m_queued;      // under m_queueMutex: the uri to hand over at about-to-finish; empty: none
    QString m_handedUri;   // under m_queueMutex: the uri last handed over
    bool m_queueAnswered = false;  // under m_queueMutex: queue() told what follows the stream heard last
    qint64 m_queuedLength = 0;     // under m_queueMutex: the queued uri's length as the tags say it
    bool m_lengthKnown = false;    // under m_queueMutex: the stream has a length, so the player asks
                                   // what follows it before its end
    unsigned m_queueWaitsEnded = 0;  // under m_queueMutex: counts the calls that release a wait for queue()
    std::condition_variable m_queueChanged;  // either of the two changed
    bool m_open = false;           // a stream was opened and neither ended, failed nor stopped
    bool m_playing = false;        // asked to play, not paused
    bool m_awaitingFirst = false;  // the opened uri's own stream start is still to come
    bool m_prerolled = false;      // the opened stream can seek
    qint64 m_pendingSeek = -1;     // ms to seek to once it can; -1: none
    QString m_uri;                 // of the stream the listener hears
    QTimer* m_joinTimer;           // runs while the former stream's tail plays after the next one started
    qint64 m_joinFrom = 0;         // the former stream's position when its successor started
    qint64 m_joinSince = 0;        // monotonic ms of that moment
    bool m_joinReset = false;      // the position left the former stream's
    std::atomic<bool> m_handedOver{false};  // the queued uri went to the pipeline; its start is to come
    qint64 m_length = 0;
    mutable qint64 m_lastPosition = 0;  // what the pipeline last answered
};
