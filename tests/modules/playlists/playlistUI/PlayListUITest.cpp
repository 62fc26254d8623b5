// The owner of the tree and the watchers: nodes follow playlists, and every change reaches the open
// views as row-change events, in order.
#include "BrowseFixture.h"
#include "CMEventHub.h"
#include "CMSubscribe.h"
#include "Collection.h"
#include "playlistUI/PlayListUI.h"

using namespace browsetest;

namespace {
struct Event
{
    QString path;
    QString change;
    QStringList rows;
    bool operator==(const Event& o) const { return path == o.path && change == o.change && rows == o.rows; }
};

std::ostream& operator<<(std::ostream& out, const Event& e)
{
    return out << e.path.toStdString() << " " << e.change.toStdString() << " " << e.rows.join(",").toStdString();
}

class PlayListUITest : public BrowseTest
{
protected:
    void SetUp() override
    {
        BrowseTest::SetUp();
        jazz = playlist(QStringLiteral("Jazz"), 8);
        ui = std::make_unique<PlayListUI>(nullptr, &registry, &subscribe, manager.get());
        events = CMEventHub::instance().subscribe();
    }
    void TearDown() override
    {
        events.reset();
        ui.reset();
        BrowseTest::TearDown();
    }
    // The events published since the last call, deferred deletions done first.
    std::vector<Event> published()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        std::vector<Event> result;
        QVariantHash e;
        while (events->next(&e, 0)) {
            QStringList rows;
            for (const QVariant& r : e.value("rows").toList())
                rows.append(r.toString());
            result.push_back({e.value("path").toString(), e.value("change").toString(), rows});
        }
        return result;
    }
    static Event reset(const QString& path) { return {path, "reset", {}}; }
    QString itemsPath(PlayListBase* pl) const { return "playlists:pl/getitems/" + uid(pl); }

    PlayListBase* jazz = nullptr;
    CMSubscribe subscribe;
    std::unique_ptr<PlayListUI> ui;
    std::shared_ptr<CMEventSubscriber> events;
};
}  // namespace

TEST_F(PlayListUITest, RegistersTheFixedNodesAndAnItemsNodePerPlayList)
{
    EXPECT_EQ(registry.count(), 10 + 2);
    EXPECT_NE(registry.find(CMPath("playlists:pq/getitems")), nullptr);
    EXPECT_NE(registry.find(CMPath(itemsPath(jazz))), nullptr);
    for (const char* path : {"playlists:", "playlists:pl/getlist", "playlists:pl/contextmenu", "playlists:pl/trackcontextmenu",
                             "playlists:pl/addtoplaylist", "playlists:pl/selectaddmode", "playlists:pq/contextmenu",
                             "playlists:cl/getitems", "playlists:cl/addtocollection", "playlists:cl/contextmenu"})
        EXPECT_NE(registry.find(CMPath(path)), nullptr) << path;
}

TEST_F(PlayListUITest, ACreatedPlayListGetsItsNodeAtOnceAndTheListsReload)
{
    PlayListBase* mix = manager->createPlayList(QStringLiteral("Mix"));
    CMNode* node = registry.find(CMPath(itemsPath(mix)));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:"), reset("playlists:pl/addtoplaylist"),
                                               reset("playlists:pl/getlist")}));

    mix->addItems(KeloPlayListAddPosition::Append, {track("x")});
    CMGetRowsRequest request(CMPath(itemsPath(mix)), 0, 9);
    ASSERT_TRUE(node->getRowsRequest(request));
    EXPECT_EQ(request.reply().value().rowsCount(), 1);
}

TEST_F(PlayListUITest, ADeletedPlayListClosesItsViewsAndFreesItsPath)
{
    const QString path = itemsPath(jazz);
    ASSERT_TRUE(manager->deletePlayList(jazz));
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:"), reset("playlists:pl/addtoplaylist"), {path, "close", {}}}))
        << "the playlist list itself is not reset";
    EXPECT_EQ(registry.find(CMPath(path)), nullptr);
    EXPECT_EQ(registry.count(), 10 + 1);
}

TEST_F(PlayListUITest, ThePlayQueueKeepsItsWatcher)
{
    EXPECT_FALSE(manager->deletePlayList(0));
    ui->on_playlist_delete(0);
    published();
    EXPECT_NE(registry.find(CMPath("playlists:pq/getitems")), nullptr);
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, {track("x")});
    EXPECT_EQ(published(), (std::vector<Event>{{"playlists:pq/getitems", "rows", {"+0"}}}));
}

TEST_F(PlayListUITest, CollectionsReloadTheirListsAndMembershipReloadsCollectionViews)
{
    CollectionBase* evening = manager->createCollection(QStringLiteral("Evening"));
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:"), reset("playlists:cl/addtocollection")}));
    ASSERT_TRUE(evening->addPlayList(jazz));
    ASSERT_TRUE(evening->removePlayList(jazz));
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:cl/getitems"), reset("playlists:cl/getitems")}));
    ASSERT_TRUE(manager->deleteCollection(evening));
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:"), reset("playlists:cl/addtocollection")}));
}

TEST_F(PlayListUITest, AddedTracksAreAnnouncedRowByRow)
{
    ASSERT_EQ(jazz->addItems(KeloPlayListAddPosition::Append, {track("a"), track("b"), track("c")}), 3);
    EXPECT_EQ(published(), (std::vector<Event>{{itemsPath(jazz), "rows", {"+8", "+9", "+10"}}}));
}

TEST_F(PlayListUITest, RemovingClearingAndMovingReloadTheWholeView)
{
    const Event reload = reset(itemsPath(jazz));
    ASSERT_EQ(jazz->removeItems({4, 1}), 2);
    EXPECT_EQ(published(), std::vector<Event>{reload});
    ASSERT_TRUE(jazz->moveItem(0, 3));
    EXPECT_EQ(published(), (std::vector<Event>{reload, reset("playlists:pl/trackcontextmenu")}));
    ASSERT_TRUE(jazz->clearItems());
    EXPECT_EQ(published(), std::vector<Event>{reload});
}

TEST_F(PlayListUITest, SettingsAndNamesReloadMenusAndTheRootNotTheItems)
{
    jazz->setShuffle(true);
    jazz->setRepeatAll(true);
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:pl/contextmenu"), reset("playlists:pl/contextmenu")}));
    manager->getPlayQueue()->setShuffle(true);
    EXPECT_EQ(published(), std::vector<Event>{reset("playlists:pq/contextmenu")});
    jazz->setName(QStringLiteral("Blues"));
    EXPECT_EQ(published(), (std::vector<Event>{reset("playlists:"), reset("playlists:pl/contextmenu")}));
}

TEST_F(PlayListUITest, EndingTheTreeClosesEveryItemsViewAndUnregistersEverything)
{
    ui.reset();
    const std::vector<Event> closed = published();
    EXPECT_EQ(closed.size(), 2u);
    for (const Event& e : closed)
        EXPECT_EQ(e.change, QStringLiteral("close")) << e;
    EXPECT_EQ(registry.count(), 0);
}
