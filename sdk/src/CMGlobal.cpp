#include "CMGlobal.h"

#include "CMError.h"
#include "CMPath.h"
#include "CMReply.h"
#include "CMRequest.h"
#include "KeloLog.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "KeloValue.h"

namespace {
// Every SDK type that travels in a signal or a queued call is known by name from the moment the
// library is loaded, so connections across threads can be checked before the first one is made.
void registerSdkMetaTypes()
{
    qRegisterMetaType<CMPath>("CMPath");
    qRegisterMetaType<CMError>("CMError");
    qRegisterMetaType<KeloHash>("KeloHash");
    qRegisterMetaType<KeloValue>("KeloValue");
    qRegisterMetaType<KeloRoles>("KeloRoles");
    qRegisterMetaType<KeloRowsRoles>("KeloRowsRoles");
    qRegisterMetaType<KeloPlayListItem>("KeloPlayListItem");
    qRegisterMetaType<CMVoidReply>("CMVoidReply");
    qRegisterMetaType<CMSetDataRequest>("CMSetDataRequest");
    qRegisterMetaType<CMGetRowsRequest>("CMGetRowsRequest");
    qRegisterMetaType<CMGetDataRequest>("CMGetDataRequest");
}
}  // namespace
Q_CONSTRUCTOR_FUNCTION(registerSdkMetaTypes)

namespace CMGlobal {

QVariant itemRolesToList(const KeloRoles& roles, const QStringList& roleNames)
{
    if (roleNames.isEmpty())
        return roles.toVariant();
    QVariantHash row;
    for (const QString& name : roleNames) {
        if (roles.contains(name))
            row.insert(name, roles.get(name));
    }
    return row;
}

bool verifyConnectionSignalParameters(const QMetaMethod& signal)
{
    if (!signal.isValid())
        return false;
    const QList<QByteArray> types = signal.parameterTypes();
    for (const QByteArray& type : types) {
        if (type.endsWith('*'))
            continue;
        if (QMetaType::type(type.constData()) == QMetaType::UnknownType) {
            KELO_LOG_ERROR(KeloLog::FrameworkLogger, "signal " << signal.methodSignature() << " cannot be queued: " << type
                                                  << " is not a registered meta-type");
            return false;
        }
    }
    return true;
}

}  // namespace CMGlobal
