// The shuffle order on a real playlist: drawn once, walked both ways, kept whole across edits.
#include "PlayLogicFixture.h"

class PlayLogicShuffle : public PlayLogicTest
{
protected:
    PlayListBase* shuffled(int size, int start)
    {
        PlayListBase* pl = playlist(size);
        pl->setShuffle(true);
        play(pl, start);
        return pl;
    }
    QList<int> next(int presses)
    {
        QList<int> heard;
        for (int i = 0; i < presses; ++i) {
            call(PlayLogicWire::Next());
            heard << seqOf("play");
        }
        return heard;
    }
    const QVector<int>& order() const { return logic->shuffleSequence(); }
};

TEST_F(PlayLogicShuffle, ThePermutationIsHeadedByTheStartedEntryAndRepeatsAsItWas)
{
    shuffled(20, 7);
    EXPECT_EQ(order().first(), 7);
    EXPECT_TRUE(isPermutation(order(), 20));
    const QVector<int> drawn = order();
    EXPECT_EQ(next(19).toVector(), drawn.mid(1));
    call(PlayLogicWire::Next());
    EXPECT_EQ(playCount(), 20) << "the end of the order without repeat";

    changePlayMode(KeloPlayerPlayMode::ShuffleRepeatAll);
    EXPECT_EQ(next(20).toVector(), drawn) << "the second pass plays the same order";
    EXPECT_EQ(order(), drawn) << "a change between shuffled modes keeps the order";
    shuffled(1, 0);
    EXPECT_EQ(order(), QVector<int>{0}) << "a one-entry list has an order of its own";
}

TEST_F(PlayLogicShuffle, PreviousWalksBackOverExactlyTheEntriesHeard)
{
    shuffled(12, 4);
    const QList<int> heard = QList<int>{4} + next(6);
    QList<int> back;
    for (int i = 0; i < 6; ++i) {
        previous(0);
        back.prepend(seqOf("play"));
    }
    EXPECT_EQ(back, heard.mid(0, 6));
    previous(0);
    EXPECT_EQ(playCount(), 13) << "nothing before the first entry heard";
}

TEST_F(PlayLogicShuffle, AppendsAreMixedOnlyIntoTheUnplayedPart)
{
    PlayListBase* pl = shuffled(10, 0);
    next(3);
    const QVector<int> played = order().mid(0, 4);
    pl->addItems(KeloPlayListAddPosition::Append, numberedTracks(10, 10));
    EXPECT_TRUE(isPermutation(order(), 20));
    EXPECT_EQ(order().mid(0, 4), played);
    EXPECT_EQ(logic->shuffleCurrentIndex(), 3);
    QVector<int> run(10);
    std::iota(run.begin(), run.end(), 10);
    EXPECT_NE(order().mid(order().indexOf(10), 10), run) << "the added entries are mixed in, not played as a run";
}

TEST_F(PlayLogicShuffle, InsertsBehindThePlayingEntryArePlayedNextInListOrder)
{
    PlayListBase* pl = shuffled(8, 5);  // entries behind 5 are renumbered
    start();
    QVector<int> expected = order();
    for (int& entry : expected)
        entry += entry > 5 ? 2 : 0;
    expected.insert(1, 6);
    expected.insert(2, 7);
    pl->addItems(KeloPlayListAddPosition::AfterCurrent, numberedTracks(8, 2));
    EXPECT_EQ(order(), expected);
    EXPECT_EQ(next(2), QList<int>({6, 7}));
}

TEST_F(PlayLogicShuffle, RemovalsRenumberTheOrderAndMovesSwapTwoNumbers)
{
    PlayListBase* pl = shuffled(9, 0);
    next(3);
    for (int at : {6, 1, 2}) {  // behind, before and at the playing entry
        const int index = logic->shuffleCurrentIndex();
        const int removed = order().at(at);
        QVector<int> expected = order();
        expected.remove(at);
        for (int& entry : expected)
            entry -= entry > removed ? 1 : 0;
        pl->removeItems({removed});
        EXPECT_EQ(order(), expected);
        EXPECT_EQ(logic->shuffleCurrentIndex(), index - (at <= index ? 1 : 0));
        if (at != index) {
            EXPECT_EQ(order().at(logic->shuffleCurrentIndex()), pl->getLastSequenceNumber());
        }
    }
    QVector<int> swapped = order();
    std::swap(swapped[swapped.indexOf(0)], swapped[swapped.indexOf(3)]);
    pl->moveItem(0, 3);
    EXPECT_EQ(order(), swapped);
}
