#include "media/AlbumArt.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

namespace AlbumArt {
namespace {

QString imageType(const QString& suffix)
{
    const QString s = suffix.toLower();
    if (s == QLatin1String("jpg") || s == QLatin1String("jpeg"))
        return QStringLiteral("image/jpeg");
    if (s == QLatin1String("png"))
        return QStringLiteral("image/png");
    return QString();
}

QByteArray bytes(const TagLib::ByteVector& v)
{
    return QByteArray(v.data(), int(v.size()));
}

QString text(const TagLib::String& s)
{
    return QString::fromStdWString(s.toWString());
}

Picture fromFlacPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures)
{
    const TagLib::FLAC::Picture* chosen = nullptr;
    for (const TagLib::FLAC::Picture* p : pictures) {
        if (!chosen || p->type() == TagLib::FLAC::Picture::FrontCover)
            chosen = p;
    }
    return chosen ? Picture{bytes(chosen->data()), text(chosen->mimeType())} : Picture();
}

Picture fromId3v2(TagLib::ID3v2::Tag* tag)
{
    if (!tag)
        return Picture();
    const TagLib::ID3v2::AttachedPictureFrame* chosen = nullptr;
    for (TagLib::ID3v2::Frame* frame : tag->frameListMap()["APIC"]) {
        auto* p = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (p && (!chosen || p->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover))
            chosen = p;
    }
    return chosen ? Picture{bytes(chosen->picture()), text(chosen->mimeType())} : Picture();
}

Picture fromMp4(TagLib::MP4::Tag* tag)
{
    if (!tag || !tag->contains("covr"))
        return Picture();
    const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
    if (covers.isEmpty())
        return Picture();
    const TagLib::MP4::CoverArt& cover = covers.front();
    return {bytes(cover.data()),
            cover.format() == TagLib::MP4::CoverArt::PNG ? QStringLiteral("image/png") : QStringLiteral("image/jpeg")};
}

Picture embedded(const QString& file)
{
    const QByteArray path = QFile::encodeName(file);
    const QString suffix = QFileInfo(file).suffix().toLower();
    if (suffix == QLatin1String("flac")) {
        TagLib::FLAC::File f(path.constData(), false);
        return f.isValid() ? fromFlacPictures(f.pictureList()) : Picture();
    }
    if (suffix == QLatin1String("mp3")) {
        TagLib::MPEG::File f(path.constData(), false);
        return f.isValid() ? fromId3v2(f.ID3v2Tag()) : Picture();
    }
    if (suffix == QLatin1String("ogg") || suffix == QLatin1String("oga")) {
        TagLib::Ogg::Vorbis::File f(path.constData(), false);
        return f.isValid() && f.tag() ? fromFlacPictures(f.tag()->pictureList()) : Picture();
    }
    if (suffix == QLatin1String("opus")) {
        TagLib::Ogg::Opus::File f(path.constData(), false);
        return f.isValid() && f.tag() ? fromFlacPictures(f.tag()->pictureList()) : Picture();
    }
    if (suffix == QLatin1String("m4a")) {
        TagLib::MP4::File f(path.constData(), false);
        return f.isValid() ? fromMp4(f.tag()) : Picture();
    }
    return Picture();
}

}  // namespace

QString folderPicture(const QString& dir)
{
    static const QStringList names = {QStringLiteral("cover.jpg"), QStringLiteral("folder.jpg"),
                                      QStringLiteral("front.png")};
    const QStringList entries = QDir(dir).entryList(QDir::Files | QDir::Readable);
    for (const QString& name : names) {
        for (const QString& entry : entries) {
            if (entry.compare(name, Qt::CaseInsensitive) == 0)
                return QDir(dir).filePath(entry);
        }
    }
    return QString();
}

bool hasEmbeddedPicture(const QString& audioFile)
{
    return !embedded(audioFile).isNull();
}

Picture read(const QString& file)
{
    const QString type = imageType(QFileInfo(file).suffix());
    if (type.isEmpty())
        return embedded(file);
    QFile image(file);
    if (!image.open(QIODevice::ReadOnly))
        return Picture();
    return {image.readAll(), type};
}

Picture drawn(const QString& title, const QString& artist)
{
    const uint seed = qHash(title + QLatin1Char('\n') + artist, 7u);
    const int hue = int(seed % 360u);
    const int hue2 = (hue + 40 + int((seed >> 9) % 80u)) % 360;
    QString initials;
    for (const QString& word : title.split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(0, 2))
        initials += word.at(0).toUpper();
    const QString svg = QStringLiteral(
                            "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 120 120\" width=\"120\" "
                            "height=\"120\"><defs><linearGradient id=\"g\" x1=\"0\" y1=\"0\" x2=\"1\" y2=\"1\">"
                            "<stop offset=\"0\" stop-color=\"hsl(%1,55%,45%)\"/><stop offset=\"1\" "
                            "stop-color=\"hsl(%2,60%,25%)\"/></linearGradient></defs>"
                            "<rect width=\"120\" height=\"120\" fill=\"url(#g)\"/>"
                            "<circle cx=\"%3\" cy=\"%4\" r=\"%5\" fill=\"rgba(255,255,255,0.15)\"/>"
                            "<text x=\"60\" y=\"72\" font-family=\"sans-serif\" font-size=\"36\" fill=\"#fff\" "
                            "text-anchor=\"middle\">%6</text></svg>")
                            .arg(hue)
                            .arg(hue2)
                            .arg(20 + int((seed >> 3) % 80u))
                            .arg(20 + int((seed >> 5) % 80u))
                            .arg(15 + int((seed >> 7) % 30u))
                            .arg(initials.toHtmlEscaped());
    return {svg.toUtf8(), QStringLiteral("image/svg+xml")};
}

}  // namespace AlbumArt
