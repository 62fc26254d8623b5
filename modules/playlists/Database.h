#pragma once
// The module's store: one SQLite file, "data-rw/playlists/playlists.sqlite" under the working
// directory, holding the playlists (the play queue is the row with uid 0), their entries in order,
// and the collections of playlists.
//
// Threads: a Database is used from the thread that created it (the worker's thread) and from no
// other. Nothing here locks: the prepared statements keep their bound values and cursor between
// bind and reset, and the transactions are per connection, so two operations must never interleave.
// Callers that hold their own locks (a playlist's mutex) still call in from that one thread.
//
// Sequence numbers: within a playlist the entries are numbered 0..size-1 without gaps, and every
// change below keeps them so (UNIQUE(playlist,sequenceNumber) holds at every statement, not only
// at commit). Changes of several statements (addItems, removeItems, moveItem, moveItems, deletePlayList) are
// all or nothing; the others are single statements.
//
// Records passed in must be current: addItems, removeItems, moveItem and printItems take the entry
// count from record.size, and the add position from record.lastPlayedIndex, not from the file.
//
// Failures are results: false, -1 (or -2, see addItems), a record with uid -1, an empty item. A
// damaged file found at the open (not a database, cut short, damaged pages, other tables) is moved
// aside whole and a fresh store is made (FATAL log, damagedFileMovedTo). What cannot be recovered
// (a directory or file that cannot be made or moved) ends the process with an assertion.
#include <array>
#include <memory>
#include <optional>

#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <QVector>

#include "KeloEnums.h"
#include "KeloPlayList.h"

class ItemSource;
class Sqlite3Statement;
class StatementScope;
struct sqlite3;

// One row of `playlists` plus its entry count. A plain value.
struct PlayListRecord
{
    int uid = -1;  // -1: no such playlist; 0: the play queue
    QString name;  // the play queue's is the translated "PlayQueue"
    bool shuffle = false;
    bool repeatAll = false;
    int lastPlayedIndex = 0;  // sequence number of the entry last played, -1 for none
    int size = 0;  // number of entries, which is also the next free sequence number
};

// One collection with the uids of its member playlists. A plain value.
struct CollectionRecord
{
    int uid = -1;  // -1: no such collection
    QString name;
    QList<int> playlists;  // in the order SQLite concatenated them, not sorted
};

class Database : public QObject
{
    Q_OBJECT

public:
    // Opens or creates the file, its directory and the schema, and prepares every statement.
    // itemsLimit: the most `items` rows (entries over all playlists) addItems lets in, 0 for no limit.
    // vacuumNeeded: a VACUUM is due; it then runs here, before anything else, and is announced done.
    Database(int itemsLimit, bool vacuumNeeded, QObject* parent = nullptr);
    ~Database() override;  // finalizes the statements and closes the connection

    // Where the open moved a damaged file to; empty when the file was sound.
    QString damagedFileMovedTo() const { return m_damagedFileMovedTo; }
    bool isVacuumNeeded() const { return m_vacuumNeeded; }

    // Transactions. Each returns the SQLite result code of its one statement; retrying a COMMIT is
    // DatabaseTransaction's business. The connection waits up to busyTimeoutMs for a lock.
    static constexpr int busyTimeoutMs = 500;
    int beginTransaction();
    int beginImmediateTransaction();
    int commitTransaction();
    int rollbackTransaction();

    // Empties every table (no transaction, results ignored) and re-creates the play-queue row.
    void clearDatabase();
    // Marks a VACUUM as due; emits vacuumNeeded(true) on the transition only.
    void setVacuumNeeded();
    // Runs the VACUUM if one is due and emits vacuumNeeded(false); otherwise does nothing.
    void vacuum();

    int countPlaylists();  // user playlists (the play queue is not counted); 0 on failure
    int countPlaylistsItems();  // rows of `items`, i.e. entries over all playlists; 0 on failure
    int countCollections();  // 0 on failure

    // Playlist rows.
    PlayListRecord createPlayList(const QString& name);  // uid -1 on failure; names need not be unique
    bool updatePlayList(const PlayListRecord& pl);  // name, shuffle, repeatAll, lastPlayedIndex; false if no row
    bool deletePlayList(const PlayListRecord& pl);  // with its entries and memberships; false for the play queue
    QList<PlayListRecord> getPlayLists();  // every user playlist, by name ascending
    PlayListRecord getPlayQueue();  // uid -1 on failure

