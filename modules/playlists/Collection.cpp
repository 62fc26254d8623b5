#include "Collection.h"

#include "CMGlobal.h"
#include "Database.h"
#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListsLog.h"

Collection::Collection(Database* database, const CollectionRecord& record, QList<PlayListBase*> playlists)
    : database(database), record(std::make_unique<CollectionRecord>(record)), playlists(std::move(playlists))
{
}

Collection::~Collection() = default;

int Collection::getUid() const
{
    KELO_ASSERT_THREAD(this);
    return record->uid;
}

QString Collection::getName() const
{
    KELO_ASSERT_THREAD(this);
    return record->name;
}

bool Collection::setName(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    CollectionRecord changed = *record;
    changed.name = name;
    if (!database->updateCollection(changed))
        return false;
    record->name = name;
    emit nameChanged(name);
    return true;
}

bool Collection::valid() const
{
    KELO_ASSERT_THREAD(this);
    return record->uid != -1;
}

const QList<PlayListBase*>& Collection::getPlayLists() const
{
    KELO_ASSERT_THREAD(this);
    return playlists;
}

bool Collection::remove()
{
    KELO_ASSERT_THREAD(this);
    return database->deleteCollection(*record);
}

// A playlist that is already a member is refused by the store (the membership is a primary key),
// so no check is made here.
bool Collection::addPlayList(PlayListBase* pl)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "this=" << getUid() << " pl=" << pl->getUid());
    if (!database->addToCollection(*record, pl->getUid())) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to add pl to collection, this=" << getUid() << " pl=" << pl->getUid());
        return false;
    }
    playlists.append(pl);
    emit playlistAdded();
    return true;
}

bool Collection::removePlayList(PlayListBase* pl)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "this=" << getUid() << " pl=" << pl->getUid());
    if (!database->removeFromCollection(*record, pl->getUid()))
        return false;
    playlists.removeAll(pl);
    emit playlistRemoved();
    return true;
}
