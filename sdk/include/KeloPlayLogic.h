#pragma once
// The records a player and its play logics exchange, the time limit of "previous", and the monotonic
// clock. Records are plain values (KeloHash): copy them freely, use them from any thread.
// JSON keys are the accessor names.
#include <QtGlobal>

#include "KeloEnums.h"
#include "KeloRoles.h"

// Below this play time (ms, inclusive) "previous" goes to the track before; above it the track restarts.
inline int KeloPreviousTrackTimeLimit() { return 3000; }

// Milliseconds of a steady clock that never goes back; its zero is arbitrary (the boot, on Linux).
// Any thread.
qint64 QElapsedTimer_getMonotonicMsecs();

// An error a stream reported: {"code": n, "message": "..."}. An error is present when it holds Code().
class KeloError : public KeloHash
{
public:
    KeloError() = default;
    explicit KeloError(const KeloHash& h) : KeloHash(h) {}
    static QString Code() { return QStringLiteral("code"); }
    static QString Message() { return QStringLiteral("message"); }
    bool hasCode() const { return contains(Code()); }
    int code() const { return intOr(Code(), 0); }
    void setCode(int v) { set(Code(), v); }
    QString message() const { return stringOr(Message()); }
    void setMessage(const QString& v) { set(Message(), v); }
};

// Which play modes a play logic offers besides "normal" (always offered).
class KeloPlayLogicPlayModesSupported : public KeloHash
{
public:
    KeloPlayLogicPlayModesSupported() = default;
    explicit KeloPlayLogicPlayModesSupported(const KeloHash& h) : KeloHash(h) {}
    bool shuffle() const { return boolOr(QStringLiteral("shuffle"), false); }
    void setShuffle(bool v) { set(QStringLiteral("shuffle"), v); }
    bool repeatOne() const { return boolOr(QStringLiteral("repeatOne"), false); }
    void setRepeatOne(bool v) { set(QStringLiteral("repeatOne"), v); }
    bool repeatAll() const { return boolOr(QStringLiteral("repeatAll"), false); }
    void setRepeatAll(bool v) { set(QStringLiteral("repeatAll"), v); }
    bool shuffleRepeatOne() const { return boolOr(QStringLiteral("shuffleRepeatOne"), false); }
    void setShuffleRepeatOne(bool v) { set(QStringLiteral("shuffleRepeatOne"), v); }
    bool shuffleRepeatAll() const { return boolOr(QStringLiteral("shuffleRepeatAll"), false); }
    void setShuffleRepeatAll(bool v) { set(QStringLiteral("shuffleRepeatAll"), v); }
    // Whether a KeloPlayerPlayMode value is offered: Normal always, an unknown value never.
    bool supports(int mode) const;
};

// Which controls a player should offer for the playing track.
class KeloPlayLogicControls : public KeloHash
{
public:
    KeloPlayLogicControls() = default;
    explicit KeloPlayLogicControls(const KeloHash& h) : KeloHash(h) {}
    bool pause() const { return boolOr(QStringLiteral("pause"), false); }
    void setPause(bool v) { set(QStringLiteral("pause"), v); }
    bool next() const { return boolOr(QStringLiteral("next"), false); }
    void setNext(bool v) { set(QStringLiteral("next"), v); }
    bool previous() const { return boolOr(QStringLiteral("previous"), false); }
    void setPrevious(bool v) { set(QStringLiteral("previous"), v); }
    bool seekTime() const { return boolOr(QStringLiteral("seekTime"), false); }
    void setSeekTime(bool v) { set(QStringLiteral("seekTime"), v); }
    bool seekBytes() const { return boolOr(QStringLiteral("seekBytes"), false); }
    void setSeekBytes(bool v) { set(QStringLiteral("seekBytes"), v); }
    KeloPlayLogicPlayModesSupported playModes() const
    {
        return KeloPlayLogicPlayModesSupported(KeloHash(hashOf(QStringLiteral("playModes"))));
    }
    void setPlayModes(const KeloPlayLogicPlayModesSupported& v) { set(QStringLiteral("playModes"), v.toVariant()); }
};

// What a play logic tells its player about the playing track: its roles, the play mode, the controls
// to offer and the errors seen. The player shows these as its state.
class KeloPlayLogicData : public KeloHash
{
public:
    KeloPlayLogicData() = default;
    explicit KeloPlayLogicData(const KeloHash& h) : KeloHash(h) {}
    static QString TrackRoles() { return QStringLiteral("trackRoles"); }
    static QString PlayMode() { return QStringLiteral("playMode"); }
    static QString Controls() { return QStringLiteral("controls"); }
    static QString Error() { return QStringLiteral("error"); }  // a CMError hash
    static QString StreamerError() { return QStringLiteral("streamerError"); }  // a KeloError

    KeloRoles trackRoles() const { return KeloRoles(KeloHash(hashOf(TrackRoles()))); }
    void setTrackRoles(const KeloRoles& v) { set(TrackRoles(), v.toVariant()); }
    // Normal when unset.
    KeloPlayerPlayMode::Enum playMode() const;
    void setPlayMode(KeloPlayerPlayMode::Enum v) { set(PlayMode(), int(v)); }
    KeloPlayLogicControls controls() const { return KeloPlayLogicControls(KeloHash(hashOf(Controls()))); }
    void setControls(const KeloPlayLogicControls& v) { set(Controls(), v.toVariant()); }
    KeloError streamerError() const { return KeloError(KeloHash(hashOf(StreamerError()))); }
    void setStreamerError(const KeloError& v) { set(StreamerError(), v.toVariant()); }
};

// The arguments of a play request: the container chosen (mediaRoles), the track in it, the track's
// index in the container, and the kind of request (1: a playable row was chosen).
class KeloPlayLogicPlayArgs : public KeloHash
{
public:
    KeloPlayLogicPlayArgs() = default;
    explicit KeloPlayLogicPlayArgs(const KeloHash& h) : KeloHash(h) {}
    KeloRoles mediaRoles() const { return KeloRoles(KeloHash(hashOf(QStringLiteral("mediaRoles")))); }
    void setMediaRoles(const KeloRoles& v) { set(QStringLiteral("mediaRoles"), v.toVariant()); }
    KeloRoles trackRoles() const { return KeloRoles(KeloHash(hashOf(QStringLiteral("trackRoles")))); }
    void setTrackRoles(const KeloRoles& v) { set(QStringLiteral("trackRoles"), v.toVariant()); }
    int index() const { return intOr(QStringLiteral("index"), 0); }
    void setIndex(int v) { set(QStringLiteral("index"), v); }
    int type() const { return intOr(QStringLiteral("type"), 0); }
    void setType(int v) { set(QStringLiteral("type"), v); }
};

// {"playMode": n or name}.
class KeloPlayLogicChangePlayModeArgs : public KeloHash
{
public:
    KeloPlayLogicChangePlayModeArgs() = default;
    explicit KeloPlayLogicChangePlayModeArgs(const KeloHash& h) : KeloHash(h) {}
    // KeloPlayerPlayMode::Invalid when missing or not a mode.
    int playMode() const;
    void setPlayMode(int v) { set(QStringLiteral("playMode"), v); }
};

Q_DECLARE_METATYPE(KeloPlayLogicData)
