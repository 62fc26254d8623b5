// PLS version 2: an INI file with the section "[playlist]" and the keys FileN, TitleN, LengthN
// (seconds, -1 for a stream), NumberOfEntries and Version. Players number from 1 but leave gaps
// when entries were deleted by hand, so entries are taken in the order of their numbers.
#include <QMap>
#include <QRegularExpression>
#include <QStringList>

#include "playlistfiles/PlaylistFile.h"

namespace {

QString firstContentLine(const QString& text)
{
    for (const QString& line : text.split(QRegularExpression(QStringLiteral("\r\n|\r|\n")))) {
        const QString trimmed = line.trimmed();
        if (!trimmed.isEmpty() && !trimmed.startsWith(QLatin1Char(';')) && !trimmed.startsWith(QLatin1Char('#')))
            return trimmed;
    }
    return QString();
}

}  // namespace

namespace PlsFile {

bool looksLikePls(const QString& text)
{
    return firstContentLine(text).compare(QLatin1String("[playlist]"), Qt::CaseInsensitive) == 0;
}

bool read(const QString& text, PlaylistFileContent* content, QString* error)
{
    if (!looksLikePls(text)) {
        *error = QStringLiteral("The file is not a PLS playlist: it does not start with [playlist].");
        return false;
    }
    static const QRegularExpression key(QStringLiteral("^(File|Title|Length)(\\d+)$"), QRegularExpression::CaseInsensitiveOption);
    QMap<qint64, PlaylistFileEntry> byNumber;
    QMap<qint64, QString> titles;
    const QStringList lines = text.split(QRegularExpression(QStringLiteral("\r\n|\r|\n")));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        const int equals = line.indexOf(QLatin1Char('='));
        if (equals <= 0)
            continue;
        const QRegularExpressionMatch match = key.match(line.left(equals).trimmed());
        if (!match.hasMatch())
            continue;
        const QString value = line.mid(equals + 1).trimmed();
        const qint64 number = match.captured(2).toLongLong();
        const QString name = match.captured(1).toLower();
        PlaylistFileEntry& entry = byNumber[number];
        if (name == QLatin1String("file")) {
            entry.location = value;
            entry.line = i + 1;
        } else if (name == QLatin1String("title")) {
            PlaylistFile::splitDisplayTitle(value, &entry.artist, &entry.title);
        } else {
            bool ok = false;
            const int seconds = value.toInt(&ok);
            entry.durationSeconds = ok && seconds >= 0 ? seconds : -1;
        }
        if (entry.line == 0)
            entry.line = -(i + 1);  // where a title or length without a file was seen
    }
    for (PlaylistFileEntry entry : qAsConst(byNumber)) {
        // A title or length whose FileN is missing is an entry without location: reported, not dropped.
        entry.line = qAbs(entry.line);
        content->entries.append(entry);
    }
    return true;
}

QByteArray write(const PlaylistFileContent& content)
{
    QString text = QStringLiteral("[playlist]\n");
    int number = 0;
    for (const PlaylistFileEntry& entry : content.entries) {
        ++number;
        text += QStringLiteral("File%1=%2\n").arg(number).arg(PlaylistFile::singleLine(entry.location));
        const QString title = PlaylistFile::singleLine(PlaylistFile::displayTitle(entry));
        if (!title.isEmpty())
            text += QStringLiteral("Title%1=%2\n").arg(number).arg(title);
        text += QStringLiteral("Length%1=%2\n").arg(number).arg(entry.durationSeconds);
    }
    text += QStringLiteral("NumberOfEntries=%1\nVersion=2\n").arg(number);
    return text.toUtf8();
}

}  // namespace PlsFile
