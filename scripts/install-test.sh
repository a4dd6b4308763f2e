#!/usr/bin/env bash
# Builds the Debian packages, unpacks them into a scratch root and checks them there: the
# console prints its usage, the simulator and orvena-card their help, the simulator serves a
# directory orvena-simctl init made, the service's user and data directory are made as the
# package's scripts make them, the service's hardening scores at most 2.0 (systemd-analyze
# security), a C program builds with pkg-config and another with find_package(qelvoarc), both
# calling QVersion through the packaged library. Then lintian checks the packages (kept
# findings: packaging/lintian-notes.md). Exits non-zero when a check fails.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/package.sh >/dev/null
work=$(mktemp -d /tmp/tarsel-install.XXXXXX)
sim=
cleanup() { [ -n "$sim" ] && kill "$sim" 2>/dev/null; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT
root=$work/root
for deb in build/packages/*.deb; do dpkg -x "$deb" "$root"; done
libdir=$root/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
export LD_LIBRARY_PATH=$libdir

failed=0
check() {  # DESCRIPTION COMMAND...
  printf '%-64s' "$1"
  if "${@:2}" >"$work/out" 2>&1; then echo ok; else echo FAILED; sed 's/^/  /' "$work/out"; failed=1; fi
}
usage_of() {  # PROGRAM ARGS...: prints the output, whatever the exit status
  "$@" 2>&1 || true
}
# grep reads to the end: -q would stop the writer with SIGPIPE, which pipefail reports.
tarsel_usage() { usage_of "$root/usr/bin/tarsel" -h | grep '^Usage: tarsel '; }
tarsel_links_packaged_library() { ldd "$root/usr/bin/tarsel" | grep "$libdir/libqelvoarc.so.1"; }
sim_help() { "$root/usr/sbin/orvena-sim" --help | grep '^Usage: orvena-sim '; }
card_help() { "$root/usr/bin/orvena-card" --help | grep '^Usage: orvena-card '; }
init_and_serve() {
  "$root/usr/sbin/orvena-simctl" --data "$work/hsm" init --init-password 'Install#Test1'
  "$root/usr/sbin/orvena-sim" --data "$work/hsm" --listen 127.0.0.1:0 --discovery-port 0 \
    >"$work/sim.log" 2>&1 &
  sim=$!
  for _ in $(seq 100); do grep -q ready "$work/sim.log" && return 0; sleep 0.1; done
  cat "$work/sim.log"
  return 1
}
service_user_and_directory() {
  mkdir -p "$root/etc"
  systemd-sysusers --root="$root" "$root/usr/lib/sysusers.d/orvena-sim.conf"
  systemd-tmpfiles --root="$root" --create "$root/usr/lib/tmpfiles.d/orvena-sim.conf"
  local uid
  uid=$(awk -F: '$1 == "orvena-sim" { print $3 }' "$root/etc/passwd")
  [ -n "$uid" ] && [ "$(stat -c %u:%a "$root/var/lib/orvena-sim")" = "$uid:700" ]
}
service_hardening() {
  local unit=$root/lib/systemd/system/orvena-sim.service
  systemd-analyze security --offline=true --threshold=20 "$unit" | tail -1
}
packaged_pkg_config() { PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$libdir/pkgconfig pkg-config "$@"; }
pkg_config_program() {
  local flags
  flags=$(packaged_pkg_config --cflags --libs qelvoarc)
  echo "pkg-config: $flags"
  # shellcheck disable=SC2086  # the flags are words
  cc -std=c11 -Wall -Werror tests/install/qversion.c $flags -o "$work/qversion-pc"
  # The version pkg-config and CMake see is the one the library answers.
  [ "$("$work/qversion-pc")" = "$(packaged_pkg_config --modversion qelvoarc)" ]
}
cmake_program() {
  cmake -S tests/install -B "$work/cmake" -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
  cmake --build "$work/cmake" >/dev/null
  "$work/cmake/qversion"
}
man_pages() {
  for page in man1/tarsel.1 man1/orvena-card.1 man8/orvena-sim.8 man8/orvena-simctl.8; do
    man -l "$root/usr/share/man/$page.gz" 2>&1 >/dev/null | grep . && return 1
  done
  return 0
}

echo "packages: $(cd build/packages && echo *.deb)"
check "tarsel -h prints its usage" tarsel_usage
check "tarsel loads the packaged libqelvoarc.so.1" tarsel_links_packaged_library
check "orvena-sim --help" sim_help
check "orvena-card --help" card_help
check "orvena-simctl init, then orvena-sim serves the directory" init_and_serve
check "the service user and /var/lib/orvena-sim (0700) are made" service_user_and_directory
check "the service's exposure is at most 2.0" service_hardening
sed 's/^/  /' "$work/out"
check "a C program builds with pkg-config; QVersion = its version" pkg_config_program
check "a CMake project links qelvoarc::qelvoarc and calls QVersion" cmake_program
check "the manual pages render without warnings" man_pages

echo "lintian:"
lintian --fail-on error,warning --display-info --tag-display-limit 0 build/packages/*.deb \
  >"$work/lintian" 2>/dev/null || failed=1
sed 's/^/  /' "$work/lintian"
for level in E W I; do printf '  %s: %s' "$level" "$(grep -c "^$level: " "$work/lintian")"; done
echo "  (errors, warnings, information)"
exit "$failed"
