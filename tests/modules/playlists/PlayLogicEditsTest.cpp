// Edits of the playing playlist: after the player was told what follows the playing track, the
// track it starts shows its current number, and the track after it is the one that follows it in
// the list, whatever was removed, inserted or moved in between. Emptying the list stops the player.
#include <functional>

#include "Controller.h"
#include "PlayLogicFixture.h"

using PlayLogicEdits = PlayLogicTest;

TEST_F(PlayLogicEdits, TheTrackThatStartsAfterAnEditShowsItsNewNumberAndNothingIsSkipped)
{
    struct Case
    {
        const char* edit;
        int playing;
        std::function<void(PlayListBase*)> apply;
        const char* starting;  // the command that names the track the player starts next
        int starts, shownAs, thenNext;  // track numbers, and the entry's number once started
    };
    const QList<Case> cases = {
        {"removing an earlier entry", 2, [](PlayListBase* pl) { pl->removeItems({0}); }, "setNextMedia", 3, 2, 4},
        {"removing the announced entry", 1, [](PlayListBase* pl) { pl->removeItems({2}); }, "setNextMedia", 3, 2, 4},
        {"removing the playing entry", 2, [](PlayListBase* pl) { pl->removeItems({2}); }, "play", 3, 2, 4},
        {"removing the playing last entry of a repeated list", 4,
         [this](PlayListBase* pl) { changePlayMode(KeloPlayerPlayMode::RepeatAll), pl->removeItems({4}); }, "play", 0, 0, 1},
        {"moving the last entry to the front", 1, [](PlayListBase* pl) { pl->moveItems({4}, 0); }, "setNextMedia", 2, 3, 3},
        {"moving the first entry to the end", 2, [](PlayListBase* pl) { pl->moveItems({0}, 4); }, "setNextMedia", 3, 2, 4},
        {"moving an entry behind the playing one", 1, [](PlayListBase* pl) { pl->moveItems({4}, 2); }, "setNextMedia", 4, 2, 2},
        {"appending behind the playing last entry of a repeated list, in place of the wrap", 4,
         [this](PlayListBase* pl) {
             changePlayMode(KeloPlayerPlayMode::RepeatAll), pl->addItems(KeloPlayListAddPosition::Append, {numberedTrack(7)});
         }, "setNextMedia", 7, 5, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.edit);
        PlayListBase* pl = playlist(5);
        play(pl, c.playing);
        start();
        prepareNext();
        const int before = player->names.size();
        c.apply(pl);
        EXPECT_EQ(titleOf(c.starting), QStringLiteral("Track %1").arg(c.starts));
        if (QLatin1String(c.starting) == "setNextMedia") {
            EXPECT_EQ(seqOf(logic->data().trackRoles()), pl->getLastSequenceNumber()) << "the playing entry's new number";
        }
        if (player->names.lastIndexOf(c.starting) >= before) {
            EXPECT_EQ(seqOf(c.starting), c.shownAs) << "a track named after the edit carries its current number";
        }
        start(c.starting);
        EXPECT_EQ(pl->getLastSequenceNumber(), c.shownAs);
        EXPECT_EQ(seqOf(logic->data().trackRoles()), c.shownAs);
        call(PlayLogicWire::Next());
        EXPECT_EQ(titleOf("play"), QStringLiteral("Track %1").arg(c.thenNext));
    }
}

TEST_F(PlayLogicEdits, RemovingThePlayingLastEntryClearingOrDeletingTheListStopsThePlayer)
{
    const QList<std::function<void(PlayListBase*)>> endings = {
        [](PlayListBase* pl) { pl->removeItems({2}); },
        [](PlayListBase* pl) { pl->clearItems(); },
        [this](PlayListBase* pl) { manager->deletePlayList(pl); },
        // The flag alone does not wrap; the player's mode decides.
        [](PlayListBase* pl) { pl->setRepeatAll(true), pl->removeItems({2}); },
    };
    for (int i = 0; i < endings.size(); ++i) {
        PlayListBase* pl = playlist(3);
        play(pl, 2);
        start();
        const int before = player->names.size();
        endings[i](pl);
        QStringList sent = player->names.mid(before);
        sent.removeAll("data");  // a changed play mode shown
        EXPECT_EQ(sent, QStringList{"control:stop"}) << "ending " << i;
    }
}

TEST_F(PlayLogicEdits, AnAddWithModeNowPlaysTheFirstAddedTrackAlsoAfterTheListWasEmptied)
{
    PlayListBase* pl = playlist(3);
    play(pl, 1);
    start();
    ASSERT_EQ(pl->removeItems({0, 1, 2}), 3);

    const QVariantList items{numberedTrack(7).toVariant(), numberedTrack(8).toVariant()};
    CMSetDataRequest request(KeloPlayListPlAddExternalItemsPath(),
                             QVariantHash{{"plid", pl->getUid()}, {"items", items}, {"mode", "now"}});
    ASSERT_TRUE(worker->getController()->handleSetData(request));
    EXPECT_FALSE(request.reply().hasError());
    // The player is asked to play the container from the first added entry.
    const QVariantHash started = player->last("control:playContainer");
    EXPECT_EQ(started.value("index"), 0);
    const KeloPlayListItem first = pl->getItems(0, 0).value(0);
    EXPECT_EQ(first.title(), "Track 7");
    EXPECT_EQ(started.value("trackRoles").toHash().value("path").toString(),
              (KeloPlayListPlGetItemsPath() + pl->getUid() + first.uid()).toEncoded());
}
