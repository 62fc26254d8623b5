#include "PlayLogic.h"

#include "CMGlobal.h"
#include "CMNodes.h"
#include "CMRoot.h"
#include "KeloJson.h"
#include "KeloLog.h"

namespace {
const char* const kLogger = "PlayLogic";

void answer(const CMSetDataRequest& request)
{
    request.reply().setValue(QVariant());
}
}  // namespace

PlayLogicBase::PlayLogicBase(const CMPath& path, QObject* parent) : CMNode(path, parent) {}

void PlayLogicBase::setData(const KeloPlayLogicData& data)
{
    KELO_ASSERT_THREAD(this);
    m_data = data;
    sendToPlayer(PlayLogicWire::Data(), {{PlayLogicWire::Data(), data.toVariant()}});
}

void PlayLogicBase::setPlayMode(KeloPlayerPlayMode::Enum mode)
{
    KELO_ASSERT_THREAD(this);
    KeloPlayLogicData data = m_data;
    data.setPlayMode(mode);
    setData(data);
}

void PlayLogicBase::sendToPlayer(const QString& command, const QVariantHash& fields) const
{
    CMRootWorker* root = CMRoot();
    if (!root) {
        KELO_LOG_WARN(kLogger, "No root worker, command dropped: " << command);
        return;
    }
    QVariantHash value = fields;
    value.insert(PlayLogicWire::Command(), command);
    value.insert(PlayLogicWire::From(), path().toEncoded());
    root->sendSetData(CMSetDataRequest(KeloPlayerPlayLogicPath(), value));
}

StreamerPlayLogic::StreamerPlayLogic(CMNodes* nodes, const CMPath& path, QObject* parent)
    : PlayLogicBase(path, parent)
{
    setNodes(nodes);
}

bool StreamerPlayLogic::setDataRequest(const CMSetDataRequest& request)
{
    KELO_ASSERT_THREAD(this);
    const QVariantHash value = request.value().toHash();
    const QString call = value.value(PlayLogicWire::Call()).toString();
    if (value.contains(PlayLogicWire::PlayTime()))
        setPlayTime(value.value(PlayLogicWire::PlayTime()).toLongLong());
    KELO_LOG_TRACE(kLogger, "call=" << call << " playTime=" << playTime());
    if (dispatch(call, request, value))
        return true;
    return handleAlternate(request);
}

bool StreamerPlayLogic::dispatch(const QString& call, const CMSetDataRequest& request, const QVariantHash& value)
{
    const KeloHash args(value.value(PlayLogicWire::Args()).toHash());
    if (call == PlayLogicWire::Play())
        playInternal(request, KeloPlayLogicPlayArgs(args));
    else if (call == PlayLogicWire::Stop())
        stopInternal(request);
    else if (call == PlayLogicWire::Next())
        nextInternal(request);
    else if (call == PlayLogicWire::Previous())
        previousInternal(request);
    else if (call == PlayLogicWire::ChangePlayMode())
        changePlayMode(request);
    else if (call == PlayLogicWire::PrepareNextMedia())
        onPrepareNextMedia(request, value.value(PlayLogicWire::Serial(), -1).toInt());
    else if (call == PlayLogicWire::MediaPlaybackStarted())
        onMediaPlaybackStarted(request, value);
    else if (call == PlayLogicWire::StreamError())
        onStreamError(request, value);
    else
        return false;
    return true;
}

KeloPlayLogicPlayModesSupported StreamerPlayLogic::playModesSupported() const
{
    KELO_ASSERT_THREAD(this);
    return KeloPlayLogicPlayModesSupported();
}

void StreamerPlayLogic::playInternal(const CMSetDataRequest& request, const KeloPlayLogicPlayArgs& args)
{
    sendPlayCommand(args.trackRoles(), KeloHash());
    answer(request);
}

void StreamerPlayLogic::stopInternal(const CMSetDataRequest& request)
{
    answer(request);
}

void StreamerPlayLogic::nextInternal(const CMSetDataRequest& request)
{
    answer(request);
}

