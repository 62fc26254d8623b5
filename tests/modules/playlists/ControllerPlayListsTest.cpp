// The playlist and collection commands through the controller: validation order, the answers the
// recorded API session does not reach, and what the store holds afterwards.
#include <QSignalSpy>
#include <functional>

#include "Collection.h"
#include "ControllerTestSupport.h"

using namespace pltest;

TEST_F(ControllerTest, SuccessMessagesNameTheirSubjectAsItIs)
{
    EXPECT_EQ(controller->buildOkMsg("Saved.", "100%1 %2", ""), QStringLiteral("Saved. (100%1 %2)"));
}

TEST_F(ControllerTest, CreatingAnswersTheUidAndDeletingAnnouncesIt)
{
    QSignalSpy created(controller.get(), &Controller::playlistCreated);
    QSignalSpy deleted(controller.get(), &Controller::playlistDeleted);
    const Answer answer = send(KeloPlayListPlCreatePath(), args({{"name", "Mix"}}));
    ASSERT_TRUE(answer.ok && answer.value.isI32_());
    const int uid = answer.value.i32_();
    EXPECT_EQ(created, QList<QVariantList>{{uid}});
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("Mix|0|0|-1"));

    ASSERT_TRUE(send(KeloPlayListPlDeletePath(), args({{"plid", uid}})).ok);
    EXPECT_EQ(deleted, QList<QVariantList>{{uid}});
    EXPECT_EQ(store().playlistRow(uid), QString());
}

TEST_F(ControllerTest, EveryFailureNamesWhatCouldNotBeDoneAndWhy)
{
    const int uid = playlistWith("Five", names(5))->getUid();
    const int empty = createPlayList("Quiet");
    const QString noItems = QStringLiteral("Could not add items to playlist. Please select one or more items to add.");
    const int clid = send(KeloPlayListClCreatePath(), args({{"name", "Col"}})).value.i32_();
    struct Case
    {
        CMPath path;
        QVariant value;
        QString message;
    };
    const QString noName = QStringLiteral("Please provide a non-empty string as field. (name)");
    const QString longName(256, QLatin1Char('n'));
    const QString tooLong = QStringLiteral("The name is too long; at most 255 characters. (256)");
    const Case cases[] = {
        {KeloPlayListPlCreatePath(), QStringLiteral("Mix"), "Could not create playlist. " + noName},
        {KeloPlayListPlDeletePath(), args({{"plid", -1}}), "Could not delete playlist. Cannot find playlist with invalid ID."},
        {KeloPlayListPlSetNamePath(), args({{"plid", uid}}), "Could not set playlist name. " + noName},
        {KeloPlayListPlCreatePath(), args({{"name", longName}}), "Could not create playlist. " + tooLong},
        {KeloPlayListPlSetNamePath(), args({{"plid", uid}, {"name", longName}}), "Could not set playlist name. " + tooLong},
        {KeloPlayListClCreatePath(), args({{"name", longName}}), "Could not create collection. " + tooLong},
        {KeloPlayListClSetNamePath(), args({{"clid", clid}, {"name", longName}}), "Could not set collection name. " + tooLong},
        {KeloPlayListPlSetNamePath(), args({{"plid", -5}, {"name", "X"}}),
         "Could not set playlist name. There is no playlist with this ID. (-5)"},
        {KeloPlayListPlAddItemsPath(), args({{"plid", uid}}), noItems},
        {KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"fromPlid", empty}}), noItems},
        {KeloPlayListPlAddItemsPath(), args({{"plid", uid}, {"fromPlid", 4242}}),
         "Could not add items to playlist. There is no playlist with this ID. (4242)"},
        {KeloPlayListPlAddItemsPath(), args({{"items", QVariantList{"media:track/1"}}}),
         "Could not add items to playlist. Cannot find playlist with invalid ID."},
        {KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", QVariantList()}, {"to", 1}}),
         "Could not move items in playlist. Please select one or more items to move."},
        {KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", QVariantList{0}}}),
         "Could not move items in playlist. Cannot move items to negative position."},
        {KeloPlayListPlPlayPath(), args({{"plid", -1}}), "Could not start playback on playlist. Cannot find playlist with invalid ID."},
        {KeloPlayListPlPlayPath(), args({{"plid", empty}}),
         "Could not start playback on playlist. There are no items in the playlist. (Quiet)"},
        {KeloPlayListClCreatePath(), args({{"name", ""}}), "Could not create collection. " + noName},
        {KeloPlayListClSetNamePath(), args({{"clid", clid}, {"name", ""}}), "Could not set collection name. " + noName},
        {KeloPlayListClSetNamePath(), args({{"clid", 999}, {"name", "X"}}),
         "Could not set collection name. There is no collection with this ID."},
        {KeloPlayListClAddItemPath(), args({{"clid", 999}, {"plid", -1}}),
         "Could not add items to collection. Cannot find playlist with invalid ID."},
        {KeloPlayListClAddItemPath(), args({{"clid", 999}, {"plid", uid}}),
         "Could not add items to collection. There is no collection with this ID."},
        {KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", 555}}),
         "Could not add items to collection. There is no playlist with this ID. (555)"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(send(c.path, c.value).message, c.message) << c.path.toEncoded().toStdString();
    EXPECT_EQ(store().titles(uid), names(5));
    EXPECT_EQ(store().rows("SELECT name FROM playlists ORDER BY uid"), (QStringList{"PlayQueue", "Five", "Quiet"}));
    EXPECT_EQ(store().rows("SELECT name FROM collections"), QStringList{"Col"});
}

