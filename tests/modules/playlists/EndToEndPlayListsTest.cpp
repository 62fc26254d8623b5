// kelo-host over HTTP: the playlist and collection commands, their answers and the file afterwards.
#include "EndToEndSupport.h"

using namespace pltest;

TEST_F(EndToEnd, APlaylistGoesThroughItsWholeLife)
{
    const HttpAnswer created = command("playlists:pl/create", QJsonObject{{"name", "Road Trip"}});
    ASSERT_TRUE(created.ok()) << created.errorMessage().toStdString();
    EXPECT_EQ(created.body["value"].toObject()["xclass"].toString(), QStringLiteral("KeloActionReply"));
    const int plid = created.result().toInt();
    ASSERT_GT(plid, 0);
    ASSERT_TRUE(add(plid, {"media:album/1"}).ok());
    const QStringList album = store().titles(plid);
    ASSERT_EQ(album.size(), 11);

    EXPECT_TRUE(command("playlists:pl/setname", QJsonObject{{"plid", plid}, {"name", "Long Trip"}}).result().toBool());
    EXPECT_TRUE(command("playlists:pl/setshuffle", QJsonObject{{"plid", plid}, {"mode", "on"}}).ok());
    EXPECT_TRUE(command("playlists:pl/setrepeat", QJsonObject{{"plid", plid}, {"mode", 2}}).ok());
    EXPECT_EQ(store().playlistRow(plid), QStringLiteral("Long Trip|1|1|-1"));
    EXPECT_TRUE(command("playlists:pl/setshuffle", QJsonObject{{"plid", plid}, {"mode", -1}}).ok());
    EXPECT_TRUE(command("playlists:pl/setrepeat", QJsonObject{{"plid", plid}, {"mode", 3}}).ok());
    EXPECT_EQ(store().playlistRow(plid), QStringLiteral("Long Trip|0|0|-1"));
    EXPECT_EQ(command("playlists:pl/setshuffle", QJsonObject{{"plid", plid}, {"mode", 2}}).errorMessage(),
              QStringLiteral("Could not set shuffle mode on playlist. Invalid shuffle mode. (shuffle-mode)"));
    EXPECT_EQ(command("playlists:pl/setrepeat", QJsonObject{{"plid", plid}, {"mode", "sometimes"}}).errorMessage(),
              QStringLiteral("Could not set repeat mode on playlist. Invalid repeat mode. (repeat-mode)"));

    EXPECT_TRUE(command("playlists:pl/moveitems", QJsonObject{{"plid", plid}, {"items", ints({10})}, {"to", 0}}).ok());
    EXPECT_EQ(store().titles(plid).first(), album.last());
    EXPECT_TRUE(command("playlists:pl/removeitems", QJsonObject{{"plid", plid}, {"items", ints({0, 1, 2})}}).ok());
    EXPECT_EQ(store().titles(plid), album.mid(2, 8));
    EXPECT_TRUE(store().gaps().isEmpty());

    EXPECT_TRUE(command("playlists:pl/clear", QJsonObject{{"plid", plid}}).ok());
    EXPECT_EQ(store().titles(plid), QStringList());
    EXPECT_TRUE(command("playlists:pl/delete", QJsonObject{{"plid", plid}}).ok());
    EXPECT_EQ(store().playlistRow(plid), QString());
    EXPECT_EQ(command("playlists:pl/delete", QJsonObject{{"plid", plid}}).errorMessage(),
              QStringLiteral("Could not delete playlist. There is no playlist with this ID. (%1)").arg(plid));
}

TEST_F(EndToEnd, CollectionsHoldPlaylistsUntilEitherGoes)
{
    const int a = createPlayList("A");
    const int b = createPlayList("B");
    const HttpAnswer created = command("playlists:cl/create", QJsonObject{{"name", "Favourites"}});
    ASSERT_TRUE(created.ok());
    const int clid = created.result().toInt();

    EXPECT_TRUE(command("playlists:cl/additem", QJsonObject{{"clid", clid}, {"plid", a}}).ok());
    EXPECT_TRUE(command("playlists:cl/additem", QJsonObject{{"clid", clid}, {"plid", b}}).ok());
    EXPECT_EQ(command("playlists:cl/additem", QJsonObject{{"clid", clid}, {"plid", b}}).errorMessage(),
              QStringLiteral("Could not add items to collection. Add playlist to collection failed."));
    EXPECT_TRUE(command("playlists:cl/removeitem", QJsonObject{{"clid", clid}, {"plid", a}}).ok());
    EXPECT_TRUE(command("playlists:pl/delete", QJsonObject{{"plid", b}}).ok());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM collections_playlists"), 0);
    EXPECT_EQ(command("playlists:cl/removeitem", QJsonObject{{"clid", clid}, {"plid", b}}).errorMessage(),
              QStringLiteral("Could not remove items from collection. There is no playlist with this ID. (%1)").arg(b));

    EXPECT_TRUE(command("playlists:cl/delete", QJsonObject{{"clid", clid}}).ok());
    EXPECT_EQ(command("playlists:cl/delete", QJsonObject{{"clid", clid}}).errorMessage(),
              QStringLiteral("Could not delete collection. There is no collection with this ID."));
    EXPECT_EQ(store().playlistRow(a), QStringLiteral("A|0|0|-1"));
}

