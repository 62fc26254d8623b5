#include "CMWorkerThread.h"

#include "CMRoot.h"
#include "KeloLog.h"

CMWorkerThread::CMWorkerThread(std::function<CMAbstractWorker*()> factory)
    : m_thread(new QThread), m_context(new QObject)
{
    m_context->moveToThread(m_thread);
    m_thread->start();
    QMetaObject::invokeMethod(
        m_context, [this, &factory]() { m_worker = factory ? factory() : nullptr; }, Qt::BlockingQueuedConnection);
    if (!m_worker) {
        KELO_LOG_ERROR("Framework", "the worker factory made no worker");
        return;
    }
    m_thread->setObjectName(m_worker->name());
    if (CMRootWorker* root = CMRoot())
        root->addWorker(m_worker);
    else
        KELO_LOG_ERROR("Framework", "no root: worker " << m_worker->name() << " gets no requests");
}

// Unregistered first, so that no new request is queued to a worker about to go. Requests already
// queued die with it and are answered NoAnswer.
CMWorkerThread::~CMWorkerThread()
{
    if (m_worker) {
        if (CMRootWorker* root = CMRoot())
            root->removeWorker(m_worker);
        QMetaObject::invokeMethod(
            m_context, [this]() { delete m_worker; }, Qt::BlockingQueuedConnection);
        m_worker = nullptr;
    }
    m_thread->quit();
    m_thread->wait();
    delete m_context;
    delete m_thread;
}
