#pragma once
// The device's player, simulated: a worker with the prefix "player" that plays nothing audible. It
// keeps a clock per track and drives the play logic named in the roles it is asked to play, exactly
// as a device's player does (the messages are those of PlayLogicWire, sdk/include/PlayLogic.h).
//
// Paths: "player:state" (get-data) answers the state; "player:control" (set-data) takes the user's
// controls ({"control": "playContainer" | "pause" | "resume" | "stop" | "next" | "previous" | "seek" |
// "playMode" | "endOfTrack" | "streamError", ...}) and answers the state after the control; the play
// logic's commands come in on KeloPlayerPlayLogicPath(). Every state change is published on the
// events stream as {"path": "player:state", "change": "value", "value": <state>}.
//
// The player never waits for a play logic: each call is sent and its answer only logged. Where it
// needs an answer to go on (the next media at a track's end) it waits at most NextMediaWaitMs before
// stopping. Lives in its own worker thread and is used only from there.
#include <QTimer>
#include <QVariantHash>

#include "CMWorker.h"
#include "KeloPlayLogic.h"
#include "PlayerClock.h"

class Player : public CMAbstractWorker
{
    Q_OBJECT
public:
    static constexpr qint64 AskNextBeforeEndMs = 10000;  // play time left when the next media is asked for
    static constexpr int NextMediaWaitMs = 10000;        // real time a track's end waits for the answer
    static constexpr int CannotOpenErrorCode = 1;        // stream error of a resource that cannot be opened

    // speed scales the play time against real time (2: a track plays in half its length).
    explicit Player(double speed = 1.0, QObject* parent = nullptr);

    QStringList prefixes() const override;
    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

    // {"state", "trackRoles", "containerRoles", "playTime", "playMode", "controls", "playLogicPath"}.
    QVariantHash state() const;

private:
    enum class State { Stopped, Playing, Paused };

    // User controls (PlayerControl.cpp). Each returns its error, a null CMError on success.
    CMError control(const QVariantHash& value);
    CMError playContainer(const QVariantHash& value);
    CMError seek(const QVariantHash& value);
    CMError changePlayMode(const QVariantHash& value);
    CMError forward(const QString& call);
    CMError failStream(const QVariantHash& value);
    void pause();
    void resume();
    void stop();
    void endOfTrack();
    void streamError(int code);

    // The play logic's commands and the calls to it (PlayerPlayLogic.cpp).
    void command(const QVariantHash& value);
    void startTrack(const KeloRoles& roles);
    void failTrack(const KeloRoles& roles);
    void nextMediaAnswered(const QVariantHash& value, const KeloRoles& roles);
    void askForNextMedia();
    void advance();
    void stopPlayback();  // without telling the play logic
    void call(const QString& name, const QVariantHash& fields = QVariantHash());

    // Track timing and the events stream (Player.cpp).
    void schedule();
    void on_timer_timeout();
    void setState(State state);
    void publish(bool force = false);  // force: also when only the play time changed
    qint64 durationMs() const;
    qint64 playTime() const;

    PlayerClock m_clock;
    QTimer* m_timer;
    State m_state = State::Stopped;
    CMPath m_playLogic;          // the play logic that plays; empty before the first playContainer
    KeloRoles m_containerRoles;  // of the last playContainer
    KeloRoles m_track;           // the track the clock runs for; empty when none
    KeloPlayLogicData m_data;    // as the play logic last set it
    bool m_startPaused = false;  // the next track starts paused
    int m_serial = 0;            // counts the tracks started
    bool m_askedNext = false;    // the next media was asked for the current track
    bool m_nextAnswered = false;
    KeloRoles m_nextMedia;       // the announced next media; empty: none
    bool m_endReached = false;   // the track ended and waits for the next media
    QVariantHash m_published;    // the last state published, without its play time
};
