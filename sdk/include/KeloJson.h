#pragma once
// JSON text <-> variants. Objects become QVariantHash, arrays QVariantList, numbers that are whole
// become int (or qlonglong when they do not fit), others double. Any thread.
#include <QHash>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <limits>
#include <memory>

// A JSON value still as its UTF-8 text, already checked to be JSON: a large value crosses threads
// this way, and whoever reads it decodes it (KeloJson::parse), or reads it straight into values.
// utf8 may point into a larger text without owning it (QByteArray::fromRawData): keeper then holds
// that text, and the bytes live as long as a copy of this value does.
struct KeloJsonText
{
    QByteArray utf8;
    std::shared_ptr<const void> keeper;
};
Q_DECLARE_METATYPE(KeloJsonText)

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
    // The members of a JSON object text, each value kept as its own JSON text, after checking the
    // whole text. False when the text is not a JSON object in the common forms the direct reader takes
    // (no repeated keys, no \u escapes, no fractions or exponents, nesting up to 256) or holds a text,
    // keys included, longer than longestText UTF-16 units, or holds more than mostValues values (each
    // '{', '[' and ',' outside texts starts one more, so an empty object or array counts twice);
    // parse() then settles it. Each member's text points into utf8 (QByteArray::fromRawData, no
    // copy): utf8's bytes must outlive them.
    static bool members(const QByteArray& utf8, int longestText, QHash<QString, QByteArray>* out,
                        int mostValues = std::numeric_limits<int>::max());
    // Turns JSON numbers that are whole into int, recursively, so that typed accessors read them.
    static QVariant normalize(const QVariant& value);
};
