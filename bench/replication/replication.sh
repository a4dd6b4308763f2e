#!/usr/bin/env bash
# Replication figures, in one run:
#  1. AES-256 key generation by REPL_BENCH_SESSIONS sessions (default 16) on a single node and
#     on one node of a 3-node domain: the domain's throughput at least 0.5x the single node's,
#     its median acknowledgement at most the single node's plus 2 loopback round trips (the
#     round trip measured as a liveness request); the same with one session, where nothing
#     queues, for comparison;
#  2. catch-up of REPL_BENCH_CHANGES changes (default 10,000) by a node that was stopped while
#     they were made: at most as long as making them took;
#  3. peak resident memory of the serving and of the taking node while a node joins a domain
#     of REPL_BENCH_SNAPSHOT_KEYS keys (default 300,000) by a snapshot, above idle: under
#     64 MiB each, whatever the domain's size.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${REPL_BENCH_BUILD:-build/bench}
sessions=${REPL_BENCH_SESSIONS:-16}
seconds=${REPL_BENCH_SECONDS:-10}
changes=${REPL_BENCH_CHANGES:-10000}
snapshot_keys=${REPL_BENCH_SNAPSHOT_KEYS:-300000}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTARSEL_BENCH=ON >/dev/null
cmake --build "$build" -j2 --target orvena-sim orvena-simctl replication_bench >/dev/null

