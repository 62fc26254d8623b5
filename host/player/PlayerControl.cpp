// The user's controls of the player.
#include "CMRoot.h"
#include "KeloLog.h"
#include "Player.h"
#include "PlayLogic.h"
#include "HostLog.h"

namespace {
CMError badRequest(const QString& message)
{
    return CMError(CMError::BadRequestName(), message);
}

CMError playerError(const QString& message)
{
    return CMError(QStringLiteral("PlayerError"), message);
}

bool isObject(const QVariant& v)
{
    return v.type() == QVariant::Hash || v.type() == QVariant::Map;
}

bool isWholeNumber(const QVariant& v)
{
    return v.type() == QVariant::Int || v.type() == QVariant::LongLong;
}
}  // namespace

CMError Player::control(const QVariantHash& value)
{
    const QString name = value.value(QStringLiteral("control")).toString();
    KELO_LOG_DEBUG(PlayerLogger, "control=" << name);
    if (name == QLatin1String("playContainer"))
        return playContainer(value);
    if (name == QLatin1String("seek"))
        return seek(value);
    if (name == QLatin1String("playMode"))
        return changePlayMode(value);
    if (name == QLatin1String("next") || name == QLatin1String("previous"))
        return forward(name == QLatin1String("next") ? PlayLogicWire::Next() : PlayLogicWire::Previous());
    if (name == QLatin1String("streamError"))
        return failStream(value);
    if (name == QLatin1String("volume"))
        return changeVolume(value);
    if (name == QLatin1String("pause"))
        pause();
    else if (name == QLatin1String("resume"))
        resume();
    else if (name == QLatin1String("stop"))
        stop();
    else if (name == QLatin1String("endOfTrack"))
        endOfTrack();
    else
        return badRequest(QStringLiteral("Unknown control; expected {\"control\": \"playContainer\" | \"pause\" | "
                                         "\"resume\" | \"stop\" | \"next\" | \"previous\" | \"seek\" | \"playMode\" | "
                                         "\"endOfTrack\" | \"streamError\" | \"volume\", ...}"));
    return CMError();
}

CMError Player::playContainer(const QVariantHash& value)
{
    const QVariant container = value.value(QStringLiteral("containerRoles"), QVariantHash());
    const QVariant track = value.value(QStringLiteral("trackRoles"));
    const QVariant index = value.value(QStringLiteral("index"), 0);
    if (!isObject(container) || !isObject(track) || !isWholeNumber(index))
        return badRequest(QStringLiteral("playContainer takes \"containerRoles\" and \"trackRoles\" (objects) "
                                         "and \"index\" (a whole number)"));
    const KeloRoles containerRoles(KeloHash(container.toHash()));
    const KeloRoles trackRoles(KeloHash(track.toHash()));
    CMPath playLogic = trackRoles.mediaData().metaData().playLogicPath();
    if (playLogic.isEmpty())
        playLogic = containerRoles.mediaData().metaData().playLogicPath();
    if (playLogic.isEmpty())
        return badRequest(QStringLiteral("The roles name no play logic (mediaData.metaData.playLogicPath)"));

    if (!m_playLogic.isEmpty() && m_playLogic != playLogic) {
        call(PlayLogicWire::Stop());
        m_data = KeloPlayLogicData();
    }
    m_playLogic = playLogic;
    m_containerRoles = containerRoles;
    m_startPaused = value.value(QStringLiteral("paused")).toBool();
    KeloPlayLogicPlayArgs args;
    args.setMediaRoles(containerRoles);
    args.setTrackRoles(trackRoles);
    args.setIndex(index.toInt());
    args.setType(KeloRolesType::Container);
    call(PlayLogicWire::Play(), {{PlayLogicWire::Args(), args.toVariant()}});
    publish();
    return CMError();
}

