#include "CMPath.h"

#include <QByteArray>
#include <QUrl>
#include <algorithm>

namespace {

const QChar kPrefixEnd(':');
const QChar kQueryStart('?');
const QChar kSeparator('/');

bool needsEscape(uchar c)
{
    // Bytes that would end a key or value, start a fragment, look like an escape, read as a space in
    // form encoding, or are not plain ASCII.
    return c <= 0x20 || c >= 0x7f || c == '&' || c == '=' || c == '#' || c == '%' || c == '+';
}

QString encodeQueryPart(const QString& text)
{
    static const char hex[] = "0123456789ABCDEF";
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    out.reserve(utf8.size());
    for (const char ch : utf8) {
        const auto c = static_cast<uchar>(ch);
        if (needsEscape(c)) {
            out.append('%');
            out.append(hex[c >> 4]);
            out.append(hex[c & 0xf]);
        } else {
            out.append(ch);
        }
    }
    return QString::fromLatin1(out);
}

QString decodeQueryPart(const QString& text)
{
    return QUrl::fromPercentEncoding(text.toUtf8());
}

QList<QPair<QString, QString>> parseQuery(const QString& query)
{
    QList<QPair<QString, QString>> result;
    for (const QString& item : query.split(QLatin1Char('&'), Qt::SkipEmptyParts)) {
        const int eq = item.indexOf(QLatin1Char('='));
        if (eq < 0)
            result.append({decodeQueryPart(item), QString()});
        else
            result.append({decodeQueryPart(item.left(eq)), decodeQueryPart(item.mid(eq + 1))});
    }
    return result;
}

}  // namespace

CMPath::CMPath(const QString& encoded)
{
    // The query is cut off first, so a ':' inside a parameter value never splits the prefix.
    const int queryAt = encoded.indexOf(kQueryStart);
    const QString base = queryAt < 0 ? encoded : encoded.left(queryAt);
    if (queryAt >= 0)
        m_query = parseQuery(encoded.mid(queryAt + 1));
    const int colon = base.indexOf(kPrefixEnd);
    if (colon < 0) {
        m_prefix = base;
        return;
    }
    m_prefix = base.left(colon);
    m_subPath = base.mid(colon + 1);
}

CMPath CMPath::fromPrefix(const QString& prefix)
{
    CMPath path;
    path.m_prefix = prefix;
    return path;
}

CMPath CMPath::fromQVariant(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CMPath>())
        return value.value<CMPath>();
    if (value.userType() == QMetaType::QString)
        return CMPath(value.toString());
    return CMPath();
}

QString CMPath::toEncoded() const
{
    if (isEmpty() && m_query.isEmpty())
        return QString();
    QString text = m_prefix + kPrefixEnd + m_subPath;
    for (int i = 0; i < m_query.size(); ++i) {
        text += i == 0 ? kQueryStart : QChar('&');
        text += encodeQueryPart(m_query.at(i).first) + QChar('=') + encodeQueryPart(m_query.at(i).second);
    }
    return text;
}

CMPath CMPath::base() const
{
    CMPath path(*this);
    path.m_query.clear();
    return path;
}

QStringList CMPath::splitBase() const
{
    return m_subPath.split(kSeparator, Qt::SkipEmptyParts);
}

bool CMPath::startsWith(const CMPath& other) const
{
    return base().toEncoded().startsWith(other.base().toEncoded());
}

bool CMPath::hasParameter(const QString& key) const
{
    return std::any_of(m_query.cbegin(), m_query.cend(), [&key](const auto& p) { return p.first == key; });
}

QString CMPath::parameter(const QString& key, const QString& fallback) const
{
    for (const auto& p : m_query) {
        if (p.first == key)
            return p.second;
    }
    return fallback;
}

CMPath& CMPath::addParameter(const QString& key, const QString& value)
{
    m_query.append({key, value});
    return *this;
}

CMPath CMPath::withParameter(const QString& key, const QString& value) const
{
    CMPath path(*this);
    for (auto& p : path.m_query) {
        if (p.first == key) {
            p.second = value;
            return path;
        }
    }
    path.m_query.append({key, value});
    return path;
}

CMPath CMPath::operator+(const QString& segment) const
{
    CMPath path(*this);
    if (!path.m_subPath.isEmpty() && !path.m_subPath.endsWith(kSeparator))
        path.m_subPath += kSeparator;
    path.m_subPath += segment;
    return path;
}

bool CMPath::operator==(const CMPath& other) const
{
    if (m_prefix != other.m_prefix || m_subPath != other.m_subPath || m_query.size() != other.m_query.size())
        return false;
    if (m_query == other.m_query)
        return true;
    auto mine = m_query;
    auto theirs = other.m_query;
    std::sort(mine.begin(), mine.end());
    std::sort(theirs.begin(), theirs.end());
    return mine == theirs;
}

uint qHash(const CMPath& path, uint seed)
{
    // Parameters are combined by a sum so that their order, which equality ignores, does not count.
    uint params = 0;
    for (const auto& p : path.parameters())
        params += qHash(p.first, seed) * 31u + qHash(p.second, seed);
    return qHash(path.prefix(), seed) ^ (qHash(path.subPath(), seed) * 33u) ^ params;
}
