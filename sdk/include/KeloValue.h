#pragma once
// KeloValue: the typed variant of the settings tree and of a row's "value" role.
// JSON: {"type": "i32_", "i32_": 5}, {"type": "bool_", "bool_": true}, {"type": "string_", "string_": "Mix"},
// {"type": "powerTarget", "powerTarget": {"target": 2}}. A getter of another type than the one held
// answers its zero value (0, false, empty), never an error.
#include "KeloHash.h"

// Power-manager targets: 0 off, 1 online, 2 networkStandby.
class KeloPowerManagerTarget : public KeloHash
{
public:
    enum Enum { Off = 0, Online = 1, NetworkStandby = 2 };
    KeloPowerManagerTarget() = default;
    explicit KeloPowerManagerTarget(const KeloHash& hash) : KeloHash(hash) {}
    explicit KeloPowerManagerTarget(int target) { setTarget(target); }
    int target() const { return intOr(QStringLiteral("target"), 0); }
    void setTarget(int target) { set(QStringLiteral("target"), target); }
    static QString toString(int target);
    static int fromString(const QString& name);  // a name or a number; -1 for anything else
};

class KeloValue : public KeloHash
{
public:
    KeloValue() = default;
    KeloValue(const KeloHash& hash) : KeloHash(hash) {}  // NOLINT: a KeloValue is read from a variant hash
    static KeloValue fromI32(int v) { KeloValue k; k.setI32_(v); return k; }
    static KeloValue fromBool(bool v) { KeloValue k; k.setBool_(v); return k; }
    static KeloValue fromString(const QString& v) { KeloValue k; k.setString_(v); return k; }

    QString type() const { return stringOr(QStringLiteral("type")); }
    bool isI32_() const { return type() == QLatin1String("i32_"); }
    bool isBool_() const { return type() == QLatin1String("bool_"); }
    bool isString_() const { return type() == QLatin1String("string_"); }
    bool isPowerTarget() const { return type() == QLatin1String("powerTarget"); }

    int i32_() const { return isI32_() ? intOr(QStringLiteral("i32_"), 0) : 0; }
    bool bool_() const { return isBool_() && boolOr(QStringLiteral("bool_"), false); }
    QString string_() const { return isString_() ? stringOr(QStringLiteral("string_")) : QString(); }
    KeloPowerManagerTarget powerTarget() const
    {
        return isPowerTarget() ? KeloPowerManagerTarget(KeloHash(hashOf(QStringLiteral("powerTarget"))))
                               : KeloPowerManagerTarget();
    }

    void setI32_(int v) { setTyped(QStringLiteral("i32_"), v); }
    void setBool_(bool v) { setTyped(QStringLiteral("bool_"), v); }
    void setString_(const QString& v) { setTyped(QStringLiteral("string_"), v); }
    void setPowerTarget(const KeloPowerManagerTarget& v) { setTyped(QStringLiteral("powerTarget"), v.toVariant()); }

    // True when the hash has the form of a KeloValue: a known "type" and a member of that type.
    bool isWellFormed() const;

private:
    void setTyped(const QString& type, const QVariant& v)
    {
        m_hash.clear();
        m_hash.insert(QStringLiteral("type"), type);
        m_hash.insert(type, v);
    }
};

Q_DECLARE_METATYPE(KeloValue)
