#include "http/HttpServer.h"

#include <httplib.h>

#include <fcntl.h>
#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <unistd.h>
#include <mutex>

#include "KeloLog.h"
#include "http/ConnectionStream.h"
#include "http/HttpErrors.h"
#include "HostLog.h"

// httplib's routing and parsing, fed one whole request at a time by the front end instead of its
// own loop, which holds a thread per connection for as long as the connection is open.
class HttpServer::Routes : public httplib::Server
{
public:
    using httplib::Server::process_request;
    // A descriptor of the bound socket for the caller to accept on and close, or -1.
    int listeningSocket() const { return svr_sock_ == INVALID_SOCKET ? -1 : fcntl(svr_sock_, F_DUPFD_CLOEXEC, 0); }
    // httplib's own descriptor stays open while serving: answers written by a content provider
    // (the event streams) go on only while it is valid. Closing it ends them.
    void closeListeningSocket()
    {
        const socket_t sock = svr_sock_.exchange(INVALID_SOCKET);
        if (sock != INVALID_SOCKET)
            ::close(sock);
    }
};

namespace {

// The request this worker thread answers (set around process_request, so never null in a route):
// httplib gives its handlers only what it parsed.
thread_local ConnectionStream* t_serving = nullptr;

// A body framed by its Content-Length alone is in memory whole, right behind the head httplib read:
// it is taken as it is. False when httplib's reader must decode it (chunked, encoded, over maxBytes,
// or not what the length says).
bool takeWholeBody(const httplib::Request& req, size_t maxBytes, std::string* body)
{
    if (!t_serving || req.has_header("Transfer-Encoding") || req.has_header("Content-Encoding"))
        return false;
    const std::string length = req.get_header_value("Content-Length");
    if (length.empty() || length.size() > 18 || length.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const size_t bytes = std::strtoull(length.c_str(), nullptr, 10);
    return bytes <= maxBytes && t_serving->takeRest(bytes, body);
}

// SO_REUSEADDR only: a second host on the same port must fail to bind instead of sharing it.
void listeningSocketOptions(socket_t sock)
{
    int yes = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

}  // namespace

FrontEnd::Limits HttpServer::defaultLimits()
{
    FrontEnd::Limits limits;
    limits.workers = Threads;
    limits.idleMs = KeepAliveSeconds * 1000;
    limits.maxBodyBytes = MaxBodyBytes;
    limits.requestsPerConnection = KeepAliveRequests;
    return limits;
}

HttpServer::HttpServer(const HttpAccess& access, const FrontEnd::Limits& limits)
    : m_gate(access)
    , m_server(std::make_unique<Routes>())
    , m_front(limits, [this](ConnectionStream& stream, bool closeAfter) {
        bool clientCloses = false;
        t_serving = &stream;
        const bool served = m_server->process_request(stream, closeAfter, clientCloses, nullptr) && !clientCloses;
        t_serving = nullptr;
        return served;
    })
{
    m_server->set_payload_max_length(limits.maxBodyBytes);
    m_server->set_socket_options(listeningSocketOptions);
    // Only for the Keep-Alive header of the answers: the front end closes idle connections.
    m_server->set_keep_alive_timeout(limits.idleMs / 1000);
    m_server->set_keep_alive_max_count(limits.requestsPerConnection);
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
        if (!takeWholeBody(req, maxBytes, &body)) {
            // The declared length, within the limit, is taken at once rather than grown into.
            body.reserve(std::min<size_t>(std::strtoull(req.get_header_value("Content-Length").c_str(), nullptr, 10), maxBytes));
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
        }
        if (body.size() <= LargeBodyBytes)
            return handler(req, body, res);
        {
            // Decoded JSON takes tens of times its text's size: one large body at a time.
            static std::mutex largeBodies;
            std::lock_guard<std::mutex> oneAtATime(largeBodies);
            handler(req, body, res);
            body = std::string();
        }
        // The memory it freed goes back to the system rather than staying with the allocator, once
        // the answer is out: giving it back takes a millisecond and more.
        t_serving->afterAnswer([] { malloc_trim(0); });
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

httplib::Server& HttpServer::server()
{
    return *m_server;
}

bool HttpServer::start()
{
    const int fd = m_server->listeningSocket();
    m_started = fd >= 0 && m_front.start(fd);
    return m_started;
}

void HttpServer::stop()
{
    m_server->closeListeningSocket();
    if (!m_started)
        return;
    m_started = false;
    m_front.stop();
    KELO_LOG_INFO(HostLogger, "HTTP server stopped");
}
