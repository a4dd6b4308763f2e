#!/usr/bin/env bash
# Builds the Debian packages (tarsel, libqelvoarc1, libqelvoarc-dev, orvena-sim) into
# build/packages/. dpkg-buildpackage writes its packages beside the source tree, so it works
# on a copy in build/deb/ that keeps its objects: a second run rebuilds only what changed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh packaging
version=$(dpkg-parsechangelog -S Version)
work=build/deb
src=$work/tarsel-$version
out=build/packages
mkdir -p "$src" "$out"
# The tree as git sees it, untracked files included; the copy keeps the modification times,
# and its obj-* build directory is left alone.
rsync -a --delete --filter=':- .gitignore' --exclude=/.git --filter='P /obj-*/' ./ "$src/"
rm -f "$work"/*.deb "$work"/*.buildinfo "$work"/*.changes
(cd "$src" && DEB_BUILD_OPTIONS="parallel=$(nproc) noddebs ${DEB_BUILD_OPTIONS:-}" \
   dpkg-buildpackage -b -us -uc --no-pre-clean >../build.log 2>&1) ||
  { tail -40 "$work/build.log" >&2; echo "package build failed: $work/build.log" >&2; exit 1; }
rm -f "$out"/*.deb
mv "$work"/*.deb "$out/"
ls -1 "$out"
