// Playing playlists end to end: kelo-host with the module and its simulated player, driven over HTTP
// as a user interface does, with the player's state checked after every step.
#include "PlayLogicFixture.h"
#include "PlayLogicHost.h"

namespace {
constexpr int kLong = 3600;  // seconds: does not end during a test, even 50 times faster
constexpr int kShort = 20;   // ends in 0.4 s at the test's speed

int seqOf(const QVariantHash& state)
{
    const KeloValue value(KeloHash(state.value("trackRoles").toHash().value("value").toHash()));
    return value.isI32_() ? value.i32_() : -1;
}
QString titleOf(const QVariantHash& state)
{
    return state.value("trackRoles").toHash().value("title").toString();
}
QString stateOf(const QVariantHash& state)
{
    return state.value("state").toString();
}
}  // namespace

class PlayLogicHost : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        host = new PlayerHost;
        started = host->start({"--player-speed", "50"});
    }
    static void TearDownTestSuite()
    {
        EXPECT_TRUE(host->stop()) << "the host stops cleanly";
        delete host;
    }
    void SetUp() override { ASSERT_TRUE(started) << "kelo-host did not start"; }

    static QVariantHash item(const QString& title, int seconds, const QString& uri)
    {
        const QVariantHash roles{{"type", 3}, {"title", title}, {"duration", seconds},
                                 {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uri}}}},
                                                            {"metaData", QVariantHash()}}}};
        return {{"title", title}, {"url", uri}, {"keloRoles", KeloJson::stringify(roles)}};
    }
    // Adds tracks "<prefix>0".. to the playlist at position mode; uris starting with "fail:" cannot be opened.
    void add(int plid, const QStringList& titles, const QString& mode = "append", int seconds = kLong,
             const QString& uriPrefix = "demo://")
    {
        QVariantList items;
        for (const QString& title : titles)
            items << item(title, seconds, uriPrefix + title);
        const QVariantHash answer =
            host->setData("playlists:pl/addexternalitems", QVariantHash{{"plid", plid}, {"items", items}, {"mode", mode}});
        ASSERT_FALSE(answer.contains("error")) << qPrintable(KeloJson::stringify(answer));
    }
    int playlist(const QStringList& titles, int seconds = kLong)
    {
        const QVariantHash answer = host->setData("playlists:pl/create", QVariantHash{{"name", "E2E"}});
        const int plid = answer.value("value").toHash().value("result").toHash().value("value").toHash().value("i32_").toInt();
        add(plid, titles, "append", seconds);
        return plid;
    }
    QVariantHash command(const QString& path, const QVariantHash& value)
    {
        const QVariantHash answer = host->setData(path, value);
        EXPECT_FALSE(answer.contains("error")) << qPrintable(path) << " " << qPrintable(KeloJson::stringify(answer));
        return answer;
    }
    // Plays the playlist and waits until its first track plays with the play logic's data.
    QVariantHash play(int plid)
    {
        command("playlists:pl/play", {{"plid", plid}});
        return waitFor(0, QString("playing"), plid);
    }
    // Waits until the player plays (or is in state) the entry seq of playlist plid (any, when -1).
    QVariantHash waitFor(int seq, const QString& state = "playing", int plid = -1)
    {
        return host->waitForState([&](const QVariantHash& s) {
            const bool inList = plid < 0 || s.value("containerRoles").toHash().value("path").toString() ==
                                                QStringLiteral("playlists:pl/getitems/%1").arg(plid);
            return inList && stateOf(s) == state && (seq < 0 || seqOf(s) == seq);
        });
    }
    QVariantHash waitForTitle(const QString& title)
    {
        return host->waitForState([&](const QVariantHash& s) { return titleOf(s) == title && stateOf(s) == "playing"; });
    }
    void control(const QVariantHash& value)
    {
        int status = 0;
        host->control(value, &status);
        EXPECT_EQ(status, 200) << qPrintable(value.value("control").toString());
    }

    static PlayerHost* host;
    static bool started;
};

