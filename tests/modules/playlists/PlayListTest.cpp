// PlayList against a real store: the last-played index through every edit, the signals with their
// arguments, what reaches the row, and the role map of an entry.
#include <QSignalSpy>
#include <functional>

#include "KeloPaths.h"
#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
class PlayListModel : public ModelTest
{
protected:
    // Six entries a..f, the last played one at lastPlayed.
    PlayListBase* sixEntries(int lastPlayed)
    {
        PlayListBase* pl = playlistWith(QStringLiteral("Six"), {"a", "b", "c", "d", "e", "f"});
        pl->setLastSequenceNumber(lastPlayed);
        return pl;
    }
};
}  // namespace

TEST_F(PlayListModel, RemovalsInFrontOfTheLastPlayedEntryShiftItsIndexButNotItself)
{
    PlayListBase* pl = sixEntries(3);
    QSignalSpy removed(pl, &PlayListBase::itemsRemoved);

    EXPECT_EQ(pl->removeItems({4, 1}), 2);
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed.at(0).at(0).value<QList<int>>(), (QList<int>{1, 4}));
    EXPECT_EQ(removed.at(0).at(1).toInt(), 3);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "c", "d", "f"}));
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|2"));

    // The played entry itself is not counted: the index then names the entry that took its place.
    EXPECT_EQ(pl->removeItems({2}), 1);
    EXPECT_EQ(pl->getLastSequenceNumber(), 2);

    // One number that names nothing: nothing is removed and nothing is announced.
    EXPECT_LT(pl->removeItems({0, 17}), 1);
    EXPECT_EQ(removed.count(), 2);
    EXPECT_EQ(pl->getSize(), 3);
}

TEST_F(PlayListModel, MovesKeepTheLastPlayedEntryNamed)
{
    const int cases[][3] = {{5, 2, 4}, {1, 4, 2}, {3, 0, 0}, {3, 5, 5}, {0, 1, 3}, {4, 5, 3}};
    for (const auto& c : cases) {
        PlayListBase* pl = sixEntries(3);
        const QString played = titlesOf(pl).at(3);
        QSignalSpy moved(pl, &PlayListBase::itemMoved);

        ASSERT_TRUE(pl->moveItem(c[0], c[1]));

        EXPECT_EQ(pl->getLastSequenceNumber(), c[2]) << c[0] << "->" << c[1];
        EXPECT_EQ(titlesOf(pl).at(c[2]), played) << c[0] << "->" << c[1];
        EXPECT_EQ(moved.value(0), (QVariantList{c[0], c[1]}));
        EXPECT_TRUE(pl->moveItem(2, 2));
        EXPECT_EQ(moved.count(), 1);
        EXPECT_TRUE(manager->deletePlayList(pl));
    }
}

TEST_F(PlayListModel, BlockMovesRunAsSingleMovesInTheirOwnOrder)
{
    PlayListBase* front = playlistWith(QStringLiteral("front"), names(8));
    QSignalSpy frontMoves(front, &PlayListBase::itemMoved);
    ASSERT_TRUE(front->moveItems({5, 6}, 1));
    EXPECT_EQ(titlesOf(front), (QStringList{"t0", "t5", "t6", "t1", "t2", "t3", "t4", "t7"}));
    EXPECT_EQ(frontMoves, (QList<QVariantList>{{5, 1}, {6, 2}}));

    PlayListBase* back = playlistWith(QStringLiteral("back"), names(8));
    QSignalSpy backMoves(back, &PlayListBase::itemMoved);
    ASSERT_TRUE(back->moveItems({1, 2}, 5));
    EXPECT_EQ(backMoves, (QList<QVariantList>{{2, 4}, {1, 5}}));
    EXPECT_EQ(titlesOf(back), (QStringList{"t0", "t3", "t4", "t2", "t5", "t1", "t6", "t7"}));

    EXPECT_FALSE(back->moveItems({}, 3));
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(PlayListModel, AddsAnnounceTheirPositionFirstNumberAndTheCountTheLimitLeft)
{
    reopen(10);
    PlayListBase* pl = sixEntries(1);
    QSignalSpy added(pl, &PlayListBase::itemsAdded);

    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::AfterCurrent, tracks({"x", "y"})), 2);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, tracks({"z", "cut", "cut"})), 2);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, tracks({"full"})), -1);

    EXPECT_EQ(added, (QList<QVariantList>{{"afterCurrent", 2, 2}, {"append", 8, 2}}));
    EXPECT_EQ(pl->getSize(), 10);
    EXPECT_EQ(pl->getLastSequenceNumber(), 1);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "b", "x", "y", "c", "d", "e", "f", "z", "cut"}));
}

