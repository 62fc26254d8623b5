// The audio player at real time into "fakesink sync=true", driven by a small play logic that plays a
// list of the test's own audio files in order: track changes, gapless joins, pause, seek, broken
// files and a skip near the end of a track.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

#include "AudioFiles.h"
#include "CMEventHub.h"
#include "CMRoot.h"
#include "CMWorkerThread.h"
#include "KeloPaths.h"
#include "PlayLogic.h"
#include "player/AudioOutput.h"
#include "player/Player.h"

namespace {

// A track of the file, or of an http server that refuses connections when file is empty.
QVariantHash track(const QString& title, const QString& file, int seconds = 0)
{
    const QString uri = file.isEmpty() ? QStringLiteral("http://127.0.0.1:1/none.ogg")
                                       : QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    return {{"title", title}, {"duration", seconds},
            {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uri}}}},
                                       {"metaData", QVariantHash{{"playLogicPath", "logic:pl"}}}}}};
}

// Plays tracks in order: the user's play starts the one at its index, the next media is the one after
// the playing track, next skips to it, and a stream error goes on with the one after the failed one.
class ListLogic : public CMAbstractWorker
{
public:
    explicit ListLogic(const QList<QVariantHash>& tracks)
        : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Logic")), m_tracks(tracks) {}
    QStringList prefixes() const override { return {QStringLiteral("logic")}; }
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        const QVariantHash value = request.value().toHash();
        const QString call = value.value(PlayLogicWire::Call()).toString();
        record(call, value);
        if (call == PlayLogicWire::Play())
            play(value.value(PlayLogicWire::Args()).toHash().value("index").toInt());
        else if (call == PlayLogicWire::MediaPlaybackStarted())
            m_current = indexOf(value.value(PlayLogicWire::NewRoles()).toHash().value("title").toString());
        else if (call == PlayLogicWire::PrepareNextMedia())
            announce(value.value(PlayLogicWire::Serial()));
        else if (call == PlayLogicWire::Next())
            play(m_current + 1);
        else if (call == PlayLogicWire::StreamError())
            play(m_named + 1);
        request.reply().setValue(QVariant());
        return true;
    }
    QStringList calls(const QString& name, const QString& field = QString())
    {
        QMutexLocker lock(&m_mutex);
        QStringList out;
        for (const auto& call : m_calls) {
            if (call.first == name)
                out << (field.isEmpty() ? QString() : call.second.value(field).toHash().value("title").toString());
        }
        return out;
    }
    QVariantHash lastCall(const QString& name)
    {
        QMutexLocker lock(&m_mutex);
        for (int i = m_calls.size() - 1; i >= 0; --i) {
            if (m_calls.at(i).first == name)
                return m_calls.at(i).second;
        }
        return {};
    }

private:
    void record(const QString& name, const QVariantHash& value)
    {
        QMutexLocker lock(&m_mutex);
        m_calls.append({name, value});
    }
    int indexOf(const QString& title) const
    {
        for (int i = 0; i < m_tracks.size(); ++i) {
            if (m_tracks.at(i).value("title") == title)
                return i;
        }
        return -1;
    }
    void send(const QString& command, const QVariantHash& fields)
    {
        QVariantHash value = fields;
        value.insert(PlayLogicWire::Command(), command);
        value.insert(PlayLogicWire::From(), "logic:pl");
        CMRoot()->sendSetData(CMSetDataRequest(KeloPlayerPlayLogicPath(), value, CMVoidReply()));
    }
    void play(int index)
    {
        m_named = index;
        send(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), index < m_tracks.size() ? m_tracks.at(index) : QVariantHash()}});
    }
    void announce(const QVariant& serial)
    {
        m_named = m_current + 1;
        if (m_current + 1 < m_tracks.size())
            send(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), m_tracks.at(m_current + 1)}, {PlayLogicWire::Serial(), serial}});
        else
            send(PlayLogicWire::NoNextMedia(), {{PlayLogicWire::Serial(), serial}});
    }

    QList<QVariantHash> m_tracks;
    int m_current = -1;  // the track that started last
    int m_named = -1;    // the track last named to the player, to play or to follow
    QMutex m_mutex;
    QList<QPair<QString, QVariantHash>> m_calls;
};

struct Sample
{
    qint64 at;  // ms since the start
    QString state, title;
    qint64 playTime;
};

