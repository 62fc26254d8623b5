#include <sqlite3.h>

#include <QStringList>

#include "CMGlobal.h"
#include "Database.h"
#include "KeloLog.h"
#include "Sqlite3Statement.h"
#include "PlayListsLog.h"

// Each operation here is one statement in SQLite's autocommit; memberships go with their playlist
// or collection row through the foreign keys.

CollectionRecord Database::createCollection(const QString& name)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "name=" << name);
    if (!StatementScope(statement(CreateCollection)).bind(name).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to create collection in database");
        return CollectionRecord();
    }
    CollectionRecord col;
    col.uid = static_cast<int>(sqlite3_last_insert_rowid(m_connection));
    col.name = name;
    KELO_LOG_INFO(PlayListsLogger, "Inserted collection uid=" << col.uid << " name=" << name);
    return col;
}

bool Database::deleteCollection(const CollectionRecord& col)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid=" << col.uid);
    if (!StatementScope(statement(DeleteCollection)).bind(col.uid).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to delete collection uid=" << col.uid << " in database");
        return false;
    }
    if (sqlite3_changes(m_connection) == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to delete collection uid=" << col.uid
                                        << " in database: no such collection in DB");
        return false;
    }
    return true;
}

bool Database::addToCollection(const CollectionRecord& col, int playlistUid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "col=" << col.uid << " pl=" << playlistUid);
    // The primary key refuses a duplicate pair, the foreign keys an unknown uid.
    if (!StatementScope(statement(AddToCollection)).bindAll(col.uid, playlistUid).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to add pl=" << playlistUid << " to collection=" << col.uid);
        return false;
    }
    KELO_LOG_INFO(PlayListsLogger, "Pl=" << playlistUid << " added to collection=" << col.uid);
    return true;
}

bool Database::removeFromCollection(const CollectionRecord& col, int playlistUid)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "col=" << col.uid << " pl=" << playlistUid);
    if (!StatementScope(statement(RemoveFromCollection)).bindAll(col.uid, playlistUid).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to remove pl=" << playlistUid << " from collection=" << col.uid);
        return false;
    }
    if (sqlite3_changes(m_connection) == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to remove pl=" << playlistUid << " From collection=" << col.uid
                                        << " in database: no such playlist in collection in DB");
        return false;
    }
    return true;
}

bool Database::updateCollection(const CollectionRecord& col)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsLogger, "uid=" << col.uid << " name=" << col.name);
    if (!StatementScope(statement(UpdateCollection)).bindAll(col.name, col.uid).run()) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to update collection uid=" << col.uid);
        return false;
    }
    if (sqlite3_changes(m_connection) == 0) {
        KELO_LOG_ERROR(PlayListsLogger, "Unable to update collection uid=" << col.uid << ": no such collection in DB");
        return false;
    }
    return true;
}

QList<CollectionRecord> Database::getCollections()
{
    KELO_ASSERT_THREAD(this);
    QList<CollectionRecord> collections;
    const bool read = StatementScope(statement(GetCollections)).forEachRow([&](const StatementScope& row) {
        CollectionRecord col;
        col.uid = row.columnInt(0);
        col.name = row.columnText(1);
        col.playlists = commaSeparateNumberToList(row.columnText(2));
        collections.append(col);
    });
    if (!read)
        KELO_LOG_ERROR(PlayListsLogger, "Unable to fetch collections");
    return collections;
}

QList<int> Database::commaSeparateNumberToList(const QString& text)
{
    QList<int> numbers;
    for (const QString& part : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        bool ok = false;
        const int number = part.toInt(&ok, 10);
        if (ok)
            numbers.append(number);
        else
            KELO_LOG_ERROR(PlayListsLogger, "Error parsing collections");
    }
    return numbers;
}
