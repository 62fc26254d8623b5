// The player's side of the play-logic wire: commands in, calls out.
#include "CMRoot.h"
#include "KeloLog.h"
#include "Player.h"
#include "PlayLogic.h"

void Player::command(const QVariantHash& value)
{
    const QString name = value.value(PlayLogicWire::Command()).toString();
    const CMPath from(value.value(PlayLogicWire::From()).toString());
    // Only the play logic that plays may steer the player; a former one may still have commands on the way.
    if (m_playLogic.isEmpty() || from != m_playLogic) {
        KELO_LOG_DEBUG("Player", "Ignoring " << name << " from " << from.toEncoded());
        return;
    }
    const KeloRoles roles(KeloHash(value.value(PlayLogicWire::Roles()).toHash()));
    KELO_LOG_DEBUG("Player", "command=" << name << " title=" << roles.title());
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
        KELO_LOG_WARN("Player", "Unknown play-logic command: " << name);
    }
}

void Player::startTrack(const KeloRoles& roles)
{
    const KeloRoles oldRoles = m_track;
    ++m_serial;
    m_timer->stop();
    m_askedNext = false;
    m_nextAnswered = false;
    m_nextMedia = KeloRoles();
    m_endReached = false;
    const QList<KeloMediaResource> resources = roles.mediaData().resources();
    const QString uri = resources.isEmpty() ? QString() : resources.first().uri();
    if (uri.isEmpty() || uri.startsWith(QLatin1String("fail:"))) {
        failTrack(roles);
        return;
    }
    m_track = roles;
    m_clock.hold();
    m_clock.setPlayTime(0);
    const State state = m_startPaused ? State::Paused : State::Playing;
    m_startPaused = false;
    if (state == State::Playing)
        m_clock.run();
    call(PlayLogicWire::MediaPlaybackStarted(),
         {{PlayLogicWire::OldRoles(), oldRoles.toVariant()}, {PlayLogicWire::NewRoles(), roles.toVariant()}});
    setState(state);
    schedule();
}

// A resource that cannot be opened fails before its playback starts, as an unreachable stream does.
void Player::failTrack(const KeloRoles& roles)
{
    const QList<KeloMediaResource> resources = roles.mediaData().resources();
    KELO_LOG_INFO("Player", "Cannot open " << (resources.isEmpty() ? QStringLiteral("a track without resources")
                                                                    : resources.first().uri()));
    KeloError error;
    error.setCode(CannotOpenErrorCode);
    error.setMessage(QStringLiteral("The resource cannot be opened"));
    m_track = KeloRoles();
    m_clock.hold();
    m_clock.setPlayTime(0);
    setState(State::Stopped);
    call(PlayLogicWire::StreamError(), {{PlayLogicWire::Error(), error.toVariant()}});
}

void Player::nextMediaAnswered(const QVariantHash& value, const KeloRoles& roles)
{
    // An answer for a track that is no longer playing, or to a question not asked, is stale.
    if (value.value(PlayLogicWire::Serial()).toInt() != m_serial || !m_askedNext || m_track.isEmpty()) {
        KELO_LOG_DEBUG("Player", "Ignoring a stale next media for track " << value.value(PlayLogicWire::Serial()).toInt());
        return;
    }
    m_nextAnswered = true;
    m_nextMedia = roles;
    if (m_endReached)
        advance();
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
        const KeloRoles next = m_nextMedia;  // startTrack forgets the announcement
        startTrack(next);
        return;
    }
    stopPlayback();
}

void Player::stopPlayback()
{
    m_track = KeloRoles();
    m_endReached = false;
    m_nextMedia = KeloRoles();
    m_timer->stop();
    m_clock.hold();
    m_clock.setPlayTime(0);
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
                KELO_LOG_WARN("Player", "The play logic answered " << name << " with " << data->error().Name() << ": "
                                                                    << data->error().Message());
        },
        Qt::DirectConnection);
    root->sendSetData(CMSetDataRequest(m_playLogic, value, reply));
}
