#include "KeloHash.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>
#include <cmath>
#include <limits>

#include "CMError.h"
#include "CMPath.h"
#include "KeloHash_p.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "KeloValue.h"

namespace KeloHashPrivate {

bool toWholeInt(const QVariant& value, int* out)
{
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    switch (static_cast<QMetaType::Type>(value.userType())) {
    case QMetaType::Int:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
        break;
    default:
        return false;  // bools, texts and everything else are not numbers here
    }
    if (value.userType() == QMetaType::ULongLong || value.userType() == QMetaType::ULong) {
        const qulonglong u = value.toULongLong();
        if (u > static_cast<qulonglong>(std::numeric_limits<int>::max()))
            return false;
        *out = static_cast<int>(u);
        return true;
    }
    if (value.userType() == QMetaType::LongLong || value.userType() == QMetaType::Long) {
        const qlonglong l = value.toLongLong();
        if (l < std::numeric_limits<int>::min() || l > std::numeric_limits<int>::max())
            return false;
        *out = static_cast<int>(l);
        return true;
    }
    const double d = value.toDouble();
    if (!std::isfinite(d) || std::trunc(d) != d || d < lowest || d > highest)
        return false;
    *out = static_cast<int>(d);
    return true;
}

bool toDecimalInt(const QString& text, int* out)
{
    const int digitsFrom = text.startsWith(QLatin1Char('-')) ? 1 : 0;
    if (text.size() == digitsFrom)
        return false;
    for (int i = digitsFrom; i < text.size(); ++i) {
        if (text.at(i) < QLatin1Char('0') || text.at(i) > QLatin1Char('9'))
            return false;
    }
    bool ok = false;
    const int number = text.toInt(&ok, 10);
    if (ok)
        *out = number;
    return ok;
}

bool holdsHash(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash:
    case QMetaType::QVariantMap:
    case QMetaType::QJsonObject:
        return true;
    case QMetaType::QJsonValue:
        return value.toJsonValue().isObject();
    default:
        return false;
    }
}

QVariantHash toHash(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash:
        return value.toHash();
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        QVariantHash hash;
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            hash.insert(it.key(), it.value());
        return hash;
    }
    case QMetaType::QJsonObject:
        return value.toJsonObject().toVariantHash();
    case QMetaType::QJsonValue:
        return value.toJsonValue().toObject().toVariantHash();
    default:
        return {};
    }
}

QVariantList toList(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QVariantList:
        return value.toList();
    case QMetaType::QStringList: {
        QVariantList list;
        for (const QString& s : value.toStringList())
            list.append(s);
        return list;
    }
    case QMetaType::QJsonArray:
        return value.toJsonArray().toVariantList();
    case QMetaType::QJsonValue:
        return value.toJsonValue().toArray().toVariantList();
    default:
        return {};
    }
}

}  // namespace KeloHashPrivate

int KeloHash::intOr(const QString& key, int fallback) const
{
    int v = 0;
    return KeloHashPrivate::toWholeInt(m_hash.value(key), &v) ? v : fallback;
}

bool KeloHash::boolOr(const QString& key, bool fallback) const
{
    const QVariant v = m_hash.value(key);
    return v.userType() == QMetaType::Bool ? v.toBool() : fallback;
}

QString KeloHash::stringOr(const QString& key, const QString& fallback) const
{
    const QVariant v = m_hash.value(key);
    return v.userType() == QMetaType::QString ? v.toString() : fallback;
}

QVariantHash KeloHash::hashOf(const QString& key) const
{
    return KeloHashPrivate::toHash(m_hash.value(key));
}

QVariantList KeloHash::listOf(const QString& key) const
{
    return KeloHashPrivate::toList(m_hash.value(key));
}

namespace {

template <typename T>
void registerRecordType(const char* name)
{
    qRegisterMetaType<T>(name);
    if (!QMetaType::hasRegisteredComparators<T>())
        QMetaType::registerEqualsComparator<T>();
}

// Every record may travel in a queued signal; they are registered in this one place when the SDK loads.
void registerRecordTypes()
{
    registerRecordType<KeloHash>("KeloHash");
    registerRecordType<KeloValue>("KeloValue");
    registerRecordType<KeloRoles>("KeloRoles");
    registerRecordType<KeloRowsRoles>("KeloRowsRoles");
    registerRecordType<KeloPlayListItem>("KeloPlayListItem");
    registerRecordType<CMPath>("CMPath");
    qRegisterMetaType<CMError>("CMError");
}

}  // namespace

Q_CONSTRUCTOR_FUNCTION(registerRecordTypes)
