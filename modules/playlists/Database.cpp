#include "Database.h"

#include <sqlite3.h>

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include "CMGlobal.h"
#include "KeloLog.h"
#include "Sqlite3Statement.h"
#include "PlayListsLog.h"

namespace {
const char* const databaseDirectory = "data-rw/playlists/";
const char* const databaseFile = "data-rw/playlists/playlists.sqlite";

struct SqlText
{
    const char* name;
    const char* sql;
};

// Run in this order on every start; each text is idempotent, so a restart changes nothing.
const SqlText schemaTexts[] = {
    {"playlists",
     "CREATE TABLE IF NOT EXISTS playlists (  uid INTEGER PRIMARY KEY,  name TEXT NOT NULL,  shuffle INTEGER NOT NULL DEFAULT 0,  repeatAll INTEGER NOT NULL DEFAULT 0,  lastPlayedIndex INTEGER NOT NULL DEFAULT 0);"},
    {"items",
     "CREATE TABLE IF NOT EXISTS items (  uid INTEGER PRIMARY KEY,  title TEXT NOT NULL,  artist TEXT,  album TEXT,  artworkUrl TEXT,  genre TEXT,  durationSeconds INTEGER,  url TEXT NOT NULL,  serviceId TEXT NOT NULL,  keloRoles TEXT);CREATE INDEX IF NOT EXISTS itemUrlIndex ON items(url);"},
    {"collections",
     "CREATE TABLE IF NOT EXISTS collections (  uid INTEGER PRIMARY KEY,  name TEXT NOT NULL);"},
    {"playlists-items",
     "CREATE TABLE IF NOT EXISTS playlists_items (  playlist INTEGER NOT NULL,  item INTEGER NOT NULL,  sequenceNumber INTEGER NOT NULL,  PRIMARY KEY(playlist, item, sequenceNumber),  FOREIGN KEY(playlist) REFERENCES playlists(uid)    ON DELETE CASCADE    ON UPDATE CASCADE,  FOREIGN KEY(item) REFERENCES items(uid)    ON DELETE RESTRICT    ON UPDATE CASCADE,  UNIQUE(playlist,sequenceNumber));"},
    {"collections-playlists",
     "CREATE TABLE IF NOT EXISTS collections_playlists (  collection INTEGER NOT NULL,  playlist INTEGER NOT NULL,  PRIMARY KEY(collection, playlist),  FOREIGN KEY(collection) REFERENCES collections(uid)    ON DELETE CASCADE    ON UPDATE CASCADE,  FOREIGN KEY(playlist) REFERENCES playlists(uid)    ON DELETE CASCADE    ON UPDATE CASCADE);"},
    {"createplayqueue",
     "INSERT OR IGNORE INTO playlists(uid, name, lastPlayedIndex)  VALUES(0, 'PlayQueue', -1);"},
};

// Indexed by Database::StatementId; the double spaces are part of the texts.
const SqlText statementTexts[] = {
    {"getPlayQueue",
     "SELECT  uid, name, shuffle, repeatAll, lastPlayedIndex,    (SELECT coalesce(MAX(sequenceNumber), -1) FROM playlists_items WHERE playlist=playlists.uid) AS size  FROM playlists  WHERE uid = 0  ORDER BY name ASC"},
    {"getPlayLists",
     "SELECT  uid, name, shuffle, repeatAll, lastPlayedIndex,    (SELECT coalesce(MAX(sequenceNumber), -1) FROM playlists_items WHERE playlist=playlists.uid) AS size  FROM playlists  WHERE uid > 0  ORDER BY name ASC"},
    {"createPlayList",
     "INSERT INTO playlists(name, shuffle, repeatAll, lastPlayedIndex)  VALUES(?1, 0, 0, -1);"},
    {"deletePlayList",
     "DELETE FROM playlists  WHERE uid=?1  AND uid > 0;"},
    {"updatePlayList",
     "UPDATE playlists SET  name=?1, shuffle=?2, repeatAll=?3, lastPlayedIndex=?4  WHERE uid=?5"},
    {"moveItem1",
     "UPDATE playlists_items  SET sequenceNumber = sequenceNumber + ?4  WHERE playlist = ?1 AND sequenceNumber >= ?2 AND sequenceNumber <= ?3;"},
    {"getItems",
     "SELECT  nm.sequenceNumber,  uid, title, artist, album, artworkUrl, genre, durationSeconds, url, serviceId,  keloRoles  FROM (    SELECT item, sequenceNumber      FROM playlists_items      WHERE playlist = ?1      AND sequenceNumber >= ?2 AND sequenceNumber <= ?3    ) AS nm    INNER JOIN items ON nm.item = items.uid  ORDER BY nm.sequenceNumber ASC"},
    {"getNextSequenceNumber",
     "SELECT COALESCE(MAX(sequenceNumber), -1) + 1  FROM playlists_items  WHERE playlist = ?1;"},
    {"insertItem",
     "INSERT INTO items(title, artist, album, artworkUrl, genre, durationSeconds, url, serviceId,  keloRoles  )  VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9);"},
    {"insertPlayListItem",
     "INSERT INTO playlists_items(playlist, item, sequenceNumber)  VALUES (?1, ?2, ?3);"},
    {"deletePlayListItem",
     "DELETE FROM playlists_items  WHERE playlist = ?1 AND sequenceNumber >= ?2 AND sequenceNumber <= ?3"},
    {"cleanUnusedItems",
     "DELETE FROM items  WHERE uid NOT IN (    SELECT item FROM playlists_items  )"},
    {"setSequenceNumber",
     "UPDATE playlists_items SET  sequenceNumber=?4  WHERE playlist=?1 AND item=?2 AND sequenceNumber=?3"},
    {"getItemByUid",
     "SELECT  sequenceNumber,  uid, title, artist, album, artworkUrl, genre, durationSeconds, url, serviceId,  keloRoles  FROM items JOIN playlists_items ON items.uid = playlists_items.item  where uid = ?1;"},
    {"getCollections",
     "SELECT  uid, name, GROUP_CONCAT(playlist)  FROM collections LEFT OUTER JOIN collections_playlists ON (uid = collection)  GROUP BY uid   ORDER BY name ASC;"},
    {"createCollection",
     "INSERT INTO collections(name)  VALUES (?1);"},
    {"addToCollection",
     "INSERT INTO collections_playlists(collection, playlist)  VALUES(?1, ?2);"},
    {"removeFromCollection",
     "DELETE FROM collections_playlists  WHERE collection=?1 AND playlist=?2;"},
    {"deleteCollection",
     "DELETE FROM collections  WHERE uid=?1;"},
    {"countPlaylists",
     "SELECT Count(*) FROM playlists"},
    {"countPlaylistItems",
     "SELECT Count(*) FROM items"},
    {"countCollections",
     "SELECT Count(*) FROM collections"},
    {"updateCollection",
     "UPDATE collections SET  name=?1  WHERE uid=?2"},
};
}  // namespace

