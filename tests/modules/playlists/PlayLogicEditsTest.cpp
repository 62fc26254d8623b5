// Edits of the playing playlist after the player was told what follows the playing track: the
// announced track starts with its current number, and the next track after it is the one that
// follows it in the list, whatever was removed, inserted or moved in between.
#include "Controller.h"
#include "PlayLogicFixture.h"

namespace {
class PlayLogicEdits : public PlayLogicTest
{
protected:
    // Plays entry index of a playlist of count tracks and lets the player ask what follows.
    PlayListBase* playingWithNextAnnounced(int count, int index)
    {
        PlayListBase* pl = playlist(count);
        play(pl, index);
        confirmStart();
        call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 1}});
        return pl;
    }
    // The player reaches the end of the track and starts the one it was last told would follow.
    void endOfTrack()
    {
        call(PlayLogicWire::MediaPlaybackStarted(),
             {{PlayLogicWire::NewRoles(), player->last("setNextMedia").value("roles")}});
    }
    QString titleOf(const QString& command) const
    {
        return player->last(command).value("roles").toHash().value("title").toString();
    }
    int shownNumber() const { return seqOf(logic->data().trackRoles()); }
};
}  // namespace

TEST_F(PlayLogicEdits, RemovingAnEarlierEntryLetsTheAnnouncedTrackStartWithItsNewNumberAndSkipsNothing)
{
    PlayListBase* pl = playingWithNextAnnounced(5, 2);
    ASSERT_EQ(titleOf("setNextMedia"), "Track 3");
    ASSERT_EQ(pl->removeItems({0}), 1);

    endOfTrack();
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    EXPECT_EQ(shownNumber(), 2);
    call(PlayLogicWire::Next());
    EXPECT_EQ(titleOf("play"), "Track 4");
}

TEST_F(PlayLogicEdits, RemovingTheAnnouncedEntryAnnouncesTheOneAfterIt)
{
    PlayListBase* pl = playingWithNextAnnounced(5, 1);
    ASSERT_EQ(pl->removeItems({2}), 1);
    EXPECT_EQ(titleOf("setNextMedia"), "Track 3");
    EXPECT_EQ(seqOf("setNextMedia"), 2);

    endOfTrack();
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    call(PlayLogicWire::Next());
    EXPECT_EQ(titleOf("play"), "Track 4");
}

TEST_F(PlayLogicEdits, RemovingThePlayingEntryPlaysItsFollowerAndForgetsTheAnnouncedTrack)
{
    PlayListBase* pl = playingWithNextAnnounced(5, 2);
    ASSERT_EQ(pl->removeItems({2}), 1);
    EXPECT_EQ(titleOf("play"), "Track 3");

    confirmStart();
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    EXPECT_EQ(shownNumber(), 2);
    call(PlayLogicWire::Next());
    EXPECT_EQ(titleOf("play"), "Track 4");
}

TEST_F(PlayLogicEdits, MovesAroundThePlayingEntryKeepOrReplaceTheAnnouncedTrack)
{
    // A move in front of both keeps the announced track; it starts with its new number.
    PlayListBase* pl = playingWithNextAnnounced(5, 2);
    ASSERT_TRUE(pl->moveItems({4}, 0));
    EXPECT_EQ(titleOf("setNextMedia"), "Track 3");
    endOfTrack();
    EXPECT_EQ(pl->getLastSequenceNumber(), 4);
    EXPECT_EQ(shownNumber(), 4);

    // A move between the playing and the announced entry announces the moved one instead.
    pl = playingWithNextAnnounced(5, 1);
    player->clear();
    ASSERT_TRUE(pl->moveItems({4}, 2));
    EXPECT_EQ(titleOf("setNextMedia"), "Track 4");
    EXPECT_EQ(seqOf("setNextMedia"), 2);
    endOfTrack();
    call(PlayLogicWire::Next());
    EXPECT_EQ(titleOf("play"), "Track 2");
}

TEST_F(PlayLogicEdits, AnAppendBehindTheLastEntryReplacesTheWrapToTheFirst)
{
    PlayListBase* pl = playlist(3);
    play(pl, 2);
    confirmStart();
    changePlayMode(KeloPlayerPlayMode::RepeatAll);
    call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 1}});
    ASSERT_EQ(titleOf("setNextMedia"), "Track 0");

    pl->addItems(KeloPlayListAddPosition::Append, {numberedTrack(7)});
    EXPECT_EQ(titleOf("setNextMedia"), "Track 7");
    EXPECT_EQ(seqOf("setNextMedia"), 3);
}

TEST_F(PlayLogicEdits, AnAddWithModeNowPlaysTheFirstAddedTrackAlsoAfterTheListWasEmptied)
{
    PlayListBase* pl = playlist(3);
    play(pl, 1);
    confirmStart();
    ASSERT_EQ(pl->removeItems({0, 1, 2}), 3);

    const QVariantList items{numberedTrack(7).toVariant(), numberedTrack(8).toVariant()};
    CMSetDataRequest request(KeloPlayListPlAddExternalItemsPath(),
                             QVariantHash{{"plid", pl->getUid()}, {"items", items}, {"mode", "now"}});
    ASSERT_TRUE(worker->getController()->handleSetData(request));
    EXPECT_FALSE(request.reply().hasError());
    // The player is asked to play the container from the first added entry.
    const QVariantHash started = player->last("control:playContainer");
    ASSERT_FALSE(started.isEmpty());
    EXPECT_EQ(started.value("index").toInt(), 0);
    const int uid = pl->getItems(0, 0).value(0).uid();
    EXPECT_EQ(pl->getItems(0, 0).value(0).title(), "Track 7");
    EXPECT_EQ(started.value("trackRoles").toHash().value("path").toString(),
              (KeloPlayListPlGetItemsPath() + pl->getUid() + uid).toEncoded());
}
