#pragma once
// Workers: the objects a host routes requests to, one thread each. A worker owns the paths whose
// prefix is in prefixes() (by default its name in lower case: "PlayLists" owns "playlists:").
// A worker lives in one thread; the framework calls its request entry points only there. Its
// settings and invoke operations may be called from any thread. A worker still registered with the
// root when destroyed unregisters itself (from its own thread, as requests queued to it die with it
// and are answered NoAnswer).
#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVariant>
#include <functional>

#include "CMNodes.h"
#include "CMReply.h"
#include "CMRequest.h"
#include "CMSubscribe.h"
#include "KeloValue.h"

class CMAbstractWorker : public QObject
{
    Q_OBJECT
public:
    CMAbstractWorker(const QHash<QString, QVariant>& config, const QString& name, QObject* parent = nullptr);
    ~CMAbstractWorker() override;

    QString name() const { return m_name; }
    QHash<QString, QVariant> config() const { return m_config; }
    virtual QStringList prefixes() const;

    // Request entry points. The framework calls them in this worker's thread. A handler answers the
    // request's reply now or later; returning false means the path is not taken here, and the
    // framework then answers NotFound unless the reply was finished.
    virtual bool setDataRequest(const CMSetDataRequest& request);
    virtual bool getRowsRequest(const CMGetRowsRequest& request);
    virtual bool getDataRequest(const CMGetDataRequest& request);

    // Settings, answered by the root: the KeloValue at path as a variant hash (invalid when unset).
    // Any thread, synchronous.
    virtual QVariant getValue(const CMPath& path) const;
    // Stores value at path, finishes reply with it, and tells every CMValueItem on path. Any thread.
    virtual void setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const;
    // Sends a set-data request to the worker that owns path. From that worker's own thread it is
    // handled at once, inside this call; from any other thread it is queued and handled later.
    void invoke(const CMPath& path, const QVariant& value, const CMVoidReply& reply = CMVoidReply()) const;
    // Hands request on to path (a menu entry that runs a command): sends a set-data with value, like
    // invoke, whose answer becomes request's answer. answerOf, when given, turns a successful answer
    // into the one request gets; an error goes on as it is. The caller may drop request at once:
    // request is answered NoAnswer only when the forwarded request is dropped unanswered. Any thread.
    void forward(const CMSetDataRequest& request, const CMPath& path, const QVariant& value,
                 const std::function<QVariant(const QVariant&)>& answerOf = {}) const;

protected:
    // This worker's row-change publisher. Valid for the life of the process, so objects that outlive
    // the worker (its deferred deletions) may still use it. Never delete it.
    CMSubscribe* subscribe;

private:
    QHash<QString, QVariant> m_config;
    QString m_name;
};

// A worker whose requests go to the node registered at the request's path (without its query).
class CMNodesWorker : public CMAbstractWorker
{
    Q_OBJECT
public:
    CMNodesWorker(const QHash<QString, QVariant>& config, const QString& name, QObject* parent = nullptr);
    ~CMNodesWorker() override;

    CMNodes* nodes() const { return m_nodes; }

    // Hand the request to the node at its path; false when there is none or the node refuses.
    bool setDataRequest(const CMSetDataRequest& request) override;
    bool getRowsRequest(const CMGetRowsRequest& request) override;
    bool getDataRequest(const CMGetDataRequest& request) override;

private:
    CMNodes* m_nodes;
};
