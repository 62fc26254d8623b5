// The browse tree through kelo-host's HTTP API: a client that knows only the contract walks the tree,
// acts through the menus it finds, and watches the events; the store must agree with the rows after
// every action.
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "BrowseOverHttp.h"
#include "CMPath.h"
#include "EventReader.h"
#include "HostProcess.h"

using namespace browsetest;

namespace {

int uidOf(const KeloRoles& playlistRow)
{
    return playlistRow.path().splitBase().value(2, "-1").toInt();
}

class BrowseEndToEnd : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(host.start(dir.filePath("data"), {})) << host.errorOutput().toStdString();
    }
    void TearDown() override
    {
        // Under the sanitizers a leak or a bad access at shutdown makes the exit status non-zero.
        EXPECT_EQ(host.stop(SIGTERM, 20000), 0) << host.errorOutput().toStdString();
    }

    // Creates a playlist through the root's input row; its uid.
    int createPlayList(const QString& name)
    {
        const QVariantHash answer = tree.act(tree.pathOf("playlists:", "Create New Playlist"), name);
        return answer.value("result").toHash().value("value").toHash().value("i32_", -1).toInt();
    }
    // Tracks of the demo library, through the add command of the contract.
    void addTracks(int plid, const QStringList& mediaPaths)
    {
        tree.act("playlists:pl/additems", QVariantHash{{"plid", plid}, {"items", mediaPaths}, {"mode", 2}});
    }
    QString menuOf(const QString& name) { return tree.row("playlists:", name).context().path().toEncoded(); }
    QString trackMenu(int plid, int seq)
    {
        return tree.rows("playlists:pl/getitems/" + QString::number(plid)).value(seq).context().path().toEncoded();
    }
    // Opens menu, follows the entries titled by path in turn, and sets the last one with value.
    QVariantHash choose(QString menu, const QStringList& entries, const QVariant& value = {})
    {
        for (int i = 0; i + 1 < entries.size(); ++i)
            menu = tree.pathOf(menu, entries[i]);
        return tree.act(tree.pathOf(menu, entries.last()), value);
    }

    void expectTreeAndStoreAgree(const char* step)
    {
        SCOPED_TRACE(step);
        QStringList playlists;
        QStringList collections;
        for (const KeloRoles& r : tree.rows("playlists:")) {
            const QString path = r.path().toEncoded();
            if (path.startsWith("playlists:pl/getitems/")) {
                playlists.append(r.title());
                expectPlayListAgrees(r);
            } else if (path.startsWith("playlists:cl/getitems")) {
                collections.append(r.title());
                const int clid = r.path().parameter("clid").toInt();
                EXPECT_EQ(Store::sorted(Tree::titles(tree.rows(path))), store.members(clid)) << r.title().toStdString();
            }
        }
        EXPECT_EQ(Store::sorted(playlists), store.playlistNames());
        EXPECT_EQ(Store::sorted(collections), store.collectionNames());
        EXPECT_EQ(Tree::titles(tree.rows("playlists:pq/getitems")), store.tracks(0));
    }
    void expectPlayListAgrees(const KeloRoles& playlistRow)
    {
        const int plid = uidOf(playlistRow);
        EXPECT_EQ(Tree::titles(tree.rows(playlistRow.path().toEncoded())), store.tracks(plid)) << plid;
        const QString menu = playlistRow.context().path().toEncoded();
        EXPECT_EQ(tree.row(menu, "Set shuffle mode").value().bool_(), store.shuffle(plid)) << plid;
        EXPECT_EQ(tree.row(menu, "Set repeat mode").value().bool_(), store.repeatAll(plid)) << plid;
    }

    QTemporaryDir dir;
    HostProcess host;
    Tree tree{host};
    Store store{dir.filePath("data/data-rw/playlists/playlists.sqlite")};
};

TEST_F(BrowseEndToEnd, EveryPathTheTreePublishesIsServedAndEveryMenuOpens)
{
    const int road = createPlayList("Road");
    createPlayList("Home");
    addTracks(road, {"media:track/1", "media:track/2"});
    addTracks(0, {"media:track/3"});
    tree.act(tree.pathOf("playlists:", "Create New Collection"), "Trips");
    choose(menuOf("Road"), {"Add to collection", "Trips"});

    QStringList queue = {"playlists:", "playlists:pl/getlist"};
    QSet<QString> seen(queue.begin(), queue.end());
    QSet<QString> nodes;
    while (!queue.isEmpty()) {
        const QString path = queue.takeFirst();
        int status = 0;
        const Rows rows = tree.rows(path, &status);
        ASSERT_EQ(status, 200) << path.toStdString();
        nodes.insert(CMPath(path).base().toEncoded().section('/', 0, 1));
        for (const KeloRoles& r : rows) {
            QStringList next;
            if (r.contains(KeloRoles::Context()))
                next.append(r.context().path().toEncoded());
            if (r.type() == KeloRolesType::Container && r.contains(KeloRoles::Path()))
                next.append(r.path().toEncoded());
            for (const QString& p : next) {
                if (!seen.contains(p)) {
                    seen.insert(p);
                    queue.append(p);
                }
            }
        }
        ASSERT_LT(seen.size(), 400) << "the walk does not end";
    }
    const QSet<QString> expected = {"playlists:", "playlists:pl/getlist", "playlists:pl/getitems",
                                    "playlists:pl/contextmenu", "playlists:pl/trackcontextmenu",
                                    "playlists:pl/addtoplaylist", "playlists:pl/selectaddmode",
                                    "playlists:pq/getitems", "playlists:pq/contextmenu", "playlists:cl/getitems",
                                    "playlists:cl/addtocollection", "playlists:cl/contextmenu"};
    EXPECT_EQ(nodes, expected);
}

