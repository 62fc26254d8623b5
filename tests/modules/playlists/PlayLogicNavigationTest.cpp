// Current, next and previous on a real playlist, through the calls a player makes.
#include "PlayLogicFixture.h"

using PlayLogicNavigation = PlayLogicTest;

TEST_F(PlayLogicNavigation, RepeatAllWrapsAtBothEndsAndRepeatOffStops)
{
    PlayListBase* pl = playlist(4);
    play(pl, 3);
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 3);
    EXPECT_TRUE(logic->getNextTrack().isEmpty());

    pl->setRepeatAll(true);  // only shown in the play mode; the play logic follows the player's mode
    EXPECT_TRUE(logic->getNextTrack().isEmpty());
    changePlayMode(KeloPlayerPlayMode::RepeatAll);
    EXPECT_TRUE(pl->getRepeatAll());
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 0);
    previous(0);
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 3);

    changePlayMode(KeloPlayerPlayMode::Normal);
    play(pl, 0);
    const int plays = playCount();
    previous(0);
    EXPECT_EQ(playCount(), plays) << "previous at the first entry without repeat plays nothing";
}

TEST_F(PlayLogicNavigation, RepeatOneAnnouncesTheSameTrackButNextMovesOn)
{
    PlayListBase* pl = playlist(3);
    play(pl, 1);
    changePlayMode(KeloPlayerPlayMode::RepeatOne);
    call(PlayLogicWire::PrepareNextMedia(), {{PlayLogicWire::Serial(), 7}});
    EXPECT_EQ(seqOf(PlayLogicWire::SetNextMedia()), 1);
    EXPECT_EQ(player->last(PlayLogicWire::SetNextMedia()).value(PlayLogicWire::Serial()).toInt(), 7);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 2);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 2) << "repeat one does not wrap";
}

TEST_F(PlayLogicNavigation, EntriesWithoutResourcesAreSkippedInListOrder)
{
    PlayListBase* pl = playlist(6, {1, 2, 3});
    play(pl, 0);
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 4);
    EXPECT_EQ(pl->getLastSequenceNumber(), 4);

    // Under shuffle the skip still walks the list from the last played entry.
    play(pl, 0);
    changePlayMode(KeloPlayerPlayMode::Shuffle);
    const int drawn = logic->shuffleSequence().at(1);
    const int next = seqOf(logic->getNextTrack());
    EXPECT_EQ(next, drawn >= 4 ? drawn : 4);
}

TEST_F(PlayLogicNavigation, WithoutALastPlayedEntryNextIsTheFirstAndThereIsNoCurrent)
{
    PlayListBase* pl = playlist(3);
    logic->setCurrentPlayList(pl);
    EXPECT_EQ(seqOf(logic->getNextTrack()), 0);
    EXPECT_TRUE(logic->getCurrentTrack().isEmpty());
    EXPECT_TRUE(logic->getPreviousTrack().isEmpty());
}

TEST_F(PlayLogicNavigation, SixthConsecutiveStreamErrorEndsPlayback)
{
    PlayListBase* pl = manager->createPlayList(QStringLiteral("Broken"));
    QList<KeloPlayListItem> items;
    for (int n = 0; n < 12; ++n)
        items << track(n, QStringLiteral("fail:%1").arg(n));
    pl->addItems(KeloPlayListAddPosition::Append, items);
    const QVariantHash streamError{{PlayLogicWire::Error(), QVariantHash{{"code", 1}}}};

    play(pl, 0);
    for (int failure = 1; failure <= 3; ++failure)
        call(PlayLogicWire::StreamError(), streamError);
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 3);
    confirmStart();  // a track that starts ends the run of failures
    call(PlayLogicWire::Next());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 4);

    player->clear();
    for (int failure = 1; failure <= 5; ++failure)
        call(PlayLogicWire::StreamError(), streamError);
    EXPECT_EQ(player->names().count(PlayLogicWire::Play()), 5);
    EXPECT_FALSE(player->names().contains(PlayLogicWire::PlaybackEnded()));
    call(PlayLogicWire::StreamError(), streamError);
    EXPECT_EQ(player->names().count(PlayLogicWire::Play()), 5);
    EXPECT_EQ(player->names().last(), PlayLogicWire::PlaybackEnded());
}

TEST_F(PlayLogicNavigation, PreviousGoesBackWithinTheTimeLimitAndRestartsAfterIt)
{
    PlayListBase* pl = playlist(5);
    play(pl, 3);
    previous(KeloPreviousTrackTimeLimit());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 2);
    previous(KeloPreviousTrackTimeLimit() + 1);
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 2);
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
}

TEST_F(PlayLogicNavigation, ContainersThatNameNoPlaylistAreRefusedOrIgnored)
{
    for (const QString& path : {QStringLiteral("playlists:pl/getitems/abc"), QStringLiteral("playlists:pl/getitems/0")}) {
        const CMVoidReply reply = playContainer(CMPath(path), 0);
        ASSERT_TRUE(reply.hasError()) << qPrintable(path);
        EXPECT_EQ(reply.error().Name(), QStringLiteral("PlayList Error"));
        EXPECT_EQ(reply.error().Message(), QStringLiteral("Play called on invalid playlist container"));
    }
    const CMVoidReply unknown = playContainer(KeloPlayListPlGetItemsPath() + 99, 0);
    EXPECT_TRUE(unknown.isFinished() && !unknown.hasError());
    EXPECT_EQ(playCount(), 0);

    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks(0, 2));
    playContainer(KeloPlayListPqGetItemsPath(), 1);
    EXPECT_EQ(logic->getCurrentPlayList(), manager->getPlayQueue());
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), 1);
}

TEST_F(PlayLogicNavigation, ATrackPlayedDirectlyHasNoPlaylistAndNoNext)
{
    play(playlist(3), 0);
    KeloRoles direct(KeloHash(KeloJson::parse(track(9).keloRoles()).toHash()));
    KeloPlayLogicPlayArgs args;
    args.setTrackRoles(direct);
    args.setType(KeloRolesType::Container);
    call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), args.toVariant()}});
    EXPECT_EQ(KeloRoles(KeloHash(lastPlayed(PlayLogicWire::Play()).toHash())).title(), QStringLiteral("Track 9"));
    EXPECT_EQ(logic->getCurrentPlayList(), nullptr);
    confirmStart();
    EXPECT_FALSE(logic->data().controls().next());
    const int plays = playCount();
    call(PlayLogicWire::Next());
    EXPECT_EQ(playCount(), plays);
}

TEST_F(PlayLogicNavigation, DeletingThePlayingPlaylistStopsThePlayerAndNoOther)
{
    PlayListBase* other = playlist(2);
    PlayListBase* pl = playlist(2);
    play(pl, 0);
    manager->deletePlayList(other);
    EXPECT_FALSE(player->names().contains("control:stop"));
    EXPECT_EQ(logic->getCurrentPlayList(), pl);
    manager->deletePlayList(pl);
    EXPECT_TRUE(player->names().contains("control:stop"));
    EXPECT_EQ(logic->getCurrentPlayList(), nullptr);
}
