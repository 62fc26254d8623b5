#!/usr/bin/env bash
# Runs the web page's browser tests: headless Chromium (Debian's) driven by Playwright against
# a real kelo-host started per test file on a free port with a fresh data directory.
# Installs what is missing (Chromium, the npm packages), builds kelo-host and the plug-in
# when needed, and leaves screenshots of the main views under test-output/screenshots/.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

./scripts/install-deps.sh
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
need=()
[ -x /usr/bin/chromium ] || need+=(chromium)
command -v node >/dev/null || need+=(nodejs)
command -v npm >/dev/null || need+=(npm)
if [ ${#need[@]} -gt 0 ]; then
  echo "installing: ${need[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${need[@]}"
fi

if [ ! -d tests/web/node_modules/playwright-core ] || [ tests/web/package-lock.json -nt tests/web/node_modules/.package-lock.json ]; then
  (cd tests/web && { npm ci --no-audit --no-fund || npm install --no-audit --no-fund; })
fi

export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/ccache} CCACHE_BASEDIR=$root
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELO_BENCH=OFF >/dev/null
cmake --build build -j "$(nproc)" --target kelo-host kelo_playlists

rm -rf test-output/screenshots
# One file at a time: each starts its own host and browser, and the machine may have two cores.
passed=0
failed=0
log=$(mktemp)
for file in tests/web/*.test.mjs; do
  echo "== $file"
  set +e
  (cd tests/web && node --test --test-reporter=tap "$(basename "$file")") 2>&1 | tee "$log"
  rc=${PIPESTATUS[0]}
  set -e
  p=$(sed -n 's/^# pass \([0-9]*\)$/\1/p' "$log" | tail -1)
  f=$(sed -n 's/^# fail \([0-9]*\)$/\1/p' "$log" | tail -1)
  p=${p:-0}
  f=${f:-0}
  # A file that failed outside its tests (a hook, a crash) still counts as a failure.
  if [ "$rc" -ne 0 ] && [ "$f" -eq 0 ]; then f=1; fi
  passed=$((passed + p))
  failed=$((failed + f))
done
rm -f "$log"
echo "screenshots: $root/test-output/screenshots/"
echo "web: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
