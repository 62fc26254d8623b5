#pragma once
// Shared pieces of the store, model, controller and worker tests: playable tracks, a second connection
// to the store's file, a store or a model on a fresh file in a temporary working directory, and the
// answers of set-data requests.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QStringList>
#include <memory>
#include <ostream>

#include "CMRequest.h"
#include "CMRoot.h"
#include "Database.h"
#include "KeloJson.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "PlayList.h"
#include "PlayListManager.h"
#include "TempWorkDir.h"

namespace pltest {

// A track the add commands accept: audio, a title and a resource.
inline KeloPlayListItem track(const QString& title)
{
    KeloRoles roles;
    roles.setType(KeloRolesType::Audio);
    roles.setTitle(title);
    KeloMediaResource resource;
    resource.setUri(QStringLiteral("http://media.local/") + title + QStringLiteral(".mp3"));
    KeloMediaData mediaData;
    mediaData.setResources({resource});
    mediaData.setMetaData(KeloMetaData());
    roles.setMediaData(mediaData);
    KeloPlayListItem item;
    item.setTitle(title);
    item.setUrl(resource.uri());
    item.setServiceId(QStringLiteral("media"));
    item.setKeloRoles(KeloJson::stringify(roles.toVariant()));
    return item;
}

inline QList<KeloPlayListItem> tracks(const QStringList& titles)
{
    QList<KeloPlayListItem> items;
    for (const QString& title : titles)
        items.append(track(title));
    return items;
}

// "t0", "t1", ... "t<n-1>".
inline QStringList names(int n, const QString& stem = QStringLiteral("t"))
{
    QStringList result;
    for (int i = 0; i < n; ++i)
        result.append(stem + QString::number(i));
    return result;
}

inline QStringList titlesOf(const QList<KeloPlayListItem>& items)
{
    QStringList titles;
    for (const KeloPlayListItem& item : items)
        titles.append(item.title());
    return titles;
}

inline QStringList titlesOf(PlayListBase* pl)
{
    return titlesOf(pl->getItems(0, pl->getSize()));
}

// Its own connection to a store file, to look at it or to tamper with it (a fault injected through a
// trigger, a read transaction that holds the file). Rows come back as texts, columns joined by '|'.
// The first connection after a crash rolls the hot journal back, so it opens the file writable.
class StoreReader
{
public:
    explicit StoreReader(const QString& file = QStringLiteral("data-rw/playlists/playlists.sqlite"))
    {
        sqlite3_open_v2(file.toUtf8().constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
        // The host may be committing at the moment a test reads: wait for it rather than fail.
        sqlite3_busy_timeout(m_db, 5000);
    }
    ~StoreReader() { sqlite3_close(m_db); }
    StoreReader(const StoreReader&) = delete;
    StoreReader& operator=(const StoreReader&) = delete;

    bool exec(const QString& sql) { return sqlite3_exec(m_db, sql.toUtf8().constData(), nullptr, nullptr, nullptr) == SQLITE_OK; }
    QStringList rows(const QString& sql) const  // a failure comes back as one row naming it
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
    int number(const QString& sql) const { return rows(sql).value(0).toInt(); }

    // Titles of a playlist's entries in stored order.
    QStringList titles(int playlist) const
    {
        return rows(QStringLiteral("SELECT title FROM playlists_items JOIN items ON item = uid "
                                   "WHERE playlist = %1 ORDER BY sequenceNumber")
                        .arg(playlist));
    }
    // "name|shuffle|repeatAll|lastPlayedIndex" of one playlist row.
    QString playlistRow(int uid) const
    {
        return rows(QStringLiteral("SELECT name, shuffle, repeatAll, lastPlayedIndex FROM playlists WHERE uid = %1")
                        .arg(uid))
            .value(0);
    }
    // Playlists whose numbers are not exactly 0..count-1; empty when every playlist is dense.
    QStringList gaps() const
    {
        return rows(QStringLiteral("SELECT playlist FROM playlists_items GROUP BY playlist "
                                   "HAVING MIN(sequenceNumber) != 0 OR MAX(sequenceNumber) != COUNT(*) - 1"));
    }

private:
    sqlite3* m_db = nullptr;
};

// A Database on a fresh file in a temporary working directory. reopen() starts it again on the same
// file, as a restart does.
class DatabaseTest : public testing::Test
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
    // A new playlist holding tracks with these titles, its record brought up to date.
    PlayListRecord playlistWith(const QString& name, const QStringList& titles)
    {
        PlayListRecord pl = db->createPlayList(name);
        if (!titles.isEmpty() && db->addItems(pl, KeloPlayListAddPosition::Append, tracks(titles)) == 0)
            pl.size = titles.size();
        return pl;
    }
    // A fresh look at the file, after the changes made so far.
    static StoreReader store() { return StoreReader(); }

    TempWorkDir workDir;
    std::unique_ptr<Database> db;
};

// A root (for the settings tree and routing) and a model on the fresh store. reopen() starts the
// store and the model again on the same file, as a restart does.
class ModelTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        manager = std::make_unique<PlayListManager>(db.get());
    }
    void TearDown() override { manager.reset(); }
    void reopen(int itemsLimit = 0)
    {
        manager.reset();
        DatabaseTest::reopen(itemsLimit);
        manager = std::make_unique<PlayListManager>(db.get());
    }

    // A new playlist holding tracks with these titles.
    PlayListBase* playlistWith(const QString& name, const QStringList& titles)
    {
        PlayListBase* pl = manager->createPlayList(name);
        if (pl && !titles.isEmpty())
            pl->addItems(KeloPlayListAddPosition::Append, tracks(titles));
        return pl;
    }

    CMRootWorker root;
    std::unique_ptr<PlayListManager> manager;
};

// What a command's reply says: the error's message on failure, the action reply's value on success.
struct Answer
{
    bool ok = false;
    QString message;
    KeloValue value;
};

inline Answer answerOf(const CMVoidReply& reply)
{
    Answer answer;
    answer.ok = reply.isFinished() && !reply.hasError();
    if (answer.ok)
        answer.value = KeloActionReply(KeloHash(reply.variant().toHash())).result().value();
    else
        answer.message = reply.isFinished() ? reply.error().Message() : QStringLiteral("(no answer)");
    return answer;
}

}  // namespace pltest

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
