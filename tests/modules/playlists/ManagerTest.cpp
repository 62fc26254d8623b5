// PlayListManager and Collection against a real store: loading at start, the play queue emptied on
// every start, memberships across deletions, collection slices and the counts.
#include <QSignalSpy>

#include "Collection.h"
#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
class Manager : public ModelTest
{
protected:
    QStringList collectionNames(const QList<CollectionBase*>& collections)
    {
        QStringList result;
        for (CollectionBase* col : collections)
            result.append(col->getName());
        return result;
    }
};
}  // namespace

TEST_F(Manager, LoadsPlaylistsByNameAndCollectionsWithTheirMembers)
{
    PlayListBase* zulu = playlistWith(QStringLiteral("Zulu"), {"z"});
    PlayListBase* alpha = playlistWith(QStringLiteral("Alpha"), {"a1", "a2"});
    const int zuluUid = zulu->getUid();
    CollectionBase* mix = manager->createCollection(QStringLiteral("Mix"));
    ASSERT_TRUE(mix->addPlayList(zulu));
    ASSERT_TRUE(mix->addPlayList(alpha));

    reopen();

    ASSERT_EQ(manager->getAllPlayList().size(), 2);
    EXPECT_EQ(manager->getAllPlayList().at(0)->getName(), QStringLiteral("Alpha"));
    EXPECT_EQ(manager->getAllPlayList().at(0)->getSize(), 2);
    ASSERT_EQ(manager->getAllCollection().size(), 1);
    QList<int> members;
    for (PlayListBase* pl : manager->getAllCollection().first()->getPlayLists())
        members.append(pl->getUid());
    EXPECT_TRUE(members.contains(zuluUid));
    EXPECT_EQ(members.size(), 2);
    EXPECT_EQ(manager->getPlayListsCount(), 2);
    EXPECT_EQ(manager->getPlaylistsItemsCount(), 3);
    EXPECT_EQ(manager->getCollectionsCount(), 1);
}

TEST_F(Manager, EveryStartEmptiesThePlayQueueAndOnlyIt)
{
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks({"q1", "q2", "q3"}));
    playlistWith(QStringLiteral("Kept"), {"k"});

    reopen();

    EXPECT_EQ(manager->getPlayQueue()->getUid(), 0);
    EXPECT_EQ(manager->getPlayQueue()->getSize(), 0);
    EXPECT_EQ(manager->getPlayListByUid(0), manager->getPlayQueue());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM playlists_items WHERE playlist = 0"), 0);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 1);
}

TEST_F(Manager, AMembershipOfAVanishedPlaylistIsSkippedAtStart)
{
    PlayListBase* kept = playlistWith(QStringLiteral("Kept"), {});
    const int keptUid = kept->getUid();
    CollectionBase* col = manager->createCollection(QStringLiteral("Col"));
    ASSERT_TRUE(col->addPlayList(kept));
    close();
    {
        // A store written by a connection without foreign keys can hold a dangling membership.
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open("data-rw/playlists/playlists.sqlite", &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "INSERT INTO collections_playlists VALUES(1, 999);", nullptr, nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_close(db);
    }
    open();

    ASSERT_EQ(manager->getAllCollection().size(), 1);
    const QList<PlayListBase*> members = manager->getAllCollection().first()->getPlayLists();
    ASSERT_EQ(members.size(), 1);
    EXPECT_EQ(members.first()->getUid(), keptUid);
}

TEST_F(Manager, DeletingAPlaylistLeavesEveryCollectionFirst)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Shared"), {"a"});
    const int uid = pl->getUid();
    CollectionBase* one = manager->createCollection(QStringLiteral("One"));
    CollectionBase* two = manager->createCollection(QStringLiteral("Two"));
    ASSERT_TRUE(one->addPlayList(pl));
    ASSERT_TRUE(two->addPlayList(pl));

    QStringList order;
    QObject::connect(one, &CollectionBase::playlistRemoved, [&] { order.append("one"); });
    QObject::connect(two, &CollectionBase::playlistRemoved, [&] { order.append("two"); });
    QObject::connect(manager.get(), &PlayListManager::playlistDeleted, [&](int plid) {
        order.append(QStringLiteral("deleted %1").arg(plid));
        // A slot already sees the new state.
        EXPECT_EQ(manager->getPlayListByUid(plid), nullptr);
    });

    EXPECT_TRUE(manager->deletePlayList(uid));

    EXPECT_EQ(order, (QStringList{"one", "two", QStringLiteral("deleted %1").arg(uid)}));
    EXPECT_TRUE(one->getPlayLists().isEmpty());
    EXPECT_TRUE(two->getPlayLists().isEmpty());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 0);
    EXPECT_EQ(manager->getPlayListsCount(), 0);
}

