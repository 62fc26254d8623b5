#include "RawConnection.h"

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

RawConnection::RawConnection(int port)
{
    m_fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout{10, 0};
    setsockopt(m_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(m_fd);
        m_fd = -1;
    }
}

RawConnection::~RawConnection()
{
    if (m_fd >= 0)
        close(m_fd);
}

bool RawConnection::send(const std::string& text) const
{
    return m_fd >= 0 && ::send(m_fd, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

std::string RawConnection::readAnswer(std::string* body)
{
    size_t headEnd;
    while ((headEnd = m_buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!fill())
            return std::string();
    }
    const std::string head = m_buffer.substr(0, headEnd + 4);
    const size_t at = head.find("Content-Length: ");
    const size_t length = at == std::string::npos ? 0 : std::stoul(head.substr(at + 16));
    while (m_buffer.size() < head.size() + length) {
        if (!fill())
            return std::string();
    }
    if (body)
        *body = m_buffer.substr(head.size(), length);
    m_buffer.erase(0, head.size() + length);
    return head;
}

bool RawConnection::closedWithin(int ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (m_fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd wait{m_fd, POLLIN, 0};
        if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) != 1)
            return false;
        if (!fill())
            return true;
    }
    return true;
}

bool RawConnection::fill()
{
    char chunk[65536];
    const ssize_t n = recv(m_fd, chunk, sizeof chunk, 0);
    if (n <= 0)
        return false;
    m_buffer.append(chunk, static_cast<size_t>(n));
    return true;
}

int statusOf(const std::string& head)
{
    return head.size() > 12 ? std::stoi(head.substr(9, 3)) : -1;
}
