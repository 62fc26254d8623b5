// The worker in its own thread: a command from another thread runs in the worker's thread, the
// permission answer, unknown paths, the power-target vacuum and the vacuum flag.
#include <QFile>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <atomic>

#include "CMWorkerThread.h"
#include "ControllerTestSupport.h"
#include "PlayListWorker.h"

using namespace pltest;

namespace {
// The plug-in's worker in a thread of its own, driven through the root as the host drives it.
class WorkerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(workDir.isValid());
        playlists = std::make_unique<CMWorkerThread>([] { return worker_create(nullptr, {}); });
        ASSERT_NE(playlists->worker(), nullptr);
    }
    void TearDown() override { playlists.reset(); }

    PlayListWorker* worker() const { return static_cast<PlayListWorker*>(playlists->worker()); }

    // Sends a command through the root from the calling thread and waits for its answer.
    Answer command(const CMPath& path, const QVariant& value)
    {
        CMSetDataRequest request(path, value);
        root.sendSetData(request);
        request.reply().waitForFinished(30000);
        return answerOf(request.reply());
    }
    int playlistWith(const QString& name, const QStringList& titles)
    {
        const int uid = command(KeloPlayListPlCreatePath(), QVariantHash{{"name", name}}).value.i32_();
        command(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks(titles))}}));
        return uid;
    }
    // How many playlists the model holds, read in the worker's thread.
    int playlistCount()
    {
        int count = -1;
        QMetaObject::invokeMethod(
            worker(), [&] { count = worker()->getManager()->getAllPlayList().size(); }, Qt::BlockingQueuedConnection);
        return count;
    }
    // Everything queued to the worker before this call has been handled when it returns.
    void drainWorker() { command(KeloPlayListPlClearPath(), args({{"plid", 999999}})); }

    TempWorkDir workDir;
    CMRootWorker root;
    std::unique_ptr<CMWorkerThread> playlists;
};
}  // namespace

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

// What the store did while it opened, before anything listened, still reaches the settings tree: a
// vacuum that was due is done (so the next start does not vacuum again), and a damaged file that was
// replaced is named so that a user interface can tell the person.
TEST_F(WorkerTest, AStartReportsTheVacuumItDidAndTheDamagedStoreItReplaced)
{
    playlistWith("Lost", {"a"});
    playlists.reset();
    ASSERT_TRUE(root.setInitialValue(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true)));
    playlists = std::make_unique<CMWorkerThread>([] { return worker_create(nullptr, {}); });
    drainWorker();
    EXPECT_FALSE(root.value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());
    EXPECT_TRUE(root.value(KeloPlayListSettingsDataBaseRecoveredPath()).string_().isEmpty());
    EXPECT_EQ(playlistCount(), 1);

    playlists.reset();
    QFile file(QStringLiteral("data-rw/playlists/playlists.sqlite"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QByteArray("not a database at all\n").repeated(100));
    file.close();
    playlists = std::make_unique<CMWorkerThread>([] { return worker_create(nullptr, {}); });
    drainWorker();
    const QString aside = root.value(KeloPlayListSettingsDataBaseRecoveredPath()).string_();
    EXPECT_TRUE(aside.startsWith(QStringLiteral("data-rw/playlists/playlists.sqlite.damaged-"))) << aside.toStdString();
    EXPECT_TRUE(QFile::exists(aside));
    EXPECT_EQ(playlistCount(), 0);
    EXPECT_TRUE(command(KeloPlayListPlCreatePath(), QVariantHash{{"name", "Again"}}).ok);
}
