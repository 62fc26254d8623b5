#pragma once
// The playlist model: PlayListBase is what the commands, the play logic and the browse tree work
// with; PlayList binds one to a row of the playlists table (the play queue, uid 0, included).
//
// Threads: the worker's thread. Each PlayList has a recursive mutex around its setters and its
// database calls; signals of addItems and removeItems are emitted while it is held, so slots on the
// same thread may call back into the playlist.
//
// Every change goes to the database first; the cached record changes and a signal is emitted only
// when that succeeded. A removal or move that shifts the play position stores the new position
// with the entries, in one transaction. Exception: setLastSequenceNumber keeps the new play
// position even when the row update fails.
#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>
#include <memory>

#include "KeloEnums.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"

class Database;
class ItemSource;
struct PlayListRecord;

class PlayListBase : public QObject
{
    Q_OBJECT
public:
    explicit PlayListBase(QObject* parent = nullptr) : QObject(parent) {}

    virtual int getUid() const = 0;  // -1: not bound to a row
    virtual QString getName() const = 0;
    // The setters are false when the store refused the change; nothing changed then, no signal.
    virtual bool setName(const QString& name) = 0;  // emits nameChanged on every stored call
    virtual bool getShuffle() const = 0;
    virtual bool setShuffle(bool value) = 0;  // emits shuffleChanged only on a change
    virtual bool getRepeatAll() const = 0;
    virtual bool setRepeatAll(bool value) = 0;  // emits repeatAllChanged only on a change
    // Sequence number of the entry last played; -1 for none.
    virtual int getLastSequenceNumber() const = 0;
    virtual void setLastSequenceNumber(int seqNum) = 0;  // no signal
    virtual int getSize() const = 0;  // number of entries; they are numbered 0..size-1

    // Entries numbered from..to, both included, ascending.
    virtual QList<KeloPlayListItem> getItems(int from, int to) = 0;
    // Removes the entries with these sequence numbers (any order); the number removed, 0 or -1
    // when nothing was removed. All or nothing.
    virtual int removeItems(const QList<int>& indices) = 0;
    // from and to are clamped to the size; moving onto the same number is true and silent.
    virtual bool moveItem(int from, int to) = 0;
    // A block move made of single moves stored in one transaction: all or none. Each move then
    // emits its own itemMoved; false (nothing moved, no signal) for an empty list or a failed store.
    virtual bool moveItems(QList<int> indices, int to) = 0;
    // Number added (the items limit may cut the list short), or -1 when nothing was added.
    virtual int addItems(KeloPlayListAddPosition::Enum position, const QList<KeloPlayListItem>& items) = 0;
    // The same at the end, with the entries handed over while they are stored; -1 also when the
    // source did not end complete.
    virtual int appendItems(ItemSource& source) = 0;
    virtual bool clearItems() = 0;
    // Deletes the row with its entries; the play queue's row is refused (false). The owner deletes
    // the object.
    virtual bool remove() = 0;
    // The role map of a stored entry: its stored roles plus id, value (sequence number), path and
    // this module's play-logic path.
    virtual KeloRoles itemToKeloRoles(const KeloPlayListItem& item) const = 0;

signals:
    // positionEnum: the add position's name; firstSeqNum: number of the first new entry.
    void itemsAdded(const QString& positionEnum, int firstSeqNum, int count);
    // indices: the removed numbers, ascending; lastSeqNumBeforeRemove: the last-played index
    // before the removal.
    void itemsRemoved(const QList<int>& indices, int lastSeqNumBeforeRemove);
    void itemMoved(int from, int to);
    void itemsCleared();
    void shuffleChanged(bool newValue);
    void repeatAllChanged(bool newValue);
    void nameChanged(const QString& name);
};

class PlayList : public PlayListBase
{
    Q_OBJECT
public:
    // database is shared and not owned; record is copied.
    PlayList(Database* database, const PlayListRecord& record);
    ~PlayList() override;

    bool valid() const;          // bound to a row (uid is not -1)
    bool updateDatabase() const;  // writes the cached record to its row

    int getUid() const override;
    QString getName() const override;
    bool setName(const QString& name) override;
    bool getShuffle() const override;
    bool setShuffle(bool value) override;
    bool getRepeatAll() const override;
    bool setRepeatAll(bool value) override;
    int getLastSequenceNumber() const override;
    void setLastSequenceNumber(int seqNum) override;
    int getSize() const override;

    QList<KeloPlayListItem> getItems(int from, int to) override;
    int removeItems(const QList<int>& indices) override;
    bool moveItem(int from, int to) override;
    bool moveItems(QList<int> indices, int to) override;
    int addItems(KeloPlayListAddPosition::Enum position, const QList<KeloPlayListItem>& items) override;
    int appendItems(ItemSource& source) override;
    bool clearItems() override;
    bool remove() override;
    KeloRoles itemToKeloRoles(const KeloPlayListItem& item) const override;

private:
    // The last played index after moving from -> to, given the one before (last); last when unmoved.
    int adjustLastPlayedAfterMove(int last, int from, int to) const;
    // After a stored add: the size grows and itemsAdded is emitted; the number added or -1.
    int addedAt(KeloPlayListAddPosition::Enum position, int first, int added);
    bool store(const PlayListRecord& changed);  // writes the row, then takes it as the cached record

    Database* database;
    std::unique_ptr<PlayListRecord> record;
    QRecursiveMutex mutex;
};
