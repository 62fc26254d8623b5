// The four playlist menus: their entries for a playlist's state, and the command each entry sends.
#include "BrowseFixture.h"
#include "Collection.h"
#include "playlistUI/playlist/PlayListAddModeNode.h"
#include "playlistUI/playlist/PlayListAddToPlaylistNode.h"
#include "playlistUI/playlist/PlayListContextNode.h"
#include "playlistUI/playlist/PlayListTrackContextNode.h"

using namespace browsetest;

namespace {
class PlayListMenusTest : public BrowseTest
{
protected:
    KeloRowsRoles menuOf(PlayListBase* pl, const QString& extra = QString())
    {
        return rows(make<PlayListContextNode>(KeloPlayListPlContextPath()),
                    "playlists:pl/contextmenu?plid=" + uid(pl) + extra);
    }
    KeloRowsRoles trackMenu(const QString& plid, const QString& itemid, const QString& seqnum = "0")
    {
        return rows(make<PlayListTrackContextNode>(KeloPlayListPlTrackContextPath()),
                    "playlists:pl/trackcontextmenu?action=cmnode&plid=" + plid + "&itemid=" + itemid + "&seqnum=" + seqnum);
    }
    QString itemId(PlayListBase* pl, int seq) { return QString::number(pl->getItems(seq, seq).value(0).uid()); }
    // The one command sent since the last call.
    SentCommand takeCommand()
    {
        EXPECT_EQ(recorder->sent.size(), 1u);
        const SentCommand command = recorder->sent.empty() ? SentCommand() : recorder->sent.back();
        recorder->sent.clear();
        return command;
    }
};
}  // namespace

TEST_F(PlayListMenusTest, PlayListMenuShowsTheStateAChoiceSwitchesTo)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"));
    const QString menu = "playlists:pl/contextmenu?";
    const QString plid = uid(mix);

    KeloRowsRoles reply = menuOf(mix);
    EXPECT_EQ(titles(reply), (QStringList{"Play", "Rename", "Set shuffle mode", "Set repeat mode", "Merge with playlist",
                                          "Add to collection", "", "Clear playlist", "Delete playlist"}));
    EXPECT_EQ(types(reply), (QList<int>{102, 101, 101, 101, 1, 1, 105, 102, 102}));
    EXPECT_EQ(reply.title(), QStringLiteral("Playlist Context Menu - Mix"));
    EXPECT_EQ(row(reply, 1).value().string_(), QStringLiteral("Mix"));
    EXPECT_EQ(row(reply, 2).path().toEncoded(), menu + "action=shuffle&plid=" + plid + "&mode=1");
    EXPECT_FALSE(row(reply, 2).value().bool_());
    EXPECT_EQ(row(reply, 3).path().toEncoded(), menu + "action=repeat&plid=" + plid + "&mode=1");
    EXPECT_EQ(row(reply, 4).path().toEncoded(), "playlists:pl/addtoplaylist?action=cmnode&fromplid=" + plid);
    EXPECT_EQ(row(reply, 5).path().toEncoded(), "playlists:cl/addtocollection?action=cmnode&plid=" + plid);
    EXPECT_EQ(row(reply, 8).path().toEncoded(), menu + "action=delPL&plid=" + plid);

    mix->setShuffle(true);
    mix->setRepeatAll(true);
    reply = menuOf(mix);
    EXPECT_EQ(row(reply, 2).path().toEncoded(), menu + "action=shuffle&plid=" + plid + "&mode=0");
    EXPECT_TRUE(row(reply, 2).value().bool_());
    EXPECT_EQ(row(reply, 3).path().toEncoded(), menu + "action=repeat&plid=" + plid + "&mode=0");
    EXPECT_TRUE(row(reply, 3).value().bool_());
}

