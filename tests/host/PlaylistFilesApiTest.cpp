// Export and import of playlist files through a running kelo-host with the playlists module and the
// built-in media library (whose tracks have the uris demo://track/<id>).
#include <QUrl>
#include <gtest/gtest.h>

#include "HostTest.h"
#include "KeloJson.h"

namespace {

class PlaylistFilesApi : public HostTest
{
protected:
    bool startModule(const QStringList& extra = {}) { return start(QStringList{"--plugin", HostProcess::playlistsModule()} + extra); }
    QVariantHash command(const QString& path, const QVariantHash& value)
    {
        QVariantHash answer;
        EXPECT_EQ(m_host.post("/api/setData", jsonText(QVariantHash{{"path", path}, {"value", value}}), &answer), 200);
        EXPECT_FALSE(answer.contains("error")) << jsonText(answer);
        return answer;
    }
    // The uri and title of every entry of a playlist, in order.
    QStringList entries(int plid)
    {
        QStringList list;
        for (const QVariant& row : rows(QString("playlists:pl/getitems/%1").arg(plid)).value("rows").toList()) {
            const QVariantHash roles = row.toHash();
            const QVariantList resources = roles.value("mediaData").toHash().value("resources").toList();
            list.append(resources.value(0).toHash().value("uri").toString() + " | " + roles.value("title").toString());
        }
        return list;
    }
    int playlistCount() { return rows("playlists:pl/getlist").value("rowsCount").toInt(); }
    httplib::Result exportFile(const std::string& query) { return m_host.client()->Get(("/api/export?" + query).c_str()); }
    int importFile(const std::string& query, const std::string& body, QVariantHash* answer,
                   const std::string& type = "application/octet-stream")
    {
        const httplib::Result result = m_host.client()->Post(("/api/import?" + query).c_str(), body, type.c_str());
        if (!result)
            return -1;
        *answer = KeloJson::parse(QByteArray::fromStdString(result->body)).toHash();
        return result->status;
    }
};

const QVariantHash Stream = {
    {"title", "Night Call"}, {"url", "http://radio.example/night.mp3"}, {"serviceId", "web"},
    {"keloRoles", R"({"type":3,"title":"Night Call","mediaData":{"resources":[{"uri":"http://radio.example/night.mp3"}]}})"}};

}  // namespace

TEST_F(PlaylistFilesApi, EveryFormatRoundTripsLibraryTracksAndStreamsAndAnImportReportsWhatItCouldNotResolve)
{
    ASSERT_TRUE(startModule());
    const int plid = command("playlists:pl/create", {{"name", "Süd/Nord: \"Mix\""}})
                         .value("value").toHash().value("result").toHash().value("value").toHash().value("i32_").toInt();
    command("playlists:pl/additems", {{"plid", plid}, {"items", QVariantList{"media:track/5", "media:album/2"}}});
    command("playlists:pl/addexternalitems", {{"plid", plid}, {"items", QVariantList{Stream}}});
    command("playlists:pl/additems", {{"plid", plid}, {"items", QVariantList{"media:track/1"}}});
    const QStringList original = entries(plid);
    ASSERT_GT(original.size(), 3);

    for (const char* format : {"m3u8", "pls", "xspf"}) {
        const httplib::Result file = exportFile("plid=" + std::to_string(plid) + "&format=" + format);
        ASSERT_TRUE(file);
        ASSERT_EQ(file->status, 200) << file->body;
        const std::string disposition = file->get_header_value("Content-Disposition");
        EXPECT_NE(disposition.find(std::string("filename=\"S_d_Nord_ _Mix_.") + format + "\""), std::string::npos) << disposition;
        // The exact name in filename* (percent-encoded on the wire; a client may show it decoded).
        const QString exact = QString::fromStdString(disposition).section("filename*=UTF-8''", 1);
        EXPECT_EQ(QUrl::fromPercentEncoding(exact.toUtf8()), QString("Süd_Nord_ _Mix_.") + format) << disposition;
        QVariantHash imported;
        EXPECT_EQ(importFile("name=Copy", file->body, &imported), 200) << jsonText(imported);
        EXPECT_EQ(entries(imported.value("plid").toInt()), original) << format << "\n" << file->body;
    }
    // The play queue exports like any playlist.
    command("playlists:pl/additems", {{"plid", 0}, {"items", QVariantList{"media:track/9"}}});
    const httplib::Result queue = exportFile("plid=0&format=m3u8");
    ASSERT_TRUE(queue);
    EXPECT_NE(queue->body.find("demo://track/9"), std::string::npos) << queue->body;
    EXPECT_EQ(queue->get_header_value("Content-Type").rfind("audio/x-mpegurl", 0), 0u);

    // What cannot be resolved is reported with its line.
    const std::string file = "#EXTM3U\r\n"
                             "#EXTINF:200,Somebody - First\r\n"
                             "demo://track/3\r\n"
                             "Nowhere/Song.mp3\r\n"
                             "\r\n"
                             "#EXTINF:-1,Night Call\r\n"
                             "https://radio.example/night.mp3\r\n"
                             "ftp://files.example/a.mp3\r\n"
                             "demo://track/4\r\n";
    QVariantHash answer;
    ASSERT_EQ(importFile("name=Mixed%20Bag", file, &answer, "audio/x-mpegurl"), 200);
    EXPECT_EQ(answer.value("added").toInt(), 3);
    const QVariantList missing = answer.value("missing").toList();
    ASSERT_EQ(missing.size(), 2);
    EXPECT_EQ(missing[0].toHash(), (QVariantHash{{"line", 4}, {"entry", "Nowhere/Song.mp3"}}));
    EXPECT_EQ(missing[1].toHash(), (QVariantHash{{"line", 8}, {"entry", "ftp://files.example/a.mp3"}}));
    const QStringList added = entries(answer.value("plid").toInt());
    ASSERT_EQ(added.size(), 3);
    EXPECT_TRUE(added[0].startsWith("demo://track/3 | "));
    EXPECT_EQ(added[1], QString("https://radio.example/night.mp3 | Night Call"));
    EXPECT_TRUE(added[2].startsWith("demo://track/4 | "));
}

TEST_F(PlaylistFilesApi, BadRequestsAreRefusedWithAReasonAndCreateNothingAndAnImportStopsAtTheItemsLimit)
{
    ASSERT_TRUE(startModule({"--set", R"(settings:playlists/dbItemsLimit={"type":"i32_","i32_":3})"}));
    const int before = playlistCount();
    const std::string playlist = "#EXTM3U\ndemo://track/1\n";
    QVariantHash answer;
    // A format given overrides the one the file seems to be in.
    for (const auto& request : QList<QPair<std::string, std::string>>{
             {"name=X", ""}, {"name=X&format=pls", playlist}, {"name=X&format=wpl", playlist}, {"name=", playlist}}) {
        EXPECT_EQ(importFile(request.first, request.second, &answer), 400) << request.first;
        EXPECT_FALSE(answer.value("error").toHash().value("message").toString().isEmpty());
    }
    // A type that any web page may send unasked is refused before the body is read.
    EXPECT_EQ(importFile("name=X", playlist, &answer, "text/plain"), 415);
    EXPECT_EQ(playlistCount(), before);

    for (const char* query : {"plid=1&format=m3u8", "plid=0&format=wpl", "plid=x&format=pls", "format=xspf"})
        EXPECT_EQ(statusOf(exportFile(query)), std::string(query).rfind("plid=1", 0) == 0 ? 404 : 400) << query;

    // What fitted is kept.
    const std::string file = "demo://track/1\ndemo://track/2\ndemo://track/3\nhttp://a.example/1.mp3\ndemo://track/4\n";
    ASSERT_EQ(importFile("name=Big", file, &answer), 200);
    EXPECT_EQ(answer.value("added").toInt(), 3);
    EXPECT_FALSE(answer.value("stopped").toString().isEmpty()) << jsonText(answer);
    EXPECT_EQ(entries(answer.value("plid").toInt()).size(), 3);
}
