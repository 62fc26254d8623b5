#pragma once
// The module's play logic for the device player: which entry of the playing playlist is current,
// which comes next and which before, with shuffle (a random order drawn once and walked both ways)
// and repeat, skipping of entries without resources, a limit on consecutive stream errors, and
// following every edit of the playing playlist without interrupting playback.
//
// Entries are addressed by sequence number. The playlist itself keeps the number last played
// (getLastSequenceNumber); this class reads it as the current position and keeps no position of its
// own for the list order. A track is a KeloRoles whose value() holds the entry's sequence number as
// i32; empty roles mean "no track".
//
// Threads: the worker's thread only. The player's calls arrive through the worker (StreamerPlayLogic),
// the playlist's signals come from commands run in the same thread. Logger "PlayListsPlayLogic".
#include <QVector>

#include "KeloRoles.h"
#include "PlayLogic.h"

class PlayListBase;
class PlayListManager;
class PlayListWorker;

class PlayListPlayLogic : public StreamerPlayLogic
{
    Q_OBJECT
public:
    enum RepeatMode { RepeatOff = 0, RepeatOne = 1, RepeatAll = 2 };

    // Registers at the play-logic path in the worker's nodes. Neither pointer is owned.
    PlayListPlayLogic(PlayListWorker* worker, PlayListManager* manager, QObject* parent = nullptr);

    // Follows pl's edits from now on and stops following the former one; null: none.
    void setCurrentPlayList(PlayListBase* pl);
    // Starts the entry index of the playlist behind an items path (pl/getitems/<uid>, uid not 0) or
    // of the play queue (pq/getitems). An items path without a usable uid answers request with an
    // error; any other path, or a playlist that does not exist, plays nothing and answers nothing.
    void startPlayback(const CMPath& path, int index, CMSetDataRequest request);
    // Makes roles' sequence number the last played one and hands roles to the player.
    void playTrackRoles(KeloRoles roles);

    // Navigation. Empty roles when there is no such track.
    KeloRoles getTrackAbsolute(int sequenceNumber);
    KeloRoles getTrackRelative(int offset);  // from the last played entry; no wrap
    KeloRoles getCurrentTrack();
    // The next playable track, after shuffle, repeat-all wrap, the skip of entries without resources
    // and the count of consecutive stream errors (more than 5 end playback: empty roles).
    KeloRoles getNextTrack();
    KeloRoles getPreviousTrack();
    void setRepeatMode(RepeatMode mode);
    // Writes the last played number into the track roles of the play-logic data when they differ.
    void updateSequenceNumberInData();

    // The shuffle order: a permutation of the sequence numbers walked by an index.
    void initShuffle(int startItem);         // a new order headed by startItem (when it exists)
    void randomizeShuffleItems(int from);    // reshuffles the part from index from on
    int getNextShuffleItem();                // steps forward; the number there, or -1
    int getPrevShuffleItem();                // steps back; the number there, or -1
    void setShuffleEnabled(bool enabled);    // stores it in the playlist; on: a new order headed by the current entry
    void debugShuffleItems();

    // State, for inspection.
    PlayListBase* getCurrentPlayList() const { return currentPlayList; }
    bool isShuffleEnabled() const { return shuffleEnabled; }
    const QVector<int>& shuffleSequence() const { return m_shuffleSeq; }
    int shuffleCurrentIndex() const { return m_shuffleCurIndex; }

    // Every play mode is offered, whatever the state.
    KeloPlayLogicPlayModesSupported playModesSupported() const override;

public slots:
    // Stops the player when the playing playlist is deleted.
    void on_playlist_deleted(int uid);

protected:
    void playInternal(const CMSetDataRequest& request, const KeloPlayLogicPlayArgs& args) override;
    void stopInternal(const CMSetDataRequest& request) override;
    void previousInternal(const CMSetDataRequest& request) override;
    void nextInternal(const CMSetDataRequest& request) override;
    void changePlayModeInternal(const CMSetDataRequest& request) override;
    void prepareNextMedia() override;
    KeloPlayLogicData mediaPlaybackStarted(const KeloRoles& oldRoles, const KeloRoles& newRoles) override;
    void tryResumePlayback() override;

private slots:
    void on_currentPlayList_itemsAdded(const QString& position, int firstSeqNum, int count);
    void on_currentPlayList_itemsRemoved(const QList<int>& indices, int lastSeqNum);
    void on_currentPlayList_itemMoved(int from, int to);
    void on_currentPlayList_cleared();
    void on_currentPlayList_shuffleChanged(bool shuffle);
    void on_currentPlayList_repeatAllChanged(bool repeatAll);

private:
    void resetPlayback();
    void playPending(const KeloRoles& track);
    bool confirmPendingTrack();  // false when no track was pending
    void insertIntoShuffle(int first, int count);
    void addToShuffle(int position, int firstSeqNum, int count);
    int announcedNumber() const;  // number of the entry the player was told comes next, or -1
    void followAnnouncedTrack(int newNumber);  // newNumber: the announced entry's number now, -1: gone
    void removeFromShuffle(int removed);
    // One step of the shuffle order by step (+1 or -1); at the end in that direction RepeatAll wraps
    // to the other end. The number there, or -1 (the index then stays).
    int stepShuffle(int step);

    PlayListWorker* worker;
    PlayListManager* manager;
    PlayListBase* currentPlayList = nullptr;
    bool shuffleEnabled = false;
    RepeatMode repeatMode = RepeatOff;
    QVector<int> m_shuffleSeq;
    int m_shuffleCurIndex = -1;
    KeloRoles pendingTrackRoles;  // handed to the player, start not yet confirmed
    int errorCount = 0;           // consecutive stream errors seen while moving on
    bool nextMediaPrepared = false;
};
