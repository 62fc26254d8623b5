// Paging the browse tree: a 50-row page from the middle of a 10,000-entry playlist, and the root with
// 1,000 playlists (a first page and all rows), each answered by the node as a user interface asks.
#include <benchmark/benchmark.h>

#include <memory>

#include "KeloPaths.h"
#include "PlayListTestSupport.h"
#include "playlistUI/RootNode.h"
#include "playlistUI/playlist/PlayListGetItemsNode.h"

namespace {

// One store for all cases, built once: a 10,000-entry playlist among 1,000 playlists.
class Library
{
public:
    static Library& instance()
    {
        static Library library;
        return library;
    }

    PlayListBase* big = nullptr;
    std::unique_ptr<RootNode> root;
    std::unique_ptr<PlayListGetItemsNode> items;

private:
    Library()
    {
        database = std::make_unique<Database>(0, false);
        manager = std::make_unique<PlayListManager>(database.get());
        big = manager->createPlayList(QStringLiteral("Big"));
        for (int first = 0; first < 10000; first += 1000) {
            QList<KeloPlayListItem> batch;
            for (int n = first; n < first + 1000; ++n)
                batch.append(pltest::track(QStringLiteral("Track %1").arg(n)));
            big->addItems(KeloPlayListAddPosition::Append, batch);
        }
        for (int n = 1; n < 1000; ++n)
            manager->createPlayList(QStringLiteral("Playlist %1").arg(n, 4, 10, QLatin1Char('0')));
        root.reset(RootNode::create(nullptr, KeloPlayListsRootPath(), manager.get()));
        items.reset(PlayListGetItemsNode::create(nullptr, KeloPlayListPlGetItemsPath() + big->getUid(), manager.get()));
    }

    TempWorkDir dir;  // stays the working directory: the store's statements name its file relative to it
    CMRootWorker settings;
    std::unique_ptr<Database> database;
    std::unique_ptr<PlayListManager> manager;
};

void answer(benchmark::State& state, CMNode* node, const CMPath& path, int fromRow, int toRow, int expectedRows)
{
    for (auto _ : state) {
        CMGetRowsRequest request(path, fromRow, toRow);
        node->getRowsRequest(request);
        const KeloRowsRoles reply = request.reply().value();
        if (reply.rows().size() != expectedRows) {
            state.SkipWithError("unexpected number of rows");
            break;
        }
        benchmark::DoNotOptimize(reply);
    }
    state.SetItemsProcessed(state.iterations() * expectedRows);
}

void BM_PlayListPageFromTheMiddleOf10000(benchmark::State& state)
{
    Library& library = Library::instance();
    answer(state, library.items.get(), library.items->path(), 4975, 5024, 50);
}
BENCHMARK(BM_PlayListPageFromTheMiddleOf10000)->Unit(benchmark::kMicrosecond);

void BM_RootFirstPageWith1000PlayLists(benchmark::State& state)
{
    Library& library = Library::instance();
    answer(state, library.root.get(), KeloPlayListsRootPath(), 0, 49, 50);
}
BENCHMARK(BM_RootFirstPageWith1000PlayLists)->Unit(benchmark::kMicrosecond);

void BM_RootAllRowsWith1000PlayLists(benchmark::State& state)
{
    Library& library = Library::instance();
    answer(state, library.root.get(), KeloPlayListsRootPath(), 0, 1004, 1005);
}
BENCHMARK(BM_RootAllRowsWith1000PlayLists)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