TEST_F(ControllerTest, ShuffleAndRepeatAcceptLooselyAndSwitchOnOnlyForOnAndAll)
{
    const int uid = createPlayList("S");
    PlayListBase* pl = manager->getPlayListByUid(uid);
    // Each mode with the flag it leaves: 1 on, 0 off, -1 refused (the flag stays as it was).
    const auto check = [&](const CMPath& path, const QString& refusal, const std::function<bool()>& flag,
                           const QList<QPair<QVariant, int>>& modes) {
        bool expected = flag();
        for (const auto& [mode, after] : modes) {
            SCOPED_TRACE(path.toEncoded().toStdString() + " " + mode.toString().toStdString());
            expected = after < 0 ? expected : after == 1;
            const Answer answer = send(path, args({{"plid", uid}, {"mode", mode}}));
            EXPECT_EQ(answer.ok, after >= 0);
            EXPECT_EQ(answer.message, after < 0 ? refusal : QString());
            EXPECT_EQ(flag(), expected);
        }
    };
    check(KeloPlayListPlSetShufflePath(),
          QStringLiteral("Could not set shuffle mode on playlist. Invalid shuffle mode. (shuffle-mode)"),
          [&] { return pl->getShuffle(); },
          {{1, 1}, {-1, 0}, {"on", 1}, {2, -1}, {"bogus", -1}, {QVariant(), -1}, {qlonglong(4294967296), -1},
           {0.4, -1}, {"0", 0}});
    check(KeloPlayListPlSetRepeatPath(),
          QStringLiteral("Could not set repeat mode on playlist. Invalid repeat mode. (repeat-mode)"),
          [&] { return pl->getRepeatAll(); },
          {{2, 1}, {3, 0}, {"all", 1}, {"one", 0}, {4, -1}, {"All of them", -1}, {1.5, -1}, {qlonglong(4294967298), -1}});
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("S|0|0|-1"));
}

