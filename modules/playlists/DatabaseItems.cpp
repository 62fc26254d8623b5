#include <sqlite3.h>

#include <QStringList>

#include "CMGlobal.h"
#include "Database.h"
#include "DatabaseTransaction.h"
#include "ItemSource.h"
#include "KeloLog.h"
#include "Sqlite3Statement.h"
#include "PlayListsLog.h"

namespace {
const int highestSequenceNumber = 2147483647;

int addItemsFailed()
{
    KELO_LOG_ERROR(PlayListsLogger, "Error adding items to list");
    return -1;
}

// Per-row TRACE lines are decided once per operation: looking the logger up costs more than a row.
bool traceEnabled()
{
    return KeloLog::logger(PlayListsLogger).isEnabledFor(log4cplus::TRACE_LOG_LEVEL);
}

QString joinIndices(const QList<int>& indices)
{
    QStringList texts;
    for (int index : indices)
        texts.append(QString::number(index));
    return QLatin1Char('(') + texts.join(QStringLiteral(", ")) + QLatin1Char(')');
}
}  // namespace

KeloPlayListItem Database::readItem(const StatementScope& query)
{
    using Text = KeloPlayListItem::Text;
    KeloPlayListItem item;
    item.setSequenceNumber(query.columnInt(0));
    item.setUid(query.columnInt(1));
    item.setUtf8(Text::Title, query.columnUtf8(2));
    item.setUtf8(Text::Artist, query.columnUtf8(3));
    item.setUtf8(Text::Album, query.columnUtf8(4));
    item.setUtf8(Text::ArtworkUrl, query.columnUtf8(5));
    item.setUtf8(Text::Genre, query.columnUtf8(6));
    item.setDurationSeconds(query.columnInt(7));
    item.setUtf8(Text::Url, query.columnUtf8(8));
    item.setUtf8(Text::ServiceId, query.columnUtf8(9));
    item.setUtf8(Text::KeloRoles, query.columnUtf8(10));
    return item;
}

QList<KeloPlayListItem> Database::getItems(const PlayListRecord& pl, int from, int to)
{
    KELO_ASSERT_THREAD(this);
    QList<KeloPlayListItem> items;
    items.reserve(qMax(0, qMin(to, pl.size - 1) - qMax(from, 0) + 1));
    StatementScope query(statement(GetItems));
    query.bindAll(pl.uid, from, to);
    if (!query.forEachRow([&](const StatementScope& row) { items.append(readItem(row)); }))
        KELO_LOG_ERROR(PlayListsLogger, "Error fetching PlayList items from DB");
    return items;
}

KeloPlayListItem Database::getItemByUid(int uid)
{
    KELO_ASSERT_THREAD(this);
    KeloPlayListItem item;
    StatementScope query(statement(GetItemByUid));
    if (query.bind(uid).step())
        item = readItem(query);
    if (!query.finish())
        KELO_LOG_ERROR(PlayListsLogger, "Error fetching item by UID");
    return item;
}

void Database::printItems(const PlayListRecord& pl)
{
    KELO_ASSERT_THREAD(this);
    if (!traceEnabled())
        return;
    for (const KeloPlayListItem& item : getItems(pl, 0, pl.size)) {
        KELO_LOG_TRACE(PlayListsLogger, "uid: " << item.uid() << " seqNum: " << item.sequenceNumber()
                                           << " name: " << item.title());
    }
}

int Database::getNextSequenceNumber(const PlayListRecord& pl)
{
    KELO_ASSERT_THREAD(this);
    StatementScope query(statement(GetNextSequenceNumber));
    if (!query.bind(pl.uid).step()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error fetching the next sequenceNumber");
        query.finish();
        return -1;
    }
    const int next = query.columnInt(0);
    if (!query.finish())
        KELO_LOG_ERROR(PlayListsLogger, "Error resetting next sequence number stmt");
    return next;
}

