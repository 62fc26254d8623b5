// The simulated player against a play logic that the test scripts: when it asks for the next media,
// what it does with answers that come late or from elsewhere, resources that cannot be opened, and a
// play logic that does not answer at all.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

#include "CMRoot.h"
#include "CMWorkerThread.h"
#include "KeloJson.h"
#include "KeloPaths.h"
#include "Player.h"
#include "PlayLogic.h"

namespace {

class QtApplication : public testing::Environment
{
public:
    void SetUp() override
    {
        if (!QCoreApplication::instance())
            m_app = std::make_unique<QCoreApplication>(m_argc, m_argv);
    }
    void TearDown() override { m_app.reset(); }

private:
    int m_argc = 1;
    char m_name[11] = "host_tests";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<QCoreApplication> m_app;
};
testing::Environment* const g_qtApplication = testing::AddGlobalTestEnvironment(new QtApplication);

// Records the player's calls; blocks on a call of the name in blockOn until released.
class ScriptedLogic : public CMAbstractWorker
{
public:
    ScriptedLogic() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Logic")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        {
            QMutexLocker lock(&mutex);
            calls << value;
        }
        if (value.value(PlayLogicWire::Call()).toString() == blockOn)
            release.acquire();
        request.reply().setValue(QVariant());
        return true;
    }
    QList<QVariantHash> callsNamed(const QString& name)
    {
        QMutexLocker lock(&mutex);
        QList<QVariantHash> result;
        for (const QVariantHash& value : calls)
            if (value.value(PlayLogicWire::Call()).toString() == name)
                result << value;
        return result;
    }

    QString blockOn;
    QSemaphore release;
    QMutex mutex;
    QList<QVariantHash> calls;
};

KeloRoles track(const QString& title, int seconds, const QString& uri = QStringLiteral("demo://x"))
{
    KeloRoles roles;
    roles.setTitle(title);
    roles.setType(KeloRolesType::Audio);
    roles.setDuration(seconds);
    KeloMediaResource resource;
    resource.setUri(uri);
    KeloMetaData metaData;
    metaData.setPlayLogicPath(CMPath("logic:pl"));
    KeloMediaData mediaData;
    mediaData.setResources({resource});
    mediaData.setMetaData(metaData);
    roles.setMediaData(mediaData);
    return roles;
}

class PlayerWithScriptedLogic : public ::testing::Test
{
protected:
    void SetUp() override
    {
        root = std::make_unique<CMRootWorker>();
        logicThread = std::make_unique<CMWorkerThread>([] { return new ScriptedLogic; });
        logic = static_cast<ScriptedLogic*>(logicThread->worker());
        playerThread = std::make_unique<CMWorkerThread>([] { return new Player(100); });
    }
    void TearDown() override
    {
        logic->release.release(100);
        playerThread.reset();
        logicThread.reset();
        root.reset();
    }
    CMVoidReply send(const CMPath& path, const QVariantHash& value)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(path, value, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer " << qPrintable(KeloJson::stringify(value));
        return reply;
    }
    CMVoidReply control(const QVariantHash& value) { return send(KeloPlayerControlPath(), value); }
    void command(const QString& name, const QVariantHash& fields = {}, const QString& from = QStringLiteral("logic:pl"))
    {
        QVariantHash value = fields;
        value.insert(PlayLogicWire::Command(), name);
        value.insert(PlayLogicWire::From(), from);
        send(KeloPlayerPlayLogicPath(), value);
    }
    // Chooses the roles' container, so that the player asks logic:pl, and starts roles as the play logic would.
    void start(const KeloRoles& roles)
    {
        control({{"control", "playContainer"}, {"containerRoles", QVariantHash()}, {"trackRoles", roles.toVariant()}});
        command(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), roles.toVariant()}});
    }
    QVariantHash state()
    {
        const CMReply<QVariant> reply;
        root->sendGetData(CMGetDataRequest(KeloPlayerStatePath(), {}, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer its state";
        return reply.value().toHash();
    }
    // Waits up to 10 s for the condition; whether it held.
    static bool eventually(const std::function<bool()>& condition)
    {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < 10000)
            QThread::msleep(5);
        return condition();
    }

    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<CMWorkerThread> logicThread;
    std::unique_ptr<CMWorkerThread> playerThread;
    ScriptedLogic* logic = nullptr;
};

}  // namespace

