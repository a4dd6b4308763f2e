#!/usr/bin/env bash
# Retrieval of a log of at least 256 MiB through the console's routines, against the floor
# of the same bytes over HTTPS from `openssl s_server -WWW` on loopback (fetched with curl)
# and `unzip` of the same archive; and the first/last-date reads on that log against a 1 MiB
# one. Each time is the best of RUNS runs (3 by default), ours and the floor's alike: on a
# shared machine the best run is the least disturbed one. Prints every figure and the three
# ratios with their targets:
#   (a) plain retrieval throughput >= 0.5 x the floor's
#   (b) zipped + unpacked retrieval <= floor transfer of the archive + unzip
#   (c) date reads on 256 MiB / on 1 MiB <= 1.5
set -euo pipefail
cd "$(dirname "$0")/../.."
lines=${LINES:-1900000}
runs=${RUNS:-3}
build=build/bench
bench/build.sh orvena-sim orvena-simctl logs_bench

work=$(mktemp -d /tmp/orvena-logs-bench.XXXXXX)
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Bench#Passw0rd1'
text='Key generated (algorithm 9): benchmark-object-with-a-realistic-name'
start_sim() {  # data directory; sets sim_port
    "$build"/sim/orvena-sim --listen 127.0.0.1:0 --data "$1" --init-password "$password" \
      --discovery-port 0 >"$1.out" 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do grep -q ready "$1.out" && break; sleep 0.1; done
    sim_port=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$1.out")
}
seconds() { /usr/bin/time -f %e "$@" 2>&1 >/dev/null | tail -1; }
# The least of the runs of a command that prints seconds (one or more columns, each its own).
best() {
    for _ in $(seq "$runs"); do "$@"; done |
      awk '{for (i = 1; i <= NF; ++i) if (NR == 1 || $i < m[i]) m[i] = $i}
           END {for (i = 1; i <= NF; ++i) printf "%s%s", m[i], (i < NF ? " " : "\n")}'
}

t0=$(date +%s.%N)
"$build"/sim/orvena-simctl --data "$work/big" add-log-lines "$lines" --from 1700000000 --step 1 --text "$text"
"$build"/sim/orvena-simctl --data "$work/small" add-log-lines 7000 --from 1700000000 --step 1 --text "$text"
echo "setup: $lines lines written in $(echo "$(date +%s.%N) - $t0" | bc -l | xargs printf %.1f) s"

export ORVENA_BENCH_PASSWORD=$password
bench="$build/bench/logs_bench"
start_sim "$work/big"; big_port=$sim_port
start_sim "$work/small"; small_port=$sim_port

export ORVENA_BENCH_PORT=$big_port
read -r plain_s zipped_s < <(best "$bench" retrieve "$work/plain.log" "$work/log.zip" "$work/unpacked.log")
cmp -s "$work/plain.log" "$work/unpacked.log" || { echo "unpacked log differs from the plain one" >&2; exit 1; }
bytes=$(stat -c %s "$work/plain.log")
archive=$(stat -c %s "$work/log.zip")
[ "$bytes" -ge $((256 << 20)) ] || echo "warning: the log has only $bytes bytes" >&2

# The floor: the same files over HTTPS on loopback, with the simulator's own key and
# certificate, and unzip of the same archive.
(cd "$work" && exec openssl s_server -WWW -accept 127.0.0.1:0 -naccept 1000 \
   -cert "$work/big/tls.crt" -key "$work/big/tls.key" >"$work/s_server.out" 2>&1) &
pids+=($!)
for _ in $(seq 100); do grep -q ACCEPT "$work/s_server.out" 2>/dev/null && break; sleep 0.1; done
www_port=$(sed -n 's/.*ACCEPT.*:\([0-9]*\).*/\1/p' "$work/s_server.out" | head -1)
curl_s=$(best seconds curl -sk -o "$work/curl.log" "https://127.0.0.1:$www_port/plain.log")
cmp -s "$work/plain.log" "$work/curl.log" || { echo "curl fetched other bytes" >&2; exit 1; }
curl_zip_s=$(best seconds curl -sk -o "$work/curl.zip" "https://127.0.0.1:$www_port/log.zip")
unzip_s=$(best seconds unzip -p "$work/log.zip" vlx_appliance.log)

dates_big=$(ORVENA_BENCH_PORT=$big_port "$bench" dates 200)
dates_small=$(ORVENA_BENCH_PORT=$small_port "$bench" dates 200)
small_bytes=$("$build"/sim/orvena-simctl export-log --data "$work/small" | tail -n +2 | wc -c)

mib() { echo "$1 / 1048576" | bc -l; }
printf 'log: %.1f MiB of text, archive %.1f MiB; small log %.2f MiB\n' "$(mib "$bytes")" "$(mib "$archive")" "$(mib "$small_bytes")"
printf '%-52s %9s %10s\n' "figure" "s" "MiB/s"
printf '%-52s %9.2f %10.1f\n' "(a) plain retrieval into a file" "$plain_s" "$(echo "$(mib "$bytes") / $plain_s" | bc -l)"
printf '%-52s %9.2f %10.1f\n' "    floor: curl of the same text over TLS" "$curl_s" "$(echo "$(mib "$bytes") / $curl_s" | bc -l)"
printf '%-52s %9.2f\n' "(b) zipped retrieval and unpacking" "$zipped_s"
printf '%-52s %9.2f\n' "    floor: curl of the archive over TLS" "$curl_zip_s"
printf '%-52s %9.2f\n' "    floor: unzip of the archive" "$unzip_s"
printf '%-52s %9.6f\n' "(c) first+last date reads, 256 MiB log (per pair)" "$dates_big"
printf '%-52s %9.6f\n' "    first+last date reads, 1 MiB log (per pair)" "$dates_small"
printf 'ratio (a) throughput vs floor: %.2f (target >= 0.5)\n' "$(echo "$curl_s / $plain_s" | bc -l)"
printf 'ratio (b) time vs floor:       %.2f (target <= 1)\n' "$(echo "$zipped_s / ($curl_zip_s + $unzip_s)" | bc -l)"
printf 'ratio (c) 256 MiB vs 1 MiB:    %.2f (target <= 1.5)\n' "$(echo "$dates_big / $dates_small" | bc -l)"
