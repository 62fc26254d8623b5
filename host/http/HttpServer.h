#pragma once
// The host's HTTP server: one httplib server with a pool of its own threads, served from a thread
// started by start(). Every request first passes the RequestGate (Host, framing, token, origin and
// body type); every answer carries its protective headers, and every error answer httplib makes
// itself gets the JSON error body. Keep-alive connections serve many requests and are closed after
// KeepAliveSeconds without one. The listening socket is opened without SO_REUSEPORT, so a port in
// use by another process is an error. Routes are installed by HttpApi, EventStream and StaticFiles
// through server(); every POST route through post(), which bounds its body however it is framed.
// Construct, install, bind, start and stop from one thread (the main thread).
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "http/RequestGate.h"

namespace httplib {
class Server;
}

class HttpServer
{
public:
    // The largest body of a file upload; JSON bodies have their own, smaller bound (RequestBody).
    static constexpr size_t MaxBodyBytes = 16 * 1024 * 1024;
    // Bodies over this are handled one at a time (post()).
    static constexpr size_t LargeBodyBytes = 1024 * 1024;
    static constexpr int Threads = 48;
    // Short: with one thread per connection, an idle connection holds a thread until then.
    static constexpr int KeepAliveSeconds = 2;
    static constexpr size_t KeepAliveRequests = 10000;

    // Handles a POST whose whole body was read: req for its headers, body as received.
    using BodyHandler = std::function<void(const httplib::Request& req, const std::string& body, httplib::Response& res)>;

    explicit HttpServer(const HttpAccess& access);
    ~HttpServer();  // stop()
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    httplib::Server& server() { return *m_server; }
    RequestGate& gate() { return m_gate; }
    // Installs a POST route that reads at most maxBytes of body, chunked or not, and answers 413
    // (PayloadTooLarge) for more without calling handler. Handlers of bodies over LargeBodyBytes
    // run one at a time, and the memory they freed is returned to the system after them.
    void post(const std::string& pattern, size_t maxBytes, BodyHandler handler);
    // Binds and listens on address:port (0: any free port). The real port, or -1 with *error.
    int bind(const QString& address, int port, QString* error);
    // Serves in a thread of its own until stop().
    void start();
    // Stops accepting, waits for the threads that serve open connections, and joins.
    void stop();

private:
    RequestGate m_gate;
    std::unique_ptr<httplib::Server> m_server;
    std::thread m_thread;
    std::atomic<bool> m_loopEnded{false};
};
