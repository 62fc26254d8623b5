#include "PlayListManager.h"

#include <algorithm>

#include "CMGlobal.h"
#include "Collection.h"
#include "Database.h"
#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListsLog.h"

PlayListManager::PlayListManager(Database* database, QObject* parent) : QObject(parent), database(database)
{
    initPlayLists();
    initCollections();
}

// Children would go with the QObject anyway; the model objects are not parented so that a
// playlist's lifetime is decided here alone.
PlayListManager::~PlayListManager()
{
    qDeleteAll(collections);
    qDeleteAll(playlists);
    delete playQueue;
}

void PlayListManager::initPlayLists()
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    playQueue = new PlayList(database, database->getPlayQueue());
    // The play queue does not survive a restart.
    playQueue->clearItems();
    const QList<PlayListRecord> records = database->getPlayLists();
    for (const PlayListRecord& record : records)
        playlists.append(new PlayList(database, record));
}

void PlayListManager::initCollections()
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QList<CollectionRecord> records = database->getCollections();
    for (const CollectionRecord& record : records) {
        QList<PlayListBase*> members;
        for (int uid : record.playlists) {
            PlayListBase* pl = getPlayListByUid(uid);
            if (pl)
                members.append(pl);
            else
                KELO_LOG_ERROR(PlayListsLogger, "Unknown playlist in collection");
        }
        collections.append(new Collection(database, record, members));
    }
}

PlayListBase* PlayListManager::getPlayQueue() const
{
    KELO_ASSERT_THREAD(this);
    return playQueue;
}

const QList<PlayListBase*>& PlayListManager::getAllPlayList() const
{
    KELO_ASSERT_THREAD(this);
    return playlists;
}

const QList<CollectionBase*>& PlayListManager::getAllCollection() const
{
    KELO_ASSERT_THREAD(this);
    return collections;
}

PlayListBase* PlayListManager::getPlayListByUid(int uid) const
{
    KELO_ASSERT_THREAD(this);
    if (uid == 0)
        return playQueue;
    for (PlayListBase* pl : playlists) {
        if (pl->getUid() == uid)
            return pl;
    }
    return nullptr;
}

CollectionBase* PlayListManager::getCollectionByUid(int uid) const
{
    KELO_ASSERT_THREAD(this);
    for (CollectionBase* col : collections) {
        if (col->getUid() == uid)
            return col;
    }
    return nullptr;
}

PlayListBase* PlayListManager::createPlayList(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    auto* pl = new PlayList(database, database->createPlayList(name));
    if (!pl->valid()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to create PlayList " << name << " in database");
        delete pl;
        return nullptr;
    }
    playlists.append(pl);
    emit playlistCreated(pl->getUid());
    return pl;
}

CollectionBase* PlayListManager::createCollection(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    auto* col = new Collection(database, database->createCollection(name), {});
    if (!col->valid()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to create collection " << name << " in database");
        delete col;
        return nullptr;
    }
    collections.append(col);
    emit collectionCreated(col->getUid());
    return col;
}

bool PlayListManager::deletePlayList(PlayListBase* pl)
{
    KELO_ASSERT_THREAD(this);
    const int uid = pl->getUid();
    KELO_LOG_TRACE(PlayListsLogger, "pl->uid=" << uid);
    // No collection may keep a pointer to a deleted playlist.
    const QList<CollectionBase*> snapshot = collections;
    for (CollectionBase* col : snapshot) {
        if (col->getPlayLists().contains(pl) && !col->removePlayList(pl))
            KELO_LOG_ERROR(PlayListsLogger, "Unable to remove playlist (" << uid << ") from collection ("
                                                                      << col->getUid() << ")");
    }
    if (!pl->remove()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to delete PlayList uid=" << uid << " from database");
        return false;
    }
    KELO_LOG_INFO(PlayListsLogger, "Deleted PlayList uid=" << uid);
    playlists.removeAll(pl);
    emit playlistDeleted(uid);
    delete pl;
    return true;
}

bool PlayListManager::deletePlayList(int uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid=" << uid);
    PlayListBase* pl = getPlayListByUid(uid);
    if (!pl) {
        KELO_LOG_ERROR(PlayListsLogger, "Can't delete non-existant PlayList uid=" << uid);
        return false;
    }
    return deletePlayList(pl);
}

bool PlayListManager::deleteCollection(CollectionBase* col)
{
    KELO_ASSERT_THREAD(this);
    const int uid = col->getUid();
    KELO_LOG_TRACE(PlayListsLogger, "col->uid=" << uid);
    if (!col->remove()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to remove collection uid=" << uid << " from database");
        return false;
    }
    collections.removeAll(col);
    KELO_LOG_INFO(PlayListsLogger, "Deleted collection uid=" << uid);
    emit collectionDeleted(uid);
    delete col;
    return true;
}

bool PlayListManager::deleteCollection(int uid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid=" << uid);
    CollectionBase* col = getCollectionByUid(uid);
    if (!col) {
        KELO_LOG_ERROR(PlayListsLogger, "Can't delete non-existant collection uid=" << uid);
        return false;
    }
    return deleteCollection(col);
}

QList<CollectionBase*> PlayListManager::getCollections(int from, int to) const
{
    KELO_ASSERT_THREAD(this);
    const int last = collections.size() - 1;
    int a = std::min(std::max(from, 0), last);
    int b = std::min(std::max(to, 0), last);
    if (b < a)
        std::swap(a, b);
    KELO_ASSERT(a >= 0 && b <= last, "index out of range");
    return collections.mid(a, b - a + 1);
}

int PlayListManager::getPlayListsCount() const
{
    KELO_ASSERT_THREAD(this);
    return database->countPlaylists();
}

int PlayListManager::getPlaylistsItemsCount() const
{
    KELO_ASSERT_THREAD(this);
    return database->countPlaylistsItems();
}

int PlayListManager::getCollectionsCount() const
{
    KELO_ASSERT_THREAD(this);
    return database->countCollections();
}

KeloPlayListItem PlayListManager::getPlayListItemByUid(int uid) const
{
    KELO_ASSERT_THREAD(this);
    return database->getItemByUid(uid);
}
