#pragma once
// The tracks and albums of the demo media library: either the built-in catalogue (deterministic, the
// same on every start) or the audio files under a folder. A plain value: build it in any thread, then
// only read it. Ids are stable for one catalogue: albums 1..albumCount(), tracks 1..trackCount().
#include <QList>
#include <QString>
#include <QVector>

#include "media/AlbumArt.h"

struct CatalogueTrack
{
    int id = -1;
    int albumId = -1;
    QString title;
    QString artist;
    QString album;
    int duration = 0;  // seconds; 0 when unknown
    QString uri;
    QString mimeType;
    QString file;     // absolute path of the audio file; empty in the demo
    QString picture;  // the file holding its picture (an image, or the audio file itself); empty: none
};

struct CatalogueAlbum
{
    int id = -1;
    QString title;
    QString artist;   // the artist of its first track
    QList<int> trackIds;  // in playing order
};

class Catalogue
{
public:
    // About 300 tracks on 25 albums by 12 artists, durations 90..400 s, uris "demo://track/<id>",
    // plus one small album whose uris start with "fail:" (streams that cannot be opened).
    static Catalogue demo();
    // The audio files below dir (recursively) whose tags TagLib can read, grouped by album (sorted
    // by album title; tracks by track number, then file name), with percent-encoded "file://" uris.
    // Missing tags come from the path: the title from the file name without its leading track
    // number (which orders the album), the album from the folder and the artist from the one above
    // it; "Unknown album"/"Unknown artist" where there is no such folder below dir.
    static Catalogue scan(const QString& dir);

    int albumCount() const { return m_albums.size(); }
    int trackCount() const { return m_tracks.size(); }
    // Null when there is no such id.
    const CatalogueAlbum* album(int id) const;
    const CatalogueTrack* track(int id) const;

    // The picture of "media:album/<id>" or "media:track/<id>" (a track without one of its own shows its
    // album's); null when there is none or no such path. The demo's albums have drawn pictures.
    AlbumArt::Picture picture(const QString& mediaPath) const;
    bool hasPicture(const QString& mediaPath) const;

    // Appends an album made of these tracks; their ids and album id are assigned here.
    void addAlbum(const QString& title, const QString& artist, QList<CatalogueTrack> tracks);

private:
    // The album and track named by a media path; both null when it names neither.
    void resolve(const QString& mediaPath, const CatalogueAlbum** album, const CatalogueTrack** track) const;
    QString pictureFile(const CatalogueAlbum* album, const CatalogueTrack* track) const;

    bool m_drawnPictures = false;
    QVector<CatalogueAlbum> m_albums;
    QVector<CatalogueTrack> m_tracks;
};
