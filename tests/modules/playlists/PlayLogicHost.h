#pragma once
// kelo-host with its simulated player as a user interface sees it: commands and controls over HTTP,
// the player's state polled, and the events stream read on a connection of its own.
#include <QElapsedTimer>
#include <QThread>
#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include "HostProcess.h"
#include "KeloJson.h"

class PlayerHost
{
public:
    bool start(const QStringList& options)
    {
        if (!m_dir.isValid() || !m_process.start(m_dir.path(), options))
            return false;
        m_client = std::make_unique<pltest::HostClient>(m_process.port());
        return true;
    }
    // True when the host ended cleanly.
    bool stop()
    {
        m_client.reset();
        const bool clean = m_process.stop();
        stopEvents();  // the stream ends with the host
        return clean;
    }

    // The answer as variants with whole numbers as int; *status the HTTP status.
    QVariantHash setData(const QString& path, const QVariant& value, int* status = nullptr)
    {
        const pltest::HttpAnswer answer = m_client->setData(path, QJsonValue::fromVariant(value));
        if (status)
            *status = answer.status;
        return KeloJson::normalize(answer.body.toVariantHash()).toHash();
    }
    QVariantHash control(const QVariantHash& value, int* status = nullptr)
    {
        return setData(QStringLiteral("player:control"), value, status);
    }
    QVariantHash state()
    {
        const pltest::HttpAnswer answer = m_client->post("/api/getData", R"({"path":"player:state"})");
        return KeloJson::normalize(answer.body.toVariantHash()).toHash().value("value").toHash();
    }
    // Polls the player's state until done(state) holds or 20 s passed; the last state seen.
    QVariantHash waitForState(const std::function<bool(const QVariantHash&)>& done)
    {
        QElapsedTimer timer;
        timer.start();
        QVariantHash current = state();
        while (!done(current) && timer.elapsed() < 20000) {
            QThread::msleep(10);
            current = state();
        }
        return current;
    }

    // Collects every event of the events stream from now on, until the host stops.
    void watchEvents()
    {
        m_events = std::thread([this] { readEvents(); });
        while (!m_connected)
            QThread::msleep(5);
    }
    QList<QVariantHash> events()
    {
        std::lock_guard<std::mutex> lock(m_eventsMutex);
        return m_received;
    }

private:
    void readEvents()
    {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(quint16(m_process.port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const QByteArray request("GET /api/events HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            send(fd, request.constData(), size_t(request.size()), MSG_NOSIGNAL) != request.size()) {
            m_connected = true;
            if (fd >= 0)
                close(fd);
            return;
        }
        QByteArray buffer;
        char chunk[65536];
        ssize_t n;
        while ((n = read(fd, chunk, sizeof chunk)) > 0) {
            buffer.append(chunk, int(n));
            if (buffer.contains(": connected"))
                m_connected = true;
            // Chunk sizes of the transfer encoding sit between events; only "data:" lines are read.
            for (int end; (end = buffer.indexOf('\n')) >= 0; buffer.remove(0, end + 1)) {
                const QByteArray line = buffer.left(end).trimmed();
                if (line.startsWith("data: ")) {
                    std::lock_guard<std::mutex> lock(m_eventsMutex);
                    m_received << KeloJson::parse(line.mid(6)).toHash();
                }
            }
        }
        m_connected = true;
        close(fd);
    }
    void stopEvents()
    {
        if (m_events.joinable())
            m_events.join();
    }

    QTemporaryDir m_dir;
    pltest::HostProcess m_process;
    std::unique_ptr<pltest::HostClient> m_client;
    std::atomic<bool> m_connected{false};
    std::thread m_events;
    std::mutex m_eventsMutex;
    QList<QVariantHash> m_received;
};
