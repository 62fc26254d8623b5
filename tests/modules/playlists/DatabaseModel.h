#pragma once
// A plain in-memory model of playlists (uid -> titles in order) and random edits on it, so that a
// Database can be driven through the same edits and compared with the model afterwards. The edits
// depend only on the model and the generator, so two processes that start from the same state and
// seed produce the same edits.
#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include <QMap>

#include "DatabaseFixture.h"

struct EditOp
{
    enum Kind { Add, Remove, Move };
    Kind kind = Add;
    int playlist = 0;
    int position = KeloPlayListAddPosition::Append;  // Add
    int lastPlayedIndex = -1;  // Add
    QStringList titles;  // Add
    QList<int> indices;  // Remove, ascending
    int from = 0;  // Move
    int to = 0;  // Move

    QString describe() const
    {
        QStringList numbers;
        for (int index : indices)
            numbers.append(QString::number(index));
        return QStringLiteral("kind %1 pl %2 position %3 last %4 count %5 indices %6 from %7 to %8")
            .arg(kind).arg(playlist).arg(position).arg(lastPlayedIndex).arg(titles.size())
            .arg(numbers.join(QLatin1Char(','))).arg(from).arg(to);
    }
};

struct EditSizes
{
    int maxAdd;  // entries per add
    int maxRemove;  // entries per removal
    int softSize;  // above this a list is more often shrunk than grown
};

class ListModel
{
public:
    QMap<int, QStringList> lists;

    // Where an add starts: behind the entry last played for positions 0 and 1, else at the end.
    static int addStart(int size, int position, int lastPlayedIndex)
    {
        if (size > 0 && position != KeloPlayListAddPosition::Append && lastPlayedIndex >= 0)
            return lastPlayedIndex + 1;
        return size;
    }

    EditOp randomEdit(std::mt19937& rng, const QString& tag, int& counter, const EditSizes& sizes) const
    {
        EditOp op;
        op.playlist = lists.keys().at(static_cast<int>(rng() % lists.size()));
        const int size = lists.value(op.playlist).size();
        const int roll = static_cast<int>(rng() % 10);
        const bool shrink = size > sizes.softSize;
        if (size == 0 || roll < (shrink ? 2 : 4))
            fillAdd(op, rng, tag, counter, size, sizes.maxAdd);
        else if (roll < 7)
            fillRemove(op, rng, size, sizes.maxRemove);
        else
            fillMove(op, rng, size);
        return op;
    }

    void apply(const EditOp& op)
    {
        QStringList& list = lists[op.playlist];
        switch (op.kind) {
        case EditOp::Add: {
            const int start = addStart(list.size(), op.position, op.lastPlayedIndex);
            for (int i = 0; i < op.titles.size(); ++i)
                list.insert(start + i, op.titles[i]);
            break;
        }
        case EditOp::Remove:
            for (int i = op.indices.size() - 1; i >= 0; --i)
                list.removeAt(op.indices[i]);
            break;
        case EditOp::Move:
            list.move(op.from, op.to);
            break;
        }
    }

    // Runs the edit on db and checks its result; size is the list's size before the edit.
    bool applyTo(Database& db, const EditOp& op) const
    {
        PlayListRecord pl;
        pl.uid = op.playlist;
        pl.size = lists.value(op.playlist).size();
        pl.lastPlayedIndex = op.lastPlayedIndex;
        switch (op.kind) {
        case EditOp::Add: {
            int added = -1;
            const int first = db.addItems(pl, op.position, makeItems(op.titles), &added);
            return first == addStart(pl.size, op.position, op.lastPlayedIndex) && added == op.titles.size();
        }
        case EditOp::Remove:
            return db.removeItems(pl, op.indices) == op.indices.size();
        case EditOp::Move:
            return db.moveItem(pl, op.from, op.to);
        }
        return false;
    }

private:
    static void fillAdd(EditOp& op, std::mt19937& rng, const QString& tag, int& counter, int size, int maxAdd)
    {
        op.kind = EditOp::Add;
        op.position = static_cast<int>(rng() % 3);
        op.lastPlayedIndex = (size > 0 && rng() % 2) ? static_cast<int>(rng() % size) : -1;
        const int count = 1 + static_cast<int>(rng() % maxAdd);
        for (int i = 0; i < count; ++i)
            op.titles.append(tag + QString::number(counter++));
    }

    // Scattered indices, or now and then one block, so that both single runs and long runs occur.
    static void fillRemove(EditOp& op, std::mt19937& rng, int size, int maxRemove)
    {
        op.kind = EditOp::Remove;
        const int count = 1 + static_cast<int>(rng() % std::min(maxRemove, size));
        if (rng() % 4 == 0) {
            const int start = static_cast<int>(rng() % (size - count + 1));
            for (int i = 0; i < count; ++i)
                op.indices.append(start + i);
            return;
        }
        std::vector<int> all(size);
        std::iota(all.begin(), all.end(), 0);
        for (int i = 0; i < count; ++i)
            std::swap(all[i], all[i + rng() % (size - i)]);
        std::sort(all.begin(), all.begin() + count);
        op.indices = QList<int>(all.begin(), all.begin() + count);
    }

    static void fillMove(EditOp& op, std::mt19937& rng, int size)
    {
        op.kind = EditOp::Move;
        op.from = static_cast<int>(rng() % size);
        op.to = static_cast<int>(rng() % size);
    }
};
