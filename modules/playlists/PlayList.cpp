#include "PlayList.h"

#include <QMutexLocker>
#include <algorithm>

#include "CMGlobal.h"
#include "Database.h"
#include "ItemSource.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayListsLog.h"

PlayList::PlayList(Database* database, const PlayListRecord& record)
    : database(database), record(std::make_unique<PlayListRecord>(record))
{
}

PlayList::~PlayList() = default;

bool PlayList::valid() const
{
    KELO_ASSERT_THREAD(this);
    return record->uid != -1;
}

bool PlayList::updateDatabase() const
{
    KELO_ASSERT_THREAD(this);
    return database->updatePlayList(*record);
}

int PlayList::getUid() const
{
    KELO_ASSERT_THREAD(this);
    return record->uid;
}

QString PlayList::getName() const
{
    KELO_ASSERT_THREAD(this);
    return record->name;
}

bool PlayList::getShuffle() const
{
    KELO_ASSERT_THREAD(this);
    return record->shuffle;
}

bool PlayList::getRepeatAll() const
{
    KELO_ASSERT_THREAD(this);
    return record->repeatAll;
}

int PlayList::getLastSequenceNumber() const
{
    KELO_ASSERT_THREAD(this);
    return record->lastPlayedIndex;
}

int PlayList::getSize() const
{
    KELO_ASSERT_THREAD(this);
    return record->size;
}

// The row is written first; the cached record and the views change only when it was stored.
bool PlayList::store(const PlayListRecord& changed)
{
    if (!database->updatePlayList(changed))
        return false;
    *record = changed;
    return true;
}

bool PlayList::setName(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    QMutexLocker locker(&mutex);
    PlayListRecord changed = *record;
    changed.name = name;
    if (!store(changed))
        return false;
    emit nameChanged(name);
    return true;
}

bool PlayList::setShuffle(bool value)
{
    KELO_ASSERT_THREAD(this);
    QMutexLocker locker(&mutex);
    if (record->shuffle == value)
        return true;
    PlayListRecord changed = *record;
    changed.shuffle = value;
    if (!store(changed))
        return false;
    emit shuffleChanged(value);
    return true;
}

bool PlayList::setRepeatAll(bool value)
{
    KELO_ASSERT_THREAD(this);
    QMutexLocker locker(&mutex);
    if (record->repeatAll == value)
        return true;
    PlayListRecord changed = *record;
    changed.repeatAll = value;
    if (!store(changed))
        return false;
    emit repeatAllChanged(value);
    return true;
}

// The play position follows the player even when the row cannot be written: navigation must not
// repeat a track because the store refused it. The next successful write stores it.
void PlayList::setLastSequenceNumber(int seqNum)
{
    KELO_ASSERT_THREAD(this);
    QMutexLocker locker(&mutex);
    record->lastPlayedIndex = seqNum;
    updateDatabase();
}

bool PlayList::remove()
{
    KELO_ASSERT_THREAD(this);
    return database->deletePlayList(*record);
}

QList<KeloPlayListItem> PlayList::getItems(int from, int to)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "from=" << from << " to=" << to);
    QMutexLocker locker(&mutex);
    return database->getItems(*record, from, to);
}

int PlayList::addItems(KeloPlayListAddPosition::Enum position, const QList<KeloPlayListItem>& items)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "position=" << int(position) << " count=" << items.size());
    QMutexLocker locker(&mutex);
    int added = 0;
    const int first = database->addItems(*record, position, items, &added);
    return addedAt(position, first, added);
}

int PlayList::appendItems(ItemSource& source)
{
    KELO_ASSERT_THREAD(this);
    QMutexLocker locker(&mutex);
    int added = 0;
    const int first = database->appendItems(*record, source, &added);
    return addedAt(KeloPlayListAddPosition::Append, first, added);
}

int PlayList::addedAt(KeloPlayListAddPosition::Enum position, int first, int added)
{
    if (first < 0)
        return -1;
    // New entries go behind the last played one or at the end, so its number stays right.
    record->size += added;
    emit itemsAdded(KeloPlayListAddPosition::toString(position), first, added);
    return added;
}

int PlayList::removeItems(const QList<int>& indices)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "indices=" << indices);
    QList<int> sorted = indices;
    std::sort(sorted.begin(), sorted.end());
    QMutexLocker locker(&mutex);
    const int last = getLastSequenceNumber();
    // The store removes every index or none, so the size after the removal is known before it.
    const int size = record->size - sorted.size();
    // The last played entry itself is not counted: its index then names the entry that took its place.
    const int below = int(std::count_if(sorted.cbegin(), sorted.cend(), [last](int i) { return i < last; }));
    // When the last entries went, the index names the new last entry (-1 for an empty playlist),
    // never a number behind the end: an add after it must not leave a gap.
    const int kept = sorted.isEmpty() ? last : std::min(last - below, size - 1);
    const int removed = database->removeItems(*record, sorted, kept);
    if (removed <= 0)
        return removed;
    record->size -= removed;
    record->lastPlayedIndex = kept;
    emit itemsRemoved(sorted, last);
    return removed;
}

