#pragma once
// The tracks and albums of the demo media library: either the built-in catalogue (deterministic, the
// same on every start) or the audio files under a folder. A plain value: build it in any thread, then
// only read it. Ids are stable for one catalogue: albums 1..albumCount(), tracks 1..trackCount().
#include <QList>
#include <QString>
#include <QVector>

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
    // by album title; tracks by track number, then file name), with "file://" uris. Files without
    // a title are named after the file, without an album or artist "Unknown album"/"Unknown artist".
    static Catalogue scan(const QString& dir);

    int albumCount() const { return m_albums.size(); }
    int trackCount() const { return m_tracks.size(); }
    // Null when there is no such id.
    const CatalogueAlbum* album(int id) const;
    const CatalogueTrack* track(int id) const;

    // Appends an album made of these tracks; their ids and album id are assigned here.
    void addAlbum(const QString& title, const QString& artist, QList<CatalogueTrack> tracks);

private:
    QVector<CatalogueAlbum> m_albums;
    QVector<CatalogueTrack> m_tracks;
};
