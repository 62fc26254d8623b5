#pragma once
// The module's worker: the one object the host asks the plug-in for. It builds the store, the
// model, the browse tree, the command controller and the play logic, and is the entry of every
// request the host sends to "playlists:". Every command is carried through the worker's own signal
// setDataReceived, so commands sent from any thread run one at a time in the worker's thread.
#include <QHash>
#include <QString>
#include <QVariant>

#include "CMWorker.h"
#include "KeloValue.h"

class CMValueItem;
class Controller;
class Database;
class PlayListManager;
class PlayListPlayLogic;
class PlayListUI;

class PlayListWorker : public CMNodesWorker
{
    Q_OBJECT
public:
    // Reads the items limit and the vacuum flag from the settings tree (CMRoot() must exist), and
    // writes back the flag when the open vacuumed, and settings:playlists/dbRecovered (where the
    // damaged file went) when the open replaced a damaged store.
    explicit PlayListWorker(const QHash<QString, QVariant>& config);
    ~PlayListWorker() override;

    // Only emits setDataReceived.
    bool setDataRequest(const CMSetDataRequest& request) override;
    // Answers the permission of the play command path; everything else goes to the nodes.
    bool getDataRequest(const CMGetDataRequest& request) override;

    // Set once in the constructor, never replaced; not owned by callers.
    Controller* getController() const { return controller; }
    Database* getDatabase() const { return database; }
    PlayListManager* getManager() const { return manager; }
    PlayListUI* getUI() const { return ui; }
    PlayListPlayLogic* getPlayLogic() const { return playLogic; }

signals:
    void setDataReceived(const CMSetDataRequest& request);

private slots:
    bool on_setDataRequest(const CMSetDataRequest& request);
    void on_powerManagerTargetItem_changed(const KeloValue& newValue, const KeloValue& oldValue);
    void on_databaseVacuum_needed(bool needed);

private:
    Controller* controller = nullptr;
    Database* database = nullptr;
    PlayListManager* manager = nullptr;
    PlayListUI* ui = nullptr;
    PlayListPlayLogic* playLogic = nullptr;
    CMValueItem* powerTargetItem = nullptr;
};

// The plug-in's entry: a new PlayListWorker, owned by the host. The first argument is not used.
extern "C" Q_DECL_EXPORT CMAbstractWorker* worker_create(void* unused, const QHash<QString, QVariant>& config);
