#pragma once
// The browse tree under "playlists:". PlayListUI registers every fixed node at start and keeps one
// PlayListWatcher, with the playlist's items node, per playlist and for the play queue; it follows
// the manager's create and delete signals and resets the lists those changes affect. A
// PlayListWatcher turns its playlist's change signals into row-change events of the open views.
// Both live in the worker's thread and are used only from it.
#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>

#include "CMPath.h"
#include "CMSubscribe.h"

class BaseNode;
class CMNodes;
class PlayListBase;
class PlayListManager;

class PlayListWatcher : public QObject
{
    Q_OBJECT
public:
    // Neither subscribe nor playlist is owned; node (the playlist's items node) is, and is retired
    // when the watcher goes. The uid is taken from the playlist now.
    PlayListWatcher(QObject* parent, CMSubscribe* subscribe, PlayListBase* playlist, BaseNode* node);
    // Closes the open items views of the playlist and retires its items node, unless closeViews did.
    ~PlayListWatcher() override;

    // Closes the open items views and retires the items node now, once: a deleted playlist's uid
    // may be given to a new playlist before this watcher is deleted, and its views must stay open.
    void closeViews();

    // The items view of the play queue for uid 0, of playlist uid otherwise.
    static CMPath itemsPath(int uid);
    // Tells every open items view of uid to reload.
    void restartPlayListView(int uid);

public slots:
    void on_items_added(const QString& position, int firstSeqIndex, int count);
    void on_items_removed(const QList<int>& indices, int lastSeqNum);
    void on_items_moved(int from, int to);
    void on_items_cleared();
    void on_playlist_changed(bool value);
    void on_playlistName_changed(const QString& name);

private:
    CMSubscribe* subscribe;
    int uid;
    BaseNode* node;
    bool closed = false;
};

class PlayListUI : public QObject
{
    Q_OBJECT
public:
    // nodes, subscribe and manager are not owned and outlive this object; the manager has loaded its
    // playlists and collections already.
    PlayListUI(QObject* parent, CMNodes* nodes, CMSubscribe* subscribe, PlayListManager* manager);
    ~PlayListUI() override;

public slots:
    void on_playlist_create(const int& uid);
    void on_playlist_delete(const int& uid);
    void on_collection_create(int uid);
    void on_collection_delete(int uid);
    void on_collection_changed();
    void on_collection_nameChanged(const QString& name);

private:
    void createFixedNodes();
    // The items node and watcher of pl (the play queue included), unless it has them already.
    void watch(PlayListBase* pl);
    void watchCollection(int uid);
    void reset(const CMPath& path);

    CMNodes* nodes;
    CMSubscribe* subscribe;
    PlayListManager* manager;
    QList<BaseNode*> fixedNodes;
    QHash<int, PlayListWatcher*> watchers;
};
