#include "KeloJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>
#include <cmath>
#include <limits>

#include "CMError.h"
#include "CMPath.h"
#include "KeloHash.h"
#include "KeloJsonReader_p.h"
#include "KeloJson_p.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "KeloValue.h"

namespace {

QVariant wholeNumber(double d)
{
    if (!std::isfinite(d) || std::trunc(d) != d)
        return d;
    if (d >= std::numeric_limits<int>::min() && d <= std::numeric_limits<int>::max())
        return static_cast<int>(d);
    // 2^63 is exactly representable; anything at or beyond it does not fit a qlonglong.
    if (d >= -9223372036854775808.0 && d < 9223372036854775808.0)
        return static_cast<qlonglong>(d);
    return d;
}

QVariant normalizedNumber(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Double:
    case QMetaType::Float:
        return wholeNumber(value.toDouble());
    case QMetaType::LongLong:
    case QMetaType::Long: {
        const qlonglong l = value.toLongLong();
        if (l >= std::numeric_limits<int>::min() && l <= std::numeric_limits<int>::max())
            return static_cast<int>(l);
        return l;
    }
    default:
        return value;
    }
}

using KeloJsonPrivate::toJsonValue;

QJsonObject toJsonObject(const QVariantHash& hash)
{
    QJsonObject object;
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        object.insert(it.key(), toJsonValue(it.value()));
    return object;
}

// Records held in a variant are written as their JSON form rather than as null.
QJsonValue recordToJson(const QVariant& value)
{
    const int type = value.userType();
    if (type == qMetaTypeId<CMPath>())
        return value.value<CMPath>().toEncoded();
    if (type == qMetaTypeId<CMError>())
        return toJsonObject(value.value<CMError>().toVariantHash());
    if (type == qMetaTypeId<KeloHash>())
        return toJsonObject(value.value<KeloHash>().hash());
    if (type == qMetaTypeId<KeloValue>())
        return toJsonObject(value.value<KeloValue>().hash());
    if (type == qMetaTypeId<KeloRoles>())
        return toJsonObject(value.value<KeloRoles>().hash());
    if (type == qMetaTypeId<KeloRowsRoles>())
        return toJsonObject(value.value<KeloRowsRoles>().hash());
    if (type == qMetaTypeId<KeloPlayListItem>())
        return toJsonObject(value.value<KeloPlayListItem>().hash());
    return QJsonValue::fromVariant(value);
}

QVariant fromJsonValue(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Object: {
        QVariantHash hash;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            hash.insert(it.key(), fromJsonValue(it.value()));
        return hash;
    }
    case QJsonValue::Array: {
        QVariantList list;
        for (const QJsonValue& v : value.toArray())
            list.append(fromJsonValue(v));
        return list;
    }
    case QJsonValue::Double:
        return normalizedNumber(value.toVariant());
    default:
        return value.toVariant();
    }
}

}  // namespace

QJsonValue KeloJsonPrivate::toJsonValue(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash:
        return toJsonObject(value.toHash());
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            object.insert(it.key(), toJsonValue(it.value()));
        return object;
    }
    case QMetaType::QVariantList: {
        QJsonArray array;
        for (const QVariant& v : value.toList())
            array.append(toJsonValue(v));
        return array;
    }
    default:
        return recordToJson(value);
    }
}

bool KeloJson::members(const QByteArray& utf8, int longestText, QHash<QString, QByteArray>* out, int mostValues)
{
    out->clear();
    KeloJsonPrivate::Reader reader(utf8);
    reader.setLongestText(longestText);
    reader.skipSpace();
    const bool read = reader.object(1, [&](const KeloJsonPrivate::Reader::Text& text) {
        const QString key = KeloJsonPrivate::Reader::keyString(text);
        const char* begin = reader.position();
        if (out->contains(key) || !reader.value(nullptr, 1))
            return false;
        out->insert(key, QByteArray::fromRawData(begin, static_cast<int>(reader.position() - begin)));
        return true;
    });
    if (read && reader.atEnd() && reader.values() <= mostValues)
        return true;
    out->clear();
    return false;
}

QVariant KeloJson::parse(const QByteArray& utf8, bool* ok, QString* error)
{
    // The common documents are read directly; the rest (and every error message) is the document parser's.
    QVariant direct;
    if (KeloJsonPrivate::readCommon(utf8, &direct)) {
        if (ok)
            *ok = true;
        if (error)
            error->clear();
        return direct;
    }
    // The document parser takes only objects and arrays at the top; a one-element array carries any value.
    QJsonParseError parseError{};
    const QJsonDocument doc = QJsonDocument::fromJson("[" + utf8 + "]", &parseError);
    const bool parsed = parseError.error == QJsonParseError::NoError && doc.array().size() == 1;
    if (ok)
        *ok = parsed;
    if (!parsed) {
        if (error) {
            *error = parseError.error == QJsonParseError::NoError
                         ? QStringLiteral("expected exactly one JSON value")
                         : QStringLiteral("%1 at offset %2")
                               .arg(parseError.errorString())
                               .arg(qBound(0, parseError.offset - 1, utf8.size()));
        }
        return QVariant();
    }
    if (error)
        error->clear();
    return fromJsonValue(doc.array().at(0));
}

QVariant KeloJson::parse(const QString& text, bool* ok, QString* error)
{
    return parse(text.toUtf8(), ok, error);
}

QString KeloJson::stringify(const QVariant& value)
{
    return QString::fromUtf8(stringifyUtf8(value));
}

QByteArray KeloJson::stringifyUtf8(const QVariant& value)
{
    QByteArray text;
    KeloJsonPrivate::write(value, &text);
    return text;
}

QVariant KeloJson::normalize(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash: {
        QVariantHash hash = value.toHash();
        for (auto it = hash.begin(); it != hash.end(); ++it)
            it.value() = normalize(it.value());
        return hash;
    }
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            it.value() = normalize(it.value());
        return map;
    }
    case QMetaType::QVariantList: {
        QVariantList list = value.toList();
        for (QVariant& v : list)
            v = normalize(v);
        return list;
    }
    default:
        return normalizedNumber(value);
    }
}
