#include "http/HttpServer.h"

#include <httplib.h>

#include <chrono>
#include <malloc.h>
#include <mutex>

#include "KeloLog.h"
#include "http/HttpErrors.h"

namespace {

// SO_REUSEADDR only: a second host on the same port must fail to bind instead of sharing it.
void listeningSocketOptions(socket_t sock)
{
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

HttpServer::HttpServer(const HttpAccess& access) : m_gate(access), m_server(std::make_unique<httplib::Server>())
{
    m_server->new_task_queue = [] { return new httplib::ThreadPool(Threads); };
    m_server->set_payload_max_length(MaxBodyBytes);
    m_server->set_socket_options(listeningSocketOptions);
    m_server->set_tcp_nodelay(true);
    m_server->set_keep_alive_timeout(KeepAliveSeconds);
    m_server->set_keep_alive_max_count(KeepAliveRequests);
    m_server->set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        return m_gate.admit(req, res) ? httplib::Server::HandlerResponse::Unhandled
                                      : httplib::Server::HandlerResponse::Handled;
    });
    m_server->set_post_routing_handler(
        [](const httplib::Request&, httplib::Response& res) { RequestGate::addProtectiveHeaders(res); });
    m_server->set_error_handler(httplib::Server::HandlerWithResponse([](const httplib::Request&, httplib::Response& res) {
        if (!res.body.empty())
            return httplib::Server::HandlerResponse::Unhandled;
        const int status = res.status;
        HttpErrors::answer(res, HttpErrors::forStatus(status));
        res.status = status;
        return httplib::Server::HandlerResponse::Handled;
    }));
    post("/api/session", 4096, [this](const httplib::Request&, const std::string&, httplib::Response& res) {
        m_gate.answerSession(res);
    });
}

void HttpServer::post(const std::string& pattern, size_t maxBytes, BodyHandler handler)
{
    m_server->Post(pattern, [maxBytes, handler](const httplib::Request& req, httplib::Response& res,
                                                const httplib::ContentReader& reader) {
        std::string body;
        bool tooLarge = false;
        const bool complete = reader([&](const char* data, size_t length) {
            tooLarge = body.size() + length > maxBytes;
            if (!tooLarge)
                body.append(data, length);
            return !tooLarge;
        });
        if (tooLarge || res.status == 413)
            return HttpErrors::answer(res, HttpErrors::forStatus(413));
        if (!complete)
            return HttpErrors::answer(res, HttpErrors::forStatus(400));
        if (body.size() <= LargeBodyBytes)
            return handler(req, body, res);
        // Decoded JSON takes tens of times its text's size: one large body at a time, and its
        // memory given back to the system afterwards rather than kept by the allocator.
        static std::mutex largeBodies;
        std::lock_guard<std::mutex> oneAtATime(largeBodies);
        handler(req, body, res);
        body = std::string();
        malloc_trim(0);
    });
}

HttpServer::~HttpServer()
{
    stop();
}

int HttpServer::bind(const QString& address, int port, QString* error)
{
    const std::string host = address.toStdString();
    const int bound = port == 0 ? m_server->bind_to_any_port(host) : (m_server->bind_to_port(host, port) ? port : -1);
    if (bound <= 0) {
        *error = QStringLiteral("cannot listen on %1:%2: %3").arg(address).arg(port).arg(QString::fromLocal8Bit(strerror(errno)));
        return -1;
    }
    return bound;
}

void HttpServer::start()
{
    m_thread = std::thread([this] {
        m_server->listen_after_bind();
        m_loopEnded = true;
    });
    // httplib's stop() only ends a loop that is already running; a stop that came earlier would be
    // lost and the join in stop() would wait forever. Ready also means ready to be stopped.
    while (!m_server->is_running() && !m_loopEnded)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void HttpServer::stop()
{
    if (!m_thread.joinable())
        return;
    m_server->stop();
    m_thread.join();
    KELO_LOG_INFO("Host", "HTTP server stopped");
}
