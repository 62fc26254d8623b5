#include "KeloJsonReader_p.h"

#include <QVarLengthArray>
#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace KeloJsonPrivate {
namespace {

// Fifteen decimal digits are always below 2^53, so such a number is the same as int, qlonglong or
// double, whichever way the document parser reads it.
constexpr int longestNumber = 15;
// How many keys a thread keeps for sharing: the keys of the records it reads, not of every document.
constexpr int keysKept = 48;

// The character each escape stands for, 0 for the escapes the direct reader declines (\u too).
struct Escapes
{
    char of[256];
};

constexpr Escapes escapes()
{
    Escapes e{};
    e.of['"'] = '"';
    e.of['\\'] = '\\';
    e.of['/'] = '/';
    e.of['b'] = '\b';
    e.of['f'] = '\f';
    e.of['n'] = '\n';
    e.of['r'] = '\r';
    e.of['t'] = '\t';
    return e;
}

constexpr Escapes escaped = escapes();

char unescapedChar(char escape)
{
    return escaped.of[static_cast<unsigned char>(escape)];
}

// The bytes a text's reader only moves over: ASCII but the quote, the backslash and control bytes.
struct PlainBytes
{
    bool of[256];
};

constexpr PlainBytes plainBytes()
{
    PlainBytes bytes{};
    for (int c = 0x20; c < 0x80; ++c)
        bytes.of[c] = c != '"' && c != '\\';
    return bytes;
}

constexpr PlainBytes plain = plainBytes();

constexpr quint64 low7 = 0x7f7f7f7f7f7f7f7full;
constexpr quint64 ones = 0x0101010101010101ull;

// Eight bytes are tested at once on their low seven bits (l), where the sums cannot carry into the
// next byte: each test sets the top bit of the bytes it finds.
inline quint64 low7Equal(quint64 l, char c)
{
    return ~((l ^ (ones * static_cast<unsigned char>(c))) + low7) & ~low7;
}

// The bytes of w that are not plain: a quote, a backslash, a control byte or a byte above 0x7f.
inline quint64 unplainBytes(quint64 w)
{
    const quint64 l = w & low7;
    const quint64 belowSpace = ~(l + ones * (0x80 - 0x20)) & ~low7;
    return (w & ~low7) | belowSpace | low7Equal(l, '"') | low7Equal(l, '\\');
}

// The backslashes of w.
inline quint64 backslashes(quint64 w)
{
    return low7Equal(w & low7, '\\') & ~w;
}

}  // namespace

bool Reader::document(QVariant* out)
{
    skipSpace();
    return value(out, 0) && atEnd();
}

