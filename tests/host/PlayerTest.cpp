// The simulated player against a play logic that the test scripts: when it asks for the next media,
// which answers it takes, and that a play logic that does not answer stops neither it nor its clients.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

#include "CMEventHub.h"
#include "CMRoot.h"
#include "CMWorkerThread.h"
#include "KeloPaths.h"
#include "player/Player.h"
#include "PlayLogic.h"

namespace {

// Records the player's calls; a call named blockOn holds the play logic's thread until released.
class ScriptedLogic : public CMAbstractWorker
{
public:
    ScriptedLogic() : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Logic")) {}
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        const QString name = value.value(PlayLogicWire::Call()).toString();
        m_mutex.lock();
        m_calls[name] << value;
        m_mutex.unlock();
        if (name == blockOn)
            release.acquire();
        request.reply().setValue(QVariant());
        return true;
    }
    QList<QVariantHash> calls(const QString& name)
    {
        QMutexLocker lock(&m_mutex);
        return m_calls.value(name);
    }

    QString blockOn;
    QSemaphore release;

private:
    QMutex m_mutex;
    QHash<QString, QList<QVariantHash>> m_calls;
};

class PlayerWithScriptedLogic : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QCoreApplication::instance())
            app = std::make_unique<QCoreApplication>(argc, argv);
        root = std::make_unique<CMRootWorker>();
        logicThread = std::make_unique<CMWorkerThread>([] { return new ScriptedLogic; });
        logic = static_cast<ScriptedLogic*>(logicThread->worker());
        playerThread = std::make_unique<CMWorkerThread>([] { return new Player(20); });
    }
    void TearDown() override
    {
        logic->release.release(10);
        playerThread.reset();
        logicThread.reset();
        root.reset();
    }
    CMVoidReply send(const CMPath& path, const QVariantHash& value)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(path, value, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer";
        return reply;
    }
    CMVoidReply control(const QVariantHash& value) { return send(KeloPlayerControlPath(), value); }
    void command(const QString& name, const QVariantHash& fields, const QString& from = QStringLiteral("logic:pl"))
    {
        QVariantHash value = fields;
        value.insert(PlayLogicWire::Command(), name);
        value.insert(PlayLogicWire::From(), from);
        send(KeloPlayerPlayLogicPath(), value);
    }
    static QVariant track(const QString& title, int seconds)
    {
        return QVariantHash{{"title", title}, {"duration", seconds},
                            {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", "demo://" + title}}}},
                                                       {"metaData", QVariantHash{{"playLogicPath", "logic:pl"}}}}}};
    }
    // The user chooses the track, so that the player asks logic:pl, which has it started.
    void start(const QString& title, int seconds)
    {
        control({{"control", "playContainer"}, {"trackRoles", track(title, seconds)}});
        command(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), track(title, seconds)}});
    }
    QString state()
    {
        const CMReply<QVariant> reply;
        root->sendGetData(CMGetDataRequest(KeloPlayerStatePath(), {}, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer its state";
        return reply.value().toHash().value("state").toString();
    }
    bool eventually(const QString& call, int count)
    {
        QElapsedTimer timer;
        timer.start();
        while (logic->calls(call).size() < count && timer.elapsed() < 10000)
            QThread::msleep(5);
        return logic->calls(call).size() == count;
    }

    int argc = 1;
    char name[11] = "host_tests";
    char* argv[2] = {name, nullptr};
    std::unique_ptr<QCoreApplication> app;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<CMWorkerThread> logicThread, playerThread;
    ScriptedLogic* logic = nullptr;
};

}  // namespace

TEST_F(PlayerWithScriptedLogic, AsksOnceTenSecondsBeforeTheEndAndTakesOnlyAnswersForThePlayingTrack)
{
    const auto events = CMEventHub::instance().subscribe();
    start("first", 15);  // 0.75 s at 20 times real time; the question comes after 0.25 s
    ASSERT_TRUE(eventually(PlayLogicWire::PrepareNextMedia(), 1));
    const QVariantHash ask = logic->calls(PlayLogicWire::PrepareNextMedia()).first();
    EXPECT_GE(ask.value(PlayLogicWire::PlayTime()).toInt(), 5000);
    EXPECT_LT(ask.value(PlayLogicWire::PlayTime()).toInt(), 15000);
    command(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), track("stale", 60)}, {PlayLogicWire::Serial(), 99}});
    command(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), track("intruder", 60)}}, "other:pl");
    command(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), track("second", 3600)}, {PlayLogicWire::Serial(), ask.value("serial")}});
    ASSERT_TRUE(eventually(PlayLogicWire::MediaPlaybackStarted(), 2));
    const QVariantHash started = logic->calls(PlayLogicWire::MediaPlaybackStarted()).last();
    EXPECT_EQ(started.value(PlayLogicWire::OldRoles()).toHash().value("title"), "first");
    EXPECT_EQ(started.value(PlayLogicWire::NewRoles()).toHash().value("title"), "second");
    EXPECT_EQ(logic->calls(PlayLogicWire::PrepareNextMedia()).size(), 1);
    QStringList published;
    for (QVariantHash event; events->next(&event, 0) == CMEventSubscriber::Event;) {
        const QVariantHash shown = event.value("value").toHash();
        if (event.value("path") == "player:state" && shown.value("state") == "playing")
            published << shown.value("trackRoles").toHash().value("title").toString();
    }
    published.removeDuplicates();
    EXPECT_EQ(published, QStringList({"first", "second"}));

    control({{"control", "endOfTrack"}});
    ASSERT_TRUE(eventually(PlayLogicWire::PrepareNextMedia(), 2));
    EXPECT_EQ(state(), "playing") << "the end waits for the answer";
    command(PlayLogicWire::NoNextMedia(), {{PlayLogicWire::Serial(), ask.value("serial").toInt() + 1}});
    EXPECT_EQ(state(), "stopped");
}

TEST_F(PlayerWithScriptedLogic, APlayLogicThatDoesNotAnswerStopsNeitherThePlayerNorItsClients)
{
    start("long", 3600);
    logic->blockOn = PlayLogicWire::Next();
    control({{"control", "next"}});
    ASSERT_TRUE(eventually(PlayLogicWire::Next(), 1));
    EXPECT_FALSE(control({{"control", "previous"}}).hasError());
    EXPECT_FALSE(control({{"control", "pause"}}).hasError());
    EXPECT_FALSE(control({{"control", "playMode"}, {"mode", 4}}).hasError());
    EXPECT_EQ(state(), "paused");
    logic->release.release();
    EXPECT_TRUE(eventually(PlayLogicWire::ChangePlayMode(), 1));
}
