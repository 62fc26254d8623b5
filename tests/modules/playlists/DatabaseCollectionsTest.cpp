#include "DatabaseFixture.h"

TEST_F(DatabaseTest, CollectionsListByNameWithTheirMembers)
{
    const CollectionRecord jazz = db->createCollection(QStringLiteral("jazz"));
    const CollectionRecord blues1 = db->createCollection(QStringLiteral("blues"));
    const CollectionRecord blues2 = db->createCollection(QStringLiteral("blues"));
    ASSERT_GT(jazz.uid, 0);
    EXPECT_TRUE(jazz.playlists.isEmpty());
    const PlayListRecord a = db->createPlayList(QStringLiteral("a"));
    const PlayListRecord b = db->createPlayList(QStringLiteral("b"));
    ASSERT_TRUE(db->addToCollection(jazz, b.uid));
    ASSERT_TRUE(db->addToCollection(jazz, a.uid));

    const QList<CollectionRecord> all = db->getCollections();
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(all[0].name, QStringLiteral("blues"));
    EXPECT_EQ(all[1].name, QStringLiteral("blues"));
    EXPECT_NE(all[0].uid, all[1].uid);
    EXPECT_TRUE(all[0].playlists.isEmpty());
    EXPECT_EQ(all[2].uid, jazz.uid);
    QList<int> members = all[2].playlists;
    std::sort(members.begin(), members.end());
    EXPECT_EQ(members, QList<int>({a.uid, b.uid}));
    EXPECT_EQ(db->countCollections(), 3);
    Q_UNUSED(blues1);
    Q_UNUSED(blues2);
}

TEST_F(DatabaseTest, CollectionMembershipIsRefusedTwiceOrForUnknownRows)
{
    const CollectionRecord col = db->createCollection(QStringLiteral("c"));
    const PlayListRecord pl = db->createPlayList(QStringLiteral("p"));
    ASSERT_TRUE(db->addToCollection(col, pl.uid));
    EXPECT_FALSE(db->addToCollection(col, pl.uid));
    EXPECT_FALSE(db->addToCollection(col, 4711));
    CollectionRecord unknown;
    unknown.uid = 4711;
    EXPECT_FALSE(db->addToCollection(unknown, pl.uid));
    EXPECT_FALSE(db->deleteCollection(unknown));
    SqlProbe probe;
    EXPECT_EQ(probe.rows(QStringLiteral("SELECT * FROM collections_playlists")),
              QStringList({QStringLiteral("%1|%2").arg(col.uid).arg(pl.uid)}));

    EXPECT_TRUE(db->removeFromCollection(col, pl.uid));
    EXPECT_FALSE(db->removeFromCollection(col, pl.uid));
    EXPECT_TRUE(db->getCollections().first().playlists.isEmpty());
}

TEST_F(DatabaseTest, UpdatingACollectionChangesOnlyItsNameAndNeedsAKnownRow)
{
    CollectionRecord col = db->createCollection(QStringLiteral("old"));
    const CollectionRecord other = db->createCollection(QStringLiteral("other"));
    const PlayListRecord pl = db->createPlayList(QStringLiteral("p"));
    ASSERT_TRUE(db->addToCollection(col, pl.uid));
    col.name = QStringLiteral("Ünïcode 'quoted'");
    ASSERT_TRUE(db->updateCollection(col));
    CollectionRecord unknown;
    unknown.uid = 4711;
    unknown.name = QStringLiteral("x");
    EXPECT_FALSE(db->updateCollection(unknown));

    const QList<CollectionRecord> all = db->getCollections();
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all[0].uid, other.uid);
    EXPECT_EQ(all[0].name, QStringLiteral("other"));
    EXPECT_EQ(all[1].uid, col.uid);
    EXPECT_EQ(all[1].name, col.name);
    EXPECT_EQ(all[1].playlists, QList<int>({pl.uid}));
}

TEST_F(DatabaseTest, DeletingRowsCascadesToMemberships)
{
    const CollectionRecord one = db->createCollection(QStringLiteral("one"));
    const CollectionRecord two = db->createCollection(QStringLiteral("two"));
    const PlayListRecord gone = playlistWith(QStringLiteral("gone"), {"x"});
    const PlayListRecord stays = db->createPlayList(QStringLiteral("stays"));
    for (const CollectionRecord& col : {one, two}) {
        ASSERT_TRUE(db->addToCollection(col, gone.uid));
        ASSERT_TRUE(db->addToCollection(col, stays.uid));
    }
    ASSERT_TRUE(db->deletePlayList(gone));
    for (const CollectionRecord& col : db->getCollections())
        EXPECT_EQ(col.playlists, QList<int>({stays.uid})) << col.name.toStdString();

    ASSERT_TRUE(db->deleteCollection(one));
    SqlProbe probe;
    EXPECT_EQ(probe.intValue(QStringLiteral("SELECT COUNT(*) FROM collections_playlists")), 1);
    EXPECT_EQ(db->getPlayLists().size(), 1);
}

TEST(DatabaseCollections, CommaSeparatedNumbersKeepTheirOrderAndDropWhatIsNoNumber)
{
    EXPECT_EQ(Database::commaSeparateNumberToList(QStringLiteral("12,3,7")), QList<int>({12, 3, 7}));
    EXPECT_EQ(Database::commaSeparateNumberToList(QStringLiteral(",5,,-2,")), QList<int>({5, -2}));
    EXPECT_EQ(Database::commaSeparateNumberToList(QStringLiteral("4,x,0x10,5")), QList<int>({4, 5}));
    EXPECT_EQ(Database::commaSeparateNumberToList(QStringLiteral("99999999999,1")), QList<int>({1}));
    EXPECT_TRUE(Database::commaSeparateNumberToList(QString()).isEmpty());
    EXPECT_TRUE(Database::commaSeparateNumberToList(QStringLiteral("")).isEmpty());
}
