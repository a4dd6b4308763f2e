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
# Generation runs with as many sessions (threads) as the machine has cores on both sides.
set -euo pipefail
cd "$(dirname "$0")/../.."
command -v softhsm2-util >/dev/null || apt-get install -y -qq softhsm2 </dev/null
build=${KEYS_BENCH_BUILD:-build/bench}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTARSEL_BENCH=ON >/dev/null
cmake --build "$build" -j"$(nproc)" --target orvena-sim orvena-simctl keys_bench >/dev/null

work=$(mktemp -d /tmp/orvena-keys-bench.XXXXXX)
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

bench="$build"/bench/keys_bench
threads=$(nproc)
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

adm=$($bench adm 10000)
read -r list listed < <(ORVENA_BENCH_USER=lister $bench list)
echo
printf '%-58s %10s %10s %8s\n' figure value anchor ratio
printf '%-58s %9ss %9ss %8s\n' "list $listed objects (console calls) vs 10,000 QAdmOperation" \
  "$list" "$adm" "$(ratio "$list" "$adm")"

export SOFTHSM2_CONF=$work/softhsm2.conf ORVENA_BENCH_PIN=1234
mkdir -p "$work/tokens"
echo "directories.tokendir = $work/tokens" >"$SOFTHSM2_CONF"
softhsm2-util --init-token --free --label bench --so-pin 5678 --pin 1234 >/dev/null
aes=$($bench generate 9 2000 "$threads")
softhsm=$($bench softhsm 2000 "$threads")
printf '%-58s %8s/s %8s/s %8s\n' "durable AES-256 generation vs SoftHSMv2 token keys" \
  "$aes" "$softhsm" "$(ratio "$aes" "$softhsm")"

for alg in 6:RSA-2048:60 30:P-256:3000; do
  IFS=: read -r id label count <<<"$alg"
  lib=$($bench generate "$id" "$count" "$threads")
  direct=$($bench openssl "$id" "$count" "$threads")
  printf '%-58s %8s/s %8s/s %8s\n' "$label generation through the library vs OpenSSL" \
    "$lib" "$direct" "$(ratio "$lib" "$direct")"
done
echo
echo "Anchors: list ratio at most 2 (pkcs11-tool on SoftHSMv2 lists 10,000 objects in about"
echo "3.4 s on this kind of machine); AES ratio at least 10; RSA and P-256 ratios at least 0.9."
echo "Generation uses $threads sessions or threads on each side; library keys are stored"
echo "durably (SQLite WAL, synchronous=FULL) before the call returns."
