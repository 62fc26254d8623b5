// The worker in its own thread, driven through the root as the host drives it: a command from another
// thread runs in the worker's thread, edits, player calls and controls from many threads at once,
// unknown paths, and what the store's vacuum and recovery tell the settings tree.
#include <QFile>
#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <thread>

#include "CMWorkerThread.h"
#include "ControllerTestSupport.h"
#include "PlayLogicFixture.h"

using namespace pltest;

namespace {
class WorkerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(workDir.isValid());
        start();
        ASSERT_NE(playlists->worker(), nullptr);
    }
    void start() { playlists = std::make_unique<CMWorkerThread>([] { return worker_create(nullptr, {}); }); }

    PlayListWorker* worker() const { return static_cast<PlayListWorker*>(playlists->worker()); }
    // Runs f in the worker's thread and returns when it is done, after everything queued before it.
    void inWorker(const std::function<void()>& f)
    {
        QMetaObject::invokeMethod(worker(), f, Qt::BlockingQueuedConnection);
    }
    // Sends a command through the root from the calling thread and waits for its answer.
    Answer command(const CMPath& path, const QVariant& value)
    {
        CMSetDataRequest request(path, value);
        root.sendSetData(request);
        EXPECT_TRUE(request.reply().waitForFinished(30000)) << "no answer: " << path.toEncoded().toStdString();
        return answerOf(request.reply());
    }
    int playlistWith(const QString& name, const QStringList& titles)
    {
        const int uid = command(KeloPlayListPlCreatePath(), QVariantHash{{"name", name}}).value.i32_();
        command(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks(titles))}}));
        return uid;
    }
    // Everything queued to the worker, and what it sent the root, has been handled when it returns.
    void drainWorker() { command(KeloPlayListPlClearPath(), args({{"plid", 999999}})); }

    // Declared in the order they are made; the worker goes first.
    TempWorkDir workDir;
    CMRootWorker root;
    std::unique_ptr<CMWorkerThread> playlists;
};

// Acts as a player would, at once: starts whatever it is told to play, announced or to play from,
// and passes the user's next, previous and play modes on as the play logic's calls, in the order it
// gets them.
class EchoPlayer : public CMAbstractWorker
{
public:
    EchoPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        QVariantHash value = request.value().toHash();
        const QString command = value.value(PlayLogicWire::Command()).toString();
        const QString control = value.take("control").toString();
        if (command == PlayLogicWire::Play() || command == PlayLogicWire::SetNextMedia())
            call({{PlayLogicWire::Call(), PlayLogicWire::MediaPlaybackStarted()},
                  {PlayLogicWire::NewRoles(), value.value(PlayLogicWire::Roles())}});
        else if (control == "playContainer")
            call({{PlayLogicWire::Call(), PlayLogicWire::Play()},
                  {PlayLogicWire::Args(), QVariantHash{{"mediaRoles", value.value("containerRoles")},
                                                       {"index", value.value("index")}, {"type", 1}}}});
        else if (control == "playMode" || control == PlayLogicWire::Next() || control == PlayLogicWire::Previous()) {
            value.insert(PlayLogicWire::Call(), control == "playMode" ? PlayLogicWire::ChangePlayMode() : control);
            call(value);
        }
        request.reply().setValue(QVariant());
        return true;
    }
    static void call(const QVariantHash& fields)
    {
        CMRoot()->sendSetData(CMSetDataRequest(KeloPlayListsPlayLogicPath(), fields));
    }
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

