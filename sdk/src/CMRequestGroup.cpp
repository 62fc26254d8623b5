#include "CMRequestGroup.h"

#include "CMRoot.h"
#include "KeloLog.h"

CMRequestGroup::CMRequestGroup(QObject* parent) : QObject(parent) {}

void CMRequestGroup::addInvoke(const QString& name, const CMPath& path, const QVariant& args)
{
    const CMVoidReply reply;
    m_replies.append(reply);
    // Queued even within one thread: a reply finished inside this call must not announce the group
    // before its owner has added the other invokes and stored its own state.
    connect(reply.data(), &CMReplyAbstractData::finished, this, &CMRequestGroup::checkAndCallCallback,
            Qt::QueuedConnection);
    const CMPath target = CMPath::fromPrefix(path.prefix()) + name;
    KELO_LOG_TRACE(KeloLog::FrameworkLogger, "invoke " << target.toEncoded());
    if (CMRootWorker* root = CMRoot())
        root->sendSetData(CMSetDataRequest(target, args, reply));
    else
        reply.setError(CMError(CMError::NotFoundName(), KELO_TR("Nothing handles the path %1.").arg(target.toEncoded())));
}

void CMRequestGroup::checkAndCallCallback()
{
    if (m_finishedSent || m_replies.isEmpty())
        return;
    for (const CMVoidReply& reply : qAsConst(m_replies)) {
        if (!reply.isFinished())
            return;
    }
    m_finishedSent = true;
    emit finished();
}
