// Which library track a playlist file's location names, and how tracks are written to files.
#include <gtest/gtest.h>

#include "playlistfiles/LibraryLocations.h"

namespace {

using Kind = LibraryLocations::Kind;

const QList<QPair<int, QString>> Tracks = {
    {1, "file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/01%20Meadow%20Northern.mp3"},
    {2, "file:///srv/music/Nina%20Str%C3%B6me/Kieler%20N%C3%A4chte/01%20Wolken%20%C3%BCber%20Kiel.mp3"},
    {3, "file:///srv/music/Tracks%20&%20Things/Skip%20Intro.flac"},
    {4, "file:///srv/music/100%25/Pure.mp3"},
};

int trackOf(const LibraryLocations& library, const QString& location)
{
    const LibraryLocations::Resolved resolved = library.resolve(location);
    return resolved.kind == Kind::Library ? resolved.trackId : -1;
}

}  // namespace

TEST(LibraryLocations, RelativeAbsoluteAndUriFormsOfATrackInTheMediaFolderAllNameIt)
{
    const LibraryLocations library("/srv/music/", Tracks);
    const QList<QPair<QString, int>> cases = {
        {"The Lantern Keepers/Ember Static/01 Meadow Northern.mp3", 1},
        {"./The Lantern Keepers/Ember Static/../Ember Static/01 Meadow Northern.mp3", 1},
        {"The%20Lantern%20Keepers/Ember%20Static/01%20Meadow%20Northern.mp3", 1},
        {"/srv/music/The Lantern Keepers/Ember Static/01 Meadow Northern.mp3", 1},
        {"file:///srv/music/The%20Lantern%20Keepers/Ember%20Static/01%20Meadow%20Northern.mp3", 1},
        {"Nina Ströme\\Kieler Nächte\\01 Wolken über Kiel.mp3", 2},
        {"file:///srv/music/Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3", 2},
        {"..\\Tracks & Things\\Skip Intro.flac", 3},
        {"  Tracks & Things/Skip Intro.flac  ", 3},
        {"100%/Pure.mp3", 4},  // a literal '%' is tried before decoding
    };
    for (const auto& c : cases)
        EXPECT_EQ(trackOf(library, c.first), c.second) << c.first.toStdString();
}

TEST(LibraryLocations, StreamsAreHttpUrlsAndEverythingElseIsMissing)
{
    const LibraryLocations library("/srv/music", Tracks);
    const LibraryLocations::Resolved stream = library.resolve("HTTPS://stream.example/live.aac");
    EXPECT_EQ(stream.kind, Kind::Stream);
    EXPECT_EQ(stream.url, QString("HTTPS://stream.example/live.aac"));
    for (const char* missing : {"", "Nobody/Nothing.mp3", "/srv/other/The Lantern Keepers/Ember Static/01 Meadow Northern.mp3",
                                "/srv/musicx/Pure.mp3", "C:\\Users\\ann\\Music\\elsewhere.mp3",
                                "file:///home/ann/a.mp3", "demo://track/1"})
        EXPECT_EQ(library.resolve(missing).kind, Kind::Missing) << missing;
}

TEST(LibraryLocations, TracksAreWrittenRelativeToTheFolderOrAsUrisAndReadBackAsThemselves)
{
    const LibraryLocations library("/srv/music", Tracks);
    for (const auto& track : Tracks) {
        const QString relative = library.locationOf(track.second, false);
        EXPECT_FALSE(relative.startsWith('/')) << relative.toStdString();
        EXPECT_EQ(trackOf(library, relative), track.first) << relative.toStdString();
        EXPECT_EQ(library.locationOf(track.second, true), track.second);
    }
    EXPECT_EQ(library.locationOf(Tracks[1].second, false), QString("Nina Ströme/Kieler Nächte/01 Wolken über Kiel.mp3"));
    EXPECT_EQ(library.locationOf("http://radio.example/night.mp3", false), QString());
}
