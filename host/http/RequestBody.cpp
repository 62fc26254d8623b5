#include "http/RequestBody.h"

#include "KeloJson.h"

namespace {

CMError badRequest(const QString& message)
{
    return CMError(CMError::BadRequestName(), message);
}

// The first text of value, keys included, that is longer than MaxTextChars, or null.
const QString* overlongText(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QString: {
        const QString* text = static_cast<const QString*>(value.constData());
        return text->size() > RequestBody::MaxTextChars ? text : nullptr;
    }
    case QMetaType::QVariantList:
        for (const QVariant& item : *static_cast<const QVariantList*>(value.constData())) {
            if (const QString* text = overlongText(item))
                return text;
        }
        return nullptr;
    case QMetaType::QVariantHash: {
        const QVariantHash& hash = *static_cast<const QVariantHash*>(value.constData());
        for (auto it = hash.cbegin(); it != hash.cend(); ++it) {
            if (it.key().size() > RequestBody::MaxTextChars)
                return &it.key();
            if (const QString* text = overlongText(it.value()))
                return text;
        }
        return nullptr;
    }
    default:
        return nullptr;
    }
}

// Counts the values of a JSON text without decoding it (separators and openings outside strings),
// stopping at limit + 1. A text that is not JSON gets a count too; the parser refuses it later.
int valueCount(const std::string& body, int limit)
{
    int count = 1;
    bool inString = false;
    for (size_t i = 0; i < body.size() && count <= limit; ++i) {
        const char c = body[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == ',' || c == '[' || c == '{') {
            ++count;
        }
    }
    return count;
}

}  // namespace

bool RequestBody::parse(std::string text, CMError* error)
{
    if (text.empty()) {
        *error = badRequest(QStringLiteral("The request body is empty; it must be a JSON object."));
        return false;
    }
    m_body = std::make_shared<const std::string>(std::move(text));
    const std::string& body = *m_body;
    const QByteArray utf8 = QByteArray::fromRawData(body.data(), static_cast<int>(body.size()));
    m_fields.clear();
    // A body in the common forms has its values counted as it is checked, in one walk.
    if (KeloJson::members(utf8, MaxTextChars, &m_texts, MaxValues))
        return true;
    if (valueCount(body, MaxValues) > MaxValues) {
        *error = badRequest(QStringLiteral("The request holds more than %1 JSON values.").arg(MaxValues));
        return false;
    }
    bool ok = false;
    QString parseError;
    // parse already gives whole numbers as int.
    const QVariant json = KeloJson::parse(utf8, &ok, &parseError);
    if (!ok) {
        *error = badRequest(QStringLiteral("The request body is not JSON: %1").arg(parseError));
        return false;
    }
    if (json.type() != QVariant::Hash) {
        *error = badRequest(QStringLiteral("The request body must be a JSON object."));
        return false;
    }
    // A text takes at least one byte a character, so a short body holds no overlong text.
    const bool mayHoldOverlongText = body.size() > static_cast<size_t>(MaxTextChars);
    if (const QString* text = mayHoldOverlongText ? overlongText(json) : nullptr) {
        *error = badRequest(QStringLiteral("A text in the request is longer than %1 characters: \"%2...\"")
                                .arg(MaxTextChars)
                                .arg(text->left(40)));
        return false;
    }
    m_fields = json.toHash();
    return true;
}

QVariant RequestBody::value(const QString& key) const
{
    const auto text = m_texts.constFind(key);
    return text == m_texts.cend() ? m_fields.value(key) : KeloJson::parse(*text);
}

QVariant RequestBody::valueAsSent(const QString& key) const
{
    const auto text = m_texts.constFind(key);
    return text == m_texts.cend() ? m_fields.value(key) : QVariant::fromValue(KeloJsonText{*text, m_body});
}

bool RequestBody::requiredPath(const QString& key, QString* out, CMError* error) const
{
    const QVariant v = value(key);
    if (v.type() != QVariant::String || v.toString().isEmpty()) {
        *error = badRequest(QStringLiteral("\"%1\" must be a non-empty string.").arg(key));
        return false;
    }
    *out = v.toString();
    return true;
}

bool RequestBody::requiredInt(const QString& key, int* out, CMError* error) const
{
    const QVariant v = value(key);
    if (v.type() != QVariant::Int) {
        *error = badRequest(QStringLiteral("\"%1\" must be a whole number.").arg(key));
        return false;
    }
    *out = v.toInt();
    return true;
}

bool RequestBody::optionalStringList(const QString& key, QStringList* out, CMError* error) const
{
    out->clear();
    const QVariant v = value(key);
    if (!v.isValid() || v.isNull() || v.userType() == QMetaType::Nullptr)
        return true;
    bool ok = v.type() == QVariant::List;
    for (const QVariant& item : v.toList()) {
        ok = ok && item.type() == QVariant::String;
        out->append(item.toString());
    }
    if (!ok) {
        *error = badRequest(QStringLiteral("\"%1\" must be a list of strings.").arg(key));
        out->clear();
    }
    return ok;
}
