#include <QJsonArray>
#include <QJsonDocument>
#include <QVarLengthArray>
#include <algorithm>
#include <charconv>
#include <limits>

#include "CMError.h"
#include "CMPath.h"
#include "KeloHash.h"
#include "KeloJson_p.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "KeloValue.h"

namespace KeloJsonPrivate {
namespace {

// ---- reading ------------------------------------------------------------------------------------

// Deeper documents are rare and left to the document parser, which has its own limit.
constexpr int deepestNesting = 256;
// Fifteen decimal digits are always below 2^53, so such a number is the same as int, qlonglong or
// double, whichever way the document parser reads it.
constexpr int longestNumber = 15;
// How many keys a thread keeps for sharing: the keys of the records it reads, not of every document.
constexpr int keysKept = 48;

class Reader
{
public:
    Reader(const char* begin, const char* end) : m_p(begin), m_end(end) {}

    bool document(QVariant* out)
    {
        skipSpace();
        if (!value(out, 0))
            return false;
        skipSpace();
        return m_p == m_end;
    }

private:
    void skipSpace()
    {
        while (m_p < m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    bool value(QVariant* out, int depth)
    {
        if (m_p == m_end)
            return false;
        switch (*m_p) {
        case '{':
            return depth < deepestNesting && object(out, depth + 1);
        case '[':
            return depth < deepestNesting && array(out, depth + 1);
        case '"': {
            QString text;
            if (!string(&text))
                return false;
            *out = text;
            return true;
        }
        case 't':
            return word("true", 4) && (*out = true, true);
        case 'f':
            return word("false", 5) && (*out = false, true);
        case 'n':
            return word("null", 4) && (*out = QVariant::fromValue(nullptr), true);
        default:
            return number(out);
        }
    }

    bool word(const char* text, int length)
    {
        if (m_end - m_p < length || !std::equal(text, text + length, m_p))
            return false;
        m_p += length;
        return true;
    }

    bool object(QVariant* out, int depth)
    {
        QVariantHash hash;
        ++m_p;
        skipSpace();
        if (m_p < m_end && *m_p == '}') {
            ++m_p;
            *out = hash;
            return true;
        }
        while (true) {
            QString key;
            if (m_p == m_end || *m_p != '"' || !(plainKey(&key) || string(&key)))
                return false;
            skipSpace();
            if (m_p == m_end || *m_p != ':')
                return false;
            ++m_p;
            skipSpace();
            QVariant member;
            if (!value(&member, depth) || hash.contains(key))
                return false;  // a repeated key is the document parser's to settle
            hash.insert(key, member);
            skipSpace();
            if (m_p == m_end)
                return false;
            if (*m_p++ == '}')
                break;
            if (m_p[-1] != ',')
                return false;
            skipSpace();
        }
        *out = hash;
        return true;
    }

    bool array(QVariant* out, int depth)
    {
        QVariantList list;
        ++m_p;
        skipSpace();
        if (m_p < m_end && *m_p == ']') {
            ++m_p;
            *out = list;
            return true;
        }
        while (true) {
            list.append(QVariant());
            if (!value(&list.last(), depth))
                return false;
            skipSpace();
            if (m_p == m_end)
                return false;
            if (*m_p++ == ']')
                break;
            if (m_p[-1] != ',')
                return false;
            skipSpace();
        }
        *out = list;
        return true;
    }

    // A key of plain ASCII (no escape, no quote) seen before is shared rather than built again: an
    // array of records, and the roles texts of a playlist's entries, repeat the same few keys
    // thousands of times. The keys seen are kept per thread, so no lock is needed.
    bool plainKey(QString* out)
    {
        const char* start = m_p + 1;
        const char* p = start;
        while (p < m_end && *p != '"' && *p != '\\' && static_cast<unsigned char>(*p) >= 0x20 &&
               static_cast<unsigned char>(*p) < 0x80)
            ++p;
        if (p == m_end || *p != '"')
            return false;
        static thread_local QVarLengthArray<QString, keysKept> keys;
        const QLatin1String key(start, static_cast<int>(p - start));
        auto known = std::find_if(keys.cbegin(), keys.cend(), [&](const QString& k) { return k == key; });
        if (known != keys.cend()) {
            *out = *known;
        } else {
            *out = QString(key);
            if (keys.size() < keysKept)
                keys.append(*out);
        }
        m_p = p + 1;
        return true;
    }

    bool number(QVariant* out)
    {
        const bool negative = *m_p == '-';
        const char* digits = negative ? m_p + 1 : m_p;
        const char* p = digits;
        qint64 magnitude = 0;
        while (p < m_end && *p >= '0' && *p <= '9' && p - digits <= longestNumber)
            magnitude = magnitude * 10 + (*p++ - '0');
        const auto length = p - digits;
        if (length == 0 || length > longestNumber || (*digits == '0' && length > 1))
            return false;
        if (p < m_end && (*p == '.' || *p == 'e' || *p == 'E'))
            return false;  // fractions and exponents: the document parser's rounding decides
        m_p = p;
        const qint64 n = negative ? -magnitude : magnitude;
        if (n >= std::numeric_limits<int>::min() && n <= std::numeric_limits<int>::max())
            *out = static_cast<int>(n);
        else
            *out = static_cast<qlonglong>(n);
        return true;
    }

    // Length of the well-formed UTF-8 sequence at p (2 to 4 bytes), 0 when it is not one or
    // encodes a noncharacter (left to the document parser).
    int utf8Sequence(const unsigned char* p) const
    {
        const auto* end = reinterpret_cast<const unsigned char*>(m_end);
        const unsigned char b = *p;
        int length = 0;
        char32_t c = 0;
        if (b >= 0xC2 && b <= 0xDF) {
            length = 2;
            c = b & 0x1F;
        } else if (b >= 0xE0 && b <= 0xEF) {
            length = 3;
            c = b & 0x0F;
        } else if (b >= 0xF0 && b <= 0xF4) {
            length = 4;
            c = b & 0x07;
        } else {
            return 0;
        }
        if (end - p < length)
            return 0;
        for (int i = 1; i < length; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                return 0;
            c = (c << 6) | (p[i] & 0x3F);
        }
        const char32_t lowest[] = {0, 0, 0x80, 0x800, 0x10000};
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        const bool nonCharacter = (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE;
        if (c < lowest[length] || c > 0x10FFFF || surrogate || nonCharacter)
            return 0;
        return length;
    }

    bool string(QString* out)
    {
        const char* start = ++m_p;
        QByteArray unescaped;  // only filled once an escape shows up
        const char* copiedUpTo = start;
        while (m_p < m_end) {
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '"') {
                if (copiedUpTo == start) {
                    *out = QString::fromUtf8(start, static_cast<int>(m_p - start));
                } else {
                    unescaped.append(copiedUpTo, static_cast<int>(m_p - copiedUpTo));
                    *out = QString::fromUtf8(unescaped);
                }
                ++m_p;
                return true;
            }
            if (c < 0x20)
                return false;
            if (c == '\\') {
                if (m_end - m_p < 2)
                    return false;
                const char replacement = unescapedChar(m_p[1]);
                if (!replacement)
                    return false;  // \u escapes included: surrogate pairs are the document parser's
                unescaped.append(copiedUpTo, static_cast<int>(m_p - copiedUpTo));
                unescaped.append(replacement);
                m_p += 2;
                copiedUpTo = m_p;
            } else if (c < 0x80) {
                ++m_p;
            } else {
                const int length = utf8Sequence(reinterpret_cast<const unsigned char*>(m_p));
                if (length == 0)
                    return false;
                m_p += length;
            }
        }
        return false;
    }

    static char unescapedChar(char escape)
    {
        switch (escape) {
        case '"':
        case '\\':
        case '/':
            return escape;
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return 0;
        }
    }

    const char* m_p;
    const char* m_end;
};

// ---- writing ------------------------------------------------------------------------------------

char* writeHex4(ushort unit, char* d)
{
    static const char hex[] = "0123456789abcdef";
    *d++ = '\\';
    *d++ = 'u';
    *d++ = hex[(unit >> 12) & 0xF];
    *d++ = hex[(unit >> 8) & 0xF];
    *d++ = hex[(unit >> 4) & 0xF];
    *d++ = hex[unit & 0xF];
    return d;
}

char* writeEscapedAscii(ushort c, char* d)
{
    char escape = 0;
    switch (c) {
    case '"':
    case '\\':
        escape = static_cast<char>(c);
        break;
    case '\b':
        escape = 'b';
        break;
    case '\f':
        escape = 'f';
        break;
    case '\n':
        escape = 'n';
        break;
    case '\r':
        escape = 'r';
        break;
    case '\t':
        escape = 't';
        break;
    default:
        if (c < 0x20)
            return writeHex4(c, d);
        *d++ = static_cast<char>(c);
        return d;
    }
    *d++ = '\\';
    *d++ = escape;
    return d;
}

void writeString(const QString& text, QByteArray* out)
{
    // Room for the longest form of every unit (a six-byte \uXXXX), written in place, then cut to size.
    const int start = out->size();
    out->resize(start + 2 + 6 * text.size());
    char* d = out->data() + start;
    *d++ = '"';
    const ushort* p = text.utf16();
    const ushort* end = p + text.size();
    while (p < end) {
        const ushort c = *p++;
        if (c < 0x80) {
            if (c >= 0x20 && c != '"' && c != '\\')
                *d++ = static_cast<char>(c);
            else
                d = writeEscapedAscii(c, d);
        } else if (c < 0x800) {
            *d++ = char(0xC0 | (c >> 6));
            *d++ = char(0x80 | (c & 0x3F));
        } else if (QChar::isHighSurrogate(c) && p < end && QChar::isLowSurrogate(*p)) {
            const uint u = QChar::surrogateToUcs4(c, *p++);
            *d++ = char(0xF0 | (u >> 18));
            *d++ = char(0x80 | ((u >> 12) & 0x3F));
            *d++ = char(0x80 | ((u >> 6) & 0x3F));
            *d++ = char(0x80 | (u & 0x3F));
        } else if (QChar::isSurrogate(c)) {
            d = writeHex4(c, d);  // a lone half of a pair has no UTF-8 form
        } else {
            *d++ = char(0xE0 | (c >> 12));
            *d++ = char(0x80 | ((c >> 6) & 0x3F));
            *d++ = char(0x80 | (c & 0x3F));
        }
    }
    *d++ = '"';
    out->resize(static_cast<int>(d - out->constData()));
}

void writeInt(int value, QByteArray* out)
{
    char digits[16];
    const auto written = std::to_chars(digits, digits + sizeof digits, value);
    out->append(digits, static_cast<int>(written.ptr - digits));
}

void writeHash(const QVariantHash& hash, QByteArray* out)
{
    // The document writer sorts the keys; so does this one.
    QVarLengthArray<QVariantHash::const_iterator, 32> members;
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        members.append(it);
    std::sort(members.begin(), members.end(), [](auto a, auto b) { return a.key() < b.key(); });
    out->append('{');
    for (int i = 0; i < members.size(); ++i) {
        if (i > 0)
            out->append(',');
        writeString(members[i].key(), out);
        out->append(':');
        write(members[i].value(), out);
    }
    out->append('}');
}

void writeMap(const QVariantMap& map, QByteArray* out)
{
    out->append('{');
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (it != map.cbegin())
            out->append(',');
        writeString(it.key(), out);
        out->append(':');
        write(it.value(), out);
    }
    out->append('}');
}

void writeList(const QVariantList& list, QByteArray* out)
{
    out->append('[');
    for (int i = 0; i < list.size(); ++i) {
        if (i > 0)
            out->append(',');
        write(list.at(i), out);
    }
    out->append(']');
}

void writeThroughDocument(const QVariant& value, QByteArray* out)
{
    const QByteArray wrapped = QJsonDocument(QJsonArray{toJsonValue(value)}).toJson(QJsonDocument::Compact);
    out->append(wrapped.constData() + 1, wrapped.size() - 2);
}

// The hash behind a record held in a variant; false for anything that is not a hash record.
bool recordHash(const QVariant& value, QVariantHash* hash)
{
    const int type = value.userType();
    if (type == qMetaTypeId<KeloRoles>())
        *hash = value.value<KeloRoles>().hash();
    else if (type == qMetaTypeId<KeloHash>())
        *hash = value.value<KeloHash>().hash();
    else if (type == qMetaTypeId<KeloValue>())
        *hash = value.value<KeloValue>().hash();
    else if (type == qMetaTypeId<KeloRowsRoles>())
        *hash = value.value<KeloRowsRoles>().hash();
    else if (type == qMetaTypeId<KeloPlayListItem>())
        *hash = value.value<KeloPlayListItem>().hash();
    else if (type == qMetaTypeId<CMError>())
        *hash = value.value<CMError>().toVariantHash();
    else
        return false;
    return true;
}

}  // namespace

bool readCommon(const QByteArray& utf8, QVariant* out)
{
    return Reader(utf8.constData(), utf8.constData() + utf8.size()).document(out);
}

void write(const QVariant& value, QByteArray* out)
{
    switch (value.userType()) {
    case QMetaType::QVariantHash:
        return writeHash(*static_cast<const QVariantHash*>(value.constData()), out);
    case QMetaType::QVariantMap:
        return writeMap(*static_cast<const QVariantMap*>(value.constData()), out);
    case QMetaType::QVariantList:
        return writeList(*static_cast<const QVariantList*>(value.constData()), out);
    case QMetaType::QString:
        return writeString(*static_cast<const QString*>(value.constData()), out);
    case QMetaType::Int:
        return writeInt(*static_cast<const int*>(value.constData()), out);
    case QMetaType::Bool:
        out->append(value.toBool() ? "true" : "false");
        return;
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        out->append("null");
        return;
    default:
        break;
    }
    QVariantHash hash;
    if (value.userType() == qMetaTypeId<CMPath>())
        writeString(value.value<CMPath>().toEncoded(), out);
    else if (recordHash(value, &hash))
        writeHash(hash, out);
    else
        writeThroughDocument(value, out);
}

}  // namespace KeloJsonPrivate