// Edits of the playing list, the player's calls and the user's controls, each from a thread of its
// own: every command is answered, no edit is lost, and the shuffle order stays whole.
TEST_F(WorkerTest, EditsPlayerCallsAndControlsAtOnceLoseNothingAndNeverHang)
{
    CMWorkerThread playerThread([] { return new EchoPlayer; });
    const int plid = playlistWith("Busy", names(20));
    ASSERT_TRUE(command(KeloPlayListPlPlayPath(), args({{"plid", plid}})).ok);
    const auto control = [&](const QVariantHash& value) { return command(KeloPlayerControlPath(), value).ok; };
    ASSERT_TRUE(control({{"control", "playMode"}, {"playMode", 5}}));

    constexpr int rounds = 40;
    std::atomic<int> added{0}, removed{0};
    std::thread editor([&] {
        const QStringList modes{"append", "afterCurrent", "now"};
        for (int i = 0; i < rounds; ++i) {
            added += command(KeloPlayListPlAddExternalItemsPath(),
                             args({{"plid", plid}, {"items", itemList({track("x")})}, {"mode", modes.at(i % 3)}})).ok;
            if (i % 2)
                removed += command(KeloPlayListPlRemoveItemsPath(), args({{"plid", plid}, {"items", QVariantList{i % 7}}})).ok;
            command(KeloPlayListPlMoveItemspath(), args({{"plid", plid}, {"items", QVariantList{i % 5}}, {"to", 9 - i % 4}}));
        }
    });
    std::thread user([&] {
        for (int i = 0; i < rounds; ++i) {
            control({{"control", i % 4 == 1 ? "previous" : "next"}, {"playTime", 0}});
            if (i % 8 == 0)
                control({{"control", "playMode"}, {"playMode", 5 - (i / 8) % 2}});
        }
    });
    std::thread player([&] {
        for (int i = 0; i < rounds; ++i)
            command(KeloPlayListsPlayLogicPath(), args({{"call", "prepareNextMedia"}, {"serial", i}, {"playTime", 0}}));
    });
    editor.join();
    user.join();
    player.join();

    EXPECT_EQ(added, rounds);
    EXPECT_EQ(removed, rounds / 2);
    inWorker([&] {
        PlayListBase* pl = worker()->getManager()->getPlayListByUid(plid);
        PlayListPlayLogic* logic = worker()->getPlayLogic();
        EXPECT_EQ(pl->getSize(), 20 + added - removed);
        EXPECT_TRUE(StoreReader().gaps().isEmpty()) << "the stored numbers are dense";
        EXPECT_TRUE(pl->getLastSequenceNumber() >= 0 && pl->getLastSequenceNumber() < pl->getSize());
        ASSERT_TRUE(logic->isShuffleEnabled() && logic->getCurrentPlayList() == pl) << "play mode " << logic->playMode();
        EXPECT_TRUE(isPermutation(logic->shuffleSequence(), pl->getSize()));
        EXPECT_TRUE(logic->shuffleCurrentIndex() >= -1 && logic->shuffleCurrentIndex() < pl->getSize());
    });
}

// The play path's answer to a permission request is in the recorded session.
TEST_F(WorkerTest, AnUnknownPathIsNotFound)
{
    CMSetDataRequest request(CMPath("playlists:no/such/node"), args({{"name", "x"}}));
    root.sendSetData(request);
    ASSERT_TRUE(request.reply().waitForFinished(30000));
    EXPECT_EQ(request.reply().error().Name(), CMError::NotFoundName());
}

TEST_F(WorkerTest, GoingFromOnlineToStandbyVacuumsAndTheFlagFollows)
{
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
}

// What the store did while it opened, before anything listened, still reaches the settings tree: a
// vacuum that was due is done (so the next start does not vacuum again), and a damaged file that was
// replaced is named so that a user interface can tell the person.
TEST_F(WorkerTest, AStartReportsTheVacuumItDidAndTheDamagedStoreItReplaced)
{
    playlistWith("Lost", {"a"});
    playlists.reset();
    ASSERT_TRUE(root.setInitialValue(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(true)));
    start();
    drainWorker();
    EXPECT_FALSE(root.value(KeloPlayListSettingsDataBaseVacuumPath()).bool_());
    EXPECT_TRUE(root.value(KeloPlayListSettingsDataBaseRecoveredPath()).string_().isEmpty());

    playlists.reset();
    QFile file(QStringLiteral("data-rw/playlists/playlists.sqlite"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QByteArray("not a database at all\n").repeated(100));
    file.close();
    start();
    drainWorker();
    const QString aside = root.value(KeloPlayListSettingsDataBaseRecoveredPath()).string_();
    EXPECT_TRUE(aside.startsWith(QStringLiteral("data-rw/playlists/playlists.sqlite.damaged-"))) << aside.toStdString();
    EXPECT_TRUE(QFile::exists(aside));
}
