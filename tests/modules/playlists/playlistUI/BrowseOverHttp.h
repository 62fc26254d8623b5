#pragma once
// The browse tree as a client that knows only the HTTP contract sees it, and the store as the module
// wrote it, read straight from the database file.
#include <gtest/gtest.h>

#include <QStringList>
#include <QVariantHash>
#include <sqlite3.h>

#include "HostProcess.h"
#include "KeloRoles.h"

namespace browsetest {

using Rows = QList<KeloRoles>;

class Tree
{
public:
    explicit Tree(const HostProcess& host) : host(host) {}

    // Every row of path, page by page. *status: the HTTP status of the last page.
    Rows rows(const QString& path, int* status = nullptr) const
    {
        Rows all;
        int total = 0;
        do {
            QVariantHash answer;
            const int code = host.post("/api/getRows",
                                       jsonText(QVariantHash{{"path", path}, {"fromRow", all.size()}, {"toRow", all.size() + 49}}),
                                       &answer);
            if (status)
                *status = code;
            EXPECT_EQ(code, 200) << path.toStdString();
            if (code != 200)
                return all;
            total = answer.value("rowsCount").toInt();
            const QVariantList page = answer.value("rows").toList();
            if (page.isEmpty())
                break;
            for (const QVariant& r : page)
                all.append(KeloRoles(KeloHash(r.toHash())));
        } while (all.size() < total);
        EXPECT_EQ(all.size(), total) << path.toStdString();
        return all;
    }

    static QStringList titles(const Rows& rows)
    {
        QStringList result;
        for (const KeloRoles& r : rows)
            result.append(r.title());
        return result;
    }

    // The row titled title among the rows of path; an empty row (and a failure) when there is none.
    KeloRoles row(const QString& path, const QString& title) const
    {
        for (const KeloRoles& r : rows(path)) {
            if (r.title() == title)
                return r;
        }
        ADD_FAILURE() << "no row \"" << title.toStdString() << "\" in " << path.toStdString();
        return KeloRoles();
    }
    QString pathOf(const QString& path, const QString& title) const { return row(path, title).path().toEncoded(); }

    // A set-data request; the whole answer ({"value"} or {"error"}). *status: its HTTP status.
    QVariantHash set(const QString& path, const QVariant& value = {}, int* status = nullptr) const
    {
        QVariantHash body{{"path", path}};
        if (value.isValid())
            body.insert("value", value);
        QVariantHash answer;
        const int code = host.post("/api/setData", jsonText(body), &answer);
        if (status)
            *status = code;
        return answer;
    }

    // A set-data request that must succeed: its value.
    QVariantHash act(const QString& path, const QVariant& value = {}) const
    {
        int status = 0;
        const QVariantHash answer = set(path, value, &status);
        EXPECT_EQ(status, 200) << path.toStdString();
        EXPECT_FALSE(answer.contains("error")) << path.toStdString() << ": "
                                               << answer.value("error").toHash().value("message").toString().toStdString();
        return answer.value("value").toHash();
    }

private:
    const HostProcess& host;
};

class Store
{
public:
    explicit Store(const QString& file) : file(file.toUtf8()) {}

    QStringList playlistNames() const { return sorted(column("SELECT name FROM playlists WHERE uid > 0", {})); }
    QStringList tracks(int plid) const
    {
        return column("SELECT title FROM items JOIN playlists_items ON items.uid = item WHERE playlist = ?1 "
                      "ORDER BY sequenceNumber",
                      {plid});
    }
    bool shuffle(int plid) const { return column("SELECT shuffle FROM playlists WHERE uid = ?1", {plid}) == QStringList{"1"}; }
    bool repeatAll(int plid) const
    {
        return column("SELECT repeatAll FROM playlists WHERE uid = ?1", {plid}) == QStringList{"1"};
    }
    QStringList collectionNames() const { return sorted(column("SELECT name FROM collections", {})); }
    QStringList members(int clid) const
    {
        return sorted(column("SELECT name FROM playlists JOIN collections_playlists ON uid = playlist WHERE collection = ?1",
                             {clid}));
    }

    static QStringList sorted(QStringList list)
    {
        list.sort();
        return list;
    }

private:
    // The first column of every row, as text; the file is opened for this query only.
    QStringList column(const char* sql, const QList<int>& binds) const
    {
        QStringList result;
        sqlite3* db = nullptr;
        if (sqlite3_open_v2(file.constData(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << "cannot open " << file.constData();
            sqlite3_close(db);
            return result;
        }
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &statement, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
        for (int i = 0; i < binds.size(); ++i)
            sqlite3_bind_int(statement, i + 1, binds[i]);
        while (statement && sqlite3_step(statement) == SQLITE_ROW)
            result.append(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
        sqlite3_finalize(statement);
        sqlite3_close(db);
        return result;
    }

    QByteArray file;
};

}  // namespace browsetest
