// The play-logic base: the player's calls reach the operations in the worker's thread, the commands
// reach the player, and neither side waits for the other.
#include <QCoreApplication>
#include <QMutex>
#include <QSet>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "CMRoot.h"
#include "CMWorkerThread.h"
#include "KeloPaths.h"
#include "PlayLogic.h"

namespace {

void ensureCoreApplication()
{
    static int argc = 1;
    static char name[] = "sdk_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// Records which operation ran in which thread and what it saw.
class ProbeLogic : public StreamerPlayLogic
{
public:
    using StreamerPlayLogic::StreamerPlayLogic;
    QStringList ran;
    QSet<QThread*> threads;
    KeloRoles trackRolesSeen;
    int streamErrorSeen = 0;

protected:
    void note(const QString& name)
    {
        ran << name;
        threads << QThread::currentThread();
    }
    void nextInternal(const CMSetDataRequest& request) override
    {
        note(QStringLiteral("next"));
        StreamerPlayLogic::nextInternal(request);
    }
    void changePlayModeInternal(const CMSetDataRequest& request) override
    {
        note(QStringLiteral("changePlayMode"));
        StreamerPlayLogic::changePlayModeInternal(request);
    }
    KeloPlayLogicData mediaPlaybackStarted(const KeloRoles& oldRoles, const KeloRoles& newRoles) override
    {
        note(QStringLiteral("mediaPlaybackStarted"));
        trackRolesSeen = data().trackRoles();
        return StreamerPlayLogic::mediaPlaybackStarted(oldRoles, newRoles);
    }
    void tryResumePlayback() override
    {
        note(QStringLiteral("tryResumePlayback"));
        streamErrorSeen = data().streamerError().code();
        StreamerPlayLogic::tryResumePlayback();
    }
};

class LogicWorker : public CMNodesWorker
{
public:
    LogicWorker() : CMNodesWorker(QHash<QString, QVariant>(), QStringLiteral("Logic"))
    {
        logic = new ProbeLogic(nodes(), CMPath("logic:pl"), this);
    }
    ProbeLogic* logic;
};

class ListeningPlayer : public CMAbstractWorker
{
public:
    ListeningPlayer() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        QMutexLocker lock(&mutex);
        received << request.value().toHash();
        request.reply().setValue(QVariant());
        return true;
    }
    QList<QVariantHash> take()
    {
        QMutexLocker lock(&mutex);
        return std::exchange(received, {});
    }
    QMutex mutex;
    QList<QVariantHash> received;
};

class PlayLogicCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ensureCoreApplication();
        root = std::make_unique<CMRootWorker>();
        playerThread = std::make_unique<CMWorkerThread>([] { return new ListeningPlayer; });
        player = static_cast<ListeningPlayer*>(playerThread->worker());
    }
    void TearDown() override
    {
        playerThread.reset();
        root.reset();
    }
    // Waits until the logic's thread and then the player's thread have handled what was queued.
    void settle(QObject* logic)
    {
        QMetaObject::invokeMethod(logic, [] {}, Qt::BlockingQueuedConnection);
        QMetaObject::invokeMethod(player, [] {}, Qt::BlockingQueuedConnection);
    }
    CMVoidReply send(const CMPath& path, const QVariantHash& value)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(path, value, reply));
        EXPECT_TRUE(reply.waitForFinished(10000));
        return reply;
    }
    CMVoidReply call(const QString& name, QVariantHash fields = {})
    {
        fields.insert(PlayLogicWire::Call(), name);
        return send(CMPath("logic:pl"), fields);
    }

    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<CMWorkerThread> playerThread;
    ListeningPlayer* player = nullptr;
};

}  // namespace

TEST_F(PlayLogicCalls, CallsFromManyThreadsRunInTheWorkersThreadOneAfterAnother)
{
    CMWorkerThread thread([] { return new LogicWorker; });
    ProbeLogic* logic = static_cast<LogicWorker*>(thread.worker())->logic;
    std::vector<std::thread> clients;
    for (int c = 0; c < 4; ++c)
        clients.emplace_back([this] {
            for (int i = 0; i < 50; ++i)
                EXPECT_FALSE(call(PlayLogicWire::Next()).hasError());
        });
    for (std::thread& client : clients)
        client.join();
    QMetaObject::invokeMethod(logic, [] {}, Qt::BlockingQueuedConnection);
    EXPECT_EQ(logic->ran.size(), 200);
    EXPECT_EQ(logic->threads, QSet<QThread*>{thread.thread()});
}

