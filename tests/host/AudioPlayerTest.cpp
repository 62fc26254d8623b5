// The audio player at real time into "fakesink sync=true" (or into a file), driven by a small play
// logic that plays a list of the test's own audio files in order: track changes, gapless joins, pause,
// seek, broken and truncated files, a silent server, seeks near the end and a skip near the end.
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <algorithm>
#include <httplib.h>

#include "AudioFiles.h"
#include "CMEventHub.h"
#include "HostTest.h"
#include "PlayerFixture.h"
#include "player/AudioOutput.h"

namespace {

// A track of the file, or of an http server that refuses connections when file is empty.
QVariantHash track(const QString& title, const QString& file, int seconds = 0)
{
    const QString uri = file.isEmpty() ? QStringLiteral("http://127.0.0.1:1/none.ogg")
                                       : QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded);
    return trackRoles(title, uri, seconds);
}

// Plays tracks in order: the user's play starts the one at its index, the next media is the one after
// the playing track, next skips to it, and a stream error goes on with the one after the failed one.
class ListLogic : public RecordingLogic
{
public:
    explicit ListLogic(const QList<QVariantHash>& tracks) : m_tracks(tracks) {}

protected:
    void onCall(const QString& call, const QVariantHash& value) override
    {
        if (call == PlayLogicWire::Play())
            play(value.value(PlayLogicWire::Args()).toHash().value("index").toInt());
        else if (call == PlayLogicWire::MediaPlaybackStarted())
        {
            const QVariant title = value.value(PlayLogicWire::NewRoles()).toHash().value("title");
            m_current = int(std::find_if(m_tracks.begin(), m_tracks.end(), [&](const QVariantHash& t) { return t.value("title") == title; })
                            - m_tracks.begin());
        }
        else if (call == PlayLogicWire::PrepareNextMedia())
            announce(value.value(PlayLogicWire::Serial()));
        else if (call == PlayLogicWire::Next())
            play(m_current + 1);
        else if (call == PlayLogicWire::StreamError())
            play(m_named + 1);
    }

private:
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
};

// The bound of a wait for a state: it ends as soon as the state is seen.
constexpr int EventWaitMs = 15000;

struct Sample
{
    qint64 at;        // ms since the start, taken just before the state was asked for
    qint64 answered;  // and just after it came: the player read its play time in between
    QString state, title;
    qint64 playTime, duration;
};

class AudioPlayer : public PlayerFixture
{
protected:
    void SetUp() override
    {
        PlayerFixture::SetUp();
        ASSERT_TRUE(dir.isValid());
    }
    QString file(const QString& name) const { return dir.filePath(name); }
    // Writes a tone of the given length to the file named, in the format of its extension.
    QString audio(const QString& name, double seconds, int hz = 440) const
    {
        EXPECT_TRUE(AudioFiles::write(file(name), seconds, hz)) << name.toStdString();
        return file(name);
    }
    void startPlayer(const QList<QVariantHash>& tracks, const QString& sink = QStringLiteral("fakesink sync=true"))
    {
        const auto makePlayer = [sink]() -> CMAbstractWorker* {
            QString error;
            AudioOutput* output = AudioOutput::create(sink, &error);
            EXPECT_TRUE(output) << error.toStdString();
            return new Player(output);
        };
        logic = static_cast<ListLogic*>(startThreads([tracks] { return new ListLogic(tracks); }, makePlayer));
        clock.start();
    }
    void play(const QList<QVariantHash>& tracks, int index = 0)
    {
        control({{"control", "playContainer"}, {"trackRoles", tracks.at(index)}, {"index", index}});
    }
    Sample sample()
    {
        const qint64 at = clock.elapsed();
        const QVariantHash s = state();
        return {at, clock.elapsed(), s.value("state").toString(), s.value("trackRoles").toHash().value("title").toString(),
                s.value("playTime").toLongLong(), s.value("duration").toLongLong()};
    }
    // Samples the state every 10 ms until until() holds for a sample or timeoutMs passed.
    QList<Sample> watch(const std::function<bool(const Sample&)>& until, int timeoutMs = EventWaitMs)
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

    QList<Sample> untilStoppedAt(const QString& title)
    {
        return watch([title](const Sample& s) { return s.state == "stopped" && s.title == title; });
    }

    QTemporaryDir dir;
    ListLogic* logic = nullptr;
    QElapsedTimer clock;
};

}  // namespace