PlayerHost* PlayLogicHost::host = nullptr;
bool PlayLogicHost::started = false;

TEST_F(PlayLogicHost, APlaylistPlaysToItsEndOnTheEventsStream)
{
    const int plid = playlist({"a0", "a1", "a2"}, kShort);
    host->watchEvents();
    command("playlists:pl/play", {{"plid", plid}});
    const QVariantHash last = waitFor(2, "stopped", plid);
    EXPECT_EQ(titleOf(last), QStringLiteral("a2"));
    QStringList heard;
    for (const QVariantHash& event : host->events()) {
        if (event.value("path") != "player:state" || event.value("change") != "value")
            continue;
        const QVariantHash state = event.value("value").toHash();
        if (stateOf(state) == "playing" && !heard.contains(titleOf(state)) && !titleOf(state).isEmpty())
            heard << titleOf(state);
    }
    EXPECT_EQ(heard, QStringList({"a0", "a1", "a2"}));
}

TEST_F(PlayLogicHost, NextAndPreviousFollowTheTimeLimit)
{
    const int plid = playlist({"b0", "b1", "b2", "b3"});
    play(plid);
    control({{"control", "next"}});
    waitFor(1);
    control({{"control", "next"}});
    waitFor(2);
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 2000}});
    control({{"control", "previous"}});
    waitFor(1);
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 60000}});
    EXPECT_EQ(host->state().value("playTime").toInt(), 60000);
    control({{"control", "previous"}});
    const QVariantHash restarted = host->waitForState([](const QVariantHash& s) { return stateOf(s) == "playing"; });
    EXPECT_EQ(seqOf(restarted), 1);
    EXPECT_LT(restarted.value("playTime").toInt(), 60000) << "the track restarted";
}

TEST_F(PlayLogicHost, EndOfTrackStartsWhatFollowsByThePlayMode)
{
    const int plid = playlist({"c0", "c1", "c2"});
    play(plid);
    control({{"control", "endOfTrack"}});
    waitFor(1);
    control({{"control", "playMode"}, {"mode", "repeatOne"}});
    host->waitForState([](const QVariantHash& s) { return s.value("playMode").toInt() == 2; });
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 100000}});
    control({{"control", "endOfTrack"}});
    const QVariantHash again = host->waitForState(
        [](const QVariantHash& s) { return stateOf(s) == "playing" && s.value("playTime").toInt() < 100000; });
    EXPECT_EQ(seqOf(again), 1) << "repeat one plays the track again";
    control({{"control", "playMode"}, {"mode", 4}});
    control({{"control", "next"}});
    waitFor(2);
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(titleOf(waitFor(0)), QStringLiteral("c0")) << "repeat all wraps";
    control({{"control", "playMode"}, {"mode", 0}});
    control({{"control", "next"}});
    control({{"control", "next"}});
    waitFor(2);
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(stateOf(waitFor(2, "stopped")), QStringLiteral("stopped"));
}

TEST_F(PlayLogicHost, PlayModeChangesReachThePlayerAndThePlaylist)
{
    const int plid = playlist({"d0", "d1", "d2", "d3", "d4"});
    play(plid);
    control({{"control", "playMode"}, {"mode", 5}});
    EXPECT_EQ(host->waitForState([](const QVariantHash& s) { return s.value("playMode").toInt() == 5; })
                  .value("playMode").toInt(), 5);
    QSet<int> heard{0};
    for (int i = 0; i < 4; ++i) {
        control({{"control", "next"}});
        heard << seqOf(host->waitForState([&](const QVariantHash& s) { return !heard.contains(seqOf(s)); }));
    }
    EXPECT_EQ(heard, QSet<int>({0, 1, 2, 3, 4})) << "shuffle plays every entry once";

    // The playlist keeps the flags: played again, it starts in the same mode.
    play(plid);
    EXPECT_EQ(host->waitForState([](const QVariantHash& s) { return s.value("playMode").toInt() == 5; })
                  .value("playMode").toInt(), 5);
    int status = 0;
    host->control({{"control", "playMode"}, {"mode", 6}}, &status);
    EXPECT_EQ(status, 400);
}