TEST_F(PlayListMenusTest, PlayListMenuOffersRemovalOnlyInsideAnExistingCollection)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"));
    CollectionBase* evening = manager->createCollection(QStringLiteral("Evening"));
    ASSERT_TRUE(evening->addPlayList(mix));
    const QString clid = QString::number(evening->getUid());

    KeloRowsRoles reply = menuOf(mix, "&clid=" + clid);
    EXPECT_EQ(titles(reply).value(6), QStringLiteral("Remove from collection - Evening"));
    EXPECT_EQ(pathOf(reply, "Remove from collection - Evening"),
              "playlists:pl/contextmenu?action=delFromCl&plid=" + uid(mix) + "&clid=" + clid);
    EXPECT_EQ(reply.rowsCount(), 10);

    EXPECT_EQ(menuOf(mix, "&clid=999").rowsCount(), 9) << "a collection that does not exist";

    setVisibility(true, false);
    reply = menuOf(mix, "&clid=" + clid);
    EXPECT_FALSE(titles(reply).contains("Add to collection"));
    EXPECT_TRUE(titles(reply).contains("Remove from collection - Evening"));
}

TEST_F(PlayListMenusTest, PlayListMenuOfAnUnknownPlayListIsEmpty)
{
    const KeloRowsRoles reply =
        rows(make<PlayListContextNode>(KeloPlayListPlContextPath()), "playlists:pl/contextmenu?plid=77");
    EXPECT_EQ(reply.rowsCount(), 0);
}

TEST_F(PlayListMenusTest, PlayListMenuActionsSendTheirCommandsAnsweredByTheCommand)
{
    PlayListContextNode* node = make<PlayListContextNode>(KeloPlayListPlContextPath());
    const QString menu = "playlists:pl/contextmenu?plid=5&clid=3&action=";
    struct Case
    {
        QString action;
        QVariant value;
        QString command;
        QVariantHash args;
    };
    const QList<Case> cases = {
        {"play", {}, "playlists:pl/play", {{"plid", 5}}},
        {"rename", "New name", "playlists:pl/setname", {{"plid", 5}, {"name", "New name"}}},
        {"rename", 12, "playlists:pl/setname", {{"plid", 5}, {"name", ""}}},
        {"shuffle", true, "playlists:pl/setshuffle", {{"plid", 5}, {"mode", "on"}}},
        {"shuffle", false, "playlists:pl/setshuffle", {{"plid", 5}, {"mode", "off"}}},
        {"shuffle&mode=1", {}, "playlists:pl/setshuffle", {{"plid", 5}, {"mode", "on"}}},
        {"repeat", true, "playlists:pl/setrepeat", {{"plid", 5}, {"mode", "all"}}},
        {"repeat", false, "playlists:pl/setrepeat", {{"plid", 5}, {"mode", "off"}}},
        {"repeat&mode=1", {}, "playlists:pl/setrepeat", {{"plid", 5}, {"mode", "one"}}},
        {"delFromCl", {}, "playlists:cl/removeitem", {{"plid", 5}, {"clid", 3}}},
        {"clearPl", {}, "playlists:pl/clear", {{"plid", 5}}},
    };
    for (const Case& c : cases) {
        bool taken = false;
        const CMVoidReply reply = set(node, menu + c.action, c.value, &taken);
        EXPECT_TRUE(taken) << c.action.toStdString();
        const SentCommand command = takeCommand();
        EXPECT_EQ(command.path, c.command) << c.action.toStdString();
        EXPECT_EQ(command.args, c.args) << c.action.toStdString();
        EXPECT_EQ(reply.variant(), recorder->answer) << c.action.toStdString();
    }
    bool taken = true;
    set(node, menu + "playPl", {}, &taken);
    EXPECT_FALSE(taken) << "the play queue's word is not this menu's";
    EXPECT_TRUE(recorder->sent.empty());
}

TEST_F(PlayListMenusTest, DeletingFromThePlayListMenuLeavesTheMenuOrPassesTheError)
{
    PlayListContextNode* node = make<PlayListContextNode>(KeloPlayListPlContextPath());
    CMVoidReply reply = set(node, "playlists:pl/contextmenu?action=delPL&plid=5", {});
    const SentCommand command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/delete"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 5}}));
    ASSERT_TRUE(reply.isFinished());
    const KeloActionReply answer(KeloHash(reply.variant().toHash()));
    EXPECT_EQ(answer.xclass(), QStringLiteral("KeloActionReply"));
    ASSERT_EQ(answer.events().size(), 1);
    EXPECT_EQ(answer.events()[0].rowsType(), 1);
    EXPECT_FALSE(answer.events()[0].contains("path"));

    recorder->error = CMError(CMError::DefaultName(), QStringLiteral("Could not delete playlist. Cannot delete PlayQueue."));
    reply = set(node, "playlists:pl/contextmenu?action=delPL&plid=0", {});
    ASSERT_TRUE(reply.hasError());
    EXPECT_EQ(reply.error().Message(), recorder->error.Message());
}

