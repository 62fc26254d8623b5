#pragma once
// KeloHash: the base of every SDK record. A record is a string-to-variant hash whose keys are the
// record's JSON keys, so every record converts to and from its JSON form (docs/api.md) as it is.
// Records are plain values: copy them freely, use them from any thread (no sharing between copies).
#include <QHash>
#include <QJsonObject>
#include <QMetaType>
#include <QString>
#include <QVariant>

class KeloHash
{
public:
    KeloHash() = default;
    KeloHash(const QHash<QString, QVariant>& hash) : m_hash(hash) {}  // NOLINT: implicit on purpose
    virtual ~KeloHash() = default;

    const QVariantHash& hash() const { return m_hash; }
    QVariant toVariant() const { return m_hash; }
    QJsonObject toJson() const { return QJsonObject::fromVariantHash(m_hash); }
    static KeloHash fromJson(const QJsonObject& object) { return KeloHash(object.toVariantHash()); }

    bool isEmpty() const { return m_hash.isEmpty(); }
    bool contains(const QString& key) const { return m_hash.contains(key); }
    QVariant get(const QString& key) const { return m_hash.value(key); }
    void set(const QString& key, const QVariant& value) { m_hash.insert(key, value); }
    void remove(const QString& key) { m_hash.remove(key); }

    bool operator==(const KeloHash& other) const { return m_hash == other.m_hash; }
    bool operator!=(const KeloHash& other) const { return m_hash != other.m_hash; }

protected:
    // Typed reads that never fail: a missing key or a value of another type gives the fallback.
    int intOr(const QString& key, int fallback) const;
    bool boolOr(const QString& key, bool fallback) const;
    QString stringOr(const QString& key, const QString& fallback = QString()) const;
    QVariantHash hashOf(const QString& key) const;
    QVariantList listOf(const QString& key) const;

    QVariantHash m_hash;
};

Q_DECLARE_METATYPE(KeloHash)
