#include "KeloPlayLogic.h"

#include <chrono>

qint64 QElapsedTimer_getMonotonicMsecs()
{
    const auto sinceEpoch = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
}

bool KeloPlayLogicPlayModesSupported::supports(int mode) const
{
    switch (mode) {
    case KeloPlayerPlayMode::Normal:
        return true;
    case KeloPlayerPlayMode::Shuffle:
        return shuffle();
    case KeloPlayerPlayMode::RepeatOne:
        return repeatOne();
    case KeloPlayerPlayMode::ShuffleRepeatOne:
        return shuffleRepeatOne();
    case KeloPlayerPlayMode::RepeatAll:
        return repeatAll();
    case KeloPlayerPlayMode::ShuffleRepeatAll:
        return shuffleRepeatAll();
    default:
        return false;
    }
}

static bool isPlayMode(int mode)
{
    return mode >= KeloPlayerPlayMode::Normal && mode <= KeloPlayerPlayMode::ShuffleRepeatAll;
}

KeloPlayerPlayMode::Enum KeloPlayLogicData::playMode() const
{
    const int mode = intOr(PlayMode(), KeloPlayerPlayMode::Normal);
    return isPlayMode(mode) ? KeloPlayerPlayMode::Enum(mode) : KeloPlayerPlayMode::Normal;
}

int KeloPlayLogicChangePlayModeArgs::playMode() const
{
    const QVariant value = get(QStringLiteral("playMode"));
    if (!value.isValid())
        return KeloPlayerPlayMode::Invalid;
    const int mode = KeloPlayerPlayMode::fromVariant(value);
    return isPlayMode(mode) ? mode : KeloPlayerPlayMode::Invalid;
}
