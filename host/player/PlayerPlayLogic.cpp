// The player's side of the play-logic wire: commands in, calls out.
#include "CMRoot.h"
#include "KeloLog.h"
#include "Player.h"
#include "PlayLogic.h"
#include "HostLog.h"

namespace {
QString firstUri(const KeloRoles& roles)
{
    const QList<KeloMediaResource> resources = roles.mediaData().resources();
    return resources.isEmpty() ? QString() : resources.first().uri();
}
}  // namespace

void Player::command(const QVariantHash& value)
{
    const QString name = value.value(PlayLogicWire::Command()).toString();
    const CMPath from(value.value(PlayLogicWire::From()).toString());
    // Only the play logic that plays may steer the player; a former one may still have commands on the way.
    if (m_playLogic.isEmpty() || from != m_playLogic) {
        KELO_LOG_DEBUG(PlayerLogger, "Ignoring " << name << " from " << from.toEncoded());
        return;
    }
    const KeloRoles roles(KeloHash(value.value(PlayLogicWire::Roles()).toHash()));
    KELO_LOG_DEBUG(PlayerLogger, "command=" << name << " title=" << roles.title());
    if (name == PlayLogicWire::Play() && roles.isEmpty()) {
        stopPlayback();
    } else if (name == PlayLogicWire::Play()) {
        startTrack(roles);
    } else if (name == PlayLogicWire::SetNextMedia()) {
        nextMediaAnswered(value, roles);
    } else if (name == PlayLogicWire::NoNextMedia()) {
        nextMediaAnswered(value, KeloRoles());
    } else if (name == PlayLogicWire::PlaybackEnded()) {
        stopPlayback();
    } else if (name == PlayLogicWire::Data()) {
        m_data = KeloPlayLogicData(KeloHash(value.value(PlayLogicWire::Data()).toHash()));
        publish();
    } else {
        KELO_LOG_WARN(PlayerLogger, "Unknown play-logic command: " << name);
    }
}

// alreadyPlaying: the output joined the track to the one before it and plays it already.
void Player::startTrack(const KeloRoles& roles, bool alreadyPlaying)
{
    // A skip asked just before the track's end may name the very track the output joined meanwhile:
    // it plays on instead of starting a second time.
    // The play logic heard of its start already.
    if (!alreadyPlaying && m_joinedInSkip && !m_track.isEmpty() && firstUri(roles) == firstUri(m_track)) {
        m_joinedInSkip = false;
        m_skipAsked = false;
        m_track = roles;
        publish();
        return;
    }
    m_skipAsked = false;
    m_joinedInSkip = false;
    const KeloRoles oldRoles = m_track;
    ++m_serial;
    m_timer->stop();
    m_askedNext = false;
    m_nextAnswered = false;
    m_nextMedia = KeloRoles();
    m_endReached = false;
    const QString uri = firstUri(roles);
    State state = m_state == State::Paused && alreadyPlaying ? State::Paused : State::Playing;
    if (!alreadyPlaying) {
        state = m_startPaused ? State::Paused : State::Playing;
        if (uri.isEmpty() || !m_output->open(uri, qint64(roles.duration()) * 1000, state == State::Paused)) {
            failTrack(roles, CannotOpenErrorCode, QStringLiteral("The resource cannot be opened"));
            return;
        }
    }
    m_startPaused = false;
    m_track = roles;
    // Shown at once as the play logic named it; its data for the track follows the start.
    m_data.setTrackRoles(roles);
    m_awaitingOpen = !alreadyPlaying && m_output->confirmsOpening();
    m_formerTrack = m_awaitingOpen ? oldRoles : KeloRoles();
    if (!m_awaitingOpen) {
        m_lastError.clear();
        call(PlayLogicWire::MediaPlaybackStarted(),
             {{PlayLogicWire::OldRoles(), oldRoles.toVariant()}, {PlayLogicWire::NewRoles(), roles.toVariant()}});
    }
    m_state = state;
    publish(true);  // also a track that starts again
    schedule();
}

