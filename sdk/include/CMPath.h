#pragma once
// CMPath: the host's address of a worker, a node or a command: "prefix:subpath?key=value&key=value".
// The prefix names the worker that owns the path; the subpath (segments joined by '/') names the node
// inside it; query parameters keep the order they were added in. A plain value type: any thread.
#include <QList>
#include <QMetaType>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>

class CMPath
{
public:
    CMPath() = default;
    // Parses the encoded form; query values are percent-decoded. A text without ':' is all prefix.
    explicit CMPath(const QString& encoded);
    explicit CMPath(const char* encoded) : CMPath(QString::fromUtf8(encoded)) {}

    static CMPath fromPrefix(const QString& prefix);   // "media" -> "media:"
    static CMPath fromQVariant(const QVariant& value);  // a string (encoded form); anything else gives an empty path
    QVariant toQVariant() const { return toEncoded(); }

    // Query keys and values percent-encoded where they hold '&', '=', '#', '%', '+', spaces, controls or non-ASCII.
    // The empty path gives an empty text; a prefix alone gives "prefix:".
    QString toEncoded() const;
    QString prefix() const { return m_prefix; }
    QString subPath() const { return m_subPath; }
    bool isEmpty() const { return m_prefix.isEmpty() && m_subPath.isEmpty(); }

    CMPath base() const;           // the same path without its query
    QStringList splitBase() const;  // the subpath's segments: "playlists:pl/getitems/5" -> ["pl", "getitems", "5"]
    bool startsWith(const CMPath& other) const;  // compares the bases as text: "playlists:pl/getitems/5" starts with "playlists:pl/getitems"

    bool hasParameter(const QString& key) const;
    QString parameter(const QString& key, const QString& fallback = QString()) const;
    QList<QPair<QString, QString>> parameters() const { return m_query; }
    CMPath& addParameter(const QString& key, const QString& value);  // appends, keeping order
    CMPath withParameter(const QString& key, const QString& value) const;  // replaces the key's value, else appends

    // Appends a subpath segment: joined with '/' unless the subpath is empty or already ends in '/'.
    // "playlists:item/" + "12" -> "playlists:item/12"; "playlists:pl/getitems" + "5" -> "playlists:pl/getitems/5".
    CMPath operator+(const QString& segment) const;
    CMPath operator+(int segment) const { return *this + QString::number(segment); }

    // Equal when prefix, subpath and the set of parameters agree (parameter order does not matter).
    bool operator==(const CMPath& other) const;
    bool operator!=(const CMPath& other) const { return !(*this == other); }

private:
    QString m_prefix;
    QString m_subPath;
    QList<QPair<QString, QString>> m_query;
};

uint qHash(const CMPath& path, uint seed = 0);
Q_DECLARE_METATYPE(CMPath)
