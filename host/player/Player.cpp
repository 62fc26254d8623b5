#include "Player.h"

#include <limits>

#include "CMEventHub.h"
#include "CMGlobal.h"
#include "KeloJson.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "PlayLogic.h"
#include "CMRoot.h"
#include "SimulatedOutput.h"
#include "HostLog.h"

namespace {
QString stateName(int state)
{
    static const char* const names[] = {"stopped", "playing", "paused"};
    return QString::fromLatin1(names[state]);
}
}  // namespace

Player::Player(PlayerOutput* output, QObject* parent)
    : CMAbstractWorker(QHash<QString, QVariant>(), QStringLiteral("Player"), parent),
      m_output(output ? output : new SimulatedOutput(1.0)),
      m_timer(new QTimer(this))
{
    m_output->setParent(this);
    m_timer->setSingleShot(true);
    CMGlobal::connect(m_timer, &QTimer::timeout, this, &Player::on_timer_timeout);
    CMGlobal::connect(m_output, &PlayerOutput::opened, this, &Player::on_output_opened);
    CMGlobal::connect(m_output, &PlayerOutput::ended, this, &Player::on_output_ended);
    CMGlobal::connect(m_output, &PlayerOutput::advanced, this, &Player::on_output_advanced);
    CMGlobal::connect(m_output, &PlayerOutput::failed, this, &Player::on_output_failed);
    CMGlobal::connect(m_output, &PlayerOutput::lengthChanged, this, [this] {
        schedule();
        publish();
    });
    if (CMRootWorker* root = CMRoot()) {
        const KeloValue stored = root->value(volumePath());
        if (stored.isI32_() && stored.i32_() >= 0 && stored.i32_() <= 100)
            m_volume = stored.i32_();
        // The setting may also be changed as any other; the player follows it.
        CMGlobal::connect(root, &CMRootWorker::valueChanged, this, &Player::on_root_valueChanged, Qt::QueuedConnection);
    }
    m_output->setVolume(m_volume);
    KELO_LOG_INFO(PlayerLogger, "Playing into " << m_output->description());
}

Player::Player(double speed, QObject* parent) : Player(new SimulatedOutput(speed), parent) {}

CMPath Player::volumePath()
{
    return CMPath(QStringLiteral("settings:player/volume"));
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
            {QStringLiteral("duration"), durationMs()},
            {QStringLiteral("playMode"), int(m_data.playMode())},
            {QStringLiteral("controls"), m_data.controls().toVariant()},
            {QStringLiteral("playLogicPath"), m_playLogic.toEncoded()},
            {QStringLiteral("volume"), m_volume},
            {QStringLiteral("error"), m_lastError}};
}

qint64 Player::durationMs() const
{
    if (m_track.isEmpty())
        return 0;
    const qint64 tagged = qint64(m_track.duration()) * 1000;
    return tagged > 0 ? tagged : m_output->length();
}

qint64 Player::playTime() const
{
    const qint64 duration = durationMs();
    const qint64 time = qMax<qint64>(0, m_output->playTime());
    return duration > 0 ? qMin(time, duration) : time;
}

// One timer serves two moments of a track: the point where the next media is asked for, and the end
// of the wait for the next media after the track ended. The end itself is the output's news.
void Player::schedule()
{
    m_timer->stop();
    if (m_endReached) {
        m_timer->start(NextMediaWaitMs);
        return;
    }
    const qint64 duration = durationMs();
    if (m_state != State::Playing || duration <= 0 || m_awaitingOpen)
        return;
    if (m_askedNext)
        return;
    const qint64 wait = m_output->realMsUntil(qMax<qint64>(0, duration - AskNextBeforeEndMs));
    if (wait >= 0)
        m_timer->start(int(qMin<qint64>(wait, std::numeric_limits<int>::max())));
}

void Player::on_timer_timeout()
{
    if (m_endReached) {
        KELO_LOG_WARN(PlayerLogger, "The play logic did not name the next media in time; stopping");
        m_endReached = false;
        m_nextAnswered = true;
        advance();
        return;
    }
    if (m_state != State::Playing || m_track.isEmpty())
        return;
    if (!m_askedNext && playTime() >= durationMs() - AskNextBeforeEndMs)
        askForNextMedia();
    schedule();
}

// A stream that fails to open is no started track for the play logic, so its error limit counts it.
void Player::on_output_opened()
{
    if (!m_awaitingOpen)
        return;
    m_awaitingOpen = false;
    m_lastError.clear();
    call(PlayLogicWire::MediaPlaybackStarted(),
         {{PlayLogicWire::OldRoles(), m_formerTrack.toVariant()}, {PlayLogicWire::NewRoles(), m_track.toVariant()}});
    m_formerTrack = KeloRoles();
    publish();
    schedule();
}

void Player::on_output_ended()
{
    endOfTrack();
}

// The output joined the announced next media to the track that ended: it plays now, without a gap.
void Player::on_output_advanced()
{
    if (m_nextMedia.isEmpty()) {
        KELO_LOG_WARN(PlayerLogger, "The output moved on to a track that was not announced; stopping");
        m_output->stop();
        stopPlayback();
        return;
    }
    const KeloRoles next = m_nextMedia;
    const bool inSkip = m_skipAsked;
    startTrack(next, true);
    m_joinedInSkip = inSkip;
}

void Player::on_output_failed(int code, const QString& message)
{
    if (m_track.isEmpty())
        return;
    failTrack(m_track, code, message);
}

void Player::on_root_valueChanged(const CMPath& path, const KeloValue& value)
{
    if (path.base() != volumePath() || !value.isI32_() || value.i32_() < 0 || value.i32_() > 100)
        return;
    if (value.i32_() != m_volume)
        applyVolume(value.i32_());
}

void Player::applyVolume(int level)
{
    m_volume = level;
    m_output->setVolume(level);
    publish();
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
