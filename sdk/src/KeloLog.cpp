#include "KeloLog.h"

#include <QFileInfo>
#include <log4cplus/configurator.h>
#include <log4cplus/consoleappender.h>
#include <log4cplus/hierarchy.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <memory>
#include <mutex>

namespace {

void configureConsole()
{
    // stderr, so that a host's own lines on stdout stay machine-readable.
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true, true));
    console->setName(LOG4CPLUS_TEXT("console"));
    console->setLayout(std::make_unique<log4cplus::PatternLayout>(
        LOG4CPLUS_TEXT("%D{%Y-%m-%d %H:%M:%S.%q} %-5p [%c] %m (%M %b:%L)%n")));
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.addAppender(console);
    root.setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

std::once_flag g_initialized;

// Loggers used before configure() write to the console at WARN instead of complaining about no appenders.
void ensureInitialized()
{
    std::call_once(g_initialized, [] {
        log4cplus::initialize();
        configureConsole();
    });
}

}  // namespace

namespace KeloLog {

void configure(const QString& propertiesFile)
{
    ensureInitialized();
    log4cplus::Logger::getDefaultHierarchy().resetConfiguration();
    const QFileInfo info(propertiesFile);
    if (propertiesFile.isEmpty() || !info.isFile() || !info.isReadable()) {
        configureConsole();
        return;
    }
    log4cplus::PropertyConfigurator::doConfigure(LOG4CPLUS_STRING_TO_TSTRING(propertiesFile.toStdString()));
}

log4cplus::Logger logger(const char* name)
{
    ensureInitialized();
    return log4cplus::Logger::getInstance(LOG4CPLUS_C_STR_TO_TSTRING(name));
}

void write(const log4cplus::Logger& logger, log4cplus::LogLevel level, const QString& text, const char* file,
           int line, const char* function)
{
    logger.forcedLog(level, LOG4CPLUS_STRING_TO_TSTRING(text.toStdString()), file, line, function);
}

ScopedTracer::ScopedTracer(const char* loggerName, const char* file, int line, const char* function)
    : m_logger(logger(loggerName)), m_file(file), m_line(line), m_function(function)
{
    if (m_logger.isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        write(m_logger, log4cplus::TRACE_LOG_LEVEL, QStringLiteral("Enter ") + QString::fromUtf8(m_function),
              m_file, m_line, m_function);
}

ScopedTracer::~ScopedTracer()
{
    if (m_logger.isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        write(m_logger, log4cplus::TRACE_LOG_LEVEL, QStringLiteral("Leave"), m_file, m_line, m_function);
}

}  // namespace KeloLog
