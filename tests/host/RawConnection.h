#pragma once
// One TCP connection to a loopback port that sends raw request text and reads answers one at a time,
// so that framing, keep-alive and closing can be seen as they are on the wire. Reads wait at most
// 10 s. One thread.
#include <string>

class RawConnection
{
public:
    explicit RawConnection(int port);
    ~RawConnection();
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    bool send(const std::string& text) const;
    // The next answer's status line and headers, and its body by Content-Length; empty when the
    // connection ended first.
    std::string readAnswer(std::string* body = nullptr);
    // True when the other side closed the connection within ms (what it sent before is kept for
    // readAnswer()).
    bool closedWithin(int ms);

private:
    bool fill();

    int m_fd = -1;
    std::string m_buffer;
};

// The status of an answer's head, or -1.
int statusOf(const std::string& head);
