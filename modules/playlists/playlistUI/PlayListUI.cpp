#include "playlistUI/PlayListUI.h"

#include "CMGlobal.h"
#include "Collection.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "playlistUI/RootNode.h"
#include "playlistUI/collection/CollectionAddToClNode.h"
#include "playlistUI/collection/CollectionContextNode.h"
#include "playlistUI/collection/CollectionGetItemsNode.h"
#include "playlistUI/playlist/PlayListAddModeNode.h"
#include "playlistUI/playlist/PlayListAddToPlaylistNode.h"
#include "playlistUI/playlist/PlayListContextNode.h"
#include "playlistUI/playlist/PlayListGetItemsNode.h"
#include "playlistUI/playlist/PlayListGetListNode.h"
#include "playlistUI/playlist/PlayListTrackContextNode.h"
#include "playlistUI/playqueue/PlayQueueContextNode.h"
#include "playlistUI/playqueue/PlayQueueGetItemsNode.h"
#include "PlayListsLog.h"

PlayListUI::PlayListUI(QObject* parent, CMNodes* nodes, CMSubscribe* subscribe, PlayListManager* manager)
    : QObject(parent), nodes(nodes), subscribe(subscribe), manager(manager)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    createFixedNodes();
    watch(manager->getPlayQueue());
    for (PlayListBase* pl : manager->getAllPlayList())
        watch(pl);
    for (CollectionBase* cl : manager->getAllCollection())
        watchCollection(cl->getUid());
    CMGlobal::connect(manager, &PlayListManager::playlistCreated, this, &PlayListUI::on_playlist_create);
    CMGlobal::connect(manager, &PlayListManager::playlistDeleted, this, &PlayListUI::on_playlist_delete);
    CMGlobal::connect(manager, &PlayListManager::collectionCreated, this, &PlayListUI::on_collection_create);
    CMGlobal::connect(manager, &PlayListManager::collectionDeleted, this, &PlayListUI::on_collection_delete);
}

PlayListUI::~PlayListUI()
{
    for (PlayListWatcher* watcher : qAsConst(watchers))
        watcher->deleteLater();
    for (BaseNode* node : qAsConst(fixedNodes))
        node->deleteLater();
    watchers.clear();
    fixedNodes.clear();
}

void PlayListUI::createFixedNodes()
{
    fixedNodes = {
        RootNode::create(nodes, KeloPlayListsRootPath(), manager),
        PlayQueueContextNode::create(nodes, KeloPlayListPqContextPath(), manager),
        PlayListGetListNode::create(nodes, KeloPlayListPlGetlistPath(), manager),
        PlayListAddToPlaylistNode::create(nodes, KeloPlayListPlAddToPlaylistPath(), manager),
        PlayListAddModeNode::create(nodes, KeloPlayListPlSelectAddModePath(), manager),
        PlayListContextNode::create(nodes, KeloPlayListPlContextPath(), manager),
        PlayListTrackContextNode::create(nodes, KeloPlayListPlTrackContextPath(), manager),
        CollectionGetItemsNode::create(nodes, KeloPlayListClGetItemsPath(), manager),
        CollectionAddToClNode::create(nodes, KeloPlayListClAddtoCollectionPath(), manager),
        CollectionContextNode::create(nodes, KeloPlayListClContextPath(), manager),
    };
}

void PlayListUI::watch(PlayListBase* pl)
{
    if (!pl || watchers.contains(pl->getUid()))
        return;
    const int uid = pl->getUid();
    const CMPath path = PlayListWatcher::itemsPath(uid);
    BaseNode* node = uid == 0 ? static_cast<BaseNode*>(PlayQueueGetItemsNode::create(nodes, path, manager))
                              : PlayListGetItemsNode::create(nodes, path, manager);
    watchers.insert(uid, new PlayListWatcher(this, subscribe, pl, node));
}

void PlayListUI::watchCollection(int uid)
{
    CollectionBase* cl = manager->getCollectionByUid(uid);
    if (!cl)
        return;
    CMGlobal::connect(cl, &CollectionBase::playlistAdded, this, &PlayListUI::on_collection_changed);
    CMGlobal::connect(cl, &CollectionBase::playlistRemoved, this, &PlayListUI::on_collection_changed);
    CMGlobal::connect(cl, &CollectionBase::nameChanged, this, &PlayListUI::on_collection_nameChanged);
}

void PlayListUI::reset(const CMPath& path)
{
    subscribe->changedStartingWith(path, CMSubscribe::RowsChangeReset(), -1, -1);
}

void PlayListUI::on_playlist_create(const int& uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid: " << uid);
    watch(manager->getPlayListByUid(uid));
    reset(KeloPlayListsRootPath());
    reset(KeloPlayListPlAddToPlaylistPath());
    reset(KeloPlayListPlGetlistPath());
}

void PlayListUI::on_playlist_delete(const int& uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid: " << uid);
    // The play queue is never deleted; its watcher stays for the module's lifetime.
    if (uid != 0) {
        if (PlayListWatcher* watcher = watchers.take(uid)) {
            watcher->closeViews();
            watcher->deleteLater();
        }
    }
    reset(KeloPlayListsRootPath());
    reset(KeloPlayListPlAddToPlaylistPath());
}

void PlayListUI::on_collection_create(int uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid: " << uid);
    watchCollection(uid);
    reset(KeloPlayListsRootPath());
    reset(KeloPlayListClAddtoCollectionPath());
}

void PlayListUI::on_collection_delete(int uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid: " << uid);
    reset(KeloPlayListsRootPath());
    reset(KeloPlayListClAddtoCollectionPath());
}

void PlayListUI::on_collection_changed()
{
    KELO_ASSERT_THREAD(this);
    reset(KeloPlayListClGetItemsPath());
}

// The name shows in the root list, in the collection's own view, in the add-to list and in its menu's title.
void PlayListUI::on_collection_nameChanged(const QString&)
{
    KELO_ASSERT_THREAD(this);
    reset(KeloPlayListsRootPath());
    reset(KeloPlayListClGetItemsPath());
    reset(KeloPlayListClAddtoCollectionPath());
    reset(KeloPlayListClContextPath());
}
