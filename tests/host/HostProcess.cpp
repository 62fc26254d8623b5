#include "HostProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "KeloJson.h"

extern char** environ;

namespace {
constexpr int StartTimeoutMs = 30000;
}

HostProcess::~HostProcess()
{
    if (m_pid > 0)
        stop(SIGKILL);
    if (m_stdout >= 0)
        close(m_stdout);
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

QString HostProcess::testWorker()
{
    return libDir() + QStringLiteral("/libkelo_testworker.so");
}

bool HostProcess::spawn(const QString& dataDir, const QStringList& arguments)
{
    QStringList args = {binDir() + QStringLiteral("/kelo-host"), QStringLiteral("--listen"),
                        QStringLiteral("127.0.0.1:0"), QStringLiteral("--data-dir"), dataDir};
    args += arguments;
    std::vector<QByteArray> storage;
    std::vector<char*> argv;
    for (const QString& arg : args)
        storage.push_back(arg.toLocal8Bit());
    for (QByteArray& arg : storage)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0)
        return false;
    // Beside the data directory, which the host is to create itself.
    m_errorFile = QDir::cleanPath(dataDir) + QStringLiteral(".stderr");
    QDir().mkpath(QFileInfo(m_errorFile).absolutePath());
    const QByteArray errorFile = QFile::encodeName(m_errorFile);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int spawned = posix_spawn(&m_pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    m_stdout = out[0];
    m_exitStatus = -1;
    if (spawned != 0)
        m_pid = -1;
    return spawned == 0;
}

bool HostProcess::start(const QString& dataDir, const QStringList& arguments)
{
    if (!spawn(dataDir, arguments))
        return false;
    static const QRegularExpression line(QStringLiteral("^kelo-host listening on http://\\S+:(\\d+)$"),
                                         QRegularExpression::MultilineOption);
    QByteArray seen;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < StartTimeoutMs) {
        pollfd fd{m_stdout, POLLIN, 0};
        if (poll(&fd, 1, 100) <= 0)
            continue;
        char buffer[256];
        const ssize_t n = read(m_stdout, buffer, sizeof buffer);
        if (n <= 0)
            break;  // the host closed stdout: it ended
        seen.append(buffer, static_cast<int>(n));
        const QRegularExpressionMatch match = line.match(QString::fromLocal8Bit(seen));
        if (match.hasMatch()) {
            m_port = match.captured(1).toInt();
            return true;
        }
    }
    waitForExit(StartTimeoutMs);
    return false;
}

int HostProcess::runToExit(const QString& dataDir, const QStringList& arguments)
{
    if (!spawn(dataDir, arguments))
        return -1;
    return waitForExit(StartTimeoutMs) ? m_exitStatus : -1;
}

bool HostProcess::waitForExit(int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (m_pid > 0) {
        int status = 0;
        const pid_t done = waitpid(m_pid, &status, WNOHANG);
        if (done == m_pid) {
            m_exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            m_pid = -1;
            return true;
        }
        if (timer.elapsed() > timeoutMs)
            return false;
        QThread::msleep(20);
    }
    return true;
}

int HostProcess::stop(int sig, int timeoutMs)
{
    if (m_pid <= 0)
        return m_exitStatus;
    kill(m_pid, sig);
    if (waitForExit(timeoutMs))
        return m_exitStatus;
    kill(m_pid, SIGKILL);
    waitForExit(StartTimeoutMs);
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
