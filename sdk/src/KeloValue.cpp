#include "KeloValue.h"

#include "KeloHash_p.h"

namespace {

const QString kTarget = QStringLiteral("target");

struct TargetName
{
    int target;
    const char* name;
};

const TargetName kTargetNames[] = {
    {KeloPowerManagerTarget::Off, "off"},
    {KeloPowerManagerTarget::Online, "online"},
    {KeloPowerManagerTarget::NetworkStandby, "networkStandby"},
};

}  // namespace

QString KeloPowerManagerTarget::toString(int target)
{
    for (const TargetName& t : kTargetNames) {
        if (t.target == target)
            return QLatin1String(t.name);
    }
    return QString::number(target);
}

int KeloPowerManagerTarget::fromString(const QString& name)
{
    for (const TargetName& t : kTargetNames) {
        if (name == QLatin1String(t.name))
            return t.target;
    }
    int number = 0;
    return KeloHashPrivate::toDecimalInt(name, &number) ? number : -1;
}

bool KeloValue::isWellFormed() const
{
    const QVariant member = get(type());
    int whole = 0;
    if (isI32_())
        return KeloHashPrivate::toWholeInt(member, &whole);
    if (isBool_())
        return member.userType() == QMetaType::Bool;
    if (isString_())
        return member.userType() == QMetaType::QString;
    if (isPowerTarget())
        return KeloHashPrivate::toWholeInt(KeloHashPrivate::toHash(member).value(kTarget), &whole);
    return false;
}
