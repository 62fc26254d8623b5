#include "http/HttpServer.h"

#include <httplib.h>

#include <chrono>

#include "KeloLog.h"
#include "http/HttpErrors.h"

namespace {

// Compares in time independent of where the texts differ, so the token cannot be guessed byte by byte.
bool sameSecret(const std::string& a, const std::string& b)
{
    unsigned char diff = a.size() == b.size() ? 0 : 1;
    for (size_t i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a[i] ^ b[i % (b.empty() ? 1 : b.size())]);
    return diff == 0 && !b.empty();
}

}  // namespace

HttpServer::HttpServer(const QString& token) : m_server(std::make_unique<httplib::Server>())
{
    m_server->new_task_queue = [] { return new httplib::ThreadPool(Threads); };
    m_server->set_payload_max_length(MaxBodyBytes);
    // Short enough that an idle keep-alive connection does not hold up a shutdown for long.
    m_server->set_keep_alive_timeout(2);
    // httplib writes the headers and the body of an answer (and each event of a stream) separately:
    // with Nagle's algorithm the second write waits for the client's delayed ACK, ~40 ms a request.
    m_server->set_tcp_nodelay(true);
    if (!token.isEmpty()) {
        const std::string expected = "Bearer " + token.toStdString();
        m_server->set_pre_routing_handler([expected](const httplib::Request& req, httplib::Response& res) {
            if (sameSecret(req.get_header_value("Authorization"), expected))
                return httplib::Server::HandlerResponse::Unhandled;
            res.set_header("WWW-Authenticate", "Bearer");
            HttpErrors::answer(res, HttpErrors::forStatus(401));
            return httplib::Server::HandlerResponse::Handled;
        });
    }
    m_server->set_error_handler(httplib::Server::HandlerWithResponse([](const httplib::Request&, httplib::Response& res) {
        if (!res.body.empty())
            return httplib::Server::HandlerResponse::Unhandled;
        const int status = res.status;
        HttpErrors::answer(res, HttpErrors::forStatus(status));
        res.status = status;
        return httplib::Server::HandlerResponse::Handled;
    }));
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
