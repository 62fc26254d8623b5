#include "http/HttpErrors.h"

#include <httplib.h>

#include "KeloJson.h"

namespace HttpErrors {

QString UnauthorizedName()
{
    return QStringLiteral("Unauthorized");
}

QString ForbiddenName()
{
    return QStringLiteral("Forbidden");
}

QString UnsupportedMediaTypeName()
{
    return QStringLiteral("UnsupportedMediaType");
}

QString PayloadTooLargeName()
{
    return QStringLiteral("PayloadTooLarge");
}

QString UnavailableName()
{
    return QStringLiteral("Unavailable");
}

QString RequestTimeoutName()
{
    return QStringLiteral("RequestTimeout");
}

QString HeadTooLargeName()
{
    return QStringLiteral("HeadTooLarge");
}

int statusFor(const CMError& error)
{
    static const QHash<QString, int> statuses = {
        {CMError::BadRequestName(), 400}, {UnauthorizedName(), 401},   {CMError::NotFoundName(), 404},
        {ForbiddenName(), 403},           {PayloadTooLargeName(), 413}, {UnsupportedMediaTypeName(), 415},
        {UnavailableName(), 503},         {CMError::TimeoutName(), 504}, {RequestTimeoutName(), 408},
        {HeadTooLargeName(), 431},
    };
    return statuses.value(error.Name(), 200);
}

void answer(httplib::Response& res, const CMError& error)
{
    res.status = statusFor(error);
    answerJson(res, QVariantHash{{QStringLiteral("error"), error.toVariantHash()}});
}

CMError forStatus(int status)
{
    switch (status) {
    case 400: return CMError(CMError::BadRequestName(), QStringLiteral("The request is malformed."));
    case 401: return CMError(UnauthorizedName(), QStringLiteral("This request needs 'Authorization: Bearer <token>'."));
    case 403: return CMError(ForbiddenName(), QStringLiteral("This request is not allowed."));
    case 404: return CMError(CMError::NotFoundName(), QStringLiteral("There is nothing at this address."));
    case 408: return CMError(RequestTimeoutName(), QStringLiteral("The request was not received in time."));
    case 413: return CMError(PayloadTooLargeName(), QStringLiteral("The request body is too large."));
    case 431: return CMError(HeadTooLargeName(), QStringLiteral("The request's headers are too large."));
    case 503:
        return CMError(UnavailableName(), QStringLiteral("The host is busy (too many connections or bodies at once); "
                                                         "try again."));
    default: return CMError(CMError::DefaultName(), QStringLiteral("HTTP status %1.").arg(status));
    }
}

void answerJson(httplib::Response& res, const QVariant& value)
{
    const QByteArray text = KeloJson::stringifyUtf8(value);
    res.set_content(text.constData(), static_cast<size_t>(text.size()), "application/json; charset=utf-8");
}

}  // namespace HttpErrors
