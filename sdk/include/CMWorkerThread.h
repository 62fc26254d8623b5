#pragma once
// Runs one worker in a thread of its own, as a device host does: the factory is called in the new
// thread (so the worker and everything it parents live there), the worker is registered with the
// root, and on destruction it is unregistered, deleted in its own thread, and the thread ends.
// Create and destroy from one thread (the host's main thread or a test), never from the worker's own
// thread. The factory may return null (logged; there is then no worker). The worker must not be
// deleted by anyone else.
#include <QThread>
#include <functional>

#include "CMWorker.h"

class CMWorkerThread
{
public:
    explicit CMWorkerThread(std::function<CMAbstractWorker*()> factory);
    ~CMWorkerThread();
    CMWorkerThread(const CMWorkerThread&) = delete;
    CMWorkerThread& operator=(const CMWorkerThread&) = delete;

    CMAbstractWorker* worker() const { return m_worker; }  // null when the factory made none
    QThread* thread() const { return m_thread; }

private:
    QThread* m_thread = nullptr;
    QObject* m_context = nullptr;  // lives in m_thread: runs the factory and the deletion there
    CMAbstractWorker* m_worker = nullptr;
};
