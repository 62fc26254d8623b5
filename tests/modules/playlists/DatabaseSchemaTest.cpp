#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>

#include "DatabaseFixture.h"
#include "Sqlite3Statement.h"

namespace {
QStringList dumpAll(SqlProbe& probe)
{
    QStringList dump = probe.rows(QStringLiteral("SELECT type, name, sql FROM sqlite_master ORDER BY name"));
    for (const char* table : {"playlists", "items", "collections", "playlists_items", "collections_playlists"})
        dump += probe.rows(QStringLiteral("SELECT * FROM %1 ORDER BY 1, 2").arg(QLatin1String(table)));
    return dump;
}
}  // namespace

TEST_F(DatabaseTest, AFreshStartCreatesTheFileTheTablesAndThePlayQueue)
{
    EXPECT_TRUE(QFileInfo(QString::fromLatin1(databasePath())).isFile());
    SqlProbe probe;
    EXPECT_EQ(probe.rows(QStringLiteral("SELECT type || ':' || name FROM sqlite_master "
                                        "WHERE name NOT LIKE 'sqlite_%' ORDER BY name")),
              QStringList({"table:collections", "table:collections_playlists", "index:itemUrlIndex", "table:items",
                           "table:playlists", "table:playlists_items"}));
    EXPECT_EQ(probe.rows(QStringLiteral("SELECT * FROM playlists")), QStringList({"0|PlayQueue|0|0|-1"}));
    EXPECT_EQ(db->countPlaylists(), 0);
    EXPECT_EQ(db->countPlaylistsItems(), 0);
    EXPECT_EQ(db->countCollections(), 0);

    const PlayListRecord queue = db->getPlayQueue();
    EXPECT_EQ(queue.uid, 0);
    EXPECT_EQ(queue.name, QStringLiteral("PlayQueue"));
    EXPECT_EQ(queue.lastPlayedIndex, -1);
    EXPECT_EQ(queue.size, 0);
    EXPECT_TRUE(db->getPlayLists().isEmpty());
}

TEST_F(DatabaseTest, ARestartChangesNothing)
{
    PlayListRecord queue = db->getPlayQueue();
    queue.lastPlayedIndex = 1;
    queue.shuffle = true;
    ASSERT_TRUE(db->updatePlayList(queue));
    ASSERT_EQ(db->addItems(queue, KeloPlayListAddPosition::Append, makeItems({"q1", "q2"})), 0);
    const PlayListRecord pl = playlistWith(QStringLiteral("rock"), {"a", "b", "c"});
    ASSERT_TRUE(db->addToCollection(db->createCollection(QStringLiteral("mine")), pl.uid));
    QStringList before;
    {
        SqlProbe probe;
        before = dumpAll(probe);
    }

    reopen(0);
    SqlProbe probe;
    EXPECT_EQ(dumpAll(probe), before);
    EXPECT_EQ(db->getPlayQueue().size, 2);
    EXPECT_TRUE(db->getPlayQueue().shuffle);
}

TEST_F(DatabaseTest, ClearDatabaseLeavesOnlyTheEmptyPlayQueue)
{
    const PlayListRecord pl = playlistWith(QStringLiteral("a"), {"x", "y"});
    ASSERT_EQ(db->addItems(db->getPlayQueue(), KeloPlayListAddPosition::Append, makeItems({"q"})), 0);
    db->addToCollection(db->createCollection(QStringLiteral("c")), pl.uid);

    db->clearDatabase();
    SqlProbe probe;
    EXPECT_EQ(probe.rows(QStringLiteral("SELECT * FROM playlists")), QStringList({"0|PlayQueue|0|0|-1"}));
    for (const char* table : {"items", "collections", "playlists_items", "collections_playlists"})
        EXPECT_EQ(probe.intValue(QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1String(table))), 0) << table;
}

TEST_F(DatabaseTest, OnlyDeletingOperationsAnnounceAVacuumAndOnlyOnce)
{
    PlayListRecord pl = playlistWith(QStringLiteral("a"), {"0", "1", "2", "3"});
    QSignalSpy spy(db.get(), &Database::vacuumNeeded);
    ASSERT_TRUE(db->moveItem(pl, 0, 3));
    ASSERT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, makeItems({"4"})), 4);
    pl.size = 5;
    ASSERT_TRUE(db->updatePlayList(pl));
    db->addToCollection(db->createCollection(QStringLiteral("c")), pl.uid);
    EXPECT_EQ(spy.count(), 0);

    ASSERT_EQ(db->removeItems(pl, {0}), 1);
    ASSERT_TRUE(db->clearItems(pl));
    ASSERT_TRUE(db->deletePlayList(pl));
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.takeFirst().value(0).toBool(), true);

    db->vacuum();
    db->vacuum();
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy.takeFirst().value(0).toBool(), false);

    db->setVacuumNeeded();
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(DatabaseTest, AVacuumDueAtStartRunsBeforeAnythingElse)
{
    PlayListRecord pl = playlistWith(QStringLiteral("big"), {});
    QStringList titles;
    for (int i = 0; i < 2000; ++i)
        titles.append(QStringLiteral("a rather long title so that the rows fill many pages %1").arg(i));
    ASSERT_EQ(db->addItems(pl, KeloPlayListAddPosition::Append, makeItems(titles)), 0);
    pl.size = titles.size();
    ASSERT_TRUE(db->clearItems(pl));
    {
        SqlProbe probe;
        ASSERT_GT(probe.intValue(QStringLiteral("PRAGMA freelist_count")), 0);
    }

    reopen(0, true);
    SqlProbe probe;
    EXPECT_EQ(probe.intValue(QStringLiteral("PRAGMA freelist_count")), 0);
    QSignalSpy spy(db.get(), &Database::vacuumNeeded);
    db->setVacuumNeeded();  // the flag was cleared by the start-up vacuum, so this is a transition again
    EXPECT_EQ(spy.count(), 1);
}

