#include "http/HttpApi.h"

#include <QElapsedTimer>
#include <httplib.h>

#include "CMRoot.h"
#include "KeloLog.h"
#include "http/HttpErrors.h"
#include "http/HttpServer.h"
#include "http/RequestBody.h"

namespace {

constexpr int WaitSliceMs = 100;

QVariantHash rowsAnswer(const QVariantHash& reply)
{
    QVariantHash answer = reply;
    const QVariantHash defaults = {{QStringLiteral("rowsCount"), 0},
                                   {QStringLiteral("title"), QString()},
                                   {QStringLiteral("roles"), QVariantHash()},
                                   {QStringLiteral("rows"), QVariantList()}};
    for (auto it = defaults.begin(); it != defaults.end(); ++it) {
        if (!answer.contains(it.key()))
            answer.insert(it.key(), it.value());
    }
    return answer;
}

}  // namespace

HttpApi::HttpApi(int replyTimeoutMs, const std::atomic<bool>* stopping)
    : m_replyTimeoutMs(replyTimeoutMs), m_stopping(stopping)
{
}

void HttpApi::install(HttpServer& server)
{
    using Handler = void (HttpApi::*)(std::string&, httplib::Response&) const;
    const std::pair<const char*, Handler> routes[] = {
        {"/api/setData", &HttpApi::setData}, {"/api/getRows", &HttpApi::getRows}, {"/api/getData", &HttpApi::getData}};
    for (const auto& route : routes) {
        const Handler handler = route.second;
        server.post(route.first, RequestBody::MaxBodyBytes,
                    [this, handler](const httplib::Request&, std::string& body, httplib::Response& res) {
                        (this->*handler)(body, res);
                    });
    }
}

bool HttpApi::waitFor(const CMReplyBase& reply, CMError* error) const
{
    QElapsedTimer timer;
    timer.start();
    while (!reply.waitForFinished(WaitSliceMs)) {
        if (m_stopping->load()) {
            *error = CMError(HttpErrors::UnavailableName(), QStringLiteral("The host is shutting down."));
            return false;
        }
        if (timer.elapsed() >= m_replyTimeoutMs) {
            *error = CMError(CMError::TimeoutName(),
                             QStringLiteral("No answer within %1 ms.").arg(m_replyTimeoutMs));
            // Whoever finishes first wins: a reply that finished meanwhile is answered as it is.
            if (reply.setError(*error))
                return false;
        }
    }
    return true;
}

bool HttpApi::awaitValue(const CMReplyBase& reply, httplib::Response& res) const
{
    CMError error;
    if (!waitFor(reply, &error)) {
        HttpErrors::answer(res, error);
        return false;
    }
    if (reply.hasError()) {
        HttpErrors::answer(res, reply.error());
        return false;
    }
    return true;
}

void HttpApi::setData(std::string& requestBody, httplib::Response& res) const
{
    RequestBody body;
    CMError error;
    QString path;
    if (!body.parse(std::move(requestBody), &error) || !body.requiredPath(QStringLiteral("path"), &path, &error))
        return HttpErrors::answer(res, error);
    CMVoidReply reply;
    // The request is let go at once: if its handler drops it too, the reply ends as NoAnswer.
    CMRoot()->sendSetData(CMSetDataRequest(CMPath(path), body.valueAsSent(QStringLiteral("value")), reply));
    if (!awaitValue(reply, res))
        return;
    HttpErrors::answerJson(res, QVariantHash{{QStringLiteral("value"), reply.variant()}});
}

void HttpApi::getRows(std::string& requestBody, httplib::Response& res) const
{
    RequestBody body;
    CMError error;
    QString path;
    int fromRow = 0;
    int toRow = 0;
    QStringList roles;
    if (!body.parse(std::move(requestBody), &error) || !body.requiredPath(QStringLiteral("path"), &path, &error)
        || !body.requiredInt(QStringLiteral("fromRow"), &fromRow, &error)
        || !body.requiredInt(QStringLiteral("toRow"), &toRow, &error)
        || !body.optionalStringList(QStringLiteral("roles"), &roles, &error))
        return HttpErrors::answer(res, error);
    // Whatever range is asked, one answer stays bounded in time and memory.
    if (fromRow >= 0 && toRow - fromRow >= MaxRows)
        toRow = fromRow + MaxRows - 1;
    CMReply<KeloRowsRoles> reply;
    CMRoot()->sendGetRows(CMGetRowsRequest(CMPath(path), fromRow, toRow, roles, reply));
    if (!awaitValue(reply, res))
        return;
    HttpErrors::answerJson(res, rowsAnswer(reply.variant().toHash()));
}

void HttpApi::getData(std::string& requestBody, httplib::Response& res) const
{
    RequestBody body;
    CMError error;
    QString path;
    QStringList roles;
    if (!body.parse(std::move(requestBody), &error) || !body.requiredPath(QStringLiteral("path"), &path, &error)
        || !body.optionalStringList(QStringLiteral("roles"), &roles, &error))
        return HttpErrors::answer(res, error);
    CMReply<QVariant> reply;
    CMRoot()->sendGetData(CMGetDataRequest(CMPath(path), roles, reply));
    if (!awaitValue(reply, res))
        return;
    HttpErrors::answerJson(res, QVariantHash{{QStringLiteral("value"), reply.variant()}});
}
