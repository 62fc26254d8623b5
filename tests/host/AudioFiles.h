#pragma once
// Short audio files written by the tests themselves: WAV, FLAC and Ogg Vorbis through GStreamer's
// encoders, tags and pictures through TagLib. Each returns false when the file could
// not be written.
#include <QByteArray>
#include <QString>

namespace AudioFiles {
// A tone of hz for seconds as a WAV (mono 8 kHz 16-bit, a 44-byte head), FLAC or Ogg Vorbis file, by
// the suffix of fileName.
bool write(const QString& fileName, double seconds, int hz = 440);
bool tag(const QString& fileName, const char* title, const char* artist, const char* album, unsigned int number);
// Embeds a picture into a FLAC file.
bool embedPicture(const QString& flacFile, const QByteArray& png);
// The samples of a WAV file (its "data" chunk); empty when it has none.
QByteArray wavData(const QString& fileName);
// A small valid PNG image.
QByteArray png();
}  // namespace AudioFiles
