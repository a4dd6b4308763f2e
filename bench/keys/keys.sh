#!/usr/bin/env bash
# Key and object figures of orvena-sim through libqelvoarc, each beside its anchor measured in
# the same run:
#  1. listing 10,000 objects with the calls the console's "List" makes per object (timed in
#     a small C++ program, not through the console's screen) against 10,000 QAdmOperation
#     round trips: ratio at most 2;
#  2. durable AES-256 key generation through the library against SoftHSMv2 token keys
#     (PKCS#11, in process): ratio at least 10;
#  3. RSA-2048 and P-256 generation through the library against the same generation done
#     directly with OpenSSL: ratio at least 0.9.
# The HSM serves many clients at once: generation through the library runs KEYS_BENCH_SESSIONS
# sessions (default 64), so that concurrent keys share their durable commits. OpenSSL runs as
# many threads as the machine has cores, its best throughput here. SoftHSMv2 gains from
# concurrency too, so the AES comparison runs the same number of sessions on both sides.
# Every row prints the thread counts it used.
set -euo pipefail
cd "$(dirname "$0")/../.."
command -v softhsm2-util >/dev/null || apt-get install -y -qq softhsm2 </dev/null
build=build/bench
bench/build.sh orvena-sim orvena-simctl keys_bench

work=$(mktemp -d /tmp/orvena-keys-bench.XXXXXX)
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

bench="$build"/bench/keys_bench
threads=$(nproc)
load_at_start=$(cut -d" " -f1-3 /proc/loadavg)
sessions=${KEYS_BENCH_SESSIONS:-64}
password='Bench#Passw0rd1'
"$build"/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
  --discovery-port 0 >"$work/sim.log" 2>&1 &
pids+=($!)
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
export ORVENA_BENCH_PORT=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")
export ORVENA_BENCH_PASSWORD=$password
"$build"/sim/orvena-simctl --data "$work/hsm" add-user lister "$password"
"$build"/sim/orvena-simctl --data "$work/hsm" add-keys lister 10000

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
# row FIGURE VALUE VALUE-THREADS ANCHOR ANCHOR-THREADS
row() {
  printf '%-62s %10s %7s %10s %7s %6s\n' "$1" "$2" "$3" "$4" "$5" \
    "$(ratio "${2%[s/]*}" "${4%[s/]*}")"
}

adm=$($bench adm 10000)
read -r list listed < <(ORVENA_BENCH_USER=lister $bench list)
echo
printf '%-62s %10s %7s %10s %7s %6s\n' figure value threads anchor threads ratio
row "list $listed objects (console calls) vs 10,000 QAdmOperation" "${list}s" 1 "${adm}s" 1

export SOFTHSM2_CONF=$work/softhsm2.conf ORVENA_BENCH_PIN=1234
mkdir -p "$work/tokens"
echo "directories.tokendir = $work/tokens" >"$SOFTHSM2_CONF"
softhsm2-util --init-token --free --label bench --so-pin 5678 --pin 1234 >/dev/null
aes=$($bench generate 9 2000 "$sessions")
softhsm=$($bench softhsm 2000 "$sessions")
row "durable AES-256 generation vs SoftHSMv2 token keys" "$aes/s" "$sessions" "$softhsm/s" "$sessions"

for alg in 6:RSA-2048:128 30:P-256:3000; do
  IFS=: read -r id label count <<<"$alg"
  lib=$($bench generate "$id" "$count" "$sessions")
  direct=$($bench openssl "$id" "$count" "$threads")
  row "$label generation through the library vs OpenSSL" "$lib/s" "$sessions" "$direct/s" "$threads"
done
echo
echo "Anchors: list ratio at most 2 (pkcs11-tool on SoftHSMv2 lists 10,000 objects in about"
echo "3.4 s on this kind of machine); AES ratio at least 10; RSA and P-256 ratios at least 0.9."
echo "Library keys are stored durably (SQLite WAL, synchronous=FULL) before the call returns;"
echo "concurrent sessions share one commit. Machine: $threads cores; load average at start"
echo "$load_at_start, at end $(cut -d" " -f1-3 /proc/loadavg)."
