#include <QJsonArray>
#include <QJsonDocument>
#include <QVarLengthArray>
#include <algorithm>
#include <charconv>
#include <cstring>

#include "CMError.h"
#include "CMPath.h"
#include "KeloHash.h"
#include "KeloJson_p.h"
#include "KeloPlayList.h"
#include "KeloRoles.h"
#include "KeloValue.h"

namespace KeloJsonPrivate {
namespace {

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

// Writes at a pointer into out, grown ahead of what is written by at least double, and cut to what
// was written when the writer ends: a character costs a store, not a call.
class Writer
{
public:
    explicit Writer(QByteArray* out) : m_out(out)
    {
        const int used = out->size();
        m_d = out->data() + used;
        m_end = m_d;
    }
    ~Writer() { m_out->resize(static_cast<int>(m_d - m_out->constData())); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    // A place for n more bytes; wrote() takes the end of what was written there.
    char* room(int n)
    {
        if (m_end - m_d < n)
            grow(n);
        return m_d;
    }
    void wrote(char* end) { m_d = end; }
    void put(char c) { *room(1) = c; ++m_d; }
    void put(const char* text, int n)
    {
        std::memcpy(room(n), text, static_cast<size_t>(n));
        m_d += n;
    }

private:
    void grow(int n)
    {
        const int used = static_cast<int>(m_d - m_out->constData());
        m_out->resize(std::max(2 * used, used + n) + 64);
        m_d = m_out->data() + used;
        m_end = m_out->data() + m_out->size();
    }

    QByteArray* m_out;
    char* m_d;
    char* m_end;
};

void writeValue(const QVariant& value, Writer& out);

void writeString(const QString& text, Writer& out)
{
    // Room for the longest form of every unit (a six-byte \uXXXX).
    char* d = out.room(2 + 6 * text.size());
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
    out.wrote(d);
}

void writeInt(int value, Writer& out)
{
    constexpr int longest = 11;  // "-2147483648"
    char* d = out.room(longest);
    out.wrote(std::to_chars(d, d + longest, value).ptr);
}

void writeHash(const QVariantHash& hash, Writer& out)
{
    // The document writer sorts the keys; so does this one.
    QVarLengthArray<QVariantHash::const_iterator, 32> members;
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        members.append(it);
    std::sort(members.begin(), members.end(), [](auto a, auto b) { return a.key() < b.key(); });
    out.put('{');
    for (int i = 0; i < members.size(); ++i) {
        if (i > 0)
            out.put(',');
        writeString(members[i].key(), out);
        out.put(':');
        writeValue(members[i].value(), out);
    }
    out.put('}');
}

void writeMap(const QVariantMap& map, Writer& out)
{
    out.put('{');
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (it != map.cbegin())
            out.put(',');
        writeString(it.key(), out);
        out.put(':');
        writeValue(it.value(), out);
    }
    out.put('}');
}

void writeList(const QVariantList& list, Writer& out)
{
    out.put('[');
    for (int i = 0; i < list.size(); ++i) {
        if (i > 0)
            out.put(',');
        writeValue(list.at(i), out);
    }
    out.put(']');
}

void writeThroughDocument(const QVariant& value, Writer& out)
{
    const QByteArray wrapped = QJsonDocument(QJsonArray{toJsonValue(value)}).toJson(QJsonDocument::Compact);
    out.put(wrapped.constData() + 1, wrapped.size() - 2);
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

void writeValue(const QVariant& value, Writer& out)
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
        value.toBool() ? out.put("true", 4) : out.put("false", 5);
        return;
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        out.put("null", 4);
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

}  // namespace

void write(const QVariant& value, QByteArray* out)
{
    Writer writer(out);
    writeValue(value, writer);
}

}  // namespace KeloJsonPrivate
