#include "playlistfiles/PlaylistFile.h"

#include <QRegularExpression>
#include <QTextCodec>

namespace PlaylistFile {

Format formatNamed(const QString& name)
{
    const QString lower = name.toLower();
    if (lower == QLatin1String("m3u8") || lower == QLatin1String("m3u"))
        return Format::M3u8;
    if (lower == QLatin1String("pls"))
        return Format::Pls;
    if (lower == QLatin1String("xspf"))
        return Format::Xspf;
    return Format::Unknown;
}

QString nameOf(Format format)
{
    switch (format) {
    case Format::M3u8: return QStringLiteral("m3u8");
    case Format::Pls: return QStringLiteral("pls");
    case Format::Xspf: return QStringLiteral("xspf");
    case Format::Unknown: break;
    }
    return QString();
}

QString extensionOf(Format format)
{
    return nameOf(format);
}

QString mimeTypeOf(Format format)
{
    switch (format) {
    case Format::M3u8: return QStringLiteral("audio/x-mpegurl; charset=utf-8");
    case Format::Pls: return QStringLiteral("audio/x-scpls; charset=utf-8");
    case Format::Xspf: return QStringLiteral("application/xspf+xml; charset=utf-8");
    case Format::Unknown: break;
    }
    return QStringLiteral("application/octet-stream");
}

Format detect(const QByteArray& data)
{
    // A NUL byte never occurs in any of the three; audio files and archives have plenty.
    if (data.contains('\0'))
        return Format::Unknown;
    if (XspfFile::looksLikeXspf(data))
        return Format::Xspf;
    const QString text = decodeText(data);
    if (PlsFile::looksLikePls(text))
        return Format::Pls;
    if (M3uFile::looksLikeM3u(text))
        return Format::M3u8;
    return Format::Unknown;
}

bool read(Format format, const QByteArray& data, PlaylistFileContent* content, QString* error)
{
    *content = PlaylistFileContent();
    if (data.contains('\0')) {
        *error = QStringLiteral("The file is not a playlist: it holds binary data.");
        return false;
    }
    switch (format) {
    case Format::M3u8: return M3uFile::read(decodeText(data), false, content, error);
    case Format::Pls: return PlsFile::read(decodeText(data), content, error);
    case Format::Xspf: return XspfFile::read(data, content, error);
    case Format::Unknown: break;
    }
    *error = QStringLiteral("The file is not a playlist in a known format (M3U, PLS or XSPF).");
    return false;
}

QByteArray write(Format format, const PlaylistFileContent& content)
{
    switch (format) {
    case Format::M3u8: return M3uFile::write(content);
    case Format::Pls: return PlsFile::write(content);
    case Format::Xspf: return XspfFile::write(content);
    case Format::Unknown: break;
    }
    return QByteArray();
}

QString decodeText(const QByteArray& data)
{
    QByteArray bytes = data;
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    QTextCodec::ConverterState state;
    const QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    // Older players wrote .m3u and .pls in the system's 8-bit code page.
    return state.invalidChars > 0 ? QString::fromLatin1(bytes) : text;
}

void splitDisplayTitle(const QString& text, QString* artist, QString* title)
{
    const int dash = text.indexOf(QLatin1String(" - "));
    if (dash <= 0) {
        artist->clear();
        *title = text.trimmed();
        return;
    }
    *artist = text.left(dash).trimmed();
    *title = text.mid(dash + 3).trimmed();
}

QString displayTitle(const PlaylistFileEntry& entry)
{
    if (entry.artist.isEmpty())
        return entry.title;
    if (entry.title.isEmpty())
        return entry.artist;
    return entry.artist + QLatin1String(" - ") + entry.title;
}

QString singleLine(const QString& text)
{
    QString flat = text;
    flat.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    return flat;
}

bool hasScheme(const QString& text)
{
    // Two letters at least, so that a Windows drive ("C:\") is not taken for one.
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]+://"));
    return scheme.match(text).hasMatch();
}

}  // namespace PlaylistFile
