#pragma once
// The door of the HTTP server: one thread accepts connections and reads each request, head and body,
// without blocking; only a whole request is handed to a worker thread, which answers it on the same
// socket and gives the connection back. A connection that is only waiting (idle between requests,
// sending its head or body slowly) holds no worker, only its buffer, so hundreds of them cannot stop
// the answers of others. Every wait is bounded (Limits):
//   - a request head must be whole within headMs of its first byte and within maxHeadBytes, else
//     408 / 431 and the connection is closed;
//   - its body within bodyMs plus its size at minBodyBytesPerSecond, else 408; a body over
//     maxBodyBytes however it is framed: 413; a chunked body whose framing cannot be read: 400;
//   - a connection without a request for idleMs is closed;
//   - a client address holds at most perClient connections, all clients at most total. A connection
//     beyond a cap closes one of that client's (of all clients' for the total) that no worker holds:
//     those never answered before those that were, then idle before slow heads before slow bodies,
//     the longest-waiting first; when a worker holds every one, the new connection is answered 503
//     and closed;
//   - bodies being received hold at most bodyBudgetBytes together; a request beyond that: 503.
// Refusals carry the JSON error body of HttpErrors and the protective headers; the connection is then
// closed after the client had a moment to read the answer.
// Threads: construct, start() and stop() from one thread; serve runs in the worker threads, at most
// `workers` at once.
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>

class ConnectionStream;

class FrontEnd
{
public:
    struct Limits
    {
        int workers = 48;
        int headMs = 10000;
        int bodyMs = 10000;
        size_t minBodyBytesPerSecond = 64 * 1024;
        int idleMs = 30000;
        int writeTimeoutMs = 5000;
        size_t maxHeadBytes = 64 * 1024;
        size_t maxBodyBytes = 16 * 1024 * 1024;
        size_t bodyBudgetBytes = 64 * 1024 * 1024;
        size_t requestsPerConnection = 10000;
        int perClient = 256;
        int total = 1024;  // lowered to what the process may open
    };
    // Answers one whole request read from stream, as the connection's last one when closeAfter. True
    // when the connection may serve another request.
    using Serve = std::function<bool(ConnectionStream& stream, bool closeAfter)>;

    FrontEnd(const Limits& limits, Serve serve);
    ~FrontEnd();  // stop()
    FrontEnd(const FrontEnd&) = delete;
    FrontEnd& operator=(const FrontEnd&) = delete;

    const Limits& limits() const { return m_limits; }
    // Takes over listeningFd (bound and listening; closed by stop()) and serves it in a thread of
    // its own. False when the loop cannot be set up.
    bool start(int listeningFd);
    // Stops accepting, closes the connections that wait, lets the workers finish their requests
    // (long-lived answers such as event streams must end on their own), and joins.
    void stop();

private:
    class Loop;  // everything the loop thread owns

    const Limits m_limits;
    const Serve m_serve;
    std::unique_ptr<Loop> m_loop;
    std::thread m_thread;
};
