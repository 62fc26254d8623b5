// Adding items through the controller: the roles check, the items limit, add positions, the
// module's own prepare answer, and the collection commands.
#include "ControllerTestSupport.h"

using namespace pltest;

namespace {
KeloPlayListItem withRoles(KeloPlayListItem item, const std::function<void(KeloRoles&)>& change)
{
    KeloRoles roles(KeloHash(KeloJson::parse(item.keloRoles()).toHash()));
    change(roles);
    item.setKeloRoles(KeloJson::stringify(roles.toVariant()));
    return item;
}
}  // namespace

TEST_F(ControllerTest, ExternalItemsAreAddedAtTheirPosition)
{
    PlayListBase* pl = playlistWith("Ext", {"a", "b", "c"});
    pl->setLastSequenceNumber(0);
    const int uid = pl->getUid();
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(),
                     args({{"plid", uid}, {"items", itemList(tracks({"x", "y"}))}, {"mode", "afterCurrent"}}))
                    .ok);
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks({"z"}))}})).ok);
    EXPECT_EQ(store().titles(uid), (QStringList{"a", "x", "y", "b", "c", "z"}));
    EXPECT_EQ(pl->getSize(), 6);
}

TEST_F(ControllerTest, OneUnplayableItemRefusesTheWholeExternalAdd)
{
    const int uid = createPlayList("Strict");
    const QString refused = QStringLiteral("Could not add external items to playlist. No items were added.");
    const QList<std::function<void(KeloRoles&)>> breakers = {
        [](KeloRoles& r) { r.setTitle(QString()); },
        [](KeloRoles& r) { r.setType(KeloRolesType::Container); },
        [](KeloRoles& r) { r.setMediaData(KeloMediaData()); },
    };
    for (const auto& breaker : breakers) {
        QList<KeloPlayListItem> items = tracks({"ok1", "ok2"});
        items.insert(1, withRoles(track("bad"), breaker));
        EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(items)}})).message,
                  refused);
    }
    // A resource without uri is fine when a pre-play path stands in for it.
    KeloPlayListItem prePlay = withRoles(track("pre"), [](KeloRoles& r) {
        KeloMediaData mediaData;
        KeloMetaData metaData;
        metaData.setPrePlayPath(CMPath("media:prePlay/7"));
        mediaData.setMetaData(metaData);
        r.setMediaData(mediaData);
    });
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList({prePlay})}})).ok);
    EXPECT_EQ(store().titles(uid), QStringList{"pre"});
}

TEST_F(ControllerTest, ItemsWithoutRolesAreSkippedAndTheRestAdded)
{
    const int uid = createPlayList("Skip");
    QList<KeloPlayListItem> items = tracks({"a", "b"});
    KeloPlayListItem bare = track("bare");
    bare.setKeloRoles(QString());
    items.insert(1, bare);
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(items)}})).ok);
    EXPECT_EQ(store().titles(uid), (QStringList{"a", "b"}));

    EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList({bare})}})).message,
              QStringLiteral("Could not add external items to playlist. No items were added."));
    EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", QVariantList{1, "x"}}})).message,
              QStringLiteral("Could not add external items to playlist. Please select one or more items to add."));
}

TEST_F(ControllerTest, UnknownAddModesAreRefused)
{
    const int uid = createPlayList("Modes");
    for (const QVariant& mode : {QVariant("soon"), QVariant(3), QVariant(-1), QVariant()}) {
        EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(),
                       args({{"plid", uid}, {"items", itemList(tracks({"a"}))}, {"mode", mode}}))
                      .message,
                  QStringLiteral("Could not add external items to playlist. Invalid add mode. (mode)"));
        EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"items", QVariantList{"media:track/1"}}, {"mode", mode}}))
                      .message,
                  QStringLiteral("Could not add items to playlist. Invalid add mode. (mode)"));
    }
    EXPECT_EQ(store().titles(uid), QStringList());
}

TEST_F(ControllerTest, TheItemsLimitKeepsTheFirstItemsThatFit)
{
    reopenWithLimit(10000);
    const int uid = createPlayList("Huge");
    QList<KeloPlayListItem> many;
    const KeloPlayListItem one = track("t");
    for (int i = 0; i < 50000; ++i) {
        KeloPlayListItem item = one;
        item.setTitle(QStringLiteral("t%1").arg(i));
        many.append(item);
    }
    EXPECT_TRUE(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(many)}})).ok);
    EXPECT_EQ(store().number(QStringLiteral("SELECT COUNT(*) FROM playlists_items WHERE playlist = %1").arg(uid)), 10000);
    EXPECT_EQ(store().rows(QStringLiteral("SELECT title FROM playlists_items JOIN items ON item = uid "
                                          "WHERE playlist = %1 AND sequenceNumber = 9999").arg(uid)),
              QStringList{"t9999"});

    // A full store adds nothing: the external add fails, while addItemsToPlaylist reports 0.
    EXPECT_EQ(send(KeloPlayListPlAddExternalItemsPath(), args({{"plid", uid}, {"items", itemList(tracks({"x"}))}})).message,
              QStringLiteral("Could not add external items to playlist. No items were added."));
    QString msg;
    EXPECT_EQ(controller->addItemsToPlaylist(manager->getPlayListByUid(uid), tracks({"x"}),
                                             KeloPlayListAddPosition::Append, &msg),
              0);
    EXPECT_EQ(manager->getPlayListByUid(uid)->getSize(), 10000);
}

