// The collection nodes and the play queue's menu: their rows and the commands their entries send.
#include "BrowseFixture.h"
#include "Collection.h"
#include "playlistUI/collection/CollectionAddToClNode.h"
#include "playlistUI/collection/CollectionContextNode.h"
#include "playlistUI/collection/CollectionGetItemsNode.h"
#include "playlistUI/playqueue/PlayQueueContextNode.h"

using namespace browsetest;

namespace {
class CollectionAndQueueMenusTest : public BrowseTest
{
protected:
    SentCommand takeCommand()
    {
        EXPECT_EQ(recorder->sent.size(), 1u);
        const SentCommand command = recorder->sent.empty() ? SentCommand() : recorder->sent.back();
        recorder->sent.clear();
        return command;
    }
};
}  // namespace

TEST_F(CollectionAndQueueMenusTest, CollectionListsItsPlayListsWithMenusThatKnowTheCollection)
{
    PlayListBase* b = playlist(QStringLiteral("B"));
    PlayListBase* a = playlist(QStringLiteral("A"));
    CollectionBase* evening = manager->createCollection(QStringLiteral("Evening"));
    ASSERT_TRUE(evening->addPlayList(b));
    ASSERT_TRUE(evening->addPlayList(a));
    const QString clid = QString::number(evening->getUid());
    CollectionGetItemsNode* node = make<CollectionGetItemsNode>(KeloPlayListClGetItemsPath());

    const KeloRowsRoles reply = rows(node, "playlists:cl/getitems?clid=" + clid);
    EXPECT_EQ(reply.title(), QStringLiteral("Collection - Evening"));
    EXPECT_EQ(titles(reply), (QStringList{"B", "A"})) << "in the collection's order";
    const KeloRoles first = row(reply, 0);
    EXPECT_EQ(first.path().toEncoded(), "playlists:pl/getitems/" + uid(b));
    EXPECT_TRUE(first.containerPlayable());
    EXPECT_EQ(first.context().title(), QStringLiteral("Playlist - B"));
    EXPECT_EQ(first.context().path().toEncoded(), "playlists:pl/contextmenu?plid=" + uid(b) + "&clid=" + clid);

    EXPECT_EQ(titles(rows(node, "playlists:cl/getitems?clid=" + clid, 1, 1)), QStringList{"A"});
    EXPECT_EQ(rows(node, "playlists:cl/getitems?clid=999").rowsCount(), 0);
    EXPECT_EQ(rows(node, "playlists:cl/getitems").rowsCount(), 0);
}

TEST_F(CollectionAndQueueMenusTest, AddToCollectionMenuCarriesThePlayListAndReplacesTheAction)
{
    CollectionBase* evening = manager->createCollection(QStringLiteral("Evening"));
    const QString clid = QString::number(evening->getUid());
    const KeloRowsRoles reply = rows(make<CollectionAddToClNode>(KeloPlayListClAddtoCollectionPath()),
                                     "playlists:cl/addtocollection?action=cmnode&plid=5");
    EXPECT_EQ(reply.title(), QStringLiteral("Add playlist to collection"));
    EXPECT_EQ(titles(reply), (QStringList{"Create new collection", "", "Evening"}));
    EXPECT_EQ(types(reply), (QList<int>{101, 105, 102}));
    EXPECT_EQ(row(reply, 0).path().toEncoded(), QStringLiteral("playlists:cl/addtocollection?plid=5&action=createCl"));
    EXPECT_EQ(row(reply, 2).path().toEncoded(), "playlists:cl/addtocollection?plid=5&action=addItem&clid=" + clid);
}

