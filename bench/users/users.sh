#!/usr/bin/env bash
# The console's user list with 1,000 users against 1,000 liveness round trips in the same
# run, both over TLS on one session. The list is timed as the library calls the console
# makes (QListUsers, then per user the object counts and the ACL from the final callback).
# Prints both figures and their ratio (target: at most 3).
set -euo pipefail
cd "$(dirname "$0")/../.."
users=${USERS:-1000}
build=build/bench
bench/build.sh orvena-sim users_bench

work=$(mktemp -d /tmp/orvena-users-bench.XXXXXX)
sim_pid=
cleanup() { [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

password='Bench#Passw0rd1'
"$build"/sim/orvena-sim --listen 127.0.0.1:0 --data "$work/hsm" --init-password "$password" \
  --discovery-port 0 >"$work/sim.log" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do grep -q ready "$work/sim.log" && break; sleep 0.1; done
export ORVENA_BENCH_PORT=$(sed -n 's/.*ready on [0-9.]*:\([0-9]*\).*/\1/p' "$work/sim.log")
export ORVENA_BENCH_PASSWORD=$password
bench="$build/bench/users_bench"

created=$("$bench" create "$((users - 1))" "$(nproc)")  # plus the operator: $users in all
"$bench" list >/dev/null                                  # warm the caches once
read -r list_s listed < <("$bench" list)
adm_s=$("$bench" adm "$users")

echo "setup: $((users - 1)) users created in ${created} s"
printf '%-44s %10s\n' "figure" "ms"
printf '%-44s %10.1f\n' "console user list (${listed} users)" "$(echo "$list_s * 1000" | bc -l)"
printf '%-44s %10.1f\n' "${users} QAdmOperation round trips" "$(echo "$adm_s * 1000" | bc -l)"
printf '%-44s %10.2f  (target <= 3)\n' "ratio" "$(echo "$list_s / $adm_s" | bc -l)"
