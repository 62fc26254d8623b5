// The worker in its own thread: commands from any thread run one at a time in the worker's thread,
// the permission answer, the power-target vacuum and the vacuum flag, unknown paths, and restarts.
#include <atomic>
#include <thread>

#include "WorkerTestSupport.h"

using namespace pltest;

TEST_F(WorkerTest, ACommandFromAForeignThreadRunsInTheWorkerThreadAfterTheCall)
{
    QSemaphore release;
    QMetaObject::invokeMethod(worker(), [&release] { release.acquire(); }, Qt::QueuedConnection);
    std::atomic<QThread*> handledIn{nullptr};
    QObject::connect(worker()->getManager(), &PlayListManager::playlistCreated, worker()->getManager(),
                     [&handledIn](int) { handledIn = QThread::currentThread(); }, Qt::DirectConnection);

    CMSetDataRequest request(KeloPlayListPlCreatePath(), args({{"name", "Queued"}}));
    EXPECT_TRUE(worker()->setDataRequest(request));
    EXPECT_FALSE(request.reply().isFinished());
    release.release();

    ASSERT_TRUE(request.reply().waitForFinished(30000));
    EXPECT_TRUE(answerOf(request.reply()).ok);
    EXPECT_EQ(handledIn.load(), playlists->thread());
}

TEST_F(WorkerTest, ManyClientsAtOnceLoseNothing)
{
    constexpr int clients = 8;
    constexpr int commandsEach = 10;
    const int target = createPlayList("Shared");
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int c = 0; c < clients; ++c) {
        threads.emplace_back([this, c, target, &failures] {
            for (int m = 0; m < commandsEach; ++m) {
                const QString name = QStringLiteral("c%1-%2").arg(c).arg(m);
                if (!command(KeloPlayListPlCreatePath(), args({{"name", name}})).ok)
                    ++failures;
                if (!command(KeloPlayListPlAddExternalItemsPath(),
                             args({{"plid", target}, {"items", itemList(tracks({name}))}}))
                         .ok)
                    ++failures;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();

    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM playlists WHERE uid > 0"), clients * commandsEach + 1);
    EXPECT_EQ(store().number("SELECT COUNT(DISTINCT name) FROM playlists WHERE name LIKE 'c%'"), clients * commandsEach);
    EXPECT_EQ(store().titles(target).size(), clients * commandsEach);
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(WorkerTest, OnlyThePlayPathAnswersThePermissionItself)
{
    const auto ask = [this](const CMPath& path, const QStringList& roles) {
        CMGetDataRequest request(path, roles);
        root.sendGetData(request);
        request.reply().waitForFinished(30000);
        return request.reply();
    };
    const CMReply<QVariant> play = ask(KeloPlayListPlPlayPath(), {KeloRoles::Permission()});
    ASSERT_FALSE(play.hasError());
    EXPECT_EQ(play.value(), QVariant(QVariantList{QStringLiteral("publicReadWrite")}));

    EXPECT_TRUE(ask(KeloPlayListPlCreatePath(), {KeloRoles::Permission()}).hasError());
    EXPECT_TRUE(ask(KeloPlayListPlPlayPath(), {KeloRoles::Permission(), KeloRoles::Title()}).hasError());
}

TEST_F(WorkerTest, PathsNobodyTakesAreAnsweredNotFound)
{
    CMSetDataRequest request(CMPath("playlists:no/such/node"), args({{"name", "x"}}));
    root.sendSetData(request);
    ASSERT_TRUE(request.reply().waitForFinished(30000));
    EXPECT_EQ(request.reply().error().Name(), CMError::NotFoundName());
}

TEST_F(WorkerTest, GoingFromOnlineToStandbyVacuumsAndTheFlagFollows)
{
    QMutex mutex;
    QList<bool> flags;
    QObject::connect(&root, &CMRootWorker::valueChanged, &root,
                     [&](const CMPath& path, const KeloValue& value, const KeloValue&) {
                         if (path == KeloPlayListSettingsDataBaseVacuumPath()) {
                             QMutexLocker locker(&mutex);
                             flags.append(value.bool_());
                         }
                     }, Qt::DirectConnection);
    const auto setTarget = [this](int target) {
        KeloValue value;
        value.setPowerTarget(KeloPowerManagerTarget(target));
        root.setValue(KeloPowerManagerTargetPath(), value, CMVoidReply());
        drainWorker();
    };

    const int uid = playlistWith("Gone", {"a", "b"});
    command(KeloPlayListPlDeletePath(), args({{"plid", uid}}));
    drainWorker();
    EXPECT_TRUE(root.value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());

    for (int target : {1, 0, 2, 1})
        setTarget(target);
    EXPECT_TRUE(root.value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());
    setTarget(2);
    EXPECT_FALSE(root.value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());

    QMutexLocker locker(&mutex);
    EXPECT_EQ(flags, (QList<bool>{true, false}));
}

TEST_F(WorkerTest, ARestartKeepsEverythingButThePlayQueue)
{
    const int a = playlistWith("A", {"a1", "a2", "a3"});
    const int b = playlistWith("B", {"b1"});
    command(KeloPlayListPlSetShufflePath(), args({{"plid", a}, {"mode", "on"}}));
    command(KeloPlayListPlSetRepeatPath(), args({{"plid", b}, {"mode", "all"}}));
    command(KeloPlayListPlMoveItemspath(), args({{"plid", a}, {"items", intList({2})}, {"to", 0}}));
    command(KeloPlayListPlSetNamePath(), args({{"plid", b}, {"name", "Bee"}}));
    const int clid = command(KeloPlayListClCreatePath(), args({{"name", "Col"}})).value.i32_();
    command(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", a}}));
    command(KeloPlayListPlAddExternalItemsPath(), args({{"plid", 0}, {"items", itemList(tracks({"q1", "q2"}))}}));
    EXPECT_EQ(store().titles(0).size(), 2);

    stop();
    start();

    EXPECT_EQ(store().titles(a), (QStringList{"a3", "a1", "a2"}));
    EXPECT_EQ(store().playlistRow(a), QStringLiteral("A|1|0|-1"));
    EXPECT_EQ(store().playlistRow(b), QStringLiteral("Bee|0|1|-1"));
    EXPECT_EQ(store().rows("SELECT collection, playlist FROM collections_playlists"),
              QStringList{QStringLiteral("%1|%2").arg(clid).arg(a)});
    EXPECT_EQ(store().titles(0), QStringList());
    // The reloaded model answers commands on what it loaded.
    EXPECT_TRUE(command(KeloPlayListClRemoveItemPath(), args({{"clid", clid}, {"plid", a}})).ok);
}
