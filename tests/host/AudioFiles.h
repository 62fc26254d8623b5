#pragma once
// Short audio files written by the tests themselves: WAV by hand, FLAC and Ogg Vorbis through
// GStreamer's encoders, tags and pictures through TagLib. Each returns false when the file could
// not be written.
#include <QByteArray>
#include <QString>

namespace AudioFiles {
// A mono 8 kHz 16-bit WAV file: a tone of hz (0: silence) for seconds.
bool writeWav(const QString& fileName, double seconds, int hz = 440);
// A FLAC or Ogg Vorbis file (by the suffix of fileName) of a tone of hz for seconds.
bool writeEncoded(const QString& fileName, double seconds, int hz = 440);
bool tag(const QString& fileName, const char* title, const char* artist, const char* album, unsigned int number);
// Embeds a picture into a FLAC file.
bool embedPicture(const QString& flacFile, const QByteArray& png);
// The samples of a WAV file (its "data" chunk); empty when it has none.
QByteArray wavData(const QString& fileName);
// A small valid PNG image.
QByteArray png();
}  // namespace AudioFiles
