#!/usr/bin/env bash
# Builds the Debian package of the build with cpack and checks it: its control fields, with
# the libraries the program needs among its dependencies and the size dpkg computes for its
# files, all under /usr and owned by root, unpacked and checked as an installed tree
# (check-tree.sh); and Debian's own checker, lintian, finds no error in it.
# Usage: check-package.sh <cpack> <build folder>
set -euo pipefail
cpack=$1
build=$2
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

if ! "$cpack" --config "$build/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1; then
    cat "$work/cpack.log" >&2
    exit 1
fi
debs=("$work"/out/*.deb)
[ ${#debs[@]} -eq 1 ] && [ -f "${debs[0]}" ] || {
    echo "FAIL: cpack made no single .deb" >&2
    exit 1
}
deb=${debs[0]}

field() { dpkg-deb --field "$deb" "$1"; }
[ "$(field Package)" = kelvara ] || fail "Package is '$(field Package)'"
[ "$(field Version)" = 2.0-1 ] || fail "Version is '$(field Version)'"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] ||
    fail "Architecture is '$(field Architecture)'"
[ "$(field Section)" = math ] || fail "Section is '$(field Section)'"
[ -n "$(field Description)" ] || fail "no Description"
# The dependencies read off the program: the C library, Qt's widgets, chmlib and xcb.
depends=$(field Depends)
for library in libc6 libqt6widgets6 libqt6gui6 libqt6core6 libchm1 libxcb1 'libstdc\+\+6'; do
    echo "$depends" | grep -Eq "(^|, )$library( |,|$)" || fail "Depends lacks $library: $depends"
done

listing=$(dpkg-deb --contents "$deb")
outside=$(echo "$listing" | awk '{print $6}' | grep -v '^\./usr/' | grep -v '^\./$' || true)
[ -z "$outside" ] || fail "files outside /usr: $outside"
owners=$(echo "$listing" | awk '{print $2}' | sort -u)
[ "$owners" = root/root ] || fail "files owned by $owners"

dpkg-deb --extract "$deb" "$work/root"
# Installed-Size the way dpkg computes it: each file and symbolic link in whole KiB rounded
# up, every other entry (each folder, the top one too) 1 KiB.
size=$(find "$work/root" -printf '%y %s\n' |
    awk '{ kib += ($1 == "f" || $1 == "l") ? int(($2 + 1023) / 1024) : 1 } END { print kib }')
[ "$(field Installed-Size)" = "$size" ] ||
    fail "Installed-Size is $(field Installed-Size) KiB, the files take $size KiB"
"$here/check-tree.sh" "$work/root/usr" || failures=$((failures + 1))

# Warnings are listed for the log; an error fails.
if command -v lintian >/dev/null; then
    lintian --tag-display-limit 0 "$deb" >"$work/lintian.log" 2>&1 || true
    sed 's/^/lintian: /' "$work/lintian.log"
    ! grep -q '^E: ' "$work/lintian.log" || fail "lintian reports errors"
else
    fail "lintian is not installed"
fi

if [ "$failures" -ne 0 ]; then
    echo "$failures problem(s) in $(basename "$deb")" >&2
    exit 1
fi
echo "package $(basename "$deb") complete"
