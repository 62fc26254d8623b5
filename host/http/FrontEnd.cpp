#include "http/FrontEnd.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <httplib.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "KeloLog.h"
#include "http/ConnectionStream.h"
#include "http/HttpErrors.h"
#include "http/RequestFraming.h"
#include "http/RequestGate.h"

namespace {

using Clock = std::chrono::steady_clock;
using RequestFraming::Progress;

// How long a refused client may still read its answer before the socket is closed; closing with
// unread bytes would reset the connection and lose the answer.
constexpr int LingerMs = 2000;
// Bytes read from one connection before the others get their turn.
constexpr size_t ReadSlice = 256 * 1024;
// Descriptors kept free for everything else the process opens (files, the store, pipes).
constexpr int ReservedDescriptors = 128;

Clock::time_point after(int ms)
{
    return Clock::now() + std::chrono::milliseconds(ms);
}

const char* reason(int status)
{
    switch (status) {
    case 400: return "Bad Request";
    case 408: return "Request Timeout";
    case 413: return "Payload Too Large";
    case 431: return "Request Header Fields Too Large";
    default: return "Service Unavailable";
    }
}

// A whole answer for a refusal the front end makes itself, as the routes' answers look.
std::string refusalText(int status)
{
    httplib::Response res;
    HttpErrors::answer(res, HttpErrors::forStatus(status));
    RequestGate::addProtectiveHeaders(res);
    std::string text = "HTTP/1.1 " + std::to_string(status) + " " + reason(status) + "\r\n";
    for (const auto& header : res.headers)
        text += header.first + ": " + header.second + "\r\n";
    text += "Content-Length: " + std::to_string(res.body.size()) + "\r\nConnection: close\r\n\r\n" + res.body;
    return text;
}

// Best effort on a non-blocking socket: a refusal is small and fits the socket's buffer.
void sendNow(int fd, const std::string& text)
{
    if (::send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        return;
}

ConnectionStream::Peer peerOf(int fd)
{
    ConnectionStream::Peer peer;
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    char text[INET6_ADDRSTRLEN] = {};
    auto describe = [&](std::string* name, int* port) {
        if (address.ss_family == AF_INET) {
            const auto* v4 = reinterpret_cast<const sockaddr_in*>(&address);
            inet_ntop(AF_INET, &v4->sin_addr, text, sizeof text);
            *port = ntohs(v4->sin_port);
        } else if (address.ss_family == AF_INET6) {
            const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&address);
            inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof text);
            *port = ntohs(v6->sin6_port);
        }
        *name = text;
    };
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        describe(&peer.remoteAddress, &peer.remotePort);
    length = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        describe(&peer.localAddress, &peer.localPort);
    return peer;
}

int descriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return 1 << 20;
    return static_cast<int>(std::min<rlim_t>(limit.rlim_cur, 1 << 20));
}

}  // namespace

// The order of the phases is the order in which a cap closes waiting connections.
enum class Phase {
    Closing,  // refused: the answer is on its way, what the client still sends is dropped
    Idle,     // between requests
    Head,     // receiving a request head
    Body,     // receiving a request body
    Busy,     // a worker answers; the loop does not touch the socket
    Closed,   // gone; the object lives on until the loop's round ends
};

struct Connection
{
    int fd = -1;
    std::string client;  // the remote address
    ConnectionStream::Peer peer;
    std::string in;  // received and not yet handed on
    Phase phase = Phase::Idle;
    Clock::time_point since;     // when the phase began
    Clock::time_point deadline;  // when the phase must have ended
    RequestFraming::Head head;
    RequestFraming::Chunks chunks;
    size_t budgeted = 0;  // body bytes counted against the budget
    size_t served = 0;
    bool peerDone = false;  // the client will send nothing more
};

namespace {

// Connections that were never answered go first: they are what a client that opens connections
// and never completes a request holds, while a client's kept-alive connection has been answered.
// Then idle before slow heads before slow bodies, and the longest-waiting first.
bool evictsBefore(const Connection& a, const Connection& b)
{
    const bool aServed = a.served > 0;
    const bool bServed = b.served > 0;
    if (aServed != bServed)
        return !aServed;
    if (a.phase != b.phase)
        return a.phase < b.phase;
    return a.since < b.since;
}

}  // namespace

class FrontEnd::Loop
{
public:
    Loop(const Limits& limits, const Serve& serve) : m_limits(limits), m_serve(serve) {}
    ~Loop();
    bool open(int listeningFd);
    void run();
    void wake();
    void stopWorkers();