TEST_F(CollectionAndQueueMenusTest, CollectionMenusSendTheCollectionCommands)
{
    CollectionAddToClNode* addTo = make<CollectionAddToClNode>(KeloPlayListClAddtoCollectionPath());
    CollectionContextNode* menu = make<CollectionContextNode>(KeloPlayListClContextPath());
    struct Case
    {
        CMNode* node;
        QString path;
        QVariant value;
        QString command;
        QVariantHash args;
    };
    const QList<Case> cases = {
        {addTo, "playlists:cl/addtocollection?plid=5&action=createCl", "Evening", "playlists:cl/create", {{"name", "Evening"}}},
        {addTo, "playlists:cl/addtocollection?plid=5&action=addItem&clid=3", {}, "playlists:cl/additem", {{"plid", 5}, {"clid", 3}}},
        {menu, "playlists:cl/contextmenu?action=delete&clid=3", {}, "playlists:cl/delete", {{"clid", 3}}},
    };
    for (const Case& c : cases) {
        bool taken = false;
        const CMVoidReply reply = set(c.node, c.path, c.value, &taken);
        EXPECT_TRUE(taken) << c.path.toStdString();
        const SentCommand command = takeCommand();
        EXPECT_EQ(command.path, c.command);
        EXPECT_EQ(command.args, c.args);
        EXPECT_EQ(reply.variant(), recorder->answer);
    }
    bool taken = true;
    set(addTo, "playlists:cl/addtocollection?plid=5&action=cmnode", {}, &taken);
    EXPECT_FALSE(taken);
    set(menu, "playlists:cl/contextmenu?action=delPL&clid=3", {}, &taken);
    EXPECT_FALSE(taken);
    EXPECT_TRUE(recorder->sent.empty());
}

TEST_F(CollectionAndQueueMenusTest, CollectionMenuNamesTheCollection)
{
    CollectionBase* evening = manager->createCollection(QStringLiteral("Evening"));
    const QString clid = QString::number(evening->getUid());
    CollectionContextNode* node = make<CollectionContextNode>(KeloPlayListClContextPath());
    const KeloRowsRoles reply = rows(node, "playlists:cl/contextmenu?clid=" + clid);
    EXPECT_EQ(reply.title(), QStringLiteral("Collection Context Menu - Evening"));
    EXPECT_EQ(titles(reply), QStringList{"Delete collection"});
    EXPECT_EQ(row(reply, 0).path().toEncoded(), "playlists:cl/contextmenu?action=delete&clid=" + clid);
    EXPECT_EQ(rows(node, "playlists:cl/contextmenu?clid=42").rowsCount(), 0);
}

TEST_F(CollectionAndQueueMenusTest, PlayQueueMenuPlaysMergesAndClears)
{
    PlayQueueContextNode* node = make<PlayQueueContextNode>(KeloPlayListPqContextPath());
    const KeloRowsRoles reply = rows(node, "playlists:pq/contextmenu?plid=0");
    EXPECT_EQ(reply.title(), QStringLiteral("PlayQueue Context Menu"));
    EXPECT_EQ(titles(reply), (QStringList{"Play", "Merge with playlist", "", "Clear"}));
    EXPECT_EQ(types(reply), (QList<int>{102, 1, 105, 102}));
    EXPECT_EQ(row(reply, 0).path().toEncoded(), QStringLiteral("playlists:pq/contextmenu?action=playPl&plid=0"));
    EXPECT_EQ(row(reply, 1).path().toEncoded(), QStringLiteral("playlists:pl/addtoplaylist?action=cmnode&fromplid=0"));
    EXPECT_EQ(row(reply, 3).path().toEncoded(), QStringLiteral("playlists:pq/contextmenu?action=clearPl&plid=0"));

    CMVoidReply answered = set(node, "playlists:pq/contextmenu?action=playPl&plid=0", {});
    SentCommand command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/play"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 0}}));
    EXPECT_EQ(answered.variant(), recorder->answer);

    answered = set(node, "playlists:pq/contextmenu?action=clearPl&plid=0", {});
    command = takeCommand();
    EXPECT_EQ(command.path, QStringLiteral("playlists:pl/clear"));
    EXPECT_EQ(command.args, (QVariantHash{{"plid", 0}}));

    bool taken = true;
    set(node, "playlists:pq/contextmenu?action=play&plid=0", {}, &taken);
    EXPECT_FALSE(taken) << "the playlist menu's word is not the play queue's";
    EXPECT_TRUE(recorder->sent.empty());
}
