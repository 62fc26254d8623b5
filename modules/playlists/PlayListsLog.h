#pragma once
// The logger every log line of the playlists module is written to.
constexpr char PlayListsLogger[] = "PlayLists";
