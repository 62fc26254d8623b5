#include "playlistfiles/LibraryLocations.h"

#include <QDir>
#include <QUrl>

#include "playlistfiles/PlaylistFile.h"

namespace {

bool isStream(const QString& location)
{
    return location.startsWith(QLatin1String("http://"), Qt::CaseInsensitive)
           || location.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
}

}  // namespace

LibraryLocations::LibraryLocations(const QString& mediaDir, const QList<QPair<int, QString>>& tracks)
    : m_mediaDir(mediaDir.isEmpty() ? QString() : QDir::cleanPath(mediaDir))
{
    const QString prefix = m_mediaDir.endsWith(QLatin1Char('/')) ? m_mediaDir : m_mediaDir + QLatin1Char('/');
    for (const auto& track : tracks) {
        m_byUri.insert(track.second, track.first);
        const QUrl url(track.second);
        if (m_mediaDir.isEmpty() || !url.isLocalFile())
            continue;
        const QString path = QDir::cleanPath(url.toLocalFile());
        if (path.startsWith(prefix)) {
            m_byRelativePath.insert(path.mid(prefix.size()), track.first);
            m_relativeByUri.insert(track.second, path.mid(prefix.size()));
        }
    }
}

LibraryLocations::Resolved LibraryLocations::resolve(const QString& location) const
{
    Resolved resolved;
    const QString trimmed = location.trimmed();
    if (trimmed.isEmpty())
        return resolved;
    if (isStream(trimmed)) {
        resolved.kind = Kind::Stream;
        resolved.url = trimmed;
        return resolved;
    }
    int id = m_byUri.value(trimmed, -1);
    if (id < 0 && trimmed.startsWith(QLatin1String("file:"), Qt::CaseInsensitive)) {
        const QUrl url(trimmed);
        if (url.isLocalFile())
            id = trackAtPath(url.toLocalFile());
    } else if (id < 0 && !PlaylistFile::hasScheme(trimmed)) {
        id = trackAtPath(trimmed);
        // Some players percent-encode plain paths ("My%20Song.mp3").
        if (id < 0 && trimmed.contains(QLatin1Char('%')))
            id = trackAtPath(QUrl::fromPercentEncoding(trimmed.toUtf8()));
    }
    if (id >= 0) {
        resolved.kind = Kind::Library;
        resolved.trackId = id;
    }
    return resolved;
}

QString LibraryLocations::locationOf(const QString& uri, bool absolute) const
{
    if (!m_byUri.contains(uri))
        return QString();
    const QString relative = m_relativeByUri.value(uri);
    if (absolute || relative.isEmpty())
        return uri;
    return relative;
}

int LibraryLocations::trackAtPath(const QString& path) const
{
    if (m_mediaDir.isEmpty())
        return -1;
    QString slashed = path;
    slashed.replace(QLatin1Char('\\'), QLatin1Char('/'));
    if (!QDir::isAbsolutePath(slashed))
        return trackAtRelative(slashed);
    const QString clean = QDir::cleanPath(slashed);
    const QString prefix = m_mediaDir + QLatin1Char('/');
    return clean.startsWith(prefix) ? trackAtRelative(clean.mid(prefix.size())) : -1;
}

int LibraryLocations::trackAtRelative(const QString& relative) const
{
    QString clean = QDir::cleanPath(relative);
    while (clean.startsWith(QLatin1String("../")))
        clean.remove(0, 3);
    if (clean.startsWith(QLatin1String("./")))
        clean.remove(0, 2);
    return m_byRelativePath.value(clean, -1);
}