class AudioPlayer : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QCoreApplication::instance())
            app = std::make_unique<QCoreApplication>(argc, argv);
        ASSERT_TRUE(dir.isValid());
        root = std::make_unique<CMRootWorker>();
    }
    void TearDown() override
    {
        playerThread.reset();
        logicThread.reset();
        root.reset();
    }
    QString file(const QString& name) const { return dir.filePath(name); }
    void startPlayer(const QList<QVariantHash>& tracks)
    {
        logicThread = std::make_unique<CMWorkerThread>([tracks] { return new ListLogic(tracks); });
        logic = static_cast<ListLogic*>(logicThread->worker());
        playerThread = std::make_unique<CMWorkerThread>([] {
            QString error;
            AudioOutput* output = AudioOutput::create(QStringLiteral("fakesink sync=true"), &error);
            EXPECT_TRUE(output) << error.toStdString();
            return new Player(output);
        });
        clock.start();
    }
    QVariantHash control(const QVariantHash& value, CMError* error = nullptr)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(KeloPlayerControlPath(), value, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer";
        if (error)
            *error = reply.error();
        return reply.variant().toHash();
    }
    void play(const QList<QVariantHash>& tracks, int index = 0)
    {
        control({{"control", "playContainer"}, {"trackRoles", tracks.at(index)}, {"index", index}});
    }
    QVariantHash state()
    {
        const CMReply<QVariant> reply;
        root->sendGetData(CMGetDataRequest(KeloPlayerStatePath(), {}, reply));
        EXPECT_TRUE(reply.waitForFinished(5000)) << "the player did not answer its state";
        return reply.value().toHash();
    }
    Sample sample()
    {
        const QVariantHash s = state();
        return {clock.elapsed(), s.value("state").toString(), s.value("trackRoles").toHash().value("title").toString(),
                s.value("playTime").toLongLong()};
    }
    // Samples the state every 10 ms until until() holds for a sample or timeoutMs passed.
    QList<Sample> watch(const std::function<bool(const Sample&)>& until, int timeoutMs)
    {
        QList<Sample> samples;
        const qint64 end = clock.elapsed() + timeoutMs;
        while (clock.elapsed() < end) {
            samples << sample();
            if (until(samples.last()))
                break;
            QThread::msleep(10);
        }
        return samples;
    }

    int argc = 1;
    char name[11] = "host_tests";
    char* argv[2] = {name, nullptr};
    std::unique_ptr<QCoreApplication> app;
    QTemporaryDir dir;
    std::unique_ptr<CMRootWorker> root;
    std::unique_ptr<CMWorkerThread> logicThread, playerThread;
    ListLogic* logic = nullptr;
    QElapsedTimer clock;
};

}  // namespace

TEST_F(AudioPlayer, ThreeFilesPlayThroughInOrderChangingTrackAtEachBoundaryWithoutAGap)
{
    ASSERT_TRUE(AudioFiles::writeWav(file("a.wav"), 2));
    ASSERT_TRUE(AudioFiles::writeEncoded(file("b.flac"), 2));
    ASSERT_TRUE(AudioFiles::writeEncoded(file("c.ogg"), 2));
    // The last one has no length in its roles: the stream tells it.
    const QList<QVariantHash> tracks = {track("A", file("a.wav"), 2), track("B", file("b.flac"), 2), track("C", file("c.ogg"))};
    startPlayer(tracks);
    play(tracks);
    const QList<Sample> samples = watch([](const Sample& s) { return s.state == "stopped" && s.title == "C"; }, 10000);
    ASSERT_EQ(samples.last().state, "stopped") << "the list did not end";
    EXPECT_EQ(logic->calls(PlayLogicWire::MediaPlaybackStarted(), PlayLogicWire::NewRoles()), QStringList({"A", "B", "C"}));

    // Where the shown track changes, the play time runs on from the end of one track into the next.
    QList<qint64> changes;
    qint64 startedAt = -1;
    for (int i = 1; i < samples.size(); ++i) {
        const Sample& before = samples.at(i - 1);
        const Sample& after = samples.at(i);
        if (startedAt < 0 && after.state == "playing" && after.playTime > 0)
            startedAt = after.at - after.playTime;
        if (before.title == after.title || after.title.isEmpty() || before.title.isEmpty())
            continue;
        changes << after.at - startedAt;
        EXPECT_GE(before.playTime, 1800) << before.title.toStdString() << " was left early";
        EXPECT_LT(after.playTime, 300) << after.title.toStdString() << " did not start at its beginning";
        EXPECT_LE(after.at - before.at, 150) << "a slow sample hides the boundary";
    }
    ASSERT_EQ(changes.size(), 2);
    EXPECT_NEAR(changes.at(0), 2000, 150);
    EXPECT_NEAR(changes.at(1), 4000, 200);
    const QVariantHash lastPlaying = logic->lastCall(PlayLogicWire::PrepareNextMedia());
    EXPECT_EQ(lastPlaying.value(PlayLogicWire::Serial()).toInt(), 3) << "C asked once for what follows it";
}

TEST_F(AudioPlayer, PauseHoldsThePlayTimeResumeRunsItOnAndSeekMovesIt)
{
    ASSERT_TRUE(AudioFiles::writeEncoded(file("long.flac"), 6));
    const QList<QVariantHash> tracks = {track("Long", file("long.flac"))};
    startPlayer(tracks);
    play(tracks);
    ASSERT_TRUE(watch([](const Sample& s) { return s.playTime >= 500; }, 5000).last().playTime >= 500);
    EXPECT_EQ(state().value("duration").toLongLong() / 100, 60) << "the stream tells the length the tags lack";

    control({{"control", "pause"}});
    const qint64 held = state().value("playTime").toLongLong();
    QThread::msleep(300);
    EXPECT_EQ(state().value("state"), "paused");
    EXPECT_NEAR(state().value("playTime").toLongLong(), held, 30);

    control({{"control", "resume"}});
    QThread::msleep(300);
    EXPECT_GT(state().value("playTime").toLongLong(), held + 200);

    control({{"control", "seek"}, {"ms", 4500}});
    const QList<Sample> after = watch([](const Sample& s) { return s.playTime >= 4500; }, 1000);
    EXPECT_GE(after.last().playTime, 4500);
    EXPECT_LT(after.last().playTime, 5200);
    EXPECT_EQ(after.last().state, "playing");
    ASSERT_EQ(watch([](const Sample& s) { return s.state == "stopped"; }, 3000).last().state, "stopped");
    EXPECT_EQ(logic->calls(PlayLogicWire::MediaPlaybackStarted()).size(), 1);
}

