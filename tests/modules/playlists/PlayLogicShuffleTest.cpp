// The shuffle order on a real playlist: drawn once, walked both ways, kept whole across edits.
#include <algorithm>
#include <numeric>

#include "PlayLogicFixture.h"

namespace {
bool isPermutation(QVector<int> order, int size)
{
    std::sort(order.begin(), order.end());
    QVector<int> identity(size);
    std::iota(identity.begin(), identity.end(), 0);
    return order == identity;
}
}  // namespace

class PlayLogicShuffle : public PlayLogicTest
{
protected:
    // A shuffled playlist of size entries, started at entry start.
    PlayListBase* shuffled(int size, int start)
    {
        PlayListBase* pl = playlist(size);
        pl->setShuffle(true);
        play(pl, start);
        return pl;
    }
    // The entries heard after n presses of next.
    QList<int> next(int n)
    {
        QList<int> heard;
        for (int i = 0; i < n; ++i) {
            call(PlayLogicWire::Next());
            heard << seqOf(PlayLogicWire::Play());
        }
        return heard;
    }
};

TEST_F(PlayLogicShuffle, TheOrderIsAPermutationHeadedByTheStartedEntry)
{
    shuffled(20, 7);
    EXPECT_EQ(logic->shuffleSequence().first(), 7);
    EXPECT_TRUE(isPermutation(logic->shuffleSequence(), 20));
    EXPECT_EQ(logic->shuffleCurrentIndex(), 0);
    EXPECT_EQ(next(19), logic->shuffleSequence().mid(1).toList()) << "next walks the order";
    const int plays = playCount();
    call(PlayLogicWire::Next());
    EXPECT_EQ(playCount(), plays) << "the end of the order without repeat";

    logic->initShuffle(-1);
    EXPECT_TRUE(isPermutation(logic->shuffleSequence(), 20));
    EXPECT_EQ(logic->getNextShuffleItem(), logic->shuffleSequence().at(1));
    logic->initShuffle(99);
    EXPECT_TRUE(isPermutation(logic->shuffleSequence(), 20));
}

TEST_F(PlayLogicShuffle, PreviousWalksBackOverExactlyTheEntriesHeard)
{
    shuffled(12, 4);
    QList<int> heard{4};
    heard << next(6);
    QList<int> back;
    for (int i = 0; i < 6; ++i) {
        previous(0);
        back.prepend(seqOf(PlayLogicWire::Play()));
    }
    heard.removeLast();
    EXPECT_EQ(back, heard);
    const int plays = playCount();
    previous(0);
    EXPECT_EQ(playCount(), plays) << "nothing before the first entry heard";
}

TEST_F(PlayLogicShuffle, RepeatAllReplaysTheSameOrder)
{
    PlayListBase* pl = shuffled(5, 2);
    changePlayMode(KeloPlayerPlayMode::ShuffleRepeatAll);
    const QVector<int> order = logic->shuffleSequence();
    EXPECT_TRUE(pl->getRepeatAll());
    next(4);
    EXPECT_EQ(next(5).toVector(), order);
    EXPECT_EQ(next(1), QList<int>{order.first()});
    previous(0);
    EXPECT_EQ(seqOf(PlayLogicWire::Play()), order.last()) << "previous at the head wraps to the end";
}

TEST_F(PlayLogicShuffle, ModeChangesKeepTheOrderWhileShuffleStaysOn)
{
    shuffled(10, 3);
    next(2);
    const QVector<int> order = logic->shuffleSequence();
    changePlayMode(KeloPlayerPlayMode::ShuffleRepeatOne);
    changePlayMode(KeloPlayerPlayMode::ShuffleRepeatAll);
    EXPECT_EQ(logic->shuffleSequence(), order);
    EXPECT_EQ(logic->shuffleCurrentIndex(), 2);

    changePlayMode(KeloPlayerPlayMode::RepeatAll);
    changePlayMode(KeloPlayerPlayMode::ShuffleRepeatAll);
    EXPECT_EQ(logic->shuffleSequence().first(), order.at(2)) << "a new order is headed by the playing entry";
    EXPECT_EQ(logic->shuffleCurrentIndex(), 0);
}

