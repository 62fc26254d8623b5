#include "CMRoot.h"

#include <QThread>
#include <atomic>

#include "KeloLog.h"

namespace {
std::atomic<CMRootWorker*> g_root{nullptr};

QString keyOf(const CMPath& path)
{
    return path.base().toEncoded();
}

QHash<QString, KeloValue> byKey(const CMRootWorker::Settings& settings)
{
    QHash<QString, KeloValue> result;
    for (const auto& setting : settings)
        result.insert(keyOf(setting.first), setting.second);
    return result;
}

template <class Request>
void answerNotFound(const Request& request)
{
    request.reply().setError(
        CMError(CMError::NotFoundName(), KELO_TR("Nothing handles the path %1.").arg(request.path().toEncoded())));
}

template <class Request>
void handle(CMAbstractWorker* worker, const Request& request, bool (CMAbstractWorker::*handler)(const Request&))
{
    if (!(worker->*handler)(request) && !request.reply().isFinished())
        answerNotFound(request);
}
}  // namespace

CMRootWorker* CMRoot()
{
    return g_root.load();
}

CMRootWorker::CMRootWorker(const QString& settingsFile, const Settings& defaults, QObject* parent)
    : CMAbstractWorker({}, QStringLiteral("Root"), parent), m_settings(byKey(defaults)), m_settingsFile(settingsFile)
{
    loadSettings();
    addWorker(this);
    if (g_root.exchange(this))
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "a second root worker replaces the first");
}

CMRootWorker::~CMRootWorker()
{
    CMRootWorker* self = this;
    g_root.compare_exchange_strong(self, nullptr);
}

QStringList CMRootWorker::prefixes() const
{
    return {QStringLiteral("settings"), QStringLiteral("powermanager")};
}

void CMRootWorker::addWorker(CMAbstractWorker* worker)
{
    if (!worker)
        return;
    const QStringList owned = worker->prefixes();
    std::unique_lock<std::shared_mutex> locker(m_workersLock);
    for (const QString& prefix : owned) {
        CMAbstractWorker*& slot = m_workers[prefix];
        if (slot && slot != worker)
            KELO_LOG_WARN(KeloLog::FrameworkLogger, "prefix " << prefix << " moves from " << slot->name() << " to " << worker->name());
        slot = worker;
    }
}

void CMRootWorker::removeWorker(CMAbstractWorker* worker)
{
    std::unique_lock<std::shared_mutex> locker(m_workersLock);
    for (auto it = m_workers.begin(); it != m_workers.end();) {
        if (it.value() == worker)
            it = m_workers.erase(it);
        else
            ++it;
    }
}

CMAbstractWorker* CMRootWorker::workerFor(const CMPath& path) const
{
    std::shared_lock<std::shared_mutex> locker(m_workersLock);
    return findWorker(path.prefix());
}

CMAbstractWorker* CMRootWorker::findWorker(const QString& prefix) const
{
    return m_workers.value(prefix, nullptr);
}

// The lock is held while a queued call is posted, so a worker that unregistered itself gets no new
// post; it is released before an inline call, whose handler may route requests of its own.
template <class Request>
void CMRootWorker::deliver(const Request& request, bool (CMAbstractWorker::*handler)(const Request&)) const
{
    if (!request.isValid()) {
        KELO_LOG_WARN(KeloLog::FrameworkLogger, "an invalid request was sent");
        return;
    }
    std::shared_lock<std::shared_mutex> locker(m_workersLock);
    CMAbstractWorker* worker = findWorker(request.path().prefix());
    if (!worker) {
        locker.unlock();
        KELO_LOG_DEBUG(KeloLog::FrameworkLogger, "no worker owns " << request.path().toEncoded());
        answerNotFound(request);
        return;
    }
    if (worker->thread() == QThread::currentThread()) {
        locker.unlock();
        handle(worker, request, handler);
        return;
    }
    QMetaObject::invokeMethod(
        worker, [worker, request, handler]() { handle(worker, request, handler); }, Qt::QueuedConnection);
}

void CMRootWorker::sendSetData(const CMSetDataRequest& request) const
{
    deliver(request, &CMAbstractWorker::setDataRequest);
}

void CMRootWorker::sendGetRows(const CMGetRowsRequest& request) const
{
    deliver(request, &CMAbstractWorker::getRowsRequest);
}

void CMRootWorker::sendGetData(const CMGetDataRequest& request) const
{
    deliver(request, &CMAbstractWorker::getDataRequest);
}

bool CMRootWorker::setDataRequest(const CMSetDataRequest& request)
{
    if (!prefixes().contains(request.path().prefix()))
        return false;
    setValue(request.path(), KeloValue(KeloHash(request.value().toHash())), request.reply());
    return true;
}

bool CMRootWorker::getDataRequest(const CMGetDataRequest& request)
{
    if (!prefixes().contains(request.path().prefix()))
        return false;
    const QVariant value = getValue(request.path());
    if (value.isValid())
        request.reply().setValue(value);
    else
        request.reply().setError(
            CMError(CMError::NotFoundName(), KELO_TR("There is no setting %1.").arg(request.path().toEncoded())));
    return true;
}
