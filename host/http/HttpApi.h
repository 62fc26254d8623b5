#pragma once
// POST /api/setData, /api/getRows and /api/getData. Each request is read, sent through CMRoot() to
// the worker that owns its path, and its reply is waited for in the HTTP thread that serves it (never
// in a worker's thread), for at most the reply timeout:
//   {"value": ...} / the rows answer, 200     the reply finished with a value
//   {"error": <CMError>}, status by name      the reply finished with an error (HttpErrors)
//   {"error": Timeout}, 504                   it did not finish in time; it is then finished
//                                             with that error, so a late answer is dropped
//   {"error": Unavailable}, 503               the host is shutting down
// getRows answers at most MaxRows rows: a longer range is cut as a range beyond the rows is.
// Handlers run in the server's worker threads; install() from the main thread before the server starts.
#include <QString>
#include <atomic>

#include <string>

class CMReplyBase;
class CMError;
class HttpServer;

namespace httplib {
struct Response;
}  // namespace httplib

class HttpApi
{
public:
    static constexpr int MaxRows = 10000;

    // stopping: set by the host when it shuts down; waits end within 100 ms of it.
    HttpApi(int replyTimeoutMs, const std::atomic<bool>* stopping);
    void install(HttpServer& server);

    // Waits for reply; false with *error when it did not finish (timeout or shutdown). Any thread.
    bool waitFor(const CMReplyBase& reply, CMError* error) const;

private:
    void setData(std::string& requestBody, httplib::Response& res) const;
    void getRows(std::string& requestBody, httplib::Response& res) const;
    void getData(std::string& requestBody, httplib::Response& res) const;
    // Waits for reply; when it did not finish with a value, answers res with the error and gives false.
    bool awaitValue(const CMReplyBase& reply, httplib::Response& res) const;

    int m_replyTimeoutMs;
    const std::atomic<bool>* m_stopping;
};
