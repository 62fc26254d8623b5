#pragma once
// What the benchmarks share: a scratch working directory (the tests' own), generated entries, and the floor: the
// store's own statements run bare on its schema (same SQL, same transactions, statements prepared
// once, texts already in UTF-8), to which the module's figures are compared.
#include <sqlite3.h>

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "Database.h"
#include "TempWorkDir.h"

namespace bench {

// A fresh working directory for one benchmark, left again when it ends; in $KELO_BENCH_DIR when set.
class BenchDir : public TempWorkDir
{
public:
    BenchDir() : TempWorkDir(qEnvironmentVariable("KELO_BENCH_DIR")) {}
};

inline KeloPlayListItem benchItem(int i)
{
    KeloPlayListItem item;
    item.setTitle(QStringLiteral("Track number %1").arg(i));
    item.setArtist(QStringLiteral("Some Artist %1").arg(i % 97));
    item.setAlbum(QStringLiteral("An Album Title %1").arg(i % 31));
    item.setArtworkUrl(QStringLiteral("http://media.local/artwork/%1.jpg").arg(i % 31));
    item.setGenre(QStringLiteral("Jazz"));
    item.setDurationSeconds(180 + i % 120);
    item.setUrl(QStringLiteral("media:track/%1").arg(i));
    item.setServiceId(QStringLiteral("media"));
    item.setKeloRoles(QStringLiteral("{\"trackNumber\":%1,\"year\":1999,\"mediaType\":\"audio\"}").arg(i % 20));
    return item;
}

inline QList<KeloPlayListItem> benchItems(int count, int base = 0)
{
    QList<KeloPlayListItem> items;
    for (int i = 0; i < count; ++i)
        items.append(benchItem(base + i));
    return items;
}

inline QList<int> scatteredIndices(int size)
{
    QList<int> indices;
    for (int i = 0; i < 10; ++i)
        indices.append(i * (size / 10) + 5);
    return indices;
}

struct RawItem
{
    QByteArray texts[8];  // title, artist, album, artworkUrl, genre, url, serviceId, keloRoles
    int durationSeconds;
};

inline std::vector<RawItem> rawItems(const QList<KeloPlayListItem>& items)
{
    std::vector<RawItem> raw;
    for (const KeloPlayListItem& item : items)
        raw.push_back({{item.title().toUtf8(), item.artist().toUtf8(), item.album().toUtf8(),
                        item.artworkUrl().toUtf8(), item.genre().toUtf8(), item.url().toUtf8(),
                        item.serviceId().toUtf8(), item.keloRoles().toUtf8()},
                       item.durationSeconds()});
    return raw;
}

const char* const rawSql[] = {
    "SELECT  uid, name, shuffle, repeatAll, lastPlayedIndex,    (SELECT coalesce(MAX(sequenceNumber), -1) FROM "
    "playlists_items WHERE playlist=playlists.uid) AS size  FROM playlists  WHERE uid > 0  ORDER BY name ASC",
    "UPDATE playlists_items  SET sequenceNumber = sequenceNumber + ?4  WHERE playlist = ?1 AND sequenceNumber >= ?2 "
    "AND sequenceNumber <= ?3;",
    "SELECT  nm.sequenceNumber,  uid, title, artist, album, artworkUrl, genre, durationSeconds, url, serviceId,  "
    "keloRoles  FROM (    SELECT item, sequenceNumber      FROM playlists_items      WHERE playlist = ?1      AND "
    "sequenceNumber >= ?2 AND sequenceNumber <= ?3    ) AS nm    INNER JOIN items ON nm.item = items.uid  ORDER BY "
    "nm.sequenceNumber ASC",
    "SELECT COALESCE(MAX(sequenceNumber), -1) + 1  FROM playlists_items  WHERE playlist = ?1;",
    "INSERT INTO items(title, artist, album, artworkUrl, genre, durationSeconds, url, serviceId,  keloRoles  )  "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9);",
    "INSERT INTO playlists_items(playlist, item, sequenceNumber)  VALUES (?1, ?2, ?3);",
    "DELETE FROM playlists_items  WHERE playlist = ?1 AND sequenceNumber >= ?2 AND sequenceNumber <= ?3",
    "DELETE FROM items  WHERE uid NOT IN (    SELECT item FROM playlists_items  )",
    "UPDATE playlists_items SET  sequenceNumber=?4  WHERE playlist=?1 AND item=?2 AND sequenceNumber=?3",
    "SELECT Count(*) FROM items",
};
enum RawId { RGetPlayLists, RMove, RGetItems, RNextSeq, RInsertItem, RInsertLink, RDelete, RClean, RSetSeq, RCount, RCountIds };

