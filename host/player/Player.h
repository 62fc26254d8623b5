#pragma once
// The device's player: a worker with the prefix "player" that drives the play logic named in the
// roles it is asked to play, exactly as a device's player does (the messages are those of
// PlayLogicWire, sdk/include/PlayLogic.h). What it plays goes to a PlayerOutput it owns: the
// simulated clock or the audio pipeline; the conversation and the state are the same for both.
//
// Paths: "player:state" (get-data) answers the state; "player:control" (set-data) takes the user's
// controls ({"control": "playContainer" | "pause" | "resume" | "stop" | "next" | "previous" | "seek" |
// "playMode" | "endOfTrack" | "streamError" | "volume", ...}) and answers the state after the control; the play
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
#include "PlayerOutput.h"

class Player : public CMAbstractWorker
{
    Q_OBJECT
public:
    static constexpr qint64 AskNextBeforeEndMs = 10000;  // play time left when the next media is asked for
    static constexpr int NextMediaWaitMs = 10000;        // real time a track's end waits for the answer
    static constexpr int CannotOpenErrorCode = 1;        // stream error of a resource that cannot be opened
    static constexpr int DefaultVolume = 100;
    static CMPath volumePath();  // settings:player/volume, an i32_ 0..100 that survives a restart

    // Plays into output, which it takes; null: the simulated output at real time.
    explicit Player(PlayerOutput* output = nullptr, QObject* parent = nullptr);
    // The simulated output; speed scales the play time against real time (2: a track plays in half its length).
    explicit Player(double speed, QObject* parent = nullptr);

    QStringList prefixes() const override;
    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

    // {"state", "trackRoles", "containerRoles", "playTime", "duration", "playMode", "controls",
    // "playLogicPath", "volume", "error"}; duration in ms, 0 when neither the tags nor the stream tell
    // it; error: {"code", "message", "title"} of the last track that failed, {} once one plays.
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
    CMError changeVolume(const QVariantHash& value);
    void pause();
    void resume();
    void stop();
    void endOfTrack();
    void streamError(int code);

    // The play logic's commands and the calls to it (PlayerPlayLogic.cpp).
    void command(const QVariantHash& value);
    void startTrack(const KeloRoles& roles, bool alreadyPlaying = false);
    void failTrack(const KeloRoles& roles, int code, const QString& message);
    void nextMediaAnswered(const QVariantHash& value, const KeloRoles& roles);
    void askForNextMedia();
    void advance();
    void stopPlayback();  // without telling the play logic
    void call(const QString& name, const QVariantHash& fields = QVariantHash());

    // Track timing, the output's news, the volume and the events stream (Player.cpp).
    void schedule();
    void on_timer_timeout();
    void on_output_opened();
    void on_output_ended();
    void on_output_advanced();
    void on_output_failed(int code, const QString& message);
    void on_root_valueChanged(const CMPath& path, const KeloValue& value);
    void applyVolume(int level);
    void setState(State state);
    void publish(bool force = false);  // force: also when only the play time changed
    qint64 durationMs() const;
    qint64 playTime() const;

    PlayerOutput* m_output;  // owned, a child
    QTimer* m_timer;
    int m_volume = DefaultVolume;
    State m_state = State::Stopped;
    CMPath m_playLogic;          // the play logic that plays; empty before the first playContainer
    KeloRoles m_containerRoles;  // of the last playContainer
    KeloRoles m_track;           // the track the output plays; empty when none
    KeloPlayLogicData m_data;    // as the play logic last set it
    bool m_startPaused = false;  // the next track starts paused
    int m_serial = 0;            // counts the tracks started
    bool m_askedNext = false;    // the next media was asked for the current track
    bool m_nextAnswered = false;
    KeloRoles m_nextMedia;       // the announced next media; empty: none
    bool m_endReached = false;   // the track ended and waits for the next media
    bool m_awaitingOpen = false; // the track waits for its stream to open before the play logic hears of it
    KeloRoles m_formerTrack;     // the oldRoles of that start
    bool m_skipAsked = false;    // next/previous went to the play logic, whose track is still to come
    bool m_joinedInSkip = false; // meanwhile the output joined the announced track gaplessly
    QVariantHash m_lastError;    // see state()
    QVariantHash m_published;    // the last state published, without its play time
};
