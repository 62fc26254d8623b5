// The simulated player against a play logic that the test scripts: when it asks for the next media,
// which answers it takes, and that a play logic that does not answer stops neither it nor its clients.
#include <QElapsedTimer>
#include <QSemaphore>
#include <QThread>

#include "PlayerFixture.h"

namespace {

// A call named blockOn holds the play logic's thread until released.
class ScriptedLogic : public RecordingLogic
{
public:
    QString blockOn;
    QSemaphore release;

protected:
    void onCall(const QString& name, const QVariantHash&) override
    {
        if (name == blockOn)
            release.acquire();
    }
};

class PlayerWithScriptedLogic : public PlayerFixture
{
protected:
    void SetUp() override
    {
        PlayerFixture::SetUp();
        // 20 times real time.
        logic = static_cast<ScriptedLogic*>(startThreads([] { return new ScriptedLogic; }, [] { return new Player(20); }));
    }
    void TearDown() override
    {
        logic->release.release(10);
        PlayerFixture::TearDown();
    }
    static QVariantHash track(const QString& title, int seconds) { return trackRoles(title, "demo://" + title, seconds); }
    // The user chooses the track, so that the player asks logic:pl, which has it started.
    void start(const QString& title, int seconds)
    {
        control({{"control", "playContainer"}, {"trackRoles", track(title, seconds)}});
        command(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), track(title, seconds)}});
    }
    QString playerState() { return state().value("state").toString(); }
    bool eventually(const QString& call, int count)
    {
        QElapsedTimer timer;
        timer.start();
        while (logic->calls(call).size() < count && timer.elapsed() < 10000)
            QThread::msleep(5);
        return logic->calls(call).size() == count;
    }

    ScriptedLogic* logic = nullptr;
};

}  // namespace

TEST_F(PlayerWithScriptedLogic, AsksOnceTenSecondsBeforeTheEndAndTakesOnlyAnswersForThePlayingTrack)
{
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

    control({{"control", "endOfTrack"}});
    ASSERT_TRUE(eventually(PlayLogicWire::PrepareNextMedia(), 2));
    EXPECT_EQ(playerState(), "playing") << "the end waits for the answer";
    command(PlayLogicWire::NoNextMedia(), {{PlayLogicWire::Serial(), ask.value("serial").toInt() + 1}});
    EXPECT_EQ(playerState(), "stopped");
}

TEST_F(PlayerWithScriptedLogic, APlayLogicThatDoesNotAnswerStopsNeitherThePlayerNorItsClients)
{
    start("long", 3600);
    logic->blockOn = PlayLogicWire::Next();
    control({{"control", "next"}});
    ASSERT_TRUE(eventually(PlayLogicWire::Next(), 1));
    for (const QVariantHash& other : {QVariantHash{{"control", "previous"}}, QVariantHash{{"control", "pause"}},
                                      QVariantHash{{"control", "playMode"}, {"mode", 4}}}) {
        CMError error;
        control(other, &error);
        EXPECT_TRUE(error.isNull()) << error.Name().toStdString();
    }
    EXPECT_EQ(playerState(), "paused");
    logic->release.release();
    EXPECT_TRUE(eventually(PlayLogicWire::ChangePlayMode(), 1));
}
