#pragma once
// The kelo-host process: the root worker with the settings, the built-in media library, the plug-in
// workers and the HTTP server, started in that order and stopped in the reverse one. Lives in the main
// thread, whose Qt event loop the root worker uses; run() returns the process's exit status.
#include <QString>
#include <atomic>
#include <memory>

#include "Options.h"

class ArtApi;
class Catalogue;
class CMRootWorker;
class EventStream;
class HttpApi;
class HttpServer;
class LibraryLocations;
class PlaylistFilesApi;
class StaticFiles;
class WorkerThreads;

class Host
{
public:
    explicit Host(const Options& options);
    ~Host();

    // Starts everything and prints the listening line; on failure returns false with *error and
    // leaves nothing running. The current directory must be the data directory.
    bool start(QString* error);
    // Ends event streams, stops the server, destroys the workers in their threads, closes the root.
    void stop();

private:
    bool applySettings(QString* error);
    bool startWorkers(QString* error);
    bool startPlayer(QString* error);
    bool startServer(QString* error);

    Options m_options;
    std::atomic<bool> m_stopping{false};
    std::unique_ptr<CMRootWorker> m_root;
    std::unique_ptr<WorkerThreads> m_workers;
    std::unique_ptr<LibraryLocations> m_library;  // the media library's tracks, for playlist files
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<HttpApi> m_api;
    std::unique_ptr<EventStream> m_events;
    std::unique_ptr<StaticFiles> m_files;
    std::unique_ptr<PlaylistFilesApi> m_playlistFiles;
    std::unique_ptr<ArtApi> m_art;
    std::shared_ptr<const Catalogue> m_catalogue;
};
