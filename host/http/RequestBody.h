#pragma once
// The JSON object of an API request's body, read field by field. Every failure gives a BadRequest
// error whose message names the field, so a client learns what to fix. Numbers that are whole reach
// the fields as int. A plain value: any thread.
#include <QStringList>
#include <QVariantHash>
#include <string>

#include "CMError.h"

class RequestBody
{
public:
    // False with *error when body is empty, not JSON or not a JSON object.
    bool parse(const std::string& body, CMError* error);

    // A field that must be there: a non-empty string / a whole number in int's range.
    bool requiredPath(const QString& key, QString* out, CMError* error) const;
    bool requiredInt(const QString& key, int* out, CMError* error) const;
    // A list of strings that may be missing or null (then *out is empty).
    bool optionalStringList(const QString& key, QStringList* out, CMError* error) const;
    // Any value, invalid when missing.
    QVariant value(const QString& key) const { return m_fields.value(key); }

private:
    QVariantHash m_fields;
};
