// Adding from browse paths through the worker: prepare requests to the media worker and to the
// module itself, failing prepare replies, merges, and the items limit.
#include "WorkerTestSupport.h"

using namespace pltest;

namespace {
QVariantList paths(const QStringList& encoded)
{
    QVariantList list;
    for (const QString& path : encoded)
        list.append(path);
    return list;
}
}  // namespace

TEST_F(WorkerTest, TracksFromTheMediaLibraryAndFromPlaylistEntriesAreAddedInOrder)
{
    const int source = playlistWith("Source", {"s0", "s1"});
    const int target = createPlayList("Target");
    const QString entry = (KeloPlayListItemPath() + store().number(QStringLiteral(
                               "SELECT item FROM playlists_items WHERE playlist = %1 AND sequenceNumber = 1").arg(source)))
                              .toEncoded();

    const Answer answer = command(KeloPlayListPlAddItemsPath(),
                                  args({{"plid", target},
                                        {"items", paths({"media:track/m1", entry, "media:track/m2"})},
                                        {"mode", 2}}));

    ASSERT_TRUE(answer.ok) << answer.message.toStdString();
    EXPECT_TRUE(answer.value.bool_());
    // Items come back grouped by the owner of their paths, in the order the owners were first named.
    EXPECT_EQ(store().titles(target), (QStringList{"m1", "m2", "s1"}));
    EXPECT_EQ(store().titles(source), (QStringList{"s0", "s1"}));
}

TEST_F(WorkerTest, AFailedPrepareReplyIsSkippedAndTheRestAdded)
{
    const int target = createPlayList("Target");
    const Answer partly = command(KeloPlayListPlAddItemsPath(),
                                  args({{"plid", target}, {"items", paths({"nowhere:track/1", "media:track/ok"})}}));
    EXPECT_TRUE(partly.ok);
    EXPECT_EQ(store().titles(target), QStringList{"ok"});

    const Answer none = command(KeloPlayListPlAddItemsPath(),
                                args({{"plid", target}, {"items", paths({"nowhere:track/1", "playlists:item/424242"})}}));
    EXPECT_EQ(none.message, QStringLiteral("Could not add items to playlist. No items were added. (No playitem found.)"));
    const Answer gone = command(KeloPlayListPlAddItemsPath(), args({{"plid", 5555}, {"items", paths({"media:track/x"})}}));
    EXPECT_EQ(gone.message, QStringLiteral("Could not add items to playlist. No items were added. "
                                           "(There is no playlist with this ID. (5555))"));
    EXPECT_EQ(store().titles(target), QStringList{"ok"});
}

TEST_F(WorkerTest, AMergeMovesTheEntriesAndRemovesTheSource)
{
    const int source = playlistWith("Source", {"s0", "s1", "s2"});
    const int target = playlistWith("Target", {"t0"});
    const int clid = command(KeloPlayListClCreatePath(), args({{"name", "Col"}})).value.i32_();
    command(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", source}}));

    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(), args({{"plid", target}, {"fromPlid", source}})).ok);

    EXPECT_EQ(store().titles(target), (QStringList{"t0", "s0", "s1", "s2"}));
    EXPECT_EQ(store().playlistRow(source), QString());
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM collections_playlists"), 0);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 4);
}

TEST_F(WorkerTest, MergingIntoItselfOrFromThePlayQueueKeepsTheSource)
{
    const int self = playlistWith("Self", {"a", "b"});
    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(), args({{"plid", self}, {"fromPlid", self}})).ok);
    EXPECT_EQ(store().titles(self), (QStringList{"a", "b", "a", "b"}));

    command(KeloPlayListPlAddExternalItemsPath(), args({{"plid", 0}, {"items", itemList(tracks({"q"}))}}));
    const int target = createPlayList("FromQueue");
    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(), args({{"plid", target}, {"fromPlid", 0}})).ok);
    EXPECT_EQ(store().titles(target), QStringList{"q"});
    EXPECT_EQ(store().titles(0), QStringList{"q"});
}

TEST_F(WorkerTest, AnAddIntoAFullStoreIsAnsweredAsASuccessThatAddedNothing)
{
    stop();
    root.setInitialValue(KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(3));
    start();
    const int target = playlistWith("Full", {"a", "b"});

    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(),
                        args({{"plid", target}, {"items", paths({"media:track/c", "media:track/d"})}}))
                    .ok);
    EXPECT_EQ(store().titles(target), (QStringList{"a", "b", "c"}));
    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(), args({{"plid", target}, {"items", paths({"media:track/e"})}})).ok);
    EXPECT_EQ(store().titles(target), (QStringList{"a", "b", "c"}));
}

TEST_F(WorkerTest, AddingNowPlacesTheItemsBehindTheLastPlayedEntry)
{
    const int target = playlistWith("Now", {"a", "b", "c"});
    QMetaObject::invokeMethod(
        worker(), [this, target] { worker()->getManager()->getPlayListByUid(target)->setLastSequenceNumber(0); },
        Qt::BlockingQueuedConnection);
    EXPECT_TRUE(command(KeloPlayListPlAddItemsPath(),
                        args({{"plid", target}, {"items", paths({"media:track/n"})}, {"mode", "now"}}))
                    .ok);
    EXPECT_EQ(store().titles(target), (QStringList{"a", "n", "b", "c"}));
}
