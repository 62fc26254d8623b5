#pragma once
// Small framework helpers: the rows filter, assertions that stay in release builds, the thread check
// and the connection routine that asserts every connection. Any thread. Loading the SDK registers its
// types that travel in signals (CMPath, KeloValue, CMError, the records, the requests and
// CMVoidReply), so they can be queued from the start.
#include <QMetaMethod>
#include <QObject>
#include <QStringList>
#include <QThread>
#include <QVariant>

#include "KeloRoles.h"

// Ends the process with the text when cond is false, in every build type.
#define KELO_ASSERT(cond, text)                                                                \
    do {                                                                                       \
        if (!(cond))                                                                           \
            qFatal("ASSERT failure: \"%s\" in %s (%s:%d)", text, Q_FUNC_INFO, __FILE__, __LINE__); \
    } while (0)

// Ends the process when the calling thread is not the thread of the QObject object lives in: the
// check behind every entry a header reserves for one thread ("worker's thread only"). On when
// KELO_THREAD_CHECKS is defined, which the CMake option of that name (ON unless switched off) does
// for kelo_sdk and everything built on it; off, it costs nothing.
#ifdef KELO_THREAD_CHECKS
#define KELO_ASSERT_THREAD(object) \
    KELO_ASSERT((object)->thread() == QThread::currentThread(), "called outside the thread of " #object)
#else
#define KELO_ASSERT_THREAD(object) \
    do {                           \
    } while (0)
#endif

namespace CMGlobal {
// A row of a rows reply: the roles, only with the keys in roleNames when that list is not empty.
QVariant itemRolesToList(const KeloRoles& roles, const QStringList& roleNames);

// True when every parameter of signal that is not a pointer is a registered meta-type.
bool verifyConnectionSignalParameters(const QMetaMethod& signal);

// QObject::connect that asserts "connection" and, across threads, that the signal's parameters can
// be queued ("verifyConnectionSignalParameters(sender, signal, receiver, type)").
template <typename Sender, typename Signal, typename Receiver, typename Slot>
QMetaObject::Connection connect(const Sender* sender, Signal signal, const Receiver* receiver, Slot slot,
                                Qt::ConnectionType type = Qt::AutoConnection)
{
    if (sender && receiver && sender->thread() != receiver->thread() && type != Qt::DirectConnection) {
        KELO_ASSERT(verifyConnectionSignalParameters(QMetaMethod::fromSignal(signal)),
                    "verifyConnectionSignalParameters(sender, signal, receiver, type)");
    }
    QMetaObject::Connection connection = QObject::connect(sender, signal, receiver, slot, type);
    KELO_ASSERT(connection, "connection");
    return connection;
}
}  // namespace CMGlobal
