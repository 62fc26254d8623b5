#pragma once
// The player side of the SDK: the base of a play logic (the object that decides, for a player, which
// track plays now, next and before) and the handle by which a module reaches the device's player.
//
// A play logic is a node registered at its path in its worker's CMNodes. The player talks to it only
// through set-data requests on that path, and the play logic answers through set-data requests on
// KeloPlayerPlayLogicPath(); neither side ever waits for the other (PlayLogicWire below spells the
// messages). Because the requests arrive through the worker, every virtual operation of
// StreamerPlayLogic runs in the worker's thread, one after another.
#include <QVariantHash>

#include "CMGlobal.h"
#include "CMNode.h"
#include "CMNodes.h"
#include "CMReply.h"
#include "CMRequest.h"
#include "KeloPlayLogic.h"


// Where a play logic sends its commands to the player (an internal path of the player).
inline CMPath KeloPlayerPlayLogicPath() { return CMPath(QStringLiteral("player:playlogic")); }

// The messages between a player and its play logics.
// Player -> play logic, on the play logic's path: {"call": <name>, "serial": n, "playTime": ms, ...}.
//   serial counts the tracks the player started; playTime is the play time of the current track
//   when the call was sent. Further keys per call: play {"args": KeloPlayLogicPlayArgs},
//   changePlayMode {"playMode"} (the value is a KeloPlayLogicChangePlayModeArgs), mediaPlaybackStarted
//   {"oldRoles", "newRoles"}, streamError {"error": KeloError}; stop, next, previous,
//   prepareNextMedia: none.
// Play logic -> player, on KeloPlayerPlayLogicPath(): {"command": <name>, "from": <play logic path>, ...}.
//   play {"roles", "args"}: start this track now; setNextMedia {"roles", "args", "serial"}: the track
//   that follows the one with that serial; noNextMedia {"serial"}: nothing follows it; playbackEnded:
//   stop, the play logic has nothing more; data {"data": KeloPlayLogicData}: the play logic's data.
namespace PlayLogicWire {
inline QString Call() { return QStringLiteral("call"); }
inline QString Command() { return QStringLiteral("command"); }
inline QString Serial() { return QStringLiteral("serial"); }
inline QString PlayTime() { return QStringLiteral("playTime"); }
inline QString Args() { return QStringLiteral("args"); }
inline QString From() { return QStringLiteral("from"); }
inline QString Roles() { return QStringLiteral("roles"); }
inline QString Data() { return QStringLiteral("data"); }
inline QString OldRoles() { return QStringLiteral("oldRoles"); }
inline QString NewRoles() { return QStringLiteral("newRoles"); }
inline QString Error() { return QStringLiteral("error"); }

inline QString Play() { return QStringLiteral("play"); }
inline QString Stop() { return QStringLiteral("stop"); }
inline QString Next() { return QStringLiteral("next"); }
inline QString Previous() { return QStringLiteral("previous"); }
inline QString ChangePlayMode() { return QStringLiteral("changePlayMode"); }
inline QString PrepareNextMedia() { return QStringLiteral("prepareNextMedia"); }
inline QString MediaPlaybackStarted() { return QStringLiteral("mediaPlaybackStarted"); }
inline QString StreamError() { return QStringLiteral("streamError"); }

inline QString SetNextMedia() { return QStringLiteral("setNextMedia"); }
inline QString NoNextMedia() { return QStringLiteral("noNextMedia"); }
inline QString PlaybackEnded() { return QStringLiteral("playbackEnded"); }
}  // namespace PlayLogicWire

// The play logic's data, its play mode and the player's play time. Worker thread only.
class PlayLogicBase : public CMNode
{
    Q_OBJECT
public:
    explicit PlayLogicBase(const CMPath& path, QObject* parent = nullptr);

    KeloPlayLogicData data() const
    {
        KELO_ASSERT_THREAD(this);
        return m_data;
    }
    // Stores the data and sends it to the player, which shows it as its state.
    void setData(const KeloPlayLogicData& data);
    KeloPlayerPlayMode::Enum playMode() const
    {
        KELO_ASSERT_THREAD(this);
        return m_data.playMode();
    }
    // setData with the play mode changed.
    void setPlayMode(KeloPlayerPlayMode::Enum mode);
    // The play time (ms) of the playing track as the player reported it with its latest call.
    qint64 playTime() const
    {
        KELO_ASSERT_THREAD(this);
        return m_playTime;
    }

protected:
    void setPlayTime(qint64 ms) { m_playTime = ms; }
    // Stores the data without telling the player.
    void storeData(const KeloPlayLogicData& data) { m_data = data; }
    // Sends {"command": command, "from": path(), ...fields} to the player; never waits.
    void sendToPlayer(const QString& command, const QVariantHash& fields = QVariantHash()) const;

private:
    KeloPlayLogicData m_data;
    qint64 m_playTime = 0;
};

