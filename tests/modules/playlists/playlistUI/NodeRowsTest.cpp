// The rows of the nodes, beyond the recorded session's answers: visibility, the view kept in a row's
// path, paging of built rows, and the menus' choices in the states the session does not reach.
#include "BrowseFixture.h"
#include "Collection.h"
#include "playlistUI/RootNode.h"
#include "playlistUI/collection/CollectionContextNode.h"
#include "playlistUI/collection/CollectionGetItemsNode.h"
#include "playlistUI/playlist/PlayListAddModeNode.h"
#include "playlistUI/playlist/PlayListAddToPlaylistNode.h"
#include "playlistUI/playlist/PlayListContextNode.h"
#include "playlistUI/playlist/PlayListTrackContextNode.h"

using namespace browsetest;

namespace {
using NodeRows = BrowseTest;
}

TEST_F(NodeRows, RootListsWhatTheVisibilitySettingsShowWithTheirPathsAndMenus)
{
    const QString jazz = uid(playlist("Jazz")), rock = uid(playlist("Rock"));
    const QString evening = uid(manager->createCollection("Evening"));
    const QStringList lists = {"Playlists", "Create New Playlist", "Jazz", "Rock"};
    const QStringList collections = {"Collections", "Create New Collection", "Evening"};
    for (bool queue : {false, true}) {
        for (bool shown : {false, true}) {
            setVisibility(queue, shown);
            const QStringList titles = column(rows(make<RootNode>("playlists:"), "playlists:"), "title");
            EXPECT_EQ(titles, (queue ? QStringList{"PlayQueue"} : QStringList()) + lists
                                  + (shown ? collections : QStringList()));
        }
    }
    // A row's path keeps the view it was asked in, and drops the menu action.
    const KeloRowsRoles reply = rows(make<RootNode>("playlists:"), "playlists:?view=tv&action=cmnode");
    EXPECT_EQ(column(reply, "path"),
              (QStringList{"playlists:pq/getitems", "", "playlists:?view=tv&action=createPl",
                           "playlists:pl/getitems/" + jazz, "playlists:pl/getitems/" + rock, "",
                           "playlists:?view=tv&action=createCl", "playlists:cl/getitems?clid=" + evening}));
    EXPECT_EQ(column(reply, "context").value(3), "playlists:pl/contextmenu?plid=" + jazz);
}

TEST_F(NodeRows, PagesAreCutOutOfTheRowsAndRolesFiltered)
{
    setVisibility(false, false);
    for (int i = 0; i < 8; ++i)
        playlist(QStringLiteral("P%1").arg(i));  // 10 rows
    RootNode* node = make<RootNode>("playlists:");
    const QStringList all = column(rows(node, "playlists:"), "title");
    ASSERT_EQ(all.size(), 10);
    EXPECT_EQ(column(rows(node, "playlists:", 3, 5), "title"), all.mid(3, 3));
    EXPECT_EQ(column(rows(node, "playlists:", 5, 2), "title"), QStringList{all[2]}) << "fromRow above toRow: row toRow";
    EXPECT_EQ(column(rows(node, "playlists:", -4, 1), "title"), all.mid(0, 2));
    EXPECT_EQ(column(rows(node, "playlists:", 20, 30), "title"), QStringList{all[9]});
    EXPECT_EQ(rows(node, "playlists:", 20, 30).rowsCount(), 10);
    EXPECT_EQ(rows(node, "playlists:", 0, 9, {"title"}).rows().value(4).toHash().keys(), QStringList{"title"});
}

TEST_F(NodeRows, PlayListMenuShowsTheStateEachChoiceSwitchesTo)
{
    PlayListBase* mix = playlist("Mix");
    const QString base = "playlists:pl/contextmenu?action=%1&plid=" + uid(mix);
    const auto menu = [&](const QString& extra = {}) {
        return rows(make<PlayListContextNode>("playlists:pl/contextmenu"),
                    "playlists:pl/contextmenu?plid=" + uid(mix) + extra);
    };
    mix->setShuffle(true);
    const KeloRowsRoles reply = menu();
    EXPECT_EQ(column(reply, "path").mid(2, 2),
              (QStringList{base.arg("shuffle") + "&mode=0", base.arg("repeat") + "&mode=1"}));
    EXPECT_TRUE(row(reply, 2).value().bool_());
    EXPECT_FALSE(row(reply, 3).value().bool_());

    CollectionBase* evening = manager->createCollection("Evening");
    EXPECT_EQ(column(menu("&clid=" + uid(evening)), "path").value(6), base.arg("delFromCl") + "&clid=" + uid(evening));
    EXPECT_EQ(menu("&clid=999").rowsCount(), 9) << "no removal from a collection that does not exist";
    setVisibility(true, false);
    EXPECT_FALSE(column(menu(), "title").contains("Add to collection"));
    EXPECT_EQ(
        rows(make<PlayListContextNode>("playlists:pl/contextmenu"), "playlists:pl/contextmenu?plid=77").rowsCount(), 0);
}

