#!/usr/bin/env bash
# Builds and runs the libFuzzer target of the playlists module's command decoding (clang, with
# AddressSanitizer and UndefinedBehaviorSanitizer).
#
#   scripts/fuzz.sh --build-only    build the target only (build-fuzz/playlists_fuzz)
#   scripts/fuzz.sh --replay        build, then run every input of the kept corpus once
#   scripts/fuzz.sh [--seconds N]   build, then fuzz for N seconds (default 300), starting from the
#                                   kept corpus; new inputs go to build-fuzz/corpus, not into the repo
#
# Crashes are written to build-fuzz/artifacts/ and end the script with a failure.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=fuzz
seconds=300
while [ $# -gt 0 ]; do
  case "$1" in
    --build-only) mode=build ;;
    --replay) mode=replay ;;
    --seconds) seconds=${2:?--seconds needs a number}; shift ;;
    *) echo "usage: $0 [--build-only | --replay | --seconds N]" >&2; exit 2 ;;
  esac
  shift
done

build=build-fuzz
corpus=tests/modules/playlists/fuzz/corpus
export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$PWD
cmake -S tests/modules/playlists/fuzz -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "$(nproc)"
[ "$mode" = build ] && exit 0

# Qt and log4cplus keep a few allocations for the life of the process; they are not leaks of an input.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
mkdir -p "$build/artifacts" "$build/corpus"
common=(-max_len=4096 -timeout=30 -artifact_prefix="$build/artifacts/")
if [ "$mode" = replay ]; then
  exec "$build/playlists_fuzz" "${common[@]}" -runs=0 "$corpus"
fi
exec "$build/playlists_fuzz" "${common[@]}" -max_total_time="$seconds" -print_final_stats=1 "$build/corpus" "$corpus"