bool Reader::value(QVariant* out, int depth)
{
    if (!out)
        return skip(depth);
    if (m_p == m_end)
        return false;
    switch (*m_p) {
    case '{': {
        QVariantHash hash;
        const bool read = object(depth + 1, [&](const Text& key) {
            // One lookup makes the member's place and tells a repeated key, which is the document
            // parser's to settle; the value is read in place.
            const int before = hash.size();
            QVariant& member = hash[keyString(key)];
            return hash.size() > before && value(&member, depth + 1);
        });
        if (read)
            *out = hash;
        return read;
    }
    case '[': {
        QVariantList list;
        const bool read = array(depth + 1, [&]() {
            list.append(QVariant());
            return value(&list.last(), depth + 1);
        });
        if (read)
            *out = list;
        return read;
    }
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

// value() without an out: the same checks, building nothing.
bool Reader::skip(int depth)
{
    if (m_p == m_end)
        return false;
    switch (*m_p) {
    case '{':
        return object(depth + 1, [&](const Text&) { return skip(depth + 1); });
    case '[':
        return array(depth + 1, [&]() { return skip(depth + 1); });
    case '"': {
        Text text;
        return readText(false, &text);
    }
    case 't':
        return word("true", 4);
    case 'f':
        return word("false", 5);
    case 'n':
        return word("null", 4);
    default:
        return number(nullptr);
    }
}

bool Reader::word(const char* text, int length)
{
    if (m_end - m_p < length || !std::equal(text, text + length, m_p))
        return false;
    m_p += length;
    return true;
}

// An array of records, and the roles texts of a playlist's entries, repeat the same few keys
// thousands of times. The keys seen are kept per thread, so no lock is needed.
QString Reader::keyString(const Text& key)
{
    if (!key.ascii)
        return key.escaped ? QString::fromUtf8(key.unescaped)
                           : QString::fromUtf8(key.begin, static_cast<int>(key.end - key.begin));
    static thread_local QVarLengthArray<QString, keysKept> keys;
    const QLatin1String latin1(key.begin, static_cast<int>(key.end - key.begin));
    auto known = std::find_if(keys.cbegin(), keys.cend(), [&](const QString& k) { return k == latin1; });
    if (known != keys.cend())
        return *known;
    const QString built(latin1);
    if (keys.size() < keysKept)
        keys.append(built);
    return built;
}

bool Reader::number(QVariant* out)
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
    if (!out)
        return true;
    const qint64 n = negative ? -magnitude : magnitude;
    if (n >= std::numeric_limits<int>::min() && n <= std::numeric_limits<int>::max())
        *out = static_cast<int>(n);
    else
        *out = static_cast<qlonglong>(n);
    return true;
}

// Length of the well-formed UTF-8 sequence at p (2 to 4 bytes), 0 when it is not one or encodes a
// noncharacter (left to the document parser).
int Reader::utf8Sequence(const unsigned char* p) const
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

bool Reader::string(QString* out)
{
    Text text;
    if (!readText(out != nullptr, &text))
        return false;
    if (out)
        *out = text.escaped ? QString::fromUtf8(text.unescaped)
                            : QString::fromUtf8(text.begin, static_cast<int>(text.end - text.begin));
    return true;
}

bool Reader::utf8Text(QByteArray* out)
{
    Text text;
    if (!readText(out != nullptr, &text))
        return false;
    if (out)
        *out = text.escaped ? text.unescaped : QByteArray(text.begin, static_cast<int>(text.end - text.begin));
    return true;
}

// The byte after the escape or the character at p (whose byte is c), or p itself when a quote ends
// the text there; null when p holds what the direct reader declines.
inline const char* Reader::unplainByte(const char* p, char c, Text* text, qint64* beyondUnits) const
{
    if (c == '"')
        return p;
    if (c != '\\')
        return character(p, text, beyondUnits);
    if (m_end - p < 2 || !unescapedChar(p[1]))
        return nullptr;  // \u escapes included: surrogate pairs are the document parser's
    text->escaped = true;
    text->ascii = false;
    *beyondUnits += 1;
    return p + 2;
}

// The byte after the character of several bytes at p; null for a control byte, or a byte above
// 0x7f that starts no character.
const char* Reader::character(const char* p, Text* text, qint64* beyondUnits) const
{
    const int length = utf8Sequence(reinterpret_cast<const unsigned char*>(p));
    if (length == 0)
        return nullptr;
    text->ascii = false;
    *beyondUnits += length == 2 ? 1 : 2;  // four bytes are a surrogate pair in UTF-16
    return p + length;
}

// Texts are scanned eight bytes at a time, and the bytes that are not plain within those eight
// are taken one after the other without reading them again.
bool Reader::readText(bool keep, Text* text)
{
    if (!opens('"'))
        return false;
    const char* const start = ++m_p;
    const char* p = start;
    // The text's length in UTF-16 units, as QString counts it, is its byte count less the bytes
    // that escapes and characters of several bytes take beyond their units.
    qint64 beyondUnits = 0;
    const char* end = nullptr;  // the closing quote
    bool declined = false;
    while (!end && !declined && m_end - p >= 8) {
        const quint64 w = qFromLittleEndian<quint64>(p);
        const char* next = p + 8;
        for (quint64 flags = unplainBytes(w); flags;) {
            // The byte is taken from the eight already read: reading it again would wait on the count.
            const uint bit = qCountTrailingZeroBits(flags);
            const char* at = p + bit / 8;
            const char* after = unplainByte(at, static_cast<char>(w >> (bit - 7)), text, &beyondUnits);
            end = after == at ? at : nullptr;
            declined = !after;
            if (end || declined || after - p >= 8) {
                next = after;
                break;
            }
            flags &= ~quint64(0) << (8 * (after - p));
        }
        p = next;
    }
    while (!end && !declined && p < m_end) {
        const char* after = plain.of[static_cast<unsigned char>(*p)] ? p + 1 : unplainByte(p, *p, text, &beyondUnits);
        end = after == p ? p : nullptr;
        declined = !after;
        p = after;
    }
    m_p = end ? end + 1 : m_end;
    if (!end || (end - start) - beyondUnits > m_longestText)
        return false;
    text->begin = start;
    text->end = end;
    if (keep && text->escaped)
        text->unescaped = unescape(text->begin, text->end);
    return true;
}

// The bytes of a text already checked by readText(), its escapes replaced. Eight bytes are copied
// at once up to the next backslash: the copy never runs ahead of the text, so it stays in out.
QByteArray Reader::unescape(const char* begin, const char* end)
{
    QByteArray out(static_cast<int>(end - begin), Qt::Uninitialized);
    char* d = out.data();
    const char* p = begin;
    while (end - p >= 8) {
        const quint64 w = qFromLittleEndian<quint64>(p);
        std::memcpy(d, p, 8);
        const quint64 flags = backslashes(w);
        const int plainBytes = flags ? static_cast<int>(qCountTrailingZeroBits(flags) / 8) : 8;
        p += plainBytes;
        d += plainBytes;
        if (flags) {
            *d++ = unescapedChar(p[1]);
            p += 2;
        }
    }
    for (; p < end; ++p)
        *d++ = *p == '\\' ? unescapedChar(*++p) : *p;
    out.resize(static_cast<int>(d - out.constData()));
    return out;
}

bool readCommon(const QByteArray& utf8, QVariant* out)
{
    return Reader(utf8).document(out);
}

}  // namespace KeloJsonPrivate
