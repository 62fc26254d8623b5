#include "http/FrontEndLoop.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "http/HttpErrors.h"
#include "http/RequestGate.h"

using namespace frontend;
using RequestFraming::Progress;

namespace {

// How long a refused client may still read its answer before the socket is closed; closing with
// unread bytes would reset the connection and lose the answer.
constexpr int LingerMs = 2000;
// Bytes read from one connection before the others get their turn.
constexpr size_t ReadSlice = 256 * 1024;

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

}  // namespace

namespace frontend {

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

void sendNow(int fd, const std::string& text)
{
    if (::send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        return;
}

}  // namespace frontend

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
        // A head sent a byte at a time must not be searched from its start every time.
        if (c.in.find("\r\n\r\n", c.headSearched) == std::string::npos && c.in.size() < m_limits.maxHeadBytes) {
            c.headSearched = c.in.size() < 3 ? 0 : c.in.size() - 3;
            return closeIfDone(c);
        }
        c.headSearched = 0;
        const Progress progress = RequestFraming::readHead(c.in, m_limits.maxHeadBytes, m_limits.maxBodyBytes, &c.head);
        if (progress == Progress::TooLarge)
            return refuse(c, c.head.bytes == 0 ? 431 : 413);
        if (progress == Progress::Complete)
            headReceived(c);
    }
    if (c.phase == Phase::Body)
        bodyProgress(c);
    closeIfDone(c);
}

void FrontEnd::Loop::closeIfDone(Connection& c)
{
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
        return refuse(c, 503);
    // The announced body is already counted against the budget: its room is taken once rather
    // than grown into, which would copy it again and again on the way.
    c.in.reserve(c.head.bytes + expected);
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
    std::string request;
    if (end == c.in.size()) {
        request.swap(c.in);
    } else {
        request = c.in.substr(0, end);
        c.in.erase(0, end);
    }
    m_bodyBytes -= c.budgeted;
    c.budgeted = 0;
    if (!c.peerDone)
        watch(c, false);
    enter(c, Phase::Busy, Clock::time_point::max());
    const int fd = c.fd;
    auto job = std::make_shared<std::string>(std::move(request));
    m_pool->enqueue([this, fd, job, peer = c.peer, closeAfter] {
        std::function<void()> afterAnswer;
        {
            ConnectionStream stream(fd, std::move(*job), peer, m_limits.writeTimeoutMs);
            const bool served = m_serve(stream, closeAfter);
            const bool keepOpen = stream.flush() && served && !closeAfter;
            {
                std::lock_guard<std::mutex> lock(m_returnedMutex);
                m_returned.push_back({fd, keepOpen});
            }
            wake();
            afterAnswer = stream.takeAfterAnswer();
        }
        if (afterAnswer)
            afterAnswer();
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
