// The store driven through random edits and compared with a plain in-memory model of its lists, in
// this process and in a child killed at a random moment.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>
#include <random>

#include <QFileInfo>
#include <QMap>

#include "PlayListTestSupport.h"

using namespace pltest;

namespace {
struct EditOp
{
    enum Kind { Add, Remove, Move } kind = Add;
    int playlist = 0;
    int position = 0, lastPlayedIndex = -1;  // Add
    QStringList titles;  // Add
    QList<int> indices;  // Remove, ascending
    int from = 0, to = 0;  // Move
};

// Playlist uid -> titles in order. The edits depend only on the model and the generator, so two
// processes that start from the same state and seed make the same edits.
class ListModel
{
public:
    QMap<int, QStringList> lists;

    // At most maxBatch entries are added, half as many removed; above softSize a list is more often
    // shrunk than grown.
    EditOp randomEdit(std::mt19937& rng, const QString& tag, int& counter, int maxBatch, int softSize) const
    {
        EditOp op;
        op.playlist = lists.keys().at(static_cast<int>(rng() % lists.size()));
        const int size = lists.value(op.playlist).size();
        const int roll = static_cast<int>(rng() % 10);
        if (size == 0 || roll < (size > softSize ? 2 : 4)) {
            op.position = static_cast<int>(rng() % 3);
            op.lastPlayedIndex = (size > 0 && rng() % 2) ? static_cast<int>(rng() % size) : -1;
            for (int i = 1 + static_cast<int>(rng() % maxBatch); i > 0; --i)
                op.titles.append(tag + QString::number(counter++));
        } else if (roll < 7) {
            op.kind = EditOp::Remove;
            // Now and then one block, else scattered indices, so that single and long runs both occur.
            const int count = 1 + static_cast<int>(rng() % std::min(maxBatch / 2, size));
            const bool block = rng() % 4 == 0;
            const int start = static_cast<int>(rng() % (size - count + 1));
            for (int i = 0; i < size && op.indices.size() < count; ++i)
                if (block ? i >= start : rng() % (size - i) < unsigned(count - op.indices.size()))
                    op.indices.append(i);
        } else {
            op.kind = EditOp::Move;
            op.from = static_cast<int>(rng() % size);
            op.to = static_cast<int>(rng() % size);
        }
        return op;
    }

    // Where an add starts: behind the entry last played for positions 0 and 1, else at the end.
    static int addStart(int size, const EditOp& op)
    {
        const bool behindPlayed = size > 0 && op.position != KeloPlayListAddPosition::Append && op.lastPlayedIndex >= 0;
        return behindPlayed ? op.lastPlayedIndex + 1 : size;
    }

    void apply(const EditOp& op)
    {
        QStringList& list = lists[op.playlist];
        if (op.kind == EditOp::Add) {
            const int start = addStart(list.size(), op);
            for (int i = 0; i < op.titles.size(); ++i)
                list.insert(start + i, op.titles[i]);
        } else if (op.kind == EditOp::Remove) {
            for (int i = op.indices.size() - 1; i >= 0; --i)
                list.removeAt(op.indices[i]);
        } else {
            list.move(op.from, op.to);
        }
    }

    // Runs the edit on db and checks what it answers.
    bool applyTo(Database& db, const EditOp& op) const
    {
        PlayListRecord pl;
        pl.uid = op.playlist;
        pl.size = lists.value(op.playlist).size();
        pl.lastPlayedIndex = op.lastPlayedIndex;
        if (op.kind == EditOp::Add) {
            int added = -1;
            return db.addItems(pl, op.position, tracks(op.titles), &added) == addStart(pl.size, op) &&
                   added == op.titles.size();
        }
        if (op.kind == EditOp::Remove)
            return db.removeItems(pl, op.indices) == op.indices.size();
        return db.moveItem(pl, op.from, op.to);
    }
};

ListModel threePlayListsAndTheQueue(Database& db)
{
    ListModel model;
    model.lists[0] = QStringList();
    for (const char* name : {"one", "two", "three"})
        model.lists[db.createPlayList(QLatin1String(name)).uid] = QStringList();
    return model;
}

// A sound file: intact, dense numbers, and no item row without its entry.
void expectSound(const StoreReader& store)
{
    EXPECT_EQ(store.rows(QStringLiteral("PRAGMA integrity_check")), QStringList({"ok"}));
    EXPECT_TRUE(store.rows(QStringLiteral("PRAGMA foreign_key_check")).isEmpty());
    EXPECT_TRUE(store.gaps().isEmpty());
    EXPECT_EQ(store.number(QStringLiteral("SELECT COUNT(*) FROM items")),
              store.number(QStringLiteral("SELECT COUNT(*) FROM playlists_items")));
}
}  // namespace

