// The browse tree through kelo-host's HTTP API, as a client that knows only docs/api.md uses it: it
// walks the tree, acts through the menus it finds, and watches the events; after every action the
// rows and the store agree. The base fixture's clean stop of the host also tells that, under the
// sanitizers, the host leaked nothing (a leak makes its exit status non-zero).
#include <QJsonDocument>
#include <QSet>
#include <functional>

#include "CMPath.h"
#include "EndToEndSupport.h"
#include "EventReader.h"
#include "KeloJson.h"
#include "KeloRoles.h"

namespace {
using Rows = QList<KeloRoles>;

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList titles(const Rows& rows)
{
    QStringList result;
    for (const KeloRoles& r : rows)
        result.append(r.title());
    return result;
}

class BrowseEndToEnd : public pltest::EndToEnd
{
protected:
    QVariantHash post(const char* endpoint, const QVariantHash& body, int* status = nullptr) const
    {
        const pltest::HttpAnswer answer =
            client->post(endpoint, QJsonDocument::fromVariant(body).toJson(QJsonDocument::Compact));
        if (status)
            *status = answer.status;
        return KeloJson::normalize(answer.body.toVariantHash()).toHash();
    }
    // Every row of path, page by page; *status: the HTTP status of the last page.
    Rows rows(const QString& path, int* status = nullptr) const
    {
        Rows all;
        int total = 0;
        do {
            const QVariantHash page =
                post("/api/getRows", {{"path", path}, {"fromRow", all.size()}, {"toRow", all.size() + 49}}, status);
            total = page.value("rowsCount").toInt();
            for (const QVariant& r : page.value("rows").toList())
                all.append(KeloRoles(KeloHash(r.toHash())));
        } while (all.size() < total);
        return all;
    }
    KeloRoles row(const QString& path, const QString& title) const
    {
        for (const KeloRoles& r : rows(path)) {
            if (r.title() == title)
                return r;
        }
        ADD_FAILURE() << "no row \"" << title.toStdString() << "\" in " << path.toStdString();
        return KeloRoles();
    }
    QString pathOf(const QString& path, const QString& title) const { return row(path, title).path().toEncoded(); }
    QString menuOf(const QString& title) const { return row("playlists:", title).context().path().toEncoded(); }
    QString trackMenu(int plid, int seq) const
    {
        return rows("playlists:pl/getitems/" + QString::number(plid)).value(seq).context().path().toEncoded();
    }
    QVariantHash set(const QString& path, const QVariant& value = {}, int* status = nullptr) const
    {
        QVariantHash body{{"path", path}};
        if (value.isValid())
            body.insert("value", value);
        return post("/api/setData", body, status);
    }
    // A set-data request that must succeed: its value.
    QVariantHash act(const QString& path, const QVariant& value = {}) const
    {
        const QVariantHash answer = set(path, value);
        EXPECT_TRUE(answer.contains("value"))
            << path.toStdString() << ": " << answer.value("error").toHash().value("message").toString().toStdString();
        return answer.value("value").toHash();
    }
    // Opens menu, follows the entries titled in turn, and sets the last one with value.
    QVariantHash choose(QString menu, const QStringList& entries, const QVariant& value = {})
    {
        for (int i = 0; i + 1 < entries.size(); ++i)
            menu = pathOf(menu, entries[i]);
        return act(pathOf(menu, entries.last()), value);
    }
    int create(const QString& name)
    {
        const QVariantHash answer = act(pathOf("playlists:", "Create New Playlist"), name);
        return answer.value("result").toHash().value("value").toHash().value("i32_").toInt();
    }
    void addTracks(int plid, const QStringList& paths)
    {
        act("playlists:pl/additems", QVariantHash{{"plid", plid}, {"items", paths}});
    }

    void expectTreeAndStoreAgree(const char* step)
    {
        SCOPED_TRACE(step);
        QStringList playlists, collections;
        for (const KeloRoles& r : rows("playlists:")) {
            const QString path = r.path().toEncoded();
            if (path.startsWith("playlists:pl/getitems/")) {
                const QString plid = r.path().splitBase().value(2);
                playlists.append(r.title());
                EXPECT_EQ(titles(rows(path)), store().titles(plid.toInt())) << r.title().toStdString();
                const Rows menu = rows(r.context().path().toEncoded());
                const QString shown = QStringLiteral("%1|%2")
                                          .arg(int(menu.value(2).value().bool_()))
                                          .arg(int(menu.value(3).value().bool_()));
                EXPECT_EQ(shown, store().rows("SELECT shuffle, repeatAll FROM playlists WHERE uid = " + plid).value(0));
            } else if (path.startsWith("playlists:cl/getitems")) {
                collections.append(r.title());
                EXPECT_EQ(sorted(titles(rows(path))),
                          sorted(store().rows("SELECT name FROM playlists JOIN collections_playlists ON uid = playlist "
                                              "WHERE collection = "
                                              + r.path().parameter("clid"))));
            }
        }
        EXPECT_EQ(sorted(playlists), playlistNames());
        EXPECT_EQ(sorted(collections), sorted(store().rows("SELECT name FROM collections")));
        EXPECT_EQ(titles(rows("playlists:pq/getitems")), store().titles(0));
    }
    QStringList playlistNames() const { return sorted(store().rows("SELECT name FROM playlists WHERE uid > 0")); }
};
}  // namespace