TEST_F(BrowseEndToEnd, PlayListMenusKeepRowsAndStoreInStep)
{
    const int road = createPlayList("Road");
    const int home = createPlayList("Home");
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3", "media:track/4"});
    const QStringList original = store.tracks(road);
    ASSERT_EQ(original.size(), 4);
    expectTreeAndStoreAgree("created and filled");

    tree.act(tree.pathOf(menuOf("Road"), "Rename"), "Road trip");
    expectTreeAndStoreAgree("renamed");
    ASSERT_TRUE(store.playlistNames().contains("Road trip"));

    tree.act(tree.pathOf(menuOf("Road trip"), "Set shuffle mode"), true);
    tree.act(tree.pathOf(menuOf("Road trip"), "Set repeat mode"), true);
    expectTreeAndStoreAgree("shuffle and repeat on");
    EXPECT_TRUE(store.shuffle(road) && store.repeatAll(road));
    tree.act(tree.pathOf(menuOf("Road trip"), "Set shuffle mode"));  // the entry's own toggle
    expectTreeAndStoreAgree("shuffle toggled off");
    EXPECT_FALSE(store.shuffle(road));

    tree.act(tree.pathOf(trackMenu(road, 0), "Move track"), "2");
    expectTreeAndStoreAgree("moved");
    EXPECT_EQ(store.tracks(road), (QStringList{original[1], original[2], original[0], original[3]}));

    tree.act(tree.pathOf(trackMenu(road, 3), "Remove track"));
    expectTreeAndStoreAgree("removed");
    EXPECT_EQ(store.tracks(road).size(), 3);

    choose(trackMenu(road, 0), {"Add to playlist", "Home", "Append"});
    expectTreeAndStoreAgree("added to a playlist");
    EXPECT_EQ(store.tracks(home), QStringList{store.tracks(road)[0]});

    choose(trackMenu(road, 0), {"Add to playlist", "Create new playlist"}, "Spare");
    expectTreeAndStoreAgree("created from the add menu");
    EXPECT_TRUE(store.playlistNames().contains("Spare"));

    choose(menuOf("Road trip"), {"Merge with playlist", "Home", "Append"});
    expectTreeAndStoreAgree("merged");
    EXPECT_FALSE(store.playlistNames().contains("Road trip")) << "a merge moves the source's tracks";
    EXPECT_EQ(store.tracks(home).size(), 4);

    tree.act(tree.pathOf(menuOf("Home"), "Clear playlist"));
    expectTreeAndStoreAgree("cleared");
    EXPECT_TRUE(store.tracks(home).isEmpty());

    const QVariantHash deleted = tree.act(tree.pathOf(menuOf("Spare"), "Delete playlist"));
    EXPECT_EQ(deleted.value("events").toList(), (QVariantList{QVariantHash{{"rowsType", 1}}}))
        << "the menu of a deleted playlist is left";
    expectTreeAndStoreAgree("deleted");
    EXPECT_EQ(store.playlistNames(), QStringList{"Home"});
}

