#include "WorkerThreads.h"

#include <QDir>
#include <QFileInfo>
#include <dlfcn.h>

#include "CMGlobal.h"
#include "CMPlugin.h"
#include "CMWorkerThread.h"
#include "KeloLog.h"
#include "HostLog.h"

WorkerThreads::WorkerThreads() : m_owner(QThread::currentThread()) {}

WorkerThreads::~WorkerThreads()
{
    stopAll();
}

bool WorkerThreads::loadPlugin(const QString& path, const QHash<QString, QVariant>& config, QString* error)
{
    KELO_ASSERT_THREAD(this);
    // RTLD_NOW: a plug-in with unresolved symbols fails here, with a message, not at its first call.
    void* library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        *error = QStringLiteral("cannot load plug-in %1: %2").arg(path, QString::fromLocal8Bit(dlerror()));
        return false;
    }
    auto create = reinterpret_cast<CMWorkerCreateFunction>(dlsym(library, CMWorkerCreateSymbol));
    if (!create) {
        *error = QStringLiteral("plug-in %1 does not export %2").arg(path, QLatin1String(CMWorkerCreateSymbol));
        return false;
    }
    if (!run([create, config] { return create(nullptr, config); })) {
        *error = QStringLiteral("plug-in %1 made no worker").arg(path);
        return false;
    }
    KELO_LOG_INFO(HostLogger, "loaded plug-in " << path << " worker " << m_threads.back()->worker()->name());
    return true;
}

bool WorkerThreads::run(const std::function<CMAbstractWorker*()>& factory)
{
    KELO_ASSERT_THREAD(this);
    auto thread = std::make_unique<CMWorkerThread>(factory);
    if (!thread->worker())
        return false;
    m_threads.push_back(std::move(thread));
    return true;
}

void WorkerThreads::stopAll()
{
    KELO_ASSERT_THREAD(this);
    while (!m_threads.empty())
        m_threads.pop_back();
}

QString WorkerThreads::defaultPlugin(const QString& applicationDir)
{
    const QFileInfo plugin(QDir(applicationDir).absoluteFilePath(QStringLiteral("../lib/libkelo_playlists.so")));
    return plugin.exists() ? QDir::cleanPath(plugin.absoluteFilePath()) : QString();
}