int Database::addItemsNextSequenceNumber(const PlayListRecord& pl, int position)
{
    KELO_ASSERT_THREAD(this);
    if (pl.size == 0) {
        KELO_LOG_TRACE(PlayListsLogger, "playlist is empty");
        const int next = getNextSequenceNumber(pl);
        KELO_LOG_TRACE(PlayListsLogger, "nextSequenceNumber: " << next);
        return next;
    }
    KELO_LOG_TRACE(PlayListsLogger, "playlist is not empty");
    KELO_LOG_TRACE(PlayListsLogger, "lastSeqNum: " << pl.lastPlayedIndex);
    switch (position) {
    case KeloPlayListAddPosition::Now:
    case KeloPlayListAddPosition::AfterCurrent:
        // Never behind the end: the numbers stay dense even if the record's index is stale.
        if (pl.lastPlayedIndex >= 0)
            return qMin(pl.lastPlayedIndex + 1, pl.size);
        return getNextSequenceNumber(pl);
    case KeloPlayListAddPosition::Append:
        return getNextSequenceNumber(pl);
    default:
        return -1;
    }
}

int Database::addItems(const PlayListRecord& pl, int position, const QList<KeloPlayListItem>& items,
                       int* addedCount)
{
    KELO_ASSERT_THREAD(this);
    // The write lock is taken before the limit is counted, so no other writer can slip in between.
    DatabaseTransaction transaction(*this, DatabaseTransaction::Immediate);
    KELO_LOG_TRACE(PlayListsLogger, "pl: " << pl.uid << " pl.size(): " << pl.size << " position: " << position
                                       << " items.size(): " << items.size());
    if (!transaction.isOpen())
        return addItemsFailed();
    printItems(pl);

    const int dbItemsCount = countPlaylistsItems();
    const int room = m_itemsLimit - dbItemsCount;
    // A store already above the limit (the limit was lowered) cuts nothing: the list is sliced as a
    // slice with a negative length would be, which keeps everything.
    const QList<KeloPlayListItem> kept = (m_itemsLimit == 0 || room < 0) ? items : items.mid(0, room);
    if (addedCount)
        *addedCount = kept.size();
    KELO_LOG_TRACE(PlayListsLogger, "dbItemsCount: " << dbItemsCount << ", addedItemsCount: " << kept.size()
                                                 << ", limit: " << m_itemsLimit);
    if (kept.isEmpty()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error adding playlist items: database reached limit!");
        return -2;
    }

    const int first = addItemsNextSequenceNumber(pl, position);
    if (first < 0)
        return addItemsFailed();
    if (pl.size > first && !offsetItemsFromTransaction(pl, first, kept.size())) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to move item block before adding items");
        return addItemsFailed();
    }
    if (!addItemsFromSequenceNumber(pl, first, kept) || !transaction.commit())
        return addItemsFailed();
    return first;
}

bool Database::shiftItems(const PlayListRecord& pl, int lowest, int highest, int offset)
{
    return StatementScope(statement(MoveItem1)).bindAll(pl.uid, lowest, highest, offset).run();
}

bool Database::offsetItemsFromTransaction(const PlayListRecord& pl, int from, int count)
{
    // UNIQUE(playlist,sequenceNumber) is checked row by row, so the block is first lifted above
    // every entry and then lowered onto its place: no two entries ever share a number.
    const int n = pl.size;
    if (!shiftItems(pl, from, n, count + n + 1))
        return false;
    return shiftItems(pl, n, highestSequenceNumber, ~n);
}

int Database::appendItems(const PlayListRecord& pl, ItemSource& source, int* addedCount)
{
    KELO_ASSERT_THREAD(this);
    DatabaseTransaction transaction(*this, DatabaseTransaction::Immediate);
    KELO_LOG_TRACE(PlayListsLogger, "pl: " << pl.uid << " pl.size(): " << pl.size << " position: "
                                       << KeloPlayListAddPosition::Append << " items.size(): " << source.size());
    if (!transaction.isOpen())
        return addItemsFailed();
    printItems(pl);

    const int dbItemsCount = countPlaylistsItems();
    const int room = m_itemsLimit - dbItemsCount;
    // A store already above the limit cuts nothing, as for a list.
    const int limit = (m_itemsLimit == 0 || room < 0) ? -1 : room;
    const int first = addItemsNextSequenceNumber(pl, KeloPlayListAddPosition::Append);
    if (first < 0)
        return addItemsFailed();
    const int kept = insertItems(pl, first, source, limit);
    if (kept < 0)
        return addItemsFailed();
    if (!source.complete())
        return -3;
    if (addedCount)
        *addedCount = kept;
    KELO_LOG_TRACE(PlayListsLogger, "dbItemsCount: " << dbItemsCount << ", addedItemsCount: " << kept
                                                 << ", limit: " << m_itemsLimit);
    if (kept == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Error adding playlist items: database reached limit!");
        return -2;
    }
    return transaction.commit() ? first : addItemsFailed();
}

