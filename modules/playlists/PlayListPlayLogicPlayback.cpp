// The player's calls: play, stop, next, previous, play mode, the next media, a started track and a
// failed stream.
#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListPlayLogic.h"
#include "PlayListsLog.h"

namespace {

void answer(const CMSetDataRequest& request)
{
    if (!request.reply().isFinished())
        request.reply().setValue(QVariant());
}

bool hasShuffle(int mode)
{
    return mode % 2 == 1;
}
}  // namespace

void PlayListPlayLogic::playTrackRoles(KeloRoles roles)
{
    KELO_ASSERT_THREAD(this);
    const KeloValue value = roles.value();
    if (currentPlayList && value.isI32_())
        currentPlayList->setLastSequenceNumber(value.i32_());
    sendPlayCommand(roles, KeloHash());
}

void PlayListPlayLogic::resetPlayback()
{
    setCurrentPlayList(nullptr);
    shuffleEnabled = false;
    repeatMode = RepeatOff;
    m_shuffleSeq.clear();
    m_shuffleCurIndex = -1;
    pendingTrackRoles = KeloRoles();
    errorCount = 0;
    nextMediaPrepared = false;
}

void PlayListPlayLogic::playInternal(const CMSetDataRequest& request, const KeloPlayLogicPlayArgs& args)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "args=" << args.toVariant());
    resetPlayback();
    const KeloRoles mediaRoles = args.mediaRoles();
    if (args.type() == KeloRolesType::Container) {
        if (mediaRoles.path().isEmpty()) {
            KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "mediaRoles path is empty - playing trackRoles directly");
            playTrackRoles(args.trackRoles());
        } else {
            KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "mediaRoles path is " << mediaRoles.path().toEncoded() << " - playing list");
            startPlayback(mediaRoles.path(), args.index(), request);
        }
    } else if (mediaRoles.type() == KeloRolesType::Container) {
        startPlayback(mediaRoles.path(), 0, request);
    }
    answer(request);
}

void PlayListPlayLogic::startPlayback(const CMPath& path, int index, CMSetDataRequest request)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_INFO(PlayListsPlayLogicLogger, "pl=" << path.toEncoded() << " track=" << index);
    PlayListBase* pl = nullptr;
    if (path.startsWith(KeloPlayListPlGetItemsPath())) {
        const QStringList parts = path.splitBase();
        // The play queue is reached only through its own items path.
        const int uid = parts.isEmpty() ? 0 : parts.last().toInt();
        if (uid == 0) {
            KELO_LOG_ERROR(PlayListsPlayLogicLogger, "playInternal called for invalid playlist container " << path.toEncoded());
            request.reply().setError(CMError(QStringLiteral("PlayList Error"),
                                             KELO_TR("Play called on invalid playlist container"),
                                             CMError::DefaultTitle()));
            return;
        }
        pl = manager->getPlayListByUid(uid);
    } else if (path.startsWith(KeloPlayListPqGetItemsPath())) {
        pl = manager->getPlayQueue();
    }
    if (!pl)
        return;
    setCurrentPlayList(pl);
    const bool shuffle = pl->getShuffle();
    const bool repeatAll = pl->getRepeatAll();
    setPlayMode(shuffle && repeatAll ? KeloPlayerPlayMode::ShuffleRepeatAll
                : shuffle            ? KeloPlayerPlayMode::Shuffle
                : repeatAll          ? KeloPlayerPlayMode::RepeatAll
                                     : KeloPlayerPlayMode::Normal);
    KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "index=" << index << " size=" << pl->getSize());
    playTrackRoles(getTrackAbsolute(index));
    // After the play, so that the started entry heads the new shuffle order.
    setShuffleEnabled(shuffle);
    setRepeatMode(repeatAll ? RepeatAll : RepeatOff);
}

void PlayListPlayLogic::stopInternal(const CMSetDataRequest& request)
{
    setCurrentPlayList(nullptr);
    StreamerPlayLogic::stopInternal(request);
}

void PlayListPlayLogic::playPending(const KeloRoles& track)
{
    pendingTrackRoles = track;
    playTrackRoles(track);
}

