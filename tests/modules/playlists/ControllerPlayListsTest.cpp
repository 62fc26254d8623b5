// The playlist commands through the controller: validation order, the exact answers, and what the
// store holds afterwards.
#include <QSignalSpy>

#include "ControllerTestSupport.h"

using namespace pltest;

TEST_F(ControllerTest, MessagesKeepTheirTwoShapes)
{
    EXPECT_EQ(controller->buildOkMsg("Playlist created successfully.", "Mix", ""),
              QStringLiteral("Playlist created successfully. (Mix)"));
    EXPECT_EQ(controller->buildErrMsg("Could not create playlist.", "Create playlist error.", ""),
              QStringLiteral("Could not create playlist. Create playlist error."));
    EXPECT_EQ(controller->buildErrMsg("a", "b", "c"), QStringLiteral("a b (c)"));
    EXPECT_EQ(controller->buildOkMsg("a", "b", "c"), QStringLiteral("a b (c)"));
    // A name that looks like a placeholder is inserted as it is.
    EXPECT_EQ(controller->buildOkMsg("Saved.", "100%1 %2", ""), QStringLiteral("Saved. (100%1 %2)"));
}

TEST_F(ControllerTest, CreateAnswersTheNewUidAndAnnouncesIt)
{
    QSignalSpy created(controller.get(), &Controller::playlistCreated);
    const Answer answer = send(KeloPlayListPlCreatePath(), args({{"name", "Mix"}}));
    ASSERT_TRUE(answer.ok) << answer.message.toStdString();
    ASSERT_TRUE(answer.value.isI32_());
    const int uid = answer.value.i32_();
    EXPECT_GT(uid, 0);
    ASSERT_EQ(created.count(), 1);
    EXPECT_EQ(created.at(0).at(0).toInt(), uid);
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("Mix|0|0|-1"));
}

TEST_F(ControllerTest, CreateRefusesAMissingOrEmptyNameWhateverTheShape)
{
    const QString expected =
        QStringLiteral("Could not create playlist. Please provide a non-empty string as field. (name)");
    const QVariant shapes[] = {args({{"name", ""}}), args({}), QStringLiteral("Mix"), QVariantList{1, 2},
                               args({{"name", 5}}), args({{"name", QVariantList{"Mix"}}}), QVariant()};
    for (const QVariant& value : shapes) {
        const Answer answer = send(KeloPlayListPlCreatePath(), value);
        EXPECT_FALSE(answer.ok);
        EXPECT_EQ(answer.message, expected);
    }
    EXPECT_EQ(manager->getPlayListsCount(), 0);
}

TEST_F(ControllerTest, IdsAreCheckedBeforeTheyAreLookedUp)
{
    const Answer invalid = send(KeloPlayListPlDeletePath(), args({{"plid", -1}}));
    EXPECT_EQ(invalid.message, QStringLiteral("Could not delete playlist. Cannot find playlist with invalid ID."));
    const Answer wrongType = send(KeloPlayListPlDeletePath(), args({{"plid", "5"}}));
    EXPECT_EQ(wrongType.message, invalid.message);
    const Answer unknown = send(KeloPlayListPlDeletePath(), args({{"plid", 77}}));
    EXPECT_EQ(unknown.message, QStringLiteral("Could not delete playlist. There is no playlist with this ID. (77)"));
    const Answer negative = send(KeloPlayListPlSetNamePath(), args({{"plid", -5}, {"name", "X"}}));
    EXPECT_EQ(negative.message, QStringLiteral("Could not set playlist name. There is no playlist with this ID. (-5)"));
    const Answer play = send(KeloPlayListPlPlayPath(), args({{"plid", -1}}));
    EXPECT_EQ(play.message, QStringLiteral("Could not start playback on playlist. Cannot find playlist with invalid ID."));
}

