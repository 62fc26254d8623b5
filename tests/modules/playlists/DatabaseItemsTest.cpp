#include "PlayListTestSupport.h"

using namespace pltest;

TEST_F(DatabaseTest, ItemsKeepEveryFieldAndAreFoundByUid)
{
    const PlayListRecord pl = playlistWith(QStringLiteral("p"), {"first"});
    KeloPlayListItem item = track(QStringLiteral("full"));
    item.setArtist(QStringLiteral("Artist \u00e9"));
    item.setAlbum(QStringLiteral("Album"));
    item.setArtworkUrl(QStringLiteral("http://art/1.jpg"));
    item.setGenre(QStringLiteral("Jazz"));
    item.setDurationSeconds(245);
    item.setKeloRoles(QStringLiteral("{\"x\":1}"));
    PlayListRecord current = pl;
    current.size = 1;
    ASSERT_EQ(db->addItems(current, KeloPlayListAddPosition::Append, {item}), 1);

    const QList<KeloPlayListItem> stored = db->getItems(current, 1, 1);
    ASSERT_EQ(stored.size(), 1);
    const KeloPlayListItem& back = stored.first();
    EXPECT_EQ(back.sequenceNumber(), 1);
    for (const char* key : {"title", "artist", "album", "artworkUrl", "genre", "durationSeconds", "url", "serviceId",
                            "keloRoles"})
        EXPECT_EQ(back.hash().value(QLatin1String(key)).toString(), item.hash().value(QLatin1String(key)).toString())
            << key;

    const KeloPlayListItem byUid = db->getItemByUid(back.uid());
    EXPECT_EQ(byUid.title(), QStringLiteral("full"));
    EXPECT_EQ(byUid.sequenceNumber(), 1);
    EXPECT_FALSE(db->getItemByUid(back.uid() + 100).isValid());
}

// Where adds land and how removals renumber is compared with a plain list model elsewhere;
// here are the inputs that model never makes.
TEST_F(DatabaseTest, InputsTheListModelNeverMakesAreRefusedOrLandAtTheEnd)
{
    const PlayListRecord empty = db->createPlayList(QStringLiteral("empty"));
    EXPECT_EQ(db->addItems(empty, 3, tracks({"x", "y", "z"})), 0);
    EXPECT_EQ(db->getNextSequenceNumber(empty), 3);

    PlayListRecord pl = playlistWith(QStringLiteral("five"), {"a", "b", "c", "d", "e"});
    pl.lastPlayedIndex = 1;
    EXPECT_EQ(db->addItems(pl, 3, tracks({"refused"})), -1);
    EXPECT_EQ(db->removeItems(pl, {0, 9}), -1);
    EXPECT_EQ(store().titles(pl.uid), QStringList({"a", "b", "c", "d", "e"}));
    EXPECT_EQ(db->countPlaylistsItems(), 8);

    pl.lastPlayedIndex = pl.size;  // its entry was removed
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::AfterCurrent, tracks({"n"})), 5);
    EXPECT_TRUE(store().gaps().isEmpty());
    PlayListRecord missing = empty;
    missing.uid = 999;
    EXPECT_FALSE(db->updatePlayList(missing));
    EXPECT_FALSE(db->deletePlayList(db->getPlayQueue()));
}

TEST_F(DatabaseTest, TheItemsLimitCutsTheListFromTheBack)
{
    reopen(10);
    PlayListRecord pl = playlistWith(QStringLiteral("p"), {"0", "1", "2", "3", "4", "5"});
    const PlayListRecord other = playlistWith(QStringLiteral("q"), {"q0", "q1"});  // the limit counts every list
    int added = -1;
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"A", "B", "C", "D", "E"}), &added), 6);
    EXPECT_EQ(added, 2);
    EXPECT_EQ(store().titles(pl.uid), QStringList({"0", "1", "2", "3", "4", "5", "A", "B"}));
    pl.size = 8;

    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"F"}), &added), -2);
    EXPECT_EQ(added, 0);
    EXPECT_EQ(db->countPlaylistsItems(), 10);

    // A store already above a lowered limit is not cut at all.
    reopen(0);
    ASSERT_EQ(db->addItems(other, KeloPlayListAddPosition::Append, tracks({"q2", "q3"})), 2);
    reopen(10);
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"V", "W", "X", "Y", "Z"}), &added), 8);
    EXPECT_EQ(added, 5);
    EXPECT_EQ(db->countPlaylistsItems(), 17);

    // Without a limit only an empty list is refused.
    reopen(0);
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, {}, &added), -2);
    EXPECT_EQ(added, 0);
}
