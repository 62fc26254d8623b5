#include "ItemTextReader.h"

#include "PlayList.h"

ItemTextReader::ItemTextReader(const QByteArray& text) : m_text(text), m_thread([this] { read(); }) {}

ItemTextReader::~ItemTextReader()
{
    finish();
    m_thread.join();
}

void ItemTextReader::read()
{
    KeloPlayListPlAddExternalItems record;
    KeloPlayListPlAddExternalItems head;
    QList<KeloPlayListItem> batch;
    int offered = 0;
    int kept = 0;
    bool refused = false;
    bool headSeen = false;
    const auto onHead = [&](const KeloPlayListPlAddExternalItems& members) {
        head = members;
        headSeen = true;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_head = members;
        m_headRead = true;
        m_changed.notify_all();
    };
    const auto take = [&](KeloPlayListItem&& item) {
        ++offered;
        switch (verdictOn(item)) {
        case ItemVerdict::LeftOut: return true;
        case ItemVerdict::Refused: refused = true; return false;
        case ItemVerdict::Kept: break;
        }
        ++kept;
        batch.append(std::move(item));
        return batch.size() < BatchSize || hand(&batch);
    };
    const bool read = record.readJson(m_text, onHead, take);
    Outcome outcome = Outcome::Declined;
    // The head was acted on while the items were read: members after them must not change it.
    if (read && headSeen && record.hash() == head.hash())
        outcome = Outcome::Complete;
    else if (refused)
        outcome = Outcome::Refused;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_offered = offered;
        m_kept = kept;
        end(m_stop ? Outcome::Stopped : outcome, std::move(batch));
    }
    freeSpentUntilStopped();
}

void ItemTextReader::freeSpentUntilStopped()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stop || !m_spent.empty(); });
        if (m_spent.empty())
            return;
        std::deque<QList<KeloPlayListItem>> spent;
        spent.swap(m_spent);
        lock.unlock();
        spent.clear();
        lock.lock();
    }
}

bool ItemTextReader::hand(QList<KeloPlayListItem>* batch)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || m_batches.size() < BatchesAhead; });
    if (m_stop)
        return false;
    m_batches.push_back(std::move(*batch));
    batch->clear();
    m_changed.notify_all();
    std::deque<QList<KeloPlayListItem>> spent;
    spent.swap(m_spent);
    lock.unlock();
    return true;
}

// Called with the mutex held.
void ItemTextReader::end(Outcome outcome, QList<KeloPlayListItem> last)
{
    if (outcome == Outcome::Complete && !last.isEmpty())
        m_batches.push_back(std::move(last));
    m_outcome = outcome;
    m_changed.notify_all();
}

bool ItemTextReader::waitForHead(KeloPlayListPlAddExternalItems* head)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_headRead || m_outcome != Outcome::Reading; });
    if (!m_headRead)
        return false;
    *head = m_head;
    return true;
}

bool ItemTextReader::next(QList<KeloPlayListItem>* batch)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!batch->isEmpty()) {
        m_spent.push_back(std::move(*batch));
        batch->clear();
        m_changed.notify_all();
    }
    m_changed.wait(lock, [this] { return !m_batches.empty() || m_outcome != Outcome::Reading; });
    // Once the reading failed, what is still queued is never inserted.
    if (m_batches.empty() || (m_outcome != Outcome::Reading && m_outcome != Outcome::Complete))
        return false;
    *batch = std::move(m_batches.front());
    m_batches.pop_front();
    m_handedOver += batch->size();
    m_changed.notify_all();
    return true;
}

bool ItemTextReader::complete() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_outcome == Outcome::Complete && m_batches.empty();
}

int ItemTextReader::size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_handedOver;
}

void ItemTextReader::finish()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_stop = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_outcome != Outcome::Reading; });
}

ItemTextReader::Outcome ItemTextReader::outcome() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_outcome;
}

int ItemTextReader::offered() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_offered;
}

int ItemTextReader::kept() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_kept;
}

int ItemTextReader::storeIn(PlayListBase* pl, KeloPlayListAddPosition::Enum)
{
    return pl->appendItems(*this);
}
