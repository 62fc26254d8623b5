#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the host need, and only those that are missing.
# Safe to run again; needs root (or sudo) only when something is missing.
set -euo pipefail
packages=(
  g++ cmake make pkg-config ccache git ca-certificates
  qtbase5-dev liblog4cplus-dev libsqlite3-dev sqlite3 libcpp-httplib-dev libtag1-dev
  libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-14-dev
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base gstreamer1.0-plugins-good
  curl procps python3
)
if [ "${KELO_WITH_BROWSER:-0}" = 1 ]; then packages+=(chromium nodejs npm); fi
if [ "${KELO_WITH_PROFILER:-0}" = 1 ]; then packages+=(linux-perf); fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo_cmd apt-get update -qq
$sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
