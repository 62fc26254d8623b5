#pragma once
// The one place where errors become HTTP answers. Every error answer of the host has the body
// {"error": <CMError>}; its status follows from the error's name:
//   BadRequest 400, Unauthorized 401, Forbidden 403, NotFound 404, RequestTimeout 408,
//   PayloadTooLarge 413, UnsupportedMediaType 415, HeadTooLarge 431, Unavailable 503, Timeout 504;
//   any other name is an ordinary answer of a worker: 200.
// Any thread.
#include <string>

#include "CMError.h"

namespace httplib {
struct Response;
}

namespace HttpErrors {
QString UnauthorizedName();
QString ForbiddenName();
QString UnsupportedMediaTypeName();
QString PayloadTooLargeName();
QString UnavailableName();
QString RequestTimeoutName();
QString HeadTooLargeName();

int statusFor(const CMError& error);
// Sets status and body of res for error.
void answer(httplib::Response& res, const CMError& error);
// The error a bare status stands for (an answer httplib or the front end made without a handler: 413, 404, 408...).
CMError forStatus(int status);
// Sets the body of res to the JSON text of value, as application/json.
void answerJson(httplib::Response& res, const QVariant& value);
}  // namespace HttpErrors
