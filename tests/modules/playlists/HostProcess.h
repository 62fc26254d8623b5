#pragma once
// kelo-host as a child process on a free port with its own data directory, and a small JSON client
// for its HTTP API. Used by the end-to-end tests.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

namespace pltest {

// The directory of the built programs: KELO_BIN_DIR when the test runner sets it, else beside the tests.
inline QString binDir()
{
    const QByteArray fromEnv = qgetenv("KELO_BIN_DIR");
    return fromEnv.isEmpty() ? QCoreApplication::applicationDirPath() : QString::fromLocal8Bit(fromEnv);
}

// One HTTP answer: the status and the JSON object of the body (empty when it was not an object).
struct HttpAnswer
{
    int status = 0;
    QJsonObject body;

    bool ok() const { return status == 200 && body.contains(QStringLiteral("value")); }
    QString errorMessage() const { return body.value("error").toObject().value("message").toString(); }
    QString errorName() const { return body.value("error").toObject().value("name").toString(); }
    // The result value of a command's action reply: {"type": "bool_", "bool_": true} -> true.
    QJsonValue result() const
    {
        const QJsonObject value = body.value("value").toObject().value("result").toObject().value("value").toObject();
        return value.value(value.value("type").toString());
    }
};

// One connection per request ("Connection: close"), so the answer ends where the stream ends.
class HostClient
{
public:
    explicit HostClient(int port) : m_port(port) {}

    HttpAnswer post(const std::string& endpoint, const QByteArray& body)
    {
        HttpAnswer answer;
        const QByteArray raw = exchange(QByteArray("POST ") + endpoint.c_str() +
                                        " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n"
                                        "Connection: close\r\nContent-Length: " +
                                        QByteArray::number(body.size()) + "\r\n\r\n" + body);
        const int headerEnd = raw.indexOf("\r\n\r\n");
        if (!raw.startsWith("HTTP/1.1 ") || headerEnd < 0)
            return answer;
        answer.status = raw.mid(9, 3).toInt();
        answer.body = QJsonDocument::fromJson(raw.mid(headerEnd + 4)).object();
        return answer;
    }
    HttpAnswer setData(const QString& path, const QJsonValue& value)
    {
        return post("/api/setData", QJsonDocument(QJsonObject{{"path", path}, {"value", value}}).toJson(QJsonDocument::Compact));
    }
    HttpAnswer getData(const QString& path, const QStringList& roles)
    {
        return post("/api/getData", QJsonDocument(QJsonObject{{"path", path}, {"roles", QJsonArray::fromStringList(roles)}})
                                        .toJson(QJsonDocument::Compact));
    }

private:
    // Sends request and reads until the server closes; empty on any failure.
    QByteArray exchange(const QByteArray& request) const
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        if (fd < 0)
            return {};
        timeval timeout{120, 0};
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(quint16(m_port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        QByteArray response;
        if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 && sendAll(fd, request)) {
            char buffer[65536];
            ssize_t n;
            while ((n = read(fd, buffer, sizeof buffer)) > 0)
                response.append(buffer, int(n));
        }
        close(fd);
        return response;
    }
    static bool sendAll(int fd, const QByteArray& data)
    {
        qsizetype sent = 0;
        while (sent < data.size()) {
            const ssize_t n = send(fd, data.constData() + sent, size_t(data.size() - sent), MSG_NOSIGNAL);
            if (n <= 0)
                return false;
            sent += n;
        }
        return true;
    }

    int m_port;
};

class HostProcess
{
public:
    // extraArguments: more options, such as --set PATH=JSON.
    bool start(const QString& dataDir, const QStringList& extraArguments = {})
    {
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process->start(binDir() + QStringLiteral("/kelo-host"),
                         QStringList{"--listen", "127.0.0.1:0", "--data-dir", dataDir} + extraArguments);
        if (!m_process->waitForStarted(30000))
            return false;
        const QRegularExpression ready(QStringLiteral("listening on http://[^:]+:(\\d+)"));
        QByteArray output;
        while (m_process->waitForReadyRead(60000)) {
            output += m_process->readAllStandardOutput();
            const QRegularExpressionMatch match = ready.match(QString::fromUtf8(output));
            if (match.hasMatch()) {
                m_port = match.captured(1).toInt();
                return true;
            }
        }
        return false;
    }
    // Stops the host as a user would (SIGTERM) and tells whether it ended cleanly.
    bool stop()
    {
        if (!m_process)
            return true;
        m_process->terminate();
        const bool finished = m_process->waitForFinished(60000);
        if (!finished)
            m_process->kill();
        const bool clean = finished && m_process->exitStatus() == QProcess::NormalExit && m_process->exitCode() == 0;
        m_process.reset();
        return clean;
    }
    ~HostProcess() { stop(); }

    int port() const { return m_port; }
    bool running() const { return m_process && m_process->state() == QProcess::Running; }

private:
    std::unique_ptr<QProcess> m_process;
    int m_port = 0;
};

}  // namespace pltest