work=$(mktemp -d /tmp/orvena-repl-bench.XXXXXX)
pids=()
cleanup() {
  for p in "${pids[@]}"; do kill -CONT "$p" 2>/dev/null || true; kill "$p" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

password='Bench#Passw0rd1'
net="127.$((RANDOM % 200 + 20)).$((RANDOM % 250))"
bench="$build"/bench/replication_bench
export ORVENA_BENCH_PASSWORD=$password

# start_node NAME ADDRESS PORT: the daemon on ADDRESS:PORT; sets node_pid and, for port 0, port.
start_node() {
  "$build"/sim/orvena-sim --listen "$2:$3" --data "$work/$1" --init-password "$password" \
    --discovery-port 0 >"$work/$1.log" 2>&1 &
  node_pid=$!
  pids+=($node_pid)
  for _ in $(seq 100); do grep -q ready "$work/$1.log" && break; sleep 0.1; done
  port=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/$1.log")
}
sync_point() { sqlite3 -cmd ".timeout 2000" "$work/$1/hsm.db" "SELECT sync_point FROM replication_state"; }
kib() { awk -v f="$2:" '$1 == f { print $2 }' "/proc/$1/status"; }
# cpu_ticks PID...: the processes' user and system time together, in clock ticks.
cpu_ticks() { for p in "$@"; do awk '{ print $14 + $15 }' "/proc/$p/stat"; done | awk '{ s += $1 } END { print s }'; }
# us_per_key TICKS RATE: CPU microseconds per key of a run of $seconds at RATE keys/s (the
# sessions' logins, a few milliseconds of password hashing each, count too).
us_per_key() { awk -v t="$1" -v r="$2" -v s="$seconds" -v hz="$(getconf CLK_TCK)" 'BEGIN { printf "%.0f", t * 1e6 / hz / (r * s) }'; }

start_node single "$net.1" 0
single_pid=$node_pid
export ORVENA_BENCH_HOST=$net.1 ORVENA_BENCH_PORT=$port
ticks=$(cpu_ticks "$single_pid")
read -r single_rate single_ms < <($bench generate "$seconds" "$sessions")
single_us=$(us_per_key $(($(cpu_ticks "$single_pid") - ticks)) "$single_rate")
# With one session nothing queues: the acknowledgement is the commit's own cost.
read -r _ single_alone_ms < <($bench generate 3 1)
rtt_ms=$($bench rtt)

start_node a "$net.2" 0
a_pid=$node_pid
"$build"/sim/orvena-simctl --data "$work/b" init --join "$work/a" --serial OVBENCH0002 >/dev/null
"$build"/sim/orvena-simctl --data "$work/c" init --join "$work/a" --serial OVBENCH0003 >/dev/null
start_node b "$net.3" "$port"
b_pid=$node_pid
start_node c "$net.4" "$port"
c_pid=$node_pid
export ORVENA_BENCH_HOST=$net.2 ORVENA_BENCH_PORT=$port
$bench node 3 "$net.3"
$bench node 3 "$net.4"
ticks=$(cpu_ticks "$a_pid" "$b_pid" "$c_pid")
read -r domain_rate domain_ms < <($bench generate "$seconds" "$sessions")
domain_us=$(us_per_key $(($(cpu_ticks "$a_pid" "$b_pid" "$c_pid") - ticks)) "$domain_rate")
read -r _ domain_alone_ms < <($bench generate 3 1)

kill -STOP "$c_pid"
$bench node 2 "$net.4"
ORVENA_BENCH_HOST=$net.3 $bench node 2 "$net.4"
made_s=$($bench count "$changes" "$sessions")
target=$(sync_point a)
start=$(date +%s.%N)
kill -CONT "$c_pid"
until [ "$(sync_point c)" = "$target" ]; do sleep 0.02; done
catchup_s=$(awk -v s="$start" -v e="$(date +%s.%N)" 'BEGIN { printf "%.3f", e - s }')

# A node that joins holds nothing it can vouch for: it takes the domain's tables by a snapshot.
# The keys are made while the other is alone, so that no journal holds them.
start_node d "$net.5" 0
d_pid=$node_pid
"$build"/sim/orvena-simctl --data "$work/e" init --join "$work/d" --serial OVBENCH0005 >/dev/null
"$build"/sim/orvena-simctl --data "$work/d" add-keys master "$snapshot_keys" >/dev/null
start_node e "$net.6" "$port"
e_pid=$node_pid
echo 5 >"/proc/$d_pid/clear_refs"; echo 5 >"/proc/$e_pid/clear_refs"  # peaks from here on
d_idle=$(kib "$d_pid" VmRSS); e_idle=$(kib "$e_pid" VmRSS)
ORVENA_BENCH_HOST=$net.5 ORVENA_BENCH_PORT=$port $bench node 3 "$net.6"
until [ "$(sync_point e)" != 0 ] && [ "$(sync_point e)" = "$(sync_point d)" ]; do sleep 0.05; done
serving_kib=$(( $(kib "$d_pid" VmHWM) - d_idle )); taking_kib=$(( $(kib "$e_pid" VmHWM) - e_idle ))

ratio=$(awk -v a="$domain_rate" -v b="$single_rate" 'BEGIN { printf "%.2f", a / b }')
latency_bound=$(awk -v a="$single_ms" -v r="$rtt_ms" 'BEGIN { printf "%.3f", a + 2 * r }')
echo "key generation, $sessions sessions, $seconds s each:"
echo "  single node    $single_rate keys/s, median ack $single_ms ms"
echo "  3-node domain  $domain_rate keys/s, median ack $domain_ms ms"
echo "  throughput ratio $ratio (target >= 0.5); loopback round trip $rtt_ms ms;"
echo "  median bound $latency_bound ms (single + 2 round trips)"
echo "  simulator CPU per key: single node $single_us us, domain $domain_us us over its 3 nodes"
echo "one session: median ack $single_alone_ms ms single, $domain_alone_ms ms domain" \
  "(bound $(awk -v a="$single_alone_ms" -v r="$rtt_ms" 'BEGIN { printf "%.3f", a + 2 * r }') ms)"
echo "catch-up of $changes changes: $catchup_s s, making them took $made_s s"
echo "snapshot of $snapshot_keys keys ($(stat -c %s "$work/d/hsm.db") bytes of database): above idle," \
  "serving node $((serving_kib / 1024)) MiB, taking node $((taking_kib / 1024)) MiB (target < 64 MiB each)"
