// Extended M3U: "#EXTM3U", then per entry an optional "#EXTINF:<seconds> [attributes],<Artist - Title>"
// (and "#EXTALB:<album>", which several players write) before the line with its location. Every
// other line starting with '#' is a comment. Written in UTF-8 with "\n" line ends.
#include <QRegularExpression>
#include <QStringList>

#include "playlistfiles/PlaylistFile.h"

namespace {

struct PendingInfo
{
    int durationSeconds = -1;
    QString artist;
    QString title;
    QString album;
};

QStringList linesOf(const QString& text)
{
    // CRLF, LF and lone CR line ends alike; empty lines are kept so that line numbers hold.
    return text.split(QRegularExpression(QStringLiteral("\r\n|\r|\n")));
}

// The comma that ends the duration and attributes: the first one outside double quotes.
int infoComma(const QString& info)
{
    bool quoted = false;
    for (int i = 0; i < info.size(); ++i) {
        if (info.at(i) == QLatin1Char('"'))
            quoted = !quoted;
        else if (info.at(i) == QLatin1Char(',') && !quoted)
            return i;
    }
    return -1;
}

void readExtInf(const QString& info, PendingInfo* pending)
{
    const int comma = infoComma(info);
    const QString head = (comma < 0 ? info : info.left(comma)).trimmed();
    bool ok = false;
    // The duration is the first token; "-1" (a stream) and a missing one both mean unknown.
    const double seconds = head.section(QLatin1Char(' '), 0, 0).toDouble(&ok);
    pending->durationSeconds = ok && seconds >= 0 ? qRound(seconds) : -1;
    // "#EXTINF:Title" without duration and comma is written by some tools.
    const QString display = comma >= 0 ? info.mid(comma + 1) : (ok ? QString() : head);
    PlaylistFile::splitDisplayTitle(display, &pending->artist, &pending->title);
}

bool isLocationLike(const QString& line)
{
    static const QRegularExpression fileName(QStringLiteral("\\.[A-Za-z0-9]{2,5}$"));
    return PlaylistFile::hasScheme(line) || fileName.match(line).hasMatch();
}

}  // namespace

namespace M3uFile {

bool looksLikeM3u(const QString& text)
{
    const QStringList lines = linesOf(text);
    if (text.trimmed().startsWith(QLatin1String("#EXTM3U")))
        return true;
    int locations = 0;
    for (const QString& raw : lines) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        if (!isLocationLike(line))
            return false;
        ++locations;
    }
    return locations > 0;
}

bool read(const QString& text, bool strict, PlaylistFileContent* content, QString* error)
{
    if (strict && !looksLikeM3u(text)) {
        *error = QStringLiteral("The file is not an M3U playlist: it neither starts with #EXTM3U nor lists file names or URLs.");
        return false;
    }
    const QStringList lines = linesOf(text);
    PendingInfo pending;
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty())
            continue;
        if (line.startsWith(QLatin1String("#EXTINF:"), Qt::CaseInsensitive)) {
            readExtInf(line.mid(8), &pending);
        } else if (line.startsWith(QLatin1String("#EXTALB:"), Qt::CaseInsensitive)) {
            pending.album = line.mid(8).trimmed();
        } else if (line.startsWith(QLatin1String("#PLAYLIST:"), Qt::CaseInsensitive)) {
            content->title = line.mid(10).trimmed();
        } else if (!line.startsWith(QLatin1Char('#'))) {
            PlaylistFileEntry entry;
            entry.location = line;
            entry.title = pending.title;
            entry.artist = pending.artist;
            entry.album = pending.album;
            entry.durationSeconds = pending.durationSeconds;
            entry.line = i + 1;
            content->entries.append(entry);
            pending = PendingInfo();
        }
    }
    return true;
}

QByteArray write(const PlaylistFileContent& content)
{
    QString text = QStringLiteral("#EXTM3U\n");
    if (!content.title.isEmpty())
        text += QStringLiteral("#PLAYLIST:%1\n").arg(PlaylistFile::singleLine(content.title));
    for (const PlaylistFileEntry& entry : content.entries) {
        text += QStringLiteral("#EXTINF:%1,%2\n").arg(entry.durationSeconds).arg(PlaylistFile::singleLine(PlaylistFile::displayTitle(entry)));
        if (!entry.album.isEmpty())
            text += QStringLiteral("#EXTALB:%1\n").arg(PlaylistFile::singleLine(entry.album));
        text += PlaylistFile::singleLine(entry.location) + QLatin1Char('\n');
    }
    return text.toUtf8();
}

}  // namespace M3uFile
