#include "CMReply.h"

#include <QDeadlineTimer>

#include "KeloLog.h"

// Out of line: inlined, QSharedPointer::create trips GCC's maybe-uninitialized check in every caller.
CMReplyBase::CMReplyBase() : d(QSharedPointer<CMReplyAbstractData>::create()) {}

bool CMReplyAbstractData::isFinished() const
{
    QMutexLocker locker(&m_mutex);
    return m_finished;
}

bool CMReplyAbstractData::hasError() const
{
    QMutexLocker locker(&m_mutex);
    return m_hasError;
}

CMError CMReplyAbstractData::error() const
{
    QMutexLocker locker(&m_mutex);
    return m_error;
}

QVariant CMReplyAbstractData::value() const
{
    QMutexLocker locker(&m_mutex);
    return m_value;
}

bool CMReplyAbstractData::finish(const QVariant& value)
{
    return finishInternal(value, CMError(), false);
}

bool CMReplyAbstractData::finishWithError(const CMError& error)
{
    return finishInternal(QVariant(), error, true);
}

bool CMReplyAbstractData::waitForFinished(int timeoutMs) const
{
    QMutexLocker locker(&m_mutex);
    // A deadline, not a per-wait timeout: spurious wake-ups must not stretch the wait.
    const QDeadlineTimer deadline = timeoutMs < 0 ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeoutMs);
    while (!m_finished) {
        if (!m_condition.wait(&m_mutex, deadline))
            return m_finished;
    }
    return true;
}

bool CMReplyAbstractData::finishInternal(const QVariant& value, const CMError& error, bool isError)
{
    {
        QMutexLocker locker(&m_mutex);
        if (m_finished) {
            locker.unlock();
            KELO_LOG_WARN("Framework", "reply finished twice; ignored the second "
                                           << (isError ? QStringLiteral("error ") + error.Name() + QStringLiteral(": ") + error.Message()
                                                       : QStringLiteral("value")));
            return false;
        }
        m_finished = true;
        m_hasError = isError;
        m_value = value;
        m_error = error;
        m_condition.wakeAll();
    }
    // Outside the lock: a directly connected receiver may read the reply.
    emit finished();
    return true;
}
