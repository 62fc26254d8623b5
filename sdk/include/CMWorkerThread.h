#pragma once
// Runs one worker in a thread of its own, as a device host does: the factory is called in the new
// thread (so the worker and everything it parents live there), the worker is registered with the
// root, and on destruction it is unregistered, deleted in its own thread, and the thread ends.
// Create and destroy from one thread (the host's main thread or a test).
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

    CMAbstractWorker* worker() const { return m_worker; }
    QThread* thread() const { return m_thread; }

private:
    QThread* m_thread = nullptr;
    CMAbstractWorker* m_worker = nullptr;
};