TEST_F(ControllerTest, MovesStayInsideThePlaylistOrDoNothing)
{
    const int uid = playlistWith("M", names(5))->getUid();
    const QString outOfRange =
        QStringLiteral("Could not move items in playlist. Cannot move items, sequence number is not in valid range.");
    QVariantList many;
    for (int i = 0; i < 100000; ++i)
        many.append(i);
    // Past the end; sources outside; blocks running over either end; a source named twice; 100,000.
    const QList<std::pair<QVariantList, int>> refused = {{{0}, 5},      {{7}, 2},      {{-1}, 2}, {{4, 3, 2}, 3},
                                                         {{0, 1, 2}, 1}, {{1, 1}, 3}, {many, 0}};
    for (const auto& [items, to] : refused)
        EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", items}, {"to", to}})).message,
                  outOfRange);
    EXPECT_FALSE(send(KeloPlayListPlRemoveItemsPath(), args({{"plid", uid}, {"items", many}})).ok);
    EXPECT_EQ(store().titles(uid), names(5));

    EXPECT_TRUE(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", QVariantList{0}}, {"to", 4}})).ok);
    EXPECT_TRUE(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", QVariantList{3, 4}}, {"to", 0}})).ok);
    EXPECT_EQ(store().titles(uid), (QStringList{"t4", "t0", "t1", "t2", "t3"}));
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(ControllerTest, PathsOfNoCommandAreLeftToOthers)
{
    for (const CMPath& path : {CMPath("playlists:pl/getlist"), CMPath("playlists:pl/create/x"), CMPath("media:pl/create")}) {
        CMSetDataRequest request(path, args({{"name", "X"}}));
        EXPECT_FALSE(controller->handleSetData(request));
        EXPECT_FALSE(request.reply().isFinished());
    }
    EXPECT_EQ(manager->getPlayListsCount(), 0);
}

// A change the store could not keep is answered as an error and not shown: it would be gone after
// a restart.
TEST_F(ControllerTest, ChangesTheStoreRefusesAreAnsweredAsErrorsAndNotKept)
{
    const int uid = createPlayList("Mix");
    PlayListBase* pl = manager->getPlayListByUid(uid);
    const int clid = send(KeloPlayListClCreatePath(), args({{"name", "Col"}})).value.i32_();
    ASSERT_TRUE(send(KeloPlayListClAddItemPath(), args({{"clid", clid}, {"plid", uid}})).ok);
    CollectionBase* collection = manager->getCollectionByUid(clid);
    QSignalSpy renamed(collection, &CollectionBase::nameChanged);
    for (const char* table : {"playlists", "collections"})
        ASSERT_TRUE(store().exec(QStringLiteral("CREATE TRIGGER fault_%1 BEFORE UPDATE ON %1 "
                                                "BEGIN SELECT RAISE(FAIL, 'disk full'); END;").arg(table)));

    EXPECT_EQ(send(KeloPlayListPlSetNamePath(), args({{"plid", uid}, {"name", "Blues"}})).message,
              QStringLiteral("Could not set playlist name. The playlist could not be stored."));
    EXPECT_EQ(send(KeloPlayListPlSetShufflePath(), args({{"plid", uid}, {"mode", "on"}})).message,
              QStringLiteral("Could not set shuffle mode on playlist. The playlist could not be stored."));
    EXPECT_FALSE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", "all"}})).ok);
    EXPECT_EQ(send(KeloPlayListClSetNamePath(), args({{"clid", clid}, {"name", "Evening"}})).message,
              QStringLiteral("Could not set collection name. The collection could not be stored."));
    EXPECT_EQ(QStringList({pl->getName(), QString::number(pl->getShuffle()), QString::number(pl->getRepeatAll()),
                           collection->getName()}),
              QStringList({"Mix", "0", "0", "Col"}));
    EXPECT_TRUE(renamed.isEmpty());
    ASSERT_TRUE(store().exec(QStringLiteral("DROP TRIGGER fault_playlists; DROP TRIGGER fault_collections;")));

    const Answer answer = send(KeloPlayListClSetNamePath(), args({{"clid", clid}, {"name", "Evening"}}));
    EXPECT_TRUE(answer.ok && answer.value.bool_());
    EXPECT_EQ(renamed, QList<QVariantList>{{QStringLiteral("Evening")}});
    EXPECT_EQ(store().rows("SELECT name FROM collections"), QStringList{"Evening"});
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("Mix|0|0|-1"));
}
