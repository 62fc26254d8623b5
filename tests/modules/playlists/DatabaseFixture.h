#pragma once
// Shared pieces of the Database tests: a Database on a fresh file in a temporary working
// directory, and a second, independent connection (SqlProbe) to look at or tamper with the file.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <ostream>

#include <QStringList>

#include "Database.h"
#include "TempWorkDir.h"

// Readable failure messages for texts and lists of texts.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline const char* databasePath()
{
    return "data-rw/playlists/playlists.sqlite";
}

// Its own connection to the store. Rows come back as texts with the columns joined by '|'.
class SqlProbe
{
public:
    SqlProbe() { sqlite3_open_v2(databasePath(), &m_db, SQLITE_OPEN_READWRITE, nullptr); }
    ~SqlProbe() { sqlite3_close(m_db); }
    SqlProbe(const SqlProbe&) = delete;
    SqlProbe& operator=(const SqlProbe&) = delete;

    bool exec(const QString& sql) { return sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, nullptr) == SQLITE_OK; }

    QStringList rows(const QString& sql)
    {
        QStringList result;
        sqlite3_stmt* query = nullptr;
        if (sqlite3_prepare_v2(m_db, sql.toUtf8().constData(), -1, &query, nullptr) != SQLITE_OK)
            return {QStringLiteral("prepare failed: ") + QString::fromUtf8(sqlite3_errmsg(m_db))};
        while (sqlite3_step(query) == SQLITE_ROW) {
            QStringList columns;
            for (int i = 0; i < sqlite3_column_count(query); ++i)
                columns.append(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(query, i))));
            result.append(columns.join(QLatin1Char('|')));
        }
        sqlite3_finalize(query);
        return result;
    }
    int intValue(const QString& sql) { return rows(sql).value(0).toInt(); }

    // Titles of a playlist's entries in stored order.
    QStringList titles(int playlist)
    {
        return rows(QStringLiteral("SELECT title FROM playlists_items JOIN items ON item = uid "
                                   "WHERE playlist = %1 ORDER BY sequenceNumber").arg(playlist));
    }
    // The playlists whose sequence numbers are not exactly 0..count-1; empty when all are dense.
    QStringList gaps()
    {
        return rows(QStringLiteral("SELECT playlist FROM playlists_items GROUP BY playlist "
                                   "HAVING MIN(sequenceNumber) != 0 OR MAX(sequenceNumber) != COUNT(*) - 1"));
    }

private:
    sqlite3* m_db = nullptr;
};

inline KeloPlayListItem makeItem(const QString& title)
{
    KeloPlayListItem item;
    item.setTitle(title);
    item.setUrl(QStringLiteral("media:track/") + title);
    item.setServiceId(QStringLiteral("media"));
    return item;
}

inline QList<KeloPlayListItem> makeItems(const QStringList& titles)
{
    QList<KeloPlayListItem> items;
    for (const QString& title : titles)
        items.append(makeItem(title));
    return items;
}

inline QStringList titlesOf(const QList<KeloPlayListItem>& items)
{
    QStringList titles;
    for (const KeloPlayListItem& item : items)
        titles.append(item.title());
    return titles;
}

class DatabaseTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(workDir.isValid());
        reopen(0);
    }
    void reopen(int itemsLimit, bool vacuum = false)
    {
        db.reset();
        db = std::make_unique<Database>(itemsLimit, vacuum);
    }
    // A new playlist holding the given titles, with its record brought up to date.
    PlayListRecord playlistWith(const QString& name, const QStringList& titles)
    {
        PlayListRecord pl = db->createPlayList(name);
        if (!titles.isEmpty() && db->addItems(pl, KeloPlayListAddPosition::Append, makeItems(titles)) == 0)
            pl.size = titles.size();
        return pl;
    }

    TempWorkDir workDir;
    std::unique_ptr<Database> db;
};
