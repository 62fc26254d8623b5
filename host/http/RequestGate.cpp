#include "http/RequestGate.h"

#include <QRandomGenerator>
#include <arpa/inet.h>
#include <httplib.h>

#include "http/HttpErrors.h"
#include "http/RequestFraming.h"

namespace {

using RequestFraming::lower;
using RequestFraming::trimmed;

// Compares in time independent of where the texts differ, so a secret cannot be guessed byte by byte.
bool sameSecret(const std::string& given, const std::string& expected)
{
    unsigned char diff = given.size() == expected.size() ? 0 : 1;
    for (size_t i = 0; i < given.size(); ++i)
        diff |= static_cast<unsigned char>(given[i] ^ expected[i % (expected.empty() ? 1 : expected.size())]);
    return diff == 0 && !expected.empty();
}

// "name:port", "[v6]:port" or a bare name: the name, without brackets.
std::string hostName(const std::string& header)
{
    if (!header.empty() && header.front() == '[') {
        const size_t close = header.find(']');
        return close == std::string::npos ? std::string() : header.substr(1, close - 1);
    }
    return header.substr(0, header.find(':'));
}

bool isAddress(const std::string& text)
{
    in6_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 || inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isWildcard(const std::string& text)
{
    in6_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) == 1)
        return reinterpret_cast<const in_addr*>(&address)->s_addr == INADDR_ANY;
    return inet_pton(AF_INET6, text.c_str(), &address) == 1 && IN6_IS_ADDR_UNSPECIFIED(&address);
}

std::string randomSecret()
{
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
    return bytes.toHex().toStdString();
}

std::string cookieValue(const std::string& header, const std::string& name)
{
    size_t at = 0;
    while (at < header.size()) {
        size_t end = header.find(';', at);
        if (end == std::string::npos)
            end = header.size();
        const std::string pair = trimmed(header.substr(at, end - at));
        const size_t eq = pair.find('=');
        if (eq != std::string::npos && pair.compare(0, eq, name) == 0)
            return pair.substr(eq + 1);
        at = end + 1;
    }
    return std::string();
}

bool changesState(const httplib::Request& req)
{
    return req.method != "GET" && req.method != "HEAD";
}

bool refuse(httplib::Response& res, const QString& name, const QString& message)
{
    HttpErrors::answer(res, CMError(name, message));
    return false;
}

}  // namespace

RequestGate::RequestGate(const HttpAccess& access)
{
    if (!access.token.isEmpty()) {
        m_bearer = "Bearer " + access.token.toStdString();
        m_session = randomSecret();
    }
    m_anyAddress = isWildcard(access.listenAddress.toStdString());
    m_hosts = {"localhost", lower(access.listenAddress.toStdString())};
    for (const QString& name : access.allowedHosts)
        m_hosts.insert(lower(name.toStdString()));
}

void RequestGate::acceptFileBody(const std::string& path)
{
    m_fileBodies.insert(path);
}

QString RequestGate::bodyTypeProblem(const std::string& contentType, BodyKind kind)
{
    const std::string type = lower(trimmed(contentType.substr(0, contentType.find(';'))));
    if (kind == BodyKind::Json) {
        if (type == "application/json")
            return QString();
        return QStringLiteral("The body must be sent with 'Content-Type: application/json'.");
    }
    if (type.empty() || type == "text/plain" || type == "application/x-www-form-urlencoded"
        || type == "multipart/form-data")
        return QStringLiteral("The body must be sent with the Content-Type of its file, such as "
                              "'audio/x-mpegurl'; none, text/plain and form types are refused.");
    return QString();
}

bool RequestGate::hostAllowed(const std::string& hostHeader) const
{
    const std::string name = lower(hostName(trimmed(hostHeader)));
    if (name.empty())
        return false;
    if (m_hosts.count(name) > 0)
        return true;
    // An address typed as such cannot be rebound to another machine by a name server.
    return m_anyAddress && isAddress(name);
}

bool RequestGate::framingClear(const httplib::Request& req) const
{
    const size_t lengths = req.get_header_value_count("Content-Length");
    if (lengths > 0 && req.has_header("Transfer-Encoding"))
        return false;
    const std::string first = trimmed(req.get_header_value("Content-Length"));
    for (size_t i = 0; i < lengths; ++i) {
        const std::string value = trimmed(req.get_header_value("Content-Length", i));
        if (value.empty() || value != first || value.find_first_not_of("0123456789") != std::string::npos)
            return false;
    }
    return true;
}

bool RequestGate::authorized(const httplib::Request& req) const
{
    if (m_bearer.empty())
        return true;
    if (req.path.rfind("/api/", 0) != 0 && !changesState(req))
        return true;
    return sameSecret(req.get_header_value("Authorization"), m_bearer)
           || sameSecret(cookieValue(req.get_header_value("Cookie"), SessionCookie), m_session);
}

bool RequestGate::sameOrigin(const httplib::Request& req) const
{
    if (!req.has_header("Origin"))
        return true;
    return lower(req.get_header_value("Origin")) == "http://" + lower(trimmed(req.get_header_value("Host")));
}

bool RequestGate::admit(const httplib::Request& req, httplib::Response& res) const
{
    if (req.get_header_value_count("Host") != 1 || !hostAllowed(req.get_header_value("Host")))
        return refuse(res, HttpErrors::ForbiddenName(),
                      QStringLiteral("This host does not answer to that Host name; start it with --allow-host NAME "
                                     "to use that name."));
    if (!framingClear(req))
        return refuse(res, CMError::BadRequestName(),
                      QStringLiteral("The request's length is ambiguous (conflicting Content-Length or "
                                     "Transfer-Encoding headers)."));
    if (!authorized(req)) {
        res.set_header("WWW-Authenticate", "Bearer");
        return refuse(res, HttpErrors::UnauthorizedName(), HttpErrors::forStatus(401).Message());
    }
    if (!changesState(req))
        return true;
    if (!sameOrigin(req))
        return refuse(res, HttpErrors::ForbiddenName(),
                      QStringLiteral("Requests from other web pages are not allowed."));
    const BodyKind kind = m_fileBodies.count(req.path) > 0 ? BodyKind::File : BodyKind::Json;
    const QString problem = bodyTypeProblem(req.get_header_value("Content-Type"), kind);
    if (!problem.isEmpty())
        return refuse(res, HttpErrors::UnsupportedMediaTypeName(), problem);
    return true;
}

void RequestGate::addProtectiveHeaders(httplib::Response& res)
{
    res.set_header("Content-Security-Policy",
                   "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                   "img-src 'self' data:; font-src 'self'; manifest-src 'self'; base-uri 'none'; "
                   "form-action 'none'; frame-ancestors 'none'");
    res.set_header("X-Content-Type-Options", "nosniff");
    res.set_header("X-Frame-Options", "DENY");
    res.set_header("Referrer-Policy", "no-referrer");
}

void RequestGate::answerSession(httplib::Response& res) const
{
    if (!m_session.empty())
        res.set_header("Set-Cookie", std::string(SessionCookie) + "=" + m_session + "; Path=/; HttpOnly; SameSite=Strict");
    HttpErrors::answerJson(res, QVariantHash{{QStringLiteral("value"), true}});
}
