#include <sqlite3.h>

#include "CMGlobal.h"
#include "Database.h"
#include "DatabaseTransaction.h"
#include "KeloLog.h"
#include "Language.h"
#include "Sqlite3Statement.h"
#include "PlayListsLog.h"

PlayListRecord Database::readPlayListRecord(const StatementScope& query)
{
    PlayListRecord pl;
    pl.uid = query.columnInt(0);
    pl.name = query.columnText(1);
    pl.shuffle = query.columnInt(2) == 1;
    pl.repeatAll = query.columnInt(3) == 1;
    pl.lastPlayedIndex = query.columnInt(4);
    pl.size = query.columnInt(5) + 1;
    return pl;
}

PlayListRecord Database::createPlayList(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    if (!StatementScope(statement(CreatePlayList)).bind(name).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to create playlist in database");
        return PlayListRecord();
    }
    PlayListRecord pl;
    pl.uid = static_cast<int>(sqlite3_last_insert_rowid(m_connection));
    pl.name = name;
    pl.lastPlayedIndex = -1;
    KELO_LOG_INFO(PlayListsLogger, "Created playlist uid=" << pl.uid << " name=" << name);
    return pl;
}

bool Database::updatePlayList(const PlayListRecord& pl)
{
    KELO_ASSERT_THREAD(this);
    StatementScope update(statement(UpdatePlayList));
    update.bindAll(pl.name, pl.shuffle ? 1 : 0, pl.repeatAll ? 1 : 0, pl.lastPlayedIndex, pl.uid);
    if (!update.run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error updating PlayList");
        return false;
    }
    if (sqlite3_changes(m_connection) == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Error updating PlayList: no such uid in DB");
        return false;
    }
    return true;
}

bool Database::storePlayPosition(const PlayListRecord& pl, std::optional<int> lastPlayedIndex)
{
    if (!lastPlayedIndex || *lastPlayedIndex == pl.lastPlayedIndex)
        return true;
    PlayListRecord moved = pl;
    moved.lastPlayedIndex = *lastPlayedIndex;
    return updatePlayList(moved);
}

bool Database::deletePlayList(const PlayListRecord& pl)
{
    KELO_ASSERT_THREAD(this);
    DatabaseTransaction transaction(*this, DatabaseTransaction::Deferred);
    if (!transaction.isOpen() || !deletePlayListTransaction(pl) || !transaction.commit()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error deleting PlayList");
        return false;
    }
    setVacuumNeeded();
    return true;
}

bool Database::deletePlayListTransaction(const PlayListRecord& pl)
{
    if (!StatementScope(statement(DeletePlayList)).bind(pl.uid).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Error deleting PlayList: delete commad failed");
        return false;
    }
    // "uid > 0" in the statement makes the play queue look like a missing row.
    if (sqlite3_changes(m_connection) == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Error deleting PlayList: no such list in DB");
        return false;
    }
    if (!cleanUnusedItems()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to clean up unused items");
        return false;
    }
    return true;
}

QList<PlayListRecord> Database::getPlayLists()
{
    KELO_ASSERT_THREAD(this);
    QList<PlayListRecord> playlists;
    StatementScope(statement(GetPlayLists)).forEachRow([&](const StatementScope& row) {
        playlists.append(readPlayListRecord(row));
    });
    return playlists;
}

PlayListRecord Database::getPlayQueue()
{
    KELO_ASSERT_THREAD(this);
    StatementScope query(statement(GetPlayQueue));
    PlayListRecord pl;
    if (query.step()) {
        pl = readPlayListRecord(query);
        pl.name = KELO_TR("PlayQueue");
    }
    return query.finish() ? pl : PlayListRecord();
}
