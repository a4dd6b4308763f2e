#!/usr/bin/env bash
# Builds the console, the library and the simulator (not the tests), starts a fresh
# orvena-sim on 127.0.0.1:4433 with a new data directory, and opens tarsel on it as the
# operator "master". The simulator and its data are removed when tarsel ends.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh release tarsel orvena-sim orvena-simctl
bin=build/release
data=$(mktemp -d /tmp/orvena-sim.XXXXXX)
password=$(head -c 64 /dev/urandom | tr -dc 'A-Za-z0-9' | head -c 12)
log="$data/sim.log"
"$bin/sim/orvena-sim" --listen 127.0.0.1:4433 --data "$data/hsm" --init-password "$password" >"$log" 2>&1 &
sim=$!
cleanup() { kill "$sim" 2>/dev/null || true; wait "$sim" 2>/dev/null || true; rm -rf "$data"; }
trap cleanup EXIT
for _ in $(seq 100); do
  grep -q 'ready' "$log" && break
  kill -0 "$sim" 2>/dev/null || { cat "$log" >&2; exit 1; }
  sleep 0.1
done
echo
echo "orvena-sim is running on 127.0.0.1:4433 (data in $data/hsm)."
echo "Log in as operator 'master' with the password: $password"
echo
"$bin/tarsel/tarsel" 127.0.0.1 master
