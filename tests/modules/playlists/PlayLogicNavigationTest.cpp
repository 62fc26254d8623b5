// Current, next and previous on a real playlist, through the calls a player makes.
#include "PlayLogicFixture.h"

using PlayLogicNavigation = PlayLogicTest;

TEST_F(PlayLogicNavigation, RepeatAllWrapsAtBothEndsAndWithoutItTheEndsStop)
{
    PlayListBase* pl = playlist(4);
    play(pl, 3);
    call(PlayLogicWire::Next());
    EXPECT_EQ(playCount(), 1) << "nothing after the last entry";
    pl->setRepeatAll(true);  // shown in the play mode only; the player's mode decides
    EXPECT_EQ(logic->playMode(), KeloPlayerPlayMode::RepeatAll);
    EXPECT_TRUE(logic->getNextTrack().isEmpty());

    changePlayMode(KeloPlayerPlayMode::RepeatAll);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf("play"), 0);
    previous(0);
    EXPECT_EQ(seqOf("play"), 3);
    changePlayMode(KeloPlayerPlayMode::Normal);
    EXPECT_FALSE(pl->getRepeatAll());
    play(pl, 0);
    previous(0);
    EXPECT_EQ(playCount(), 4) << "nothing before the first entry";
}

TEST_F(PlayLogicNavigation, ThePlayingListsShuffleFlagIsShownInThePlayModeWithItsRepeat)
{
    PlayListBase* pl = playlist(3);
    play(pl, 0);
    for (int mode : {KeloPlayerPlayMode::Normal, KeloPlayerPlayMode::RepeatOne, KeloPlayerPlayMode::RepeatAll}) {
        changePlayMode(mode);  // an unshuffled mode also clears the playlist's flag
        pl->setShuffle(true);
        EXPECT_EQ(logic->playMode(), mode + 1);
    }
}

TEST_F(PlayLogicNavigation, PreviousRestartsATrackPastItsStartAndRepeatOneAnnouncesTheSameTrackButNextMovesOn)
{
    play(playlist(3), 2);
    start();
    previous(60000);
    EXPECT_EQ(seqOf("play"), 2);
    previous(0);
    EXPECT_EQ(seqOf("play"), 1);
    EXPECT_EQ(playCount(), 3);

    changePlayMode(KeloPlayerPlayMode::RepeatOne);
    call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 7}});
    EXPECT_EQ(seqOf("setNextMedia"), 1);
    EXPECT_EQ(player->last("setNextMedia").value(PlayLogicWire::Serial()), 7);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf("play"), 2);
}

TEST_F(PlayLogicNavigation, AStartedTrackOffersTheControlsOfAPlaylistAndSeeksWhenItAllowsIt)
{
    play(playlist(2), 0);
    start();
    const KeloPlayLogicControls controls = logic->data().controls();
    EXPECT_TRUE(controls.pause() && controls.next() && controls.previous() && controls.seekTime());
    EXPECT_TRUE(controls.playModes().shuffle() && controls.playModes().repeatAll());
}

TEST_F(PlayLogicNavigation, EntriesWithoutResourcesAreSkippedInListOrderEvenUnderShuffle)
{
    PlayListBase* pl = playlist(6, {1, 2, 3});
    play(pl, 0);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf("play"), 4);

    play(pl, 0);
    changePlayMode(KeloPlayerPlayMode::Shuffle);
    const int drawn = logic->shuffleSequence().at(1);
    EXPECT_EQ(seqOf(logic->getNextTrack()), drawn >= 4 ? drawn : 4);
}

TEST_F(PlayLogicNavigation, TheSixthStreamErrorInARowEndsPlayback)
{
    const QVariantHash failed{{PlayLogicWire::Error(), QVariantHash{{"code", 1}}}};
    play(playlist(12), 0);
    call(PlayLogicWire::StreamError(), failed);
    call(PlayLogicWire::StreamError(), failed);
    start();  // a track that starts ends the run
    call(PlayLogicWire::Next());
    const int before = player->names.size();
    for (int failure = 1; failure <= 6; ++failure)
        call(PlayLogicWire::StreamError(), failed);
    EXPECT_EQ(player->names.mid(before), QStringList({"play", "play", "play", "play", "play", "playbackEnded"}));
    EXPECT_EQ(seqOf("play"), 8);
}

TEST_F(PlayLogicNavigation, AnItemsPathWithoutAPlaylistIsRefused)
{
    for (const char* path : {"playlists:pl/getitems/abc", "playlists:pl/getitems/0"}) {
        const CMVoidReply reply = play(CMPath(path), 0);
        EXPECT_EQ(reply.error().Name(), QStringLiteral("PlayList Error")) << path;
        EXPECT_EQ(reply.error().Message(), QStringLiteral("Play called on invalid playlist container"));
    }
    EXPECT_EQ(playCount(), 0);
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, numberedTracks(0, 2));
    EXPECT_FALSE(play(KeloPlayListPqGetItemsPath(), 1).hasError());
    EXPECT_EQ(logic->getCurrentPlayList(), manager->getPlayQueue());
}
