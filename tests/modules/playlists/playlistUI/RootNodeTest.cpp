// The root of the tree: its rows under each visibility setting, paging, and the two create rows.
#include "BrowseFixture.h"
#include "Collection.h"
#include "playlistUI/RootNode.h"

using namespace browsetest;

namespace {
class RootNodeTest : public BrowseTest
{
protected:
    void SetUp() override
    {
        BrowseTest::SetUp();
        playlist(QStringLiteral("Jazz"));
        playlist(QStringLiteral("Rock"));
        manager->createCollection(QStringLiteral("Evening"));
    }
    KeloRowsRoles rootRows(int from = 0, int to = 99, const QString& path = QStringLiteral("playlists:"))
    {
        return rows(make<RootNode>(KeloPlayListsRootPath()), path, from, to);
    }
};
}  // namespace

TEST_F(RootNodeTest, ListsWhatEachCombinationOfVisibilitySettingsShows)
{
    const QStringList playlists = {"Playlists", "Create New Playlist", "Jazz", "Rock"};
    const QStringList collections = {"Collections", "Create New Collection", "Evening"};
    struct Case
    {
        bool queue, collections;
        QStringList expected;
    };
    const QList<Case> cases = {
        {false, false, playlists},
        {true, false, QStringList{"PlayQueue"} + playlists},
        {false, true, playlists + collections},
        {true, true, QStringList{"PlayQueue"} + playlists + collections},
    };
    for (const Case& c : cases) {
        setVisibility(c.queue, c.collections);
        const KeloRowsRoles reply = rootRows();
        EXPECT_EQ(titles(reply), c.expected) << "queue " << c.queue << " collections " << c.collections;
        EXPECT_EQ(reply.rowsCount(), c.expected.size());
        EXPECT_EQ(reply.title(), QStringLiteral("Playlists"));
    }
}

TEST_F(RootNodeTest, GivesEachRowItsTypePathAndMenu)
{
    const KeloRowsRoles reply = rootRows();
    EXPECT_EQ(types(reply), (QList<int>{1, 103, 101, 1, 1, 103, 101, 1}));

    const KeloRoles queue = row(reply, 0);
    EXPECT_EQ(queue.path().toEncoded(), QStringLiteral("playlists:pq/getitems"));
    EXPECT_TRUE(queue.containerPlayable());
    EXPECT_EQ(queue.mediaData().metaData().playLogicPath().toEncoded(), QStringLiteral("playlists:playlogic"));
    EXPECT_EQ(queue.context().path().toEncoded(), QStringLiteral("playlists:pq/contextmenu?plid=0"));
    EXPECT_EQ(queue.context().containerType(), 100);
    EXPECT_EQ(queue.vimboClearQueue(), QStringLiteral("playlists:pq/contextmenu?action=clearPl&plid=0"));

    const KeloRoles create = row(reply, 2);
    EXPECT_EQ(create.path().toEncoded(), QStringLiteral("playlists:?action=createPl"));
    EXPECT_TRUE(create.modifiable());
    EXPECT_TRUE(create.value().isString_());

    PlayListBase* jazz = manager->getAllPlayList().value(0);
    const KeloRoles jazzRow = row(reply, 3);
    EXPECT_EQ(jazzRow.path().toEncoded(), QStringLiteral("playlists:pl/getitems/") + uid(jazz));
    EXPECT_TRUE(jazzRow.containerPlayable());
    EXPECT_EQ(jazzRow.context().title(), QStringLiteral("Playlist Context Menu - Jazz"));
    EXPECT_EQ(jazzRow.context().path().toEncoded(), QStringLiteral("playlists:pl/contextmenu?plid=") + uid(jazz));

    const QString clid = QString::number(manager->getAllCollection().value(0)->getUid());
    const KeloRoles evening = row(reply, 7);
    EXPECT_EQ(evening.path().toEncoded(), QStringLiteral("playlists:cl/getitems?clid=") + clid);
    EXPECT_TRUE(evening.mediaData().isEmpty());
    EXPECT_EQ(evening.context().title(), QStringLiteral("Collection Context Menu - Evening"));
    EXPECT_EQ(evening.context().path().toEncoded(), QStringLiteral("playlists:cl/contextmenu?clid=") + clid);
}

