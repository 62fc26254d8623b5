#include "Catalogue.h"

#include <QStringList>

namespace {

const QStringList& artistNames()
{
    static const QStringList names = {
        QStringLiteral("The Lantern Keepers"), QStringLiteral("Mira Solen"),     QStringLiteral("Copper Fields"),
        QStringLiteral("Northbound Static"),   QStringLiteral("Ines Varga Trio"), QStringLiteral("Velvet Harbour"),
        QStringLiteral("Odd Tide"),            QStringLiteral("Paper Satellites"), QStringLiteral("Juniper Road"),
        QStringLiteral("Hollow Pines"),        QStringLiteral("Calla Moreau"),    QStringLiteral("The Quiet Engines"),
    };
    return names;
}

const QStringList& words()
{
    static const QStringList list = {
        QStringLiteral("Amber"),  QStringLiteral("River"),  QStringLiteral("Glass"),   QStringLiteral("Winter"),
        QStringLiteral("Signal"), QStringLiteral("Harbor"), QStringLiteral("Lights"),  QStringLiteral("Echo"),
        QStringLiteral("Velvet"), QStringLiteral("Stone"),  QStringLiteral("Morning"), QStringLiteral("Paper"),
        QStringLiteral("Orbit"),  QStringLiteral("Ember"),  QStringLiteral("Silver"),  QStringLiteral("Meadow"),
        QStringLiteral("Static"), QStringLiteral("Tide"),   QStringLiteral("Northern"), QStringLiteral("Hollow"),
        QStringLiteral("Copper"), QStringLiteral("Dream"),  QStringLiteral("Lantern"),  QStringLiteral("Garden"),
    };
    return list;
}

// A small linear congruential generator with a fixed seed: the catalogue is the same on every start.
class Sequence
{
public:
    int next(int bound)
    {
        m_state = m_state * 1103515245u + 12345u;
        return static_cast<int>((m_state >> 16) % static_cast<quint32>(bound));
    }

private:
    quint32 m_state = 20240601u;
};

QString twoWords(Sequence& seq)
{
    return words().at(seq.next(words().size())) + QLatin1Char(' ') + words().at(seq.next(words().size()));
}

QList<CatalogueTrack> demoTracks(Sequence& seq, int count, const QString& uriScheme)
{
    QList<CatalogueTrack> tracks;
    for (int i = 0; i < count; ++i) {
        CatalogueTrack track;
        track.title = twoWords(seq);
        track.duration = 90 + seq.next(311);
        track.uri = uriScheme;  // completed with the id by addAlbum's caller
        track.mimeType = QStringLiteral("audio/mpeg");
        tracks.append(track);
    }
    return tracks;
}

}  // namespace

Catalogue Catalogue::demo()
{
    Catalogue catalogue;
    Sequence seq;
    QStringList albumTitles;
    while (albumTitles.size() < 25) {
        const QString title = twoWords(seq);
        if (!albumTitles.contains(title))
            albumTitles.append(title);
    }
    for (int a = 0; a < albumTitles.size(); ++a) {
        const QString artist = artistNames().at(a % artistNames().size());
        catalogue.addAlbum(albumTitles.at(a), artist, demoTracks(seq, 8 + seq.next(9), QStringLiteral("demo://track/")));
    }
    catalogue.addAlbum(QStringLiteral("Unreachable Streams"), QStringLiteral("The Quiet Engines"),
                       demoTracks(seq, 3, QStringLiteral("fail://demo/track/")));
    for (CatalogueTrack& track : catalogue.m_tracks)
        track.uri += QString::number(track.id);
    catalogue.m_drawnPictures = true;
    return catalogue;
}

void Catalogue::resolve(const QString& mediaPath, const CatalogueAlbum** album, const CatalogueTrack** track) const
{
    *album = nullptr;
    *track = nullptr;
    static const QString albumPrefix = QStringLiteral("media:album/"), trackPrefix = QStringLiteral("media:track/");
    bool ok = false;
    if (mediaPath.startsWith(albumPrefix)) {
        *album = this->album(mediaPath.mid(albumPrefix.size()).toInt(&ok));
    } else if (mediaPath.startsWith(trackPrefix)) {
        *track = this->track(mediaPath.mid(trackPrefix.size()).toInt(&ok));
        *album = *track ? this->album((*track)->albumId) : nullptr;
    }
    if (!ok) {
        *album = nullptr;
        *track = nullptr;
    }
}

QString Catalogue::pictureFile(const CatalogueAlbum* album, const CatalogueTrack* track) const
{
    if (track && !track->picture.isEmpty())
        return track->picture;
    if (!album)
        return QString();
    for (int id : album->trackIds) {
        if (!this->track(id)->picture.isEmpty())
            return this->track(id)->picture;
    }
    return QString();
}

AlbumArt::Picture Catalogue::picture(const QString& mediaPath) const
{
    const CatalogueAlbum* album = nullptr;
    const CatalogueTrack* track = nullptr;
    resolve(mediaPath, &album, &track);
    if (!album)
        return AlbumArt::Picture();
    if (m_drawnPictures)
        return AlbumArt::drawn(album->title, album->artist);
    const QString file = pictureFile(album, track);
    return file.isEmpty() ? AlbumArt::Picture() : AlbumArt::read(file);
}

bool Catalogue::hasPicture(const QString& mediaPath) const
{
    const CatalogueAlbum* album = nullptr;
    const CatalogueTrack* track = nullptr;
    resolve(mediaPath, &album, &track);
    return album && (m_drawnPictures || !pictureFile(album, track).isEmpty());
}

const CatalogueAlbum* Catalogue::album(int id) const
{
    return id >= 1 && id <= m_albums.size() ? &m_albums.at(id - 1) : nullptr;
}

const CatalogueTrack* Catalogue::track(int id) const
{
    return id >= 1 && id <= m_tracks.size() ? &m_tracks.at(id - 1) : nullptr;
}

void Catalogue::addAlbum(const QString& title, const QString& artist, QList<CatalogueTrack> tracks)
{
    CatalogueAlbum album;
    album.id = m_albums.size() + 1;
    album.title = title;
    album.artist = artist;
    for (CatalogueTrack& track : tracks) {
        track.id = m_tracks.size() + 1;
        track.albumId = album.id;
        track.album = title;
        if (track.artist.isEmpty())
            track.artist = artist;
        album.trackIds.append(track.id);
        m_tracks.append(track);
    }
    m_albums.append(album);
}