TEST_F(AudioPlayer, FilesFollowEachOtherIntoTheOutputOpenedOnceSampleForSample)
{
    // Each file is read whole long before its end, before the player knows what follows it. A sink
    // that was reopened for a track starts its file anew. The last one has no length in its roles: the
    // stream tells it.
    const QList<QVariantHash> tracks = {track("A", audio("a.wav", 1, 440), 1), track("B", audio("b.wav", 1.5, 660), 2),
                                        track("C", audio("c.wav", 0.5, 880))};
    startPlayer(tracks, QStringLiteral("audioconvert ! wavenc ! filesink sync=true location=\"%1\"").arg(file("out.wav")));
    play(tracks);
    const Sample last = untilStoppedAt("C").last();
    ASSERT_EQ(last.state, "stopped") << last.title.toStdString() << " still plays at " << last.playTime;
    EXPECT_EQ(logic->started(), QStringList({"A", "B", "C"}));
    EXPECT_EQ(logic->calls(PlayLogicWire::PrepareNextMedia()).size(), 3) << "each track asked once for what follows it";

    playerThread.reset();  // the file is complete once the pipeline is gone
    const QByteArray played = AudioFiles::wavData(file("out.wav"));
    const QByteArray sources = AudioFiles::wavData(file("a.wav")) + AudioFiles::wavData(file("b.wav")) +
                               AudioFiles::wavData(file("c.wav"));
    EXPECT_EQ(played.size(), sources.size()) << "the output holds " << played.size() / 16 << " ms of " << sources.size() / 16;
    EXPECT_TRUE(played == sources) << "the samples differ from the files'";
}

TEST_F(AudioPlayer, PauseHoldsThePlayTimeResumeRunsItOnAndSeekMovesIt)
{
    const QList<QVariantHash> tracks = {track("Long", audio("long.flac", 6))};
    startPlayer(tracks);
    play(tracks);
    ASSERT_GE(watch([](const Sample& s) { return s.playTime >= 500; }).last().playTime, 500);
    EXPECT_EQ(state().value("duration").toLongLong() / 100, 60) << "the stream tells the length the tags lack";

    control({{"control", "pause"}});
    const qint64 held = state().value("playTime").toLongLong();
    QThread::msleep(300);
    EXPECT_EQ(state().value("state"), "paused");
    EXPECT_NEAR(state().value("playTime").toLongLong(), held, 30);

    control({{"control", "resume"}});
    EXPECT_GT(watch([held](const Sample& s) { return s.playTime > held + 200; }).last().playTime, held + 200);

    // The play time moves to the seek's target and runs on from there: never past what the real time
    // since the seek allows.
    const qint64 seekAt = clock.elapsed();
    control({{"control", "seek"}, {"ms", 4500}});
    const Sample moved = watch([](const Sample& s) { return s.playTime >= 4500; }).last();
    EXPECT_GE(moved.playTime, 4500);
    EXPECT_LE(moved.playTime, 4500 + (moved.answered - seekAt) + 150);
    EXPECT_EQ(moved.state, "playing");
    const QList<Sample> rest = watch([](const Sample& s) { return s.state == "stopped"; });
    ASSERT_EQ(rest.last().state, "stopped") << "the stream did not end";
    ASSERT_GE(rest.size(), 2);
    EXPECT_GE(rest.at(rest.size() - 2).answered - seekAt, 1500 - 150) << "the end came before the rest was played";
    EXPECT_EQ(logic->calls(PlayLogicWire::MediaPlaybackStarted()).size(), 1);
}

TEST_F(AudioPlayer, BrokenMissingUnreachableAndTruncatedMediaAreReportedAtOnceOrPlayWhatTheyHold)
{
    ASSERT_TRUE(writeFile(file("not-audio.wav"), QByteArray(4000, 'x')));
    // The WAV's header still promises 2 s of which 1 s is there; the FLAC loses its second half.
    ASSERT_TRUE(QFile::resize(audio("cut.wav", 2), 44 + 16000));
    const QString cutFlac = audio("cut.flac", 2);
    ASSERT_TRUE(QFile::resize(cutFlac, QFileInfo(cutFlac).size() / 2));
    const QList<QVariantHash> tracks = {track("A", audio("a.wav", 1), 1), track("Broken", file("not-audio.wav"), 1),
                                        track("Missing", file("missing.flac"), 1), track("Unreachable", "", 1),
                                        track("CutWav", file("cut.wav"), 2), track("CutFlac", file("cut.flac"), 2),
                                        track("C", audio("c.wav", 1), 1)};
    const auto events = CMEventHub::instance().subscribe();
    startPlayer(tracks);
    play(tracks);
    const QList<Sample> samples = untilStoppedAt("C");
    ASSERT_EQ(samples.last().title, "C") << "the list stuck before its last track";
    QStringList shown;  // what the page is told failed
    for (QVariantHash event; events->next(&event, 0) == CMEventSubscriber::Event;) {
        const QVariantHash error = event.value("value").toHash().value("error").toHash();
        if (event.value("path") == "player:state" && !error.isEmpty())
            shown << error.value("title").toString();
    }
    shown.removeDuplicates();
    EXPECT_EQ(shown.mid(0, 3), QStringList({"Broken", "Missing", "Unreachable"}));
    // A lasts a second; a player or output that waited for a broken stream, or for an answer it already
    // had, would leave seconds of silence before CutWav.
    const auto cutWav = std::find_if(samples.begin(), samples.end(), [](const Sample& s) { return s.title == "CutWav"; });
    ASSERT_NE(cutWav, samples.end());
    EXPECT_LT(cutWav->at, 2500) << "the broken media held the player up";
    const auto afterWav = std::find_if(cutWav, samples.end(), [](const Sample& s) { return s.title != "CutWav"; });
    EXPECT_GE((afterWav - 1)->playTime, 800) << "the cut WAV ended before its second was played";

    const QStringList started = logic->started();
    EXPECT_EQ(started.count("CutFlac") + logic->calls(PlayLogicWire::StreamError()).size(), 4)
        << "the truncated FLAC neither played nor was reported, or both";
    QStringList expected = {"A", "CutWav", "C"};
    if (started.contains("CutFlac"))
        expected.insert(2, "CutFlac");
    EXPECT_EQ(started, expected) << "a file that does not open is no started track";
}

