#pragma once
// Entries for an add, handed over in batches: a list at once (ItemList), or a request's items as
// another thread reads them from its text (ItemTextReader). The add inserts each batch as it comes
// and keeps them only when the source ends complete, so a source that fails half way leaves the
// playlist as it was.
//
// Threads: next(), complete() and size() are called on the thread of the add (the worker's).
#include <QList>

#include "KeloPlayList.h"

class ItemSource
{
public:
    virtual ~ItemSource() = default;
    // Replaces *batch with the next entries; false when none are left.
    virtual bool next(QList<KeloPlayListItem>* batch) = 0;
    // After next() was false: true when every entry was read and may be kept; false makes the add
    // keep nothing.
    virtual bool complete() const = 0;
    // The number of entries handed over so far, or all of them when they are known at once (logs).
    virtual int size() const = 0;
};

// A list handed over as one batch.
class ItemList final : public ItemSource
{
public:
    explicit ItemList(const QList<KeloPlayListItem>& items) : m_items(items) {}
    bool next(QList<KeloPlayListItem>* batch) override;
    bool complete() const override { return true; }
    int size() const override { return m_items.size(); }

private:
    const QList<KeloPlayListItem> m_items;
    bool m_handedOver = false;
};

// What an add does with an entry offered to it: keeps it; leaves it out (it has no stored roles,
// which is logged, not an error); or refuses it (its roles describe no playable audio track), and
// with it the whole add. Any thread.
enum class ItemVerdict { Kept, LeftOut, Refused };
ItemVerdict verdictOn(const KeloPlayListItem& item);

// Entries offered to an add, each with its verdict; next() hands over the kept ones.
class OfferedItems : public ItemSource
{
public:
    // True when every verdict is known before the add: a refused or empty offer is then not
    // stored at all. Otherwise the verdicts are known once finish() returned.
    virtual bool decidedBeforehand() const = 0;
    // Ends what is still being read (the add may stop taking entries early) and waits for it.
    virtual void finish() = 0;
    virtual bool refused() const = 0;
    virtual int offered() const = 0;  // those left out included
    virtual int kept() const = 0;
};

// A list whose verdicts are taken at once; the kept entries are handed over as one batch.
class CheckedItemList final : public OfferedItems
{
public:
    explicit CheckedItemList(const QList<KeloPlayListItem>& items);
    bool next(QList<KeloPlayListItem>* batch) override { return m_kept.next(batch); }
    bool complete() const override { return !m_refused; }
    int size() const override { return m_kept.size(); }
    bool decidedBeforehand() const override { return true; }
    void finish() override {}
    bool refused() const override { return m_refused; }
    int offered() const override { return m_offered; }
    int kept() const override { return m_kept.size(); }

private:
    static QList<KeloPlayListItem> keptOf(const QList<KeloPlayListItem>& items, bool* refused);

    const int m_offered;
    bool m_refused = false;
    ItemList m_kept;
};
