#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>

#include <QFileInfo>

#include "DatabaseModel.h"

// A child process edits the store in large batches and is killed with SIGKILL at a random moment.
// Every edit it reported as committed must be in the file afterwards, at most one more (committed
// but not yet reported) may be, and the file must be sound with dense numbers.
namespace {
const EditSizes batchSizes = {300, 150, 1500};

QString tagOf(int round)
{
    return QStringLiteral("r%1-").arg(round);
}

[[noreturn]] void editUntilKilled(int reportFd, int round, ListModel model)
{
    Database db(0, false);
    std::mt19937 rng(round);
    int counter = 0;
    for (int done = 1;; ++done) {
        const EditOp op = model.randomEdit(rng, tagOf(round), counter, batchSizes);
        if (!model.applyTo(db, op))
            _exit(3);
        model.apply(op);
        if (write(reportFd, &done, sizeof done) != sizeof done)
            _exit(4);
    }
}

// The edits the child reported, and the one after them that may have committed unreported.
QList<ListModel> possibleStates(const ListModel& start, int round, int reported)
{
    ListModel model = start;
    std::mt19937 rng(round);
    int counter = 0;
    for (int i = 0; i <= reported; ++i) {
        if (i == reported) {
            ListModel oneMore = model;
            oneMore.apply(oneMore.randomEdit(rng, tagOf(round), counter, batchSizes));
            return {model, oneMore};
        }
        model.apply(model.randomEdit(rng, tagOf(round), counter, batchSizes));
    }
    return {};
}

ListModel storedState(SqlProbe& probe, const QList<int>& uids)
{
    ListModel stored;
    for (int uid : uids)
        stored.lists[uid] = probe.titles(uid);
    return stored;
}

int runChild(int round, const ListModel& start, int delayMicroseconds, int& reported)
{
    int fds[2];
    if (pipe(fds) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        editUntilKilled(fds[1], round, start);
    }
    close(fds[1]);
    usleep(delayMicroseconds);
    kill(pid, SIGKILL);
    int number = 0;
    while (read(fds[0], &number, sizeof number) == sizeof number)
        reported = number;
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
}
}  // namespace

TEST(DatabasePowerLoss, AKilledWriterLosesNoCommittedEditAndLeavesASoundFile)
{
    TempWorkDir workDir;
    ASSERT_TRUE(workDir.isValid());
    ListModel state;
    state.lists[0] = QStringList();
    {
        Database db(0, false);
        for (const char* name : {"one", "two", "three"})
            state.lists[db.createPlayList(QLatin1String(name)).uid] = QStringList();
    }
    const QList<int> uids = state.lists.keys();
    std::mt19937 timing(97);
    int interrupted = 0;
    const int rounds = 30;
    for (int round = 0; round < rounds; ++round) {
        int reported = 0;
        const int status = runChild(round, state, 2000 + static_cast<int>(timing() % 40000), reported);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "round " << round << " status " << status;
        if (QFileInfo::exists(QString::fromLatin1(databasePath()) + QStringLiteral("-journal")))
            ++interrupted;

        SqlProbe probe;  // the first connection rolls a hot journal back
        ASSERT_EQ(probe.rows(QStringLiteral("PRAGMA integrity_check")), QStringList({"ok"})) << "round " << round;
        ASSERT_TRUE(probe.rows(QStringLiteral("PRAGMA foreign_key_check")).isEmpty()) << "round " << round;
        ASSERT_TRUE(probe.gaps().isEmpty()) << "round " << round;
        ASSERT_EQ(probe.intValue(QStringLiteral("SELECT COUNT(*) FROM items")),
                  probe.intValue(QStringLiteral("SELECT COUNT(*) FROM playlists_items")));
        const ListModel stored = storedState(probe, uids);
        const QList<ListModel> possible = possibleStates(state, round, reported);
        ASSERT_TRUE(stored.lists == possible[0].lists || stored.lists == possible[1].lists)
            << "round " << round << ": " << reported << " edits reported";
        state = stored;
    }
    RecordProperty("KilledInsideATransaction", interrupted);
    std::cout << "killed inside a transaction in " << interrupted << " of " << rounds << " rounds\n";
}
