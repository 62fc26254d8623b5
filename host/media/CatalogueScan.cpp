// Catalogue::scan: the media library read from real audio files with TagLib.
#include <QDirIterator>
#include <QFileInfo>
#include <QMap>
#include <QUrl>
#include <taglib/fileref.h>
#include <taglib/tag.h>

#include "Catalogue.h"
#include "KeloLog.h"

namespace {

struct ScannedFile
{
    CatalogueTrack track;
    unsigned int number = 0;
    QString fileName;
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

// Reads one file; false when it is no audio file TagLib understands.
bool readFile(const QFileInfo& info, ScannedFile* file)
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
    if (track.title.isEmpty())
        track.title = info.completeBaseName();
    if (track.artist.isEmpty())
        track.artist = QStringLiteral("Unknown artist");
    if (track.album.isEmpty())
        track.album = QStringLiteral("Unknown album");
    track.uri = QUrl::fromLocalFile(info.absoluteFilePath()).toString();
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
        if (mimeTypeOf(info.suffix()).isEmpty() || !readFile(info, &file)) {
            KELO_LOG_DEBUG("Host", "not an audio file: " << info.absoluteFilePath());
            continue;
        }
        albums[file.track.album].append(file);
    }
    Catalogue catalogue;
    for (auto album = albums.begin(); album != albums.end(); ++album) {
        std::sort(album->begin(), album->end(), [](const ScannedFile& a, const ScannedFile& b) {
            return a.number != b.number ? a.number < b.number : a.fileName < b.fileName;
        });
        QList<CatalogueTrack> tracks;
        for (const ScannedFile& file : *album)
            tracks.append(file.track);
        catalogue.addAlbum(album.key(), tracks.first().artist, tracks);
    }
    KELO_LOG_INFO("Host", "media library: " << catalogue.trackCount() << " tracks on " << catalogue.albumCount()
                                            << " albums from " << dir);
    return catalogue;
}
