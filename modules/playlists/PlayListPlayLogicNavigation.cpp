// Current, next and previous track.
#include "CMGlobal.h"
#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListPlayLogic.h"
#include "PlayListsLog.h"

namespace {
constexpr int kMaxStreamErrors = 5;
}  // namespace

KeloRoles PlayListPlayLogic::getTrackAbsolute(int sequenceNumber)
{
    KELO_ASSERT_THREAD(this);
    if (!currentPlayList)
        return KeloRoles();
    // A negative or too large number simply finds nothing.
    const QList<KeloPlayListItem> items = currentPlayList->getItems(sequenceNumber, sequenceNumber);
    if (items.isEmpty()) {
        KELO_LOG_DEBUG(PlayListsPlayLogicLogger, "Reached last item of playlist");
        return KeloRoles();
    }
    return currentPlayList->itemToKeloRoles(items.first());
}

KeloRoles PlayListPlayLogic::getTrackRelative(int offset)
{
    KELO_ASSERT_THREAD(this);
    if (!currentPlayList)
        return KeloRoles();
    return getTrackAbsolute(currentPlayList->getLastSequenceNumber() + offset);
}

KeloRoles PlayListPlayLogic::getCurrentTrack()
{
    KELO_ASSERT_THREAD(this);
    return getTrackRelative(0);
}

KeloRoles PlayListPlayLogic::getNextTrack()
{
    KELO_ASSERT_THREAD(this);
    if (data().streamerError().hasCode()) {
        if (++errorCount > kMaxStreamErrors) {
            KELO_LOG_ERROR(PlayListsPlayLogicLogger, "Reached maximum error count exiting");
            return KeloRoles();
        }
    } else {
        errorCount = 0;
    }
    KeloRoles candidate;
    if (shuffleEnabled) {
        const int number = getNextShuffleItem();
        if (number != -1)
            candidate = getTrackAbsolute(number);
    } else {
        candidate = getTrackRelative(1);
    }
    // The skip walks the list order from the last played entry, also under shuffle.
    for (int offset = 2; !candidate.isEmpty() && candidate.mediaData().resources().isEmpty(); ++offset) {
        KELO_LOG_WARN(PlayListsPlayLogicLogger, "Track has no resources, skipping.");
        candidate = getTrackRelative(offset);
    }
    if (currentPlayList && candidate.isEmpty() && repeatMode == RepeatAll) {
        candidate = getTrackAbsolute(shuffleEnabled ? m_shuffleSeq.value(0, 0) : 0);
        if (candidate.isEmpty())
            KELO_LOG_WARN(PlayListsPlayLogicLogger, "Playlist should start from beginning again, but does not contain any tracks");
    }
    return candidate;
}

KeloRoles PlayListPlayLogic::getPreviousTrack()
{
    KELO_ASSERT_THREAD(this);
    if (shuffleEnabled) {
        // The shuffle order wraps by itself under repeat all.
        const int number = getPrevShuffleItem();
        return number == -1 ? KeloRoles() : getTrackAbsolute(number);
    }
    KeloRoles candidate = getTrackRelative(-1);
    if (candidate.isEmpty() && currentPlayList && repeatMode == RepeatAll) {
        candidate = getTrackAbsolute(currentPlayList->getSize() - 1);
        if (candidate.isEmpty())
            KELO_LOG_WARN(PlayListsPlayLogicLogger, "Playlist should wrap around and continue with last track, but does not contain any tracks");
    }
    return candidate;
}

void PlayListPlayLogic::setRepeatMode(RepeatMode mode)
{
    KELO_ASSERT_THREAD(this);
    repeatMode = mode;
    if (currentPlayList)
        currentPlayList->setRepeatAll(mode == RepeatAll);
}

void PlayListPlayLogic::updateSequenceNumberInData()
{
    KELO_ASSERT_THREAD(this);
    if (!currentPlayList)
        return;
    KeloPlayLogicData playLogicData = data();
    KeloRoles roles = playLogicData.trackRoles();
    const KeloValue value = roles.value();
    if (!value.isI32_()) {
        KELO_LOG_WARN(PlayListsPlayLogicLogger, "No current sequence number in playlogic data");
        return;
    }
    const int last = currentPlayList->getLastSequenceNumber();
    if (value.i32_() == last)
        return;
    roles.setValue(KeloValue::fromI32(last));
    playLogicData.setTrackRoles(roles);
    setData(playLogicData);
}