TEST_F(PlayLogicCalls, CallsItDoesNotKnowAndModesItDoesNotOfferAreRefused)
{
    CMWorkerThread thread([] { return new LogicWorker; });
    EXPECT_EQ(call(QStringLiteral("dance")).error().Name(), CMError::BadRequestName());
    EXPECT_EQ(send(CMPath("logic:pl"), {{"next", true}}).error().Name(), CMError::BadRequestName());
    for (const QVariant& mode : {QVariant(1), QVariant("shuffle"), QVariant(6), QVariant("loud")})
        EXPECT_EQ(call(PlayLogicWire::ChangePlayMode(), {{"playMode", mode}}).error().Name(), CMError::BadRequestName());
    EXPECT_FALSE(call(PlayLogicWire::ChangePlayMode(), {{"playMode", "normal"}}).hasError());
    ProbeLogic* logic = static_cast<LogicWorker*>(thread.worker())->logic;
    QMetaObject::invokeMethod(logic, [] {}, Qt::BlockingQueuedConnection);
    EXPECT_EQ(logic->ran, QStringList{"changePlayMode"});
}

TEST_F(PlayLogicCalls, AStartedTrackAndAFailedStreamReachTheOperationsAndThePlayer)
{
    CMWorkerThread thread([] { return new LogicWorker; });
    ProbeLogic* logic = static_cast<LogicWorker*>(thread.worker())->logic;
    KeloRoles track;
    track.setTitle(QStringLiteral("One"));
    call(PlayLogicWire::StreamError(), {{PlayLogicWire::Error(), QVariantHash{{"code", 42}}}});
    call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), track.toVariant()}});
    call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 5}});
    settle(logic);

    EXPECT_EQ(logic->streamErrorSeen, 42);
    EXPECT_EQ(logic->trackRolesSeen, track);
    QStringList commands;
    for (const QVariantHash& value : player->take()) {
        commands << value.value(PlayLogicWire::Command()).toString();
        EXPECT_EQ(value.value(PlayLogicWire::From()).toString(), QStringLiteral("logic:pl"));
        if (commands.last() == PlayLogicWire::Data()) {
            const KeloPlayLogicData data(KeloHash(value.value(PlayLogicWire::Data()).toHash()));
            EXPECT_EQ(data.trackRoles(), track);
            EXPECT_FALSE(data.contains(KeloPlayLogicData::StreamerError())) << "a started track clears the error";
        }
        if (commands.last() == PlayLogicWire::NoNextMedia()) {
            EXPECT_EQ(value.value(PlayLogicWire::Serial()).toInt(), 5);
        }
    }
    EXPECT_EQ(commands, QStringList({PlayLogicWire::PlaybackEnded(), PlayLogicWire::Data(), PlayLogicWire::NoNextMedia()}));
}

TEST_F(PlayLogicCalls, ThePlayerHandleSendsControlsAndNeverWaits)
{
    KeloRoles container;
    container.setPath(CMPath("playlists:pl/getitems/3"));
    const CMVoidReply reply;
    PlayLogicInterface::playerInstance()->playContainer(container, KeloRoles(), 2, reply, true);
    PlayLogicInterface::stop(PlayLogicInterface::playerInstance());
    PlayLogicInterface::stop(nullptr);
    EXPECT_TRUE(reply.waitForFinished(10000));
    QMetaObject::invokeMethod(player, [] {}, Qt::BlockingQueuedConnection);
    const QList<QVariantHash> controls = player->take();
    ASSERT_EQ(controls.size(), 2);
    EXPECT_EQ(controls[0].value("control").toString(), QStringLiteral("playContainer"));
    EXPECT_EQ(KeloRoles(KeloHash(controls[0].value("containerRoles").toHash())), container);
    EXPECT_EQ(controls[0].value("index").toInt(), 2);
    EXPECT_TRUE(controls[0].value("paused").toBool());
    EXPECT_EQ(controls[1].value("control").toString(), QStringLiteral("stop"));

    root->removeWorker(player);
    const CMVoidReply nobody;
    PlayLogicInterface::playerInstance()->playContainer(container, KeloRoles(), 0, nobody);
    EXPECT_EQ(nobody.error().Name(), CMError::NotFoundName());
}

TEST(PlayLogicRecords, PlayModesAreReadFromNumbersAndNames)
{
    KeloPlayLogicChangePlayModeArgs args;
    EXPECT_EQ(args.playMode(), KeloPlayerPlayMode::Invalid);
    args.set(QStringLiteral("playMode"), QStringLiteral("shuffleRepeatAll"));
    EXPECT_EQ(args.playMode(), KeloPlayerPlayMode::ShuffleRepeatAll);
    args.setPlayMode(2);
    EXPECT_EQ(args.playMode(), KeloPlayerPlayMode::RepeatOne);
    args.setPlayMode(-1);
    EXPECT_EQ(args.playMode(), KeloPlayerPlayMode::Invalid);

    KeloPlayLogicPlayModesSupported modes;
    modes.setRepeatAll(true);
    EXPECT_TRUE(modes.supports(KeloPlayerPlayMode::Normal));
    EXPECT_TRUE(modes.supports(KeloPlayerPlayMode::RepeatAll));
    EXPECT_FALSE(modes.supports(KeloPlayerPlayMode::ShuffleRepeatAll));
    EXPECT_FALSE(modes.supports(KeloPlayerPlayMode::Invalid));

    KeloPlayLogicData data;
    data.set(KeloPlayLogicData::PlayMode(), 9);
    EXPECT_EQ(data.playMode(), KeloPlayerPlayMode::Normal);
}
