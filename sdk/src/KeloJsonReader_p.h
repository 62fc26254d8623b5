#pragma once
// The direct JSON text reader behind KeloJson and the records that read themselves from JSON text;
// not part of the SDK's API. It takes the common forms only (objects without repeated keys, arrays,
// texts without \u escapes or control characters, whole numbers of up to 15 digits, true, false,
// null) and declines (returns false) on anything else, valid JSON or not: the caller then hands the
// text to the document parser, which settles it. A value can be read into a variant, or only checked
// (out null), which builds nothing. One reader per text, on one thread.
#include <QByteArray>
#include <QString>
#include <QVariant>
#include <algorithm>
#include <iterator>
#include <limits>

namespace KeloJsonPrivate {

// Used inside the SDK only: hidden, its calls to itself are direct.
class Q_DECL_HIDDEN Reader
{
public:
    // A text's bytes between its quotes, and its unescaped bytes when it holds an escape. Object
    // keys reach a member reader this way, so a record compares them without building a QString.
    struct Text
    {
        const char* begin = nullptr;
        const char* end = nullptr;
        bool escaped = false;
        bool ascii = true;  // no escape and no byte above 0x7f
        QByteArray unescaped;

        // True when the text is name, a nul-terminated ASCII name; a text holds no nul byte.
        bool is(const char* name) const
        {
            const char* b = escaped ? unescaped.constData() : begin;
            const char* e = escaped ? b + unescaped.size() : end;
            for (; b < e; ++b, ++name) {
                if (*b != *name)
                    return false;
            }
            return *name == 0;
        }
    };

    // Deeper documents are rare and left to the document parser, which has its own limit.
    static constexpr int DeepestNesting = 256;

    Reader(const char* begin, const char* end) : m_p(begin), m_end(end) {}
    explicit Reader(const QByteArray& utf8) : Reader(utf8.constData(), utf8.constData() + utf8.size()) {}

    // Texts (keys included) longer than this many UTF-16 units are declined.
    void setLongestText(int units) { m_longestText = units; }

    // The whole text is one value.
    bool document(QVariant* out);
    // One value at the current position, read into *out or only checked (out null).
    bool value(QVariant* out, int depth);
    // The values of what was read so far, counted without decoding: each '{', '[' and ',' starts one
    // more, so an empty object or array counts twice. A bound on what decoding the text would cost.
    int values() const { return m_values; }
    // A text at the current position as its unescaped UTF-8 bytes; false when there is none.
    bool utf8Text(QByteArray* out);
    // True when the value at the current position opens with c ('{', '[' or '"').
    bool opens(char c) const { return m_p < m_end && *m_p == c; }

    // A key as a QString; the plain ASCII keys seen before are shared, not built again.
    static QString keyString(const Text& key);

    // The members of the object at the current position: member(const Text& key) reads each
    // member's value. depth is the object's own nesting (1 for a top-level object); deeper
    // than DeepestNesting is declined, as for arrays.
    template <typename Member>
    bool object(int depth, Member member);
    // The elements of the array at the current position: element() reads each.
    template <typename Element>
    bool array(int depth, Element element);
    // The members of the object at the current position whose keys are among names, each handed to
    // read(index of its name) once; the others are skipped, and a named key that repeats declines.
    // A value that is not an object is skipped, as a record reads it as empty. depth is the nesting
    // of the value's parent (0 for a top-level value).
    template <size_t N, typename Read>
    bool namedMembers(int depth, const char* const (&names)[N], Read read);

    const char* position() const { return m_p; }
    bool atEnd() { skipSpace(); return m_p == m_end; }
    void skipSpace()
    {
        // Most bytes after a value are above the space, and one compare lets them through.
        while (m_p < m_end && static_cast<unsigned char>(*m_p) <= ' ' &&
               (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

private:
    bool skip(int depth);
    bool word(const char* text, int length);
    bool number(QVariant* out);
    bool string(QString* out);
    bool readText(bool keep, Text* text);
    const char* unplainByte(const char* p, char c, Text* text, qint64* beyondUnits) const;
    const char* character(const char* p, Text* text, qint64* beyondUnits) const;
    static QByteArray unescape(const char* begin, const char* end);
    int utf8Sequence(const unsigned char* p) const;
    // After a member or an element: true with *done at the closing bracket, true at a comma.
    bool separator(char closing, bool* done)
    {
        skipSpace();
        if (m_p == m_end)
            return false;
        const char c = *m_p++;
        *done = c == closing;
        if (!*done && c != ',')
            return false;
        m_values += *done ? 0 : 1;
        skipSpace();
        return true;
    }

    const char* m_p;
    const char* m_end;
    int m_values = 1;
    int m_longestText = std::numeric_limits<int>::max();
};

template <typename Member>
bool Reader::object(int depth, Member member)
{
    if (depth > DeepestNesting || !opens('{'))
        return false;
    ++m_p;
    ++m_values;
    skipSpace();
    if (m_p < m_end && *m_p == '}') {
        ++m_p;
        return true;
    }
    for (bool done = false; !done;) {
        Text name;
        if (!readText(true, &name))
            return false;
        skipSpace();
        if (m_p == m_end || *m_p != ':')
            return false;
        ++m_p;
        skipSpace();
        if (!member(name) || !separator('}', &done))
            return false;
    }
    return true;
}

template <typename Element>
bool Reader::array(int depth, Element element)
{
    if (depth > DeepestNesting || !opens('['))
        return false;
    ++m_p;
    ++m_values;
    skipSpace();
    if (m_p < m_end && *m_p == ']') {
        ++m_p;
        return true;
    }
    for (bool done = false; !done;) {
        if (!element() || !separator(']', &done))
            return false;
    }
    return true;
}

template <size_t N, typename Read>
bool Reader::namedMembers(int depth, const char* const (&names)[N], Read read)
{
    static_assert(N <= 32, "one bit per name");
    if (!opens('{'))
        return value(nullptr, depth);
    unsigned seen = 0;
    return object(depth + 1, [&](const Text& key) {
        const auto found = std::find_if(std::begin(names), std::end(names),
                                        [&](const char* name) { return key.is(name); });
        if (found == std::end(names))
            return value(nullptr, depth + 1);
        const int index = static_cast<int>(found - std::begin(names));
        if (seen & (1u << index))
            return false;  // which of the two counts is the document parser's to settle
        seen |= 1u << index;
        return read(index);
    });
}

}  // namespace KeloJsonPrivate