bool PlayList::moveItem(int from, int to)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "from=" << from << " to=" << to);
    const int n = getSize();
    to = std::min(to, n);
    from = std::min(from, n);
    if (from == to)
        return true;
    const int last = getLastSequenceNumber();
    KELO_LOG_TRACE(PlayListsLogger, "lastPlayedSeqNum: " << last);
    QMutexLocker locker(&mutex);
    const int moved = adjustLastPlayedAfterMove(last, from, to);
    if (!database->moveItem(*record, from, to, moved))
        return false;
    record->lastPlayedIndex = moved;
    emit itemMoved(from, to);
    return true;
}

int PlayList::adjustLastPlayedAfterMove(int last, int from, int to) const
{
    if (last == from) {
        KELO_LOG_TRACE(PlayListsLogger, "setLastSequenceNumber(toIndex): " << to);
        return to;
    }
    if (last < from && last >= to) {
        KELO_LOG_TRACE(PlayListsLogger, "setLastSequenceNumber(lastPlayedSeqNum + 1): " << last + 1);
        return last + 1;
    }
    if (last > from && last <= to) {
        KELO_LOG_TRACE(PlayListsLogger, "setLastSequenceNumber(lastPlayedSeqNum - 1): " << last - 1);
        return last - 1;
    }
    return last;
}

bool PlayList::moveItems(QList<int> indices, int to)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "indicies.size(): " << indices.size());
    if (indices.isEmpty()) {
        KELO_LOG_TRACE(PlayListsLogger, "indicies.size() is 0, returning");
        return false;
    }
    // Towards the front the entries land at to, to + 1, ...; towards the back the moves run from
    // the end of the list, each landing at to - k, so the block ends at to in the order given.
    const int count = indices.size();
    QVector<QPair<int, int>> moves;
    for (int i = 0; i < count; ++i) {
        const int k = indices.first() > to ? i : count - 1 - i;
        const int from = std::min(indices[k], getSize());
        const int target = std::min(indices.first() > to ? to + k : to - k, getSize());
        if (from != target)
            moves.append(qMakePair(from, target));
    }
    QMutexLocker locker(&mutex);
    // The position after each move: each itemMoved is seen with the position that move left.
    QVector<int> positions;
    int position = getLastSequenceNumber();
    for (const auto& [from, target] : moves)
        positions.append(position = adjustLastPlayedAfterMove(position, from, target));
    // One transaction: a block is never found half moved, nor the position apart from it.
    if (!moves.isEmpty() && !database->moveItems(*record, moves, position))
        return false;
    for (int i = 0; i < moves.size(); ++i) {
        record->lastPlayedIndex = positions[i];
        emit itemMoved(moves[i].first, moves[i].second);
    }
    return true;
}

bool PlayList::clearItems()
{
    KELO_ASSERT_THREAD(this);
    KELO_TRACE_SCOPE(PlayListsLogger);
    if (getSize() == 0) {
        setLastSequenceNumber(-1);
        return true;
    }
    const bool cleared = database->clearItems(*record);
    if (cleared) {
        record->size = 0;
        setLastSequenceNumber(-1);
        emit itemsCleared();
    }
    return cleared;
}

KeloRoles PlayList::itemToKeloRoles(const KeloPlayListItem& item) const
{
    KELO_ASSERT_THREAD(this);
    // Path texts every row shares, encoded once rather than once per row.
    static const QString itemPathStart = KeloPlayListItemPath().toEncoded();
    static const QString playLogicPath = KeloPlayListsPlayLogicPath().toEncoded();
    bool ok = false;
    QString error;
    KeloRoles roles(
        KeloHash(KeloJson::parse(item.utf8(KeloPlayListItem::Text::KeloRoles), &ok, &error).toHash()));
    if (!ok) {
        KELO_LOG_ERROR(PlayListsLogger, "Failed to parse data, error: " << error);
        return roles;
    }
    const QString uid = QString::number(item.uid());
    roles.setId(uid);
    roles.setValue(KeloValue::fromI32(item.sequenceNumber()));
    roles.set(KeloRoles::Path(), itemPathStart + uid);
    if (roles.contains(KeloRoles::MediaData())) {
        KeloMediaData mediaData = roles.mediaData();
        if (mediaData.contains(QStringLiteral("metaData"))) {
            KeloMetaData metaData = mediaData.metaData();
            metaData.set(QStringLiteral("playLogicPath"), playLogicPath);
            mediaData.setMetaData(metaData);
            roles.setMediaData(mediaData);
        }
    }
    return roles;
}
