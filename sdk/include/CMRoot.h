#pragma once
// The root worker: the registry of workers by prefix, the router of every request, and the settings
// tree ("settings:" and "powermanager:" paths). There is one per process; CMRoot() returns it (null
// before it is made and after it is destroyed). It lives in the thread that made it (the host's main
// thread, which must run an event loop for settings requests from other threads); every public
// operation may be called from any thread. Create and destroy it in that thread, after the workers'
// threads have ended or before they start.
#include <QHash>
#include <QList>
#include <QPair>
#include <mutex>
#include <shared_mutex>

#include "CMWorker.h"
#include "KeloValue.h"

class CMRootWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    // Settings paths with their values, in order.
    using Settings = QList<QPair<CMPath, KeloValue>>;

    // settingsFile: JSON object {"<path>": <KeloValue>} read now and written after each change;
    // empty: settings live in memory only. defaults: the values of the paths the file does not hold,
    // given by whoever runs the device (the host); each fixes the type its path takes. Without
    // defaults a path holds nothing until it is set.
    explicit CMRootWorker(const QString& settingsFile = QString(), const Settings& defaults = Settings(),
                          QObject* parent = nullptr);
    ~CMRootWorker() override;

    QStringList prefixes() const override;

    // Routing. A worker must be registered before requests reach it; the root does not own it.
    // addWorker takes every prefix in worker->prefixes(), replacing (and logging) another owner.
    void addWorker(CMAbstractWorker* worker);
    void removeWorker(CMAbstractWorker* worker);
    CMAbstractWorker* workerFor(const CMPath& path) const;

    // Deliver a request to the owner of its path: in the owner's thread at once when called from
    // it, else queued (and answered NoAnswer if the owner is destroyed before it handles it). A path
    // no worker owns, or a request the owner does not take and did not answer, is answered NotFound.
    void sendSetData(const CMSetDataRequest& request) const;
    void sendGetRows(const CMGetRowsRequest& request) const;
    void sendGetData(const CMGetDataRequest& request) const;

    // Settings. getValue: the KeloValue at path as a variant hash, invalid when none. setValue takes
    // a well-formed KeloValue on a settings path, of the type already stored there if any; it stores,
    // writes the file, finishes reply with the value's variant, emits valueChanged and publishes
    // {"path", "change": "value", "value"} to CMEventHub, even when the value did not change. Anything
    // else is answered BadRequest and changes nothing. When the file cannot be written (a full or
    // read-only disk) the reply finishes with an error named "Error", memory keeps the value the file
    // holds, nothing is emitted, and the previous file stays whole.
    QVariant getValue(const CMPath& path) const override;
    void setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const override;
    KeloValue value(const CMPath& path) const { return KeloValue(KeloHash(getValue(path).toHash())); }
    // Sets a value without persisting or notifying (start-up overrides, tests); false, changing
    // nothing, for a value setValue would refuse.
    bool setInitialValue(const CMPath& path, const KeloValue& value);
    QHash<QString, KeloValue> allValues() const;

    // Handles set-data and get-data on settings paths (false for any other path). Set-data takes a
    // KeloValue as the request's value; get-data answers the KeloValue, or NotFound for an unset path.
    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

signals:
    // Emitted from the setting thread after setValue stored a value (path without query); CMValueItem
    // listens to it.
    void valueChanged(const CMPath& path, const KeloValue& newValue, const KeloValue& oldValue);

private:
    void loadSettings();
    // Writes every setting to the settings file, with m_settingsMutex held. False with *error when
    // any step failed; the previous file is then still whole.
    bool saveSettings(QString* error) const;
    QString rejection(const CMPath& path, const KeloValue& value) const;  // with m_settingsMutex held; empty: accepted
    CMAbstractWorker* findWorker(const QString& prefix) const;  // with m_workersLock held
    template <class Request>
    void deliver(const Request& request, bool (CMAbstractWorker::*handler)(const Request&)) const;

    // Standard primitives rather than Qt's, so that ThreadSanitizer sees them.
    mutable std::shared_mutex m_workersLock;
    QHash<QString, CMAbstractWorker*> m_workers;
    mutable std::mutex m_settingsMutex;
    mutable QHash<QString, KeloValue> m_settings;  // by the base path's encoded form
    QString m_settingsFile;
};

// The process's root worker, or null when none exists.
CMRootWorker* CMRoot();