void StreamerPlayLogic::previousInternal(const CMSetDataRequest& request)
{
    answer(request);
}

void StreamerPlayLogic::changePlayModeInternal(const CMSetDataRequest& request)
{
    const KeloPlayLogicChangePlayModeArgs args(KeloHash(request.value().toHash()));
    setPlayMode(KeloPlayerPlayMode::Enum(args.playMode()));
    answer(request);
}

void StreamerPlayLogic::prepareNextMedia()
{
    sendNoNextMediaCommand();
}

KeloPlayLogicData StreamerPlayLogic::mediaPlaybackStarted(const KeloRoles&, const KeloRoles&)
{
    KeloPlayLogicData result = data();
    result.remove(KeloPlayLogicData::Error());
    result.remove(KeloPlayLogicData::StreamerError());
    return result;
}

void StreamerPlayLogic::tryResumePlayback()
{
    playbackEnded();
}

bool StreamerPlayLogic::handleAlternate(const CMSetDataRequest& request)
{
    KELO_LOG_WARN(kLogger, "Not a play-logic call: " << KeloJson::stringify(request.value()));
    request.reply().setError(CMError(CMError::BadRequestName(),
                                     QStringLiteral("Not a play-logic call; expected {\"call\": <name>, ...}")));
    return true;
}

void StreamerPlayLogic::changePlayMode(const CMSetDataRequest& request)
{
    const KeloPlayLogicChangePlayModeArgs args(KeloHash(request.value().toHash()));
    const int mode = args.playMode();
    if (!isPlayModeSupported(mode)) {
        KELO_LOG_WARN(kLogger, "Play mode not supported: " << args.get(QStringLiteral("playMode")).toString());
        request.reply().setError(CMError(CMError::BadRequestName(), QStringLiteral("Play mode not supported")));
        return;
    }
    changePlayModeInternal(request);
}

void StreamerPlayLogic::onPrepareNextMedia(const CMSetDataRequest& request, int serial)
{
    m_nextMediaSerial = serial;
    prepareNextMedia();
    answer(request);
}

void StreamerPlayLogic::onMediaPlaybackStarted(const CMSetDataRequest& request, const QVariantHash& value)
{
    const KeloRoles oldRoles(KeloHash(value.value(PlayLogicWire::OldRoles()).toHash()));
    const KeloRoles newRoles(KeloHash(value.value(PlayLogicWire::NewRoles()).toHash()));
    KeloPlayLogicData current = data();
    current.setTrackRoles(newRoles);
    // The override starts from data whose track is the one that started; only its result is sent.
    storeData(current);
    setData(mediaPlaybackStarted(oldRoles, newRoles));
    answer(request);
}

void StreamerPlayLogic::onStreamError(const CMSetDataRequest& request, const QVariantHash& value)
{
    KeloPlayLogicData current = data();
    current.setStreamerError(KeloError(KeloHash(value.value(PlayLogicWire::Error()).toHash())));
    storeData(current);
    tryResumePlayback();
    answer(request);
}

void StreamerPlayLogic::sendPlayCommand(const KeloRoles& roles, const KeloHash& args)
{
    sendToPlayer(PlayLogicWire::Play(), {{PlayLogicWire::Roles(), roles.toVariant()}, {PlayLogicWire::Args(), args.toVariant()}});
}

void StreamerPlayLogic::sendSetNextMediaCommand(const KeloRoles& roles, const KeloHash& args)
{
    sendToPlayer(PlayLogicWire::SetNextMedia(), {{PlayLogicWire::Roles(), roles.toVariant()},
                                                  {PlayLogicWire::Args(), args.toVariant()},
                                                  {PlayLogicWire::Serial(), m_nextMediaSerial}});
}

void StreamerPlayLogic::sendNoNextMediaCommand()
{
    sendToPlayer(PlayLogicWire::NoNextMedia(), {{PlayLogicWire::Serial(), m_nextMediaSerial}});
}

void StreamerPlayLogic::playbackEnded()
{
    sendToPlayer(PlayLogicWire::PlaybackEnded());
}
