#pragma once
// Replies. A reply is a shared handle: the sender of a request keeps one copy, the request carries
// another, and all copies see the same state. It is finished once, with a value or an error, from
// any thread; a second attempt is ignored and logged. Whoever waits for it is told in its own
// thread: connect to data()->finished() (auto connection) and then check isFinished(), since a reply
// finished before the connection does not signal again; or block in waitForFinished(). Every member
// may be called from any thread.
#include <QMutex>
#include <QObject>
#include <QSharedPointer>
#include <QVariant>
#include <QWaitCondition>
#include <type_traits>

#include "CMError.h"
#include "KeloHash.h"

class CMReplyAbstractData : public QObject
{
    Q_OBJECT
public:
    CMReplyAbstractData() = default;

    bool isFinished() const;
    bool hasError() const;
    CMError error() const;
    QVariant value() const;

    // Finish the reply; false when it was finished already (the value is then dropped). Any thread.
    bool finish(const QVariant& value);
    bool finishWithError(const CMError& error);

    // Blocks the calling thread until the reply is finished or timeoutMs passed (-1: no limit).
    // Returns at once for a finished reply. Returns whether it is finished. Processes no events.
    bool waitForFinished(int timeoutMs = -1) const;

signals:
    // Emitted once, from the finishing thread, after the state is set.
    void finished();

private:
    bool finishInternal(const QVariant& value, const CMError& error, bool isError);

    mutable QMutex m_mutex;
    mutable QWaitCondition m_condition;
    bool m_finished = false;
    bool m_hasError = false;
    QVariant m_value;
    CMError m_error;
};

namespace CMReplyConvert {
template <class T>
QVariant toVariant(const T& v)
{
    if constexpr (std::is_base_of_v<KeloHash, T>)
        return v.toVariant();
    else
        return QVariant::fromValue(v);
}
template <class T>
T fromVariant(const QVariant& v)
{
    if constexpr (std::is_base_of_v<KeloHash, T>)
        return T(KeloHash(v.toHash()));
    else if constexpr (std::is_same_v<T, QVariant>)
        return v;
    else
        return v.value<T>();
}
}  // namespace CMReplyConvert

// The untyped handle; a default-constructed handle is a fresh, unfinished reply.
class CMReplyBase
{
public:
    CMReplyBase();
    CMReplyAbstractData* data() const { return d.data(); }
    bool isFinished() const { return d->isFinished(); }
    bool hasError() const { return d->hasError(); }
    CMError error() const { return d->error(); }
    QVariant variant() const { return d->value(); }
    bool setError(const CMError& e) const { return d->finishWithError(e); }
    bool setVariant(const QVariant& v) const { return d->finish(v); }
    bool waitForFinished(int timeoutMs = -1) const { return d->waitForFinished(timeoutMs); }
    bool isSameReply(const CMReplyBase& other) const { return d == other.d; }

protected:
    QSharedPointer<CMReplyAbstractData> d;
};

template <class T>
class CMReply : public CMReplyBase
{
public:
    bool setValue(const T& v) const { return d->finish(CMReplyConvert::toVariant(v)); }
    T value() const { return CMReplyConvert::fromVariant<T>(d->value()); }
};

template <class T>
using CMReplyData = CMReply<T>;

// The reply of a set-data request: finished with any variant (setValue) or an error (setError).
class CMVoidReply : public CMReply<QVariant>
{
};

Q_DECLARE_METATYPE(CMVoidReply)
