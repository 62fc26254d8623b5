#include <QFile>
#include <QSignalSpy>

#include "PlayListTestSupport.h"
#include "Sqlite3Statement.h"

using namespace pltest;

namespace {
const char* const storeFile = "data-rw/playlists/playlists.sqlite";

QStringList dumpAll()
{
    const StoreReader store;
    QStringList dump = store.rows(QStringLiteral("SELECT type, name, sql FROM sqlite_master ORDER BY name"));
    for (const char* table : {"playlists", "items", "collections", "playlists_items", "collections_playlists"})
        dump += store.rows(QStringLiteral("SELECT * FROM %1 ORDER BY 1, 2").arg(QLatin1String(table)));
    return dump;
}
}  // namespace

TEST_F(DatabaseTest, AFreshStartMakesThePlayQueueARestartChangesNothingAndAClearLeavesTheQueue)
{
    EXPECT_EQ(store().rows(QStringLiteral("SELECT * FROM playlists")), QStringList({"0|PlayQueue|0|0|-1"}));
    EXPECT_TRUE(db->getPlayLists().isEmpty());

    PlayListRecord queue = db->getPlayQueue();
    queue.lastPlayedIndex = 1;
    queue.shuffle = true;
    ASSERT_TRUE(db->updatePlayList(queue));
    ASSERT_EQ(db->addItems(queue, KeloPlayListAddPosition::Append, tracks({"q1", "q2"})), 0);
    const PlayListRecord pl = playlistWith(QStringLiteral("rock"), {"a", "b", "c"});
    ASSERT_TRUE(db->addToCollection(db->createCollection(QStringLiteral("mine")), pl.uid));
    const QStringList before = dumpAll();

    reopen(0);
    EXPECT_EQ(dumpAll(), before);
    EXPECT_EQ(db->getPlayQueue().size, 2);
    EXPECT_TRUE(db->getPlayQueue().shuffle);

    db->clearDatabase();
    EXPECT_EQ(store().rows(QStringLiteral("SELECT * FROM playlists")), QStringList({"0|PlayQueue|0|0|-1"}));
    for (const char* table : {"items", "collections", "playlists_items", "collections_playlists"})
        EXPECT_EQ(store().number(QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1String(table))), 0) << table;
}

// Only deleting operations announce a vacuum, once; a vacuum due at start runs before anything else.
TEST_F(DatabaseTest, OnlyDeletingOperationsAnnounceAVacuumOnceAndOneDueAtStartRunsFirst)
{
    const QStringList titles = names(2000, QStringLiteral("a rather long title so that the rows fill many pages "));
    PlayListRecord pl = playlistWith(QStringLiteral("a"), titles);
    QSignalSpy spy(db.get(), &Database::vacuumNeeded);
    ASSERT_TRUE(db->moveItem(pl, 0, 3));
    ASSERT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks({"x"})), 2000);
    pl.size = 2001;
    ASSERT_TRUE(db->updatePlayList(pl));
    EXPECT_EQ(spy.count(), 0);

    ASSERT_EQ(db->removeItems(pl, {0}), 1);
    ASSERT_TRUE(db->clearItems(pl));
    db->vacuum();
    db->vacuum();
    db->setVacuumNeeded();
    EXPECT_EQ(spy, (QList<QVariantList>{{true}, {false}, {true}}));

    pl.size = 0;
    ASSERT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, tracks(titles)), 0);
    pl.size = titles.size();
    ASSERT_TRUE(db->clearItems(pl));
    ASSERT_GT(store().number(QStringLiteral("PRAGMA freelist_count")), 0);
    reopen(0, true);
    EXPECT_EQ(store().number(QStringLiteral("PRAGMA freelist_count")), 0);
    QSignalSpy afterStart(db.get(), &Database::vacuumNeeded);
    db->setVacuumNeeded();  // the start-up vacuum cleared the flag, so this is a transition again
    EXPECT_EQ(afterStart.count(), 1);
}

