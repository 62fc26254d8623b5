// Catalogue::scan: the media library read from real audio files with TagLib.
#include <QDirIterator>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QUrl>
#include <algorithm>
#include <taglib/fileref.h>
#include <taglib/tag.h>

#include "AlbumArt.h"
#include "Catalogue.h"
#include "KeloLog.h"
#include "HostLog.h"

namespace {

struct ScannedFile
{
    CatalogueTrack track;
    unsigned int number = 0;
    QString fileName;
    QString albumKey;  // what groups files into one album
};

QString mimeTypeOf(const QString& suffix)
{
    static const QHash<QString, QString> types = {
        {QStringLiteral("mp3"), QStringLiteral("audio/mpeg")},   {QStringLiteral("flac"), QStringLiteral("audio/flac")},
        {QStringLiteral("ogg"), QStringLiteral("audio/ogg")},    {QStringLiteral("oga"), QStringLiteral("audio/ogg")},
        {QStringLiteral("opus"), QStringLiteral("audio/opus")},  {QStringLiteral("m4a"), QStringLiteral("audio/mp4")},
        {QStringLiteral("aac"), QStringLiteral("audio/aac")},    {QStringLiteral("wav"), QStringLiteral("audio/wav")},
        {QStringLiteral("aiff"), QStringLiteral("audio/aiff")},  {QStringLiteral("aif"), QStringLiteral("audio/aiff")},
        {QStringLiteral("wma"), QStringLiteral("audio/x-ms-wma")},
    };
    return types.value(suffix.toLower());
}

QString text(const TagLib::String& s)
{
    return QString::fromStdWString(s.toWString()).trimmed();
}

// "01 First", "01 - First", "1. First" -> 1 and "First"; a name that is only a number stays a title.
QString withoutTrackNumber(const QString& name, unsigned int* number)
{
    static const QRegularExpression numbered(QStringLiteral("^(\\d{1,3})(?:\\s*[-._)]\\s*|\\s+)(\\S.*)$"));
    const QRegularExpressionMatch match = numbered.match(name);
    if (!match.hasMatch())
        return name;
    *number = match.captured(1).toUInt();
    return match.captured(2).trimmed();
}

// The folder the file lies in and the one above it, as far as they are below the library's root.
QStringList foldersBelow(const QFileInfo& info, const QString& root)
{
    const QString relative = QDir(root).relativeFilePath(info.absolutePath());
    if (relative == QLatin1String(".") || relative.startsWith(QLatin1String("..")))
        return {};
    QStringList folders = relative.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    std::reverse(folders.begin(), folders.end());
    return folders;
}

// Reads one file; false when it is no audio file TagLib understands. Missing tags are taken from
// where people keep their files: Artist/Album/01 Title.ext.
bool readFile(const QFileInfo& info, const QString& root, ScannedFile* file)
{
    const QByteArray path = QFile::encodeName(info.absoluteFilePath());
    TagLib::FileRef ref(path.constData(), true, TagLib::AudioProperties::Fast);
    if (ref.isNull())
        return false;
    CatalogueTrack& track = file->track;
    if (const TagLib::Tag* tag = ref.tag()) {
        track.title = text(tag->title());
        track.artist = text(tag->artist());
        track.album = text(tag->album());
        file->number = tag->track();
    }
    if (const TagLib::AudioProperties* properties = ref.audioProperties())
        track.duration = properties->lengthInSeconds();
    unsigned int fileNumber = 0;
    const QString fileTitle = withoutTrackNumber(info.completeBaseName(), &fileNumber);
    if (track.title.isEmpty())
        track.title = fileTitle;
    if (file->number == 0)
        file->number = fileNumber;
    const QStringList folders = foldersBelow(info, root);
    file->albumKey = track.album;
    if (track.album.isEmpty()) {
        track.album = folders.isEmpty() ? QStringLiteral("Unknown album") : folders.at(0);
        // An untagged album is a folder: two folders of the same name stay two albums.
        file->albumKey = track.album + QLatin1Char('\n') + info.absolutePath();
    }
    if (track.artist.isEmpty())
        track.artist = folders.size() < 2 ? QStringLiteral("Unknown artist") : folders.at(1);
    track.uri = QUrl::fromLocalFile(info.absoluteFilePath()).toString(QUrl::FullyEncoded);
    track.file = info.absoluteFilePath();
    track.picture = AlbumArt::folderPicture(info.absolutePath());
    if (track.picture.isEmpty() && AlbumArt::hasEmbeddedPicture(track.file))
        track.picture = track.file;
    track.mimeType = mimeTypeOf(info.suffix());
    file->fileName = info.fileName();
    return true;
}

}  // namespace

Catalogue Catalogue::scan(const QString& dir)
{
    QMap<QString, QList<ScannedFile>> albums;  // sorted by album title
    QDirIterator it(dir, QDir::Files | QDir::Readable, QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        ScannedFile file;
        if (mimeTypeOf(info.suffix()).isEmpty() || !readFile(info, dir, &file)) {
            KELO_LOG_DEBUG(HostLogger, "not an audio file: " << info.absoluteFilePath());
            continue;
        }
        albums[file.albumKey].append(file);
    }
    Catalogue catalogue;
    for (auto album = albums.begin(); album != albums.end(); ++album) {
        std::sort(album->begin(), album->end(), [](const ScannedFile& a, const ScannedFile& b) {
            return a.number != b.number ? a.number < b.number : a.fileName < b.fileName;
        });
        QList<CatalogueTrack> tracks;
        for (const ScannedFile& file : *album)
            tracks.append(file.track);
        catalogue.addAlbum(tracks.first().album, tracks.first().artist, tracks);
    }
    KELO_LOG_INFO(HostLogger, "media library: " << catalogue.trackCount() << " tracks on " << catalogue.albumCount()
                                            << " albums from " << dir);
    return catalogue;
}
