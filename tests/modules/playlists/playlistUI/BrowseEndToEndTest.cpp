// The browse tree through kelo-host's HTTP API: a client that knows only the contract walks the tree,
// acts through the menus it finds, and watches the events; the store must agree with the rows after
// every action.
#include <QSet>
#include <gtest/gtest.h>

#include "BrowseOverHttp.h"
#include "CMPath.h"
#include "EventReader.h"

using namespace browsetest;

namespace {

int uidOf(const KeloRoles& playlistRow)
{
    return playlistRow.path().splitBase().value(2, "-1").toInt();
}

// The host's clean stop (checked by the base fixture) also tells that, under the sanitizers, it leaked
// nothing: a leak makes its exit status non-zero.
class BrowseEndToEnd : public BrowseOverHttp
{
protected:
    // Creates a playlist through the root's input row; its uid.
    int createPlayList(const QString& name)
    {
        const QVariantHash answer = act(pathOf("playlists:", "Create New Playlist"), name);
        return answer.value("result").toHash().value("value").toHash().value("i32_", -1).toInt();
    }
    // Tracks of the demo library, through the add command of the contract.
    void addTracks(int plid, const QStringList& mediaPaths)
    {
        act("playlists:pl/additems", QVariantHash{{"plid", plid}, {"items", mediaPaths}, {"mode", 2}});
    }
    QString menuOf(const QString& name) { return row("playlists:", name).context().path().toEncoded(); }
    QString trackMenu(int plid, int seq)
    {
        return rows("playlists:pl/getitems/" + QString::number(plid)).value(seq).context().path().toEncoded();
    }
    // Opens menu, follows the entries titled by path in turn, and sets the last one with value.
    QVariantHash choose(QString menu, const QStringList& entries, const QVariant& value = {})
    {
        for (int i = 0; i + 1 < entries.size(); ++i)
            menu = pathOf(menu, entries[i]);
        return act(pathOf(menu, entries.last()), value);
    }

