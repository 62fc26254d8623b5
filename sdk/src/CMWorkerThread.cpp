#include "CMWorkerThread.h"

#include <future>

#include "CMRoot.h"
#include "KeloLog.h"

CMWorkerThread::CMWorkerThread(std::function<CMAbstractWorker*()> factory)
    : m_thread(new QThread), m_context(new QObject)
{
    m_context->moveToThread(m_thread);
    m_thread->start();
    // A promise rather than a blocking queued call: it hands the worker over in a way that
    // ThreadSanitizer can see.
    std::promise<CMAbstractWorker*> made;
    QMetaObject::invokeMethod(
        m_context, [&made, &factory]() { made.set_value(factory ? factory() : nullptr); }, Qt::QueuedConnection);
    m_worker = made.get_future().get();
    if (!m_worker) {
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "the worker factory made no worker");
        return;
    }
    m_thread->setObjectName(m_worker->name());
    if (CMRootWorker* root = CMRoot())
        root->addWorker(m_worker);
    else
        KELO_LOG_ERROR(KeloLog::FrameworkLogger, "no root: worker " << m_worker->name() << " gets no requests");
}

// Unregistered first, so that no new request is queued to a worker about to go. Requests already
// queued die with it and are answered NoAnswer.
CMWorkerThread::~CMWorkerThread()
{
    if (m_worker) {
        if (CMRootWorker* root = CMRoot())
            root->removeWorker(m_worker);
        std::promise<void> deleted;
        QMetaObject::invokeMethod(
            m_context,
            [&deleted, worker = m_worker]() {
                delete worker;
                deleted.set_value();
            },
            Qt::QueuedConnection);
        deleted.get_future().wait();
        m_worker = nullptr;
    }
    m_thread->quit();
    m_thread->wait();
    delete m_context;
    delete m_thread;
}
