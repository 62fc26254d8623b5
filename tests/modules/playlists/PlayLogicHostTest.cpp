// A playlist played by kelo-host's own simulated player, 50 times faster than real time, driven over
// HTTP as a user interface does. What follows what is decided by the play logic and checked on the
// model; here the player's calls cross the plug-in's boundary: the next media asked for before the
// end, a track that cannot be opened, and the play time that previous goes by.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>

#include "../../host/HostProcess.h"
#include "KeloJson.h"

namespace {
QString titleOf(const QVariantHash& state)
{
    return state.value("trackRoles").toHash().value("title").toString();
}
bool playing(const QVariantHash& state, const QString& title)
{
    return state.value("state") == "playing" && titleOf(state) == title;
}

class PlayLogicHost : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        const QStringList options{"--plugin", HostProcess::libDir() + "/libkelo_playlists.so", "--player-speed", "50"};
        ASSERT_TRUE(host.start(dir.path(), options)) << host.errorOutput().toStdString();
    }
    QVariantHash command(const QString& path, const QVariantHash& value)
    {
        QVariantHash answer;
        const int status = host.post("/api/setData", jsonText(QVariantHash{{"path", path}, {"value", value}}), &answer);
        EXPECT_EQ(status, 200) << path.toStdString() << " " << KeloJson::stringify(answer).toStdString();
        return answer;
    }
    // A playlist of tracks of that many seconds each; a uri "fail:..." cannot be opened.
    int playlist(const QStringList& uris, int seconds)
    {
        const QVariantHash created = command("playlists:pl/create", {{"name", "Played"}});
        const int plid = created.value("value").toHash().value("result").toHash().value("value").toHash().value("i32_").toInt();
        QVariantList items;
        for (const QString& uri : uris) {
            const QVariantHash roles{{"type", 3}, {"title", uri}, {"duration", seconds},
                                     {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uri}}}}}}};
            items << QVariantHash{{"title", uri}, {"url", uri}, {"keloRoles", KeloJson::stringify(roles)}};
        }
        command("playlists:pl/addexternalitems", {{"plid", plid}, {"items", items}, {"mode", "append"}});
        return plid;
    }
    void control(const QVariantHash& value) { command("player:control", value); }
    // Polls the player's state until done(state) holds or 20 s passed; the last state seen.
    QVariantHash waitFor(const std::function<bool(const QVariantHash&)>& done)
    {
        QElapsedTimer timer;
        timer.start();
        QVariantHash state;
        do {
            QThread::msleep(10);
            QVariantHash answer;
            host.post("/api/getData", R"({"path":"player:state"})", &answer);
            state = answer.value("value").toHash();
        } while (!done(state) && timer.elapsed() < 20000);
        return state;
    }

    QTemporaryDir dir;
    HostProcess host;
};
}  // namespace

TEST_F(PlayLogicHost, APlaylistPlaysToItsEndPassingOverATrackThatCannotBeOpened)
{
    command("playlists:pl/play", {{"plid", playlist({"demo://a0", "fail:a1", "demo://a2"}, 40)}});  // 0.8 s each
    QStringList heard;
    const QVariantHash last = waitFor([&](const QVariantHash& s) {
        if (s.value("state") == "playing" && !heard.contains(titleOf(s)))
            heard << titleOf(s);
        return s.value("state") == "stopped" && titleOf(s) == "demo://a2";
    });
    EXPECT_EQ(titleOf(last), "demo://a2");
    EXPECT_EQ(heard, QStringList({"demo://a0", "demo://a2"}));
}

TEST_F(PlayLogicHost, PreviousGoesBackEarlyInATrackAndRestartsItLater)
{
    command("playlists:pl/play", {{"plid", playlist({"demo://b0", "demo://b1"}, 3600)}});
    control({{"control", "next"}});
    ASSERT_TRUE(playing(waitFor([](const QVariantHash& s) { return playing(s, "demo://b1"); }), "demo://b1"));
    control({{"control", "pause"}});
    control({{"control", "seek"}, {"ms", 60000}});
    control({{"control", "previous"}});
    const QVariantHash restarted = waitFor([](const QVariantHash& s) { return s.value("state") == "playing"; });
    EXPECT_EQ(titleOf(restarted), "demo://b1");
    EXPECT_LT(restarted.value("playTime").toInt(), 60000);
    control({{"control", "previous"}});
    EXPECT_TRUE(playing(waitFor([](const QVariantHash& s) { return playing(s, "demo://b0"); }), "demo://b0"));
}
