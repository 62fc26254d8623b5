// What each menu entry sends: the command, its argument record, and who answers the request.
#include <QTest>

#include "BrowseFixture.h"
#include "ReplyTimeout.h"

using namespace browsetest;

namespace {
// The menus as the worker finds them: registered by the tree's owner.
class MenuActions : public BrowseTest
{
protected:
    void SetUp() override
    {
        BrowseTest::SetUp();
        startTree();
    }
    // Sets path on the node registered for it; *taken: what the node returned.
    CMVoidReply send(const QString& path, const QVariant& value = {}, bool* taken = nullptr)
    {
        CMSetDataRequest request{CMPath(path), value};
        const bool result = registry.find(CMPath(path))->setDataRequest(request);
        if (taken)
            *taken = result;
        return request.reply();
    }
};
}  // namespace

TEST_F(MenuActions, EachEntrySendsItsCommandAndTheCommandAnswers)
{
    struct Case
    {
        QString path;
        QVariant value;
        Sent expected;
    };
    const QString pl = "playlists:pl/contextmenu?plid=5&clid=3&action=";
    const QString track = "playlists:pl/trackcontextmenu?action=";
    const QString addMode = "playlists:pl/selectaddmode?action=cmnode&fromplid=3&";
    const QList<Case> cases = {
        {"playlists:?action=createPl", "Mix", {"playlists:pl/create", {{"name", "Mix"}}}},
        {"playlists:?action=createCl", 5, {"playlists:cl/create", {{"name", ""}}}},
        {pl + "play", {}, {"playlists:pl/play", {{"plid", 5}}}},
        {pl + "rename", "New", {"playlists:pl/setname", {{"plid", 5}, {"name", "New"}}}},
        {pl + "shuffle", true, {"playlists:pl/setshuffle", {{"plid", 5}, {"mode", "on"}}}},
        {pl + "shuffle&mode=1", false, {"playlists:pl/setshuffle", {{"plid", 5}, {"mode", "off"}}}},
        {pl + "shuffle&mode=1", {}, {"playlists:pl/setshuffle", {{"plid", 5}, {"mode", "on"}}}},
        {pl + "repeat", true, {"playlists:pl/setrepeat", {{"plid", 5}, {"mode", "all"}}}},
        {pl + "repeat&mode=1", {}, {"playlists:pl/setrepeat", {{"plid", 5}, {"mode", "one"}}}},
        {pl + "delFromCl", {}, {"playlists:cl/removeitem", {{"plid", 5}, {"clid", 3}}}},
        {pl + "clearPl", {}, {"playlists:pl/clear", {{"plid", 5}}}},
        {track + "moveTr&plid=5&from=2", "7", {"playlists:pl/moveitems", {{"plid", 5}, {"items", QVariantList{2}}, {"to", 7}}}},
        {track + "moveTr&plid=5&from=2", 3, {"playlists:pl/moveitems", {{"plid", 5}, {"items", QVariantList{2}}, {"to", 3}}}},
        {track + "removeTr&plid=8&fromplid=5&seqnum=4", {},
         {"playlists:pl/removeitems", {{"plid", 5}, {"items", QVariantList{4}}}}},
        {"playlists:pl/addtoplaylist?action=createPl", "New", {"playlists:pl/create", {{"name", "New"}}}},
        {addMode + "itemid=playlists:item/12&plid=0&mode=1", {},
         {"playlists:pl/additems",
          {{"plid", 0}, {"fromPlid", 3}, {"mode", "afterCurrent"}, {"items", QStringList{"playlists:item/12"}}}}},
        {addMode + "plid=6&mode=2", {},
         {"playlists:pl/additems", {{"plid", 6}, {"fromPlid", 3}, {"mode", "append"}, {"items", QStringList()}}}},
        {"playlists:cl/addtocollection?plid=5&action=createCl", "Evening", {"playlists:cl/create", {{"name", "Evening"}}}},
        {"playlists:cl/addtocollection?plid=5&action=addItem&clid=3", {}, {"playlists:cl/additem", {{"plid", 5}, {"clid", 3}}}},
        {"playlists:cl/contextmenu?action=delete&clid=3", {}, {"playlists:cl/delete", {{"clid", 3}}}},
        {"playlists:pq/contextmenu?action=playPl&plid=0", {}, {"playlists:pl/play", {{"plid", 0}}}},
        {"playlists:pq/contextmenu?action=clearPl&plid=0", {}, {"playlists:pl/clear", {{"plid", 0}}}},
    };
    for (const Case& c : cases) {
        bool taken = false;
        const CMVoidReply reply = send(c.path, c.value, &taken);
        EXPECT_TRUE(taken) << c.path.toStdString();
        ASSERT_EQ(recorder->sent.size(), 1u) << c.path.toStdString();
        EXPECT_EQ(recorder->sent.front(), c.expected) << c.path.toStdString();
        EXPECT_EQ(reply.variant(), recorder->answer) << c.path.toStdString();
        recorder->sent.clear();
    }
}

TEST_F(MenuActions, ActionsANodeDoesNotKnowSendNothing)
{
    for (const char* path : {"playlists:?action=createpl", "playlists:pl/contextmenu?action=playPl&plid=5",
                             "playlists:pq/contextmenu?action=play&plid=0", "playlists:cl/contextmenu?action=delPL&clid=3",
                             "playlists:pl/trackcontextmenu?action=cmnode", "playlists:pl/addtoplaylist?action=cmnode",
                             "playlists:cl/addtocollection?action=cmnode"}) {
        bool taken = true;
        send(path, {}, &taken);
        EXPECT_FALSE(taken) << path;
    }
    EXPECT_TRUE(recorder->sent.empty());
}

TEST_F(MenuActions, DeletingAPlayListLeavesItsMenuOrPassesTheError)
{
    CMVoidReply reply = send("playlists:pl/contextmenu?action=delPL&plid=5");
    EXPECT_EQ(recorder->sent, (std::vector<Sent>{{"playlists:pl/delete", {{"plid", 5}}}}));
    EXPECT_EQ(reply.variant().toHash(),
              (QVariantHash{{"xclass", "KeloActionReply"}, {"events", QVariantList{QVariantHash{{"rowsType", 1}}}}}));

    recorder->error =
        CMError(CMError::DefaultName(), QStringLiteral("Could not delete playlist. Cannot delete PlayQueue."));
    reply = send("playlists:pl/contextmenu?action=delPL&plid=0");
    EXPECT_EQ(reply.error().Message(), recorder->error.Message());
}

// A menu request whose command never answers gets a timeout.
TEST_F(MenuActions, AMenuRequestWhoseCommandNeverAnswersTimesOut)
{
    recorder->answerLater = true;
    const int saved = ReplyTimeout::ms;
    ReplyTimeout::ms = 50;
    for (const char* path : {"playlists:pl/contextmenu?action=delPL&plid=5",
                             "playlists:pl/selectaddmode?fromplid=3&itemid=playlists:item/12&plid=0&mode=2"}) {
        const CMVoidReply reply = send(path);
        EXPECT_FALSE(reply.isFinished()) << path;
        EXPECT_TRUE(QTest::qWaitFor([&] { return reply.isFinished(); }, 5000)) << path;
        EXPECT_EQ(reply.error().Name(), CMError::TimeoutName());
    }
    ReplyTimeout::ms = saved;
}
