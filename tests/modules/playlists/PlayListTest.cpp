// PlayList against a real store: the last-played index through every edit, the signals with their
// arguments, what reaches the row, and the role map of an entry.
#include <QSignalSpy>

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

QList<int> ints(const QVariant& v)
{
    return v.value<QList<int>>();
}
}  // namespace

TEST_F(PlayListModel, RemovingEntriesInFrontOfTheLastPlayedShiftsItsIndex)
{
    PlayListBase* pl = sixEntries(3);
    QSignalSpy removed(pl, &PlayListBase::itemsRemoved);

    EXPECT_EQ(pl->removeItems({4, 1}), 2);

    EXPECT_EQ(pl->getLastSequenceNumber(), 2);
    EXPECT_EQ(pl->getSize(), 4);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(ints(removed.at(0).at(0)), (QList<int>{1, 4}));
    EXPECT_EQ(removed.at(0).at(1).toInt(), 3);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "c", "d", "f"}));
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|2"));
}

TEST_F(PlayListModel, RemovingTheLastPlayedEntryKeepsItsIndex)
{
    PlayListBase* pl = sixEntries(3);
    EXPECT_EQ(pl->removeItems({3}), 1);
    EXPECT_EQ(pl->getLastSequenceNumber(), 3);
    EXPECT_EQ(titlesOf(pl), (QStringList{"a", "b", "c", "e", "f"}));
}

TEST_F(PlayListModel, RemovingNothingThatExistsChangesNothingAndStaysSilent)
{
    PlayListBase* pl = sixEntries(3);
    QSignalSpy removed(pl, &PlayListBase::itemsRemoved);
    EXPECT_LT(pl->removeItems({2, 17}), 1);
    EXPECT_EQ(removed.count(), 0);
    EXPECT_EQ(pl->getSize(), 6);
    EXPECT_EQ(pl->getLastSequenceNumber(), 3);
    EXPECT_EQ(store().titles(pl->getUid()).size(), 6);
}

TEST_F(PlayListModel, MovesKeepTheLastPlayedEntryNamed)
{
    struct Case
    {
        int from, to, expectedLast;
    };
    const Case cases[] = {{5, 2, 4}, {1, 4, 2}, {3, 0, 0}, {3, 5, 5}, {0, 1, 3}, {4, 5, 3}};
    for (const Case& c : cases) {
        PlayListBase* pl = sixEntries(3);
        const QString played = titlesOf(pl).at(3);
        QSignalSpy moved(pl, &PlayListBase::itemMoved);

        ASSERT_TRUE(pl->moveItem(c.from, c.to));

        EXPECT_EQ(pl->getLastSequenceNumber(), c.expectedLast) << c.from << "->" << c.to;
        EXPECT_EQ(titlesOf(pl).at(c.expectedLast), played) << c.from << "->" << c.to;
        ASSERT_EQ(moved.count(), 1);
        EXPECT_EQ(moved.at(0).at(0).toInt(), c.from);
        EXPECT_EQ(moved.at(0).at(1).toInt(), c.to);
        EXPECT_TRUE(manager->deletePlayList(pl));
    }
}

TEST_F(PlayListModel, MovingOntoItselfIsTrueAndSilent)
{
    PlayListBase* pl = sixEntries(3);
    QSignalSpy moved(pl, &PlayListBase::itemMoved);
    EXPECT_TRUE(pl->moveItem(2, 2));
    EXPECT_EQ(moved.count(), 0);
}

TEST_F(PlayListModel, BlockMovesRunAsSingleMovesInTheirOwnOrder)
{
    PlayListBase* front = playlistWith(QStringLiteral("front"), names(8));
    QSignalSpy frontMoves(front, &PlayListBase::itemMoved);
    ASSERT_TRUE(front->moveItems({5, 6}, 1));
    EXPECT_EQ(titlesOf(front), (QStringList{"t0", "t5", "t6", "t1", "t2", "t3", "t4", "t7"}));
    ASSERT_EQ(frontMoves.count(), 2);
    EXPECT_EQ(frontMoves.at(0), (QVariantList{5, 1}));
    EXPECT_EQ(frontMoves.at(1), (QVariantList{6, 2}));

    PlayListBase* back = playlistWith(QStringLiteral("back"), names(8));
    QSignalSpy backMoves(back, &PlayListBase::itemMoved);
    ASSERT_TRUE(back->moveItems({1, 2}, 5));
    ASSERT_EQ(backMoves.count(), 2);
    EXPECT_EQ(backMoves.at(0), (QVariantList{2, 4}));
    EXPECT_EQ(backMoves.at(1), (QVariantList{1, 5}));
    EXPECT_EQ(titlesOf(back), (QStringList{"t0", "t3", "t4", "t2", "t5", "t1", "t6", "t7"}));

    EXPECT_FALSE(back->moveItems({}, 3));
    EXPECT_TRUE(store().gaps().isEmpty());
}

TEST_F(PlayListModel, AddsAnnounceTheirPositionFirstNumberAndCount)
{
    PlayListBase* pl = sixEntries(1);
    QSignalSpy added(pl, &PlayListBase::itemsAdded);

    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::AfterCurrent, tracks({"x", "y"})), 2);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, tracks({"z"})), 1);

    ASSERT_EQ(added.count(), 2);
    EXPECT_EQ(added.at(0), (QVariantList{QStringLiteral("afterCurrent"), 2, 2}));
    EXPECT_EQ(added.at(1), (QVariantList{QStringLiteral("append"), 8, 1}));
    EXPECT_EQ(pl->getSize(), 9);
    EXPECT_EQ(pl->getLastSequenceNumber(), 1);
    EXPECT_EQ(titlesOf(pl), (QStringList{"a", "b", "x", "y", "c", "d", "e", "f", "z"}));
}

