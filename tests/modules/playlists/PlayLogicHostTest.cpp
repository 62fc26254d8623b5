// Playing playlists end to end: kelo-host with the module and its simulated player, 50 times faster
// than real time, driven over HTTP as a user interface does, the player's state checked after each step.
#include "PlayLogicFixture.h"
#include "PlayLogicHost.h"

namespace {
constexpr int kLong = 3600;  // seconds: never ends during a test

int seqOf(const QVariantHash& s)
{
    return sequenceNumberOf(KeloHash(s.value("trackRoles").toHash()));
}
QString titleOf(const QVariantHash& s)
{
    return s.value("trackRoles").toHash().value("title").toString();
}
QString stateOf(const QVariantHash& s)
{
    return s.value("state").toString();
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

    QVariantHash command(const QString& path, const QVariantHash& value)
    {
        const QVariantHash answer = host->setData(path, value);
        EXPECT_FALSE(answer.contains("error")) << qPrintable(path) << " " << qPrintable(KeloJson::stringify(answer));
        return answer;
    }
    void control(const QVariantHash& value) { command("player:control", value); }
    // Adds a track per title; a uri prefix "fail:" makes tracks that cannot be opened.
    void add(int plid, const QStringList& titles, const QString& mode = "append", int seconds = kLong,
             const QString& uriPrefix = "demo://")
    {
        QVariantList items;
        for (const QString& title : titles) {
            const QVariantHash roles{{"type", 3}, {"title", title}, {"duration", seconds},
                                     {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uriPrefix + title}}}}}}};
            items << QVariantHash{{"title", title}, {"url", uriPrefix + title}, {"keloRoles", KeloJson::stringify(roles)}};
        }
        command("playlists:pl/addexternalitems", {{"plid", plid}, {"items", items}, {"mode", mode}});
    }
    int playlist(const QStringList& titles, int seconds = kLong)
    {
        const QVariantHash answer = command("playlists:pl/create", {{"name", "E2E"}});
        const int plid = answer.value("value").toHash().value("result").toHash().value("value").toHash().value("i32_").toInt();
        add(plid, titles, "append", seconds);
        return plid;
    }
    void play(int plid)
    {
        command("playlists:pl/play", {{"plid", plid}});
        waitFor([plid](const QVariantHash& s) {
            return stateOf(s) == "playing" && seqOf(s) == 0 &&
                   s.value("containerRoles").toHash().value("path") == QStringLiteral("playlists:pl/getitems/%1").arg(plid);
        });
    }
    QVariantHash waitFor(const std::function<bool(const QVariantHash&)>& done) { return host->waitForState(done); }
    QVariantHash playing(int seq)
    {
        return waitFor([seq](const QVariantHash& s) { return stateOf(s) == "playing" && seqOf(s) == seq; });
    }
    QVariantHash playing(const QString& title)
    {
        return waitFor([title](const QVariantHash& s) { return stateOf(s) == "playing" && titleOf(s) == title; });
    }
    QVariantHash stopped()
    {
        return waitFor([](const QVariantHash& s) { return stateOf(s) == "stopped"; });
    }

    static PlayerHost* host;
    static bool started;
};

PlayerHost* PlayLogicHost::host = nullptr;
bool PlayLogicHost::started = false;

TEST_F(PlayLogicHost, APlaylistPlaysToItsEnd)
{
    const int plid = playlist({"a0", "a1", "a2"}, 40);  // 0.8 s each
    command("playlists:pl/play", {{"plid", plid}});
    QStringList heard;
    const QVariantHash last = waitFor([&](const QVariantHash& s) {
        if (stateOf(s) == "playing" && !heard.contains(titleOf(s)))
            heard << titleOf(s);
        return stateOf(s) == "stopped" && titleOf(s) == "a2";
    });
    EXPECT_EQ(titleOf(last), "a2");
    EXPECT_EQ(heard, QStringList({"a0", "a1", "a2"}));
}

TEST_F(PlayLogicHost, PreviousGoesBackEarlyInATrackAndRestartsItLater)
{
    play(playlist({"b0", "b1", "b2"}));
    control({{"control", "next"}});
    control({{"control", "next"}});
    playing(2);
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 2000}});
    control({{"control", "previous"}});
    playing(1);
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 60000}});
    control({{"control", "previous"}});
    const QVariantHash restarted = waitFor([](const QVariantHash& s) { return stateOf(s) == "playing"; });
    EXPECT_EQ(seqOf(restarted), 1);
    EXPECT_LT(restarted.value("playTime").toInt(), 60000);
}

