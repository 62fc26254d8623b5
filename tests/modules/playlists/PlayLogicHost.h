#pragma once
// kelo-host with its simulated player as a user interface sees it: commands and controls over HTTP,
// and the player's state polled.
#include <QElapsedTimer>
#include <QThread>
#include <functional>

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
    bool stop()  // true when the host ended cleanly
    {
        return m_process.stop();
    }

    // The answer with whole numbers as int; *status the HTTP status.
    QVariantHash setData(const QString& path, const QVariant& value, int* status = nullptr)
    {
        const pltest::HttpAnswer answer = m_client->setData(path, QJsonValue::fromVariant(value));
        if (status)
            *status = answer.status;
        return KeloJson::normalize(answer.body.toVariantHash()).toHash();
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
        for (; !done(current) && timer.elapsed() < 20000; current = state())
            QThread::msleep(10);
        return current;
    }

private:
    QTemporaryDir m_dir;
    pltest::HostProcess m_process;
    std::unique_ptr<pltest::HostClient> m_client;
};
