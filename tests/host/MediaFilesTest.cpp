// A media library read from files as people keep them, and the pictures the host serves for it.
#include <QDir>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

#include "AudioFiles.h"
#include "HostTest.h"
#include "media/Catalogue.h"

namespace {

const CatalogueAlbum* albumNamed(const Catalogue& catalogue, const QString& title)
{
    for (int id = 1; id <= catalogue.albumCount(); ++id) {
        if (catalogue.album(id)->title == title)
            return catalogue.album(id);
    }
    return nullptr;
}

TEST(MediaFiles, AFolderIsReadThroughTheTagsOrElseThroughThePathsAndGroupedByAlbumInNumberedOrder)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const char* folder : {"b/deeper", "Ada Loom/Blue Hours", "Ben Ode/Blue Hours"})
        ASSERT_TRUE(QDir().mkpath(dir.filePath(folder)));
    // Tagged files are one album wherever they lie.
    ASSERT_TRUE(AudioFiles::write(dir.filePath("b/two.wav"), 3) && AudioFiles::tag(dir.filePath("b/two.wav"), "Second", "Ada", "Blue", 2));
    ASSERT_TRUE(AudioFiles::write(dir.filePath("b/deeper/one.wav"), 2)
                && AudioFiles::tag(dir.filePath("b/deeper/one.wav"), "First", "Ada", "Blue", 1));
    for (const char* name : {"untagged.wav", "Ada Loom/Blue Hours/10 Late.wav", "Ada Loom/Blue Hours/02 - Café Noir.wav",
                             "Ada Loom/Blue Hours/1999.wav", "Ben Ode/Blue Hours/01 Other.wav"})
        ASSERT_TRUE(AudioFiles::write(dir.filePath(name), 1));
    ASSERT_TRUE(writeFile(dir.filePath("notes.txt"), "not audio"));

    // Two folders of the same name are two albums; a number alone is a title, not a track number.
    const Catalogue catalogue = Catalogue::scan(dir.path());
    QStringList albums;
    for (int id = 1; id <= catalogue.albumCount(); ++id) {
        QStringList titles;
        for (int track : catalogue.album(id)->trackIds)
            titles << catalogue.track(track)->title;
        albums << catalogue.album(id)->title + " by " + catalogue.album(id)->artist + ": " + titles.join(", ");
    }
    EXPECT_EQ(albums, QStringList({"Blue by Ada: First, Second", "Blue Hours by Ada Loom: 1999, Café Noir, Late",
                                   "Blue Hours by Ben Ode: Other", "Unknown album by Unknown artist: untagged"}));
    const CatalogueTrack* first = catalogue.track(catalogue.album(1)->trackIds.at(0));
    EXPECT_EQ(first->duration, 2);
    EXPECT_EQ(first->uri, "file://" + dir.filePath("b/deeper/one.wav"));
    EXPECT_EQ(first->mimeType, "audio/wav");
    const CatalogueTrack* cafe = catalogue.track(catalogue.album(2)->trackIds.at(1));
    EXPECT_EQ(cafe->uri, "file://" + QUrl::toPercentEncoding(dir.filePath("Ada Loom/Blue Hours/02 - Café Noir.wav"), "/"));
}

class MediaArt : public HostTest
{
protected:
    void SetUp() override
    {
        const QString media = m_dir.filePath("media");
        ASSERT_TRUE(QDir().mkpath(media + "/Embedded") && QDir().mkpath(media + "/Folder") && QDir().mkpath(media + "/Bare"));
        ASSERT_TRUE(AudioFiles::write(media + "/Embedded/01 One.flac", 0.5));
        ASSERT_TRUE(AudioFiles::embedPicture(media + "/Embedded/01 One.flac", AudioFiles::png()));
        ASSERT_TRUE(AudioFiles::write(media + "/Folder/01 Two.wav", 1));
        ASSERT_TRUE(writeFile(media + "/Folder/Cover.JPG", "\xff\xd8\xff\xe0 not really a jpeg"));
        ASSERT_TRUE(AudioFiles::write(media + "/Bare/01 Three.wav", 1));
        m_catalogue = Catalogue::scan(media);
        ASSERT_TRUE(start({"--media-dir", media, "--player", "simulated"}));
    }
    httplib::Result art(const QString& path, const httplib::Headers& headers = {}) const
    {
        return m_host.client()->Get("/api/art?path=" + QUrl::toPercentEncoding(path).toStdString(), headers);
    }
    QString icon(const QString& album) const
    {
        QVariantHash answer;
        const int id = albumNamed(m_catalogue, album)->id;
        EXPECT_EQ(m_host.post("/api/getData", jsonText(QVariantHash{{"path", QString("media:album/%1").arg(id)}}), &answer), 200);
        return answer.value("value").toHash().value("icon").toString();
    }

    Catalogue m_catalogue;
};

TEST_F(MediaArt, TheEmbeddedAndTheFolderPictureAreServedWithAValidatorAndABareAlbumHasNone)
{
    const QString embedded = icon("Embedded");
    ASSERT_FALSE(embedded.isEmpty());
    httplib::Result result = m_host.client()->Get(embedded.toStdString());
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->get_header_value("Content-Type"), "image/png");
    EXPECT_EQ(QByteArray::fromStdString(result->body), AudioFiles::png());
    const std::string etag = result->get_header_value("ETag");
    ASSERT_FALSE(etag.empty());
    EXPECT_EQ(statusOf(m_host.client()->Get(embedded.toStdString(), {{"If-None-Match", etag}})), 304);

    const int folderTrack = albumNamed(m_catalogue, "Folder")->trackIds.first();
    result = art(QString("media:track/%1").arg(folderTrack));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->get_header_value("Content-Type"), "image/jpeg");
    EXPECT_EQ(result->body.substr(0, 3), "\xff\xd8\xff");

    EXPECT_TRUE(icon("Bare").isEmpty());
    EXPECT_EQ(statusOf(art(QString("media:album/%1").arg(albumNamed(m_catalogue, "Bare")->id))), 404);
    for (const char* bad : {"media:album/99", "media:track/x", "settings:playlists/dbVacuum"})
        EXPECT_EQ(statusOf(art(bad)), 404) << bad;
}

}  // namespace
