#pragma once
// The pictures of the media library: embedded in an audio file (FLAC, MP3's ID3v2, Ogg Vorbis/Opus,
// MP4), lying beside it (cover.jpg, folder.jpg, front.png in any case), or drawn for the demo. Plain
// functions; any thread; they read files when called and keep nothing.
#include <QByteArray>
#include <QString>

namespace AlbumArt {

struct Picture
{
    QByteArray data;
    QString mimeType;
    bool isNull() const { return data.isEmpty(); }
};

// The picture file in dir that stands for its album, or empty when there is none.
QString folderPicture(const QString& dir);
// Whether the audio file carries a picture of its own.
bool hasEmbeddedPicture(const QString& audioFile);
// The picture in file: the file itself when it is an image, else the embedded one (the front cover
// when there are several). Null when there is none or the file cannot be read.
Picture read(const QString& file);
// A square SVG picture for a demo album, the same for the same title every time.
Picture drawn(const QString& title, const QString& artist);

}  // namespace AlbumArt