    // Entries. from and to are sequence numbers, both inclusive; to may lie beyond the last entry.
    QList<KeloPlayListItem> getItems(const PlayListRecord& pl, int from, int to);
    KeloPlayListItem getItemByUid(int uid);  // an empty item when no entry has that uid
    void printItems(const PlayListRecord& pl);  // TRACE dump, only when TRACE is on
    int getNextSequenceNumber(const PlayListRecord& pl);  // -1 on failure
    // Where an add at position (KeloPlayListAddPosition) starts: 0 and 1 right behind the entry last
    // played (or the end if none), 2 the end, anything else -1. An empty playlist always gives the end.
    int addItemsNextSequenceNumber(const PlayListRecord& pl, int position);
    // Inserts items at position and returns the sequence number of the first one. Only as many items
    // as the items limit still admits are added, counted from the front of the list; when the store
    // already holds more than the limit, the whole list is added. addedCount (may be null) receives
    // the number kept. -2: nothing may be added (limit reached, or an empty list); -1: other failure
    // (nothing changed). The record is not changed: the caller adds *addedCount to its size.
    int addItems(const PlayListRecord& pl, int position, const QList<KeloPlayListItem>& items,
                 int* addedCount = nullptr);
    // As addItems at the end, with the entries handed over by source while they are inserted, in
    // one transaction; the source is read to its end, and nothing is kept unless it ends complete.
    // The count is known only at the end, so addedCount and the limit's trace come after the
    // inserts. Results as addItems, and -3 when the source did not end complete.
    int appendItems(const PlayListRecord& pl, ItemSource& source, int* addedCount = nullptr);
    // The edits below that shift entries take the play position after the edit (lastPlayedIndex):
    // when it is given and differs from pl.lastPlayedIndex, the playlist row is written with it in
    // the edit's own transaction, so the entries and the position are stored together or not at all.
    // A row that cannot be written fails the whole edit. The record itself is not changed.
    //
    // Removes the entries at indices (smallest first; ascending runs are removed as blocks) and
    // renumbers the rest densely. The number removed, or -1 if any index named no entry or a step
    // failed (then nothing changed).
    int removeItems(const PlayListRecord& pl, const QList<int>& indices,
                    std::optional<int> lastPlayedIndex = std::nullopt);
    // Moves one entry from one sequence number to another; the entries between slide by one.
    // from and to are not checked: both must name entries.
    bool moveItem(const PlayListRecord& pl, int from, int to, std::optional<int> lastPlayedIndex = std::nullopt);
    // The moves (from, to), one after the other, all or none; lastPlayedIndex is the position after the last.
    bool moveItems(const PlayListRecord& pl, const QVector<QPair<int, int>>& moves,
                   std::optional<int> lastPlayedIndex = std::nullopt);
    // Removes every entry. No transaction: if the cleanup of the item rows fails, orphans stay until
    // the next successful cleanup, and the result is still true.
    bool clearItems(const PlayListRecord& pl);

    // Collections. Only the record's uid is read, except by updateCollection.
    CollectionRecord createCollection(const QString& name);  // uid -1 on failure
    bool deleteCollection(const CollectionRecord& col);  // false for an unknown uid
    bool addToCollection(const CollectionRecord& col, int playlistUid);  // false for a duplicate or unknown uid
    bool removeFromCollection(const CollectionRecord& col, int playlistUid);  // false if not a member
    bool updateCollection(const CollectionRecord& col);  // stores col.name; false for an unknown uid
    QList<CollectionRecord> getCollections();  // by name ascending

    // "3,1,12" -> [3, 1, 12]; empty parts are dropped, parts that are no number are left out (ERROR log).
    static QList<int> commaSeparateNumberToList(const QString& text);

signals:
    void vacuumNeeded(bool need);  // true when a VACUUM becomes due, false when it has been done

private:
    // The named statements, in the order they are prepared.
    enum StatementId {
        GetPlayQueue,
        GetPlayLists,
        CreatePlayList,
        DeletePlayList,
        UpdatePlayList,
        MoveItem1,
        GetItems,
        GetNextSequenceNumber,
        InsertItem,
        InsertPlayListItem,
        DeletePlayListItem,
        CleanUnusedItems,
        SetSequenceNumber,
        GetItemByUid,
        GetCollections,
        CreateCollection,
        AddToCollection,
        RemoveFromCollection,
        DeleteCollection,
        CountPlaylists,
        CountPlaylistItems,
        CountCollections,
        UpdateCollection,
        StatementCount
    };

    void open();
    void openConnection();  // with the busy timeout
    bool usable();
    bool schemaFits();  // the tables can be made and every statement prepared
    void replaceDamagedFile();
    void ensureTablesExist();
    void createTableHelper(const char* sql, const char* label);
    void prepareStatements();
    static void sqliteErrorLogCallback(void* context, int code, const char* message);
    Sqlite3Statement& statement(StatementId id);
    int execute(const char* sql);
    int count(StatementId id, int offset);  // the first column of one row plus offset; 0 on failure
    bool cleanUnusedItems();

    static PlayListRecord readPlayListRecord(const StatementScope& query);
    // Writes pl's row with lastPlayedIndex when one is given and it differs; true when nothing was due.
    bool storePlayPosition(const PlayListRecord& pl, std::optional<int> lastPlayedIndex);
    bool deletePlayListTransaction(const PlayListRecord& pl);

    static KeloPlayListItem readItem(const StatementScope& query);
    bool offsetItemsFromTransaction(const PlayListRecord& pl, int from, int count);
    // Inserts what source hands over, numbered from first, at most limit entries (-1: all); reads
    // the source to its end. The number inserted, or -1 when an insert failed.
    int insertItems(const PlayListRecord& pl, int first, ItemSource& source, int limit);
    bool addItemsFromSequenceNumber(const PlayListRecord& pl, int firstSequenceNumber,
                                    const QList<KeloPlayListItem>& items);
    bool insertItem(const KeloPlayListItem& item);
    int removeItemsTransaction(const PlayListRecord& pl, const QList<int>& indices);
    int removeItemsHelper(const PlayListRecord& pl, int from, int to);
    QVector<QPair<int, int>> itemPositions(const PlayListRecord& pl, int from, int to);  // (sequence number, uid)
    bool renumberItems(const PlayListRecord& pl, int from);
    bool moveItemTransaction(const PlayListRecord& pl, int from, int to);
    bool shiftItems(const PlayListRecord& pl, int lowest, int highest, int offset);  // "moveItem1"

    sqlite3* m_connection = nullptr;
    int m_itemsLimit;
    bool m_vacuumNeeded;
    QString m_damagedFileMovedTo;
    std::array<std::unique_ptr<Sqlite3Statement>, StatementCount> m_statements;
};
