#include "Host.h"

#include <QCoreApplication>
#include <QDir>
#include <cstdio>

#include "CMEventHub.h"
#include "CMRoot.h"
#include "DefaultSettings.h"
#include "KeloLog.h"
#include "player/AudioOutput.h"
#include "player/Player.h"
#include "http/ArtApi.h"
#include "http/EventStream.h"
#include "http/HttpApi.h"
#include "http/HttpServer.h"
#include "http/PlaylistFilesApi.h"
#include "http/StaticFiles.h"
#include "media/MediaLibraryWorker.h"
#include "WorkerThreads.h"
#include "HostLog.h"

namespace {
constexpr int MaxEventStreams = HttpServer::Threads * 2 / 3;
}

Host::Host(const Options& options) : m_options(options) {}

Host::~Host()
{
    stop();
}

bool Host::start(QString* error)
{
    if (!QDir().mkpath(QStringLiteral("data-rw"))) {
        *error = QStringLiteral("cannot create %1").arg(QDir::current().absoluteFilePath(QStringLiteral("data-rw")));
        return false;
    }
    m_root = std::make_unique<CMRootWorker>(QDir::current().absoluteFilePath(QStringLiteral("data-rw/settings.json")),
                                            defaultSettings());
    if (!applySettings(error) || !startWorkers(error) || !startServer(error)) {
        stop();
        return false;
    }
    return true;
}

bool Host::applySettings(QString* error)
{
    for (const auto& setting : qAsConst(m_options.settings)) {
        if (!m_root->prefixes().contains(setting.first.prefix())) {
            *error = QStringLiteral("--set %1: not a settings path (prefixes: %2)")
                         .arg(setting.first.toEncoded(), m_root->prefixes().join(QStringLiteral(", ")));
            return false;
        }
        if (!m_root->setInitialValue(setting.first, setting.second)) {
            *error = QStringLiteral("--set %1: the value is refused; a setting keeps the type of its default")
                         .arg(setting.first.toEncoded());
            return false;
        }
        // Stored through the ordinary path as well, so that the value is in the settings file.
        CMReply<QVariant> reply;
        m_root->setValue(setting.first, setting.second, reply);
    }
    return true;
}

bool Host::startWorkers(QString* error)
{
    m_workers = std::make_unique<WorkerThreads>();
    if (!m_options.mediaDir.isEmpty() && !QFileInfo(m_options.mediaDir).isDir()) {
        *error = QStringLiteral("--media-dir %1 is not a folder").arg(m_options.mediaDir);
        return false;
    }
    m_catalogue = std::make_shared<const Catalogue>(m_options.mediaDir.isEmpty() ? Catalogue::demo()
                                                                                 : Catalogue::scan(m_options.mediaDir));
    QList<QPair<int, QString>> tracks;
    for (int id = 1; id <= m_catalogue->trackCount(); ++id)
        tracks.append({id, m_catalogue->track(id)->uri});
    m_library = std::make_unique<LibraryLocations>(m_options.mediaDir, tracks);
    m_workers->run([catalogue = *m_catalogue] { return new MediaLibraryWorker(catalogue); });
    if (!startPlayer(error))
        return false;
    QStringList plugins = m_options.plugins;
    const QString fallback = WorkerThreads::defaultPlugin(QCoreApplication::applicationDirPath());
    if (plugins.isEmpty() && !fallback.isEmpty())
        plugins.append(fallback);
    for (const QString& plugin : qAsConst(plugins)) {
        if (!m_workers->loadPlugin(plugin, QHash<QString, QVariant>(), error))
            return false;
    }
    return true;
}

// One log line says which player plays and why.
bool Host::startPlayer(QString* error)
{
    bool audio = m_options.player == QLatin1String("audio");
    QString why;
    if (m_options.player == QLatin1String("simulated")) {
        why = QStringLiteral("--player simulated");
    } else if (m_options.player == QLatin1String("auto") && m_options.mediaDir.isEmpty()) {
        why = QStringLiteral("no --media-dir, so the demo catalogue plays silently");
    } else if (!AudioOutput::probe(m_options.audioSink, &why)) {
        if (audio) {
            *error = QStringLiteral("--player audio: %1").arg(why);
            return false;
        }
        why = QStringLiteral("%1; playing silently").arg(why);
    } else {
        audio = true;
        why = QStringLiteral("--player %1 and the sink \"%2\" opens").arg(m_options.player, m_options.audioSink);
    }
    KELO_LOG_WARN(HostLogger, "Player: " << (audio ? "audio" : "simulated") << " (" << why << ")");
    const QString sink = m_options.audioSink;
    const double speed = m_options.playerSpeed;
    return m_workers->run([audio, sink, speed]() -> CMAbstractWorker* {
        if (!audio)
            return new Player(speed);
        QString problem;
        PlayerOutput* output = AudioOutput::create(sink, &problem);
        if (!output)
            KELO_LOG_ERROR(HostLogger, "The audio output cannot be set up (" << problem << "); playing silently");
        return new Player(output);
    });
}

bool Host::startServer(QString* error)
{
    m_server = std::make_unique<HttpServer>(HttpAccess{m_options.token, m_options.listenAddress, m_options.allowedHosts});
    m_api = std::make_unique<HttpApi>(m_options.replyTimeoutMs, &m_stopping);
    m_events = std::make_unique<EventStream>(&m_stopping, MaxEventStreams);
    m_files = std::make_unique<StaticFiles>(m_options.webRoot);
    m_art = std::make_unique<ArtApi>(m_catalogue);
    m_api->install(*m_server);
    m_art->install(m_server->server());
    m_events->install(m_server->server());
    m_playlistFiles = std::make_unique<PlaylistFilesApi>(m_api.get(), *m_library);
    m_playlistFiles->install(*m_server);
    m_files->install(m_server->server());
    const int port = m_server->bind(m_options.listenAddress, m_options.listenPort, error);
    if (port < 0)
        return false;
    if (!m_server->start()) {
        *error = QStringLiteral("cannot serve on %1:%2: %3")
                     .arg(m_options.listenAddress)
                     .arg(port)
                     .arg(QString::fromLocal8Bit(strerror(errno)));
        return false;
    }
    std::printf("kelo-host listening on http://%s:%d\n", qPrintable(m_options.urlHost()), port);
    std::fflush(stdout);
    KELO_LOG_INFO(HostLogger, "listening on " << m_options.urlHost() << ":" << port << ", data in " << QDir::currentPath());
    return true;
}

void Host::stop()
{
    m_stopping = true;
    CMEventHub::instance().closeAll();
    if (m_server)
        m_server->stop();
    if (m_workers)
        m_workers->stopAll();
    m_root.reset();
}
