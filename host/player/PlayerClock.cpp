#include "PlayerClock.h"

#include <cmath>

#include "KeloPlayLogic.h"

qint64 PlayerClock::playTime() const
{
    if (!m_running)
        return m_base;
    return m_base + qint64(double(QElapsedTimer_getMonotonicMsecs() - m_since) * m_speed);
}

void PlayerClock::run()
{
    if (m_running)
        return;
    m_since = QElapsedTimer_getMonotonicMsecs();
    m_running = true;
}

void PlayerClock::hold()
{
    m_base = playTime();
    m_running = false;
}

void PlayerClock::setPlayTime(qint64 ms)
{
    m_base = ms;
    m_since = QElapsedTimer_getMonotonicMsecs();
}

qint64 PlayerClock::realMsUntil(qint64 target) const
{
    const qint64 left = target - playTime();
    if (left <= 0)
        return 0;
    if (!m_running)
        return -1;
    return qint64(std::ceil(double(left) / m_speed));
}
