#include "http/FrontEnd.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "KeloLog.h"
#include "http/FrontEndLoop.h"
#include "HostLog.h"

using namespace frontend;

namespace {

// Descriptors kept free for everything else the process opens (files, the store, pipes).
constexpr int ReservedDescriptors = 128;

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
    m_pool = std::make_unique<WorkerPool>(m_limits.workers);
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
                    KELO_LOG_WARN(HostLogger, "HTTP front end: wake-up read failed");
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
        KELO_LOG_WARN(HostLogger, "HTTP front end: wake-up failed");
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