TEST_F(RootNodeTest, CreateRowsKeepTheRequestParametersButNeverDoubleTheAction)
{
    const KeloRowsRoles reply = rootRows(0, 99, QStringLiteral("playlists:?view=tv&action=cmnode"));
    EXPECT_EQ(pathOf(reply, "Create New Playlist"), QStringLiteral("playlists:?view=tv&action=createPl"));
    EXPECT_EQ(pathOf(reply, "Create New Collection"), QStringLiteral("playlists:?view=tv&action=createCl"));
}

TEST_F(RootNodeTest, CutsTheRequestedPageOutOfTheRows)
{
    setVisibility(false, false);
    for (int i = 0; i < 6; ++i)
        playlist(QStringLiteral("P%1").arg(i));  // 2 + 8 playlists: 10 rows
    const QStringList all = titles(rootRows());
    ASSERT_EQ(all.size(), 10);

    EXPECT_EQ(titles(rootRows(3, 5)), all.mid(3, 3));
    EXPECT_EQ(titles(rootRows(5, 2)), QStringList{all[2]}) << "fromRow above toRow gives the single row toRow";
    EXPECT_EQ(titles(rootRows(0, 1000)), all);
    EXPECT_EQ(titles(rootRows(-4, 1)), all.mid(0, 2)) << "a negative fromRow counts as 0";
    EXPECT_EQ(titles(rootRows(20, 30)), QStringList{all[9]}) << "a range past the end is clamped to the last row";
    EXPECT_EQ(rootRows(20, 30).rowsCount(), 10);
}

TEST_F(RootNodeTest, SendsOnlyTheRolesAsked)
{
    const KeloRowsRoles reply = rows(make<RootNode>(KeloPlayListsRootPath()), "playlists:", 0, 99, {"title", "type"});
    for (const QVariant& r : reply.rows())
        EXPECT_EQ(r.toHash().keys().size(), 2);
}

TEST_F(RootNodeTest, CreateRowsSendTheCreateCommandsAnsweredByTheCommand)
{
    RootNode* node = make<RootNode>(KeloPlayListsRootPath());
    const CMVoidReply created = set(node, "playlists:?action=createPl", QStringLiteral("Mix"));
    const CMVoidReply unnamed = set(node, "playlists:?action=createCl", 5);
    ASSERT_EQ(recorder->sent.size(), 2u);
    EXPECT_EQ(recorder->sent[0].path, QStringLiteral("playlists:pl/create"));
    EXPECT_EQ(recorder->sent[0].args, (QVariantHash{{"name", "Mix"}}));
    EXPECT_EQ(created.variant(), recorder->answer) << "the command answers the request itself";
    EXPECT_EQ(recorder->sent[1].path, QStringLiteral("playlists:cl/create"));
    EXPECT_EQ(recorder->sent[1].args, (QVariantHash{{"name", ""}})) << "a value that is no text gives an empty name";
    EXPECT_EQ(unnamed.variant(), recorder->answer);

    bool taken = true;
    set(node, "playlists:?action=createpl", QStringLiteral("Mix"), &taken);
    EXPECT_FALSE(taken) << "actions are case-sensitive";
    EXPECT_EQ(recorder->sent.size(), 2u);
}

TEST_F(RootNodeTest, ListsNothingWithoutAManager)
{
    RootNode* node = RootNode::create(nullptr, KeloPlayListsRootPath(), nullptr);
    owned.emplace_back(node);
    const KeloRowsRoles reply = rows(node, "playlists:");
    EXPECT_EQ(reply.rowsCount(), 0);
    EXPECT_TRUE(reply.rows().isEmpty());
}
