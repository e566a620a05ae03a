#!/usr/bin/env bash
# Starts the built Kelvara on a virtual X display and types at it with xdotool, as a person
# at the keyboard would: Tab through the boxes, a cell left in the middle of an edit when
# Compute is chosen, an entry's caption typed into the operation list, and a row and a
# column of numbers typed into the grids with the arrow keys and Enter. What the window
# computed is read back from a CSV export. Every wait polls for a window with a time limit.
#   drive-window.sh path/to/kelvara
set -euo pipefail
program=$1
work=$(mktemp -d)
xvfb=
app=
cleanup() {
    [ -n "$app" ] && kill "$app" 2>/dev/null || true
    [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "drive-window: $*" >&2
    # What the program said on its way out, for a failure that happens elsewhere.
    [ -s "$work/program.log" ] && sed 's/^/  program: /' "$work/program.log" >&2
    exit 1
}

# A display number no other server uses, chosen by the server itself.
exec {fd}<> <(:)
Xvfb -displayfd "$fd" -screen 0 1024x768x24 -dpi 96 -nolisten tcp >"$work/xvfb.log" 2>&1 &
xvfb=$!
read -r -t 20 -u "$fd" number || fail "Xvfb did not start"
export DISPLAY=":$number"

# The id of the first visible window whose title is exactly $1, waiting up to 20 s; with a
# shorter wait $2 (seconds) given, an empty answer instead of failing.
# A search can end with an X error when some other window closes while it walks the window
# tree, so it is asked again until the deadline rather than trusted once.
window() {
    local id="" deadline=$((SECONDS + ${2:-20}))
    while [ -z "$id" ] && [ "$SECONDS" -lt "$deadline" ]; do
        id=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | head -1)
        [ -n "$id" ] || sleep 0.05
    done
    [ -n "$id" ] || [ "${2:-20}" != 20 ] ||
        fail "no window \"$1\" (program running: $(kill -0 "$app" 2>/dev/null && echo yes || echo no))"
    echo "$id"
}

# Starts the program and gives its window the keyboard; sets main, menu (the menu bar's
# height) and the pixel position of the cells used below.
start() {
    [ -n "$app" ] && kill "$app" 2>/dev/null && wait "$app" 2>/dev/null || true
    QT_QPA_PLATFORM=xcb "$program" >"$work/program.log" 2>&1 &
    app=$!
    main=$(window Kelvara)
    xdotool windowfocus --sync "$main"
    eval "$(xdotool getwindowgeometry --shell "$main")"
    menu=$((HEIGHT - 517))  # the client area is 7755 twips, 517 pixels at 96 dpi
}

# Clicks at a point of the main window.
click() {
    xdotool mousemove --window "$main" "$1" "$2" click 1
}

# Compute sits in the menu bar right of File.
compute() {
    click 64 $((menu / 2))
}

# The id of a menu the program opened besides the windows listed in $@, waiting up to 20 s.
new_popup() {
    local tries=0 id known
    while :; do
        for id in $(xdotool search --onlyvisible --pid "$app" 2>/dev/null); do
            known=no
            for k in "$@"; do [ "$k" = "$id" ] && known=yes; done
            [ "$known" = no ] && echo "$id" && return 0
        done
        tries=$((tries + 1))
        [ "$tries" -lt 400 ] || fail "no menu opened"
        sleep 0.05
    done
}

# Clicks at a point of window $1 given as fractions $2 and $3 of its width and height.
click_in() {
    eval "$(xdotool getwindowgeometry --shell "$1")"
    xdotool mousemove "$((X + WIDTH * $2 / 100))" "$((Y + HEIGHT * $3 / 100))" click 1
}

# File > Export Results > CSV to $1, answering the dialog and the success message.
export_csv() {
    local file export
    click 12 $((menu / 2))
    file=$(new_popup "$main")
    click_in "$file" 20 15  # Export Results, the first of two items
    export=$(new_popup "$main" "$file")
    click_in "$export" 20 70  # CSV, the fourth of five
    local dialog note
    dialog=$(window "Export CSV file")
    # Under load the name can be typed before the dialog's name field takes the keys: the
    # dialog then stays open, and the name is typed again over whatever the field holds.
    for attempt in 1 2 3; do
        xdotool windowfocus --sync "$dialog"
        xdotool key ctrl+a
        xdotool type --delay 5 "$1"
        xdotool key Return
        note=$(window Note 8)
        [ -n "$note" ] && break
    done
    [ -n "$note" ] || note=$(window Note)
    xdotool windowfocus --sync "$note"
    xdotool key Return
    [ -f "$1" ] || fail "no file $1 written"
}

expect_file() {
    local got
    got=$(tr -d '\r' <"$1")
    [ "$got" = "$2" ] || fail "$3: expected
$2
got
$got"
}

# 1. Tab from the operation list into grid A, "5" in its first cell; Tab on through grid B
#    into the boxes: rows 2, Tab, columns 2, Shift+Tab back, rows 1. Then "7" typed into the
#    second cell of A without Enter, and Compute.
start
xdotool key Tab Tab
xdotool type 5
xdotool key Tab Tab Tab Tab Tab Tab
xdotool type 2
xdotool key Tab
xdotool type 2
xdotool key shift+Tab
xdotool type 1
# Grid A: 240 twips from the left, 1740 from the top of the client area, headings 48 by 20.
click $((16 + 48 + 90)) $((menu + 116 + 20 + 10))
xdotool type 7
compute
export_csv "$work/sum.csv"
expect_file "$work/sum.csv" "A =,,,
,5,7,
,,,
B =,,,
,0,0,0
,0,0,0
,0,0,0
,,,
A + B =,,,
,5,7," "A + B of A = [5 7] typed with Tab between the boxes"

# 2. "A'" chosen in the list with the arrow keys, then "A*B" typed over it: no operation is
#    chosen, so Compute leaves the sheet empty and the program keeps running.
start
xdotool key Tab Down Down Down Down ctrl+a
xdotool type "A*B"
xdotool key Return
compute
export_csv "$work/none.csv"
expect_file "$work/none.csv" "" "Compute with a typed list text"
kill -0 "$app" 2>/dev/null || fail "the program ended"

# 3. A row typed into grid A as 1 Right 2 Right 3 Enter, and a column into grid B as
#    4 Enter 5 Enter 6 Enter: each number lands in a cell of its own.
start
row1=$((menu + 116 + 20 + 10))
click $((16 + 48 + 20)) "$row1"
xdotool key 1 Right 2 Right 3 Return
# Grid B: 4080 twips from the left.
click $((272 + 48 + 20)) "$row1"
xdotool key 4 Return 5 Return 6 Return
compute
export_csv "$work/typed.csv"
sed -n '/^A + B =/,$p' "$work/typed.csv" >"$work/typed-sum.csv"
expect_file "$work/typed-sum.csv" "A + B =,,,
,5,2,3
,5,0,0
,6,0,0" "A + B of a typed row and a typed column"
echo "drive-window: all three runs as expected"
