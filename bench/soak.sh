#!/usr/bin/env bash
# Soak: SESSIONS (default 256) TLS sessions run a mix of liveness, key generation, listing,
# hashing and user reads for MINUTES (default 10). Before it, 32 client processes with two
# sessions each are killed with SIGKILL in the middle of their requests; the soak's sessions
# only fit under the simulator's session limit if theirs were freed.
# Prints requests, errors and the simulator's RSS and descriptors per minute, then checks:
# no errors, RSS of the last minute within 10% of the second, descriptors back to the start.
set -euo pipefail
cd "$(dirname "$0")/.."
minutes=${1:-10}
sessions=${SESSIONS:-256}
vanishing=32
build=build/bench
bench/build.sh orvena-sim soak_bench

work=$(mktemp -d /tmp/orvena-soak.XXXXXX)
sim_pid=
cleanup() { [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Soak#Passw0rd1'
"$build"/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
  --discovery-port 0 --max-sessions "$((sessions + 8))" >"$work/sim.log" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
export ORVENA_BENCH_PORT=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")
export ORVENA_BENCH_PASSWORD=$password
bench=$build/bench/soak_bench
fds() { find /proc/"$sim_pid"/fd -mindepth 1 | wc -l; }
start_fds=$(fds)

clients=()
for _ in $(seq "$vanishing"); do
  "$bench" client 2 >/dev/null 2>&1 &
  clients+=($!)
done
sleep 5
{
  kill -9 "${clients[@]}"
  wait "${clients[@]}" || true
} 2>/dev/null  # the shell's own "Killed" lines
sleep 2
status=0
vanished_fds=$(fds)
echo "descriptors: $start_fds at start, $vanished_fds after $vanishing clients were killed mid-request"
[ "$vanished_fds" -eq "$start_fds" ] || { echo "FAIL: the killed clients' descriptors are still open"; status=1; }

ORVENA_BENCH_SIM_PID=$sim_pid "$bench" soak "$sessions" "$minutes" | tee "$work/soak.txt" || status=1
sleep 2
end_fds=$(fds)
echo "descriptors at the end: $end_fds (start $start_fds)"
[ "$end_fds" -eq "$start_fds" ] || { echo "FAIL: descriptors not back to the start"; status=1; }
read -r second last < <(awk 'NR == 3 { s = $4 } NR > 1 { l = $4 } END { print s, l }' "$work/soak.txt")
if [ -n "$second" ] && [ "$minutes" -ge 2 ]; then
  echo "RSS: minute 2 ${second} kB, last minute ${last} kB"
  awk -v s="$second" -v l="$last" 'BEGIN { exit !(l <= s * 1.1 && l >= s * 0.9) }' ||
    { echo "FAIL: RSS not flat"; status=1; }
fi
[ "$status" -eq 0 ] && echo "soak passed"
exit "$status"