    void expectTreeAndStoreAgree(const char* step)
    {
        SCOPED_TRACE(step);
        QStringList playlists;
        QStringList collections;
        for (const KeloRoles& r : rows("playlists:")) {
            const QString path = r.path().toEncoded();
            if (path.startsWith("playlists:pl/getitems/")) {
                playlists.append(r.title());
                expectPlayListAgrees(r);
            } else if (path.startsWith("playlists:cl/getitems")) {
                collections.append(r.title());
                const int clid = r.path().parameter("clid").toInt();
                EXPECT_EQ(sorted(titles(rows(path))), members(clid)) << r.title().toStdString();
            }
        }
        EXPECT_EQ(sorted(playlists), playlistNames());
        EXPECT_EQ(sorted(collections), collectionNames());
        EXPECT_EQ(titles(rows("playlists:pq/getitems")), store().titles(0));
    }
    void expectPlayListAgrees(const KeloRoles& playlistRow)
    {
        const int plid = uidOf(playlistRow);
        EXPECT_EQ(titles(rows(playlistRow.path().toEncoded())), store().titles(plid)) << plid;
        const QString menu = playlistRow.context().path().toEncoded();
        const QString shown = QStringLiteral("%1|%2").arg(int(row(menu, "Set shuffle mode").value().bool_()))
                                  .arg(int(row(menu, "Set repeat mode").value().bool_()));
        EXPECT_EQ(shown, flags(plid)) << plid;
    }

};

TEST_F(BrowseEndToEnd, EveryPathTheTreePublishesIsServedAndEveryMenuOpens)
{
    const int road = createPlayList("Road");
    createPlayList("Home");
    addTracks(road, {"media:track/1", "media:track/2"});
    addTracks(0, {"media:track/3"});
    act(pathOf("playlists:", "Create New Collection"), "Trips");
    choose(menuOf("Road"), {"Add to collection", "Trips"});

    QStringList queue = {"playlists:", "playlists:pl/getlist"};
    QSet<QString> seen(queue.begin(), queue.end());
    QSet<QString> nodes;
    while (!queue.isEmpty()) {
        const QString path = queue.takeFirst();
        int status = 0;
        const Rows found = rows(path, &status);
        ASSERT_EQ(status, 200) << path.toStdString();
        nodes.insert(CMPath(path).base().toEncoded().section('/', 0, 1));
        for (const KeloRoles& r : found) {
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
    const QStringList original = store().titles(road);
    ASSERT_EQ(original.size(), 4);
    expectTreeAndStoreAgree("created and filled");

    act(pathOf(menuOf("Road"), "Rename"), "Road trip");
    expectTreeAndStoreAgree("renamed");
    ASSERT_TRUE(playlistNames().contains("Road trip"));

    act(pathOf(menuOf("Road trip"), "Set shuffle mode"), true);
    act(pathOf(menuOf("Road trip"), "Set repeat mode"), true);
    expectTreeAndStoreAgree("shuffle and repeat on");
    EXPECT_EQ(flags(road), QStringLiteral("1|1"));
    act(pathOf(menuOf("Road trip"), "Set shuffle mode"));  // the entry's own toggle
    expectTreeAndStoreAgree("shuffle toggled off");
    EXPECT_EQ(flags(road), QStringLiteral("0|1"));

    act(pathOf(trackMenu(road, 0), "Move track"), "2");
    expectTreeAndStoreAgree("moved");
    EXPECT_EQ(store().titles(road), (QStringList{original[1], original[2], original[0], original[3]}));

    act(pathOf(trackMenu(road, 3), "Remove track"));
    expectTreeAndStoreAgree("removed");
    EXPECT_EQ(store().titles(road).size(), 3);

    choose(trackMenu(road, 0), {"Add to playlist", "Home", "Append"});
    expectTreeAndStoreAgree("added to a playlist");
    EXPECT_EQ(store().titles(home), QStringList{store().titles(road)[0]});

    choose(trackMenu(road, 0), {"Add to playlist", "Create new playlist"}, "Spare");
    expectTreeAndStoreAgree("created from the add menu");
    EXPECT_TRUE(playlistNames().contains("Spare"));

    choose(menuOf("Road trip"), {"Merge with playlist", "Home", "Append"});
    expectTreeAndStoreAgree("merged");
    EXPECT_FALSE(playlistNames().contains("Road trip")) << "a merge moves the source's tracks";
    EXPECT_EQ(store().titles(home).size(), 4);

    act(pathOf(menuOf("Home"), "Clear playlist"));
    expectTreeAndStoreAgree("cleared");
    EXPECT_TRUE(store().titles(home).isEmpty());

    const QVariantHash deleted = act(pathOf(menuOf("Spare"), "Delete playlist"));
    EXPECT_EQ(deleted.value("events").toList(), (QVariantList{QVariantHash{{"rowsType", 1}}}))
        << "the menu of a deleted playlist is left";
    expectTreeAndStoreAgree("deleted");
    EXPECT_EQ(playlistNames(), QStringList{"Home"});
}

TEST_F(BrowseEndToEnd, PlayQueueAndCollectionMenusKeepRowsAndStoreInStep)
{
    const int road = createPlayList("Road");
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3"});
    for (const char* mode : {"Append", "After current", "Now"})
        choose(trackMenu(road, 0), {"Add to playqueue", mode});
    expectTreeAndStoreAgree("added to the play queue");
    EXPECT_EQ(store().titles(0).size(), 3);

    act(row("playlists:", "PlayQueue").vimboClearQueue());
    expectTreeAndStoreAgree("play queue cleared from its row");
    EXPECT_TRUE(store().titles(0).isEmpty());

    addTracks(0, {"media:track/4"});
    choose("playlists:pq/contextmenu?plid=0", {"Clear"});
    expectTreeAndStoreAgree("play queue cleared from its menu");
    EXPECT_TRUE(store().titles(0).isEmpty());

    act(pathOf("playlists:", "Create New Collection"), "Trips");
    choose(menuOf("Road"), {"Add to collection", "Trips"});
    choose(menuOf("Road"), {"Add to collection", "Create new collection"}, "Later");
    expectTreeAndStoreAgree("collections built");
    const int trips = row("playlists:", "Trips").path().parameter("clid").toInt();
    EXPECT_EQ(members(trips), QStringList{"Road"});

    const KeloRoles inCollection = row(row("playlists:", "Trips").path().toEncoded(), "Road");
    choose(inCollection.context().path().toEncoded(), {"Remove from collection - Trips"});
    expectTreeAndStoreAgree("collection emptied");
    EXPECT_TRUE(members(trips).isEmpty());

    choose(row("playlists:", "Trips").context().path().toEncoded(), {"Delete collection"});
    expectTreeAndStoreAgree("collection deleted");
    EXPECT_EQ(collectionNames(), QStringList{"Later"});
}

TEST_F(BrowseEndToEnd, RefusedActionsAreAnsweredAndChangeNothing)
{
    const int road = createPlayList("Road");
    addTracks(road, {"media:track/1"});
    int status = 0;
    set(menuOf("Road") + "&action=bogus", {}, &status);
    EXPECT_EQ(status, 404) << "an unknown menu action";
    const QVariantHash empty = set(pathOf("playlists:", "Create New Playlist"), "", &status);
    EXPECT_EQ(status, 200);
    EXPECT_FALSE(empty.value("error").toHash().value("message").toString().isEmpty()) << "an empty name";
    set(pathOf(trackMenu(road, 0), "Move track"), "seven", &status);
    EXPECT_EQ(status, 200);
    expectTreeAndStoreAgree("after refusals");
    EXPECT_EQ(playlistNames(), QStringList{"Road"});
    EXPECT_EQ(store().titles(road).size(), 1);
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
    act(pathOf(trackMenu(road, 2), "Move track"), "0");
    act(pathOf(menuOf("Road"), "Rename"), "Road trip");
    act(pathOf(menuOf("Road trip"), "Set shuffle mode"), true);
    act(pathOf(menuOf("Road trip"), "Delete playlist"));
    // A last edit with an event of its own: once it is in, everything before it is.
    act(pathOf("playlists:", "Create New Collection"), "Marker");

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
