#!/usr/bin/env bash
# Whole-HSM backup and restore of a database of 100,000 keys through libqelvoarc, each beside
# its floor measured in the same run:
#  1. backup: QBackupData against `sqlite3 DB ".backup COPY"` then `openssl enc -aes-256-ctr
#     -pbkdf2` of the copy; ratio at most 1.5;
#  2. restore: QBackupData (restart not counted) against `openssl enc -d` of that file; ratio
#     at most 1.5;
#  3. peak resident memory of the simulator and of the client during each, above idle: under
#     64 MiB;
#  4. AES-128 key generation by BACKUP_BENCH_SESSIONS sessions (default 8) while a backup runs,
#     against the same without: ratio at least 0.5.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${BACKUP_BENCH_BUILD:-build/bench}
keys=${BACKUP_BENCH_KEYS:-100000}
sessions=${BACKUP_BENCH_SESSIONS:-8}
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DTARSEL_BENCH=ON >/dev/null
cmake --build "$build" -j2 --target orvena-sim orvena-simctl backup_bench >/dev/null

work=$(mktemp -d /tmp/orvena-backup-bench.XXXXXX)
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Bench#Passw0rd1'
start_sim() {
    : >"$work/sim.log"
    "$build"/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
      --discovery-port 0 >"$work/sim.log" 2>&1 &
    sim_pid=$!
    pids+=($sim_pid)
    for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
    export ORVENA_BENCH_PORT=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")
}
kib() { awk -v f="$2:" '$1 == f { print $2 }' "/proc/$1/status"; }
# Milliseconds matter: a floor of 0.04 s read to two decimals moves its ratio by a quarter.
seconds() {
    local start=$EPOCHREALTIME
    "$@" >/dev/null
    awk -v a="$start" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.3f", b - a }'
}
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
min() { printf '%s\n' "$@" | sort -g | head -1; }
max() { printf '%s\n' "$@" | sort -g | tail -1; }
runs=${BACKUP_BENCH_RUNS:-3}  # the machine is shared: each figure is the best of this many

export ORVENA_BENCH_PASSWORD=$password
bench="$build"/bench/backup_bench
start_sim
"$build"/sim/orvena-simctl --data "$work/hsm" add-keys master "$keys" >/dev/null
sim_idle=$(kib "$sim_pid" VmRSS)  # before any backup: its peak covers every one of them

backups=() floors=() decs=() clients=()
for _ in $(seq "$runs"); do
  read -r backup_s backup_client < <($bench backup "$work/hsm.bak")
  backups+=("$backup_s"); clients+=("$backup_client")
  copy_s=$(seconds sqlite3 "$work/hsm/hsm.db" ".backup $work/copy.db")
  enc_s=$(seconds openssl enc -aes-256-ctr -pbkdf2 -pass pass:"$password" -in "$work/copy.db" -out "$work/copy.enc")
  floors+=("$(awk -v a="$copy_s" -v b="$enc_s" 'BEGIN { print a + b }')")
  decs+=("$(seconds openssl enc -d -aes-256-ctr -pbkdf2 -pass pass:"$password" -in "$work/copy.enc" -out "$work/plain.db")")
  rm -f "$work/copy.db"
done
backup_sim=$(( $(kib "$sim_pid" VmHWM) - sim_idle ))
db_bytes=$(stat -c %s "$work/hsm/hsm.db")

# After the memory figure: sessions that generate keys keep memory of their own.
alone=$($bench generate 3 "$sessions")
read -r during during_s < <($bench during "$work/during.bak" "$sessions")

# Each restore leaves the HSM waiting for its restart, which is not part of the figure.
restores=() restore_clients=() restore_sims=()
for _ in $(seq "$runs"); do
  kill "$sim_pid"; wait "$sim_pid" 2>/dev/null || true
  start_sim
  idle=$(kib "$sim_pid" VmRSS)
  read -r restore_s restore_client < <($bench restore "$work/hsm.bak")
  restores+=("$restore_s"); restore_clients+=("$restore_client")
  restore_sims+=($(( $(kib "$sim_pid" VmHWM) - idle )))
done
backup_s=$(min "${backups[@]}"); floor_backup=$(min "${floors[@]}")
restore_s=$(min "${restores[@]}"); dec_s=$(min "${decs[@]}")
backup_client=$(max "${clients[@]}"); restore_client=$(max "${restore_clients[@]}")
restore_sim=$(max "${restore_sims[@]}")

echo
echo "database: $(( db_bytes >> 20 )) MiB after $keys keys; backup file $(( $(stat -c %s "$work/hsm.bak") >> 20 )) MiB"
printf '%-44s %10s %10s %6s %s\n' figure value floor ratio target
printf '%-44s %10s %10s %6s %s\n' "backup, s (sqlite3 .backup + openssl enc)" "$backup_s" "$floor_backup" "$(ratio "$backup_s" "$floor_backup")" "<= 1.5"
printf '%-44s %10s %10s %6s %s\n' "restore, s (openssl enc -d)" "$restore_s" "$dec_s" "$(ratio "$restore_s" "$dec_s")" "<= 1.5"
printf '%-44s %10s %10s %6s %s\n' "keys/s while a backup runs (${during_s}s)" "$during" "$alone" "$(ratio "$during" "$alone")" ">= 0.5"
printf '%-44s %10s\n' "simulator peak above idle, backups, KiB" "$backup_sim"
printf '%-44s %10s\n' "simulator peak above idle, restore, KiB" "$restore_sim"
printf '%-44s %10s\n' "client peak above idle, backup, KiB" "$backup_client"
printf '%-44s %10s\n' "client peak above idle, restore, KiB" "$restore_client"
echo "times: best of $runs; memory: the largest. Memory target: each under 65536 KiB. Machine: $(nproc) cores; load $(cut -d' ' -f1-3 /proc/loadavg)."
