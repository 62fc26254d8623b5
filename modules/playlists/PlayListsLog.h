#pragma once
// The logger every log line of the playlists module is written to.
constexpr char PlayListsLogger[] = "PlayLists";
// The logger of the play logic's decisions (next, previous, shuffle, edits of the playing list).
constexpr char PlayListsPlayLogicLogger[] = "PlayListsPlayLogic";