TEST_F(BrowseEndToEnd, PlayQueueAndCollectionMenusKeepRowsAndStoreInStep)
{
    const int road = createPlayList("Road");
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3"});
    for (const char* mode : {"Append", "After current", "Now"})
        choose(trackMenu(road, 0), {"Add to playqueue", mode});
    expectTreeAndStoreAgree("added to the play queue");
    EXPECT_EQ(store.tracks(0).size(), 3);

    tree.act(tree.row("playlists:", "PlayQueue").vimboClearQueue());
    expectTreeAndStoreAgree("play queue cleared from its row");
    EXPECT_TRUE(store.tracks(0).isEmpty());

    addTracks(0, {"media:track/4"});
    choose("playlists:pq/contextmenu?plid=0", {"Clear"});
    expectTreeAndStoreAgree("play queue cleared from its menu");
    EXPECT_TRUE(store.tracks(0).isEmpty());

    tree.act(tree.pathOf("playlists:", "Create New Collection"), "Trips");
    choose(menuOf("Road"), {"Add to collection", "Trips"});
    choose(menuOf("Road"), {"Add to collection", "Create new collection"}, "Later");
    expectTreeAndStoreAgree("collections built");
    const int trips = tree.row("playlists:", "Trips").path().parameter("clid").toInt();
    EXPECT_EQ(store.members(trips), QStringList{"Road"});

    const KeloRoles inCollection = tree.row(tree.row("playlists:", "Trips").path().toEncoded(), "Road");
    choose(inCollection.context().path().toEncoded(), {"Remove from collection - Trips"});
    expectTreeAndStoreAgree("collection emptied");
    EXPECT_TRUE(store.members(trips).isEmpty());

    choose(tree.row("playlists:", "Trips").context().path().toEncoded(), {"Delete collection"});
    expectTreeAndStoreAgree("collection deleted");
    EXPECT_EQ(store.collectionNames(), QStringList{"Later"});
}

TEST_F(BrowseEndToEnd, RefusedActionsAreAnsweredAndChangeNothing)
{
    const int road = createPlayList("Road");
    addTracks(road, {"media:track/1"});
    int status = 0;
    tree.set(menuOf("Road") + "&action=bogus", {}, &status);
    EXPECT_EQ(status, 404) << "an unknown menu action";
    const QVariantHash empty = tree.set(tree.pathOf("playlists:", "Create New Playlist"), "", &status);
    EXPECT_EQ(status, 200);
    EXPECT_FALSE(empty.value("error").toHash().value("message").toString().isEmpty()) << "an empty name";
    tree.set(tree.pathOf(trackMenu(road, 0), "Move track"), "seven", &status);
    EXPECT_EQ(status, 200);
    expectTreeAndStoreAgree("after refusals");
    EXPECT_EQ(store.playlistNames(), QStringList{"Road"});
    EXPECT_EQ(store.tracks(road).size(), 1);
}

// The row-change events of the tree on a stream, in arrival order.
QList<QVariantHash> treeEvents(const EventReader& reader)
{
    QList<QVariantHash> result;
    for (const QVariantHash& e : reader.events()) {
        if (e.value("path").toString().startsWith("playlists:"))
            result.append(QVariantHash{{"path", e.value("path")}, {"change", e.value("change")}, {"rows", e.value("rows")}});
    }
    return result;
}

QVariantHash event(const QString& path, const QString& change, const QStringList& rows = {})
{
    return {{"path", path}, {"change", change}, {"rows", rows.isEmpty() ? QVariant() : QVariant(rows)}};
}

TEST_F(BrowseEndToEnd, EveryEditReachesEveryOpenStreamOnceAndInOrder)
{
    std::vector<std::unique_ptr<EventReader>> readers;
    for (int i = 0; i < 3; ++i) {
        readers.push_back(std::make_unique<EventReader>(host.port()));
        ASSERT_TRUE(readers.back()->waitConnected());
    }
    EventReader leaving(host.port());
    ASSERT_TRUE(leaving.waitConnected());

    const int road = createPlayList("Road");
    const QString items = "playlists:pl/getitems/" + QString::number(road);
    leaving.close();  // gone before the next edits: the host must forget it and serve the others
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3"});
    tree.act(tree.pathOf(trackMenu(road, 2), "Move track"), "0");
    tree.act(tree.pathOf(menuOf("Road"), "Rename"), "Road trip");
    tree.act(tree.pathOf(menuOf("Road trip"), "Set shuffle mode"), true);
    tree.act(tree.pathOf(menuOf("Road trip"), "Delete playlist"));
    // A last edit with an event of its own: once it is in, everything before it is.
    tree.act(tree.pathOf("playlists:", "Create New Collection"), "Marker");

    const QList<QVariantHash> expected = {
        event("playlists:", "reset"),
        event("playlists:pl/addtoplaylist", "reset"),
        event("playlists:pl/getlist", "reset"),
        event(items, "rows", {"+0", "+1", "+2"}),
        event(items, "reset"),
        event("playlists:pl/trackcontextmenu", "reset"),
        event("playlists:", "reset"),
        event("playlists:pl/contextmenu", "reset"),
        event("playlists:pl/contextmenu", "reset"),
        event("playlists:", "reset"),
        event("playlists:pl/addtoplaylist", "reset"),
        event(items, "close"),
        event("playlists:", "reset"),
        event("playlists:cl/addtocollection", "reset"),
    };
    for (const auto& reader : readers) {
        ASSERT_TRUE(reader->waitFor([](const QVariantHash& e) { return e.value("path") == "playlists:cl/addtocollection"; }));
        EXPECT_EQ(treeEvents(*reader), expected);
    }
}

}  // namespace
