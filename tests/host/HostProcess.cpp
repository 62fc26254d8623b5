#include "HostProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <signal.h>

#include "KeloJson.h"

namespace {
constexpr int StartTimeoutMs = 30000;
}

HostProcess::~HostProcess()
{
    stop(SIGKILL);
}

// The test binary is built into the same bin/ folder, beside lib/, so it can also be run by hand.
QString HostProcess::binDir()
{
    const QString dir = qEnvironmentVariable("KELO_BIN_DIR");
    return dir.isEmpty() ? QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath().section(QLatin1Char('/'), 0, -2) : dir;
}

QString HostProcess::libDir()
{
    const QString dir = qEnvironmentVariable("KELO_LIB_DIR");
    return dir.isEmpty() ? QDir::cleanPath(binDir() + QStringLiteral("/../lib")) : dir;
}

void HostProcess::launch(const QString& dataDir, const QStringList& arguments)
{
    // Beside the data directory, which the host is to create itself.
    m_errorFile = QDir::cleanPath(dataDir) + QStringLiteral(".stderr");
    QDir().mkpath(QFileInfo(m_errorFile).absolutePath());
    m_process.setStandardErrorFile(m_errorFile);
    QStringList all = {QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"), QStringLiteral("--data-dir"), dataDir};
    // Without a plug-in named, the host would load whatever playlists module the build holds.
    if (!arguments.contains(QStringLiteral("--plugin")))
        all += QStringList{QStringLiteral("--plugin"), testWorker()};
    m_process.start(binDir() + QStringLiteral("/kelo-host"), all + arguments);
}

bool HostProcess::start(const QString& dataDir, const QStringList& arguments)
{
    launch(dataDir, arguments);
    static const QRegularExpression line(QStringLiteral("^kelo-host listening on http://\\S+:(\\d+)\\n$"));
    while (m_process.waitForReadyRead(StartTimeoutMs) || m_process.canReadLine()) {
        while (m_process.canReadLine()) {
            const QRegularExpressionMatch match = line.match(QString::fromLocal8Bit(m_process.readLine()));
            if (match.hasMatch()) {
                m_port = match.captured(1).toInt();
                return true;
            }
        }
    }
    return false;
}

int HostProcess::runToExit(const QString& dataDir, const QStringList& arguments)
{
    launch(dataDir, arguments);
    return m_process.waitForFinished(StartTimeoutMs) ? exitStatus() : -1;
}

int HostProcess::exitStatus() const
{
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : 128;
}

int HostProcess::stop(int sig, int timeoutMs)
{
    if (m_process.state() == QProcess::NotRunning)
        return exitStatus();
    kill(static_cast<pid_t>(m_process.processId()), sig);
    if (m_process.waitForFinished(timeoutMs))
        return exitStatus();
    m_process.kill();
    m_process.waitForFinished(StartTimeoutMs);
    return -1;
}

QString HostProcess::errorOutput() const
{
    QFile file(m_errorFile);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

std::unique_ptr<httplib::Client> HostProcess::client() const
{
    auto client = std::make_unique<httplib::Client>("127.0.0.1", m_port);
    client->set_read_timeout(60, 0);
    return client;
}

int HostProcess::post(const std::string& path, const std::string& body, QVariantHash* json,
                      const httplib::Headers& headers) const
{
    const httplib::Result result = client()->Post(path.c_str(), headers, body, "application/json");
    if (!result)
        return -1;
    if (json)
        *json = KeloJson::parse(QByteArray::fromStdString(result->body)).toHash();
    return result->status;
}

std::string jsonText(const QVariant& value)
{
    return KeloJson::stringify(value).toStdString();
}

QVariantHash i32Value(int v)
{
    return {{QStringLiteral("type"), QStringLiteral("i32_")}, {QStringLiteral("i32_"), v}};
}