TEST_F(DatabaseTest, StatementScopesKeepBoundTextsAliveAndLeaveNothingBound)
{
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &connection), SQLITE_OK);
    {
        EXPECT_EQ(Sqlite3Statement::create(connection, QStringLiteral("SELEC nonsense"), QStringLiteral("bad")), nullptr);
        auto echo = Sqlite3Statement::create(connection, QStringLiteral("SELECT ?1, ?2"), QStringLiteral("echo"));
        ASSERT_NE(echo, nullptr);
        ASSERT_EQ(echo->parameterCount(), 2);
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
        // The scope ended: nothing stays bound, so a raw step reads NULL, never the freed buffers.
        ASSERT_EQ(sqlite3_step(echo->handle()), SQLITE_ROW);
        EXPECT_EQ(sqlite3_column_type(echo->handle(), 0), SQLITE_NULL);
        sqlite3_reset(echo->handle());

        // An early end of the scope, with a row still open, resets the statement all the same.
        {
            StatementScope scope(*echo);
            ASSERT_TRUE(scope.bindAll(1, QStringLiteral("")).step());
            EXPECT_TRUE(scope.columnText(1).isEmpty());
            EXPECT_FALSE(scope.columnText(1).isNull());  // an empty text binds '', not NULL
        }
        EXPECT_EQ(sqlite3_stmt_busy(echo->handle()), 0);

        auto failing = Sqlite3Statement::create(connection, QStringLiteral("SELECT abs(-9223372036854775807 - 1)"),
                                                QStringLiteral("overflow"));
        ASSERT_NE(failing, nullptr);
        StatementScope scope(*failing);
        EXPECT_FALSE(scope.run());
        EXPECT_FALSE(scope.finish());
    }
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
    QFile file(QString::fromLatin1(databasePath()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray sound = file.readAll();
    file.close();
    ASSERT_GE(sound.size(), 3 * 4096);

    QByteArray scribbled = sound;
    scribbled.replace(4096, 600, QByteArray(600, '\x5a'));
    QFile::remove(file.fileName());
    sqlite3* other = nullptr;
    sqlite3_open(databasePath(), &other);
    ASSERT_EQ(sqlite3_exec(other, "CREATE TABLE playlists(uid INTEGER PRIMARY KEY, label TEXT);", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
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
        const QString aside = db->damagedFileMovedTo();
        ASSERT_TRUE(aside.startsWith(file.fileName() + QStringLiteral(".damaged-")));
        QFile kept(aside);
        ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
        EXPECT_EQ(kept.readAll(), bytes);
        EXPECT_TRUE(db->getPlayLists().isEmpty());
        EXPECT_EQ(db->createPlayList(QStringLiteral("new")).uid, 1);
        SqlProbe probe;
        EXPECT_EQ(probe.rows(QStringLiteral("PRAGMA integrity_check")), QStringList({"ok"}));
        kept.remove();
    }
}

TEST_F(DatabaseTest, AStatementWhoseValuesDoNotFitItsParametersNeverRuns)
{
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &connection), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(connection, "CREATE TABLE t(a INTEGER, b INTEGER);", nullptr, nullptr, nullptr), SQLITE_OK);
    {
        auto insert = Sqlite3Statement::create(connection, QStringLiteral("INSERT INTO t VALUES (?1, ?2)"),
                                               QStringLiteral("insert"));
        ASSERT_NE(insert, nullptr);
        EXPECT_FALSE(StatementScope(*insert).bind(1).run());  // one value short
        EXPECT_FALSE(StatementScope(*insert).bindAll(1, 2, 3).run());  // one too many
        {
            StatementScope scope(*insert);
            scope.bindAll(1, 2);
            EXPECT_TRUE(scope.run());
        }
        EXPECT_TRUE(StatementScope(*insert).bindAll(3, 4).run());
    }
    sqlite3_stmt* count = nullptr;
    sqlite3_prepare_v2(connection, "SELECT COUNT(*), SUM(a), SUM(b) FROM t", -1, &count, nullptr);
    ASSERT_EQ(sqlite3_step(count), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(count, 0), 2);
    EXPECT_EQ(sqlite3_column_int(count, 1), 4);
    EXPECT_EQ(sqlite3_column_int(count, 2), 6);
    sqlite3_finalize(count);
    sqlite3_close(connection);
}