TEST_F(DatabaseTest, RandomEditsKeepTheOrderOfAPlainListModelAndDenseNumbers)
{
    ListModel model = threePlayListsAndTheQueue(*db);
    std::mt19937 rng(20240611);
    int counter = 0;
    for (int step = 0; step < 3000; ++step) {
        const EditOp op = model.randomEdit(rng, QStringLiteral("t"), counter, 10, 40);
        ASSERT_TRUE(model.applyTo(*db, op)) << "step " << step << " kind " << op.kind;
        model.apply(op);

        PlayListRecord pl;
        pl.uid = op.playlist;
        pl.size = model.lists[op.playlist].size();
        const QList<KeloPlayListItem> items = db->getItems(pl, 0, pl.size);
        ASSERT_EQ(titlesOf(items), model.lists[op.playlist]) << "step " << step << " kind " << op.kind;
        for (int i = 0; i < items.size(); ++i)
            ASSERT_EQ(items[i].sequenceNumber(), i) << "step " << step;
    }
    for (auto it = model.lists.cbegin(); it != model.lists.cend(); ++it)
        EXPECT_EQ(store().titles(it.key()), it.value());
    expectSound(store());
}

// A child process edits the store in large batches and is killed with SIGKILL at a random moment.
// Every edit it reported as committed must be in the file afterwards, at most one more (committed
// but not yet reported) may be, and the file must be sound.
namespace {
const int batch = 300, softSize = 1500;

[[noreturn]] void editUntilKilled(int reportFd, int round, ListModel model)
{
    Database db(0, false);
    std::mt19937 rng(round);
    int counter = 0;
    for (int done = 1;; ++done) {
        const EditOp op = model.randomEdit(rng, QStringLiteral("r%1-").arg(round), counter, batch, softSize);
        if (!model.applyTo(db, op))
            _exit(3);
        model.apply(op);
        if (write(reportFd, &done, sizeof done) != sizeof done)
            _exit(4);
    }
}

// The states after the edits the child reported and after one more.
QList<ListModel> possibleStates(ListModel model, int round, int reported)
{
    std::mt19937 rng(round);
    int counter = 0;
    QList<ListModel> states;
    for (int i = 0; i <= reported + 1; ++i) {
        if (i >= reported)
            states.append(model);
        model.apply(model.randomEdit(rng, QStringLiteral("r%1-").arg(round), counter, batch, softSize));
    }
    return states;
}

// Starts the child, kills it after the delay and answers how it ended; reported is its last report.
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

TEST_F(DatabaseTest, AKilledWriterLosesNoCommittedEditAndLeavesASoundFile)
{
    ListModel state = threePlayListsAndTheQueue(*db);
    db.reset();
    std::mt19937 timing(97);
    int interrupted = 0;
    const int rounds = 30;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        int reported = 0;
        const int status = runChild(round, state, 2000 + static_cast<int>(timing() % 40000), reported);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
        interrupted += QFileInfo::exists(QStringLiteral("data-rw/playlists/playlists.sqlite-journal"));

        const StoreReader reader;  // the first connection rolls a hot journal back
        expectSound(reader);
        ListModel stored;
        for (int uid : state.lists.keys())
            stored.lists[uid] = reader.titles(uid);
        const QList<ListModel> possible = possibleStates(state, round, reported);
        ASSERT_TRUE(stored.lists == possible[0].lists || stored.lists == possible[1].lists)
            << reported << " edits reported";
        state = stored;
    }
    RecordProperty("KilledInsideATransaction", interrupted);
    std::cout << "killed inside a transaction in " << interrupted << " of " << rounds << " rounds\n";
}
