#pragma once
// The simulated output: plays nothing audible. A clock runs the play time in real time scaled by a
// speed factor, and the stream ends when the clock reaches the length the tags gave (never without
// one). A uri starting with "fail:" cannot be opened. Never joins streams: queue() is ignored.
#include <QTimer>

#include "PlayerClock.h"
#include "PlayerOutput.h"

class SimulatedOutput : public PlayerOutput
{
    Q_OBJECT
public:
    explicit SimulatedOutput(double speed = 1.0, QObject* parent = nullptr);

    bool open(const QString& uri, qint64 lengthMs, bool paused) override;
    void queue(const QString&, qint64) override {}
    void pause() override;
    void resume() override;
    void stop() override;
    void seek(qint64 ms) override;
    void setVolume(int) override {}

    qint64 playTime() const override { return m_clock.playTime(); }
    qint64 length() const override { return 0; }
    qint64 realMsUntil(qint64 target) const override { return m_clock.realMsUntil(target); }
    QString description() const override;

private:
    void scheduleEnd();
    void on_endTimer_timeout();

    PlayerClock m_clock;
    QTimer* m_endTimer;
    qint64 m_length = 0;
    double m_speed;
};
