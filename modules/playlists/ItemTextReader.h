#pragma once
// The items of an add request read from its JSON text on a thread of their own, while the worker
// inserts the batches already read: reading and inserting a large add overlap instead of following
// one another. Each item gets its verdict (verdictOn) as it is read; a refused item stops the
// reading.
//
// Threads: construct, use and destroy on one thread (the worker's); the reading runs on a thread
// the reader owns and joins. The destructor stops a reading still under way.
#include <QByteArray>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "ItemSource.h"
#include "KeloPlayList.h"

class ItemTextReader final : public ItemSource, public OfferedItems
{
public:
    enum class Outcome {
        Reading,   // not yet ended
        Complete,  // every item read; the members after the items agree with the head
        Declined,  // the text is not in the forms read this way (or the head changed after it, or it
                   // has no item array): read it whole the other way
        Refused,   // an item was refused
        Stopped,   // stopped by finish() or the destructor before its end
    };
    // Items are handed over in batches of this many.
    static constexpr int BatchSize = 256;
    // At most this many batches wait to be inserted; the reading waits for room.
    static constexpr size_t BatchesAhead = 8;

    explicit ItemTextReader(const QByteArray& text);
    ~ItemTextReader() override;
    ItemTextReader(const ItemTextReader&) = delete;
    ItemTextReader& operator=(const ItemTextReader&) = delete;

    // Waits until the items begin; *head then holds the members read before them. False when the
    // reading ended without reaching an item array.
    bool waitForHead(KeloPlayListPlAddExternalItems* head);
    bool next(QList<KeloPlayListItem>* batch) override;
    bool complete() const override;
    int size() const override;

    // Appends the entries while they are read (the reader serves adds at the end only).
    int storeIn(PlayListBase* pl, KeloPlayListAddPosition::Enum position) override;
    bool decidedBeforehand() const override { return false; }
    // Stops the reading unless it has ended, and waits for its end.
    void finish() override;
    // Once ended: how the reading ended, whether an item was refused, the items read (those left
    // out included) and those kept.
    Outcome outcome() const;
    bool refused() const override { return outcome() == Outcome::Refused; }
    int offered() const;
    int kept() const override;

private:
    void read();
    bool hand(QList<KeloPlayListItem>* batch);  // false when stopped
    void end(Outcome outcome, QList<KeloPlayListItem> last);
    void freeSpentUntilStopped();

    const QByteArray m_text;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_headRead = false;
    KeloPlayListPlAddExternalItems m_head;
    std::deque<QList<KeloPlayListItem>> m_batches;
    // Batches the caller is done with, freed on the reading thread that allocated their items: freed
    // by the caller, they would contend with the reading for the allocator's lists.
    std::deque<QList<KeloPlayListItem>> m_spent;
    int m_handedOver = 0;
    int m_offered = 0;
    int m_kept = 0;
    bool m_stop = false;
    Outcome m_outcome = Outcome::Reading;
    std::thread m_thread;  // last: it starts once everything above exists
};
