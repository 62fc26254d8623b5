// The collection commands: create, delete, rename, add a playlist, remove a playlist.
#include "Controller.h"

#include "Collection.h"
#include "KeloLog.h"
#include "KeloPlayList.h"
#include "Language.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "PlayListsLog.h"

bool Controller::clCreate(CMSetDataRequest request, QString& msg, int& id)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not create collection.");
    const QString name = KeloPlayListClCreate(KeloHash(request.value().toHash())).name();
    if (!checkNonemptyString(name, QStringLiteral("name"), what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot create collection with empty name");
        return false;
    }
    if (!checkNameLength(name, what, msg))
        return false;
    CollectionBase* collection = manager->createCollection(name);
    if (!collection) {
        msg = buildErrMsg(what, KELO_TR("Create collection error."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Create collection error");
        return false;
    }
    id = collection->getUid();
    msg = buildOkMsg(KELO_TR("Collection created successfully."), collection->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Collection id: " << id << ", name: " << name << " created successfully");
    return true;
}

// No separate id check: clid -1 names no collection and is caught by the lookup.
bool Controller::clDelete(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not delete collection.");
    const int clid = KeloPlayListClId(KeloHash(request.value().toHash())).clid();
    CollectionBase* collection = manager->getCollectionByUid(clid);
    if (!collection) {
        msg = buildErrMsg(what, KELO_TR("There is no collection with this ID."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Unable to find collection id: " << clid);
        return false;
    }
    const QString name = collection->getName();
    if (!manager->deleteCollection(collection)) {
        msg = buildErrMsg(what, KELO_TR("Delete collection failed"), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Unable to delete collection id: " << clid);
        return false;
    }
    msg = buildOkMsg(KELO_TR("Collection deleted successfully."), name, QString());
    KELO_LOG_INFO(PlayListsLogger, "Collection id: " << clid << " deleted successfully");
    return true;
}

bool Controller::clSetName(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not set collection name.");
    const KeloPlayListClSetName args(KeloHash(request.value().toHash()));
    const int clid = args.clid();
    if (!checkNonemptyString(args.name(), QStringLiteral("name"), what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Cannot rename collection id: " << clid << " to empty string");
        return false;
    }
    if (!checkNameLength(args.name(), what, msg))
        return false;
    CollectionBase* collection = manager->getCollectionByUid(clid);
    if (!collection) {
        msg = buildErrMsg(what, KELO_TR("There is no collection with this ID."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Unable to find collection id: " << clid);
        return false;
    }
    if (!collection->setName(args.name())) {
        msg = buildErrMsg(what, KELO_TR("The collection could not be stored."), QString());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Collection renamed successfully."), collection->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Collection id: " << clid << " renamed to: " << args.name());
    return true;
}

bool Controller::findCollectionItem(const KeloPlayListClAddRemoveItem& args, const QString& what,
                                    CollectionBase*& collection, PlayListBase*& pl, QString& msg)
{
    const int clid = args.clid();
    const int plid = args.plid();
    if (!checkPlayListId(plid, what, msg))
        return false;
    collection = manager->getCollectionByUid(clid);
    if (!collection) {
        msg = buildErrMsg(what, KELO_TR("There is no collection with this ID."), msg);
        KELO_LOG_ERROR(PlayListsLogger, "Collection id: " << clid << " doesn't exist");
        return false;
    }
    pl = manager->getPlayListByUid(plid);
    if (!checkPlayList(pl, plid, what, msg)) {
        KELO_LOG_ERROR(PlayListsLogger, "Playlist id: " << plid << " doesn't exist");
        return false;
    }
    return true;
}

bool Controller::clAddItem(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not add items to collection.");
    const KeloPlayListClAddRemoveItem args(KeloHash(request.value().toHash()));
    CollectionBase* collection = nullptr;
    PlayListBase* pl = nullptr;
    if (!findCollectionItem(args, what, collection, pl, msg))
        return false;
    if (!collection->addPlayList(pl)) {
        msg = buildErrMsg(what, KELO_TR("Add playlist to collection failed."), msg);
        KELO_LOG_ERROR(PlayListsLogger,
                       "Unable to add playList id: " << args.plid() << " to collection id: " << args.clid());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Items added successfully to collection."), collection->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id: " << args.plid() << " added to collection id: " << args.clid());
    return true;
}

bool Controller::clRemoveItem(CMSetDataRequest request, QString& msg)
{
    KELO_TRACE_SCOPE(PlayListsLogger);
    const QString what = KELO_TR("Could not remove items from collection.");
    const KeloPlayListClAddRemoveItem args(KeloHash(request.value().toHash()));
    CollectionBase* collection = nullptr;
    PlayListBase* pl = nullptr;
    if (!findCollectionItem(args, what, collection, pl, msg))
        return false;
    if (!collection->removePlayList(pl)) {
        msg = buildErrMsg(what, KELO_TR("Remove playlist from collection failed."), msg);
        KELO_LOG_ERROR(PlayListsLogger,
                       "Unable to remove playList, id: " << args.plid() << " from collection id: " << args.clid());
        return false;
    }
    msg = buildOkMsg(KELO_TR("Playlist removed successfully from collection."), collection->getName(), QString());
    KELO_LOG_INFO(PlayListsLogger, "Playlist id: " << args.plid() << " removed from collection id: " << args.clid());
    return true;
}
