#!/usr/bin/env bash
# The memory a program holds at rest: it is started on a virtual display of its own, and
# five seconds later its resident (VmRSS) and anonymous resident (RssAnon) memory are read.
# Kelvara is measured beside whichever other desktop calculators are installed, on the same
# machine and display, each several times in turn.
#
#   bench/idle-memory.sh [path/to/kelvara] [rounds]
set -euo pipefail
kelvara=${1:-build/release/app/kelvara}
rounds=${2:-3}
programs=("$kelvara")
for other in speedcrunch qalculate-gtk; do
    command -v "$other" >/dev/null && programs+=("$other")
done

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x1024x24 >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null' EXIT
sleep 1

figure() {  # figure PID FIELD -> megabytes
    awk -v field="$2:" '$1 == field { printf "%.1f", $2 / 1024 }' "/proc/$1/status"
}

printf '%-16s %12s %14s\n' program "VmRSS (MB)" "RssAnon (MB)"
for ((round = 1; round <= rounds; ++round)); do
    for program in "${programs[@]}"; do
        DISPLAY=$display "$program" >/dev/null 2>&1 &
        pid=$!
        sleep 5
        printf '%-16s %12s %14s\n' "$(basename "$program")" "$(figure $pid VmRSS)" \
            "$(figure $pid RssAnon)"
        kill $pid
        wait $pid 2>/dev/null || true
    done
done