TEST_F(EndToEnd, AddsComeFromTheMediaLibraryPlaylistEntriesAndOutside)
{
    const int source = createPlayList("Source");
    ASSERT_TRUE(add(source, {"media:track/1", "media:track/2", "media:track/3"}).ok());
    const QStringList sourceTitles = store().titles(source);
    const int target = createPlayList("Target");

    ASSERT_TRUE(add(target, {QStringLiteral("playlists:item/%1").arg(entryUid(source, 2))}).ok());
    ASSERT_TRUE(add(target, {QStringLiteral("playlists:pl/getitems/%1").arg(source)}, "append").ok());
    ASSERT_TRUE(command("playlists:pl/addexternalitems",
                        QJsonObject{{"plid", target}, {"items", QJsonArray{externalItem("Outside")}}, {"mode", 1}})
                    .ok());
    // Nothing was played yet, so "after current" appends like "append".
    EXPECT_EQ(store().titles(target), (QStringList{sourceTitles[2]} + sourceTitles + QStringList{"Outside"}));
    // Copies are entries of their own: the source keeps its entries.
    EXPECT_EQ(store().titles(source), sourceTitles);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 8);
}

TEST_F(EndToEnd, AMergeEmptiesTheSourceIntoTheTargetAndRemovesIt)
{
    const int source = createPlayList("Source");
    const int target = createPlayList("Target");
    ASSERT_TRUE(add(source, {"media:album/2"}).ok());
    ASSERT_TRUE(add(target, {"media:track/1"}).ok());
    const QStringList expected = store().titles(target) + store().titles(source);

    const HttpAnswer merged = command("playlists:pl/additems", QJsonObject{{"plid", target}, {"fromPlid", source}});
    ASSERT_TRUE(merged.ok()) << merged.errorMessage().toStdString();

    EXPECT_EQ(store().titles(target), expected);
    EXPECT_EQ(store().playlistRow(source), QString());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), expected.size());
}

TEST_F(EndToEnd, ARestartKeepsEverythingButThePlayQueue)
{
    const int a = createPlayList("Alpha");
    const int b = createPlayList("Beta");
    ASSERT_TRUE(add(a, {"media:album/3"}).ok());
    ASSERT_TRUE(add(b, {"media:track/5", "media:track/4"}).ok());
    ASSERT_TRUE(add(0, {"media:album/4"}).ok());
    ASSERT_TRUE(command("playlists:pl/moveitems", QJsonObject{{"plid", a}, {"items", ints({0, 1})}, {"to", 5}}).ok());
    ASSERT_TRUE(command("playlists:pl/setshuffle", QJsonObject{{"plid", b}, {"mode", 1}}).ok());
    ASSERT_TRUE(command("playlists:pl/setrepeat", QJsonObject{{"plid", a}, {"mode", "all"}}).ok());
    const int clid = command("playlists:cl/create", QJsonObject{{"name", "Both"}}).result().toInt();
    ASSERT_TRUE(command("playlists:cl/additem", QJsonObject{{"clid", clid}, {"plid", a}}).ok());
    const QStringList before = store().rows("SELECT uid, name, shuffle, repeatAll FROM playlists WHERE uid > 0 ORDER BY uid");
    const QStringList titlesA = store().titles(a);
    const QStringList titlesB = store().titles(b);
    EXPECT_FALSE(store().titles(0).isEmpty());

    ASSERT_TRUE(stop());
    start();

    EXPECT_EQ(store().rows("SELECT uid, name, shuffle, repeatAll FROM playlists WHERE uid > 0 ORDER BY uid"), before);
    EXPECT_EQ(store().titles(a), titlesA);
    EXPECT_EQ(store().titles(b), titlesB);
    EXPECT_EQ(store().rows("SELECT c.name, cp.playlist FROM collections c JOIN collections_playlists cp ON c.uid = cp.collection"),
              QStringList{QStringLiteral("Both|%1").arg(a)});
    EXPECT_EQ(store().titles(0), QStringList());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), titlesA.size() + titlesB.size());
    // The restarted module works on what it loaded.
    EXPECT_TRUE(command("playlists:pl/removeitems", QJsonObject{{"plid", a}, {"items", ints({0})}}).ok());
    EXPECT_EQ(store().titles(a), titlesA.mid(1));
}

TEST_F(EndToEnd, ThePlayCommandSaysPlaybackIsNotAvailableAndHasPublicPermission)
{
    const int plid = createPlayList("P");
    ASSERT_TRUE(add(plid, {"media:track/1"}).ok());
    const HttpAnswer play = command("playlists:pl/play", QJsonObject{{"plid", plid}});
    EXPECT_FALSE(play.ok());
    EXPECT_TRUE(play.errorMessage().contains(QStringLiteral("Playback is not available."))) << play.errorMessage().toStdString();
    const HttpAnswer permission = client->getData("playlists:pl/play", {"permission"});
    EXPECT_EQ(permission.body["value"].toArray(), QJsonArray{"publicReadWrite"});
}
