// The owner of the tree and its watchers: nodes follow playlists, and each change of the model
// reaches the open views as row-change events, once and in order.
#include <functional>

#include "BrowseFixture.h"
#include "CMEventHub.h"
#include "Collection.h"

using namespace browsetest;

namespace {
class PlayListUITest : public BrowseTest
{
protected:
    void SetUp() override
    {
        BrowseTest::SetUp();
        jazz = playlist("Jazz", 8);
        startTree();
        events = CMEventHub::instance().subscribe();
    }
    // The events since the last call as "path change rows", deferred deletions done first.
    QStringList published()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QStringList result;
        QVariantHash e;
        while (events->next(&e, 0) == CMEventSubscriber::Event)
            result.append((e.value("path").toString() + " " + e.value("change").toString() + " "
                           + e.value("rows").toStringList().join(','))
                              .trimmed());
        return result;
    }

    PlayListBase* jazz = nullptr;
    std::shared_ptr<CMEventSubscriber> events;
};
}  // namespace

// A deletion closes the playlist's views at once. The newest playlist's uid is given again to the next
// one made, whose views stay open.
TEST_F(PlayListUITest, ItemsNodesComeAndGoWithTheirPlayListsAndAReusedUidKeepsItsViews)
{
    EXPECT_EQ(registry.count(), 10 + 2) << "the fixed nodes, the play queue's items and Jazz's items";
    PlayListBase* mix = manager->createPlayList("Mix");
    const int mixUid = mix->getUid();
    const QString items = "playlists:pl/getitems/" + uid(mix);
    ASSERT_NE(registry.find(CMPath(items)), nullptr) << "registered at once";
    EXPECT_EQ(published(),
              (QStringList{"playlists: reset", "playlists:pl/addtoplaylist reset", "playlists:pl/getlist reset"}));

    ASSERT_TRUE(manager->deletePlayList(mix));
    EXPECT_EQ(registry.find(CMPath(items)), nullptr);
    ASSERT_EQ(manager->createPlayList("Next")->getUid(), mixUid);
    EXPECT_EQ(published(), (QStringList{items + " close", "playlists: reset", "playlists:pl/addtoplaylist reset",
                                        "playlists: reset", "playlists:pl/addtoplaylist reset", "playlists:pl/getlist reset"}))
        << "the playlist list is not reset on a deletion";
    EXPECT_NE(registry.find(CMPath(items)), nullptr) << "the new playlist's items node stays";

    ui->on_playlist_delete(0);
    EXPECT_NE(registry.find(CMPath("playlists:pq/getitems")), nullptr) << "the play queue keeps its watcher";
}

TEST_F(PlayListUITest, EachChangeResetsOrExtendsExactlyTheViewsItAffects)
{
    const QString items = "playlists:pl/getitems/" + uid(jazz);
    CollectionBase* evening = nullptr;
    const QList<QPair<std::function<void()>, QStringList>> cases = {
        {[&] { jazz->addItems(KeloPlayListAddPosition::Append, pltest::tracks({"a", "b", "c"})); },
         {items + " rows +8,+9,+10"}},
        {[&] { manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, {track("q")}); },
         {"playlists:pq/getitems rows +0"}},
        {[&] { jazz->removeItems({4, 1}); }, {items + " reset"}},
        {[&] { jazz->moveItem(0, 3); }, {items + " reset", "playlists:pl/trackcontextmenu reset"}},
        {[&] { jazz->clearItems(); }, {items + " reset"}},
        {[&] { jazz->setShuffle(true); }, {"playlists:pl/contextmenu reset"}},
        {[&] { jazz->setRepeatAll(true); }, {"playlists:pl/contextmenu reset"}},
        {[&] { manager->getPlayQueue()->setShuffle(true); }, {"playlists:pq/contextmenu reset"}},
        {[&] { jazz->setName("Blues"); }, {"playlists: reset", "playlists:pl/contextmenu reset"}},
        {[&] { evening = manager->createCollection("Evening"); },
         {"playlists: reset", "playlists:cl/addtocollection reset"}},
        {[&] { evening->addPlayList(jazz); }, {"playlists:cl/getitems reset"}},
        {[&] { evening->removePlayList(jazz); }, {"playlists:cl/getitems reset"}},
        {[&] { manager->deleteCollection(evening); }, {"playlists: reset", "playlists:cl/addtocollection reset"}},
    };
    for (int i = 0; i < cases.size(); ++i) {
        cases[i].first();
        EXPECT_EQ(published(), cases[i].second) << "case " << i;
    }
}

TEST_F(PlayListUITest, EndingTheTreeClosesEveryItemsViewAndUnregistersEveryNode)
{
    ui.reset();
    EXPECT_EQ(published(),
              (QStringList{"playlists:pq/getitems close", "playlists:pl/getitems/" + uid(jazz) + " close"}));
    EXPECT_EQ(registry.count(), 0);
}
