// A statement that fails halfway through a change of several statements (injected through a
// trigger on a second connection) must leave the store exactly as it was, and the store must take
// the same change once the fault is gone: a transaction left open would refuse the next BEGIN.
#include <functional>

#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
class DatabaseAtomicity : public DatabaseTest
{
protected:
    void SetUp() override
    {
        DatabaseTest::SetUp();
        pl = playlistWith(QStringLiteral("p"), {"a", "b", "c", "d", "e"});
        pl.lastPlayedIndex = 1;
        other = playlistWith(QStringLiteral("o"), {"x"});
        probe = std::make_unique<StoreReader>();
    }
    void inject(const QString& event, const QString& condition)
    {
        ASSERT_TRUE(probe->exec(QStringLiteral("CREATE TRIGGER fault BEFORE %1 WHEN %2 "
                                              "BEGIN SELECT RAISE(ABORT, 'injected fault'); END;")
                                   .arg(event, condition)));
    }
    void heal() { ASSERT_TRUE(probe->exec(QStringLiteral("DROP TRIGGER fault;"))); }
    QStringList snapshot() const
    {
        return probe->rows(QStringLiteral("SELECT * FROM playlists_items ORDER BY playlist, sequenceNumber")) +
               probe->rows(QStringLiteral("SELECT * FROM items ORDER BY uid")) +
               probe->rows(QStringLiteral("SELECT * FROM playlists ORDER BY uid"));
    }

    PlayListRecord pl;
    PlayListRecord other;
    std::unique_ptr<StoreReader> probe;
};
}  // namespace

TEST_F(DatabaseAtomicity, AChangeThatFailsInAnyStepChangesNothingAndGoesThroughOnceHealed)
{
    struct Case
    {
        const char* what;
        QString event, condition;
        std::function<bool()> change;
        QStringList titlesAfter;
    };
    const Case cases[] = {
        {"an add failing after making room", "INSERT ON items", "NEW.title = 'poison'",
         [&] { return db->addItems(pl, KeloPlayListAddPosition::Now, tracks({"n1", "poison"})) == 2; },
         {"a", "b", "n1", "poison", "c", "d", "e"}},
        {"a removal failing while renumbering", "UPDATE ON playlists_items", "NEW.sequenceNumber = 2",
         [&] { return db->removeItems(pl, {0, 1}) == 2; }, {"c", "d", "e"}},
        // The third update brings the lifted block back down.
        {"a move failing in its last step", "UPDATE ON playlists_items",
         "OLD.sequenceNumber >= 5 AND NEW.sequenceNumber = 2", [&] { return db->moveItem(pl, 0, 4); },
         {"b", "c", "d", "e", "a"}},
        {"a move whose shifted play position cannot be stored", "UPDATE ON playlists", "1",
         [&] { return db->moveItem(pl, 1, 4, 4); }, {"a", "c", "d", "e", "b"}},
        {"a deletion failing in its cleanup", "DELETE ON items", "1", [&] { return db->deletePlayList(pl); }, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const QStringList before = snapshot();
        inject(c.event, c.condition);
        EXPECT_FALSE(c.change());
        EXPECT_EQ(snapshot(), before);
        heal();
        EXPECT_TRUE(c.change());
        EXPECT_EQ(probe->titles(pl.uid), c.titlesAfter);
        if (c.titlesAfter.isEmpty()) {  // the playlist is gone, and with it its items only
            EXPECT_EQ(probe->rows(QStringLiteral("SELECT title FROM items")), QStringList({"x"}));
            EXPECT_FALSE(db->deletePlayList(pl));
            break;
        }
        ASSERT_TRUE(db->clearItems(pl));
        ASSERT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"a", "b", "c", "d", "e"})), 0);
    }
}

TEST_F(DatabaseAtomicity, AClearWhoseCleanupFailsLeavesOrphansForTheNextCleanup)
{
    // Clearing has no transaction: the entries go, their item rows stay until a later cleanup.
    inject(QStringLiteral("DELETE ON items"), QStringLiteral("1"));
    EXPECT_TRUE(db->clearItems(pl));
    EXPECT_TRUE(probe->titles(pl.uid).isEmpty());
    EXPECT_EQ(probe->titles(other.uid), QStringList({"x"}));
    EXPECT_EQ(db->countPlaylistsItems(), 6);
    heal();
    EXPECT_TRUE(db->clearItems(other));
    EXPECT_EQ(db->countPlaylistsItems(), 0);
}

// A COMMIT that fails for good (here a deferred constraint, as a full disk would) is a failed
// operation at once; a reader holding the file makes the COMMIT wait a bounded time, then fail.
// Either way the change is rolled back, reported, and taken once the cause is gone.
TEST_F(DatabaseAtomicity, ACommitThatCannotFinishIsRolledBackAndReported)
{
    ASSERT_TRUE(probe->exec(QStringLiteral(
        "CREATE TABLE fault_child(ref INTEGER REFERENCES playlists(uid) DEFERRABLE INITIALLY DEFERRED);"
        "CREATE TRIGGER fault AFTER INSERT ON playlists_items BEGIN INSERT INTO fault_child VALUES(-5); END;")));
    QStringList before = snapshot();
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"n1", "n2"})), -1);
    EXPECT_EQ(snapshot(), before);
    heal();
    EXPECT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"n1"})), 5);
    pl.size = 6;

    before = snapshot();
    ASSERT_TRUE(probe->exec(QStringLiteral("BEGIN;")));
    ASSERT_EQ(probe->number(QStringLiteral("SELECT count(*) FROM items")), 7);
    EXPECT_FALSE(db->moveItem(pl, 0, 5));
    ASSERT_TRUE(probe->exec(QStringLiteral("END;")));
    EXPECT_EQ(snapshot(), before);
    EXPECT_TRUE(db->moveItem(pl, 0, 5));
    EXPECT_EQ(probe->titles(pl.uid), QStringList({"b", "c", "d", "e", "n1", "a"}));
}
