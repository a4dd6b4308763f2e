#!/bin/sh
# Usage: check_exports.sh <libqelvoarc.so> <qelvoarc.map> <qelvoarc.h>
# Fails unless the library exports exactly the functions the header declares, each under the
# version node the script assigns it, and nothing else.
set -eu
lib=$1 map=$2 header=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# name@node pairs from the version script.
awk '/^QELVOARC_[0-9.]+ *\{/ { node = $1 } /^ +Q[A-Za-z0-9_]+;/ { sub(/;/, "", $1); print $1 "@" node }' \
    "$map" | sort >"$tmp/expected"
# name@node pairs the library defines (undefined imports have section UND).
readelf --dyn-syms -W "$lib" | awk '$7 != "UND" && $8 ~ /^Q[A-Za-z0-9_]*@/ { sub(/@@?/, "@", $8); print $8 }' |
    sort >"$tmp/actual"
# Every other defined symbol of the dynamic table must be a version node itself.
readelf --dyn-syms -W "$lib" | awk '$7 != "UND" && $4 != "SECTION" && NR > 3 && $8 != "" && $8 !~ /^Q/ && $8 !~ /^QELVOARC_/ { print $8 }' \
    >"$tmp/stray"
# Function names the header declares.
grep -o '^QELVOARC_API[^(]*(' "$header" | sed 's/.*[ *]\(Q[A-Za-z0-9_]*\)($/\1/' | sort >"$tmp/declared"
cut -d@ -f1 "$tmp/expected" | sort >"$tmp/mapped"

status=0
if ! diff -u "$tmp/expected" "$tmp/actual"; then
    echo "exported symbols differ from $map" >&2
    status=1
fi
if [ -s "$tmp/stray" ]; then
    echo "symbols exported outside the Q* interface:" >&2
    cat "$tmp/stray" >&2
    status=1
fi
if ! diff -u "$tmp/declared" "$tmp/mapped"; then
    echo "header declarations differ from $map" >&2
    status=1
fi
count=$(wc -l <"$tmp/actual")
echo "$count symbols checked"
exit $status