CMError Player::seek(const QVariantHash& value)
{
    const QVariant ms = value.value(QStringLiteral("ms"));
    if (!isWholeNumber(ms) || ms.toLongLong() < 0)
        return badRequest(QStringLiteral("seek takes \"ms\", a whole number of milliseconds, 0 or more"));
    if (m_track.isEmpty())
        return playerError(QStringLiteral("Nothing is playing"));
    const qint64 duration = durationMs();
    m_output->seek(duration > 0 ? qMin(ms.toLongLong(), duration) : ms.toLongLong());
    schedule();
    publish(true);
    return CMError();
}

CMError Player::changePlayMode(const QVariantHash& value)
{
    const QVariant mode = value.value(QStringLiteral("mode"));
    const int number = mode.isValid() ? KeloPlayerPlayMode::fromVariant(mode) : KeloPlayerPlayMode::Invalid;
    if (number < KeloPlayerPlayMode::Normal || number > KeloPlayerPlayMode::ShuffleRepeatAll)
        return badRequest(QStringLiteral("playMode takes \"mode\", 0..5 or the name of a play mode"));
    if (m_playLogic.isEmpty())
        return playerError(QStringLiteral("No play logic to ask; play something first"));
    KeloPlayLogicChangePlayModeArgs args;
    args.setPlayMode(number);
    call(PlayLogicWire::ChangePlayMode(), args.hash());
    return CMError();
}

CMError Player::forward(const QString& name)
{
    if (m_playLogic.isEmpty())
        return playerError(QStringLiteral("No play logic to ask; play something first"));
    // The play logic names the track to play; an announcement queued for a gapless start is void.
    m_output->queue(QString(), 0);
    m_skipAsked = true;
    call(name);
    return CMError();
}

CMError Player::failStream(const QVariantHash& value)
{
    const QVariant code = value.value(QStringLiteral("code"));
    if (!isWholeNumber(code))
        return badRequest(QStringLiteral("streamError takes \"code\", a whole number"));
    if (m_track.isEmpty())
        return playerError(QStringLiteral("Nothing is playing"));
    streamError(code.toInt());
    return CMError();
}

CMError Player::changeVolume(const QVariantHash& value)
{
    const QVariant level = value.value(QStringLiteral("level"));
    if (!isWholeNumber(level) || level.toInt() < 0 || level.toInt() > 100)
        return badRequest(QStringLiteral("volume takes \"level\", a whole number from 0 to 100"));
    applyVolume(level.toInt());
    if (CMRootWorker* root = CMRoot()) {
        CMReply<QVariant> reply;
        root->setValue(volumePath(), KeloValue::fromI32(level.toInt()), reply);
        if (reply.hasError())
            KELO_LOG_WARN(PlayerLogger, "The volume is not kept: " << reply.error().Message());
    }
    return CMError();
}

void Player::pause()
{
    if (m_state != State::Playing)
        return;
    m_output->pause();
    setState(State::Paused);
    schedule();
}

void Player::resume()
{
    if (m_state != State::Paused)
        return;
    m_output->resume();
    setState(State::Playing);
    schedule();
}

void Player::stop()
{
    call(PlayLogicWire::Stop());
    stopPlayback();
}

void Player::endOfTrack()
{
    if (m_track.isEmpty() || m_endReached)
        return;
    m_output->pause();
    m_endReached = true;
    if (m_skipAsked) {
        // The track the play logic names for the skip comes next, not the announcement it voided; the
        // wait for it is bounded as the wait for an announcement is.
        m_nextMedia = KeloRoles();
        m_nextAnswered = false;
        schedule();
        return;
    }
    if (!m_askedNext)
        askForNextMedia();
    if (m_nextAnswered)
        advance();
    else
        schedule();
}

void Player::streamError(int code)
{
    KeloError error;
    error.setCode(code);
    error.setMessage(QStringLiteral("The stream failed"));
    m_track = KeloRoles();
    m_endReached = false;
    m_output->stop();
    m_timer->stop();
    setState(State::Stopped);
    call(PlayLogicWire::StreamError(), {{PlayLogicWire::Error(), error.toVariant()}});
}
