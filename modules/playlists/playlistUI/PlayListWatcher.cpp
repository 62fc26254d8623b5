#include "CMGlobal.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "playlistUI/BaseNode.h"
#include "playlistUI/PlayListUI.h"
#include "PlayListsLog.h"

PlayListWatcher::PlayListWatcher(QObject* parent, CMSubscribe* subscribe, PlayListBase* playlist, BaseNode* node)
    : QObject(parent), subscribe(subscribe), uid(playlist->getUid()), node(node)
{
    CMGlobal::connect(playlist, &PlayListBase::itemsAdded, this, &PlayListWatcher::on_items_added);
    CMGlobal::connect(playlist, &PlayListBase::itemsRemoved, this, &PlayListWatcher::on_items_removed);
    CMGlobal::connect(playlist, &PlayListBase::itemMoved, this, &PlayListWatcher::on_items_moved);
    CMGlobal::connect(playlist, &PlayListBase::itemsCleared, this, &PlayListWatcher::on_items_cleared);
    CMGlobal::connect(playlist, &PlayListBase::shuffleChanged, this, &PlayListWatcher::on_playlist_changed);
    CMGlobal::connect(playlist, &PlayListBase::repeatAllChanged, this, &PlayListWatcher::on_playlist_changed);
    CMGlobal::connect(playlist, &PlayListBase::nameChanged, this, &PlayListWatcher::on_playlistName_changed);
}

PlayListWatcher::~PlayListWatcher()
{
    closeViews();
}

void PlayListWatcher::closeViews()
{
    KELO_ASSERT_THREAD(this);
    if (closed)
        return;
    closed = true;
    subscribe->rowsChanged(itemsPath(uid), CMSubscribe::RowsChangeClose(), -1, -1);
    if (node)
        node->deleteLater();
    node = nullptr;
}

CMPath PlayListWatcher::itemsPath(int uid)
{
    return uid == 0 ? KeloPlayListPqGetItemsPath() : KeloPlayListPlGetItemsPath() + uid;
}

void PlayListWatcher::restartPlayListView(int uid)
{
    KELO_ASSERT_THREAD(this);
    subscribe->changedStartingWith(itemsPath(uid), CMSubscribe::RowsChangeReset(), -1, -1);
}

void PlayListWatcher::on_items_added(const QString&, int firstSeqIndex, int count)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "firstSeqIndex: " << firstSeqIndex << " count: " << count);
    KELO_LOG_TRACE(PlayListsLogger, "path: " << itemsPath(uid).toEncoded());
    subscribe->rowsInserted(itemsPath(uid), firstSeqIndex, count, 0, -1);
}

void PlayListWatcher::on_items_removed(const QList<int>&, int)
{
    KELO_ASSERT_THREAD(this);
    // Removals are never sent row by row: the whole view reloads.
    restartPlayListView(uid);
}

void PlayListWatcher::on_items_moved(int, int)
{
    KELO_ASSERT_THREAD(this);
    restartPlayListView(uid);
    // Open track menus show positions that the move changed.
    subscribe->changedStartingWith(KeloPlayListPlTrackContextPath(), CMSubscribe::RowsChangeReset(), -1, -1);
}

void PlayListWatcher::on_items_cleared()
{
    KELO_ASSERT_THREAD(this);
    restartPlayListView(uid);
}

void PlayListWatcher::on_playlist_changed(bool)
{
    KELO_ASSERT_THREAD(this);
    // The menus show the current shuffle and repeat state.
    const CMPath menu = uid == 0 ? KeloPlayListPqContextPath() : KeloPlayListPlContextPath();
    subscribe->changedStartingWith(menu, CMSubscribe::RowsChangeReset(), -1, -1);
}

void PlayListWatcher::on_playlistName_changed(const QString&)
{
    KELO_ASSERT_THREAD(this);
    subscribe->changedStartingWith(KeloPlayListsRootPath(), CMSubscribe::RowsChangeReset(), -1, -1);
    subscribe->changedStartingWith(KeloPlayListPlContextPath(), CMSubscribe::RowsChangeReset(), -1, -1);
}
