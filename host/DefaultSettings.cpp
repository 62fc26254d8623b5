#include "DefaultSettings.h"

#include "KeloPaths.h"

CMRootWorker::Settings defaultSettings()
{
    KeloValue online;
    online.setPowerTarget(KeloPowerManagerTarget(KeloPowerManagerTarget::Online));
    return {
        {KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(10000)},
        {KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(false)},
        {KeloPlayListSettingsDataBaseRecoveredPath(), KeloValue::fromString(QString())},
        {KeloPlayListSettingsPlayqueueVisibilityPath(), KeloValue::fromBool(true)},
        {KeloPlayListSettingsCollectionsVisibilityPath(), KeloValue::fromBool(true)},
        {KeloPowerManagerTargetPath(), online},
    };
}
