#include "PlayListWorker.h"

#include "CMError.h"
#include "CMGlobal.h"
#include "CMRoot.h"
#include "CMValueItem.h"
#include "Controller.h"
#include "Database.h"
#include "KeloLog.h"
#include "KeloPaths.h"
#include "KeloRoles.h"
#include "Language.h"
#include "PlayListManager.h"
#include "PlayListPlayLogic.h"
#include "playlistUI/PlayListUI.h"
#include "PlayListsLog.h"

namespace {
KeloValue settingsValue(const CMPath& path)
{
    return KeloValue(KeloHash(CMRoot()->getValue(path).toHash()));
}
}  // namespace

PlayListWorker::PlayListWorker(const QHash<QString, QVariant>& config)
    : CMNodesWorker(config, QStringLiteral("PlayLists"))
{
    const int itemsLimit = settingsValue(KeloPlayListsSettingsDataBaseItemsLimitPath()).i32_();
    const bool vacuum = settingsValue(KeloPlayListSettingsDataBaseVacuumPath()).bool_();
    database = new Database(itemsLimit, vacuum);
    CMGlobal::connect(database, &Database::vacuumNeeded, this, &PlayListWorker::on_databaseVacuum_needed);
    // The store vacuumed and replaced a damaged file while it opened, before anyone could listen.
    if (vacuum && !database->isVacuumNeeded())
        on_databaseVacuum_needed(false);
    if (!database->damagedFileMovedTo().isEmpty())
        CMRoot()->setValue(KeloPlayListSettingsDataBaseRecoveredPath(),
                           KeloValue::fromString(database->damagedFileMovedTo()), CMVoidReply());
    manager = new PlayListManager(database);
    ui = new PlayListUI(this, nodes(), subscribe, manager);
    controller = new Controller(this, manager);
    playLogic = new PlayListPlayLogic(this, manager);
    CMGlobal::connect(this, &PlayListWorker::setDataReceived, this, &PlayListWorker::on_setDataRequest);
    powerTargetItem = new CMValueItem(this, KeloPowerManagerTargetPath());
    CMGlobal::connect(powerTargetItem, &CMValueItem::changed, this,
                      &PlayListWorker::on_powerManagerTargetItem_changed);
}

// The browse tree and the play logic watch the model, so they go before it; the store goes last.
PlayListWorker::~PlayListWorker()
{
    delete playLogic;
    delete ui;
    delete controller;
    delete manager;
    delete database;
}

// Carried by a signal so that a request delivered from another thread is queued into this one.
bool PlayListWorker::setDataRequest(const CMSetDataRequest& request)
{
    emit setDataReceived(request);
    return true;
}

// setDataRequest has already told the framework that the request is taken, so a path that neither
// a command nor a node takes is answered here.
bool PlayListWorker::on_setDataRequest(const CMSetDataRequest& request)
{
    KELO_LOG_TRACE(PlayListsLogger, "Enter " << Q_FUNC_INFO << " routing");
    if (controller->handleSetData(request))
        return true;
    const bool taken = CMNodesWorker::setDataRequest(request);
    if (!taken && !request.reply().isFinished())
        request.reply().setError(
            CMError(CMError::NotFoundName(), KELO_TR("Nothing handles the path %1.").arg(request.path().toEncoded())));
    return taken;
}

bool PlayListWorker::getDataRequest(const CMGetDataRequest& request)
{
    const QStringList roles = request.roleNames();
    if (roles.size() == 1 && roles.first() == KeloRoles::Permission() && request.path() == KeloPlayListPlPlayPath()) {
        request.reply().setValue(QVariantList{KeloPermission::PublicReadWrite().toVariant()});
        return true;
    }
    return CMNodesWorker::getDataRequest(request);
}

// Going from online to network standby is the quiet moment in which a vacuum does not disturb.
void PlayListWorker::on_powerManagerTargetItem_changed(const KeloValue& newValue, const KeloValue& oldValue)
{
    KELO_LOG_TRACE(PlayListsLogger, "newValue=" << newValue.toVariant() << " oldValue=" << oldValue.toVariant());
    if (oldValue.powerTarget().target() == KeloPowerManagerTarget::Online &&
        newValue.powerTarget().target() == KeloPowerManagerTarget::NetworkStandby)
        database->vacuum();
}

// The flag survives a restart through the settings tree and is handed to the next store.
void PlayListWorker::on_databaseVacuum_needed(bool needed)
{
    CMRoot()->setValue(KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(needed), CMVoidReply());
}

CMAbstractWorker* worker_create(void* /*unused*/, const QHash<QString, QVariant>& config)
{
    return new PlayListWorker(config);
}