    std::atomic<bool> stopping{false};

private:
    void acceptAll();
    void admit(int fd);
    bool evict(const std::string& client);
    void onReadable(Connection& c);
    void advance(Connection& c);
    void headReceived(Connection& c);
    void bodyProgress(Connection& c);
    void dispatch(Connection& c, size_t end, bool closeAfter);
    void takeReturned();
    void expire();
    void refuse(Connection& c, int status);
    void close(Connection& c);
    void enter(Connection& c, Phase phase, Clock::time_point deadline);
    void watch(Connection& c, bool on);
    bool overBudget(Connection& c, size_t bytes);

    const Limits m_limits;
    const Serve m_serve;
    int m_listen = -1;
    int m_epoll = -1;
    int m_wake = -1;
    int m_total = 0;
    std::unique_ptr<httplib::ThreadPool> m_pool;
    std::unordered_map<int, std::unique_ptr<Connection>> m_connections;
    // Closed in this round of the loop: kept until its end, as callers may still look at them.
    std::vector<std::unique_ptr<Connection>> m_closed;
    std::unordered_map<std::string, int> m_perClient;
    size_t m_bodyBytes = 0;
    Clock::time_point m_nextDeadline = Clock::time_point::max();

    struct Returned
    {
        int fd;
        bool keepOpen;
    };
    std::mutex m_returnedMutex;
    std::vector<Returned> m_returned;
};

FrontEnd::Loop::~Loop()
{
    stopWorkers();
    for (auto& entry : m_connections)
        ::close(entry.first);
    for (int fd : {m_listen, m_epoll, m_wake})
        if (fd >= 0)
            ::close(fd);
}

bool FrontEnd::Loop::open(int listeningFd)
{
    m_listen = listeningFd;
    m_total = std::min(m_limits.total, descriptorLimit() - ReservedDescriptors);
    m_epoll = epoll_create1(EPOLL_CLOEXEC);
    m_wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_epoll < 0 || m_wake < 0)
        return false;
    // Room for a burst of connections: a short queue would drop them and their clients wait for
    // the retransmission (a second or more).
    ::listen(m_listen, SOMAXCONN);
    const int flags = fcntl(m_listen, F_GETFL);
    fcntl(m_listen, F_SETFL, flags | O_NONBLOCK);
    epoll_event listen{EPOLLIN, {}};
    listen.data.fd = m_listen;
    epoll_event wakeUp{EPOLLIN, {}};
    wakeUp.data.fd = m_wake;
    if (epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_listen, &listen) != 0 || epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_wake, &wakeUp) != 0)
        return false;
    m_pool = std::make_unique<httplib::ThreadPool>(static_cast<size_t>(m_limits.workers));
    return true;
}

void FrontEnd::Loop::run()
{
    std::vector<epoll_event> events(256);
    while (!stopping) {
        const auto untilDeadline = std::chrono::duration_cast<std::chrono::milliseconds>(m_nextDeadline - Clock::now());
        const int timeout = static_cast<int>(std::max<long long>(0, std::min<long long>(1000, untilDeadline.count() + 1)));
        const int n = epoll_wait(m_epoll, events.data(), static_cast<int>(events.size()), timeout);
        for (int i = 0; i < n && !stopping; ++i) {
            const int fd = events[i].data.fd;
            if (fd == m_listen) {
                acceptAll();
            } else if (fd == m_wake) {
                uint64_t count;
                if (::read(m_wake, &count, sizeof count) < 0 && errno != EAGAIN)
                    KELO_LOG_WARN("Host", "HTTP front end: wake-up read failed");
                takeReturned();
            } else {
                const auto found = m_connections.find(fd);
                if (found != m_connections.end() && found->second->phase != Phase::Busy)
                    onReadable(*found->second);
            }
        }
        if (Clock::now() >= m_nextDeadline)
            expire();
        m_closed.clear();
    }
}

void FrontEnd::Loop::wake()
{
    const uint64_t one = 1;
    if (::write(m_wake, &one, sizeof one) < 0 && errno != EAGAIN)
        KELO_LOG_WARN("Host", "HTTP front end: wake-up failed");
}

void FrontEnd::Loop::stopWorkers()
{
    if (m_pool)
        m_pool->shutdown();
    m_pool.reset();
}

void FrontEnd::Loop::acceptAll()
{
    for (;;) {
        const int fd = accept4(m_listen, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd >= 0) {
            admit(fd);
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED)
            continue;
        // Out of descriptors: make room the way a cap does; the next round accepts again.
        if ((errno == EMFILE || errno == ENFILE) && evict(std::string()))
            continue;
        return;
    }
}

void FrontEnd::Loop::admit(int fd)
{
    auto c = std::make_unique<Connection>();
    c->fd = fd;
    c->peer = peerOf(fd);
    c->client = c->peer.remoteAddress;
    const bool room = (m_perClient[c->client] < m_limits.perClient || evict(c->client))
                      && (static_cast<int>(m_connections.size()) < m_total || evict(std::string()));
    if (!room) {
        if (m_perClient[c->client] == 0)
            m_perClient.erase(c->client);
        sendNow(fd, refusalText(503));
        ::close(fd);
        return;
    }
    const int yes = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    ++m_perClient[c->client];
    Connection& added = *c;
    m_connections.emplace(fd, std::move(c));
    watch(added, true);
    enter(added, Phase::Idle, after(m_limits.idleMs));
    // A client usually sends its request with the connection: read it now rather than a round later.
    onReadable(added);
}

