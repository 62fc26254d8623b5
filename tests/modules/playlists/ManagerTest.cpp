// PlayListManager and Collection against a real store: loading at start, the play queue emptied on
// every start, memberships across deletions, and collection pages.
#include <QSignalSpy>

#include "Collection.h"
#include "PlayListTestSupport.h"

using namespace pltest;

using Manager = ModelTest;

TEST_F(Manager, EveryStartLoadsThePlaylistsSkipsVanishedMembersAndEmptiesOnlyThePlayQueue)
{
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks({"q1", "q2"}));
    PlayListBase* zulu = playlistWith(QStringLiteral("Zulu"), {"z"});
    playlistWith(QStringLiteral("Alpha"), {"a1", "a2"});
    CollectionBase* col = manager->createCollection(QStringLiteral("Mix"));
    ASSERT_TRUE(col->addPlayList(zulu));
    const int clid = col->getUid();
    manager.reset();
    db.reset();
    // A connection without foreign keys can leave a membership of a vanished playlist behind.
    ASSERT_TRUE(store().exec(QStringLiteral("INSERT INTO collections_playlists VALUES(%1, 999);").arg(clid)));
    reopen();

    EXPECT_EQ(manager->getPlayQueue()->getSize(), 0);
    ASSERT_EQ(manager->getAllPlayList().size(), 2);
    EXPECT_EQ(manager->getAllPlayList().at(0)->getName(), QStringLiteral("Alpha"));
    EXPECT_EQ(manager->getAllPlayList().at(0)->getSize(), 2);
    ASSERT_EQ(manager->getAllCollection().size(), 1);
    EXPECT_EQ(manager->getAllCollection().first()->getPlayLists(), QList<PlayListBase*>{manager->getAllPlayList().at(1)});
    EXPECT_EQ(manager->getPlayListsCount(), 2);
    EXPECT_EQ(manager->getPlaylistsItemsCount(), 3);
}

TEST_F(Manager, DeletingAPlaylistLeavesEveryCollectionBeforeItIsAnnounced)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Shared"), {"a"});
    const int uid = pl->getUid();
    CollectionBase* one = manager->createCollection(QStringLiteral("One"));
    CollectionBase* two = manager->createCollection(QStringLiteral("Two"));
    ASSERT_TRUE(one->addPlayList(pl) && two->addPlayList(pl));
    QStringList order;
    QObject::connect(one, &CollectionBase::playlistRemoved, [&] { order.append("one"); });
    QObject::connect(two, &CollectionBase::playlistRemoved, [&] { order.append("two"); });
    QObject::connect(manager.get(), &PlayListManager::playlistDeleted, [&](int plid) {
        order.append(QString::number(plid));
        EXPECT_EQ(manager->getPlayListByUid(plid), nullptr);
    });

    EXPECT_FALSE(manager->deletePlayList(0));
    EXPECT_FALSE(manager->deletePlayList(4711));
    EXPECT_FALSE(manager->deleteCollection(4711));
    EXPECT_EQ(order, QStringList());
    EXPECT_TRUE(manager->deletePlayList(uid));

    EXPECT_EQ(order, (QStringList{"one", "two", QString::number(uid)}));
    EXPECT_TRUE(one->getPlayLists().isEmpty() && two->getPlayLists().isEmpty());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 0);
}

TEST_F(Manager, CollectionPagesAreClampedAndMembershipsChangeOnlyWhenTheStoreAgrees)
{
    for (int i = 0; i < 10; ++i)
        manager->createCollection(QStringLiteral("c%1").arg(i));
    const QList<CollectionBase*> all = manager->getAllCollection();
    EXPECT_EQ(manager->getCollections(5, 2), all.mid(2, 4));
    EXPECT_EQ(manager->getCollections(-3, 100), all);

    PlayListBase* a = playlistWith(QStringLiteral("A"), {});
    CollectionBase* col = all.first();
    QSignalSpy added(col, &CollectionBase::playlistAdded);
    QSignalSpy removed(col, &CollectionBase::playlistRemoved);
    EXPECT_TRUE(col->addPlayList(a));
    EXPECT_FALSE(col->addPlayList(a));
    EXPECT_TRUE(col->removePlayList(a));
    EXPECT_FALSE(col->removePlayList(a));
    EXPECT_EQ(added.count(), 1);
    EXPECT_EQ(removed.count(), 1);
    EXPECT_TRUE(col->getPlayLists().isEmpty());
}