TEST_F(BrowseEndToEnd, EveryPathTheTreePublishesIsServed)
{
    const int road = create("Road");
    create("Home");
    addTracks(road, {"media:track/1", "media:track/2"});
    addTracks(0, {"media:track/3"});
    act(pathOf("playlists:", "Create New Collection"), "Trips");
    choose(menuOf("Road"), {"Add to collection", "Trips"});

    QStringList queue = {"playlists:", "playlists:pl/getlist"};
    QSet<QString> seen(queue.begin(), queue.end()), nodes;
    while (!queue.isEmpty() && seen.size() < 400) {
        const QString path = queue.takeFirst();
        int status = 0;
        for (const KeloRoles& r : rows(path, &status)) {
            for (const QString& next :
                 {r.context().path().toEncoded(), r.type() == 1 ? r.path().toEncoded() : QString()}) {
                if (!next.isEmpty() && !seen.contains(next)) {
                    seen.insert(next);
                    queue.append(next);
                }
            }
        }
        ASSERT_EQ(status, 200) << path.toStdString();
        nodes.insert(CMPath(path).base().toEncoded().section('/', 0, 1));
    }
    EXPECT_EQ(nodes,
              (QSet<QString>{"playlists:", "playlists:pl/getlist", "playlists:pl/getitems", "playlists:pl/contextmenu",
                             "playlists:pl/trackcontextmenu", "playlists:pl/addtoplaylist",
                             "playlists:pl/selectaddmode", "playlists:pq/getitems", "playlists:pq/contextmenu",
                             "playlists:cl/getitems", "playlists:cl/addtocollection", "playlists:cl/contextmenu"}));
}

TEST_F(BrowseEndToEnd, EveryMenuActionKeepsRowsAndStoreInStep)
{
    const int road = create("Road"), home = create("Home");
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3", "media:track/4"});
    const QStringList original = store().titles(road);
    expectTreeAndStoreAgree("created and filled");

    const QString queue = "playlists:pq/contextmenu?plid=0";
    const auto trips = [&] { return row("playlists:", "Trips"); };
    // clang-format off
    const std::vector<std::pair<const char*, std::function<void()>>> steps = {
        {"renamed", [&] { act(pathOf(menuOf("Road"), "Rename"), "Road trip"); }},
        {"shuffle on", [&] { act(pathOf(menuOf("Road trip"), "Set shuffle mode"), true); }},
        {"repeat on", [&] { act(pathOf(menuOf("Road trip"), "Set repeat mode"), true); }},
        {"shuffle switched by its entry", [&] { act(pathOf(menuOf("Road trip"), "Set shuffle mode")); }},
        {"moved", [&] { act(pathOf(trackMenu(road, 0), "Move track"), "2"); }},
        {"removed", [&] { act(pathOf(trackMenu(road, 3), "Remove track")); }},
        {"refused move", [&] { set(pathOf(trackMenu(road, 0), "Move track"), "seven"); }},
        {"added to a playlist", [&] { choose(trackMenu(road, 0), {"Add to playlist", "Home", "Append"}); }},
        {"created from the add menu", [&] { choose(trackMenu(road, 0), {"Add to playlist", "Create new playlist"}, "Spare"); }},
        {"queued at the end", [&] { choose(trackMenu(road, 1), {"Add to playqueue", "Append"}); }},
        {"queued after current", [&] { choose(trackMenu(road, 2), {"Add to playqueue", "After current"}); }},
        {"queued now", [&] { choose(trackMenu(road, 0), {"Add to playqueue", "Now"}); }},
        {"collection created", [&] { act(pathOf("playlists:", "Create New Collection"), "Trips"); }},
        {"added to a collection", [&] { choose(menuOf("Home"), {"Add to collection", "Trips"}); }},
        {"collection from the add menu", [&] { choose(menuOf("Spare"), {"Add to collection", "Create new collection"}, "Later"); }},
        {"left the collection", [&] { choose(row(trips().path().toEncoded(), "Home").context().path().toEncoded(), {"Remove from collection - Trips"}); }},
        {"collection deleted", [&] { choose(trips().context().path().toEncoded(), {"Delete collection"}); }},
        {"collection renamed", [&] {
            const int later = row("playlists:", "Later").path().parameter("clid").toInt();
            act("playlists:cl/setname", QVariantHash{{"clid", later}, {"name", "Later on"}});
        }},
        {"merged", [&] { choose(menuOf("Road trip"), {"Merge with playlist", "Home", "Append"}); }},
        {"queue cleared from its row", [&] { act(row("playlists:", "PlayQueue").vimboClearQueue()); }},
        {"queue merged", [&] { addTracks(0, {"media:track/5"}); choose(queue, {"Merge with playlist", "Spare", "Now"}); }},
        {"queue cleared from its menu", [&] { choose(queue, {"Clear"}); }},
        {"cleared", [&] { act(pathOf(menuOf("Home"), "Clear playlist")); }},
    };
    // clang-format on
    for (const auto& step : steps) {
        step.second();
        expectTreeAndStoreAgree(step.first);
        if (step.first == std::string("moved")) {
            EXPECT_EQ(store().titles(road), (QStringList{original[1], original[2], original[0], original[3]}));
        }
    }
    EXPECT_EQ(playlistNames(), (QStringList{"Home", "Spare"})) << "merging moves the source's tracks and removes it";
    EXPECT_EQ(store().rows("SELECT name FROM collections"), QStringList{"Later on"});
    EXPECT_TRUE(store().titles(0).isEmpty() && store().titles(home).isEmpty());

    const QVariantHash deleted = act(pathOf(menuOf("Spare"), "Delete playlist"));
    EXPECT_EQ(deleted.value("events").toList(), (QVariantList{QVariantHash{{"rowsType", 1}}})) << "leave the menu";
    expectTreeAndStoreAgree("deleted");
    int status = 0;
    set(menuOf("Home") + "&action=bogus", {}, &status);
    EXPECT_EQ(status, 404) << "an unknown menu action";
}

