#include "http/ConnectionStream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

ConnectionStream::ConnectionStream(int fd, std::string request, Peer peer, int writeTimeoutMs)
    : m_fd(fd), m_request(std::move(request)), m_peer(std::move(peer)), m_writeTimeoutMs(writeTimeoutMs)
{
}

bool ConnectionStream::is_readable() const
{
    return m_read < m_request.size();
}

bool ConnectionStream::is_writable() const
{
    if (m_failed)
        return false;
    pollfd wait{m_fd, POLLOUT, 0};
    return ::poll(&wait, 1, m_writeTimeoutMs) == 1 && (wait.revents & (POLLERR | POLLHUP)) == 0;
}

ssize_t ConnectionStream::read(char* ptr, size_t size)
{
    const size_t n = std::min(size, m_request.size() - m_read);
    std::memcpy(ptr, m_request.data() + m_read, n);
    m_read += n;
    return static_cast<ssize_t>(n);
}

bool ConnectionStream::takeRest(size_t length, std::string* rest)
{
    if (m_request.size() - m_read != length)
        return false;
    // The head before it is short: moving the body to the front costs far less than a copy into new memory.
    m_request.erase(0, m_read);
    *rest = std::move(m_request);
    m_request.clear();
    m_read = 0;
    return true;
}

ssize_t ConnectionStream::write(const char* ptr, size_t size)
{
    if (m_failed)
        return -1;
    if (m_holding) {
        m_holding = false;
        m_held.assign(ptr, size);
        return static_cast<ssize_t>(size);
    }
    if (!m_held.empty()) {
        m_held.append(ptr, size);
        return flush() ? static_cast<ssize_t>(size) : -1;
    }
    return sendAll(ptr, size) ? static_cast<ssize_t>(size) : -1;
}

bool ConnectionStream::flush()
{
    const std::string held = std::move(m_held);
    m_held.clear();
    return m_failed ? false : held.empty() || sendAll(held.data(), held.size());
}

bool ConnectionStream::sendAll(const char* data, size_t size)
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(m_writeTimeoutMs)
                          + std::chrono::milliseconds(size * 1000 / MinWriteBytesPerSecond);
    size_t sent = 0;
    while (sent < size && !m_failed) {
        const ssize_t n = ::send(m_fd, data + sent, size - sent, MSG_NOSIGNAL);
        if (n > 0) {
            sent += static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd wait{m_fd, POLLOUT, 0};
        m_failed = n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK) || left <= 0
                   || ::poll(&wait, 1, static_cast<int>(left)) != 1 || (wait.revents & (POLLERR | POLLHUP)) != 0;
    }
    return !m_failed;
}

void ConnectionStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    ip = m_peer.remoteAddress;
    port = m_peer.remotePort;
}

void ConnectionStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    ip = m_peer.localAddress;
    port = m_peer.localPort;
}
