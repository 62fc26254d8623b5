#include "SimulatedOutput.h"

#include <limits>

#include "CMGlobal.h"

SimulatedOutput::SimulatedOutput(double speed, QObject* parent)
    : PlayerOutput(parent), m_clock(speed), m_endTimer(new QTimer(this)), m_speed(speed)
{
    m_endTimer->setSingleShot(true);
    CMGlobal::connect(m_endTimer, &QTimer::timeout, this, &SimulatedOutput::on_endTimer_timeout);
}

bool SimulatedOutput::open(const QString& uri, qint64 lengthMs, bool paused)
{
    KELO_ASSERT_THREAD(this);
    m_endTimer->stop();
    m_clock.hold();
    m_clock.setPlayTime(0);
    if (uri.startsWith(QLatin1String("fail:")))
        return false;
    m_length = lengthMs;
    if (!paused)
        m_clock.run();
    scheduleEnd();
    return true;
}

void SimulatedOutput::pause()
{
    KELO_ASSERT_THREAD(this);
    m_clock.hold();
    scheduleEnd();
}

void SimulatedOutput::resume()
{
    KELO_ASSERT_THREAD(this);
    m_clock.run();
    scheduleEnd();
}

void SimulatedOutput::stop()
{
    KELO_ASSERT_THREAD(this);
    m_length = 0;
    m_clock.hold();
    m_clock.setPlayTime(0);
    scheduleEnd();
}

void SimulatedOutput::seek(qint64 ms)
{
    KELO_ASSERT_THREAD(this);
    m_clock.setPlayTime(ms);
    scheduleEnd();
}

QString SimulatedOutput::description() const
{
    KELO_ASSERT_THREAD(this);
    return QStringLiteral("simulated (speed %1)").arg(m_speed);
}

void SimulatedOutput::scheduleEnd()
{
    m_endTimer->stop();
    if (m_length <= 0)
        return;
    const qint64 wait = m_clock.realMsUntil(m_length);
    if (wait >= 0)
        m_endTimer->start(int(qMin<qint64>(wait, std::numeric_limits<int>::max())));
}

void SimulatedOutput::on_endTimer_timeout()
{
    if (m_length <= 0)
        return;
    // A timer may fire a little early against the clock's rounding; wait for the rest.
    if (m_clock.realMsUntil(m_length) > 0) {
        scheduleEnd();
        return;
    }
    m_clock.hold();
    m_length = 0;
    emit ended();
}
