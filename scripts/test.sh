#!/usr/bin/env bash
# Builds everything and runs every test: the suite in a normal build, the same suite under
# ASan/UBSan, the fuzz target's kept corpus, and the web page's browser tests.
# Installs what is missing first. Safe to run again (builds are incremental).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
jobs=$(nproc)
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$PWD

run_suite() {  # build dir, extra cmake options...
  local dir=$1; shift
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs" --timeout 600)
}

echo "== normal build"
run_suite build
echo "== ASan/UBSan build"
(
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp
  run_suite build-asan -DKELO_SANITIZE=ON -DKELO_BENCH=OFF
)
echo "== fuzz corpus replay"
./scripts/fuzz.sh --replay
echo "== browser tests"
./scripts/test-web.sh