TEST_F(PlayerWithScriptedLogic, AsksOnceForTheNextMediaTenSecondsBeforeTheEndAndStartsItThere)
{
    start(track("first", 30));
    ASSERT_TRUE(eventually([&] { return !logic->callsNamed(PlayLogicWire::PrepareNextMedia()).isEmpty(); }));
    const QVariantHash ask = logic->callsNamed(PlayLogicWire::PrepareNextMedia()).first();
    EXPECT_GE(ask.value(PlayLogicWire::PlayTime()).toLongLong(), 20000);
    EXPECT_LT(ask.value(PlayLogicWire::PlayTime()).toLongLong(), 30000);
    command(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), track("second", 3600).toVariant()},
                                           {PlayLogicWire::Serial(), ask.value(PlayLogicWire::Serial())}});
    ASSERT_TRUE(eventually([&] { return logic->callsNamed(PlayLogicWire::MediaPlaybackStarted()).size() == 2; }));
    const QVariantHash started = logic->callsNamed(PlayLogicWire::MediaPlaybackStarted()).last();
    EXPECT_EQ(KeloRoles(KeloHash(started.value(PlayLogicWire::OldRoles()).toHash())).title(), QStringLiteral("first"));
    EXPECT_EQ(KeloRoles(KeloHash(started.value(PlayLogicWire::NewRoles()).toHash())).title(), QStringLiteral("second"));
    EXPECT_EQ(logic->callsNamed(PlayLogicWire::PrepareNextMedia()).size(), 1);
    EXPECT_EQ(state().value("state").toString(), QStringLiteral("playing"));
}

TEST_F(PlayerWithScriptedLogic, StaleAnswersAndOtherPlayLogicsAreIgnored)
{
    start(track("long", 3600));
    command(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), track("stale", 60).toVariant()}, {PlayLogicWire::Serial(), 99}});
    command(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), track("intruder", 60).toVariant()}}, "other:pl");
    control({{"control", "endOfTrack"}});
    ASSERT_TRUE(eventually([&] { return logic->callsNamed(PlayLogicWire::PrepareNextMedia()).size() == 1; }));
    EXPECT_EQ(logic->callsNamed(PlayLogicWire::MediaPlaybackStarted()).size(), 1);
    EXPECT_EQ(state().value("state").toString(), QStringLiteral("playing")) << "the end waits for the answer";
    command(PlayLogicWire::NoNextMedia(), {{PlayLogicWire::Serial(), 1}});
    EXPECT_EQ(state().value("state").toString(), QStringLiteral("stopped"));
    EXPECT_EQ(logic->callsNamed(PlayLogicWire::MediaPlaybackStarted()).size(), 1);
}

TEST_F(PlayerWithScriptedLogic, AResourceThatCannotBeOpenedFailsBeforeItStarts)
{
    start(track("broken", 60, QStringLiteral("fail:nowhere")));
    ASSERT_TRUE(eventually([&] { return logic->callsNamed(PlayLogicWire::StreamError()).size() == 1; }));
    const KeloError error(KeloHash(logic->callsNamed(PlayLogicWire::StreamError()).first().value(PlayLogicWire::Error()).toHash()));
    EXPECT_EQ(error.code(), Player::CannotOpenErrorCode);
    EXPECT_TRUE(logic->callsNamed(PlayLogicWire::MediaPlaybackStarted()).isEmpty());
    EXPECT_EQ(state().value("state").toString(), QStringLiteral("stopped"));
}

TEST_F(PlayerWithScriptedLogic, APlayLogicThatDoesNotAnswerFreezesNeitherThePlayerNorItsClients)
{
    start(track("long", 3600));
    logic->blockOn = PlayLogicWire::Next();
    control({{"control", "next"}});
    ASSERT_TRUE(eventually([&] { return logic->callsNamed(PlayLogicWire::Next()).size() == 1; }));
    // The play logic's thread is stuck inside the call; the player answers everything regardless.
    EXPECT_FALSE(control({{"control", "previous"}}).hasError());
    EXPECT_FALSE(control({{"control", "pause"}}).hasError());
    EXPECT_FALSE(control({{"control", "seek"}, {"ms", 5000}}).hasError());
    EXPECT_FALSE(control({{"control", "playMode"}, {"mode", 4}}).hasError());
    const QVariantHash current = state();
    EXPECT_EQ(current.value("state").toString(), QStringLiteral("paused"));
    EXPECT_EQ(current.value("playTime").toInt(), 5000);
    logic->release.release();
    EXPECT_TRUE(eventually([&] { return logic->callsNamed(PlayLogicWire::ChangePlayMode()).size() == 1; }));
}
