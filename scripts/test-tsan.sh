#!/usr/bin/env bash
# Runs the threading tests under ThreadSanitizer: the framework's routing, replies, request groups
# and events, and the module's tests where commands and the player's requests come from many threads.
# Debian's Qt is not built for TSan; tests/tsan.supp hides only reports with Qt or GLib on the stack.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$PWD
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELO_TSAN=ON -DKELO_BENCH=OFF >/dev/null
cmake --build build-tsan -j "$(nproc)" --target sdk_tests playlists_tests kelo-host
export TSAN_OPTIONS="suppressions=$PWD/tests/tsan.supp halt_on_error=1 second_deadlock_stack=1"
(cd build-tsan && ctest --output-on-failure -j 1 -R "${KELO_TSAN_TESTS:-Framework|Thread|Concurrent|WorkerTest}")