bool FrontEnd::Loop::evict(const std::string& client)
{
    Connection* victim = nullptr;
    for (auto& entry : m_connections) {
        Connection& c = *entry.second;
        if (c.phase == Phase::Busy || (!client.empty() && c.client != client))
            continue;
        if (!victim || evictsBefore(c, *victim))
            victim = &c;
    }
    if (victim)
        close(*victim);
    return victim != nullptr;
}

void FrontEnd::Loop::onReadable(Connection& c)
{
    char chunk[65536];
    size_t taken = 0;
    while (taken < ReadSlice) {
        const ssize_t n = ::recv(c.fd, chunk, sizeof chunk, 0);
        if (n > 0) {
            taken += static_cast<size_t>(n);
            if (c.phase != Phase::Closing)
                c.in.append(chunk, static_cast<size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            break;
        // The client closed its side (or the socket failed): what it sent in full is still answered.
        if (c.phase == Phase::Closing || c.phase == Phase::Idle || n < 0)
            return close(c);
        c.peerDone = true;
        watch(c, false);
        break;
    }
    advance(c);
}

void FrontEnd::Loop::advance(Connection& c)
{
    if (c.phase == Phase::Idle && !c.in.empty())
        enter(c, Phase::Head, after(m_limits.headMs));
    if (c.phase == Phase::Head) {
        const Progress progress = RequestFraming::readHead(c.in, m_limits.maxHeadBytes, m_limits.maxBodyBytes, &c.head);
        if (progress == Progress::TooLarge)
            return refuse(c, c.head.bytes == 0 ? 431 : 413);
        if (progress == Progress::Complete)
            headReceived(c);
    }
    if (c.phase == Phase::Body)
        bodyProgress(c);
    // A client that sent all it will send gets no later chance to complete its request.
    if (c.peerDone && (c.phase == Phase::Head || c.phase == Phase::Body || c.phase == Phase::Idle))
        close(c);
}

void FrontEnd::Loop::headReceived(Connection& c)
{
    using RequestFraming::Body;
    if (c.head.expectsContinue) {
        // The worker's parser would answer "100 Continue" only after the body it waits for here.
        const std::string head = RequestFraming::withoutExpect(c.in.substr(0, c.head.bytes));
        c.in.replace(0, c.head.bytes, head);
        c.head.bytes = head.size();
        const bool bodyPending = c.head.body == Body::Chunked
                                 || (c.head.body == Body::Length && c.in.size() < c.head.bytes + c.head.length);
        if (bodyPending)
            sendNow(c.fd, "HTTP/1.1 100 Continue\r\n\r\n");
    }
    c.chunks = RequestFraming::Chunks{c.head.bytes, 0};
    const size_t expected = c.head.body == Body::Length ? c.head.length : 0;
    const int ms = m_limits.bodyMs + static_cast<int>(expected * 1000 / m_limits.minBodyBytesPerSecond);
    enter(c, Phase::Body, after(ms));
    if (overBudget(c, expected))
        refuse(c, 503);
}

void FrontEnd::Loop::bodyProgress(Connection& c)
{
    using RequestFraming::Body;
    switch (c.head.body) {
    case Body::None: return dispatch(c, c.head.bytes, false);
    case Body::Unclear: return dispatch(c, c.head.bytes, true);
    case Body::Length:
        if (c.in.size() >= c.head.bytes + c.head.length)
            dispatch(c, c.head.bytes + c.head.length, false);
        return;
    case Body::Chunked: break;
    }
    const Progress progress = RequestFraming::readChunks(c.in, m_limits.maxBodyBytes, &c.chunks);
    if (progress == Progress::Complete)
        return dispatch(c, c.chunks.at, false);
    if (progress != Progress::NeedMore)
        return refuse(c, progress == Progress::TooLarge ? 413 : 400);
    if (overBudget(c, c.in.size()))
        return refuse(c, 503);
    // A chunked body announces no size: its time grows with what it carried.
    const int ms = m_limits.bodyMs + static_cast<int>(c.chunks.carried * 1000 / m_limits.minBodyBytesPerSecond);
    c.deadline = c.since + std::chrono::milliseconds(ms);
}

bool FrontEnd::Loop::overBudget(Connection& c, size_t bytes)
{
    if (bytes <= c.budgeted)
        return false;
    m_bodyBytes += bytes - c.budgeted;
    c.budgeted = bytes;
    return m_bodyBytes > m_limits.bodyBudgetBytes;
}

void FrontEnd::Loop::dispatch(Connection& c, size_t end, bool closeAfter)
{
    closeAfter = closeAfter || c.peerDone || stopping || c.served + 1 >= m_limits.requestsPerConnection;
    std::string request = c.in.substr(0, end);
    c.in.erase(0, end);
    m_bodyBytes -= c.budgeted;
    c.budgeted = 0;
    if (!c.peerDone)
        watch(c, false);
    enter(c, Phase::Busy, Clock::time_point::max());
    const int fd = c.fd;
    auto job = std::make_shared<std::string>(std::move(request));
    m_pool->enqueue([this, fd, job, peer = c.peer, closeAfter] {
        ConnectionStream stream(fd, std::move(*job), peer, m_limits.writeTimeoutMs);
        const bool served = m_serve(stream, closeAfter);
        const bool keepOpen = stream.flush() && served && !closeAfter;
        {
            std::lock_guard<std::mutex> lock(m_returnedMutex);
            m_returned.push_back({fd, keepOpen});
        }
        wake();
    });
}

void FrontEnd::Loop::takeReturned()
{
    std::vector<Returned> returned;
    {
        std::lock_guard<std::mutex> lock(m_returnedMutex);
        returned.swap(m_returned);
    }
    for (const Returned& r : returned) {
        const auto found = m_connections.find(r.fd);
        if (found == m_connections.end())
            continue;
        Connection& c = *found->second;
        ++c.served;
        if (!r.keepOpen || stopping) {
            close(c);
            continue;
        }
        watch(c, true);
        enter(c, Phase::Idle, after(m_limits.idleMs));
        advance(c);  // a request the client sent before the answer came
    }
}

void FrontEnd::Loop::expire()
{
    const auto now = Clock::now();
    std::vector<Connection*> late;
    m_nextDeadline = Clock::time_point::max();
    for (auto& entry : m_connections) {
        Connection& c = *entry.second;
        if (c.deadline <= now)
            late.push_back(&c);
        else
            m_nextDeadline = std::min(m_nextDeadline, c.deadline);
    }
    for (Connection* c : late) {
        if (c->phase == Phase::Head || c->phase == Phase::Body)
            refuse(*c, 408);
        else
            close(*c);
    }
}

void FrontEnd::Loop::refuse(Connection& c, int status)
{
    sendNow(c.fd, refusalText(status));
    // The client may still be sending: dropped until it stops or the linger ends, so that the
    // answer is not lost to a reset.
    ::shutdown(c.fd, SHUT_WR);
    c.in.clear();
    m_bodyBytes -= c.budgeted;
    c.budgeted = 0;
    if (c.peerDone)
        return close(c);
    enter(c, Phase::Closing, after(LingerMs));
}

void FrontEnd::Loop::close(Connection& c)
{
    const int fd = c.fd;
    m_bodyBytes -= c.budgeted;
    if (--m_perClient[c.client] <= 0)
        m_perClient.erase(c.client);
    epoll_ctl(m_epoll, EPOLL_CTL_DEL, fd, nullptr);
    ::close(fd);
    c.phase = Phase::Closed;
    const auto found = m_connections.find(fd);
    m_closed.push_back(std::move(found->second));
    m_connections.erase(found);
}

void FrontEnd::Loop::enter(Connection& c, Phase phase, Clock::time_point deadline)
{
    c.phase = phase;
    c.since = Clock::now();
    c.deadline = deadline;
    m_nextDeadline = std::min(m_nextDeadline, deadline);
}

void FrontEnd::Loop::watch(Connection& c, bool on)
{
    epoll_event event{EPOLLIN, {}};
    event.data.fd = c.fd;
    if (on && epoll_ctl(m_epoll, EPOLL_CTL_ADD, c.fd, &event) != 0 && errno == EEXIST)
        epoll_ctl(m_epoll, EPOLL_CTL_MOD, c.fd, &event);
    if (!on)
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, c.fd, nullptr);
}

FrontEnd::FrontEnd(const Limits& limits, Serve serve) : m_limits(limits), m_serve(std::move(serve)) {}

FrontEnd::~FrontEnd()
{
    stop();
}

bool FrontEnd::start(int listeningFd)
{
    m_loop = std::make_unique<Loop>(m_limits, m_serve);
    if (!m_loop->open(listeningFd)) {
        m_loop.reset();
        return false;
    }
    m_thread = std::thread([this] { m_loop->run(); });
    return true;
}

void FrontEnd::stop()
{
    if (!m_thread.joinable())
        return;
    m_loop->stopping = true;
    m_loop->wake();
    m_thread.join();
    // Workers finish what they answer; their connections are closed with the loop.
    m_loop->stopWorkers();
    m_loop.reset();
}
