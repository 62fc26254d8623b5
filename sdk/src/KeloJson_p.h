#pragma once
// The direct JSON text reader and writer behind KeloJson; not part of the SDK's API. Both go between
// UTF-8 text and variants without building a QJsonDocument in between, and both give exactly what
// the document classes give: the reader takes the common forms and declines (returns false) on
// anything else, which the caller then hands to the document parser; the writer writes records,
// hashes, lists, texts, ints and bools itself and any other value through the document writer.
#include <QByteArray>
#include <QJsonValue>
#include <QVariant>

namespace KeloJsonPrivate {
// True with *out set when utf8 is one JSON value made only of objects without repeated keys, arrays,
// texts without \u escapes or control characters, whole numbers of up to 15 digits, true, false and
// null. False (with *out unspecified) for everything else, valid JSON or not.
bool readCommon(const QByteArray& utf8, QVariant* out);
// Appends the compact JSON text of value to out, as QJsonDocument writes it (keys sorted).
void write(const QVariant& value, QByteArray* out);
// The JSON value of a variant as the document classes see it: records as their JSON forms.
QJsonValue toJsonValue(const QVariant& value);
}  // namespace KeloJsonPrivate
