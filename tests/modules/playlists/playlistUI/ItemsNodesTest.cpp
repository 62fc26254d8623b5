// The list of playlists and the track lists of a playlist and of the play queue.
#include "BrowseFixture.h"
#include "playlistUI/playlist/PlayListGetItemsNode.h"
#include "playlistUI/playlist/PlayListGetListNode.h"
#include "playlistUI/playqueue/PlayQueueGetItemsNode.h"

using namespace browsetest;

namespace {
class ItemsNodesTest : public BrowseTest
{
protected:
    PlayListGetItemsNode* itemsNode(PlayListBase* pl)
    {
        return make<PlayListGetItemsNode>(KeloPlayListPlGetItemsPath() + pl->getUid());
    }
};
}  // namespace

TEST_F(ItemsNodesTest, PlayListListCreatesThroughTheRootAndDoesNotMarkRowsPlayable)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"));
    const KeloRowsRoles reply = rows(make<PlayListGetListNode>(KeloPlayListPlGetlistPath()), "playlists:pl/getlist");
    EXPECT_EQ(titles(reply), (QStringList{"Create new playlist", "Mix"}));
    EXPECT_EQ(types(reply), (QList<int>{101, 1}));
    EXPECT_EQ(row(reply, 0).path().toEncoded(), QStringLiteral("playlists:?action=createPl"));
    const KeloRoles mixRow = row(reply, 1);
    EXPECT_FALSE(mixRow.contains(KeloRoles::ContainerPlayable()));
    EXPECT_EQ(mixRow.path().toEncoded(), QStringLiteral("playlists:pl/getitems/") + uid(mix));
    EXPECT_EQ(mixRow.mediaData().metaData().playLogicPath().toEncoded(), QStringLiteral("playlists:playlogic"));
    EXPECT_EQ(mixRow.context().path().toEncoded(), QStringLiteral("playlists:pl/contextmenu?plid=") + uid(mix));
}

TEST_F(ItemsNodesTest, TracksPageFromThePlayListWithTheFullCount)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"), 12);
    PlayListGetItemsNode* node = itemsNode(mix);
    const QString path = node->path().toEncoded();

    KeloRowsRoles reply = rows(node, path, 10, 19);
    EXPECT_EQ(reply.rowsCount(), 12);
    EXPECT_EQ(titles(reply), (QStringList{"Mix-10", "Mix-11"}));
    EXPECT_EQ(reply.title(), QStringLiteral("Playlist - Mix"));

    reply = rows(node, path, 5, 2);
    EXPECT_EQ(reply.rowsCount(), 12);
    EXPECT_TRUE(reply.rows().isEmpty()) << "the range goes to the playlist as it stands";

    EXPECT_EQ(titles(rows(node, path, -5, 1)), (QStringList{"Mix-0", "Mix-1"}));
}

TEST_F(ItemsNodesTest, TrackRowsCarryTheirMenuWithParametersInOrder)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"), 3);
    PlayListGetItemsNode* node = itemsNode(mix);
    const KeloRowsRoles reply = rows(node, node->path().toEncoded(), 0, 2);
    ASSERT_EQ(reply.rows().size(), 3);
    for (int seq = 0; seq < 3; ++seq) {
        const KeloRoles track = row(reply, seq);
        EXPECT_EQ(track.value().i32_(), seq);
        const KeloRoles menu = track.context();
        EXPECT_EQ(menu.path().toEncoded(), QStringLiteral("playlists:pl/trackcontextmenu?action=cmnode&plid=%1&itemid=%2&seqnum=%3")
                                               .arg(uid(mix), track.id())
                                               .arg(seq));
        EXPECT_EQ(menu.title(), QStringLiteral("Playlist"));
        EXPECT_EQ(menu.type(), 1);
        EXPECT_EQ(menu.containerType(), 100);
    }
}

TEST_F(ItemsNodesTest, ItemsNodeOfAnUnknownOrMalformedUidListsNothing)
{
    playlist(QStringLiteral("Mix"), 2);
    for (const QString path : {"playlists:pl/getitems/999", "playlists:pl/getitems/abc"}) {
        PlayListGetItemsNode* node = make<PlayListGetItemsNode>(CMPath(path));
        const KeloRowsRoles reply = rows(node, path);
        EXPECT_EQ(reply.rowsCount(), 0) << path.toStdString();
        EXPECT_TRUE(reply.rows().isEmpty());
    }
}

TEST_F(ItemsNodesTest, ItemsNodesArePlayableThroughTheModulesPlayLogic)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"));
    for (CMUINode* node : {static_cast<CMUINode*>(itemsNode(mix)),
                           static_cast<CMUINode*>(make<PlayQueueGetItemsNode>(KeloPlayListPqGetItemsPath()))})
        EXPECT_EQ(node->mediaData().metaData().playLogicPath().toEncoded(), QStringLiteral("playlists:playlogic"));
}

TEST_F(ItemsNodesTest, PlayQueueListsItsTracksWithTheQueuesTrackMenu)
{
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, {track("a"), track("b"), track("c")});
    PlayQueueGetItemsNode* node = make<PlayQueueGetItemsNode>(KeloPlayListPqGetItemsPath());
    KeloRowsRoles reply = rows(node, "playlists:pq/getitems", 1, 5);
    EXPECT_EQ(reply.rowsCount(), 3);
    EXPECT_EQ(reply.title(), QStringLiteral("PlayQueue tracks"));
    EXPECT_EQ(titles(reply), (QStringList{"b", "c"}));
    EXPECT_EQ(row(reply, 0).context().path().parameter("plid"), QStringLiteral("0"));

    reply = rows(node, "playlists:pq/getitems", 2, 0);
    EXPECT_EQ(reply.rowsCount(), 3);
    EXPECT_TRUE(reply.rows().isEmpty());
}
