#include <QJsonArray>
#include <QJsonDocument>
#include <QVarLengthArray>
#include <algorithm>
#include <charconv>

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
