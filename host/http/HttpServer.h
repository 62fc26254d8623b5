#pragma once
// The host's HTTP server: one httplib server with a pool of its own threads, served from a thread
// started by start(). It refuses bodies over MaxBodyBytes (413), checks the bearer token of every
// request when one is set (401), and gives every error answer httplib makes itself the JSON error
// body. Routes are installed by HttpApi, EventStream and StaticFiles through server().
// Construct, bind, start and stop from one thread (the main thread).
#include <QString>
#include <atomic>
#include <memory>
#include <thread>

namespace httplib {
class Server;
}

class HttpServer
{
public:
    static constexpr size_t MaxBodyBytes = 16 * 1024 * 1024;
    static constexpr int Threads = 48;

    explicit HttpServer(const QString& token);
    ~HttpServer();  // stop()
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    httplib::Server& server() { return *m_server; }
    // Binds and listens on address:port (0: any free port). The real port, or -1 with *error.
    int bind(const QString& address, int port, QString* error);
    // Serves in a thread of its own until stop().
    void start();
    // Stops accepting, waits for the threads that serve open connections, and joins.
    void stop();

private:
    std::unique_ptr<httplib::Server> m_server;
    std::thread m_thread;
    std::atomic<bool> m_loopEnded{false};
};
