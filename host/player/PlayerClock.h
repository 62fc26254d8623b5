#pragma once
// The play time of one track: it runs in real time scaled by a speed factor while running and holds
// while not. A plain value; used in the player's thread only.
#include <QtGlobal>

class PlayerClock
{
public:
    explicit PlayerClock(double speed = 1.0) : m_speed(speed > 0 ? speed : 1.0) {}

    bool isRunning() const { return m_running; }
    qint64 playTime() const;  // ms

    void run();                  // runs on from the time it holds
    void hold();                 // holds at the time reached
    void setPlayTime(qint64 ms);  // keeps running or holding

    // Real milliseconds until the play time reaches target: 0 when reached, -1 while holding short of it.
    qint64 realMsUntil(qint64 target) const;

private:
    double m_speed;
    bool m_running = false;
    qint64 m_base = 0;   // play time at m_since
    qint64 m_since = 0;  // monotonic ms when it last ran on or was set
};
