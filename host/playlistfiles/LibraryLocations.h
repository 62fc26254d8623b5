#pragma once
// Where the locations of playlist files meet the media library: which track of the library a
// location names, and how a track is named in a file. Built once from the library's tracks (id and
// resource uri) and its media folder, then only read: any thread.
//
// A location names a library track when it is the track's uri itself, a path relative to the media
// folder, an absolute path under it, or a file:// URI of one. Paths may use Windows separators, hold
// ".." (a playlist kept in a subfolder of the library names its tracks "../Album/x.mp3", so leading
// ".." that would leave the folder are dropped) and be percent-encoded. http(s) URLs are streams;
// anything else is missing.
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>

class LibraryLocations
{
public:
    enum class Kind { Library, Stream, Missing };
    struct Resolved
    {
        Kind kind = Kind::Missing;
        int trackId = -1;  // Library
        QString url;       // Stream
    };

    // mediaDir: absolute, or empty when the library has no folder (its uris are then matched as they are).
    // tracks: (id, uri) of every library track.
    LibraryLocations(const QString& mediaDir, const QList<QPair<int, QString>>& tracks);

    Resolved resolve(const QString& location) const;
    // How the track with uri is written: its path relative to the media folder, or with absolute its
    // file:// URI; a track outside the folder (or a library without one) keeps its uri. Empty when
    // uri is no library track's.
    QString locationOf(const QString& uri, bool absolute) const;

private:
    int trackAtPath(const QString& path) const;
    int trackAtRelative(const QString& relative) const;

    QString m_mediaDir;                  // cleaned, without a trailing '/'
    QHash<QString, int> m_byUri;
    QHash<QString, int> m_byRelativePath;  // paths relative to m_mediaDir
    QHash<QString, QString> m_relativeByUri;
};