TEST_F(NodeRows, TrackMenuUsesTheStoredPositionAndKnowsThePlayQueue)
{
    PlayListBase* mix = playlist("Mix", 4);
    const QString item = QString::number(mix->getItems(2, 2).value(0).uid());
    const auto menu = [&](const QString& plid, const QString& itemid) {
        return rows(make<PlayListTrackContextNode>("playlists:pl/trackcontextmenu"),
                    "playlists:pl/trackcontextmenu?action=cmnode&plid=" + plid + "&itemid=" + itemid + "&seqnum=7");
    };
    KeloRowsRoles reply = menu(uid(mix), item);
    EXPECT_EQ(column(reply, "path").mid(2),
              (QStringList{"playlists:pl/trackcontextmenu?action=moveTr&plid=" + uid(mix) + "&from=2",
                           "playlists:pl/trackcontextmenu?action=removeTr&fromplid=" + uid(mix) + "&seqnum=2"}));
    EXPECT_EQ(row(reply, 2).value().string_(), QStringLiteral("2"));

    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, {track("q")});
    const QString queued = QString::number(manager->getPlayQueue()->getItems(0, 0).value(0).uid());
    EXPECT_EQ(column(menu("0", queued), "title"), (QStringList{"Add to playlist", "Move track", "Remove track"}));
    EXPECT_EQ(menu(uid(mix), "9999").rowsCount(), 0) << "a track that is gone has no menu";
    setVisibility(false, true);
    EXPECT_EQ(menu(uid(mix), item).rowsCount(), 3) << "no play queue entry while the queue is hidden";
}

TEST_F(NodeRows, AddMenusCarryTheirParametersAlongWithoutDoublingThem)
{
    const QString a = uid(playlist("A")), b = uid(playlist("B"));
    const QString received = "action=cmnode&fromplid=3&itemid=playlists:item/12&preparepath=playlists:prepareItems";
    KeloRowsRoles reply =
        rows(make<PlayListAddToPlaylistNode>("playlists:pl/addtoplaylist"), "playlists:pl/addtoplaylist?" + received);
    EXPECT_EQ(column(reply, "type"), QString("101 105 1 1").split(' '));
    EXPECT_EQ(column(reply, "path"), (QStringList{"playlists:pl/addtoplaylist?itemid=playlists:item/12&action=createPl",
                                                  "", "playlists:pl/selectaddmode?" + received + "&plid=" + a,
                                                  "playlists:pl/selectaddmode?" + received + "&plid=" + b}));

    const QString mode = "playlists:pl/selectaddmode?action=cmnode&fromplid=3&plid=0";
    PlayListAddModeNode* modes = make<PlayListAddModeNode>("playlists:pl/selectaddmode");
    reply = rows(modes, mode);
    EXPECT_EQ(column(reply, "title"), (QStringList{"Now", "After current", "Append"}));
    EXPECT_EQ(column(reply, "path"), (QStringList{mode + "&mode=0", mode + "&mode=1", mode + "&mode=2"}));
    EXPECT_EQ(column(rows(modes, mode, 1, 1), "path"), QStringList{mode + "&mode=1"});
}

TEST_F(NodeRows, ACollectionsMenuDeletesItAndAnUnknownCollectionListsNothing)
{
    EXPECT_EQ(rows(make<CollectionGetItemsNode>("playlists:cl/getitems"), "playlists:cl/getitems?clid=999").rowsCount(), 0);
    const QString clid = uid(manager->createCollection("Evening"));
    EXPECT_EQ(column(rows(make<CollectionContextNode>("playlists:cl/contextmenu"), "playlists:cl/contextmenu?clid=" + clid), "path"),
              QStringList{"playlists:cl/contextmenu?action=delete&clid=" + clid});
}
