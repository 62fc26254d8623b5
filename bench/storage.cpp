// The playlist store against its floor: every operation runs once through Database and once as the
// bare SQLite statements that do the same work on the same schema (same SQL, same transactions,
// statements prepared once, texts already in UTF-8). At the end a table gives each operation's
// time and its ratio to the floor.
//
// Run (from the repository root):
//   cmake -S . -B build -DKELO_BENCH=ON && cmake --build build -j2 --target kelo-bench-storage &&
//   build/bin/kelo-bench-storage --benchmark_repetitions=3
//
// The files live in memory (/dev/shm, or $KELO_BENCH_DIR) so that the figures compare CPU work and
// not the disk's sync latency, which is the same for both and would hide the difference.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include "Database.h"

namespace {

// A fresh working directory for one benchmark, left again when it ends.
class BenchDir
{
public:
    BenchDir() : m_previous(QDir::currentPath()), m_dir(base() + QStringLiteral("/kelo-bench-XXXXXX"))
    {
        QDir::setCurrent(m_dir.path());
    }
    ~BenchDir() { QDir::setCurrent(m_previous); }

private:
    static QString base()
    {
        const QString configured = qEnvironmentVariable("KELO_BENCH_DIR");
        if (!configured.isEmpty())
            return configured;
        return QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath();
    }
    QString m_previous;
    QTemporaryDir m_dir;
};

KeloPlayListItem benchItem(int i)
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

QList<KeloPlayListItem> benchItems(int count, int base = 0)
{
    QList<KeloPlayListItem> items;
    for (int i = 0; i < count; ++i)
        items.append(benchItem(base + i));
    return items;
}

QList<int> scatteredIndices(int size)
{
    QList<int> indices;
    for (int i = 0; i < 10; ++i)
        indices.append(i * (size / 10) + 5);
    return indices;
}

// A playlist of n entries in a fresh store, made through Database.
PlayListRecord makePlayList(int n)
{
    Database db(0, false);
    PlayListRecord pl = db.createPlayList(QStringLiteral("bench"));
    db.addItems(pl, KeloPlayListAddPosition::Append, benchItems(n));
    pl.size = n;
    return pl;
}

// ---- the floor: the same statements, bare --------------------------------------------------

struct RawItem
{
    QByteArray texts[8];  // title, artist, album, artworkUrl, genre, url, serviceId, keloRoles
    int durationSeconds;
};

std::vector<RawItem> rawItems(const QList<KeloPlayListItem>& items)
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

// ---- the operations, through Database and bare ---------------------------------------------

void Add_module(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(0);
    Database db(0, false);
    const QList<KeloPlayListItem> items = benchItems(n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(db.addItems(pl, KeloPlayListAddPosition::Append, items));
        state.PauseTiming();
        db.clearItems(pl);
        state.ResumeTiming();
    }
}

void Add_floor(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(0);
    Raw raw;
    const std::vector<RawItem> items = rawItems(benchItems(n));
    for (auto _ : state) {
        raw.add(pl.uid, 0, -1, items);
        state.PauseTiming();
        raw.once(RDelete, {pl.uid, 0, 2147483647});
        raw.once(RClean, {});
        state.ResumeTiming();
    }
}

// Position 0 goes behind the entry last played; with the first entry played, the whole list but
// one entry moves back.
void Insert100Front_module(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    PlayListRecord pl = makePlayList(n);
    pl.lastPlayedIndex = 0;
    Database db(0, false);
    const QList<KeloPlayListItem> items = benchItems(100, n);
    QList<int> added;
    for (int i = 1; i <= 100; ++i)
        added.append(i);
    for (auto _ : state) {
        benchmark::DoNotOptimize(db.addItems(pl, KeloPlayListAddPosition::Now, items));
        state.PauseTiming();
        PlayListRecord grown = pl;
        grown.size += 100;
        db.removeItems(grown, added);
        state.ResumeTiming();
    }
}

void Insert100Front_floor(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Raw raw;
    const std::vector<RawItem> items = rawItems(benchItems(100, n));
    QList<int> added;
    for (int i = 1; i <= 100; ++i)
        added.append(i);
    for (auto _ : state) {
        raw.add(pl.uid, n, 1, items);
        state.PauseTiming();
        raw.remove(pl.uid, n + 100, added);
        state.ResumeTiming();
    }
}

void Remove10_module(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    PlayListRecord pl = makePlayList(n);
    Database db(0, false);
    const QList<int> indices = scatteredIndices(n);
    const QList<KeloPlayListItem> refill = benchItems(10, n);
    for (auto _ : state) {
        benchmark::DoNotOptimize(db.removeItems(pl, indices));
        state.PauseTiming();
        PlayListRecord shrunk = pl;
        shrunk.size -= 10;
        db.addItems(shrunk, KeloPlayListAddPosition::Append, refill);
        state.ResumeTiming();
    }
}

void Remove10_floor(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Raw raw;
    const QList<int> indices = scatteredIndices(n);
    const std::vector<RawItem> refill = rawItems(benchItems(10, n));
    for (auto _ : state) {
        raw.remove(pl.uid, n, indices);
        state.PauseTiming();
        raw.add(pl.uid, n - 10, -1, refill);
        state.ResumeTiming();
    }
}

void MoveEnds_module(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Database db(0, false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(db.moveItem(pl, 0, n - 1));
        benchmark::DoNotOptimize(db.moveItem(pl, n - 1, 0));
    }
}

void MoveEnds_floor(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Raw raw;
    for (auto _ : state) {
        raw.move(pl.uid, n, 0, n - 1);
        raw.move(pl.uid, n, n - 1, 0);
    }
}

void ReadPage50_module(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Database db(0, false);
    for (auto _ : state)
        benchmark::DoNotOptimize(db.getItems(pl, n / 2, n / 2 + 49));
}

void ReadPage50_floor(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    BenchDir dir;
    const PlayListRecord pl = makePlayList(n);
    Raw raw;
    for (auto _ : state)
        benchmark::DoNotOptimize(raw.read(raw.run(RGetItems, {pl.uid, n / 2, n / 2 + 49})));
}

void makeLibrary()
{
    Database db(0, false);
    for (int p = 0; p < 1000; ++p) {
        const PlayListRecord pl = db.createPlayList(QStringLiteral("playlist %1").arg(p, 4, 10, QLatin1Char('0')));
        db.addItems(pl, KeloPlayListAddPosition::Append, benchItems(10, p * 10));
    }
}

void OpenLoad1000x10_module(benchmark::State& state)
{
    BenchDir dir;
    makeLibrary();
    for (auto _ : state) {
        Database db(0, false);
        for (const PlayListRecord& pl : db.getPlayLists())
            benchmark::DoNotOptimize(db.getItems(pl, 0, pl.size));
    }
}

// Opening includes what every start does: the schema texts, and preparing the statements (only
// those the floor's operations use; Database prepares all of its 22).
void OpenLoad1000x10_floor(benchmark::State& state)
{
    BenchDir dir;
    makeLibrary();
    const char* const schema[] = {
        "CREATE TABLE IF NOT EXISTS playlists (  uid INTEGER PRIMARY KEY,  name TEXT NOT NULL,  shuffle INTEGER NOT NULL DEFAULT 0,  repeatAll INTEGER NOT NULL DEFAULT 0,  lastPlayedIndex INTEGER NOT NULL DEFAULT 0);",
        "CREATE TABLE IF NOT EXISTS items (  uid INTEGER PRIMARY KEY,  title TEXT NOT NULL,  artist TEXT,  album TEXT,  artworkUrl TEXT,  genre TEXT,  durationSeconds INTEGER,  url TEXT NOT NULL,  serviceId TEXT NOT NULL,  keloRoles TEXT);CREATE INDEX IF NOT EXISTS itemUrlIndex ON items(url);",
        "CREATE TABLE IF NOT EXISTS collections (  uid INTEGER PRIMARY KEY,  name TEXT NOT NULL);",
        "CREATE TABLE IF NOT EXISTS playlists_items (  playlist INTEGER NOT NULL,  item INTEGER NOT NULL,  sequenceNumber INTEGER NOT NULL,  PRIMARY KEY(playlist, item, sequenceNumber),  FOREIGN KEY(playlist) REFERENCES playlists(uid)    ON DELETE CASCADE    ON UPDATE CASCADE,  FOREIGN KEY(item) REFERENCES items(uid)    ON DELETE RESTRICT    ON UPDATE CASCADE,  UNIQUE(playlist,sequenceNumber));",
        "CREATE TABLE IF NOT EXISTS collections_playlists (  collection INTEGER NOT NULL,  playlist INTEGER NOT NULL,  PRIMARY KEY(collection, playlist),  FOREIGN KEY(collection) REFERENCES collections(uid)    ON DELETE CASCADE    ON UPDATE CASCADE,  FOREIGN KEY(playlist) REFERENCES playlists(uid)    ON DELETE CASCADE    ON UPDATE CASCADE);",
        "INSERT OR IGNORE INTO playlists(uid, name, lastPlayedIndex)  VALUES(0, 'PlayQueue', -1);",
    };
    for (auto _ : state) {
        Raw raw;
        for (const char* text : schema)
            raw.exec(text);
        std::vector<std::pair<int, int>> playlists;
        sqlite3_stmt* q = raw.run(RGetPlayLists, {});
        while (sqlite3_step(q) == SQLITE_ROW)
            playlists.emplace_back(sqlite3_column_int(q, 0), sqlite3_column_int(q, 5) + 1);
        sqlite3_reset(q);
        for (const auto& [uid, size] : playlists)
            benchmark::DoNotOptimize(raw.read(raw.run(RGetItems, {uid, 0, size})));
    }
}

#define KELO_BENCH_PAIR(op, ...)                                                    \
    BENCHMARK(op##_module)->Name(#op "/module")->Unit(benchmark::kMicrosecond) __VA_ARGS__; \
    BENCHMARK(op##_floor)->Name(#op "/floor")->Unit(benchmark::kMicrosecond) __VA_ARGS__

KELO_BENCH_PAIR(Add, ->Arg(1000)->Arg(10000));
KELO_BENCH_PAIR(Insert100Front, ->Arg(1000)->Arg(10000));
KELO_BENCH_PAIR(Remove10, ->Arg(1000)->Arg(10000));
KELO_BENCH_PAIR(MoveEnds, ->Arg(1000)->Arg(10000));
KELO_BENCH_PAIR(ReadPage50, ->Arg(1000)->Arg(10000));
KELO_BENCH_PAIR(OpenLoad1000x10);

// Prints the usual console output and, at the end, each operation against its floor.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.error_occurred || (run.run_type == Run::RT_Aggregate && !median))
                continue;
            std::string name = run.benchmark_name();
            if (median)
                name = name.substr(0, name.rfind('_'));
            const size_t impl = name.find('/');
            const size_t arg = name.find('/', impl + 1);
            const std::string op = name.substr(0, impl) + (arg == std::string::npos ? "" : name.substr(arg));
            const std::string kind = name.substr(impl + 1, arg == std::string::npos ? std::string::npos : arg - impl - 1);
            if (median || !m_times[op].count(kind + "*"))
                m_times[op][kind] = run.GetAdjustedCPUTime();
            if (median)
                m_times[op][kind + "*"] = 1;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        // CPU time: on a shared machine the wall clock mostly measures the other processes.
        std::printf("\n%-24s %14s %14s %8s\n", "operation", "module CPU us", "floor CPU us", "ratio");
        for (const auto& [op, times] : m_times) {
            if (!times.count("module") || !times.count("floor"))
                continue;
            const double module = times.at("module"), floor = times.at("floor");
            std::printf("%-24s %14.1f %14.1f %8.2f\n", op.c_str(), module, floor, module / floor);
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> m_times;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
