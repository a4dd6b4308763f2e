#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need; with the word
# "packaging", also those that build and check the Debian packages (scripts/package.sh).
set -euo pipefail
packages=(
  build-essential cmake pkg-config clang-format clang
  libssl-dev libsqlite3-dev sqlite3 libprotobuf-dev protobuf-compiler
  liboath-dev libpskc-dev libgfshare-dev libargon2-dev zlib1g-dev libminizip-dev
  libgtest-dev libgmock-dev libbenchmark-dev unzip openssl time libcurl4-openssl-dev
  iputils-ping traceroute
)
if [ "${1:-}" = packaging ]; then
  packages+=(debhelper dpkg-dev lintian scdoc rsync man-db systemd)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq </dev/null
  apt-get install -y -qq "${missing[@]}" </dev/null
fi