TEST_F(PlayListMenusTest, TrackMenuUsesTheStoredPositionNotThePathsOne)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"), 4);
    const QString plid = uid(mix);
    const QString item = itemId(mix, 2);
    const QString itemPath = "playlists:item/" + item;

    const KeloRowsRoles reply = trackMenu(plid, item, "7");
    EXPECT_EQ(titles(reply), (QStringList{"Add to playqueue", "Add to playlist", "Move track", "Remove track"}));
    EXPECT_EQ(types(reply), (QList<int>{1, 1, 101, 102}));
    EXPECT_EQ(reply.title(), QStringLiteral("Track Context Menu"));
    EXPECT_EQ(row(reply, 0).path().toEncoded(),
              "playlists:pl/selectaddmode?action=cmnode&fromplid=" + plid + "&itemid=" + itemPath + "&plid=0");
    EXPECT_EQ(row(reply, 0).containerType(), 100);
    EXPECT_EQ(row(reply, 1).path().toEncoded(), "playlists:pl/addtoplaylist?action=cmnode&fromplid=" + plid +
                                                    "&itemid=" + itemPath + "&preparepath=playlists:prepareItems");
    EXPECT_EQ(row(reply, 2).path().toEncoded(), "playlists:pl/trackcontextmenu?action=moveTr&plid=" + plid + "&from=2");
    EXPECT_EQ(row(reply, 2).value().string_(), QStringLiteral("2"));
    EXPECT_EQ(row(reply, 3).path().toEncoded(),
              "playlists:pl/trackcontextmenu?action=removeTr&fromplid=" + plid + "&seqnum=2");

    ASSERT_TRUE(mix->moveItem(2, 0));
    EXPECT_EQ(pathOf(trackMenu(plid, item, "2"), "Remove track"),
              "playlists:pl/trackcontextmenu?action=removeTr&fromplid=" + plid + "&seqnum=0");
}

TEST_F(PlayListMenusTest, TrackMenuOffersThePlayQueueOnlyWhereItMakesSense)
{
    PlayListBase* mix = playlist(QStringLiteral("Mix"), 1);
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, {track("q")});
    const QString queueItem = itemId(manager->getPlayQueue(), 0);
    EXPECT_EQ(titles(trackMenu("0", queueItem)), (QStringList{"Add to playlist", "Move track", "Remove track"}));

    setVisibility(false, true);
    EXPECT_EQ(titles(trackMenu(uid(mix), itemId(mix, 0))), (QStringList{"Add to playlist", "Move track", "Remove track"}));

    EXPECT_EQ(trackMenu(uid(mix), "9999").rowsCount(), 0) << "a track that is gone has no menu";
}

TEST_F(PlayListMenusTest, TrackMenuActionsSendMoveAndRemove)
{
    PlayListTrackContextNode* node = make<PlayListTrackContextNode>(KeloPlayListPlTrackContextPath());
    CMVoidReply reply = set(node, "playlists:pl/trackcontextmenu?action=moveTr&plid=5&from=2", QStringLiteral("7"));
    SentCommand command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/moveitems"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 5}, {"items", QVariantList{2}}, {"to", 7}}));
    EXPECT_EQ(reply.variant(), recorder->answer);

    set(node, "playlists:pl/trackcontextmenu?action=moveTr&plid=5&from=2", 3);
    EXPECT_EQ(takeCommand().args.value("to"), QVariant(3)) << "a number works as well as its text";

    reply = set(node, "playlists:pl/trackcontextmenu?action=removeTr&plid=8&fromplid=5&seqnum=4", {});
    command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/removeitems"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 5}, {"items", QVariantList{4}}})) << "the playlist is fromplid";

    bool taken = true;
    set(node, "playlists:pl/trackcontextmenu?action=cmnode&plid=5", {}, &taken);
    EXPECT_FALSE(taken);
    EXPECT_TRUE(recorder->sent.empty());
}

