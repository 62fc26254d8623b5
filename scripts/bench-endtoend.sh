#!/usr/bin/env bash
# Builds kelo-host, the playlists module and the end-to-end benchmark, and runs the benchmark: each
# job over one kept-alive HTTP connection against the same job in-process and its bare-SQLite floor,
# at 1,000, 10,000 and 100,000 entries, then the start-up with 1,000 playlists. Extra arguments go to
# the benchmark (for instance --sizes 10000). The exit status is 1 when a goal is missed.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/install-deps.sh"
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$here
cmake -S "$here" -B "$here/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELO_BENCH=ON >/dev/null
cmake --build "$here/build" -j "$(nproc)" --target kelo-bench-endtoend kelo-host kelo_playlists
exec "$here/build/bin/kelo-bench-endtoend" "$@"
