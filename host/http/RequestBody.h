#pragma once
// The JSON object of an API request's body, read field by field. Every failure gives a BadRequest
// error whose message names the field, so a client learns what to fix. Numbers that are whole reach
// the fields as int. A body is at most MaxBodyBytes (decoded JSON takes many times its text's
// memory) and every text in it, names of fields included, at most MaxTextChars characters: room
// for a track's stored roles, far beyond a name a person types. A plain value: any thread.
#include <QByteArray>
#include <QHash>
#include <QStringList>
#include <QVariantHash>
#include <memory>
#include <string>

#include "CMError.h"

class RequestBody
{
public:
    static constexpr size_t MaxBodyBytes = 8 * 1024 * 1024;
    static constexpr int MaxTextChars = 16384;
    // Decoded, every JSON value costs a hundred bytes and more whatever its text's size, so a body
    // holds at most this many: room for an add of 50,000 items with their roles.
    static constexpr int MaxValues = 600000;

    // False with *error when body is empty, not JSON, not a JSON object, holds a text that is too long
    // or more than MaxValues values. The body is kept: the members' texts are read where they stand
    // in it, and a value sent on (valueAsSent) keeps it alive for as long as it needs it.
    bool parse(std::string body, CMError* error);

    // A field that must be there: a non-empty string / a whole number in int's range.
    bool requiredPath(const QString& key, QString* out, CMError* error) const;
    bool requiredInt(const QString& key, int* out, CMError* error) const;
    // A list of strings that may be missing or null (then *out is empty).
    bool optionalStringList(const QString& key, QStringList* out, CMError* error) const;
    // Any value, invalid when missing.
    QVariant value(const QString& key) const;
    // The same value, or its JSON text as a KeloJsonText when the body was read without decoding it:
    // for a value that crosses to another thread, which decodes it (CMSetDataRequest::value()).
    QVariant valueAsSent(const QString& key) const;

private:
    // A body in the common JSON forms keeps each member as its JSON text (m_texts, pointing into
    // m_body), checked but not decoded; any other body is decoded whole into m_fields.
    std::shared_ptr<const std::string> m_body;
    QHash<QString, QByteArray> m_texts;
    QVariantHash m_fields;
};
