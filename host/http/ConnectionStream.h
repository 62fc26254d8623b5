#pragma once
// One request as httplib's parser reads it: the request's bytes, already received whole by the front
// end, are read from memory (a body framed by its length may be taken whole instead, takeRest), and
// the answer is written to the connection's socket. The first write of an answer (its head) is held
// until the next write or flush(), so that a head and a short body leave in one segment. Writes wait
// for the socket at most writeTimeoutMs each, plus the time the data takes at MinWriteBytesPerSecond,
// so a client that does not read cannot hold the worker for long.
// Used by the one worker thread that serves the request; the socket stays open (the front end owns it).
#include <httplib.h>

#include <functional>
#include <string>
#include <utility>

class ConnectionStream : public httplib::Stream
{
public:
    static constexpr size_t MinWriteBytesPerSecond = 64 * 1024;

    struct Peer
    {
        std::string remoteAddress;
        int remotePort = 0;
        std::string localAddress;
        int localPort = 0;
    };

    ConnectionStream(int fd, std::string request, Peer peer, int writeTimeoutMs);

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* ptr, size_t size) override;
    ssize_t write(const char* ptr, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return m_fd; }

    // Sends what is held. False when the socket failed or timed out (then every later write fails).
    bool flush();
    // Hands over the rest of the request, not yet read, when it is exactly length bytes: the body,
    // taken without copying it through the parser's small buffer. False (nothing taken) otherwise.
    bool takeRest(size_t length, std::string* rest);
    // Work for after the answer: run once the connection was given back and the request let go.
    void afterAnswer(std::function<void()> work) { m_afterAnswer = std::move(work); }
    std::function<void()> takeAfterAnswer() { return std::exchange(m_afterAnswer, nullptr); }

private:
    bool sendAll(const char* data, size_t size);

    int m_fd;
    std::string m_request;
    size_t m_read = 0;
    Peer m_peer;
    int m_writeTimeoutMs;
    std::string m_held;
    bool m_holding = true;
    bool m_failed = false;
    std::function<void()> m_afterAnswer;
};
