// The play logic on a 10,000-entry playlist with shuffle and repeat all: next and previous as the
// player calls them, and the slots that follow edits of the playing list (alone, and with the edit
// in the store that causes them).
#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <memory>

#include "../tests/modules/playlists/PlayLogicFixture.h"

namespace {

constexpr int kEntries = 10000;

// Takes the play logic's commands and drops them, as a player that is not listening.
class SilentPlayer : public CMAbstractWorker
{
public:
    SilentPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        request.reply().setValue(QVariant());
        return true;
    }
};

class Fixture
{
public:
    Fixture()
    {
        root.setInitialValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(0));
        root.addWorker(&player);
        worker = std::make_unique<PlayListWorker>(QHash<QString, QVariant>());
        logic = worker->getPlayLogic();
        pl = worker->getManager()->createPlayList(QStringLiteral("Big"));
        QList<KeloPlayListItem> items;
        for (int n = 0; n < kEntries; ++n)
            items << numberedTrack(n);
        pl->addItems(KeloPlayListAddPosition::Append, items);
        pl->setShuffle(true);
        pl->setRepeatAll(true);
        KeloRoles container;
        container.setType(KeloRolesType::Container);
        container.setPath(KeloPlayListPlGetItemsPath() + pl->getUid());
        KeloPlayLogicPlayArgs args;
        args.setMediaRoles(container);
        args.setIndex(kEntries / 2);
        args.setType(KeloRolesType::Container);
        call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), args.toVariant()}});
        call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), logic->getCurrentTrack().toVariant()}});
    }
    ~Fixture() { worker.reset(); }

    void call(const QString& name, QVariantHash fields = {})
    {
        fields.insert(PlayLogicWire::Call(), name);
        logic->setDataRequest(CMSetDataRequest(KeloPlayListsPlayLogicPath(), fields));
    }
    TempWorkDir dir;
    CMRootWorker root;
    SilentPlayer player;
    std::unique_ptr<PlayListWorker> worker;
    PlayListPlayLogic* logic = nullptr;
    PlayListBase* pl = nullptr;
};

std::unique_ptr<Fixture> g_fixture;  // made on first use, gone before the application

Fixture& fixture()
{
    if (!g_fixture)
        g_fixture = std::make_unique<Fixture>();
    return *g_fixture;
}

void BM_NextThenPrevious(benchmark::State& state)
{
    Fixture& f = fixture();
    const QVariantHash early{{PlayLogicWire::PlayTime(), 0}};
    for (auto _ : state) {
        f.call(PlayLogicWire::Next());
        f.call(PlayLogicWire::Previous(), early);
    }
}
BENCHMARK(BM_NextThenPrevious)->Unit(benchmark::kMicrosecond);

void BM_PrepareNextMedia(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        f.call(PlayLogicWire::PrepareNextMedia());
        f.call(PlayLogicWire::Previous(), {{PlayLogicWire::PlayTime(), 0}});
    }
}
BENCHMARK(BM_PrepareNextMedia)->Unit(benchmark::kMicrosecond);

// The slots alone, fed by the playlist's own signals; each pair leaves the order as it found it.
void BM_SlotsAppendThenRemove(benchmark::State& state)
{
    Fixture& f = fixture();
    const int last = f.pl->getLastSequenceNumber();
    for (auto _ : state) {
        emit f.pl->itemsAdded(KeloPlayListAddPosition::toString(KeloPlayListAddPosition::Append), kEntries, 1);
        emit f.pl->itemsRemoved({kEntries}, last);
    }
}
BENCHMARK(BM_SlotsAppendThenRemove)->Unit(benchmark::kMicrosecond);

void BM_SlotsInsertAfterCurrentThenRemove(benchmark::State& state)
{
    Fixture& f = fixture();
    const int last = f.pl->getLastSequenceNumber();
    for (auto _ : state) {
        emit f.pl->itemsAdded(KeloPlayListAddPosition::toString(KeloPlayListAddPosition::AfterCurrent), last + 1, 1);
        emit f.pl->itemsRemoved({last + 1}, last);
    }
}
BENCHMARK(BM_SlotsInsertAfterCurrentThenRemove)->Unit(benchmark::kMicrosecond);

// A bulk append to the playing list, slots alone: the added numbers mixed into the unplayed order.
// The order is drawn again from the list's own entries between rounds, untimed.
void BM_SlotsBulkAppend(benchmark::State& state)
{
    Fixture& f = fixture();
    const int count = int(state.range(0));
    for (auto _ : state) {
        emit f.pl->itemsAdded(KeloPlayListAddPosition::toString(KeloPlayListAddPosition::Append), kEntries, count);
        state.PauseTiming();
        f.logic->setShuffleEnabled(true);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SlotsBulkAppend)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

void BM_SlotsMoveThereAndBack(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        emit f.pl->itemMoved(0, kEntries - 1);
        emit f.pl->itemMoved(kEntries - 1, 0);
    }
}
BENCHMARK(BM_SlotsMoveThereAndBack)->Unit(benchmark::kMicrosecond);

// The same edits as the store makes them, each followed by its slot.
void BM_EditMoveThereAndBack(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        f.pl->moveItem(0, kEntries - 1);
        f.pl->moveItem(kEntries - 1, 0);
    }
}
BENCHMARK(BM_EditMoveThereAndBack)->Unit(benchmark::kMillisecond);

void BM_EditAppendThenRemove(benchmark::State& state)
{
    Fixture& f = fixture();
    const QList<KeloPlayListItem> one{numberedTrack(kEntries)};
    for (auto _ : state) {
        f.pl->addItems(KeloPlayListAddPosition::Append, one);
        f.pl->removeItems({kEntries});
    }
}
BENCHMARK(BM_EditAppendThenRemove)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_fixture.reset();
    return 0;
}
