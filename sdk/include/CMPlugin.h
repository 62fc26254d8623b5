#pragma once
// The plug-in entry. A plug-in is a shared library that exports one C-linkage function, worker_create.
// The host loads the library, looks the symbol up by CMWorkerCreateSymbol, and calls it once, in the
// thread the worker will live in, with a null first argument and the plug-in's configuration hash.
// The function returns a new worker (null when it cannot make one); the host owns it, registers it
// with CMRoot() and deletes it in that same thread when it shuts down.
#include <QHash>
#include <QString>
#include <QVariant>

class CMAbstractWorker;

extern "C" CMAbstractWorker* worker_create(void* unused, const QHash<QString, QVariant>& config);

using CMWorkerCreateFunction = CMAbstractWorker* (*)(void* unused, const QHash<QString, QVariant>& config);

inline constexpr const char CMWorkerCreateSymbol[] = "worker_create";