int Database::insertItems(const PlayListRecord& pl, int first, ItemSource& source, int limit)
{
    int kept = 0;
    QList<KeloPlayListItem> batch;
    // Past the limit the source is still read to its end: a refused entry there refuses the add.
    while (source.next(&batch)) {
        const int take = limit < 0 ? batch.size() : qMin(batch.size(), limit - kept);
        if (take > 0 && !addItemsFromSequenceNumber(pl, first + kept, take < batch.size() ? batch.mid(0, take) : batch))
            return -1;
        kept += take;
    }
    return kept;
}

bool Database::insertItem(const KeloPlayListItem& item)
{
    StatementScope insert(statement(InsertItem));
    using Text = KeloPlayListItem::Text;
    insert.bindAll(item.utf8(Text::Title), item.utf8(Text::Artist), item.utf8(Text::Album),
                   item.utf8(Text::ArtworkUrl), item.utf8(Text::Genre), item.durationSeconds(), item.utf8(Text::Url),
                   item.utf8(Text::ServiceId), item.utf8(Text::KeloRoles));
    return insert.run();
}

bool Database::addItemsFromSequenceNumber(const PlayListRecord& pl, int firstSequenceNumber,
                                          const QList<KeloPlayListItem>& items)
{
    Sqlite3Statement& link = statement(InsertPlayListItem);
    const bool trace = traceEnabled();
    int sequenceNumber = firstSequenceNumber;
    for (const KeloPlayListItem& item : items) {
        if (!insertItem(item)) {
            KELO_LOG_ERROR(PlayListsLogger, "Error inserting item into DB");
            return false;
        }
        const int uid = static_cast<int>(sqlite3_last_insert_rowid(m_connection));
        if (trace)
            KELO_LOG_TRACE(PlayListsLogger, "Inserted item into DB with uid " << uid);
        if (!StatementScope(link).bindAll(pl.uid, uid, sequenceNumber).run()) {
            KELO_LOG_ERROR(PlayListsLogger, "Error inserting item into playlist DB");
            return false;
        }
        ++sequenceNumber;
    }
    return true;
}

int Database::removeItems(const PlayListRecord& pl, const QList<int>& indices, std::optional<int> lastPlayedIndex)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "pl=" << pl.uid << " indices=" << joinIndices(indices));
    DatabaseTransaction transaction(*this, DatabaseTransaction::Immediate);
    const int removed = transaction.isOpen() ? removeItemsTransaction(pl, indices) : -1;
    if (removed < 0 || !storePlayPosition(pl, lastPlayedIndex) || !transaction.commit()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error removing items from list");
        return -1;
    }
    setVacuumNeeded();
    return removed;
}

int Database::removeItemsTransaction(const PlayListRecord& pl, const QList<int>& indices)
{
    // Runs of consecutive numbers, in the order given, each deleted by one statement. A failed run
    // adds -1, which can never make up the expected total.
    int removed = 0;
    for (int i = 0; i < indices.size();) {
        int last = i;
        while (last + 1 < indices.size() && indices[last + 1] == indices[last] + 1)
            ++last;
        removed += removeItemsHelper(pl, indices[i], indices[last]);
        i = last + 1;
    }
    if (removed != indices.size()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to remove all item indices");
        return -1;
    }
    if (!cleanUnusedItems()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to clean up unused items");
        return -1;
    }
    if (!indices.isEmpty() && !renumberItems(pl, indices.first()))
        return -1;
    return removed;
}

