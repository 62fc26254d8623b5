// The play logic's construction, the playlist it follows, and the end of that playlist.
#include "PlayListPlayLogic.h"

#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListWorker.h"

PlayListPlayLogic::PlayListPlayLogic(PlayListWorker* worker, PlayListManager* manager, QObject* parent)
    : StreamerPlayLogic(worker->nodes(), KeloPlayListsPlayLogicPath(), parent), worker(worker), manager(manager)
{
    // A playlist is deleted right after the signal, so the slot must run inside it.
    const Qt::ConnectionType type = thread() == manager->thread() ? Qt::DirectConnection : Qt::QueuedConnection;
    CMGlobal::connect(manager, &PlayListManager::playlistDeleted, this, &PlayListPlayLogic::on_playlist_deleted, type);
}

void PlayListPlayLogic::setCurrentPlayList(PlayListBase* pl)
{
    KELO_ASSERT_THREAD(this);
    if (currentPlayList) {
        const bool disconnectSucceeded = disconnect(currentPlayList, nullptr, this, nullptr);
        KELO_ASSERT(disconnectSucceeded, "disconnectSucceeded");
    }
    currentPlayList = pl;
    if (!pl)
        return;
    CMGlobal::connect(pl, &PlayListBase::itemsAdded, this, &PlayListPlayLogic::on_currentPlayList_itemsAdded);
    CMGlobal::connect(pl, &PlayListBase::itemsRemoved, this, &PlayListPlayLogic::on_currentPlayList_itemsRemoved);
    CMGlobal::connect(pl, &PlayListBase::itemMoved, this, &PlayListPlayLogic::on_currentPlayList_itemMoved);
    CMGlobal::connect(pl, &PlayListBase::itemsCleared, this, &PlayListPlayLogic::on_currentPlayList_cleared);
    CMGlobal::connect(pl, &PlayListBase::shuffleChanged, this, &PlayListPlayLogic::on_currentPlayList_shuffleChanged);
    CMGlobal::connect(pl, &PlayListBase::repeatAllChanged, this,
                      &PlayListPlayLogic::on_currentPlayList_repeatAllChanged);
}

void PlayListPlayLogic::on_playlist_deleted(int uid)
{
    KELO_ASSERT_THREAD(this);
    if (!currentPlayList || currentPlayList->getUid() != uid)
        return;
    PlayLogicInterface::stop(PlayLogicInterface::playerInstance());
    setCurrentPlayList(nullptr);
}

KeloPlayLogicPlayModesSupported PlayListPlayLogic::playModesSupported() const
{
    KELO_ASSERT_THREAD(this);
    KeloPlayLogicPlayModesSupported modes;
    modes.setShuffle(true);
    modes.setShuffleRepeatAll(true);
    modes.setShuffleRepeatOne(true);
    modes.setRepeatOne(true);
    modes.setRepeatAll(true);
    return modes;
}
