#!/usr/bin/env bash
# Installs the built program into a scratch prefix and checks that a Linux desktop finds
# everything: the program with its help file beside it, the menu entry and the icons.
# Usage: check-install.sh <cmake> <build folder>
set -euo pipefail
cmake=$1
build=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

"$cmake" --install "$build" --prefix "$prefix" >/dev/null

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# The first bytes of a file as hex, for checking signatures.
magic() { od -An -tx1 -N"$2" "$1" | tr -d ' \n'; }

[ -x "$prefix/bin/kelvara" ] || fail "bin/kelvara is missing or not executable"
if [ -f "$prefix/bin/help.chm" ]; then
    [ "$(magic "$prefix/bin/help.chm" 4)" = 49545346 ] || fail "bin/help.chm is not a CHM file"
else
    fail "bin/help.chm is missing beside the program"
fi

desktop=$prefix/share/applications/kelvara.desktop
if [ -f "$desktop" ]; then
    for line in '[Desktop Entry]' 'Type=Application' 'Name=Kelvara' 'Exec=kelvara' \
        'Icon=kelvara'; do
        grep -qxF "$line" "$desktop" || fail "kelvara.desktop lacks '$line'"
    done
else
    fail "share/applications/kelvara.desktop is missing"
fi

# Each PNG must be a PNG of the size its folder names (width and height sit at bytes 16-23).
for size in 16 32 48 64 128 256; do
    png=$prefix/share/icons/hicolor/${size}x${size}/apps/kelvara.png
    if [ ! -f "$png" ]; then
        fail "icon ${size}x${size} is missing"
        continue
    fi
    [ "$(magic "$png" 8)" = 89504e470d0a1a0a ] || fail "icon ${size}x${size} is not a PNG"
    dims=$(od -An -tu1 -j16 -N8 "$png" | awk '{print $3*256+$4, $7*256+$8}')
    [ "$dims" = "$size $size" ] || fail "icon ${size}x${size} measures $dims"
done
svg=$prefix/share/icons/hicolor/scalable/apps/kelvara.svg
grep -q '<svg' "$svg" 2>/dev/null || fail "scalable/apps/kelvara.svg is missing or not SVG"

if [ "$failures" -ne 0 ]; then
    echo "$failures problem(s) in the installed tree" >&2
    exit 1
fi
echo "installed tree complete"