TEST_F(AudioPlayer, AnHttpServerThatNeverAnswersIsReportedAndTheListGoesOn)
{
    // Bound and listening but never accepting: the kernel takes connections into its backlog.
    httplib::Server server;
    const int port = server.bind_to_any_port("127.0.0.1");
    ASSERT_GT(port, 0);
    const QString silent = QStringLiteral("http://127.0.0.1:%1/radio.ogg").arg(port);
    const QList<QVariantHash> tracks = {trackRoles("Silent", silent), track("C", audio("c.wav", 1), 1)};
    startPlayer(tracks);
    play(tracks);
    // The wait outlasts the player's bound on a silent server, not the source's own minute.
    const QList<Sample> samples = untilStoppedAt("C");
    ASSERT_EQ(samples.last().title, "C") << "the silent server held the player up";
    EXPECT_EQ(logic->calls(PlayLogicWire::StreamError()).size(), 1);
    EXPECT_EQ(logic->started(), QStringList({"C"}));
}

TEST_F(AudioPlayer, SeeksAfterTheNextTrackWasHandedOverStillEndTheTrackAndPlayTheNextOnce)
{
    // A short WAV is read whole at once, so the pipeline takes B long before A's end; the seeks then
    // meet a pipeline that holds both.
    const QList<QVariantHash> tracks = {track("A", audio("a.wav", 2), 2), track("B", audio("b.wav", 1), 1)};
    startPlayer(tracks);
    play(tracks);
    ASSERT_EQ(watch([](const Sample& s) { return s.playTime >= 300; }).last().title, "A");
    control({{"control", "seek"}, {"ms", 1950}});
    ASSERT_EQ(watch([](const Sample& s) { return s.title == "B" && s.playTime >= 300; }).last().title, "B")
        << "A did not end after the seek to its end";
    control({{"control", "seek"}, {"ms", 100}});
    const Sample last = watch([](const Sample& s) { return s.state == "stopped"; }).last();
    EXPECT_EQ(last.state, "stopped") << "B did not end after the seek back";
    EXPECT_EQ(logic->started(), QStringList({"A", "B"}));
}

TEST_F(AudioPlayer, NextNearTheEndPlaysTheAnnouncedTrackOnceAndEachTrackIsShownAsItStarts)
{
    const QList<QVariantHash> tracks = {track("A", audio("a.wav", 2), 2), track("B", audio("b.wav", 1), 1), track("C", audio("c.wav", 1), 1)};
    // The skip must come in A's last 200 ms, where B is already being handed to the pipeline; a machine
    // too slow to sample that window gets another try.
    bool inWindow = false;
    for (int attempt = 0; attempt < 3 && !inWindow; ++attempt) {
        playerThread.reset();
        logicThread.reset();
        startPlayer(tracks);
        play(tracks);
        const Sample last = watch([](const Sample& s) { return (!s.title.isEmpty() && s.title != "A") || s.playTime >= 1800; }).last();
        inWindow = last.title == "A" && last.playTime < 2000 && last.state == "playing";
    }
    ASSERT_TRUE(inWindow) << "A's last 200 ms were never seen";
    const auto events = CMEventHub::instance().subscribe();
    control({{"control", "next"}});
    ASSERT_EQ(untilStoppedAt("C").last().state, "stopped");
    EXPECT_EQ(logic->started(), QStringList({"A", "B", "C"}));
    // The player shows the skipped-to and the following track within 150 ms of their start, as the
    // pipeline counts it.
    QStringList shown;
    for (QVariantHash event; events->next(&event, 0) == CMEventSubscriber::Event;) {
        const QVariantHash value = event.value("value").toHash();
        const QString title = value.value("trackRoles").toHash().value("title").toString();
        if (event.value("path") != "player:state" || title.isEmpty() || title == "A" || value.value("state") == "stopped"
            || (!shown.isEmpty() && shown.last() == title))
            continue;
        shown << title;
        EXPECT_LT(value.value("playTime").toLongLong(), 150) << title.toStdString() << " was shown late";
    }
    EXPECT_EQ(shown, QStringList({"B", "C"}));
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