TEST_F(BrowseEndToEnd, EveryEditReachesEveryOpenStreamOnceAndInOrder)
{
    std::vector<std::unique_ptr<EventReader>> readers;
    for (int i = 0; i < 4; ++i) {
        readers.push_back(std::make_unique<EventReader>(host.port()));
        ASSERT_TRUE(readers.back()->waitConnected());
    }
    const int road = create("Road");
    const QString items = "playlists:pl/getitems/" + QString::number(road);
    readers.back()->close();  // gone before the next edits: the host forgets it and serves the others
    readers.pop_back();
    addTracks(road, {"media:track/1", "media:track/2", "media:track/3"});
    act(pathOf(trackMenu(road, 2), "Move track"), "0");
    act(pathOf(menuOf("Road"), "Rename"), "Road trip");
    act(pathOf(menuOf("Road trip"), "Set shuffle mode"), true);
    act(pathOf(menuOf("Road trip"), "Delete playlist"));
    act(pathOf("playlists:", "Create New Collection"), "Marker");
    const int marker = row("playlists:", "Marker").path().parameter("clid").toInt();
    act("playlists:cl/setname", QVariantHash{{"clid", marker}, {"name", "Marker 2"}});  // its events come last

    // clang-format off
    const QStringList expected = {
        "playlists: reset", "playlists:pl/addtoplaylist reset", "playlists:pl/getlist reset",  // created
        items + " rows +0,+1,+2",                                                             // filled
        items + " reset", "playlists:pl/trackcontextmenu reset",                              // moved
        "playlists: reset", "playlists:pl/contextmenu reset",                                 // renamed
        "playlists:pl/contextmenu reset",                                                     // shuffled
        items + " close", "playlists: reset", "playlists:pl/addtoplaylist reset",             // deleted
        "playlists: reset", "playlists:cl/addtocollection reset",                             // a collection
        "playlists: reset", "playlists:cl/getitems reset", "playlists:cl/addtocollection reset",
        "playlists:cl/contextmenu reset"};                                                    // renamed
    // clang-format on
    for (const auto& reader : readers) {
        ASSERT_TRUE(
            reader->waitFor([](const QVariantHash& e) { return e.value("path") == "playlists:cl/contextmenu"; }));
        QStringList got;
        for (const QVariantHash& e : reader->events()) {
            if (e.value("path").toString().startsWith("playlists:"))
                got.append((e.value("path").toString() + " " + e.value("change").toString() + " "
                            + e.value("rows").toStringList().join(','))
                               .trimmed());
        }
        EXPECT_EQ(got, expected);
    }
}
