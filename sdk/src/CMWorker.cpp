#include "CMWorker.h"

#include "CMNode.h"
#include "CMRoot.h"
#include "KeloLog.h"

namespace {
// CMSubscribe keeps no state, so one serves every worker. It is never deleted: children that a worker
// destroys after its own destructor ran (deferred deletions included) still close their views with it.
CMSubscribe* sharedSubscribe()
{
    static CMSubscribe instance;
    return &instance;
}
}  // namespace

CMAbstractWorker::CMAbstractWorker(const QHash<QString, QVariant>& config, const QString& name, QObject* parent)
    : QObject(parent), subscribe(sharedSubscribe()), m_config(config), m_name(name)
{
    setObjectName(name);
}

// Routing must never reach a worker that is gone, whoever forgot to unregister it.
CMAbstractWorker::~CMAbstractWorker()
{
    CMRootWorker* root = CMRoot();
    if (root && root != this)
        root->removeWorker(this);
}

QStringList CMAbstractWorker::prefixes() const
{
    return {m_name.toLower()};
}

bool CMAbstractWorker::setDataRequest(const CMSetDataRequest&)
{
    return false;
}

bool CMAbstractWorker::getRowsRequest(const CMGetRowsRequest&)
{
    return false;
}

bool CMAbstractWorker::getDataRequest(const CMGetDataRequest&)
{
    return false;
}

QVariant CMAbstractWorker::getValue(const CMPath& path) const
{
    CMRootWorker* root = CMRoot();
    return root ? root->getValue(path) : QVariant();
}

void CMAbstractWorker::setValue(const CMPath& path, const KeloValue& value, const CMReply<QVariant>& reply) const
{
    if (CMRootWorker* root = CMRoot()) {
        root->setValue(path, value, reply);
        return;
    }
    KELO_LOG_ERROR(KeloLog::FrameworkLogger, "no root to store " << path.toEncoded());
    reply.setError(CMError(CMError::NotFoundName(), KELO_TR("There are no settings to store %1 in.").arg(path.toEncoded())));
}

void CMAbstractWorker::invoke(const CMPath& path, const QVariant& value, const CMVoidReply& reply) const
{
    if (CMRootWorker* root = CMRoot()) {
        root->sendSetData(CMSetDataRequest(path, value, reply));
        return;
    }
    KELO_LOG_ERROR(KeloLog::FrameworkLogger, "no root to route " << path.toEncoded());
    reply.setError(CMError(CMError::NotFoundName(), KELO_TR("Nothing handles the path %1.").arg(path.toEncoded())));
}

void CMAbstractWorker::forward(const CMSetDataRequest& request, const CMPath& path, const QVariant& value,
                              const std::function<QVariant(const QVariant&)>& answerOf) const
{
    if (!answerOf) {
        // Both requests share the reply, which counts them: dropping request leaves it unanswered.
        invoke(path, value, request.reply());
        return;
    }
    // The connection holds request until the forwarded reply, and with it the connection, is gone.
    const CMVoidReply answer;
    CMReplyAbstractData* data = answer.data();
    QObject::connect(
        data, &CMReplyAbstractData::finished, data,
        [data, request, answerOf]() {
            if (data->hasError())
                request.reply().setError(data->error());
            else
                request.reply().setValue(answerOf(data->value()));
        },
        Qt::DirectConnection);
    invoke(path, value, answer);
}

CMNodesWorker::CMNodesWorker(const QHash<QString, QVariant>& config, const QString& name, QObject* parent)
    : CMAbstractWorker(config, name, parent), m_nodes(new CMNodes(this))
{
}

CMNodesWorker::~CMNodesWorker() = default;

bool CMNodesWorker::setDataRequest(const CMSetDataRequest& request)
{
    CMNode* node = m_nodes->find(request.path());
    return node && node->setDataRequest(request);
}

bool CMNodesWorker::getRowsRequest(const CMGetRowsRequest& request)
{
    CMNode* node = m_nodes->find(request.path());
    return node && node->getRowsRequest(request);
}

bool CMNodesWorker::getDataRequest(const CMGetDataRequest& request)
{
    CMNode* node = m_nodes->find(request.path());
    return node && node->getDataRequest(request);
}
