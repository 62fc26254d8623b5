#pragma once
// What produces the sound of the player's tracks: the simulated clock or the audio pipeline. The
// player tells it what to play and when; it tells the player when a stream ended, failed, or gave way
// to the queued one. Created, used and destroyed in the player's thread only; its signals are emitted
// in that thread too.
#include <QObject>
#include <QString>

class PlayerOutput : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Plays uri from its start, or holds at its start when paused. lengthMs is what the track's tags
    // say (0: unknown). False when the uri is refused at once; a failure found later comes as failed().
    // Forgets whatever was queued.
    virtual bool open(const QString& uri, qint64 lengthMs, bool paused) = 0;
    // The uri to follow the current stream without a gap; an empty uri withdraws it, or says that none
    // follows. The player answers so for every stream it plays; an output that joins streams may hold
    // its own need for the answer a bounded moment. An output that cannot join streams ignores it, and
    // the player opens the next track after ended().
    virtual void queue(const QString& uri, qint64 lengthMs) = 0;
    virtual void pause() = 0;
    virtual void resume() = 0;
    virtual void stop() = 0;  // plays nothing until the next open()
    virtual void seek(qint64 ms) = 0;
    virtual void setVolume(int level) = 0;  // 0..100

    virtual qint64 playTime() const = 0;  // ms into the current stream
    virtual qint64 length() const = 0;    // ms as the stream itself says; 0: unknown
    // Real milliseconds until the play time reaches target: 0 when reached, -1 while held short of it.
    virtual qint64 realMsUntil(qint64 target) const = 0;
    // Whether opened() follows a successful open(); otherwise a stream plays once open() is true.
    virtual bool confirmsOpening() const { return false; }
    // Why this output was chosen or what it plays into, for the log.
    virtual QString description() const = 0;

signals:
    void opened();                 // the opened uri's stream started (only where confirmsOpening())
    void ended();                  // the current stream played to its end and nothing was queued
    void advanced();               // the queued uri follows the ended stream and plays now
    void failed(int code, const QString& message);  // the current stream cannot be opened or decoded
    void lengthChanged();          // length() learned the stream's length
};
