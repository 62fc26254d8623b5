#pragma once
// The loggers of kelo-host: one for its start, stop, HTTP server and media library, one for its player.
constexpr char HostLogger[] = "Host";
constexpr char PlayerLogger[] = "Player";