TEST_F(Manager, ThePlayQueueCannotBeDeleted)
{
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks({"q"}));
    QSignalSpy deleted(manager.get(), &PlayListManager::playlistDeleted);
    EXPECT_FALSE(manager->deletePlayList(0));
    EXPECT_FALSE(manager->deletePlayList(4711));
    EXPECT_EQ(deleted.count(), 0);
    EXPECT_EQ(manager->getPlayQueue()->getSize(), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM playlists WHERE uid = 0"), 1);
}

TEST_F(Manager, CreationAndDeletionAreAnnouncedWithTheUid)
{
    QSignalSpy plCreated(manager.get(), &PlayListManager::playlistCreated);
    QSignalSpy clCreated(manager.get(), &PlayListManager::collectionCreated);
    QSignalSpy clDeleted(manager.get(), &PlayListManager::collectionDeleted);

    PlayListBase* pl = manager->createPlayList(QStringLiteral("Same"));
    PlayListBase* twin = manager->createPlayList(QStringLiteral("Same"));
    CollectionBase* col = manager->createCollection(QStringLiteral("C"));
    ASSERT_TRUE(pl && twin && col);
    ASSERT_TRUE(col->addPlayList(pl));
    const int clid = col->getUid();

    EXPECT_TRUE(manager->deleteCollection(clid));
    EXPECT_FALSE(manager->deleteCollection(clid));

    EXPECT_EQ(plCreated.count(), 2);
    EXPECT_EQ(plCreated.at(1).at(0).toInt(), twin->getUid());
    EXPECT_EQ(clCreated.at(0).at(0).toInt(), clid);
    ASSERT_EQ(clDeleted.count(), 1);
    EXPECT_EQ(clDeleted.at(0).at(0).toInt(), clid);
    // Deleting a collection leaves its playlists alone.
    EXPECT_EQ(manager->getPlayListByUid(pl->getUid()), pl);
    EXPECT_EQ(manager->getCollectionsCount(), 0);
}

TEST_F(Manager, CollectionPagesAreClampedAndOrdered)
{
    for (int i = 0; i < 10; ++i)
        manager->createCollection(QStringLiteral("c%1").arg(i));
    EXPECT_EQ(collectionNames(manager->getCollections(5, 2)), (QStringList{"c2", "c3", "c4", "c5"}));
    EXPECT_EQ(manager->getCollections(-3, 100).size(), 10);
    EXPECT_EQ(collectionNames(manager->getCollections(9, 9)), QStringList{"c9"});
}

TEST_F(Manager, CollectionMembershipChangesOnlyWhenTheStoreAgrees)
{
    PlayListBase* a = playlistWith(QStringLiteral("A"), {});
    PlayListBase* b = playlistWith(QStringLiteral("B"), {});
    CollectionBase* col = manager->createCollection(QStringLiteral("Col"));
    EXPECT_TRUE(col->valid());
    EXPECT_TRUE(col->getPlayLists().isEmpty());
    QSignalSpy added(col, &CollectionBase::playlistAdded);
    QSignalSpy removed(col, &CollectionBase::playlistRemoved);

    EXPECT_TRUE(col->addPlayList(a));
    EXPECT_TRUE(col->addPlayList(b));
    EXPECT_FALSE(col->addPlayList(a));
    EXPECT_EQ(added.count(), 2);
    EXPECT_EQ(col->getPlayLists(), (QList<PlayListBase*>{a, b}));

    EXPECT_TRUE(col->removePlayList(a));
    EXPECT_FALSE(col->removePlayList(a));
    EXPECT_EQ(removed.count(), 1);
    EXPECT_EQ(col->getPlayLists(), QList<PlayListBase*>{b});
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM collections_playlists"), 1);
}
