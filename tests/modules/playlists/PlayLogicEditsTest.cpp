// Edits of the playing playlist while it plays: playback goes on, or stops where nothing is left.
#include "PlayLogicFixture.h"

class PlayLogicEdits : public PlayLogicTest
{
protected:
    // A playlist of size entries playing entry index, its start confirmed by the player.
    PlayListBase* playing(int size, int index)
    {
        PlayListBase* pl = playlist(size);
        play(pl, index);
        confirmStart();
        player->clear();
        return pl;
    }
    int uidAt(PlayListBase* pl, int seq) { return pl->getItems(seq, seq).value(0).uid(); }
    QString playedId() const { return KeloRoles(KeloHash(lastPlayed(PlayLogicWire::Play()).toHash())).id(); }
    int seqInData() const { return seqOf(logic->data().trackRoles()); }
};

TEST_F(PlayLogicEdits, RemovingThePlayingEntryPlaysTheOneAfterIt)
{
    PlayListBase* pl = playing(5, 2);
    const int follower = uidAt(pl, 3);
    pl->removeItems({1, 2});
    EXPECT_EQ(playedId(), QString::number(follower));
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 1);
    EXPECT_EQ(pl->getLastSequenceNumber(), 1);
}

TEST_F(PlayLogicEdits, RemovingOtherEntriesOnlyRenumbersThePlayingOne)
{
    PlayListBase* pl = playing(5, 3);
    pl->removeItems({0, 4});
    EXPECT_EQ(playCount(), 0);
    EXPECT_EQ(seqInData(), 2);
    const KeloPlayLogicData sent(KeloHash(player->last(PlayLogicWire::Data()).value(PlayLogicWire::Data()).toHash()));
    EXPECT_EQ(seqOf(sent.trackRoles()), 2) << "the player is told the new number";
}

TEST_F(PlayLogicEdits, RemovingThePlayingLastEntryStopsUnlessTheListRepeats)
{
    PlayListBase* pl = playing(4, 3);
    pl->removeItems({3});
    EXPECT_EQ(player->names(), QStringList{"control:stop"});

    pl = playing(4, 3);
    changePlayMode(KeloPlayerPlayMode::RepeatAll);
    pl->removeItems({3});
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 0);
    EXPECT_FALSE(player->names().contains("control:stop"));
}

TEST_F(PlayLogicEdits, EmptyingThePlaylistStopsThePlayer)
{
    PlayListBase* pl = playing(3, 1);
    pl->removeItems({0, 1, 2});
    EXPECT_EQ(player->names(), QStringList{"control:stop"});

    pl = playing(3, 1);
    pl->clearItems();
    EXPECT_EQ(player->names(), QStringList{"control:stop"});
    EXPECT_EQ(logic->getCurrentPlayList(), pl) << "the player's stop ends the playlist, not the clear";
}

TEST_F(PlayLogicEdits, MovesKeepTheSequenceNumberInTheDataInStep)
{
    PlayListBase* pl = playing(6, 2);
    pl->moveItems({2}, 5);
    EXPECT_EQ(seqInData(), 5);
    pl->moveItems({0}, 5);
    EXPECT_EQ(seqInData(), 4);
    pl->moveItems({5}, 0);
    EXPECT_EQ(seqInData(), 5);
    EXPECT_EQ(playCount(), 0);
}

TEST_F(PlayLogicEdits, AddingAfterCurrentReplacesTheAnnouncedNextMedia)
{
    PlayListBase* pl = playing(4, 1);
    call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 3}});
    EXPECT_EQ(seqOf(PlayLogicWire::SetNextMedia()), 2);
    pl->addItems(KeloPlayListAddPosition::AfterCurrent, tracks(10, 1));
    EXPECT_EQ(player->names().count(PlayLogicWire::SetNextMedia()), 2);
    EXPECT_EQ(KeloRoles(KeloHash(lastPlayed(PlayLogicWire::SetNextMedia()).toHash())).title(), QStringLiteral("Track 10"));

    // Once the announced track started, it is the last played entry.
    call(PlayLogicWire::MediaPlaybackStarted(), {{PlayLogicWire::NewRoles(), lastPlayed(PlayLogicWire::SetNextMedia())}});
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    EXPECT_TRUE(logic->pendingTrack().isEmpty());
}

TEST_F(PlayLogicEdits, ThePlaylistsFlagsChangeOnlyThePlayersMode)
{
    PlayListBase* pl = playing(4, 0);
    pl->setShuffle(true);
    EXPECT_EQ(logic->playMode(), KeloPlayerPlayMode::Shuffle);
    EXPECT_FALSE(logic->isShuffleEnabled());
    pl->setRepeatAll(true);
    EXPECT_EQ(logic->playMode(), KeloPlayerPlayMode::RepeatAll);
    EXPECT_EQ(logic->getRepeatMode(), PlayListPlayLogic::RepeatOff);
    call(PlayLogicWire::Next());
    call(PlayLogicWire::Next());
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 3);
    call(PlayLogicWire::Next());
    EXPECT_EQ(playCount(), 3) << "the list order, without wrap, still decides";
}
