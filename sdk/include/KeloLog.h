#pragma once
// Logging through log4cplus. Every record carries the function's full signature, the file and the line.
// The message is streamed like QDebug (spaces and quotes are not added): KELO_LOG_INFO(KeloLog::FrameworkLogger, "id: " << id).
// Thread-safe. Loggers are configured from a log4cplus properties file (KeloLog::configure).
#include <QDebug>
#include <QString>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

namespace KeloLog {
// Configures log4cplus from a properties file; with an empty name or an unreadable file, a console
// appender at WARN. Call once at start; later calls reconfigure.
void configure(const QString& propertiesFile = QString());
log4cplus::Logger logger(const char* name);
// The framework's own logger.
constexpr char FrameworkLogger[] = "Framework";
void write(const log4cplus::Logger& logger, log4cplus::LogLevel level, const QString& text, const char* file,
           int line, const char* function);

// Logs "Enter " with the signature at TRACE when made, and "Leave" when it goes out of scope.
class ScopedTracer
{
public:
    ScopedTracer(const char* logger, const char* file, int line, const char* function);
    ~ScopedTracer();
    ScopedTracer(const ScopedTracer&) = delete;
    ScopedTracer& operator=(const ScopedTracer&) = delete;

private:
    log4cplus::Logger m_logger;
    const char* m_file;
    int m_line;
    const char* m_function;
};
}  // namespace KeloLog

#define KELO_LOG(level, loggerName, expr)                                                                 \
    do {                                                                                                  \
        const log4cplus::Logger kelo_logger_ = KeloLog::logger(loggerName);                               \
        if (kelo_logger_.isEnabledFor(level)) {                                                           \
            QString kelo_text_;                                                                           \
            QDebug(&kelo_text_).noquote().nospace() << expr;                                              \
            KeloLog::write(kelo_logger_, level, kelo_text_, __FILE__, __LINE__, Q_FUNC_INFO);             \
        }                                                                                                 \
    } while (0)

#define KELO_LOG_TRACE(logger, expr) KELO_LOG(log4cplus::TRACE_LOG_LEVEL, logger, expr)
#define KELO_LOG_DEBUG(logger, expr) KELO_LOG(log4cplus::DEBUG_LOG_LEVEL, logger, expr)
#define KELO_LOG_INFO(logger, expr) KELO_LOG(log4cplus::INFO_LOG_LEVEL, logger, expr)
#define KELO_LOG_WARN(logger, expr) KELO_LOG(log4cplus::WARN_LOG_LEVEL, logger, expr)
#define KELO_LOG_ERROR(logger, expr) KELO_LOG(log4cplus::ERROR_LOG_LEVEL, logger, expr)
#define KELO_LOG_FATAL(logger, expr) KELO_LOG(log4cplus::FATAL_LOG_LEVEL, logger, expr)
#define KELO_TRACE_SCOPE(logger) const KeloLog::ScopedTracer kelo_tracer_(logger, __FILE__, __LINE__, Q_FUNC_INFO)
