// XSPF 1: <playlist version="1" xmlns="http://xspf.org/ns/0/"> with <title> and a <trackList> of
// <track>s, each with <location> (a URI), <title>, <creator>, <album> and <duration> (milliseconds).
// Elements are matched by local name in the XSPF namespace, so a prefixed namespace reads the same;
// elements of other namespaces (extensions) are skipped.
#include <QUrl>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include "playlistfiles/PlaylistFile.h"

namespace {

const QString XspfNamespace = QStringLiteral("http://xspf.org/ns/0/");

bool isXspf(const QXmlStreamReader& xml, const char* name)
{
    // Files without a namespace at all are common enough to be read as well.
    return xml.name() == QLatin1String(name) && (xml.namespaceUri() == XspfNamespace || xml.namespaceUri().isEmpty());
}

// A relative location is a URI reference, percent-encoded; the entry holds it as a plain path.
QString locationFrom(const QString& uri)
{
    return PlaylistFile::hasScheme(uri) ? uri : QUrl::fromPercentEncoding(uri.toUtf8());
}

QString locationTo(const QString& location)
{
    return PlaylistFile::hasScheme(location) ? location : QString::fromUtf8(QUrl::toPercentEncoding(location, "/"));
}

void readTrack(QXmlStreamReader& xml, PlaylistFileEntry* entry)
{
    entry->line = int(xml.lineNumber());
    while (xml.readNextStartElement()) {
        if (isXspf(xml, "location") && entry->location.isEmpty()) {
            entry->location = locationFrom(xml.readElementText().trimmed());
        } else if (isXspf(xml, "title")) {
            entry->title = xml.readElementText().trimmed();
        } else if (isXspf(xml, "creator")) {
            entry->artist = xml.readElementText().trimmed();
        } else if (isXspf(xml, "album")) {
            entry->album = xml.readElementText().trimmed();
        } else if (isXspf(xml, "duration")) {
            bool ok = false;
            const qint64 ms = xml.readElementText().trimmed().toLongLong(&ok);
            entry->durationSeconds = ok && ms >= 0 ? int((ms + 500) / 1000) : -1;
        } else {
            xml.skipCurrentElement();
        }
    }
}

void readTrackList(QXmlStreamReader& xml, PlaylistFileContent* content)
{
    while (xml.readNextStartElement()) {
        if (isXspf(xml, "track")) {
            PlaylistFileEntry entry;
            readTrack(xml, &entry);
            content->entries.append(entry);
        } else {
            xml.skipCurrentElement();
        }
    }
}

}  // namespace

namespace XspfFile {

bool looksLikeXspf(const QByteArray& data)
{
    QXmlStreamReader xml(data);
    return xml.readNextStartElement() && isXspf(xml, "playlist");
}

bool read(const QByteArray& data, PlaylistFileContent* content, QString* error)
{
    QXmlStreamReader xml(data);
    if (!xml.readNextStartElement() || !isXspf(xml, "playlist")) {
        *error = xml.hasError() ? QStringLiteral("The file is not an XSPF playlist: %1 (line %2).").arg(xml.errorString()).arg(xml.lineNumber())
                                : QStringLiteral("The file is not an XSPF playlist: its root element is not <playlist>.");
        return false;
    }
    while (xml.readNextStartElement()) {
        if (isXspf(xml, "title"))
            content->title = xml.readElementText().trimmed();
        else if (isXspf(xml, "trackList"))
            readTrackList(xml, content);
        else
            xml.skipCurrentElement();
    }
    // Only whitespace, comments and processing instructions may follow the root element.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError()) {
        *error = QStringLiteral("The XSPF playlist is malformed: %1 (line %2).").arg(xml.errorString()).arg(xml.lineNumber());
        *content = PlaylistFileContent();
        return false;
    }
    return true;
}

QByteArray write(const PlaylistFileContent& content)
{
    QByteArray data;
    QXmlStreamWriter xml(&data);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeDefaultNamespace(XspfNamespace);
    xml.writeStartElement(XspfNamespace, QStringLiteral("playlist"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1"));
    if (!content.title.isEmpty())
        xml.writeTextElement(XspfNamespace, QStringLiteral("title"), content.title);
    xml.writeStartElement(XspfNamespace, QStringLiteral("trackList"));
    for (const PlaylistFileEntry& entry : content.entries) {
        xml.writeStartElement(XspfNamespace, QStringLiteral("track"));
        xml.writeTextElement(XspfNamespace, QStringLiteral("location"), locationTo(entry.location));
        const QList<QPair<QString, QString>> texts = {
            {QStringLiteral("title"), entry.title}, {QStringLiteral("creator"), entry.artist}, {QStringLiteral("album"), entry.album}};
        for (const auto& text : texts) {
            if (!text.second.isEmpty())
                xml.writeTextElement(XspfNamespace, text.first, text.second);
        }
        if (entry.durationSeconds >= 0)
            xml.writeTextElement(XspfNamespace, QStringLiteral("duration"), QString::number(qint64(entry.durationSeconds) * 1000));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return data;
}

}  // namespace XspfFile
