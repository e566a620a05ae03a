#!/usr/bin/env bash
# Checks an installed tree (a prefix such as /usr) for what a Linux desktop needs: the
# program with its help file beside it and a link to it in bin/, the menu entry, the icons,
# the manual page and the AppStream description, each checked with the desktop's own
# validators, and the licence.
# Usage: check-tree.sh <prefix>; prints the problems found and fails when there are any.
set -euo pipefail
prefix=$1

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# The first bytes of a file as hex, for checking signatures.
magic() { od -An -tx1 -N"$2" "$1" | tr -d ' \n'; }

program=$prefix/lib/kelvara/kelvara
if [ -x "$program" ]; then
    [ "$(magic "$program" 4)" = 7f454c46 ] || fail "lib/kelvara/kelvara is not a program"
else
    fail "lib/kelvara/kelvara is missing or not executable"
fi
if [ -L "$prefix/bin/kelvara" ]; then
    [ "$(readlink "$prefix/bin/kelvara")" = ../lib/kelvara/kelvara ] ||
        fail "bin/kelvara links to $(readlink "$prefix/bin/kelvara")"
else
    fail "bin/kelvara is not a link to the program"
fi
if [ -f "$prefix/lib/kelvara/help.chm" ]; then
    [ "$(magic "$prefix/lib/kelvara/help.chm" 4)" = 49545346 ] ||
        fail "lib/kelvara/help.chm is not a compiled help file"
else
    fail "help.chm is missing beside the program"
fi

desktop=$prefix/share/applications/kelvara.desktop
if [ -f "$desktop" ]; then
    for line in '[Desktop Entry]' 'Type=Application' 'Name=Kelvara' 'Exec=kelvara' \
        'Icon=kelvara'; do
        grep -qxF "$line" "$desktop" || fail "kelvara.desktop lacks '$line'"
    done
    report=$(desktop-file-validate "$desktop" 2>&1) || fail "desktop-file-validate: $report"
    [ -z "$report" ] || fail "desktop-file-validate: $report"
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

# The manual page, read by man without a warning, and the licence.
manpage=$prefix/share/man/man1/kelvara.1.gz
if [ -f "$manpage" ]; then
    report=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$manpage" 2>&1 >/dev/null) || fail "man: $report"
    [ -z "$report" ] || fail "man: $report"
else
    fail "share/man/man1/kelvara.1.gz is missing"
fi
grep -qx 'License: Expat' "$prefix/share/doc/kelvara/copyright" 2>/dev/null ||
    fail "share/doc/kelvara/copyright is missing or names no licence"

# The AppStream description: valid without looking anything up on the network, launching
# the menu entry above, with a description and a screenshot.
metainfo=$(find "$prefix/share/metainfo" -name '*.metainfo.xml' 2>/dev/null | head -n 1)
if [ -n "$metainfo" ]; then
    report=$(appstreamcli validate --no-net --pedantic "$metainfo" 2>&1) ||
        fail "appstreamcli validate: $report"
    grep -q '<launchable type="desktop-id">kelvara.desktop</launchable>' "$metainfo" ||
        fail "the metadata does not launch kelvara.desktop"
    grep -q '<description>' "$metainfo" || fail "the metadata has no description"
    grep -q '<screenshot type="default">' "$metainfo" || fail "the metadata has no screenshot"
else
    fail "share/metainfo/*.metainfo.xml is missing"
fi

if [ "$failures" -ne 0 ]; then
    echo "$failures problem(s) in $prefix" >&2
    exit 1
fi
