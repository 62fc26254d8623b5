// Following edits of the playing playlist. The playlist has renumbered its entries and adjusted its
// last played number before it signals; these slots bring the shuffle order, the announced next
// media and the play-logic data in line.
#include <algorithm>
#include <numeric>

#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListPlayLogic.h"
#include "PlayListsLog.h"

void PlayListPlayLogic::on_currentPlayList_itemsAdded(const QString& position, int firstSeqNum, int count)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "pos=" << position << " count=" << count
                                << " lastSeq=" << (currentPlayList ? currentPlayList->getLastSequenceNumber() : -1));
    const int p = KeloPlayListAddPosition::fromString(position);
    if (p == KeloPlayListAddPosition::AfterCurrent && pendingTrackRoles.value().isI32_()) {
        // The player was told what follows; the new entries follow now.
        prepareNextMedia();
        if (shuffleEnabled)
            insertIntoShuffle(firstSeqNum, count);
        return;
    }
    if (shuffleEnabled)
        addToShuffle(p, firstSeqNum, count);
    const int announced = announcedNumber();
    if (announced >= 0)
        followAnnouncedTrack(announced >= firstSeqNum ? announced + count : announced);
}

void PlayListPlayLogic::addToShuffle(int p, int firstSeqNum, int count)
{
    if (p == KeloPlayListAddPosition::Now || p == KeloPlayListAddPosition::AfterCurrent) {
        insertIntoShuffle(firstSeqNum, count);
    } else if (p == KeloPlayListAddPosition::Append) {
        if (count < 1)
            return;
        // Mixed only into the part of the order not yet played, in one draw however many came.
        const int end = m_shuffleSeq.size();
        m_shuffleSeq.resize(end + count);
        std::iota(m_shuffleSeq.begin() + end, m_shuffleSeq.end(), firstSeqNum);
        randomizeShuffleItems(m_shuffleCurIndex + 1);
    } else {
        KELO_LOG_ERROR(PlayListsPlayLogicLogger, "Unknown position specifier: " << p);
    }
}

int PlayListPlayLogic::announcedNumber() const
{
    const KeloValue value = pendingTrackRoles.value();
    return nextMediaPrepared && value.isI32_() ? value.i32_() : -1;
}

// The player was told the next media before an edit. The announced entry keeps playing next if it
// still exists and still follows the playing one (or the shuffle order holds it); it then starts
// with its new number. Otherwise what follows now is announced instead, so no entry is skipped.
void PlayListPlayLogic::followAnnouncedTrack(int newNumber)
{
    const int last = currentPlayList ? currentPlayList->getLastSequenceNumber() : -1;
    if (newNumber >= 0 && (shuffleEnabled || (repeatMode != RepeatOne && newNumber == last + 1))) {
        pendingTrackRoles.setValue(KeloValue::fromI32(newNumber));
        return;
    }
    prepareNextMedia();
}

// Entries inserted behind the last played one play next, in list order, before the rest of the order.
void PlayListPlayLogic::insertIntoShuffle(int first, int count)
{
    if (count < 1)
        return;
    for (int& entry : m_shuffleSeq) {
        if (entry >= first)
            entry += count;
    }
    // Room made once: inserting one at a time would move the rest of the order for each.
    const int at = m_shuffleCurIndex + 1;
    m_shuffleSeq.insert(at, count, 0);
    std::iota(m_shuffleSeq.begin() + at, m_shuffleSeq.begin() + at + count, first);
}