TEST_F(PlayListModel, ClearingEmptiesAndForgetsTheLastPlayedEntry)
{
    PlayListBase* pl = sixEntries(4);
    QSignalSpy cleared(pl, &PlayListBase::itemsCleared);
    EXPECT_TRUE(pl->clearItems());
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_EQ(pl->getSize(), 0);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 0);

    // An empty playlist is cleared silently, but the index is still written.
    pl->setLastSequenceNumber(7);
    EXPECT_TRUE(pl->clearItems());
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|-1"));
}

TEST_F(PlayListModel, FlagsAnnounceOnlyChangesWhileNamesAnnounceEverySet)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Mix"), {});
    QSignalSpy shuffle(pl, &PlayListBase::shuffleChanged);
    QSignalSpy repeat(pl, &PlayListBase::repeatAllChanged);
    QSignalSpy name(pl, &PlayListBase::nameChanged);
    pl->setShuffle(true);
    pl->setShuffle(true);
    pl->setRepeatAll(false);
    pl->setRepeatAll(true);
    pl->setName(QStringLiteral("Blues"));
    pl->setName(QStringLiteral("Blues"));

    EXPECT_EQ(shuffle, QList<QVariantList>{{true}});
    EXPECT_EQ(repeat, QList<QVariantList>{{true}});
    EXPECT_EQ(name.count(), 2);
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Blues|1|1|-1"));
}

// The role map of a readable entry is in the recorded API session.
TEST_F(PlayListModel, AnEntryWhoseRolesCannotBeReadBecomesNoRow)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Roles"), {"a"});
    KeloPlayListItem broken = pl->getItems(0, 0).value(0);
    broken.setKeloRoles(QStringLiteral("{not json"));
    EXPECT_FALSE(pl->itemToKeloRoles(broken).contains(KeloRoles::Id()));
}

TEST_F(PlayListModel, RemovingTheLastEntriesMovesTheIndexOntoTheNewLastSoLaterAddsLeaveNoGap)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Three"), {"a", "b", "c"});
    pl->setLastSequenceNumber(2);
    EXPECT_EQ(pl->removeItems({2}), 1);
    EXPECT_EQ(pl->getLastSequenceNumber(), 1);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::AfterCurrent, tracks({"n"})), 1);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Now, tracks({"m"})), 1);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "b", "m", "n"}));
    EXPECT_TRUE(store().gaps().isEmpty());

    EXPECT_EQ(pl->removeItems({0, 1, 2, 3}), 4);
    EXPECT_EQ(pl->getLastSequenceNumber(), -1) << "an empty playlist has no last played entry";
}

TEST_F(PlayListModel, AFailedBlockMoveChangesNeitherTheStoreNorTheIndexAndSendsNothing)
{
    PlayListBase* pl = sixEntries(1);
    QSignalSpy moved(pl, &PlayListBase::itemMoved);
    // The second of the two single moves lands e on 1.
    ASSERT_TRUE(store().exec(QStringLiteral(
        "CREATE TRIGGER fault BEFORE UPDATE ON playlists_items WHEN NEW.sequenceNumber = 1 AND "
        "NEW.item = (SELECT uid FROM items WHERE title = 'e') BEGIN SELECT RAISE(ABORT, 'fault'); END;")));
    EXPECT_FALSE(pl->moveItems({3, 4}, 0));
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "b", "c", "d", "e", "f"}));
    EXPECT_EQ(pl->getLastSequenceNumber(), 1);
    EXPECT_EQ(moved.count(), 0);

    ASSERT_TRUE(store().exec(QStringLiteral("DROP TRIGGER fault;")));
    EXPECT_TRUE(pl->moveItems({3, 4}, 0));
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"d", "e", "a", "b", "c", "f"}));
    EXPECT_EQ(pl->getLastSequenceNumber(), 3);
    EXPECT_EQ(moved.count(), 2);
}


