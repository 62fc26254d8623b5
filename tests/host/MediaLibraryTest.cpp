// The demo media library: its catalogues, and its rows and prepared items through a running host.
#include <gtest/gtest.h>

#include "HostTest.h"
#include "KeloRoles.h"
#include "media/Catalogue.h"

namespace {

TEST(MediaCatalogue, EveryDemoTrackIsInItsAlbumAndPlayableButAFewAndEveryAlbumHasAPictureOfItsOwn)
{
    const Catalogue demo = Catalogue::demo();
    int failing = 0;
    for (int id = 1; id <= demo.trackCount(); ++id) {
        const CatalogueTrack* track = demo.track(id);
        ASSERT_NE(track, nullptr);
        EXPECT_TRUE(demo.album(track->albumId)->trackIds.contains(id));
        if (track->uri.startsWith("fail:"))
            ++failing;
        else
            EXPECT_EQ(track->uri, QStringLiteral("demo://track/%1").arg(id));
    }
    EXPECT_GT(failing, 0);
    EXPECT_LT(failing, 10);
    EXPECT_EQ(demo.track(0), nullptr);
    EXPECT_EQ(demo.album(demo.albumCount() + 1), nullptr);

    // Every album has a drawn picture of its own, which its tracks show too.
    const AlbumArt::Picture first = demo.picture("media:album/1");
    EXPECT_EQ(first.mimeType, "image/svg+xml");
    EXPECT_TRUE(first.data.startsWith("<svg"));
    EXPECT_EQ(demo.picture("media:track/1").data, first.data);
    EXPECT_NE(demo.picture("media:album/2").data, first.data);
    EXPECT_EQ(Catalogue::demo().picture("media:album/2").data, demo.picture("media:album/2").data);
}

using MediaLibrary = HostTest;

TEST_F(MediaLibrary, ListsAlbumsClampedToWhatExistsAndTracksWithTheRolesAskedForAndPreparesPlaylistItemsFromPaths)
{
    ASSERT_TRUE(start());
    const Catalogue demo = Catalogue::demo();
    const QVariantHash tail = rows("media:", demo.albumCount() - 2, demo.albumCount() + 50);
    EXPECT_EQ(tail.value("rowsCount"), demo.albumCount());
    const QVariantList rowList = tail.value("rows").toList();
    ASSERT_EQ(rowList.size(), 2);
    const KeloRoles last(KeloHash(rowList.at(1).toHash()));
    EXPECT_EQ(last.type(), 1);
    EXPECT_TRUE(last.containerPlayable());
    EXPECT_EQ(last.path().toEncoded(), QStringLiteral("media:album/%1").arg(demo.albumCount()));
    EXPECT_EQ(last.title(), demo.album(demo.albumCount())->title);

    EXPECT_EQ(rows("media:", -5, 0).value("rows").toList().size(), 1);
    EXPECT_TRUE(rows("media:", 5, 4).value("rows").toList().isEmpty());

    const CatalogueAlbum* album = demo.album(3);
    const QVariantHash all = rows("media:album/3", 0, 999);
    EXPECT_EQ(all.value("title"), album->title);
    const QVariantList tracks = all.value("rows").toList();
    ASSERT_EQ(tracks.size(), album->trackIds.size());
    // A track's roles are those its playlist item carries, in the recorded API exchanges.
    EXPECT_EQ(KeloRoles(KeloHash(tracks.at(0).toHash())).title(), demo.track(album->trackIds.at(0))->title);

    const QVariantList titles = rows("media:album/3", 1, 1, {"title"}).value("rows").toList();
    ASSERT_EQ(titles.size(), 1);
    EXPECT_EQ(titles.at(0).toHash(), (QVariantHash{{"title", demo.track(album->trackIds.at(1))->title}}));

    EXPECT_EQ(m_host.post("/api/getRows", R"({"path": "media:album/999", "fromRow": 0, "toRow": 9})"), 404);
    EXPECT_EQ(m_host.post("/api/getRows", R"({"path": "media:track/1", "fromRow": 0, "toRow": 9})"), 404);

    // Tracks and whole albums give playlist items; the rest is skipped.
    album = demo.album(2);
    const QVariantList paths = {"media:track/5", "media:nothing/1", "media:album/2", "media:track/99999", 17};
    QVariantHash answer;
    const QVariantHash request = {{"path", "media:prepareItems"}, {"value", paths}};
    ASSERT_EQ(m_host.post("/api/setData", jsonText(request), &answer), 200);
    const QVariantList items = answer.value("value").toList();
    // Their form is in the recorded API exchanges; here, that only the track and the album give items.
    EXPECT_EQ(items.size(), 1 + album->trackIds.size());

    EXPECT_EQ(m_host.post("/api/setData", R"({"path": "media:prepareItems", "value": "media:track/5"})"), 400);
}

}  // namespace
