#pragma once
// Runs the host's workers, each in a thread of its own (CMWorkerThread), as a device does: plug-in
// workers made by a library's worker_create and the host's built-in workers. Every worker is
// registered with CMRoot() once it exists. Main thread only; the root must exist first and outlive
// this object (or stopAll() must have run).
#include <QHash>
#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <vector>

class CMAbstractWorker;
class QThread;
class CMWorkerThread;

class WorkerThreads
{
public:
    WorkerThreads();
    ~WorkerThreads();  // stopAll()
    WorkerThreads(const WorkerThreads&) = delete;
    WorkerThreads& operator=(const WorkerThreads&) = delete;

    // Loads the library at path and makes its worker with config, inside the worker's new thread.
    // False with *error when the library cannot be opened, does not export worker_create, or makes
    // no worker. A loaded library stays loaded until the process ends.
    bool loadPlugin(const QString& path, const QHash<QString, QVariant>& config, QString* error);
    // Makes a built-in worker with factory, inside its new thread. False when factory gives null.
    bool run(const std::function<CMAbstractWorker*()>& factory);
    // Destroys the workers in the reverse order of their start: each is unregistered and deleted in
    // its own thread, and the thread ends.
    void stopAll();

    // The plug-in loaded when none is named: libkelo_playlists.so in ../lib next to the executable,
    // or empty when it was not built.
    static QString defaultPlugin(const QString& applicationDir);

    // The thread that made this object, the only one that may use it (KELO_ASSERT_THREAD).
    QThread* thread() const { return m_owner; }

private:
    QThread* const m_owner;
    std::vector<std::unique_ptr<CMWorkerThread>> m_threads;
};
