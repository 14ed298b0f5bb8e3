#!/usr/bin/env bash
# Not a test: wall time and peak resident memory of one probix-check run against
# the start-up of the probix window (process start to its window being mapped),
# interleaved in one run, 5 pairs by default. Figures in docs/performance.md.
# Usage: bench/check-vs-window.sh [build folder] [pairs]     (under Xvfb without a display)
set -euo pipefail
build=$(realpath "${1:-build}")
pairs=${2:-5}
if [ -z "${DISPLAY:-}" ]; then
    exec xvfb-run -a -s "-screen 0 1024x768x24" "$0" "$build" "$pairs"
fi
export QSG_RENDER_LOOP=basic
for _ in $(seq "$pairs"); do
    /usr/bin/time -f 'check %e s %M KiB' "$build/probix-check" >/dev/null 2>"$build/check-time.log" || true
    tail -n 1 "$build/check-time.log"
    begun=$(date +%s.%N)
    "$build/probix" 2>/dev/null &
    pid=$!
    xdotool search --sync --onlyvisible --name '^(硬件检测|Hardware detection)$' >/dev/null
    shown=$(date +%s.%N)
    peak=$(awk '/VmHWM/ { print $2 }' "/proc/$pid/status")
    kill "$pid"
    wait "$pid" 2>/dev/null || true
    awk -v begun="$begun" -v shown="$shown" -v peak="$peak" 'BEGIN { printf "window %.2f s %s KiB\n", shown - begun, peak }'
done
