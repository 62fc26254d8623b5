#pragma once
// The root worker: the registry of workers by prefix, the router of every request, and the settings
// tree ("settings:" and "powermanager:" paths). There is one per process; CMRoot() returns it (null
// before it is made). It lives in the thread that made it (the host's main thread); every public
// operation may be called from any thread.
#include <QHash>
#include <QMutex>
#include <QReadWriteLock>

#include "CMWorker.h"
#include "KeloValue.h"

class CMRootWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    // settingsFile: JSON object {"<path>": <KeloValue>} read now and written after each change;
    // empty: settings live in memory only. The contract's defaults apply to paths not in the file.
    explicit CMRootWorker(const QString& settingsFile = QString(), QObject* parent = nullptr);
    ~CMRootWorker() override;

    QStringList prefixes() const override;

    // Routing. A worker must be registered before requests reach it; the root does not own it.
    void addWorker(CMAbstractWorker* worker);
    void removeWorker(CMAbstractWorker* worker);
    CMAbstractWorker* workerFor(const CMPath& path) const;

    // Deliver a request to the owner of its path: in the owner's thread at once when called from
    // it, else queued. A path no worker owns, or a request the owner does not take, is answered
    // NotFound.
    void sendSetData(const CMSetDataRequest& request) const;
    void sendGetRows(const CMGetRowsRequest& request) const;
    void sendGetData(const CMGetDataRequest& request) const;

    // Settings.
    QVariant getValue(const CMPath& path) const override;
    void setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const override;
    KeloValue value(const CMPath& path) const { return KeloValue(KeloHash(getValue(path).toHash())); }
    // Sets a value without persisting or notifying (start-up overrides, tests).
    void setInitialValue(const CMPath& path, const KeloValue& value);
    QHash<QString, KeloValue> allValues() const;

    // Handles set-data and get-data on settings paths.
    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

signals:
    // Emitted from the setting thread after a value changed; CMValueItem listens to it.
    void valueChanged(const CMPath& path, const KeloValue& newValue, const KeloValue& oldValue);

private:
    void saveSettings() const;
    template <class Request>
    void deliver(const Request& request, bool (CMAbstractWorker::*handler)(const Request&)) const;

    mutable QReadWriteLock m_workersLock;
    QHash<QString, CMAbstractWorker*> m_workers;
    mutable QMutex m_settingsMutex;
    QHash<QString, KeloValue> m_settings;
    QString m_settingsFile;
};

// The process's root worker, or null when none exists.
CMRootWorker* CMRoot();
