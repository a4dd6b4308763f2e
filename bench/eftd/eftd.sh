#!/usr/bin/env bash
# CVV generations per second on the EFT daemon's host-command port over 1 and 16
# connections, against the diagnostic echo over the same connections in the same run: the
# cost of a host-command round trip with no cryptography. Target: CVV >= 0.8x echo.
# Echo and CVV alternate in half-second rounds, so both meet the same load of the machine.
# SECONDS_PER_FIGURE (default 10) per line; BENCH_BUILD names a build tree that already holds
# orvena-sim, orvena-simctl and eftd_bench (default: build/bench, built here).
set -euo pipefail
cd "$(dirname "$0")/../.."
seconds=${SECONDS_PER_FIGURE:-10}
build=${BENCH_BUILD:-build/bench}
[ -n "${BENCH_BUILD:-}" ] || bench/build.sh orvena-sim orvena-simctl eftd_bench

work=$(mktemp -d /tmp/orvena-eftd-bench.XXXXXX)
sim_pid=
cleanup() { [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Bench#Passw0rd1'
"$build"/sim/orvena-simctl --data "$work/hsm" init --init-password "$password" >/dev/null
"$build"/sim/orvena-simctl --data "$work/hsm" add-user eftd0 "$password" --acl 0
"$build"/sim/orvena-sim --listen 127.0.0.1:0 --eftd-listen 127.0.0.1:0 --data "$work/hsm" \
  --discovery-port 0 >"$work/sim.log" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
export ORVENA_BENCH_PORT=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")
eftd_port=$(sed -n 's/.* eftd \([0-9]*\).*/\1/p' "$work/sim.log")
export ORVENA_BENCH_USER=eftd0 ORVENA_BENCH_PASSWORD=$password
bench="$build/bench/eftd_bench"
"$bench" setup

printf '%-12s %12s %12s %8s\n' "connections" "echo/s" "cvv/s" "ratio"
for connections in 1 16; do
  "$bench" rate "$eftd_port" "$connections" 1 >/dev/null   # warm the caches once
  read -r echo_rate cvv_rate < <("$bench" rate "$eftd_port" "$connections" "$seconds")
  printf '%-12s %12s %12s %8.2f  (target >= 0.8)\n' "$connections" "$echo_rate" "$cvv_rate" \
    "$(echo "$cvv_rate / $echo_rate" | bc -l)"
done