// A resource that cannot be opened or decoded fails before its playback goes on, as an unreachable
// stream does; the play logic hears of it at once and decides what comes next.
void Player::failTrack(const KeloRoles& roles, int code, const QString& message)
{
    const QString uri = firstUri(roles);
    KELO_LOG_INFO(PlayerLogger, "Cannot play " << (uri.isEmpty() ? QStringLiteral("a track without resources") : uri) << ": "
                                           << message);
    KeloError error;
    error.setCode(code);
    error.setMessage(message);
    m_lastError = {{QStringLiteral("code"), code}, {QStringLiteral("message"), message},
                   {QStringLiteral("title"), roles.title()}};
    m_track = KeloRoles();
    m_nextMedia = KeloRoles();
    m_endReached = false;
    m_awaitingOpen = false;
    m_timer->stop();
    m_output->stop();
    setState(State::Stopped);
    call(PlayLogicWire::StreamError(), {{PlayLogicWire::Error(), error.toVariant()}});
}

void Player::nextMediaAnswered(const QVariantHash& value, const KeloRoles& roles)
{
    // An answer for a track that is no longer playing, or to a question not asked, is stale.
    if (value.value(PlayLogicWire::Serial()).toInt() != m_serial || !m_askedNext || m_track.isEmpty()) {
        KELO_LOG_DEBUG(PlayerLogger, "Ignoring a stale next media for track " << value.value(PlayLogicWire::Serial()).toInt());
        return;
    }
    // A skip asked meanwhile voids the announcement: the play logic names the track to play instead.
    if (m_skipAsked) {
        KELO_LOG_DEBUG(PlayerLogger, "Ignoring the next media announced before a skip");
        return;
    }
    m_nextAnswered = true;
    m_nextMedia = roles;
    if (m_endReached)
        advance();
    else
        m_output->queue(firstUri(roles), qint64(roles.duration()) * 1000);
}

void Player::askForNextMedia()
{
    m_askedNext = true;
    m_nextAnswered = false;
    m_nextMedia = KeloRoles();
    call(PlayLogicWire::PrepareNextMedia());
}

void Player::advance()
{
    m_endReached = false;
    if (!m_nextMedia.isEmpty()) {
        // A pause that met the track's end holds the next track at its start.
        m_startPaused = m_startPaused || m_state == State::Paused;
        const KeloRoles next = m_nextMedia;  // startTrack forgets the announcement
        startTrack(next);
        return;
    }
    stopPlayback();
}

void Player::stopPlayback()
{
    m_track = KeloRoles();
    m_awaitingOpen = false;
    m_skipAsked = false;
    m_joinedInSkip = false;
    m_endReached = false;
    m_nextMedia = KeloRoles();
    m_timer->stop();
    m_output->stop();
    setState(State::Stopped);
}

void Player::call(const QString& name, const QVariantHash& fields)
{
    CMRootWorker* root = CMRoot();
    if (m_playLogic.isEmpty() || !root)
        return;
    QVariantHash value = fields;
    value.insert(PlayLogicWire::Call(), name);
    value.insert(PlayLogicWire::Serial(), m_serial);
    value.insert(PlayLogicWire::PlayTime(), playTime());
    const CMVoidReply reply;
    CMReplyAbstractData* data = reply.data();
    // Runs in the answering thread and only logs, so the player never waits for the answer.
    QObject::connect(
        data, &CMReplyAbstractData::finished, this,
        [data, name]() {
            if (data->hasError())
                KELO_LOG_WARN(PlayerLogger, "The play logic answered " << name << " with " << data->error().Name() << ": "
                                                                    << data->error().Message());
        },
        Qt::DirectConnection);
    root->sendSetData(CMSetDataRequest(m_playLogic, value, reply));
}
