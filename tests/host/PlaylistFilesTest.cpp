// The playlist file formats on files written by hand in each format's real syntax (playlistfiles/).
#include <QFile>
#include <gtest/gtest.h>

#include "playlistfiles/PlaylistFile.h"

namespace {

using PlaylistFile::Format;

QByteArray sample(const QString& name)
{
    QFile file(QStringLiteral(KELO_SOURCE_DIR "/tests/host/playlistfiles/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

// Every field of every entry, one line each: location | title | artist | album | seconds | line.
QStringList fields(const PlaylistFileContent& content)
{
    QStringList list;
    for (const PlaylistFileEntry& e : content.entries)
        list << QStringList{e.location, e.title, e.artist, e.album, QString::number(e.durationSeconds), QString::number(e.line)}.join(" | ");
    return list;
}

}  // namespace

TEST(PlaylistFile, FilesAsPeopleKeepThemReadEveryEntryInOrderWithWhatTheyTellOfIt)
{
    const struct
    {
        const char* file;
        Format format;
        QString title;
        QStringList entries;
    } samples[] = {
        // BOM, CRLF (the BOM is no line), comments, EXTINF variants; a comma inside quoted attributes
        // does not end them, one in the title stays in the title.
        {"windows-export.m3u8", Format::M3u8, "Road Trip 2019",
         {"Nina Ströme\\Kieler Nächte\\01 Wolken über Kiel.mp3 | Wolken über Kiel | Nina Ströme |  | 245 | 6",
          "http://radio.example/night.mp3 | Night Call Radio |  |  | -1 | 9",
          "..\\Tracks & Things\\Skip Intro.flac | Skip Intro | Tracks & Things |  | 0 | 11",
          "The%20Lantern%20Keepers/Ember%20Static/01%20Meadow%20Northern.mp3 | Meadow, Northern | The Lantern Keepers |  | 187 | 13",
          "C:\\Users\\ann\\Music\\elsewhere.mp3 | Only A Title |  |  | -1 | 15",
          "file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/02%20Harbour.mp3 | Harbour | The Lantern Keepers | Ember Static | 302 | 18"}},
        // Latin-1 without a header is still a playlist.
        {"plain-latin1.m3u", Format::M3u8, "",
         {"Café Tacvba/Re/01 La Ingrata.mp3 |  |  |  | -1 | 2",
          "/srv/music/Nina Ströme/Kieler Nächte/02 Möwen.ogg |  |  |  | -1 | 3",
          "https://stream.example:8443/live.aac |  |  |  | -1 | 5"}},
        // Gaps in the numbering keep the order; a title without a file is an entry without a location.
        {"station-gaps.pls", Format::Pls, "",
         {"http://stream.example/high.mp3 | Night Call Radio (high) |  |  | -1 | 4",
          "The Lantern Keepers/Ember Static/01 Meadow Northern.mp3 | Meadow Northern | The Lantern Keepers |  | 187 | 7",
          " | Lost entry |  |  | -1 | 10", "https://stream.example/low.aac |  |  |  | -1 | 11"}},
        // A prefixed namespace with extensions; relative locations are URI references and arrive
        // decoded, absolute URIs stay as written.
        {"prefixed.xspf", Format::Xspf, "Evening Mix",
         {"Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3 | Wolken über Kiel | Nina Ströme | Kieler Nächte | 245 | 6",
          "http://radio.example/night.mp3 |  |  |  | -1 | 14", " | No Location Here |  |  | -1 | 17",
          "file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/02%20Harbour.mp3 | Harbour |  |  | -1 | 20"}},
        {"default-namespace.xspf", Format::Xspf, "", {"https://stream.example/low.aac |  | Night Call |  | -1 | 4"}},
    };
    for (const auto& s : samples) {
        SCOPED_TRACE(s.file);
        const QByteArray data = sample(s.file);
        EXPECT_EQ(PlaylistFile::detect(data), s.format);
        PlaylistFileContent content;
        QString error;
        ASSERT_TRUE(PlaylistFile::read(s.format, data, &content, &error)) << error.toStdString();
        EXPECT_EQ(content.title, s.title);
        EXPECT_EQ(fields(content), s.entries);
    }
}

TEST(PlaylistFile, FilesThatAreNoPlaylistAreRecognisedAsNoneAndRefusedWithAReason)
{
    for (const char* name : {"not-a-playlist.json", "not-a-playlist.html", "not-a-playlist.mp3"})
        EXPECT_EQ(PlaylistFile::detect(sample(name)), Format::Unknown) << name;
    PlaylistFileContent content;
    QString error;
    EXPECT_FALSE(PlaylistFile::read(Format::Xspf, sample("broken.xspf"), &content, &error));
    EXPECT_TRUE(error.contains("line 4")) << error.toStdString();
    EXPECT_TRUE(content.entries.isEmpty());
    EXPECT_FALSE(PlaylistFile::read(Format::Pls, sample("windows-export.m3u8"), &content, &error));
    EXPECT_FALSE(PlaylistFile::read(Format::M3u8, sample("not-a-playlist.mp3"), &content, &error));
    EXPECT_FALSE(PlaylistFile::read(Format::Unknown, sample("station-gaps.pls"), &content, &error));
}

TEST(PlaylistFile, EveryFormatReadsBackWhatItWroteAndTheLineFormatsKeepLineBreaksOutOfTheirLines)
{
    PlaylistFileContent written;
    written.title = "Mix: \"Süd\" & <Nord>";
    written.entries = {
        {"Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3", "Wolken über Kiel", "Nina Ströme", "Kieler Nächte", 245, 0},
        {"http://radio.example/night.mp3?x=1&y=2", "Night Call", "", "", -1, 0},
        {"demo://track/7", "Two\nLines", "A & B", "", 90, 0},
        {"Dir With  Two Spaces/100% Pure.mp3", "Pure", "", "", 0, 0},
    };
    for (Format format : {Format::M3u8, Format::Pls, Format::Xspf}) {
        SCOPED_TRACE(PlaylistFile::nameOf(format).toStdString());
        const QByteArray data = PlaylistFile::write(format, written);
        EXPECT_EQ(PlaylistFile::detect(data), format) << data.toStdString();
        PlaylistFileContent read;
        QString error;
        ASSERT_TRUE(PlaylistFile::read(format, data, &read, &error)) << error.toStdString();
        ASSERT_EQ(read.entries.size(), written.entries.size()) << data.toStdString();
        for (int i = 0; i < written.entries.size(); ++i) {
            EXPECT_EQ(read.entries[i].location, written.entries[i].location);
            EXPECT_EQ(read.entries[i].durationSeconds, written.entries[i].durationSeconds);
            EXPECT_EQ(read.entries[i].artist, written.entries[i].artist);
        }
        EXPECT_EQ(read.entries[0].title, QString("Wolken über Kiel"));
        EXPECT_EQ(read.entries[2].title, format == Format::Xspf ? QString("Two\nLines") : QString("Two Lines"));
        if (format == Format::Xspf) {
            EXPECT_EQ(read.title, written.title);
        }
    }
}