TEST_F(ControllerTest, AddItemsToPlaylistReportsWhatItDid)
{
    reopenWithLimit(3);
    PlayListBase* pl = playlistWith("Count", {"a"});
    QString msg;
    EXPECT_EQ(controller->addItemsToPlaylist(pl, tracks({"b", "c", "d"}), KeloPlayListAddPosition::Append, &msg), 2);
    EXPECT_EQ(msg, QStringLiteral("2 items added."));
    EXPECT_EQ(controller->addItemsToPlaylist(pl, {}, KeloPlayListAddPosition::Append, &msg), -1);
    EXPECT_EQ(msg, QStringLiteral("No playitem found."));
    EXPECT_EQ(controller->addItemsToPlaylist(pl, {withRoles(track("t"), [](KeloRoles& r) { r.setType(1); })},
                                             KeloPlayListAddPosition::Append, &msg),
              -1);
    EXPECT_EQ(msg, QStringLiteral("Missing title or type==audio or [resource uri and prePlayPath]"));
}

TEST_F(ControllerTest, ModuleEntriesAndPlaylistsArePreparedAsItems)
{
    PlayListBase* pl = playlistWith("Src", {"a", "b", "c"});
    const QList<KeloPlayListItem> entries = pl->getItems(0, 2);
    const QStringList paths = {
        (KeloPlayListItemPath() + entries.at(2).uid()).toEncoded(),
        (KeloPlayListPlGetItemsPath() + pl->getUid()).toEncoded(),
        QStringLiteral("playlists:item/abc"),
        QStringLiteral("playlists:item/987654"),
        (KeloPlayListPlGetItemsPath() + 999).toEncoded(),
        QStringLiteral("media:track/1"),
    };
    const QVariantList prepared = controller->preparePlaylistItems(paths);
    QStringList titles;
    for (const QVariant& item : prepared)
        titles.append(KeloPlayListItem(KeloHash(item.toHash())).title());
    EXPECT_EQ(titles, (QStringList{"c", "a", "b", "c"}));

    CMSetDataRequest request(KeloPlayListPlPrepareItemsPath(), QVariantList{paths.first()});
    EXPECT_TRUE(controller->handleSetData(request));
    ASSERT_TRUE(request.reply().isFinished());
    EXPECT_EQ(request.reply().variant().toList().size(), 1);
}

TEST_F(ControllerTest, AnAddWithNothingToAddIsAnsweredAtOnce)
{
    const int uid = createPlayList("Target");
    const int empty = createPlayList("Empty");
    const QString nothing = QStringLiteral("Could not add items to playlist. Please select one or more items to add.");
    EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"plid", uid}})).message, nothing);
    EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"items", QVariantList()}, {"fromPlid", empty}})).message,
              nothing);
    EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"fromPlid", 4242}})).message,
              QStringLiteral("Could not add items to playlist. There is no playlist with this ID. (4242)"));
    EXPECT_EQ(send(KeloPlayListPlAddItemsPath(), args({{"items", QVariantList{"media:track/1"}}})).message,
              QStringLiteral("Could not add items to playlist. Cannot find playlist with invalid ID."));
}

TEST_F(ControllerTest, CollectionCommandsAnswerWithTheirOwnTexts)
{
    const int plid = createPlayList("P");
    const Answer created = send(KeloPlayListClCreatePath(), args({{"name", "Col"}}));
    ASSERT_TRUE(created.ok);
    const int clid = created.value.i32_();
    EXPECT_GT(clid, 0);

    EXPECT_EQ(send(KeloPlayListClCreatePath(), args({{"name", ""}})).message,
              QStringLiteral("Could not create collection. Please provide a non-empty string as field. (name)"));
    EXPECT_EQ(send(KeloPlayListClDeletePath(), args({{"clid", -1}})).message,
              QStringLiteral("Could not delete collection. There is no collection with this ID."));
    EXPECT_EQ(send(KeloPlayListClAddItemPath(), args({{"clid", 999}, {"plid", -1}})).message,
              QStringLiteral("Could not add items to collection. Cannot find playlist with invalid ID."));
    EXPECT_EQ(send(KeloPlayListClAddItemPath(), args({{"clid", 999}, {"plid", plid}})).message,
              QStringLiteral("Could not add items to collection. There is no collection with this ID."));
    EXPECT_EQ(send(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", 555}})).message,
              QStringLiteral("Could not add items to collection. There is no playlist with this ID. (555)"));

    EXPECT_TRUE(send(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", plid}})).ok);
    EXPECT_EQ(send(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", plid}})).message,
              QStringLiteral("Could not add items to collection. Add playlist to collection failed."));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM collections_playlists"), 1);

    EXPECT_TRUE(send(KeloPlayListClRemoveItemPath(), args({{"clid", clid}, {"plid", plid}})).ok);
    EXPECT_EQ(send(KeloPlayListClRemoveItemPath(), args({{"clid", clid}, {"plid", plid}})).message,
              QStringLiteral("Could not remove items from collection. Remove playlist from collection failed."));
    EXPECT_TRUE(send(KeloPlayListClDeletePath(), args({{"clid", clid}})).ok);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM collections"), 0);
    EXPECT_NE(manager->getPlayListByUid(plid), nullptr);
}
