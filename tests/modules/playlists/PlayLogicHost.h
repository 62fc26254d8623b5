#pragma once
// kelo-host with its simulated player as a user interface sees it: commands and controls over HTTP,
// and the player's state polled.
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <functional>

#include "HostProcess.h"
#include "KeloJson.h"

class PlayerHost
{
public:
    bool start(const QStringList& options)
    {
        return m_dir.isValid() &&
               m_process.start(m_dir.filePath(QStringLiteral("data")), QStringList{"--plugin", HostProcess::playlistsModule()} + options);
    }
    bool stop() { return m_process.stop() == 0; }  // true when the host ended cleanly

    // The answer with whole numbers as int; *status the HTTP status.
    QVariantHash setData(const QString& path, const QVariant& value, int* status = nullptr)
    {
        return post("/api/setData", QVariantHash{{"path", path}, {"value", value}}, status);
    }
    QVariantHash state() { return post("/api/getData", QVariantHash{{"path", "player:state"}}).value("value").toHash(); }
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
    QVariantHash post(const std::string& endpoint, const QVariantHash& body, int* status = nullptr)
    {
        QVariantHash answer;
        const int got = m_process.post(endpoint, jsonText(body), &answer);
        if (status)
            *status = got;
        return KeloJson::normalize(answer).toHash();
    }

    QTemporaryDir m_dir;
    HostProcess m_process;
};
