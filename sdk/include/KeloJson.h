#pragma once
// JSON text <-> variants. Objects become QVariantHash, arrays QVariantList, numbers that are whole
// become int (or qlonglong when they do not fit), others double. Any thread.
#include <QString>
#include <QVariant>

class KeloJson
{
public:
    // Parses a JSON text. On a syntax error: an invalid QVariant, *ok false (when given) and *error set.
    static QVariant parse(const QString& text, bool* ok = nullptr, QString* error = nullptr);
    static QVariant parse(const QByteArray& utf8, bool* ok = nullptr, QString* error = nullptr);
    // Compact JSON text of a variant (hash, list, string, number, bool, null).
    static QString stringify(const QVariant& value);
    // The same text in UTF-8, as it goes on the wire.
    static QByteArray stringifyUtf8(const QVariant& value);
    // Turns JSON numbers that are whole into int, recursively, so that typed accessors read them.
    static QVariant normalize(const QVariant& value);
};
