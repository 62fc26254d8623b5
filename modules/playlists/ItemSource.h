#pragma once
// Entries for an append, handed over in batches as another thread reads them (ItemTextReader). The
// append inserts each batch as it comes and keeps them only when the source ends complete, so a
// source that fails half way leaves the playlist as it was.
//
// Threads: next(), complete() and size() are called on the thread of the add (the worker's).
#include <QList>

#include "KeloEnums.h"
#include "KeloPlayList.h"

class PlayListBase;

class ItemSource
{
public:
    virtual ~ItemSource() = default;
    // Replaces *batch with the next entries (what it held is the source's again, to free where it
    // likes); false when none are left.
    virtual bool next(QList<KeloPlayListItem>* batch) = 0;
    // After next() was false: true when every entry was read and may be kept; false makes the add
    // keep nothing.
    virtual bool complete() const = 0;
    // The number of entries handed over so far (logs).
    virtual int size() const = 0;
};

// What an add does with an entry offered to it: keeps it; leaves it out (it has no stored roles,
// which is logged, not an error); or refuses it (its roles describe no playable audio track), and
// with it the whole add. Any thread.
enum class ItemVerdict { Kept, LeftOut, Refused };
ItemVerdict verdictOn(const KeloPlayListItem& item);

// Entries offered to an add, each with its verdict: a list checked at once, or a request's items
// checked as they are read.
class OfferedItems
{
public:
    virtual ~OfferedItems() = default;
    // Stores the kept entries in pl at position: PlayListBase::addItems' result.
    virtual int storeIn(PlayListBase* pl, KeloPlayListAddPosition::Enum position) = 0;
    // True when every verdict is known before the add: a refused or empty offer is then not
    // stored at all. Otherwise the verdicts are known once finish() returned.
    virtual bool decidedBeforehand() const = 0;
    // Ends what is still being read (the add may stop taking entries early) and waits for it.
    virtual void finish() = 0;
    virtual bool refused() const = 0;
    virtual int kept() const = 0;
};

// A list whose verdicts are taken at once; the kept entries are stored as one list.
class CheckedItemList final : public OfferedItems
{
public:
    explicit CheckedItemList(const QList<KeloPlayListItem>& items);
    int storeIn(PlayListBase* pl, KeloPlayListAddPosition::Enum position) override;
    bool decidedBeforehand() const override { return true; }
    void finish() override {}
    bool refused() const override { return m_refused; }
    int kept() const override { return m_kept.size(); }

private:
    static QList<KeloPlayListItem> keptOf(const QList<KeloPlayListItem>& items, bool* refused);

    bool m_refused = false;
    const QList<KeloPlayListItem> m_kept;
};
