#include <QSet>

#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
QList<int> sorted(QList<int> values)
{
    std::sort(values.begin(), values.end());
    return values;
}
}  // namespace

TEST_F(DatabaseTest, CollectionsListByNameWithTheirMembersAndRenameKeepsThem)
{
    CollectionRecord jazz = db->createCollection(QStringLiteral("jazz"));
    const CollectionRecord blues1 = db->createCollection(QStringLiteral("blues"));
    const CollectionRecord blues2 = db->createCollection(QStringLiteral("blues"));
    ASSERT_GT(jazz.uid, 0);
    EXPECT_TRUE(jazz.playlists.isEmpty());
    const PlayListRecord a = db->createPlayList(QStringLiteral("a"));
    const PlayListRecord b = db->createPlayList(QStringLiteral("b"));
    ASSERT_TRUE(db->addToCollection(jazz, b.uid));
    ASSERT_TRUE(db->addToCollection(jazz, a.uid));
    EXPECT_EQ(db->countCollections(), 3);

    jazz.name = QStringLiteral("Ünïcode 'quoted'");
    ASSERT_TRUE(db->updateCollection(jazz));
    QList<CollectionRecord> all = db->getCollections();
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(QSet<int>({all[0].uid, all[1].uid}), QSet<int>({blues1.uid, blues2.uid}));
    EXPECT_EQ(all[0].name, QStringLiteral("blues"));
    EXPECT_TRUE(all[0].playlists.isEmpty());
    EXPECT_EQ(all[2].uid, jazz.uid);
    EXPECT_EQ(all[2].name, jazz.name);
    EXPECT_EQ(sorted(all[2].playlists), QList<int>({a.uid, b.uid}));
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
    unknown.name = QStringLiteral("x");
    EXPECT_FALSE(db->addToCollection(unknown, pl.uid));
    EXPECT_FALSE(db->updateCollection(unknown));
    EXPECT_FALSE(db->deleteCollection(unknown));
    EXPECT_EQ(store().rows(QStringLiteral("SELECT * FROM collections_playlists")),
              QStringList({QStringLiteral("%1|%2").arg(col.uid).arg(pl.uid)}));

    EXPECT_TRUE(db->removeFromCollection(col, pl.uid));
    EXPECT_FALSE(db->removeFromCollection(col, pl.uid));
    EXPECT_TRUE(db->getCollections().first().playlists.isEmpty());
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
    EXPECT_EQ(store().number(QStringLiteral("SELECT COUNT(*) FROM collections_playlists")), 1);
    EXPECT_EQ(db->getPlayLists().size(), 1);
}

TEST(DatabaseCollections, CommaSeparatedNumbersKeepTheirOrderAndDropWhatIsNoNumber)
{
    const QList<QPair<QString, QList<int>>> cases = {
        {"12,3,7", {12, 3, 7}}, {",5,,-2,", {5, -2}}, {"4,x,0x10,5", {4, 5}}, {"99999999999,1", {1}}, {QString(), {}}, {"", {}}};
    for (const auto& [text, numbers] : cases)
        EXPECT_EQ(Database::commaSeparateNumberToList(text), numbers) << text.toStdString();
}
