#!/usr/bin/env bash
# Time from starting tarsel to the main menu's "Option : " prompt, TLS and clear, beside
# one liveness round trip measured in the same run, and the number of requests start-up
# sends (counted as send calls of a clear-text start-up under strace).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
command -v strace >/dev/null || apt-get install -y -qq strace </dev/null
bench/build.sh orvena-sim tarsel roundtrip_bench startup_bench

work=$(mktemp -d /tmp/orvena-bench.XXXXXX)
sim=
cleanup() { [ -n "$sim" ] && kill "$sim" 2>/dev/null; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Bench#Passw0rd1'
build/bench/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
  --discovery-port 0 >"$work/sim.log" 2>&1 &
sim=$!
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
port=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")

ORVENA_BENCH_PORT=$port ORVENA_BENCH_PASSWORD=$password build/bench/bench/roundtrip_bench \
  --benchmark_filter='liveness/.*/threads:1$' --benchmark_min_time=0.5 \
  --benchmark_out="$work/rt.csv" --benchmark_out_format=csv >/dev/null 2>&1
rt_us() { awk -F, -v n="$1" '$1 ~ n { printf "%.2f", 1e6 / $7 }' "$work/rt.csv"; }
rt_clear=$(rt_us 'liveness/clear')
rt_tls=$(rt_us 'liveness/tls')

tarsel=build/bench/tarsel/tarsel
read -r clear_median clear_min < <(build/bench/bench/startup_bench "$tarsel" "$port" "$password" 30 -c)
read -r tls_median tls_min < <(build/bench/bench/startup_bench "$tarsel" "$port" "$password" 30 -e)

# One clear start-up under strace: every request is one send call of the library.
cat >"$work/traced" <<TRACED
#!/bin/sh
exec strace -f -qq -e trace=sendto -o "$work/strace.out" "$PWD/$tarsel" "\$@"
TRACED
chmod +x "$work/traced"
build/bench/bench/startup_bench "$work/traced" "$port" "$password" 1 -c >/dev/null
requests=$(grep -c 'sendto(' "$work/strace.out")
# The exit sends the logout; the menu's liveness check is not part of start-up.
requests=$((requests - 1))

echo
printf '%-6s %14s %14s %16s %22s\n' mode "median ms" "min ms" "round trip us" "start-up / round trip"
printf '%-6s %14s %14s %16s %22.0f\n' clear "$clear_median" "$clear_min" "$rt_clear" \
  "$(awk -v a="$clear_median" -v b="$rt_clear" 'BEGIN { print a * 1000 / b }')"
printf '%-6s %14s %14s %16s %22.0f\n' tls "$tls_median" "$tls_min" "$rt_tls" \
  "$(awk -v a="$tls_median" -v b="$rt_tls" 'BEGIN { print a * 1000 / b }')"
echo
echo "requests sent during a clear start-up (login to main menu): $requests"