// The position goes to the row with the entries it follows, so a restart finds it on the same entry;
// each single move of a block is announced with the position as that move left it.
TEST_F(PlayListModel, ShiftedPositionsAreStoredWithTheEditAndSurviveARestart)
{
    const int uid = sixEntries(3)->getUid();
    struct Case
    {
        const char* what;
        std::function<bool(PlayListBase*)> edit;
        int position;  // of "d", the entry last played
    };
    const Case cases[] = {
        {"a move of the played entry", [](PlayListBase* pl) { return pl->moveItem(3, 5); }, 5},  // a b c e f d
        {"a block move over it", [](PlayListBase* pl) { return pl->moveItems({4, 5}, 0); }, 1},  // f d a b c e
        {"a removal in front of it", [](PlayListBase* pl) { return pl->removeItems({0, 2}) == 2; }, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_TRUE(c.edit(manager->getPlayListByUid(uid)));
        reopen();
        PlayListBase* pl = manager->getPlayListByUid(uid);
        ASSERT_NE(pl, nullptr);
        EXPECT_EQ(pl->getLastSequenceNumber(), c.position);
        EXPECT_EQ(titlesOf(pl).value(c.position), QStringLiteral("d"));
    }

    PlayListBase* pl = manager->getPlayListByUid(uid);  // d b c e
    QList<int> seen;
    QObject::connect(pl, &PlayListBase::itemMoved, pl, [&] { seen.append(pl->getLastSequenceNumber()); });
    ASSERT_TRUE(pl->moveItems({0, 1}, 3));  // the moves (1, 2) then (0, 3)
    EXPECT_EQ(seen, (QList<int>{0, 3}));
    EXPECT_EQ(store().playlistRow(uid), QStringLiteral("Six|0|0|3"));
}

TEST_F(PlayListModel, AnEditWhosePositionCannotBeStoredChangesNothingAndSendsNothing)
{
    PlayListBase* pl = sixEntries(3);
    const QString row = store().playlistRow(pl->getUid());
    QSignalSpy moved(pl, &PlayListBase::itemMoved);
    QSignalSpy removed(pl, &PlayListBase::itemsRemoved);
    ASSERT_TRUE(store().exec(QStringLiteral(
        "CREATE TRIGGER fault BEFORE UPDATE ON playlists BEGIN SELECT RAISE(ABORT, 'fault'); END;")));

    EXPECT_FALSE(pl->moveItem(3, 0));
    EXPECT_FALSE(pl->moveItem(0, 4));
    EXPECT_FALSE(pl->moveItems({4, 5}, 1));
    EXPECT_EQ(pl->removeItems({1}), -1);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "b", "c", "d", "e", "f"}));
    EXPECT_EQ(store().playlistRow(pl->getUid()), row);
    EXPECT_EQ(pl->getLastSequenceNumber(), 3);
    EXPECT_EQ(pl->getSize(), 6);
    EXPECT_EQ(moved.count() + removed.count(), 0);

    // Edits that leave the position where it is do not touch the row.
    EXPECT_TRUE(pl->moveItem(0, 1));
    EXPECT_TRUE(pl->moveItems({4}, 5));
    EXPECT_EQ(pl->removeItems({5}), 1);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"b", "a", "c", "d", "f"}));

    ASSERT_TRUE(store().exec(QStringLiteral("DROP TRIGGER fault;")));
    EXPECT_TRUE(pl->moveItem(3, 0));
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|0"));
}
