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

PlaylistFileContent readSample(const QString& name, Format expected)
{
    const QByteArray data = sample(name);
    EXPECT_EQ(PlaylistFile::detect(data), expected) << name.toStdString();
    PlaylistFileContent content;
    QString error;
    EXPECT_TRUE(PlaylistFile::read(expected, data, &content, &error)) << error.toStdString();
    return content;
}

QStringList locations(const PlaylistFileContent& content)
{
    QStringList list;
    for (const PlaylistFileEntry& entry : content.entries)
        list.append(entry.location);
    return list;
}

}  // namespace

TEST(M3uFile, AWindowsExportWithBomCrlfCommentsAndExtinfVariantsReadsEveryEntryInOrder)
{
    const PlaylistFileContent content = readSample(QStringLiteral("windows-export.m3u8"), Format::M3u8);
    EXPECT_EQ(content.title, QString("Road Trip 2019"));
    EXPECT_EQ(locations(content), QStringList({
        "Nina Ströme\\Kieler Nächte\\01 Wolken über Kiel.mp3", "http://radio.example/night.mp3",
        "..\\Tracks & Things\\Skip Intro.flac", "The%20Lantern%20Keepers/Ember%20Static/01%20Meadow%20Northern.mp3",
        "C:\\Users\\ann\\Music\\elsewhere.mp3",
        "file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/02%20Harbour.mp3"}));
    const QList<PlaylistFileEntry>& e = content.entries;
    EXPECT_EQ(e[0].artist, QString("Nina Ströme"));
    EXPECT_EQ(e[0].title, QString("Wolken über Kiel"));
    EXPECT_EQ(e[0].durationSeconds, 245);
    EXPECT_EQ(e[0].line, 6);  // counted over the CRLF line ends, the BOM not being a line
    EXPECT_EQ(e[1].durationSeconds, -1);
    EXPECT_EQ(e[1].artist, QString());
    EXPECT_EQ(e[1].title, QString("Night Call Radio"));
    EXPECT_EQ(e[2].durationSeconds, 0);
    // A comma inside quoted attributes does not end them; one in the title stays in the title.
    EXPECT_EQ(e[3].durationSeconds, 187);
    EXPECT_EQ(e[3].title, QString("Meadow, Northern"));
    EXPECT_EQ(e[4].title, QString("Only A Title"));
    EXPECT_EQ(e[4].durationSeconds, -1);
    EXPECT_EQ(e[5].album, QString("Ember Static"));
    EXPECT_EQ(e[5].durationSeconds, 302);
}

TEST(M3uFile, APlainLatin1ListWithoutHeaderIsStillAPlaylist)
{
    const PlaylistFileContent content = readSample(QStringLiteral("plain-latin1.m3u"), Format::M3u8);
    EXPECT_EQ(locations(content), QStringList({"Café Tacvba/Re/01 La Ingrata.mp3",
                                               "/srv/music/Nina Ströme/Kieler Nächte/02 Möwen.ogg",
                                               "https://stream.example:8443/live.aac"}));
    EXPECT_EQ(content.entries[2].line, 5);
    EXPECT_EQ(content.entries[0].title, QString());
}

TEST(PlsFile, GapsInTheNumberingKeepTheOrderAndATitleWithoutFileIsKeptAsAnEntryWithoutLocation)
{
    const PlaylistFileContent content = readSample(QStringLiteral("station-gaps.pls"), Format::Pls);
    EXPECT_EQ(locations(content), QStringList({"http://stream.example/high.mp3",
                                               "The Lantern Keepers/Ember Static/01 Meadow Northern.mp3", "",
                                               "https://stream.example/low.aac"}));
    const QList<PlaylistFileEntry>& e = content.entries;
    EXPECT_EQ(e[0].title, QString("Night Call Radio (high)"));
    EXPECT_EQ(e[0].durationSeconds, -1);
    EXPECT_EQ(e[1].artist, QString("The Lantern Keepers"));
    EXPECT_EQ(e[1].durationSeconds, 187);
    EXPECT_EQ(e[1].line, 7);
    EXPECT_EQ(e[2].title, QString("Lost entry"));
    EXPECT_EQ(e[2].line, 10);
    EXPECT_EQ(e[3].line, 11);
}

TEST(XspfFile, APrefixedNamespaceWithExtensionsAndMissingFieldsReadsLikeThePlainForm)
{
    const PlaylistFileContent content = readSample(QStringLiteral("prefixed.xspf"), Format::Xspf);
    EXPECT_EQ(content.title, QString("Evening Mix"));
    // Relative locations are URI references: they arrive decoded; absolute URIs stay as written.
    EXPECT_EQ(locations(content), QStringList({"Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3",
                                               "http://radio.example/night.mp3", "",
                                               "file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/02%20Harbour.mp3"}));
    const QList<PlaylistFileEntry>& e = content.entries;
    EXPECT_EQ(e[0].artist, QString("Nina Ströme"));
    EXPECT_EQ(e[0].album, QString("Kieler Nächte"));
    EXPECT_EQ(e[0].durationSeconds, 245);
    EXPECT_EQ(e[1].title, QString());
    EXPECT_EQ(e[1].durationSeconds, -1);
    EXPECT_EQ(e[2].title, QString("No Location Here"));
    EXPECT_EQ(e[2].line, 17);
    EXPECT_EQ(e[3].title, QString("Harbour"));

    const PlaylistFileContent plain = readSample(QStringLiteral("default-namespace.xspf"), Format::Xspf);
    ASSERT_EQ(plain.entries.size(), 1);
    EXPECT_EQ(plain.entries[0].location, QString("https://stream.example/low.aac"));
    EXPECT_EQ(plain.entries[0].artist, QString("Night Call"));
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
    const QList<PlaylistFileEntry> entries = {
        {"Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3", "Wolken über Kiel", "Nina Ströme", "Kieler Nächte", 245, 0},
        {"http://radio.example/night.mp3?x=1&y=2", "Night Call", "", "", -1, 0},
        {"demo://track/7", "Two\nLines", "A & B", "", 90, 0},
        {"Dir With  Two Spaces/100% Pure.mp3", "Pure", "", "", 0, 0},
    };
    written.entries = entries;
    for (Format format : {Format::M3u8, Format::Pls, Format::Xspf}) {
        const QByteArray data = PlaylistFile::write(format, written);
        EXPECT_EQ(PlaylistFile::detect(data), format) << data.toStdString();
        PlaylistFileContent read;
        QString error;
        ASSERT_TRUE(PlaylistFile::read(format, data, &read, &error)) << error.toStdString();
        ASSERT_EQ(read.entries.size(), entries.size()) << data.toStdString();
        for (int i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(read.entries[i].location, entries[i].location) << PlaylistFile::nameOf(format).toStdString();
            EXPECT_EQ(read.entries[i].durationSeconds, entries[i].durationSeconds) << PlaylistFile::nameOf(format).toStdString();
            EXPECT_EQ(read.entries[i].artist, entries[i].artist) << PlaylistFile::nameOf(format).toStdString();
        }
        EXPECT_EQ(read.entries[0].title, QString("Wolken über Kiel"));
        if (format == Format::Xspf) {
            EXPECT_EQ(read.title, written.title);
            EXPECT_EQ(read.entries[2].title, QString("Two\nLines"));
        } else {
            EXPECT_EQ(read.entries[2].title, QString("Two Lines"));
        }
    }
}