class Raw
{
public:
    Raw()
    {
        sqlite3_open("data-rw/playlists/playlists.sqlite", &db);
        exec("PRAGMA foreign_keys=1;");
        for (int i = 0; i < RCountIds; ++i)
            sqlite3_prepare_v2(db, rawSql[i], -1, &s[i], nullptr);
    }
    ~Raw()
    {
        for (sqlite3_stmt* statement : s)
            sqlite3_finalize(statement);
        sqlite3_close_v2(db);
    }
    void exec(const char* sql) { sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
    sqlite3_stmt* run(RawId id, std::initializer_list<int> ints)
    {
        int index = 1;
        for (int value : ints)
            sqlite3_bind_int(s[id], index++, value);
        return s[id];
    }
    void once(RawId id, std::initializer_list<int> ints)
    {
        sqlite3_step(run(id, ints));
        sqlite3_reset(s[id]);
    }
    int value(RawId id, std::initializer_list<int> ints)
    {
        sqlite3_stmt* q = run(id, ints);
        const int v = sqlite3_step(q) == SQLITE_ROW ? sqlite3_column_int(q, 0) : -1;
        sqlite3_reset(q);
        return v;
    }
    void insert(int plid, int first, const std::vector<RawItem>& items)
    {
        int seq = first;
        for (const RawItem& item : items) {
            sqlite3_stmt* q = s[RInsertItem];
            const int parameter[8] = {1, 2, 3, 4, 5, 7, 8, 9};
            for (int i = 0; i < 8; ++i)
                sqlite3_bind_text(q, parameter[i], item.texts[i].constData(), item.texts[i].size(), SQLITE_STATIC);
            sqlite3_bind_int(q, 6, item.durationSeconds);
            sqlite3_step(q);
            sqlite3_reset(q);
            once(RInsertLink, {plid, static_cast<int>(sqlite3_last_insert_rowid(db)), seq++});
        }
    }
    // Reads every column of the rows, as a reader of entries has to.
    size_t read(sqlite3_stmt* q)
    {
        size_t bytes = 0;
        while (sqlite3_step(q) == SQLITE_ROW)
            for (int c = 0; c < sqlite3_column_count(q); ++c) {
                if (sqlite3_column_type(q, c) == SQLITE_INTEGER)
                    bytes += static_cast<size_t>(sqlite3_column_int(q, c));
                else if (sqlite3_column_text(q, c))
                    bytes += static_cast<size_t>(sqlite3_column_bytes(q, c));
            }
        sqlite3_reset(q);
        return bytes;
    }
    void add(int plid, int size, int first, const std::vector<RawItem>& items)
    {
        exec("BEGIN IMMEDIATE;");
        value(RCount, {});
        if (first < 0)
            first = value(RNextSeq, {plid});
        if (size > first) {
            once(RMove, {plid, first, size, static_cast<int>(items.size()) + size + 1});
            once(RMove, {plid, size, 2147483647, ~size});
        }
        insert(plid, first, items);
        exec("COMMIT;");
    }
    void remove(int plid, int size, const QList<int>& indices)
    {
        exec("BEGIN IMMEDIATE;");
        for (int index : indices)  // scattered: one run each
            once(RDelete, {plid, index, index});
        once(RClean, {});
        std::vector<std::pair<int, int>> rest;
        sqlite3_stmt* q = run(RGetItems, {plid, indices.first(), size});
        while (sqlite3_step(q) == SQLITE_ROW)
            rest.emplace_back(sqlite3_column_int(q, 0), sqlite3_column_int(q, 1));
        sqlite3_reset(q);
        int seq = indices.first();
        for (const auto& [old, uid] : rest)
            once(RSetSeq, {plid, uid, old, seq++});
        exec("COMMIT;");
    }
    void move(int plid, int n, int from, int to)
    {
        exec("BEGIN;");
        const int lo = std::min(from, to), hi = std::max(from, to);
        once(RMove, {plid, lo, hi, n});
        once(RMove, {plid, from + n, from + n, to - from - n});
        once(RMove, {plid, n + lo, n + hi, from < to ? -(n + 1) : -(n - 1)});
        exec("COMMIT;");
    }

    sqlite3* db = nullptr;
    sqlite3_stmt* s[RCountIds] = {};
};

}  // namespace bench
