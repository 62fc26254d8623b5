#pragma once
// The host's HTTP server: a FrontEnd (one thread) accepts connections and reads whole requests under
// deadlines and caps; its worker threads parse, route and answer them with httplib's server. Every
// request first passes the RequestGate (Host, framing, token, origin and body type); every answer
// carries its protective headers, and every error answer httplib makes itself gets the JSON error
// body. Keep-alive connections serve many requests and are closed after KeepAliveSeconds without one;
// waiting connections hold no worker. The listening socket is opened without SO_REUSEPORT, so a port
// in use by another process is an error. Routes are installed by HttpApi, EventStream and StaticFiles
// through server(); every POST route through post(), which bounds its body however it is framed.
// Construct, install, bind, start and stop from one thread (the main thread).
#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "http/FrontEnd.h"
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
    // Workers: requests answered at once, event streams included (each holds one while open).
    static constexpr int Threads = 48;
    // An idle connection holds no worker, only a descriptor and a few bytes.
    static constexpr int KeepAliveSeconds = 30;
    static constexpr size_t KeepAliveRequests = 10000;

    // Handles a POST whose whole body was read: req for its headers, body as received.
    // The handler may take the body (move it away).
    using BodyHandler = std::function<void(const httplib::Request& req, std::string& body, httplib::Response& res)>;

    // The front end's bounds with the constants above.
    static FrontEnd::Limits defaultLimits();

    explicit HttpServer(const HttpAccess& access, const FrontEnd::Limits& limits = defaultLimits());
    ~HttpServer();  // stop()
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    httplib::Server& server();
    RequestGate& gate() { return m_gate; }
    // Installs a POST route that reads at most maxBytes of body, chunked or not, and answers 413
    // (PayloadTooLarge) for more without calling handler. A body framed by its length reaches handler
    // without a copy. Handlers of bodies over LargeBodyBytes run one at a time, and the memory they
    // freed is returned to the system once their answer is sent.
    void post(const std::string& pattern, size_t maxBytes, BodyHandler handler);
    // Binds and listens on address:port (0: any free port). The real port, or -1 with *error.
    int bind(const QString& address, int port, QString* error);
    // Serves until stop(). False when the front end cannot be set up.
    bool start();
    // Stops accepting, closes waiting connections, waits for the requests being answered, and joins.
    void stop();

private:
    class Routes;  // httplib's server, driven by the front end

    RequestGate m_gate;
    std::unique_ptr<Routes> m_server;
    FrontEnd m_front;
    bool m_started = false;
};