// Bound texts live as long as the scope and no longer; values that do not fit the parameters never run.
TEST(Sqlite3Statement, ScopesKeepBoundTextsAliveLeaveNothingBoundAndRefuseMisfitValues)
{
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &connection), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(connection, "CREATE TABLE t(a INTEGER, b INTEGER);", nullptr, nullptr, nullptr), SQLITE_OK);
    {
        EXPECT_EQ(Sqlite3Statement::create(connection, QStringLiteral("SELEC nonsense"), QStringLiteral("bad")), nullptr);
        auto echo = Sqlite3Statement::create(connection, QStringLiteral("SELECT ?1, ?2"), QStringLiteral("echo"));
        ASSERT_NE(echo, nullptr);
        {
            StatementScope scope(*echo);
            // Temporaries: the statement must hold the bytes itself.
            scope.bind(QString(QStringLiteral("first ")) + QString::number(1)).bind(QStringLiteral("zweite \u00fcber"));
            ASSERT_TRUE(scope.step());
            EXPECT_EQ(scope.columnText(0), QStringLiteral("first 1"));
            EXPECT_EQ(scope.columnText(1), QStringLiteral("zweite \u00fcber"));
            EXPECT_FALSE(scope.step());
            EXPECT_TRUE(scope.finish());
        }
        ASSERT_EQ(sqlite3_step(echo->handle()), SQLITE_ROW);
        EXPECT_EQ(sqlite3_column_type(echo->handle(), 0), SQLITE_NULL);
        sqlite3_reset(echo->handle());
        {
            StatementScope scope(*echo);  // ends with a row still open
            ASSERT_TRUE(scope.bindAll(1, QStringLiteral("")).step());
            EXPECT_FALSE(scope.columnText(1).isNull());  // an empty text binds '', not NULL
        }
        EXPECT_EQ(sqlite3_stmt_busy(echo->handle()), 0);

        auto insert = Sqlite3Statement::create(connection, QStringLiteral("INSERT INTO t VALUES (?1, ?2)"),
                                               QStringLiteral("insert"));
        EXPECT_FALSE(StatementScope(*insert).bind(1).run());  // one value short
        EXPECT_FALSE(StatementScope(*insert).bindAll(1, 2, 3).run());  // one too many
        EXPECT_TRUE(StatementScope(*insert).bindAll(3, 4).run());
    }
    sqlite3_stmt* sum = nullptr;
    sqlite3_prepare_v2(connection, "SELECT COUNT(*) || '|' || SUM(a) || '|' || SUM(b) FROM t", -1, &sum, nullptr);
    ASSERT_EQ(sqlite3_step(sum), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(sum, 0)), "1|3|4");
    sqlite3_finalize(sum);
    sqlite3_close(connection);
}

// A file the store cannot use would stop every start: it is moved aside whole, under a name with
// the time, and a fresh store takes its place. A sound file is used as it is.
TEST_F(DatabaseTest, ADamagedFileAtStartIsKeptAsideWholeAndAFreshStoreIsMade)
{
    playlistWith(QStringLiteral("kept"), {"a", "b"});
    reopen(0);
    EXPECT_TRUE(db->damagedFileMovedTo().isEmpty());
    ASSERT_EQ(db->getPlayLists().size(), 1);
    db.reset();
    QFile file(QString::fromLatin1(storeFile));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray sound = file.readAll();
    file.close();
    ASSERT_GE(sound.size(), 3 * 4096);
    QByteArray scribbled = sound;
    scribbled.replace(4096, 600, QByteArray(600, '\x5a'));
    QFile::remove(file.fileName());
    sqlite3* other = nullptr;  // a sound database, but not this store's
    sqlite3_open(storeFile, &other);
    ASSERT_EQ(sqlite3_exec(other, "CREATE TABLE playlists(uid INTEGER PRIMARY KEY, label TEXT);", nullptr, nullptr,
                           nullptr), SQLITE_OK);
    sqlite3_close(other);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray otherSchema = file.readAll();
    file.close();

    const QList<QPair<const char*, QByteArray>> damages = {
        {"not a database", QByteArray("these are not the pages of a database\n").repeated(200)},
        {"cut short", sound.left(sound.size() / 2 + 1000)},
        {"scribbled pages", scribbled},
        {"another schema", otherSchema},
    };
    for (const auto& [what, bytes] : damages) {
        SCOPED_TRACE(what);
        db.reset();
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();

        reopen(0);
        QFile kept(db->damagedFileMovedTo());
        ASSERT_TRUE(kept.fileName().startsWith(file.fileName() + QStringLiteral(".damaged-")));
        ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
        EXPECT_EQ(kept.readAll(), bytes);
        EXPECT_TRUE(db->getPlayLists().isEmpty());
        EXPECT_EQ(db->createPlayList(QStringLiteral("new")).uid, 1);
        EXPECT_EQ(store().rows(QStringLiteral("PRAGMA integrity_check")), QStringList({"ok"}));
        kept.remove();
    }
}