void PlayListPlayLogic::nextInternal(const CMSetDataRequest& request)
{
    const KeloRoles track = getNextTrack();
    if (track.isEmpty())
        KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "Reached last item of playlist for nextInternal");
    else
        playPending(track);
    answer(request);
}

void PlayListPlayLogic::previousInternal(const CMSetDataRequest& request)
{
    // Early in a track "previous" goes back; later it restarts the track.
    const KeloRoles track =
        playTime() <= qint64(KeloPreviousTrackTimeLimit()) ? getPreviousTrack() : getCurrentTrack();
    if (track.isEmpty())
        KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "Reached first item of playlist for previousInternal");
    else
        playPending(track);
    answer(request);
}

void PlayListPlayLogic::changePlayModeInternal(const CMSetDataRequest& request)
{
    const int newMode = KeloPlayLogicChangePlayModeArgs(KeloHash(request.value().toHash())).playMode();
    const int oldMode = playMode();
    KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "newValue=" << KeloPlayerPlayMode::toString(newMode));
    setPlayMode(KeloPlayerPlayMode::Enum(newMode));
    // Only a change of the shuffle bit touches shuffle, so two shuffled modes share one order.
    if (hasShuffle(newMode) != hasShuffle(oldMode))
        setShuffleEnabled(hasShuffle(newMode));
    setRepeatMode(newMode >= KeloPlayerPlayMode::RepeatAll   ? RepeatAll
                  : newMode >= KeloPlayerPlayMode::RepeatOne ? RepeatOne
                                                             : RepeatOff);
    if (nextMediaPrepared)
        prepareNextMedia();
    answer(request);
}

KeloPlayLogicData PlayListPlayLogic::mediaPlaybackStarted(const KeloRoles& oldRoles, const KeloRoles& newRoles)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "newRoles=" << newRoles.toVariant());
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "oldRoles=" << oldRoles.toVariant());
    KeloPlayLogicData result = data();
    KeloPlayLogicControls controls;
    controls.setPause(true);
    controls.setNext(currentPlayList != nullptr);
    controls.setPrevious(currentPlayList != nullptr);
    const KeloMetaData metaData = newRoles.mediaData().metaData();
    if (metaData.hasAllowSeekTime()) {
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "Enabling seekTime control: " << metaData.allowSeekTime());
        controls.setSeekTime(metaData.allowSeekTime());
    }
    if (metaData.hasAllowSeekBytes()) {
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "Enabling seekBytes control: " << metaData.allowSeekBytes());
        controls.setSeekBytes(metaData.allowSeekBytes());
    }
    controls.setPlayModes(playModesSupported());
    result.remove(KeloPlayLogicData::Error());
    result.remove(KeloPlayLogicData::StreamerError());
    result.setControls(controls);
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "New playlogic data: " << result.toVariant());
    nextMediaPrepared = false;
    if (confirmPendingTrack()) {
        // The player names the track by the number it was announced with; edits since may have
        // changed it.
        KeloRoles started = result.trackRoles();
        started.setValue(KeloValue::fromI32(currentPlayList->getLastSequenceNumber()));
        result.setTrackRoles(started);
    }
    return result;
}

bool PlayListPlayLogic::confirmPendingTrack()
{
    const KeloValue value = pendingTrackRoles.value();
    if (!currentPlayList || !value.isI32_())
        return false;
    currentPlayList->setLastSequenceNumber(value.i32_());
    pendingTrackRoles = KeloRoles();
    return true;
}

void PlayListPlayLogic::prepareNextMedia()
{
    const KeloRoles track = repeatMode == RepeatOne ? getCurrentTrack() : getNextTrack();
    if (track.isEmpty()) {
        KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "Reached last item of playlist for prepareNextMedia");
        sendNoNextMediaCommand();
    } else {
        pendingTrackRoles = track;
        sendSetNextMediaCommand(track, KeloHash());
    }
    nextMediaPrepared = true;
}

void PlayListPlayLogic::tryResumePlayback()
{
    confirmPendingTrack();
    const KeloRoles track = getNextTrack();
    if (track.isEmpty())
        playbackEnded();
    else
        playTrackRoles(track);
}
