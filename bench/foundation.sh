#!/usr/bin/env bash
# Round trips per second through libqelvoarc to orvena-sim (liveness and 32 random bytes,
# clear and TLS, 1 to 256 concurrent sessions) beside the loopback floor measured in the
# same run: redis-benchmark ping with one client against a local redis-server, plain and
# TLS. Prints both figures per round trip and their ratio (target: at most 1.2).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
command -v redis-server >/dev/null || apt-get install -y -qq redis-server redis-tools </dev/null
bench/build.sh orvena-sim roundtrip_bench

work=$(mktemp -d /tmp/orvena-bench.XXXXXX)
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

free_port() {
  local p
  for p in $(shuf -i 20000-60000 -n 50); do
    ss -Hltn "sport = :$p" | grep -q . || { echo "$p"; return; }
  done
  return 1
}

password='Bench#Passw0rd1'
build/bench/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
  --discovery-port 0 --max-sessions 2048 >"$work/sim.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
sim_port=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")

plain_port=$(free_port)
tls_port=$(free_port)
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 1 -subj /CN=localhost \
  -keyout "$work/redis.key" -out "$work/redis.crt" 2>/dev/null
redis-server --port "$plain_port" --save '' --appendonly no >"$work/redis.log" 2>&1 &
pids+=($!)
redis-server --port 0 --tls-port "$tls_port" --tls-cert-file "$work/redis.crt" \
  --tls-key-file "$work/redis.key" --tls-ca-cert-file "$work/redis.crt" --tls-auth-clients no \
  --save '' --appendonly no >"$work/redis-tls.log" 2>&1 &
pids+=($!)
sleep 0.5

# Microseconds per round trip of redis ping with one client.
redis_us() {
  redis-benchmark "$@" -t ping -c 1 -n 200000 -q --csv |
    awk -F'"' '/PING_MBULK/ { printf "%.2f", 1e6 / $4 }'
}
floor_plain=$(redis_us -p "$plain_port")
floor_tls=$(redis_us -p "$tls_port" --tls --insecure)

ORVENA_BENCH_PORT=$sim_port ORVENA_BENCH_PASSWORD=$password build/bench/bench/roundtrip_bench \
  --benchmark_min_time=0.5 --benchmark_out="$work/bench.csv" --benchmark_out_format=csv \
  >"$work/bench.txt" 2>&1 || { cat "$work/bench.txt"; exit 1; }

echo
echo "loopback floor (redis-benchmark ping, 1 client): plain ${floor_plain} us, TLS ${floor_tls} us"
echo
printf '%-28s %12s %14s %10s %8s %7s\n' benchmark "us/round-trip" "round-trips/s" "floor us" ratio errors
# CSV columns: name,iterations,real_time,cpu_time,time_unit,bytes_per_second,
# items_per_second,label,error_occurred,error_message,errors
awk -F, -v fp="$floor_plain" -v ft="$floor_tls" '
  /^"/ {
    name = $1; gsub(/"/, "", name); sub(/\/real_time/, "", name)
    ips = $7; errors = $NF
    threads = name; sub(/.*threads:/, "", threads)
    us = ips > 0 ? 1e6 * threads / ips : 0
    floor = name ~ /tls/ ? ft : fp
    printf "%-28s %12.2f %14.0f %10.2f %8.2f %7s\n", name, us, ips, floor, us / floor, errors
  }' "$work/bench.csv"
echo
echo "us/round-trip is the time one session waits for one answer (threads / throughput)."
