#pragma once
// Collections: named sets of playlists. A collection points at PlayListBase objects owned by the
// PlayListManager and never owns them; the manager takes a playlist out of every collection before
// deleting it. Worker's thread only; no locks.
#include <QList>
#include <QObject>
#include <QString>
#include <memory>

class Database;
struct CollectionRecord;
class PlayListBase;

class CollectionBase : public QObject
{
    Q_OBJECT
public:
    explicit CollectionBase(QObject* parent = nullptr) : QObject(parent) {}

    virtual int getUid() const = 0;  // -1: not bound to a row
    virtual QString getName() const = 0;
    // False when the store refuses the change; then the name stays and nothing is emitted.
    virtual bool setName(const QString& name) = 0;
    virtual bool valid() const = 0;
    // Deletes the row (its memberships go with it); the owner deletes the object.
    virtual bool remove() = 0;
    // False when the store refuses the membership (already a member, unknown uid); then nothing
    // changes and nothing is emitted.
    virtual bool addPlayList(PlayListBase* pl) = 0;
    // False when the playlist is not a member.
    virtual bool removePlayList(PlayListBase* pl) = 0;
    virtual const QList<PlayListBase*>& getPlayLists() const = 0;

signals:
    void playlistAdded();
    void playlistRemoved();
    void nameChanged(const QString& name);
};

class Collection : public CollectionBase
{
    Q_OBJECT
public:
    // database is shared and not owned; playlists are the members, not owned.
    Collection(Database* database, const CollectionRecord& record, QList<PlayListBase*> playlists);
    ~Collection() override;

    int getUid() const override;
    QString getName() const override;
    bool setName(const QString& name) override;
    bool valid() const override;
    bool remove() override;
    bool addPlayList(PlayListBase* pl) override;
    bool removePlayList(PlayListBase* pl) override;
    const QList<PlayListBase*>& getPlayLists() const override;

private:
    Database* database;
    std::unique_ptr<CollectionRecord> record;
    QList<PlayListBase*> playlists;
};
