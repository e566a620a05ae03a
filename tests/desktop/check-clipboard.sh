#!/usr/bin/env bash
# Copies two cells of the built program on a virtual X server, pasted and selected with
# xdotool, and reads the clipboard back with xclip as other X programs read it: the UTF-8
# targets hold the text exactly, rows ending in CR LF; the Latin-1 STRING target spells
# what Latin-1 lacks ("EUR" for the euro sign) instead of "?"; the HTML table is there.
# Usage: check-clipboard.sh <program>
set -euo pipefail
program=$1
work=$(mktemp -d)
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

# Waits up to $1 tenths of a second for the command after it to succeed.
poll() {
    local tries=$1
    shift
    until "$@"; do
        tries=$((tries - 1))
        [ "$tries" -gt 0 ] || return 1
        sleep 0.1
    done
}

Xvfb -displayfd 3 -screen 0 1024x768x24 3>"$work/display" >/dev/null 2>&1 &
pids+=($!)
poll 100 test -s "$work/display"
export DISPLAY=:$(cat "$work/display")
"$program" >"$work/program.log" 2>&1 &
pids+=($!)

window=$(timeout 60 xdotool search --sync --name '^Kelvara$' | head -n 1) || true
if [ -z "$window" ]; then
    echo "FAIL: no Kelvara window within 60 s; the program said:" >&2
    cat "$work/program.log" >&2
    exit 1
fi
xdotool windowfocus --sync "$window"
# The texts come in by pasting (typing characters outside the keyboard map races with
# xdotool's remapping): into cell (1, 1) of matrix A, by the window's fixed layout. Then
# that cell and the one to its right are selected and copied.
printf '5 \xe2\x82\xac\t\xe2\x88\x921\xe2\x80\xa6' | xclip -quiet -i -selection clipboard 2>/dev/null &
pids+=($!)
offered() { xclip -o -selection clipboard -t UTF8_STRING >/dev/null 2>&1; }
poll 100 offered || { echo "FAIL: xclip offers no text to paste" >&2; exit 1; }
xdotool mousemove --window "$window" 95 165 click 1 key ctrl+v
xdotool mousemove --window "$window" 95 165 click 1 \
    keydown shift mousemove --window "$window" 150 165 click 1 keyup shift key ctrl+c

targets() { xclip -o -selection clipboard -t TARGETS >"$work/targets" 2>/dev/null; }
html_offered() { targets && grep -qx text/html "$work/targets"; }
poll 50 html_offered || {
    echo "FAIL: no table on the clipboard; targets: $(cat "$work/targets" 2>/dev/null)" >&2
    exit 1
}

failures=0
expect() {  # target, expected bytes (printf format)
    local found expected
    found=$(xclip -o -selection clipboard -t "$1" | od -An -tx1 | tr -d ' \n')
    expected=$(printf "$2" | od -An -tx1 | tr -d ' \n')
    if [ "$found" != "$expected" ]; then
        echo "FAIL: target $1 holds $found, expected $expected" >&2
        failures=$((failures + 1))
    fi
}
utf8='5 \xe2\x82\xac\t\xe2\x88\x921\xe2\x80\xa6\r\n'
expect UTF8_STRING "$utf8"
expect 'text/plain;charset=utf-8' "$utf8"
expect TEXT "$utf8"
expect STRING '5 EUR\t-1...\r\n'
xclip -o -selection clipboard -t text/html | grep -q '<td>5 €</td><td>−1…</td>' ||
    { echo "FAIL: the HTML table lacks the cells" >&2; failures=$((failures + 1)); }

[ "$failures" -eq 0 ] || exit 1
echo "clipboard targets as expected: $(tr '\n' ' ' <"$work/targets")"