TEST_F(ControllerTest, ThePlayQueueIsNeverRenamedOrDeletedButCanBeCleared)
{
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks({"q1", "q2"}));
    EXPECT_EQ(send(KeloPlayListPlSetNamePath(), args({{"plid", 0}, {"name", "Mine"}})).message,
              QStringLiteral("Could not set playlist name. Cannot rename PlayQueue."));
    EXPECT_EQ(send(KeloPlayListPlDeletePath(), args({{"plid", 0}})).message,
              QStringLiteral("Could not delete playlist. Cannot delete PlayQueue."));
    EXPECT_EQ(store().playlistRow(0), QStringLiteral("PlayQueue|0|0|-1"));

    EXPECT_TRUE(send(KeloPlayListPlClearPath(), args({{"plid", 0}})).ok);
    EXPECT_EQ(store().titles(0), QStringList());
}

TEST_F(ControllerTest, RenameAndDeleteChangeTheRowAndAnswerTrue)
{
    const int uid = createPlayList("Old");
    QSignalSpy deleted(controller.get(), &Controller::playlistDeleted);

    const Answer renamed = send(KeloPlayListPlSetNamePath(), args({{"plid", uid}, {"name", "New"}}));
    EXPECT_TRUE(renamed.ok);
    EXPECT_TRUE(renamed.value.bool_());
    EXPECT_TRUE(renamed.message.isEmpty());
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("New|0|0|-1"));
    EXPECT_EQ(send(KeloPlayListPlSetNamePath(), args({{"plid", uid}, {"name", ""}})).message,
              QStringLiteral("Could not set playlist name. Please provide a non-empty string as field. (name)"));

    EXPECT_TRUE(send(KeloPlayListPlDeletePath(), args({{"plid", uid}})).ok);
    ASSERT_EQ(deleted.count(), 1);
    EXPECT_EQ(deleted.at(0).at(0).toInt(), uid);
    EXPECT_EQ(store().playlistRow(uid), QString());
}

TEST_F(ControllerTest, ShuffleAcceptsLooselyAndSwitchesOnOnlyForOn)
{
    const int uid = createPlayList("S");
    const QString refused = QStringLiteral("Could not set shuffle mode on playlist. Invalid shuffle mode. (shuffle-mode)");
    struct Case
    {
        QVariant mode;
        bool accepted;
        bool shuffle;
    };
    const Case cases[] = {{1, true, true},        {-1, true, false},  {"on", true, true}, {0, true, false},
                          {"1", true, true},      {2, false, true},   {"bogus", false, true},
                          {QVariant(), false, true}, {"off", true, false}};
    bool current = false;
    for (const Case& c : cases) {
        const Answer answer = send(KeloPlayListPlSetShufflePath(), args({{"plid", uid}, {"mode", c.mode}}));
        EXPECT_EQ(answer.ok, c.accepted) << c.mode.toString().toStdString();
        if (!c.accepted)
            EXPECT_EQ(answer.message, refused);
        else
            current = c.shuffle;
        EXPECT_EQ(manager->getPlayListByUid(uid)->getShuffle(), current) << c.mode.toString().toStdString();
    }
    EXPECT_FALSE(send(KeloPlayListPlSetShufflePath(), args({{"plid", uid}})).ok);
}

TEST_F(ControllerTest, RepeatAcceptsUpToThreeAndSwitchesOnOnlyForAll)
{
    const int uid = createPlayList("R");
    PlayListBase* pl = manager->getPlayListByUid(uid);
    EXPECT_TRUE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", 2}})).ok);
    EXPECT_TRUE(pl->getRepeatAll());
    EXPECT_TRUE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", 3}})).ok);
    EXPECT_FALSE(pl->getRepeatAll());
    EXPECT_TRUE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", "all"}})).ok);
    EXPECT_TRUE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", "one"}})).ok);
    EXPECT_FALSE(pl->getRepeatAll());
    EXPECT_EQ(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", 4}})).message,
              QStringLiteral("Could not set repeat mode on playlist. Invalid repeat mode. (repeat-mode)"));
    EXPECT_FALSE(send(KeloPlayListPlSetRepeatPath(), args({{"plid", uid}, {"mode", "All of them"}})).ok);
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("R|0|0|-1"));
}

