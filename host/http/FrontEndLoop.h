#pragma once
// The inside of the front end (FrontEnd.h): the connections and the loop that owns them. Only
// FrontEnd.cpp (accepting, caps, deadlines, the loop itself) and FrontEndRequests.cpp (reading,
// framing and handing on requests) include it. Everything here belongs to the loop thread, but for
// m_returned (any thread, under m_returnedMutex) and stopping.
#include <httplib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "http/ConnectionStream.h"
#include "http/FrontEnd.h"
#include "http/RequestFraming.h"
#include "http/WorkerPool.h"

namespace frontend {

using Clock = std::chrono::steady_clock;

inline Clock::time_point after(int ms)
{
    return Clock::now() + std::chrono::milliseconds(ms);
}

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
    size_t headSearched = 0;  // bytes of `in` known to hold no end of the head
    RequestFraming::Head head;
    RequestFraming::Chunks chunks;
    size_t budgeted = 0;  // body bytes counted against the budget
    size_t served = 0;
    bool peerDone = false;  // the client will send nothing more
};

// A whole answer for a refusal the front end makes itself, as the routes' answers look.
std::string refusalText(int status);
// Sends text at once or not at all: a refusal is small and fits the socket's buffer.
void sendNow(int fd, const std::string& text);

}  // namespace frontend

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
    void onReadable(frontend::Connection& c);
    void advance(frontend::Connection& c);
    void closeIfDone(frontend::Connection& c);
    void headReceived(frontend::Connection& c);
    void bodyProgress(frontend::Connection& c);
    void dispatch(frontend::Connection& c, size_t end, bool closeAfter);
    void takeReturned();
    void expire();
    void refuse(frontend::Connection& c, int status);
    void close(frontend::Connection& c);
    void enter(frontend::Connection& c, frontend::Phase phase, frontend::Clock::time_point deadline);
    void watch(frontend::Connection& c, bool on);
    bool overBudget(frontend::Connection& c, size_t bytes);

    const Limits m_limits;
    const Serve m_serve;
    int m_listen = -1;
    int m_epoll = -1;
    int m_wake = -1;
    int m_total = 0;
    std::unique_ptr<WorkerPool> m_pool;
    std::unordered_map<int, std::unique_ptr<frontend::Connection>> m_connections;
    // Closed in this round of the loop: kept until its end, as callers may still look at them.
    std::vector<std::unique_ptr<frontend::Connection>> m_closed;
    std::unordered_map<std::string, int> m_perClient;
    size_t m_bodyBytes = 0;
    frontend::Clock::time_point m_nextDeadline = frontend::Clock::time_point::max();

    struct Returned
    {
        int fd;
        bool keepOpen;
    };
    std::mutex m_returnedMutex;
    std::vector<Returned> m_returned;
};