TEST_F(PlayListMenusTest, AddToPlayListMenuLeadsEachPlayListToTheAddModeMenu)
{
    PlayListBase* a = playlist(QStringLiteral("A"));
    PlayListBase* b = playlist(QStringLiteral("B"));
    const QString received = "action=cmnode&fromplid=3&itemid=playlists:item/12&preparepath=playlists:prepareItems";
    const KeloRowsRoles reply =
        rows(make<PlayListAddToPlaylistNode>(KeloPlayListPlAddToPlaylistPath()), "playlists:pl/addtoplaylist?" + received);
    EXPECT_EQ(titles(reply), (QStringList{"Create new playlist", "", "A", "B"}));
    EXPECT_EQ(types(reply), (QList<int>{101, 105, 1, 1}));
    EXPECT_EQ(row(reply, 0).path().toEncoded(),
              QStringLiteral("playlists:pl/addtoplaylist?itemid=playlists:item/12&action=createPl"));
    EXPECT_EQ(row(reply, 2).path().toEncoded(), "playlists:pl/selectaddmode?" + received + "&plid=" + uid(a));
    EXPECT_EQ(row(reply, 3).path().toEncoded(), "playlists:pl/selectaddmode?" + received + "&plid=" + uid(b));
    EXPECT_TRUE(row(reply, 3).containerPlayable());
    EXPECT_EQ(row(reply, 3).containerType(), 100);
}

TEST_F(PlayListMenusTest, AddToPlayListMenuCreatesAPlayList)
{
    PlayListAddToPlaylistNode* node = make<PlayListAddToPlaylistNode>(KeloPlayListPlAddToPlaylistPath());
    const CMVoidReply reply = set(node, "playlists:pl/addtoplaylist?action=createPl", QStringLiteral("New"));
    const SentCommand command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/create"));
    EXPECT_EQ(command.args, (QVariantHash{{"name", "New"}}));
    EXPECT_EQ(reply.variant(), recorder->answer);
    bool taken = true;
    set(node, "playlists:pl/addtoplaylist?action=cmnode", {}, &taken);
    EXPECT_FALSE(taken);
}

TEST_F(PlayListMenusTest, ACommandThatAnswersLaterStillAnswersTheMenuRequest)
{
    PlayListAddModeNode* node = make<PlayListAddModeNode>(KeloPlayListPlSelectAddModePath());
    recorder->answerLater = true;
    const CMVoidReply reply = set(node, "playlists:pl/selectaddmode?fromplid=3&itemid=playlists:item/12&plid=0&mode=2", {});
    EXPECT_FALSE(reply.isFinished()) << "the menu request is dropped by its sender, not by the command";
    ASSERT_EQ(recorder->held.size(), 1u);
    recorder->held.front().reply().setValue(QStringLiteral("added"));
    EXPECT_EQ(reply.variant(), QVariant(QStringLiteral("added")));
}

TEST_F(PlayListMenusTest, AddModeMenuOffersThreePositionsAndSendsTheAdd)
{
    PlayListAddModeNode* node = make<PlayListAddModeNode>(KeloPlayListPlSelectAddModePath());
    const QString received = "playlists:pl/selectaddmode?action=cmnode&fromplid=3&itemid=playlists:item/12&plid=0";
    const KeloRowsRoles reply = rows(node, received);
    EXPECT_EQ(titles(reply), (QStringList{"Now", "After current", "Append"}));
    EXPECT_EQ(types(reply), (QList<int>{102, 102, 102}));
    for (int mode = 0; mode < 3; ++mode)
        EXPECT_EQ(row(reply, mode).path().toEncoded(), received + "&mode=" + QString::number(mode));

    const CMVoidReply answered = set(node, row(reply, 1).path().toEncoded(), {});
    SentCommand command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/additems"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 0},
                                          {"fromPlid", 3},
                                          {"mode", "afterCurrent"},
                                          {"items", QVariantList{"playlists:item/12"}}}));
    EXPECT_EQ(answered.variant(), recorder->answer);

    set(node, "playlists:pl/selectaddmode?action=cmnode&fromplid=3&plid=6&mode=2", {});
    command = takeCommand();
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 6}, {"fromPlid", 3}, {"mode", "append"}, {"items", QVariantList{}}}))
        << "a merge names no item";
}