void PlayListPlayLogic::on_currentPlayList_itemsRemoved(const QList<int>& indices, int lastSeqNum)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "indices.size()=" << indices.size() << " lastSeqNum=" << lastSeqNum);
    if (currentPlayList->getSize() == 0) {
        on_currentPlayList_cleared();
        return;
    }
    // Each number is applied to the order as already adjusted for the ones before it.
    if (shuffleEnabled) {
        for (int removed : indices)
            removeFromShuffle(removed);
    }
    const auto countBelow = [&indices](int number) {
        return int(std::count_if(indices.begin(), indices.end(), [number](int i) { return i < number; }));
    };
    if (!indices.contains(lastSeqNum)) {
        updateSequenceNumberInData();
        const int announced = announcedNumber();
        if (announced >= 0)
            followAnnouncedTrack(indices.contains(announced) ? -1 : announced - countBelow(announced));
        return;
    }
    // The playing entry went; the one that moved into its place plays on, and whatever the player
    // was told would follow is void.
    nextMediaPrepared = false;
    pendingTrackRoles = KeloRoles();
    KeloRoles follower = getTrackAbsolute(lastSeqNum - countBelow(lastSeqNum));
    // At the end a repeated list wraps; the flag alone (the player's mode not repeating) finds no
    // next track, and then playback ends as at any end.
    if (follower.isEmpty() && currentPlayList->getRepeatAll())
        follower = getNextTrack();
    if (!follower.isEmpty())
        playPending(follower);
    else
        PlayLogicInterface::stop(PlayLogicInterface::playerInstance());
}

void PlayListPlayLogic::removeFromShuffle(int removed)
{
    for (int i = 0; i < m_shuffleSeq.size();) {
        if (m_shuffleSeq[i] == removed) {
            m_shuffleSeq.remove(i);
            if (m_shuffleCurIndex >= i)
                --m_shuffleCurIndex;
            continue;
        }
        if (m_shuffleSeq[i] > removed)
            --m_shuffleSeq[i];
        ++i;
    }
}

// The two numbers trade places in the order; the entries between them keep theirs.
void PlayListPlayLogic::on_currentPlayList_itemMoved(int from, int to)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "from=" << from << " to=" << to);
    if (shuffleEnabled && !m_shuffleSeq.isEmpty()) {
        for (int& entry : m_shuffleSeq) {
            if (entry == from)
                entry = to;
            else if (entry == to)
                entry = from;
        }
    }
    updateSequenceNumberInData();
    const int announced = announcedNumber();
    if (announced < 0)
        return;
    if (announced == from)
        followAnnouncedTrack(to);
    else if (from < announced && announced <= to)
        followAnnouncedTrack(announced - 1);
    else if (to <= announced && announced < from)
        followAnnouncedTrack(announced + 1);
    else
        followAnnouncedTrack(announced);
}

void PlayListPlayLogic::on_currentPlayList_cleared()
{
    PlayLogicInterface::stop(PlayLogicInterface::playerInstance());
}

// A playlist's flags shown in the player's mode; the order and the repeat setting are left alone.
void PlayListPlayLogic::on_currentPlayList_shuffleChanged(bool shuffle)
{
    if (shuffle == shuffleEnabled)
        return;
    const int mode = playMode();
    int newMode = mode;
    if (mode == KeloPlayerPlayMode::RepeatAll || mode == KeloPlayerPlayMode::ShuffleRepeatAll)
        newMode = KeloPlayerPlayMode::RepeatAll + shuffle;
    else if (mode == KeloPlayerPlayMode::RepeatOne || mode == KeloPlayerPlayMode::ShuffleRepeatOne)
        newMode = KeloPlayerPlayMode::RepeatOne + shuffle;
    else if (mode == KeloPlayerPlayMode::Normal || mode == KeloPlayerPlayMode::Shuffle)
        newMode = shuffle;
    setPlayMode(KeloPlayerPlayMode::Enum(newMode));
}

void PlayListPlayLogic::on_currentPlayList_repeatAllChanged(bool repeatAll)
{
    if (repeatAll == (repeatMode == RepeatAll))
        return;
    setPlayMode(KeloPlayerPlayMode::Enum(repeatAll ? KeloPlayerPlayMode::RepeatAll + shuffleEnabled : int(shuffleEnabled)));
}
