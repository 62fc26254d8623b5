#pragma once
// Playlist files as other players read and write them: extended M3U (UTF-8), PLS version 2 and
// XSPF 1. Plain parsing and writing of the files' text; what a location means (a library track, a
// stream) is for the caller to decide. Plain values and free functions: any thread.
#include <QByteArray>
#include <QList>
#include <QString>

struct PlaylistFileEntry
{
    QString location;          // as the file names it (a path or a URL); empty when the file gives none
    QString title;             // empty when unknown
    QString artist;
    QString album;
    int durationSeconds = -1;  // -1 when unknown
    int line = 0;              // the line of the file the entry starts on, from 1
};

struct PlaylistFileContent
{
    QString title;  // the playlist's own title, where the format has one
    QList<PlaylistFileEntry> entries;
};

namespace PlaylistFile {

enum class Format { Unknown, M3u8, Pls, Xspf };

// "m3u8" (or "m3u"), "pls", "xspf", in any case; Unknown for anything else.
Format formatNamed(const QString& name);
QString nameOf(Format format);       // "m3u8", "pls", "xspf"
QString extensionOf(Format format);  // the file name extension, without the dot
QString mimeTypeOf(Format format);
// The format data is written in, found from its content; Unknown when it is none of them.
Format detect(const QByteArray& data);

// Reads data as format. False with *error (a sentence for a person) when it is not such a file;
// a file that is one but names no entries is read as an empty playlist.
bool read(Format format, const QByteArray& data, PlaylistFileContent* content, QString* error);
QByteArray write(Format format, const PlaylistFileContent& content);

// Helpers shared by the formats.
// The text of data: UTF-8 (a BOM dropped), or Latin-1 when it is not valid UTF-8.
QString decodeText(const QByteArray& data);
// "Artist - Title" as players show an entry, split at the first " - "; no artist when it has none.
void splitDisplayTitle(const QString& text, QString* artist, QString* title);
QString displayTitle(const PlaylistFileEntry& entry);
// text with its line breaks made spaces, for the line-based formats.
QString singleLine(const QString& text);
// Whether text starts with a URL scheme ("http://", "file:///", "demo://").
bool hasScheme(const QString& text);

}  // namespace PlaylistFile

// One file per format; PlaylistFile::read / write pick the right one.
namespace M3uFile {
// Strict: true only for text that starts with #EXTM3U, or whose every non-comment line is a URL or a
// file name with an extension (a plain M3U); anything else is not taken for a playlist.
bool looksLikeM3u(const QString& text);
bool read(const QString& text, bool strict, PlaylistFileContent* content, QString* error);
QByteArray write(const PlaylistFileContent& content);
}  // namespace M3uFile

namespace PlsFile {
bool looksLikePls(const QString& text);
bool read(const QString& text, PlaylistFileContent* content, QString* error);
QByteArray write(const PlaylistFileContent& content);
}  // namespace PlsFile

namespace XspfFile {
bool looksLikeXspf(const QByteArray& data);
bool read(const QByteArray& data, PlaylistFileContent* content, QString* error);
QByteArray write(const PlaylistFileContent& content);
}  // namespace XspfFile