TEST_F(PlayLogicShuffle, AppendsAreMixedOnlyIntoTheUnplayedPart)
{
    PlayListBase* pl = shuffled(10, 0);
    next(3);
    const QVector<int> played = logic->shuffleSequence().mid(0, 4);
    pl->addItems(KeloPlayListAddPosition::Append, tracks(10, 5));
    const QVector<int> order = logic->shuffleSequence();
    EXPECT_TRUE(isPermutation(order, 15));
    EXPECT_EQ(order.mid(0, 4), played);
    EXPECT_EQ(logic->shuffleCurrentIndex(), 3);
}

TEST_F(PlayLogicShuffle, InsertsBehindThePlayingEntryArePlayedNextInListOrder)
{
    PlayListBase* pl = shuffled(8, 5);
    next(2);
    confirmStart();
    const int playing = pl->getLastSequenceNumber();
    QVector<int> before = logic->shuffleSequence();
    pl->addItems(KeloPlayListAddPosition::AfterCurrent, tracks(8, 2));
    for (int& entry : before)
        entry += entry > playing ? 2 : 0;
    before.insert(3, playing + 1);
    before.insert(4, playing + 2);
    EXPECT_EQ(logic->shuffleSequence(), before);
    EXPECT_EQ(next(2), QList<int>({playing + 1, playing + 2}));
}

TEST_F(PlayLogicShuffle, RemovalsAndMovesKeepTheOrderWhole)
{
    PlayListBase* pl = shuffled(9, 0);
    next(3);
    for (int at : {6, 1}) {  // behind and before the playing entry in the order
        const int playing = pl->getLastSequenceNumber();
        const int removed = logic->shuffleSequence().at(at);
        QVector<int> expected = logic->shuffleSequence();
        expected.remove(at);
        for (int& entry : expected)
            entry -= entry > removed ? 1 : 0;
        pl->removeItems({removed});
        EXPECT_EQ(logic->shuffleSequence(), expected);
        EXPECT_EQ(pl->getLastSequenceNumber(), playing - (removed < playing ? 1 : 0));
        EXPECT_EQ(logic->shuffleSequence().at(logic->shuffleCurrentIndex()), pl->getLastSequenceNumber());
    }

    // Without the playing entry, the order goes on with the entry that followed it there.
    const int index = logic->shuffleCurrentIndex();
    const int following = logic->shuffleSequence().at(index + 1);
    pl->removeItems({pl->getLastSequenceNumber()});
    EXPECT_EQ(logic->shuffleCurrentIndex(), index - 1);
    EXPECT_EQ(logic->getNextShuffleItem(), following - (following > pl->getLastSequenceNumber() ? 1 : 0));

    // A move swaps the two numbers in the order and leaves the others where they are.
    QVector<int> swapped = logic->shuffleSequence();
    std::swap(swapped[swapped.indexOf(0)], swapped[swapped.indexOf(3)]);
    pl->moveItem(0, 3);
    EXPECT_EQ(logic->shuffleSequence(), swapped);
    EXPECT_TRUE(isPermutation(logic->shuffleSequence(), 6));
}

TEST_F(PlayLogicShuffle, SeveralRemovalsApplyOneAfterAnother)
{
    PlayListBase* pl = playlist(6);
    play(pl, 0);
    logic->setShuffleEnabled(true);
    QVector<int> order = logic->shuffleSequence();
    pl->removeItems({4, 1});
    // 1 goes first; the entry that was 5 has become 4 by then and is the one taken out next.
    order.removeAll(1);
    for (int& entry : order)
        entry -= entry > 1 ? 1 : 0;
    order.removeAll(4);
    EXPECT_EQ(logic->shuffleSequence(), order);
}
