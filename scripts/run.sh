#!/usr/bin/env bash
# Builds kelo-host and the playlists module and runs the host with the demo media library.
# Data (SQLite database, settings) goes under ./data-rw of the working directory unless
# --data-dir says otherwise. Extra arguments go to kelo-host (for instance --listen 127.0.0.1:9000).
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/install-deps.sh"
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$here
cmake -S "$here" -B "$here/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$here/build" -j "$(nproc)" --target kelo-host kelo_playlists
exec "$here/build/bin/kelo-host" "$@"
