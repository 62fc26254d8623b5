#include "DatabaseFixture.h"

// A statement that fails halfway through a change of several statements (injected through a
// trigger on a second connection) must leave the store exactly as it was, and the store must take
// the same change once the fault is gone: a transaction left open would refuse the next BEGIN.
class DatabaseAtomicityTest : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        probe = std::make_unique<SqlProbe>();
        pl = playlistWith(QStringLiteral("p"), {"a", "b", "c", "d", "e"});
        pl.lastPlayedIndex = 1;
        other = playlistWith(QStringLiteral("o"), {"x"});
        before = snapshot();
    }
    void inject(const QString& event, const QString& condition)
    {
        ASSERT_TRUE(probe->exec(QStringLiteral("CREATE TRIGGER fault BEFORE %1 WHEN %2 "
                                              "BEGIN SELECT RAISE(ABORT, 'injected fault'); END;")
                                   .arg(event, condition)));
    }
    void heal() { ASSERT_TRUE(probe->exec(QStringLiteral("DROP TRIGGER fault;"))); }
    QStringList snapshot()
    {
        QStringList state = probe->rows(QStringLiteral("SELECT * FROM playlists_items ORDER BY playlist, sequenceNumber"));
        state += probe->rows(QStringLiteral("SELECT * FROM items ORDER BY uid"));
        state += probe->rows(QStringLiteral("SELECT * FROM playlists ORDER BY uid"));
        return state;
    }

    std::unique_ptr<SqlProbe> probe;  // made once the file exists
    PlayListRecord pl;
    PlayListRecord other;
    QStringList before;
};

TEST_F(DatabaseAtomicityTest, AnAddThatFailsAfterMakingRoomChangesNothing)
{
    inject(QStringLiteral("INSERT ON items"), QStringLiteral("NEW.title = 'poison'"));
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Now, makeItems({"n1", "n2", "poison", "n3"})), -1);
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Now, makeItems({"n1", "poison"})), 2);
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"a", "b", "n1", "poison", "c", "d", "e"}));
}

TEST_F(DatabaseAtomicityTest, ARemovalThatFailsWhileRenumberingChangesNothing)
{
    inject(QStringLiteral("UPDATE ON playlists_items"), QStringLiteral("NEW.sequenceNumber = 2"));
    EXPECT_EQ(db->removeItems(pl, {0, 1}), -1);
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_EQ(db->removeItems(pl, {0, 1}), 2);
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"c", "d", "e"}));
}

TEST_F(DatabaseAtomicityTest, AMoveThatFailsInItsLastStepChangesNothing)
{
    // The third update brings the lifted block back down.
    inject(QStringLiteral("UPDATE ON playlists_items"), QStringLiteral("OLD.sequenceNumber >= 5 AND NEW.sequenceNumber = 2"));
    EXPECT_FALSE(db->moveItem(pl, 0, 4));
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_TRUE(db->moveItem(pl, 0, 4));
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"b", "c", "d", "e", "a"}));
}

TEST_F(DatabaseAtomicityTest, ADeletionThatFailsInTheCleanupKeepsThePlayList)
{
    inject(QStringLiteral("DELETE ON items"), QStringLiteral("1"));
    EXPECT_FALSE(db->deletePlayList(pl));
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_TRUE(db->deletePlayList(pl));
    EXPECT_EQ(probe->rows(QStringLiteral("SELECT title FROM items")), QStringList({"x"}));
}

TEST_F(DatabaseAtomicityTest, AClearWhoseCleanupFailsLeavesOrphansForTheNextCleanup)
{
    // Clearing has no transaction: the entries go, their item rows stay until a later cleanup.
    inject(QStringLiteral("DELETE ON items"), QStringLiteral("1"));
    EXPECT_TRUE(db->clearItems(pl));
    EXPECT_TRUE(probe->titles(pl.uid).isEmpty());
    EXPECT_EQ(db->countPlaylistsItems(), 6);
    heal();
    EXPECT_TRUE(db->clearItems(other));
    EXPECT_EQ(db->countPlaylistsItems(), 0);
}

// A COMMIT that fails for good (here a deferred constraint, as a full disk would) is a failed
// operation at once: rolled back, reported, and the store takes the change once the fault is gone.
TEST_F(DatabaseAtomicityTest, ACommitThatFailsForGoodIsRolledBackAndReported)
{
    ASSERT_TRUE(probe->exec(QStringLiteral(
        "CREATE TABLE fault_child(ref INTEGER REFERENCES playlists(uid) DEFERRABLE INITIALLY DEFERRED);"
        "CREATE TRIGGER fault AFTER INSERT ON playlists_items BEGIN INSERT INTO fault_child VALUES(-5); END;")));
    before = snapshot();
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, makeItems({"n1", "n2"})), -1);
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, makeItems({"n1"})), 5);
}

// A reader that holds the file makes the COMMIT wait and try again for a bounded time, then the
// operation fails whole; once the reader is gone the same change goes through.
TEST_F(DatabaseAtomicityTest, AReaderHoldingTheFileMakesTheChangeFailAfterABoundedWait)
{
    ASSERT_TRUE(probe->exec(QStringLiteral("BEGIN;")));
    ASSERT_EQ(probe->intValue(QStringLiteral("SELECT count(*) FROM items")), 6);
    EXPECT_FALSE(db->moveItem(pl, 0, 4));
    ASSERT_TRUE(probe->exec(QStringLiteral("END;")));
    EXPECT_EQ(snapshot(), before);
    EXPECT_TRUE(db->moveItem(pl, 0, 4));
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"b", "c", "d", "e", "a"}));
}

TEST_F(DatabaseAtomicityTest, ABlockMoveThatFailsInItsSecondMoveChangesNothing)
{
    inject(QStringLiteral("UPDATE ON playlists_items"),
           QStringLiteral("NEW.sequenceNumber = 1 AND NEW.item = (SELECT uid FROM items WHERE title = 'e')"));
    EXPECT_FALSE(db->moveItems(pl, {{3, 0}, {4, 1}}));
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_TRUE(db->moveItems(pl, {{3, 0}, {4, 1}}));
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"d", "e", "a", "b", "c"}));
}

TEST_F(DatabaseAtomicityTest, AnAddBehindAStaleLastPlayedIndexGoesToTheEnd)
{
    pl.lastPlayedIndex = pl.size;  // its entry was removed
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::AfterCurrent, makeItems({"n"})), 5);
    EXPECT_TRUE(probe->gaps().isEmpty());
}