TEST_F(PlayListModel, TheItemsLimitCutsAnAddShortAndAFullStoreAddsNothing)
{
    reopen(5);
    PlayListBase* pl = playlistWith(QStringLiteral("Limited"), {"a", "b", "c"});
    QSignalSpy added(pl, &PlayListBase::itemsAdded);

    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, tracks({"d", "e", "f"})), 2);
    EXPECT_EQ(pl->getSize(), 5);
    EXPECT_EQ(pl->addItems(KeloPlayListAddPosition::Append, tracks({"g"})), -1);
    EXPECT_EQ(pl->getSize(), 5);

    ASSERT_EQ(added.count(), 1);
    EXPECT_EQ(added.at(0).at(2).toInt(), 2);
    EXPECT_EQ(store().titles(pl->getUid()), (QStringList{"a", "b", "c", "d", "e"}));
}

TEST_F(PlayListModel, ClearingEmptiesAndForgetsTheLastPlayedEntry)
{
    PlayListBase* pl = sixEntries(4);
    QSignalSpy cleared(pl, &PlayListBase::itemsCleared);
    EXPECT_TRUE(pl->clearItems());
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_EQ(pl->getSize(), 0);
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|-1"));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM items"), 0);

    // An empty playlist is cleared silently, but the last played index is still written.
    pl->setLastSequenceNumber(7);
    EXPECT_TRUE(pl->clearItems());
    EXPECT_EQ(cleared.count(), 1);
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Six|0|0|-1"));
}

TEST_F(PlayListModel, FlagsEmitOnChangeOnlyWhileNamesEmitEveryTime)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Mix"), {});
    QSignalSpy shuffle(pl, &PlayListBase::shuffleChanged);
    QSignalSpy repeat(pl, &PlayListBase::repeatAllChanged);
    QSignalSpy name(pl, &PlayListBase::nameChanged);

    pl->setShuffle(true);
    pl->setShuffle(true);
    pl->setRepeatAll(false);
    pl->setRepeatAll(true);
    pl->setName(QStringLiteral("Mix"));
    pl->setName(QStringLiteral("Mix"));

    EXPECT_EQ(shuffle.count(), 1);
    EXPECT_EQ(shuffle.at(0).at(0).toBool(), true);
    EXPECT_EQ(repeat.count(), 1);
    EXPECT_EQ(name.count(), 2);
    EXPECT_EQ(store().playlistRow(pl->getUid()), QStringLiteral("Mix|1|1|-1"));
}

TEST_F(PlayListModel, EditsSurviveAReopenExceptInThePlayQueue)
{
    PlayListBase* pl = sixEntries(2);
    const int uid = pl->getUid();
    pl->setShuffle(true);
    pl->setName(QStringLiteral("Renamed"));
    pl->moveItem(0, 5);
    manager->getPlayQueue()->addItems(KeloPlayListAddPosition::Append, tracks({"q1", "q2"}));
    manager->getPlayQueue()->setLastSequenceNumber(1);

    reopen();

    PlayListBase* again = manager->getPlayListByUid(uid);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->getName(), QStringLiteral("Renamed"));
    EXPECT_TRUE(again->getShuffle());
    EXPECT_EQ(again->getLastSequenceNumber(), 1);
    EXPECT_EQ(titlesOf(again), (QStringList{"b", "c", "d", "e", "f", "a"}));
    EXPECT_EQ(manager->getPlayQueue()->getSize(), 0);
    EXPECT_EQ(manager->getPlayQueue()->getLastSequenceNumber(), -1);
    EXPECT_EQ(store().titles(0), QStringList());
}

TEST_F(PlayListModel, AnEntryBecomesARoleMapThatPointsBackAtThisModule)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Roles"), {"a", "b"});
    const KeloPlayListItem entry = pl->getItems(1, 1).value(0);
    ASSERT_TRUE(entry.isValid());

    const KeloRoles roles = pl->itemToKeloRoles(entry);

    EXPECT_EQ(roles.id(), QString::number(entry.uid()));
    EXPECT_EQ(roles.value().i32_(), 1);
    EXPECT_EQ(roles.path(), KeloPlayListItemPath() + entry.uid());
    EXPECT_EQ(roles.title(), QStringLiteral("b"));
    EXPECT_EQ(roles.mediaData().metaData().playLogicPath(), KeloPlayListsPlayLogicPath());
    EXPECT_EQ(roles.mediaData().resources().value(0).uri(), QStringLiteral("http://media.local/b.mp3"));
}

TEST_F(PlayListModel, AnEntryWithBrokenStoredRolesGetsNoIdentity)
{
    PlayListBase* pl = playlistWith(QStringLiteral("Broken"), {});
    KeloPlayListItem entry = track(QStringLiteral("x"));
    entry.setUid(12);
    entry.setKeloRoles(QStringLiteral("{not json"));
    const KeloRoles roles = pl->itemToKeloRoles(entry);
    EXPECT_FALSE(roles.contains(KeloRoles::Id()));
    EXPECT_FALSE(roles.contains(KeloRoles::Path()));
}