int Database::removeItemsHelper(const PlayListRecord& pl, int from, int to)
{
    KELO_LOG_TRACE(PlayListsLogger, "Remove partial from=" << from << " to=" << to);
    if (!StatementScope(statement(DeletePlayListItem)).bindAll(pl.uid, from, to).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error removing partial items from list");
        return -1;
    }
    return sqlite3_changes(m_connection);
}

QVector<QPair<int, int>> Database::itemPositions(const PlayListRecord& pl, int from, int to)
{
    // The entries of getItems, but only their sequence numbers and uids: renumbering needs no more.
    QVector<QPair<int, int>> positions;
    StatementScope query(statement(GetItems));
    query.bindAll(pl.uid, from, to);
    const bool read = query.forEachRow([&](const StatementScope& row) {
        positions.append(qMakePair(row.columnInt(0), row.columnInt(1)));
    });
    if (!read)
        KELO_LOG_ERROR(PlayListsLogger, "Error fetching PlayList items from DB");
    return positions;
}

bool Database::renumberItems(const PlayListRecord& pl, int from)
{
    // The survivors are visited in ascending order and each new number is at most its old one and
    // already free, so the unique constraint is never hit.
    Sqlite3Statement& update = statement(SetSequenceNumber);
    const bool trace = traceEnabled();
    int newSequenceNumber = from;
    for (const auto& [oldSequenceNumber, uid] : itemPositions(pl, from, pl.size)) {
        if (trace)
            KELO_LOG_TRACE(PlayListsLogger, "update seq: uid=" << uid << " old=" << oldSequenceNumber
                                                          << " new=" << newSequenceNumber);
        if (!StatementScope(update).bindAll(pl.uid, uid, oldSequenceNumber, newSequenceNumber).run()) {
            KELO_LOG_ERROR(PlayListsLogger, "Unable to restore sequence numbers");
            return false;
        }
        ++newSequenceNumber;
    }
    return true;
}

bool Database::moveItem(const PlayListRecord& pl, int from, int to, std::optional<int> lastPlayedIndex)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "pl=" << pl.uid << " from=" << from << " to=" << to);
    DatabaseTransaction transaction(*this, DatabaseTransaction::Deferred);
    if (!transaction.isOpen() || !moveItemTransaction(pl, from, to) || !storePlayPosition(pl, lastPlayedIndex) ||
        !transaction.commit()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error moving PlayListItem");
        return false;
    }
    return true;
}

bool Database::moveItems(const PlayListRecord& pl, const QVector<QPair<int, int>>& moves,
                         std::optional<int> lastPlayedIndex)
{
    KELO_ASSERT_THREAD(this);
    DatabaseTransaction transaction(*this, DatabaseTransaction::Deferred);
    bool moved = transaction.isOpen();
    for (int i = 0; moved && i < moves.size(); ++i)
        moved = moveItemTransaction(pl, moves[i].first, moves[i].second);
    if (!moved || !storePlayPosition(pl, lastPlayedIndex) || !transaction.commit()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error moving PlayListItems");
        return false;
    }
    return true;
}

bool Database::moveItemTransaction(const PlayListRecord& pl, int from, int to)
{
    // Lift the block lo..hi above every entry, drop the moved entry onto `to`, then bring the rest
    // of the block back shifted by one towards the gap it left.
    const int n = pl.size;
    const int lo = qMin(from, to);
    const int hi = qMax(from, to);
    if (!shiftItems(pl, lo, hi, n))
        return false;
    if (!shiftItems(pl, from + n, from + n, to - from - n))
        return false;
    return shiftItems(pl, n + lo, n + hi, from < to ? -(n + 1) : -(n - 1));
}

bool Database::clearItems(const PlayListRecord& pl)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "pl=" << pl.uid);
    if (removeItemsHelper(pl, 0, highestSequenceNumber) < 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to clear playList " << pl.uid);
        return false;
    }
    // Without a transaction a failed cleanup leaves orphan item rows; the next cleanup takes them.
    if (!cleanUnusedItems())
        KELO_LOG_ERROR(PlayListsLogger, "Unable to clean up unused items");
    setVacuumNeeded();
    return true;
}
