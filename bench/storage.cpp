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


#include "BenchSupport.h"
#include "Database.h"

namespace {

using namespace bench;

// A playlist of n entries in a fresh store, made through Database.
PlayListRecord makePlayList(int n)
{
    Database db(0, false);
    PlayListRecord pl = db.createPlayList(QStringLiteral("bench"));
    db.addItems(pl, KeloPlayListAddPosition::Append, benchItems(n));
    pl.size = n;
    return pl;
}

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