TEST_F(PlayLogicHost, RemovingThePlayingEntryPlaysOnOrStopsAtTheEnd)
{
    const int plid = playlist({"e0", "e1", "e2"});
    play(plid);
    control({{"control", "next"}});
    waitFor(1);
    command("playlists:pl/removeitems", {{"plid", plid}, {"items", QVariantList{1}}});
    EXPECT_EQ(titleOf(waitForTitle("e2")), QStringLiteral("e2"));
    EXPECT_EQ(seqOf(host->state()), 1);
    command("playlists:pl/removeitems", {{"plid", plid}, {"items", QVariantList{1}}});
    EXPECT_EQ(stateOf(waitFor(-1, "stopped")), QStringLiteral("stopped"));
}

TEST_F(PlayLogicHost, ClearingOrDeletingThePlayingListStopsThePlayer)
{
    const int first = playlist({"f0", "f1"});
    play(first);
    command("playlists:pl/clear", {{"plid", first}});
    EXPECT_EQ(stateOf(waitFor(-1, "stopped")), QStringLiteral("stopped"));

    const int second = playlist({"g0", "g1"});
    play(second);
    command("playlists:pl/delete", {{"plid", second}});
    EXPECT_EQ(stateOf(waitFor(-1, "stopped")), QStringLiteral("stopped"));
}

TEST_F(PlayLogicHost, MovingThePlayingEntryRenumbersItInThePlayersState)
{
    const int plid = playlist({"h0", "h1", "h2", "h3"});
    play(plid);
    command("playlists:pl/moveitems", {{"plid", plid}, {"items", QVariantList{0}}, {"to", 3}});
    const QVariantHash moved = waitFor(3);
    EXPECT_EQ(titleOf(moved), QStringLiteral("h0"));
    command("playlists:pl/moveitems", {{"plid", plid}, {"items", QVariantList{2}}, {"to", 3}});
    EXPECT_EQ(titleOf(waitFor(2)), QStringLiteral("h0"));
    control({{"control", "next"}});
    EXPECT_EQ(titleOf(waitFor(3)), QStringLiteral("h3")) << "next follows the new order";
}

TEST_F(PlayLogicHost, AddingAfterCurrentPlaysNextAndAddingNowPlaysAtOnce)
{
    const int plid = playlist({"i0", "i1"});
    play(plid);
    add(plid, {"after"}, "afterCurrent");
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(seqOf(waitForTitle("after")), 1);
    add(plid, {"now"}, "now");
    EXPECT_EQ(seqOf(waitForTitle("now")), 2);
    control({{"control", "next"}});
    EXPECT_EQ(seqOf(waitForTitle("i1")), 3);
}

TEST_F(PlayLogicHost, ATrackThatCannotBeOpenedIsSkipped)
{
    const int plid = playlist({"j0"});
    add(plid, {"j1"}, "append", kLong, "fail:");
    add(plid, {"j2"});
    play(plid);
    control({{"control", "next"}});
    EXPECT_EQ(seqOf(waitForTitle("j2")), 2);
    control({{"control", "streamError"}, {"code", 7}});
    EXPECT_EQ(stateOf(waitFor(-1, "stopped")), QStringLiteral("stopped")) << "nothing follows the failed last track";
}

TEST_F(PlayLogicHost, MalformedControlsAreRefused)
{
    for (const QVariantHash& value : {QVariantHash{{"control", "fly"}}, QVariantHash{{"control", "seek"}, {"ms", "soon"}},
                                       QVariantHash{{"control", "playContainer"}, {"trackRoles", 5}},
                                       QVariantHash{{"control", "playContainer"}, {"trackRoles", QVariantHash()}}}) {
        int status = 0;
        const QVariantHash answer = host->control(value, &status);
        EXPECT_EQ(status, 400) << qPrintable(KeloJson::stringify(value));
        EXPECT_TRUE(answer.contains("error"));
    }
}