TEST_F(AudioPlayer, BrokenMissingAndUnreachableMediaAreReportedAtOnceAndSkipped)
{
    ASSERT_TRUE(AudioFiles::writeWav(file("a.wav"), 1));
    QFile text(file("not-audio.wav"));
    ASSERT_TRUE(text.open(QIODevice::WriteOnly));
    text.write(QByteArray(4000, 'x'));
    text.close();
    ASSERT_TRUE(AudioFiles::writeWav(file("c.wav"), 1));
    const QList<QVariantHash> tracks = {track("A", file("a.wav"), 1), track("Broken", file("not-audio.wav"), 1),
                                        track("Missing", file("missing.flac"), 1), track("Unreachable", "", 1),
                                        track("C", file("c.wav"), 1)};
    const auto events = CMEventHub::instance().subscribe();
    startPlayer(tracks);
    play(tracks);
    const QList<Sample> samples = watch([](const Sample& s) { return s.title == "C" && s.state == "stopped"; }, 5000);
    QStringList shown;  // what the page is told failed
    for (QVariantHash event; events->next(&event, 0);) {
        const QVariantHash error = event.value("value").toHash().value("error").toHash();
        if (event.value("path") == "player:state" && !error.isEmpty())
            shown << error.value("title").toString();
    }
    shown.removeDuplicates();
    EXPECT_EQ(shown, QStringList({"Broken", "Missing", "Unreachable"}));
    ASSERT_EQ(samples.last().title, "C") << "the list stuck before its last track";
    const auto c = std::find_if(samples.begin(), samples.end(), [](const Sample& s) { return s.title == "C"; });
    EXPECT_LT(c->at, 1000 + 1500) << "the broken media took more than a second";
    EXPECT_EQ(logic->calls(PlayLogicWire::StreamError()).size(), 3);
    EXPECT_EQ(logic->calls(PlayLogicWire::MediaPlaybackStarted(), PlayLogicWire::NewRoles()), QStringList({"A", "C"}))
        << "a file that does not open is no started track";
}

TEST_F(AudioPlayer, NextNearTheEndPlaysTheAnnouncedTrackOnce)
{
    ASSERT_TRUE(AudioFiles::writeWav(file("a.wav"), 2));
    ASSERT_TRUE(AudioFiles::writeWav(file("b.wav"), 1));
    ASSERT_TRUE(AudioFiles::writeWav(file("c.wav"), 1));
    const QList<QVariantHash> tracks = {track("A", file("a.wav"), 2), track("B", file("b.wav"), 1), track("C", file("c.wav"), 1)};
    startPlayer(tracks);
    play(tracks);
    const QList<Sample> before = watch([](const Sample& s) { return s.playTime >= 1900; }, 4000);
    ASSERT_TRUE(before.last().playTime >= 1900);
    control({{"control", "next"}});
    ASSERT_EQ(watch([](const Sample& s) { return s.state == "stopped" && s.title == "C"; }, 5000).last().state, "stopped");
    EXPECT_EQ(logic->calls(PlayLogicWire::MediaPlaybackStarted(), PlayLogicWire::NewRoles()), QStringList({"A", "B", "C"}));
}

TEST_F(AudioPlayer, TheVolumeIsCheckedKeptInTheSettingsAndTakenUpByTheNextPlayer)
{
    startPlayer({});
    EXPECT_EQ(state().value("volume").toInt(), Player::DefaultVolume);
    CMError error;
    control({{"control", "volume"}, {"level", 101}}, &error);
    EXPECT_EQ(error.Name(), CMError::BadRequestName());
    EXPECT_EQ(control({{"control", "volume"}, {"level", 35}}).value("volume").toInt(), 35);
    EXPECT_EQ(root->value(Player::volumePath()).i32_(), 35);
    playerThread.reset();
    playerThread = std::make_unique<CMWorkerThread>([] { return new Player(nullptr); });
    EXPECT_EQ(state().value("volume").toInt(), 35) << "a restarted player forgot the volume";
}

TEST(AudioOutputChoice, ASinkThatCannotBeBuiltOrOnlyDiscardsIsNoAudioOutput)
{
    QString why;
    EXPECT_FALSE(AudioOutput::probe(QStringLiteral("nosuchsink-kelo"), &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_TRUE(AudioOutput::probe(QStringLiteral("fakesink sync=true"), &why)) << why.toStdString();
}
