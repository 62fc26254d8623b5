#include "Player.h"

#include <limits>

#include "CMEventHub.h"
#include "CMGlobal.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayLogic.h"

namespace {
QString stateName(int state)
{
    static const char* const names[] = {"stopped", "playing", "paused"};
    return QString::fromLatin1(names[state]);
}
}  // namespace

Player::Player(double speed, QObject* parent)
    : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player"), parent),
      m_clock(speed),
      m_timer(new QTimer(this))
{
    m_timer->setSingleShot(true);
    CMGlobal::connect(m_timer, &QTimer::timeout, this, &Player::on_timer_timeout);
}

QStringList Player::prefixes() const
{
    return {QStringLiteral("player")};
}

bool Player::setDataRequest(const CMSetDataRequest& request)
{
    const CMPath path = request.path().base();
    const QVariant value = KeloJson::normalize(request.value());
    if (path == KeloPlayerPlayLogicPath()) {
        command(value.toHash());
        request.reply().setValue(QVariant());
        return true;
    }
    if (path != KeloPlayerControlPath())
        return false;
    const CMError error = control(value.toHash());
    if (error.isNull())
        request.reply().setValue(state());
    else
        request.reply().setError(error);
    return true;
}

bool Player::getDataRequest(const CMGetDataRequest& request)
{
    if (request.path().base() != KeloPlayerStatePath())
        return false;
    request.reply().setValue(state());
    return true;
}

QVariantHash Player::state() const
{
    return {{QStringLiteral("state"), stateName(int(m_state))},
            {QStringLiteral("trackRoles"), m_data.trackRoles().toVariant()},
            {QStringLiteral("containerRoles"), m_containerRoles.toVariant()},
            {QStringLiteral("playTime"), playTime()},
            {QStringLiteral("playMode"), int(m_data.playMode())},
            {QStringLiteral("controls"), m_data.controls().toVariant()},
            {QStringLiteral("playLogicPath"), m_playLogic.toEncoded()}};
}

qint64 Player::durationMs() const
{
    return qint64(m_track.duration()) * 1000;
}

qint64 Player::playTime() const
{
    const qint64 duration = durationMs();
    const qint64 time = qMax<qint64>(0, m_clock.playTime());
    return duration > 0 ? qMin(time, duration) : time;
}

// One timer serves the three moments of a track: the point where the next media is asked for, the
// track's end, and the end of the wait for the next media after it.
void Player::schedule()
{
    m_timer->stop();
    if (m_endReached) {
        m_timer->start(NextMediaWaitMs);
        return;
    }
    const qint64 duration = durationMs();
    if (m_state != State::Playing || duration <= 0)
        return;
    const qint64 target = m_askedNext ? duration : qMax<qint64>(0, duration - AskNextBeforeEndMs);
    const qint64 wait = m_clock.realMsUntil(target);
    if (wait >= 0)
        m_timer->start(int(qMin<qint64>(wait, std::numeric_limits<int>::max())));
}

void Player::on_timer_timeout()
{
    if (m_endReached) {
        KELO_LOG_WARN("Player", "The play logic did not name the next media in time; stopping");
        m_endReached = false;
        m_nextAnswered = true;
        advance();
        return;
    }
    if (m_state != State::Playing || m_track.isEmpty())
        return;
    const qint64 duration = durationMs();
    if (!m_askedNext && playTime() >= duration - AskNextBeforeEndMs)
        askForNextMedia();
    if (playTime() >= duration) {
        endOfTrack();
        return;
    }
    schedule();
}

void Player::setState(State state)
{
    m_state = state;
    publish();
}

void Player::publish(bool force)
{
    QVariantHash current = state();
    current.remove(QStringLiteral("playTime"));
    if (!force && current == m_published)
        return;
    m_published = current;
    CMEventHub::instance().publish({{QStringLiteral("path"), KeloPlayerStatePath().toEncoded()},
                                    {QStringLiteral("change"), QStringLiteral("value")},
                                    {QStringLiteral("value"), state()}});
}
