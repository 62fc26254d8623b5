#pragma once
// The SDK's enumerations with their names. toString gives the name (a number that has no name gives
// its decimal text); fromString takes a name or a decimal number and gives Invalid for anything else.
#include <QString>

#define KELO_ENUM_CONVERSIONS                                                                             \
    static constexpr int Invalid = 0x7fffffff;                                                            \
    static QString toString(int value);                                                                   \
    static int fromString(const QString& text);                                                           \
    static int fromVariant(const QVariant& value); /* a number, or a text as in fromString */

#include <QVariant>

struct KeloPlayListAddPosition
{
    enum Enum { Now = 0, AfterCurrent = 1, Append = 2 };  // "now", "afterCurrent", "append"
    KELO_ENUM_CONVERSIONS
};

struct KeloPlayListPlShuffleMode
{
    enum Enum { Off = 0, On = 1 };  // "off", "on"
    KELO_ENUM_CONVERSIONS
};

struct KeloPlayListPlRepeatMode
{
    enum Enum { Off = 0, One = 1, All = 2 };  // "off", "one", "all"; 3 only as a number
    KELO_ENUM_CONVERSIONS
};

struct KeloPlayerPlayMode
{
    // "normal", "shuffle", "repeatOne", "shuffleRepeatOne", "repeatAll", "shuffleRepeatAll"; odd values shuffle.
    enum Enum { Normal = 0, Shuffle = 1, RepeatOne = 2, ShuffleRepeatOne = 3, RepeatAll = 4, ShuffleRepeatAll = 5 };
    KELO_ENUM_CONVERSIONS
};

#undef KELO_ENUM_CONVERSIONS