Database::Database(int itemsLimit, bool vacuumNeeded, QObject* parent)
    : QObject(parent), m_itemsLimit(itemsLimit), m_vacuumNeeded(vacuumNeeded)
{
    static_assert(sizeof(statementTexts) / sizeof(statementTexts[0]) == StatementCount,
                  "one text per named statement");
    open();
    if (!usable())
        replaceDamagedFile();
    vacuum();
    execute("PRAGMA foreign_keys=1;");
    // Once SQLite is initialised (it is, by the open) this configuration is refused; the result
    // is ignored on purpose.
    sqlite3_config(SQLITE_CONFIG_LOG, &Database::sqliteErrorLogCallback, nullptr);
    ensureTablesExist();
    prepareStatements();
}

Database::~Database()
{
    for (auto& statement : m_statements)
        statement.reset();
    sqlite3_close_v2(m_connection);
}

void Database::open()
{
    if (!QDir(databaseDirectory).exists() && !QDir(QStringLiteral(".")).mkpath(databaseDirectory)) {
        KELO_LOG_FATAL(PlayListsLogger, "Unable to create directory for PlayList database file");
        KELO_ASSERT(false, "the PlayList database directory can be created");
    }
    openConnection();
}

void Database::openConnection()
{
    const int rc = sqlite3_open(databaseFile, &m_connection);
    if (rc != SQLITE_OK || !m_connection) {
        KELO_LOG_FATAL(PlayListsLogger, "Unable to open PlayList database file: " << sqlite3_errstr(rc));
        KELO_ASSERT(false, "the PlayList database file can be opened");
    }
    sqlite3_busy_timeout(m_connection, busyTimeoutMs);
}

// A file that is no database, is cut short, has damaged pages or other tables than these cannot be
// used; a store that only cannot be written to (read-only, full) is not damaged and is kept.
bool Database::usable()
{
    sqlite3_stmt* check = nullptr;
    int rc = sqlite3_prepare_v2(m_connection, "PRAGMA quick_check;", -1, &check, nullptr);
    bool ok = rc == SQLITE_OK && sqlite3_step(check) == SQLITE_ROW &&
              qstrcmp(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)), "ok") == 0;
    rc = sqlite3_finalize(check);
    if (!ok) {
        KELO_LOG_ERROR(PlayListsLogger, "quick_check of the PlayList database failed: " << sqlite3_errstr(rc));
        return false;
    }
    // The schema is tried in a transaction that is rolled back: a file found damaged is kept as it was.
    if (execute("BEGIN;") != SQLITE_OK)
        return true;  // not a sign of damage; what cannot be written ends the start as before
    const bool fits = schemaFits();
    rollbackTransaction();
    return fits;
}

bool Database::schemaFits()
{
    for (const SqlText& text : schemaTexts) {
        const int rc = sqlite3_exec(m_connection, text.sql, nullptr, nullptr, nullptr);
        if (rc != SQLITE_OK)
            return (rc & 0xff) != SQLITE_ERROR && (rc & 0xff) != SQLITE_CORRUPT && (rc & 0xff) != SQLITE_NOTADB;
    }
    for (const SqlText& text : statementTexts) {
        sqlite3_stmt* statement = nullptr;
        const int rc = sqlite3_prepare_v2(m_connection, text.sql, -1, &statement, nullptr);
        sqlite3_finalize(statement);
        if (rc != SQLITE_OK) {
            KELO_LOG_ERROR(PlayListsLogger, "The PlayList database has another schema: " << text.name);
            return false;
        }
    }
    return true;
}