TEST_F(ControllerTest, RemoveNeedsIndicesThatExist)
{
    PlayListBase* pl = playlistWith("R", names(5));
    const int uid = pl->getUid();
    EXPECT_EQ(send(KeloPlayListPlRemoveItemsPath(), args({{"plid", uid}, {"items", QVariantList()}})).message,
              QStringLiteral("Could not remove items from playlist. Please select one or more items to remove."));
    EXPECT_EQ(send(KeloPlayListPlRemoveItemsPath(), args({{"plid", uid}, {"items", intList({9})}})).message,
              QStringLiteral("Could not remove items from playlist. Remove items failed"));
    EXPECT_EQ(send(KeloPlayListPlRemoveItemsPath(), args({{"plid", uid}, {"items", "1,2"}})).message,
              QStringLiteral("Could not remove items from playlist. Please select one or more items to remove."));

    EXPECT_TRUE(send(KeloPlayListPlRemoveItemsPath(), args({{"plid", uid}, {"items", intList({3, 0})}})).ok);
    EXPECT_EQ(store().titles(uid), (QStringList{"t1", "t2", "t4"}));
}

TEST_F(ControllerTest, AHundredThousandIndicesAreRefusedWithoutLosingAnything)
{
    PlayListBase* pl = playlistWith("Big", names(50));
    QList<int> many;
    for (int i = 0; i < 100000; ++i)
        many.append(i);
    const QVariantHash request = args({{"plid", pl->getUid()}, {"items", intList(many)}});

    EXPECT_FALSE(send(KeloPlayListPlRemoveItemsPath(), request).ok);
    QVariantHash move = request;
    move.insert("to", 0);
    EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), move).message,
              QStringLiteral("Could not move items in playlist. Cannot move items, sequence number is not in valid range."));
    EXPECT_EQ(store().titles(pl->getUid()), names(50));
}

TEST_F(ControllerTest, MovesStayInsideThePlaylist)
{
    PlayListBase* pl = playlistWith("M", names(5));
    const int uid = pl->getUid();
    const QString outOfRange =
        QStringLiteral("Could not move items in playlist. Cannot move items, sequence number is not in valid range.");
    EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList({0})}, {"to", 5}})).message,
              outOfRange);
    EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList({0})}, {"to", -1}})).message,
              QStringLiteral("Could not move items in playlist. Cannot move items to negative position."));
    EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList({0})}})).message,
              QStringLiteral("Could not move items in playlist. Cannot move items to negative position."));
    EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", QVariantList()}, {"to", 1}})).message,
              QStringLiteral("Could not move items in playlist. Please select one or more items to move."));
    // Sources outside the playlist, a block that would run over either end, a source named twice.
    for (const auto& bad : {std::make_pair(QList<int>{7}, 2), std::make_pair(QList<int>{-1}, 2),
                            std::make_pair(QList<int>{4, 3, 2}, 3), std::make_pair(QList<int>{0, 1, 2}, 1),
                            std::make_pair(QList<int>{1, 1}, 3)}) {
        EXPECT_EQ(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList(bad.first)}, {"to", bad.second}}))
                      .message,
                  outOfRange);
    }
    EXPECT_EQ(store().titles(uid), names(5));

    EXPECT_TRUE(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList({0})}, {"to", 4}})).ok);
    EXPECT_TRUE(send(KeloPlayListPlMoveItemspath(), args({{"plid", uid}, {"items", intList({3, 4})}, {"to", 0}})).ok);
    EXPECT_EQ(store().titles(uid), (QStringList{"t4", "t0", "t1", "t2", "t3"}));
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(ControllerTest, PlayingNeedsEntriesAndAnswersThatPlaybackIsNotAvailable)
{
    const int uid = createPlayList("Quiet");
    EXPECT_EQ(send(KeloPlayListPlPlayPath(), args({{"plid", uid}})).message,
              QStringLiteral("Could not start playback on playlist. There are no items in the playlist. (Quiet)"));
}

TEST_F(ControllerTest, OtherPathsAreLeftUntouched)
{
    for (const CMPath& path : {CMPath("playlists:pl/getlist"), CMPath("playlists:pl/create/x"), CMPath("media:pl/create")}) {
        CMSetDataRequest request(path, args({{"name", "X"}}));
        EXPECT_FALSE(controller->handleSetData(request));
        EXPECT_FALSE(request.reply().isFinished());
    }
    EXPECT_EQ(manager->getPlayListsCount(), 0);
}
