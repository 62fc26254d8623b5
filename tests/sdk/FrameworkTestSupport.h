#pragma once
// Shared by the framework tests: a root with its settings in a temporary directory, a worker whose
// handlers the test chooses, and an appender that keeps what a logger wrote.
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <functional>
#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>
#include <memory>

#include "CMRoot.h"
#include "CMWorker.h"
#include "KeloLog.h"
#include "KeloPaths.h"

namespace FrameworkTest {

inline QVariant threadTag(const QThread* thread = QThread::currentThread())
{
    return QVariant::fromValue(reinterpret_cast<quintptr>(thread));
}

// A worker whose handlers are set by the test; without a handler it refuses the request.
class ProbeWorker : public CMNodesWorker
{
public:
    explicit ProbeWorker(const QString& name) : CMNodesWorker({}, name) {}
    std::function<bool(const CMSetDataRequest&)> onSetData;
    bool setDataRequest(const CMSetDataRequest& request) override
    {
        return onSetData ? onSetData(request) : CMNodesWorker::setDataRequest(request);
    }
};

// Answers with the tag of the thread it ran in.
inline bool answerWithThread(const CMSetDataRequest& request)
{
    return request.reply().setValue(threadTag());
}

class RootTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        restart();
    }
    // Defaults as a host hands them to the root: some of the device's settings.
    void restart()
    {
        KeloValue online;
        online.setPowerTarget(KeloPowerManagerTarget(KeloPowerManagerTarget::Online));
        root.reset();
        root = std::make_unique<CMRootWorker>(settingsFile(), CMRootWorker::Settings{
            {KeloPlayListsSettingsDataBaseItemsLimitPath(), KeloValue::fromI32(10000)},
            {KeloPlayListSettingsDataBaseVacuumPath(), KeloValue::fromBool(false)},
            {KeloPlayListSettingsPlayqueueVisibilityPath(), KeloValue::fromBool(true)},
            {KeloPowerManagerTargetPath(), online}});
    }
    QString settingsFile() const { return dir.filePath(QStringLiteral("settings/settings.json")); }
    CMVoidReply set(const CMPath& path, const QVariant& value)
    {
        const CMVoidReply reply;
        root->sendSetData(CMSetDataRequest(path, value, reply));
        return reply;
    }

    QTemporaryDir dir;
    std::unique_ptr<CMRootWorker> root;
};

// Keeps the messages, functions, files and lines of what the named logger writes while it lives; the
// logger's other appenders are left out meanwhile.
class CapturedLog
{
public:
    struct Line
    {
        QString message, function, file;
        int line;
    };
    explicit CapturedLog(const char* name, log4cplus::LogLevel level = log4cplus::TRACE_LOG_LEVEL)
        : m_logger(KeloLog::logger(name)), m_level(m_logger.getLogLevel())
    {
        m_logger.setAdditivity(false);
        m_logger.setLogLevel(level);
        m_logger.addAppender(m_owner);
    }
    ~CapturedLog()
    {
        m_logger.removeAppender(m_owner);
        m_logger.setAdditivity(true);
        m_logger.setLogLevel(m_level);
    }
    const std::vector<Line>& lines() const { return m_appender->lines; }

private:
    struct Appender : log4cplus::Appender
    {
        ~Appender() override { destructorImpl(); }
        void close() override {}
        void append(const log4cplus::spi::InternalLoggingEvent& e) override
        {
            lines.push_back({QString::fromStdString(e.getMessage()), QString::fromStdString(e.getFunction()),
                             QString::fromStdString(e.getFile()), e.getLine()});
        }
        std::vector<Line> lines;
    };
    log4cplus::Logger m_logger;
    log4cplus::LogLevel m_level;
    Appender* m_appender = new Appender;
    log4cplus::SharedAppenderPtr m_owner{m_appender};
};

}  // namespace FrameworkTest