// The base of a play logic for a streaming player. Construct it in the worker's thread; it registers
// itself in nodes at path and takes the player's calls there. Each call is handed to the virtual
// operation of the same name, in the worker's thread. A request handed to an operation is answered
// by that operation (a request that is dropped unanswered is answered NoAnswer by the framework).
class StreamerPlayLogic : public PlayLogicBase
{
    Q_OBJECT
public:
    StreamerPlayLogic(CMNodes* nodes, const CMPath& path, QObject* parent = nullptr);

    // The player's calls. A value that is no call is answered BadRequest (handleAlternate).
    bool setDataRequest(const CMSetDataRequest& request) override;

    // The play modes this play logic offers; the base offers none but normal.
    virtual KeloPlayLogicPlayModesSupported playModesSupported() const;
    bool isPlayModeSupported(int mode) const { return playModesSupported().supports(mode); }

protected:
    // The operations a play logic overrides. The base forms answer the request with an empty value
    // and do nothing else, except where said.
    virtual void playInternal(const CMSetDataRequest& request, const KeloPlayLogicPlayArgs& args);  // plays args' track
    virtual void stopInternal(const CMSetDataRequest& request);
    virtual void nextInternal(const CMSetDataRequest& request);
    virtual void previousInternal(const CMSetDataRequest& request);
    // Called only for a mode that isPlayModeSupported (the request's value is a
    // KeloPlayLogicChangePlayModeArgs); the base stores it with setPlayMode.
    virtual void changePlayModeInternal(const CMSetDataRequest& request);
    // The player wants to know what follows the playing track: answer with sendSetNextMediaCommand or
    // sendNoNextMediaCommand. The base has nothing to follow.
    virtual void prepareNextMedia();
    // The player started newRoles (after oldRoles, empty when nothing played). data()'s trackRoles are
    // newRoles already; the result becomes the new data. The base drops the error entries.
    virtual KeloPlayLogicData mediaPlaybackStarted(const KeloRoles& oldRoles, const KeloRoles& newRoles);
    // The playing stream failed (data()'s streamerError says how); go on or end. The base ends.
    virtual void tryResumePlayback();
    // A call this class does not know. The base answers BadRequest and takes the request.
    virtual bool handleAlternate(const CMSetDataRequest& request);

    // Commands to the player; none waits for anything.
    void sendPlayCommand(const KeloRoles& roles, const KeloHash& args);
    void sendSetNextMediaCommand(const KeloRoles& roles, const KeloHash& args);
    void sendNoNextMediaCommand();
    void playbackEnded();

private:
    void changePlayMode(const CMSetDataRequest& request);
    void onPrepareNextMedia(const CMSetDataRequest& request, int serial);
    void onMediaPlaybackStarted(const CMSetDataRequest& request, const QVariantHash& value);
    void onStreamError(const CMSetDataRequest& request, const QVariantHash& value);
    bool dispatch(const QString& call, const CMSetDataRequest& request, const QVariantHash& value);

    int m_nextMediaSerial = -1;  // serial of the track whose follower was asked for last
};

// The device's player as a module sees it. Its operations send requests to the player's control
// path and never wait for the player. Any thread.
class PlayLogicInterface
{
public:
    // The player of this process; never null.
    static PlayLogicInterface* playerInstance();
    // Stops the player; null: nothing.
    static void stop(PlayLogicInterface* player);

    // Asks the player to play trackRoles at index in containerRoles, as when a user chooses a playable
    // row: the player asks the play logic named in the roles' media metadata to play. reply is the
    // player's answer to the request (observed or not); startPaused starts the track paused.
    void playContainer(const KeloRoles& containerRoles, const KeloRoles& trackRoles, int index,
                       const CMVoidReply& reply = CMVoidReply(), bool startPaused = false) const;

private:
    PlayLogicInterface() = default;
    void sendControl(const QVariantHash& value, const CMVoidReply& reply) const;
};
