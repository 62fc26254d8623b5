#include "AudioFiles.h"

#include <QFile>
#include <gst/gst.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/tag.h>

namespace AudioFiles {

bool write(const QString& fileName, double seconds, int hz)
{
    gst_init(nullptr, nullptr);
    const bool wav = fileName.endsWith(QLatin1String(".wav"));
    const char* encoder = wav ? "wavenc" : fileName.endsWith(QLatin1String(".flac")) ? "flacenc" : "vorbisenc ! oggmux";
    const int rate = wav ? 8000 : 44100;
    const QString description = QStringLiteral("audiotestsrc freq=%1 num-buffers=%2 samplesperbuffer=%3 ! "
                                               "audio/x-raw,format=S16LE,rate=%4,channels=1 ! audioconvert ! %5 ! "
                                               "filesink location=\"%6\"")
                                    .arg(hz)
                                    .arg(int(seconds * 100))
                                    .arg(rate / 100)
                                    .arg(rate)
                                    .arg(QLatin1String(encoder), fileName);
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.toUtf8().constData(), &error);
    if (!pipeline) {
        g_clear_error(&error);
        return false;
    }
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* message = gst_bus_timed_pop_filtered(bus, 10 * GST_SECOND,
                                                     GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    const bool ok = message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
    if (message)
        gst_message_unref(message);
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return ok;
}

bool tag(const QString& fileName, const char* title, const char* artist, const char* album, unsigned int number)
{
    TagLib::FileRef file(QFile::encodeName(fileName).constData());
    if (file.isNull() || !file.tag())
        return false;
    file.tag()->setTitle(title);
    file.tag()->setArtist(artist);
    file.tag()->setAlbum(album);
    file.tag()->setTrack(number);
    return file.save();
}

bool embedPicture(const QString& flacFile, const QByteArray& png)
{
    TagLib::FLAC::File file(QFile::encodeName(flacFile).constData());
    if (!file.isValid())
        return false;
    auto* picture = new TagLib::FLAC::Picture;
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType("image/png");
    picture->setData(TagLib::ByteVector(png.constData(), unsigned(png.size())));
    file.addPicture(picture);
    return file.save();
}

QByteArray wavData(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QByteArray wav = file.readAll();
    auto u32 = [&wav](int at) { return quint32(quint8(wav[at])) | quint32(quint8(wav[at + 1])) << 8 |
                                       quint32(quint8(wav[at + 2])) << 16 | quint32(quint8(wav[at + 3])) << 24; };
    for (int at = 12; at + 8 <= wav.size();) {
        const quint32 size = u32(at + 4);
        if (wav.mid(at, 4) == "data")
            return wav.mid(at + 8, int(size));
        at += 8 + int(size) + int(size & 1u);
    }
    return QByteArray();
}

QByteArray png()
{
    // 1x1 red pixel.
    return QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8DwHwAFBQIAX8jx0gAAAABJRU5ErkJggg==");
}

}  // namespace AudioFiles
