// The shuffle order: a permutation of the sequence numbers, drawn once and walked both ways, so that
// "previous" returns to the tracks actually heard.
#include <algorithm>
#include <numeric>
#include <random>

#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListPlayLogic.h"

namespace {
constexpr char kLog[] = "PlayListsPlayLogic";
}  // namespace

void PlayListPlayLogic::initShuffle(int startItem)
{
    KELO_LOG_TRACE(kLog, "startItem: " << startItem);
    if (!currentPlayList) {
        m_shuffleSeq.clear();
        m_shuffleCurIndex = -1;
        return;
    }
    const int size = currentPlayList->getSize();
    if (size < 1) {
        KELO_LOG_TRACE(kLog, "size <= 0");
        return;
    }
    m_shuffleSeq.resize(size);
    std::iota(m_shuffleSeq.begin(), m_shuffleSeq.end(), 0);
    randomizeShuffleItems(0);
    if (startItem >= 0) {
        const int index = m_shuffleSeq.indexOf(startItem);
        KELO_LOG_TRACE(kLog, "index of startItem in sequence: " << index);
        if (index >= 0) {
            m_shuffleSeq.remove(index);
            m_shuffleSeq.prepend(startItem);
        }
    }
    debugShuffleItems();
    m_shuffleCurIndex = 0;
}

void PlayListPlayLogic::randomizeShuffleItems(int from)
{
    KELO_LOG_TRACE(kLog, "from: " << from);
    if (from < 0 || from >= m_shuffleSeq.size())
        return;
    // A fresh engine per draw, seeded from the clock; 0 is no seed for this engine and becomes 1.
    std::uint32_t seed = std::uint32_t(QElapsedTimer_getMonotonicMsecs()) % 2147483647u;
    if (seed == 0)
        seed = 1;
    std::minstd_rand0 engine(seed);
    std::shuffle(m_shuffleSeq.begin() + from, m_shuffleSeq.end(), engine);
}

int PlayListPlayLogic::getNextShuffleItem()
{
    KELO_LOG_TRACE(kLog, "m_shuffleCurIndex before next: " << m_shuffleCurIndex);
    const int size = m_shuffleSeq.size();
    if (size == 0) {
        KELO_LOG_TRACE(kLog, "error: m_shuffleSeq.size: " << size);
        return -1;
    }
    int number = -1;
    if (m_shuffleCurIndex >= 0 && m_shuffleCurIndex + 1 < size) {
        number = m_shuffleSeq[++m_shuffleCurIndex];
    } else if (repeatMode == RepeatAll) {
        // The second pass plays the same order again.
        m_shuffleCurIndex = 0;
        KELO_LOG_TRACE(kLog, "m_shuffleCurIndex is set to first item in m_shuffleSeq");
        number = m_shuffleSeq[0];
    }
    KELO_LOG_TRACE(kLog, "m_shuffleCurIndex after next: " << m_shuffleCurIndex);
    KELO_LOG_TRACE(kLog, "index: " << number);
    return number;
}

int PlayListPlayLogic::getPrevShuffleItem()
{
    KELO_LOG_TRACE(kLog, "m_shuffleCurIndex before prev: " << m_shuffleCurIndex);
    const int size = m_shuffleSeq.size();
    if (size == 0) {
        KELO_LOG_TRACE(kLog, "error: m_shuffleSeq.size: " << size);
        return -1;
    }
    int number = -1;
    if (m_shuffleCurIndex >= 1 && m_shuffleCurIndex < size) {
        number = m_shuffleSeq[--m_shuffleCurIndex];
    } else if (repeatMode == RepeatAll) {
        m_shuffleCurIndex = size - 1;
        KELO_LOG_TRACE(kLog, "m_shuffleCurIndex is set to last item in m_shuffleSeq");
        number = m_shuffleSeq[size - 1];
    }
    KELO_LOG_TRACE(kLog, "m_shuffleCurIndex after prev: " << m_shuffleCurIndex);
    KELO_LOG_TRACE(kLog, "index: " << number);
    return number;
}

void PlayListPlayLogic::setShuffleEnabled(bool enabled)
{
    KELO_LOG_TRACE(kLog, "enabled=" << enabled);
    shuffleEnabled = enabled;
    if (!currentPlayList)
        return;
    currentPlayList->setShuffle(enabled);
    // Switching off leaves the order and its index as they are.
    if (enabled)
        initShuffle(currentPlayList->getLastSequenceNumber());
}

void PlayListPlayLogic::debugShuffleItems()
{
    if (!KeloLog::logger(kLog).isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        return;
    KELO_LOG_TRACE(kLog, "m_shuffleSeq.size(): " << m_shuffleSeq.size());
    for (int i = 0; i < m_shuffleSeq.size(); ++i)
        KELO_LOG_TRACE(kLog, "m_shuffleSeq entry: #" << i << " " << m_shuffleSeq[i]);
}
