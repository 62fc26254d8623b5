#include "CMReply.h"

#include <chrono>

#include "KeloLog.h"

// Out of line: inlined, QSharedPointer::create trips GCC's maybe-uninitialized check in every caller.
CMReplyBase::CMReplyBase() : d(QSharedPointer<CMReplyAbstractData>::create()) {}

bool CMReplyAbstractData::isFinished() const
{
    std::lock_guard<std::mutex> locker(m_mutex);
    return m_finished;
}

bool CMReplyAbstractData::hasError() const
{
    std::lock_guard<std::mutex> locker(m_mutex);
    return m_hasError;
}

CMError CMReplyAbstractData::error() const
{
    std::lock_guard<std::mutex> locker(m_mutex);
    return m_error;
}

QVariant CMReplyAbstractData::value() const
{
    std::lock_guard<std::mutex> locker(m_mutex);
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
    std::unique_lock<std::mutex> locker(m_mutex);
    if (timeoutMs < 0) {
        m_condition.wait(locker, [this]() { return m_finished; });
        return true;
    }
    return m_condition.wait_for(locker, std::chrono::milliseconds(timeoutMs), [this]() { return m_finished; });
}

bool CMReplyAbstractData::finishInternal(const QVariant& value, const CMError& error, bool isError)
{
    {
        std::unique_lock<std::mutex> locker(m_mutex);
        if (m_finished) {
            locker.unlock();
            KELO_LOG_WARN(KeloLog::FrameworkLogger, "reply finished twice; ignored the second "
                                           << (isError ? QStringLiteral("error ") + error.Name() + QStringLiteral(": ") + error.Message()
                                                       : QStringLiteral("value")));
            return false;
        }
        m_finished = true;
        m_hasError = isError;
        m_value = value;
        m_error = error;
    }
    m_condition.notify_all();
    // Outside the lock: a directly connected receiver may read the reply.
    emit finished();
    return true;
}
