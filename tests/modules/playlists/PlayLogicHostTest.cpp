// A playlist played by kelo-host's own simulated player, 50 times faster than real time, driven over
// HTTP as a user interface does. What follows what is decided by the play logic and checked on the
// model; here the player's calls cross the plug-in's boundary: the next media asked for before the
// end, and a track that cannot be opened.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

#include "HostProcess.h"
#include "KeloJson.h"

TEST(PlayLogicHost, APlaylistPlaysToItsEndPassingOverATrackThatCannotBeOpened)
{
    QTemporaryDir dir;
    HostProcess host;
    ASSERT_TRUE(host.start(dir.path(), {"--plugin", HostProcess::playlistsModule(), "--player-speed", "50"}))
        << host.errorOutput().toStdString();
    const auto command = [&host](const QString& path, const QVariantHash& value) {
        QVariantHash answer;
        const int status = host.post("/api/setData", jsonText(QVariantHash{{"path", path}, {"value", value}}), &answer);
        EXPECT_EQ(status, 200) << path.toStdString() << " " << KeloJson::stringify(answer).toStdString();
        return answer.value("value").toHash().value("result").toHash().value("value").toHash();
    };
    const int plid = command("playlists:pl/create", {{"name", "Played"}}).value("i32_").toInt();
    QVariantList items;
    for (const QString uri : {"demo://a0", "fail:a1", "demo://a2"}) {  // 0.8 s each; "fail:" cannot be opened
        const QVariantHash roles{{"type", 3}, {"title", uri}, {"duration", 40},
                                 {"mediaData", QVariantHash{{"resources", QVariantList{QVariantHash{{"uri", uri}}}}}}};
        items << QVariantHash{{"title", uri}, {"url", uri}, {"keloRoles", KeloJson::stringify(roles)}};
    }
    command("playlists:pl/addexternalitems", {{"plid", plid}, {"items", items}, {"mode", "append"}});
    command("playlists:pl/play", {{"plid", plid}});

    // The player's state, polled until it stopped after the last track or 20 s passed.
    QStringList heard;
    QVariantHash state;
    QElapsedTimer timer;
    timer.start();
    do {
        QThread::msleep(10);
        QVariantHash answer;
        host.post("/api/getData", R"({"path":"player:state"})", &answer);
        state = answer.value("value").toHash();
        const QString title = state.value("trackRoles").toHash().value("title").toString();
        if (state.value("state") == "playing" && !heard.contains(title))
            heard << title;
    } while (!(state.value("state") == "stopped" && heard.contains("demo://a2")) && timer.elapsed() < 20000);
    EXPECT_EQ(state.value("state"), "stopped");
    EXPECT_EQ(heard, QStringList({"demo://a0", "demo://a2"}));
}
