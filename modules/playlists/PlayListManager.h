#pragma once
// Owns every PlayList and Collection object and is the one place where playlists and collections
// are created, found and deleted. It changes the database first and its lists only on success, then
// emits; slots run inside the create and delete calls and already see the new state. On deletion the
// object is deleted right after the signal. Worker's thread only; no locks.
#include <QList>
#include <QObject>
#include <QString>

#include "KeloPlayList.h"

class CollectionBase;
class Database;
class PlayListBase;

class PlayListManager : public QObject
{
    Q_OBJECT
public:
    // Loads every playlist and collection; the play queue is emptied. database is not owned.
    explicit PlayListManager(Database* database, QObject* parent = nullptr);
    ~PlayListManager() override;

    void initPlayLists();    // the play queue (emptied) and the user playlists
    void initCollections();  // must follow initPlayLists

    PlayListBase* getPlayQueue() const;
    const QList<PlayListBase*>& getAllPlayList() const;  // user playlists; the play queue is not in it
    const QList<CollectionBase*>& getAllCollection() const;
    PlayListBase* getPlayListByUid(int uid) const;  // uid 0: the play queue; null when none
    CollectionBase* getCollectionByUid(int uid) const;  // null when none

    // Null when the row could not be made. Names are not checked; equal names are allowed.
    PlayListBase* createPlayList(const QString& name);
    CollectionBase* createCollection(const QString& name);
    // Takes the playlist out of its collections first; false when the row could not be deleted
    // (the play queue always), in which case the playlist stays but has left its collections.
    bool deletePlayList(PlayListBase* pl);
    bool deletePlayList(int uid);
    bool deleteCollection(CollectionBase* col);  // the member playlists are not touched
    bool deleteCollection(int uid);

    // Collections from..to, both clamped to the list and included; swapped when to < from.
    // Callers check getCollectionsCount() first: with no collections the slice is out of range.
    QList<CollectionBase*> getCollections(int from, int to) const;

    int getPlayListsCount() const;        // from the database; the play queue is not counted
    int getPlaylistsItemsCount() const;   // entries over all playlists
    int getCollectionsCount() const;
    KeloPlayListItem getPlayListItemByUid(int uid) const;  // an empty item when there is none

signals:
    void playlistCreated(int plid);
    void playlistDeleted(int plid);
    void collectionCreated(int clid);
    void collectionDeleted(int clid);

private:
    Database* database;
    PlayListBase* playQueue = nullptr;
    QList<PlayListBase*> playlists;
    QList<CollectionBase*> collections;
};
