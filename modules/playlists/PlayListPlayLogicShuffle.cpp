// The shuffle order: a permutation of the sequence numbers, drawn once and walked both ways, so that
// "previous" returns to the tracks actually heard.
#include <algorithm>
#include <numeric>
#include <random>

#include "CMGlobal.h"
#include "KeloLog.h"
#include "PlayList.h"
#include "PlayListPlayLogic.h"
#include "PlayListsLog.h"

void PlayListPlayLogic::initShuffle(int startItem)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "startItem: " << startItem);
    if (!currentPlayList) {
        m_shuffleSeq.clear();
        m_shuffleCurIndex = -1;
        return;
    }
    const int size = currentPlayList->getSize();
    if (size < 1) {
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "size <= 0");
        return;
    }
    m_shuffleSeq.resize(size);
    std::iota(m_shuffleSeq.begin(), m_shuffleSeq.end(), 0);
    randomizeShuffleItems(0);
    if (startItem >= 0) {
        const int index = m_shuffleSeq.indexOf(startItem);
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "index of startItem in sequence: " << index);
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
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "from: " << from);
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
    KELO_ASSERT_THREAD(this);
    return stepShuffle(1);
}

int PlayListPlayLogic::getPrevShuffleItem()
{
    KELO_ASSERT_THREAD(this);
    return stepShuffle(-1);
}

int PlayListPlayLogic::stepShuffle(int step)
{
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "m_shuffleCurIndex before step " << step << ": " << m_shuffleCurIndex);
    const int size = m_shuffleSeq.size();
    if (size == 0) {
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "error: m_shuffleSeq.size: " << size);
        return -1;
    }
    const int target = m_shuffleCurIndex + step;
    int number = -1;
    if (m_shuffleCurIndex >= 0 && m_shuffleCurIndex < size && target >= 0 && target < size) {
        m_shuffleCurIndex = target;
        number = m_shuffleSeq[target];
    } else if (repeatMode == RepeatAll) {
        // The next pass plays the same order again.
        m_shuffleCurIndex = step > 0 ? 0 : size - 1;
        number = m_shuffleSeq[m_shuffleCurIndex];
    }
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "m_shuffleCurIndex after step: " << m_shuffleCurIndex << ", index: " << number);
    return number;
}

void PlayListPlayLogic::setShuffleEnabled(bool enabled)
{
    KELO_ASSERT_THREAD(this);
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "enabled=" << enabled);
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
    KELO_ASSERT_THREAD(this);
    if (!KeloLog::logger(PlayListsPlayLogicLogger).isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        return;
    KELO_LOG_TRACE(PlayListsPlayLogicLogger, "m_shuffleSeq.size(): " << m_shuffleSeq.size());
    for (int i = 0; i < m_shuffleSeq.size(); ++i)
        KELO_LOG_TRACE(PlayListsPlayLogicLogger, "m_shuffleSeq entry: #" << i << " " << m_shuffleSeq[i]);
}
