#pragma once
// What every request passes before it reaches a route, and the headers every answer carries. The
// host listens for the person's own browser and scripts; any other web page the browser shows must
// not be able to use it. A request is refused, changing nothing, when
//   - its Host is not the listening address, "localhost" or an allowed name (DNS rebinding): 403;
//     on a wildcard address (0.0.0.0, ::) any IP address is the listening address;
//   - its framing is ambiguous: several differing Content-Length headers, one that is not a
//     number, or Content-Length together with Transfer-Encoding: 400;
//   - a token is set and a request under /api/ carries neither "Authorization: Bearer <token>" nor
//     the session cookie that POST /api/session hands out for that header: 401 (the files of the
//     web page are served without it, so that the page can ask for the token);
//   - it changes state (any method but GET and HEAD) and carries an Origin that is not the host's
//     own, "null" included: 403;
//   - it changes state and its body type is not allowed (bodyTypeProblem): 415.
// Configure (acceptFileBody) from the main thread before the server starts; admit() and
// addProtectiveHeaders() run in the server's threads.
#include <QString>
#include <QStringList>
#include <set>
#include <string>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

struct HttpAccess
{
    QString token;             // empty: no token needed
    QString listenAddress;     // as listened on; IPv6 without brackets
    QStringList allowedHosts;  // further names a Host header may carry (--allow-host)
};

class RequestGate
{
public:
    enum class BodyKind {
        Json,  // application/json only
        File,  // any type but those a page may send without asking first, and not without a type
    };
    static constexpr const char* SessionCookie = "kelo_session";

    explicit RequestGate(const HttpAccess& access);

    // POSTs to path take a file as their body (BodyKind::File) instead of JSON.
    void acceptFileBody(const std::string& path);
    // Why a body of this Content-Type header may not be sent as kind, or empty when it may. Browsers
    // send text/plain, form-urlencoded and multipart/form-data from any page without asking the
    // host first; every other type makes them ask (CORS preflight), which the host never allows.
    static QString bodyTypeProblem(const std::string& contentType, BodyKind kind);

    // True when req may go on to its route; otherwise res holds the refusal.
    bool admit(const httplib::Request& req, httplib::Response& res) const;
    // Content-Security-Policy (only the host's own scripts, styles and connections, no framing),
    // nosniff and no-referrer, on every answer.
    static void addProtectiveHeaders(httplib::Response& res);
    // The answer of POST /api/session: {"value": true} and, with a token, the session cookie
    // (HttpOnly, SameSite=Strict). The request passes admit() like any API request first, so it
    // needs the header.
    void answerSession(httplib::Response& res) const;

private:
    bool hostAllowed(const std::string& hostHeader) const;
    bool framingClear(const httplib::Request& req) const;
    bool authorized(const httplib::Request& req) const;
    bool sameOrigin(const httplib::Request& req) const;

    std::string m_bearer;   // "Bearer <token>", empty without a token
    std::string m_session;  // the cookie's value, random per start; empty without a token
    std::set<std::string> m_hosts;  // lower case
    bool m_anyAddress = false;
    std::set<std::string> m_fileBodies;
};