TEST_F(PlayLogicHost, AtTheEndOfATrackThePlayModeDecidesWhatFollows)
{
    play(playlist({"c0", "c1", "c2"}));
    control({{"control", "endOfTrack"}});
    playing(1);
    control({{"control", "playMode"}, {"mode", "repeatOne"}});
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 100000}});
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(seqOf(waitFor([](const QVariantHash& s) { return stateOf(s) == "playing" && s.value("playTime").toInt() < 100000; })), 1);
    control({{"control", "playMode"}, {"mode", 4}});
    control({{"control", "next"}});
    playing(2);
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(titleOf(playing(0)), "c0") << "repeat all wraps";
    control({{"control", "playMode"}, {"mode", 5}});
    EXPECT_EQ(waitFor([](const QVariantHash& s) { return s.value("playMode") == 5; }).value("playMode"), 5);
    QSet<int> heard{0};
    for (int i = 0; i < 2; ++i) {
        control({{"control", "next"}});
        heard << seqOf(waitFor([&](const QVariantHash& s) { return !heard.contains(seqOf(s)); }));
    }
    EXPECT_EQ(heard, QSet<int>({0, 1, 2})) << "shuffle plays every entry once";
    int status = 0;
    host->setData("player:control", QVariantHash{{"control", "playMode"}, {"mode", 6}}, &status);
    EXPECT_EQ(status, 400);
}

TEST_F(PlayLogicHost, RemovingThePlayingEntryPlaysTheNextOrStopsAtTheEnd)
{
    const int plid = playlist({"e0", "e1", "e2"});
    play(plid);
    control({{"control", "next"}});
    playing(1);
    command("playlists:pl/removeitems", {{"plid", plid}, {"items", QVariantList{1}}});
    EXPECT_EQ(seqOf(playing("e2")), 1);
    command("playlists:pl/removeitems", {{"plid", plid}, {"items", QVariantList{1}}});
    EXPECT_EQ(stateOf(stopped()), "stopped");
}

TEST_F(PlayLogicHost, ClearingOrDeletingThePlayingListStopsThePlayer)
{
    const int first = playlist({"f0", "f1"});
    play(first);
    command("playlists:pl/clear", {{"plid", first}});
    EXPECT_EQ(stateOf(stopped()), "stopped");
    const int second = playlist({"g0", "g1"});
    play(second);
    command("playlists:pl/delete", {{"plid", second}});
    EXPECT_EQ(stateOf(stopped()), "stopped");
}

TEST_F(PlayLogicHost, MovesRenumberThePlayingEntryAndAddsPlayAfterItOrAtOnce)
{
    const int plid = playlist({"h0", "h1", "h2"});
    play(plid);
    command("playlists:pl/moveitems", {{"plid", plid}, {"items", QVariantList{0}}, {"to", 2}});
    EXPECT_EQ(titleOf(playing(2)), "h0");
    command("playlists:pl/moveitems", {{"plid", plid}, {"items", QVariantList{1}}, {"to", 2}});
    EXPECT_EQ(titleOf(playing(1)), "h0");  // h1 h0 h2
    add(plid, {"after"}, "afterCurrent");
    control({{"control", "endOfTrack"}});
    EXPECT_EQ(seqOf(playing("after")), 2);
    add(plid, {"now"}, "now");
    EXPECT_EQ(seqOf(playing("now")), 3);
    control({{"control", "next"}});
    EXPECT_EQ(seqOf(playing("h2")), 4);
}

TEST_F(PlayLogicHost, ATrackThatCannotBeOpenedIsSkippedAndBadControlsAreRefused)
{
    const int plid = playlist({"j0"});
    add(plid, {"j1"}, "append", kLong, "fail:");
    add(plid, {"j2"});
    play(plid);
    control({{"control", "next"}});
    EXPECT_EQ(seqOf(playing("j2")), 2);
    for (const QVariantHash& bad : {QVariantHash{{"control", "fly"}}, QVariantHash{{"control", "seek"}, {"ms", "soon"}},
                                     QVariantHash{{"control", "playContainer"}, {"trackRoles", QVariantHash()}}}) {
        int status = 0;
        EXPECT_TRUE(host->setData("player:control", bad, &status).contains("error"));
        EXPECT_EQ(status, 400) << qPrintable(KeloJson::stringify(bad));
    }
}
