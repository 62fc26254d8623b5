#include "KeloEnums.h"

#include "KeloHash_p.h"

namespace {

struct EnumName
{
    int value;
    const char* name;
};

template <size_t N>
QString nameOf(const EnumName (&names)[N], int value)
{
    for (const EnumName& n : names) {
        if (n.value == value)
            return QLatin1String(n.name);
    }
    return QString::number(value);
}

template <size_t N>
int valueOf(const EnumName (&names)[N], const QString& text, int invalid)
{
    for (const EnumName& n : names) {
        if (text == QLatin1String(n.name))
            return n.value;
    }
    int number = 0;
    return KeloHashPrivate::toDecimalInt(text, &number) ? number : invalid;
}

template <size_t N>
int valueOfVariant(const EnumName (&names)[N], const QVariant& value, int invalid)
{
    if (value.userType() == QMetaType::QString)
        return valueOf(names, value.toString(), invalid);
    int number = 0;
    return KeloHashPrivate::toWholeInt(value, &number) ? number : invalid;
}

const EnumName kAddPositionNames[] = {
    {KeloPlayListAddPosition::Now, "now"},
    {KeloPlayListAddPosition::AfterCurrent, "afterCurrent"},
    {KeloPlayListAddPosition::Append, "append"},
};

const EnumName kShuffleModeNames[] = {
    {KeloPlayListPlShuffleMode::Off, "off"},
    {KeloPlayListPlShuffleMode::On, "on"},
};

const EnumName kRepeatModeNames[] = {
    {KeloPlayListPlRepeatMode::Off, "off"},
    {KeloPlayListPlRepeatMode::One, "one"},
    {KeloPlayListPlRepeatMode::All, "all"},
};

const EnumName kPlayModeNames[] = {
    {KeloPlayerPlayMode::Normal, "normal"},
    {KeloPlayerPlayMode::Shuffle, "shuffle"},
    {KeloPlayerPlayMode::RepeatOne, "repeatOne"},
    {KeloPlayerPlayMode::ShuffleRepeatOne, "shuffleRepeatOne"},
    {KeloPlayerPlayMode::RepeatAll, "repeatAll"},
    {KeloPlayerPlayMode::ShuffleRepeatAll, "shuffleRepeatAll"},
};

}  // namespace

#define KELO_ENUM_DEFINE(Type, names)                                                                   \
    QString Type::toString(int value) { return nameOf(names, value); }                                  \
    int Type::fromString(const QString& text) { return valueOf(names, text, Invalid); }                 \
    int Type::fromVariant(const QVariant& value) { return valueOfVariant(names, value, Invalid); }

KELO_ENUM_DEFINE(KeloPlayListAddPosition, kAddPositionNames)
KELO_ENUM_DEFINE(KeloPlayListPlShuffleMode, kShuffleModeNames)
KELO_ENUM_DEFINE(KeloPlayListPlRepeatMode, kRepeatModeNames)
KELO_ENUM_DEFINE(KeloPlayerPlayMode, kPlayModeNames)