// The damaged file (with its journal) is kept whole for recovery under a name with the time, and a
// fresh store takes its place.
void Database::replaceDamagedFile()
{
    sqlite3_close_v2(m_connection);
    m_connection = nullptr;
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QString file = QString::fromUtf8(databaseFile);
    m_damagedFileMovedTo = file + QStringLiteral(".damaged-") + stamp;
    if (!QFile::rename(file, m_damagedFileMovedTo)) {
        KELO_LOG_FATAL(PlayListsLogger, "Unable to move the damaged PlayList database file aside");
        KELO_ASSERT(false, "the damaged PlayList database file can be moved aside");
    }
    QFile::rename(file + QStringLiteral("-journal"), m_damagedFileMovedTo + QStringLiteral("-journal"));
    KELO_LOG_FATAL(PlayListsLogger, "The PlayList database file was damaged; every playlist and collection in it is "
                                "lost. It was moved to " << m_damagedFileMovedTo << " and a new one was made");
    openConnection();
}

void Database::ensureTablesExist()
{
    for (const SqlText& text : schemaTexts)
        createTableHelper(text.sql, text.name);
    KELO_LOG_TRACE(PlayListsLogger, "PlayList tables exist");
}

void Database::createTableHelper(const char* sql, const char* label)
{
    char* message = nullptr;
    if (sqlite3_exec(m_connection, sql, nullptr, nullptr, &message) == SQLITE_OK)
        return;
    KELO_LOG_FATAL(PlayListsLogger, "Unable to create table " << label << ": " << message);
    sqlite3_free(message);
    KELO_ASSERT(false, "the PlayList schema can be created");
}

void Database::prepareStatements()
{
    for (int id = 0; id < StatementCount; ++id) {
        const SqlText& text = statementTexts[id];
        m_statements[id] = Sqlite3Statement::create(m_connection, QString::fromUtf8(text.sql),
                                                    QString::fromUtf8(text.name));
    }
    KELO_LOG_TRACE(PlayListsLogger, "PlayList statements prepared");
}

void Database::sqliteErrorLogCallback(void* /*context*/, int code, const char* message)
{
    KELO_LOG_ERROR(PlayListsLogger, "SQLite error " << code << ": " << message);
}

Sqlite3Statement& Database::statement(StatementId id)
{
    // Only a file whose tables differ from the schema makes a prepare fail; the FATAL log names it.
    KELO_ASSERT(m_statements[id], "the named statement was prepared");
    return *m_statements[id];
}

int Database::execute(const char* sql)
{
    return sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr);
}

int Database::beginTransaction()
{
    KELO_ASSERT_THREAD(this);
    return execute("BEGIN;");
}

int Database::beginImmediateTransaction()
{
    KELO_ASSERT_THREAD(this);
    return execute("BEGIN IMMEDIATE;");
}

int Database::commitTransaction()
{
    KELO_ASSERT_THREAD(this);
    return execute("COMMIT;");
}

int Database::rollbackTransaction()
{
    KELO_ASSERT_THREAD(this);
    return execute("ROLLBACK;");
}

void Database::clearDatabase()
{
    KELO_ASSERT_THREAD(this);
    execute("DELETE FROM playlists");
    execute("DELETE FROM items");
    execute("DELETE FROM collections");
    execute("DELETE FROM playlists_items");
    execute("DELETE FROM collections_playlists");
    ensureTablesExist();
}

void Database::setVacuumNeeded()
{
    KELO_ASSERT_THREAD(this);
    if (m_vacuumNeeded)
        return;
    emit vacuumNeeded(true);
    m_vacuumNeeded = true;
}

void Database::vacuum()
{
    KELO_ASSERT_THREAD(this);
    if (!m_vacuumNeeded)
        return;
    QElapsedTimer timer;
    timer.start();
    execute("VACUUM;");
    KELO_LOG_INFO(PlayListsLogger, "sqlite vacuum duration: " << timer.elapsed() << " ms");
    emit vacuumNeeded(false);
    m_vacuumNeeded = false;
}

int Database::count(StatementId id, int offset)
{
    StatementScope query(statement(id));
    const int value = query.step() ? query.columnInt(0) : 0;
    return query.finish() ? value + offset : 0;
}

int Database::countPlaylists()
{
    KELO_ASSERT_THREAD(this);
    return count(CountPlaylists, -1);  // the play queue is not a user playlist
}

int Database::countPlaylistsItems()
{
    KELO_ASSERT_THREAD(this);
    return count(CountPlaylistItems, 0);
}

int Database::countCollections()
{
    KELO_ASSERT_THREAD(this);
    return count(CountCollections, 0);
}

bool Database::cleanUnusedItems()
{
    return StatementScope(statement(CleanUnusedItems)).run();
}
