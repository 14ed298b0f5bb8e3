#!/usr/bin/env bash
# Cross-builds Probix for arm64 in a bookworm chroot (scripts/lib/arm64.sh), runs
# the unit-labelled tests under qemu-user, then starts the arm64 window under Xvfb
# and saves a screenshot (build-arm64/arm64.png). Extra arguments go to ctest.
# Needs root; every emulated program runs in a PID namespace of its own.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/lib/chroot.sh"
. "$root/scripts/lib/arm64.sh"
. "$root/scripts/lib/window.sh"
need_root
[ -n "${PROBIX_WORK:-}" ] || run_in_namespace "$@"

arm64_chroot
arm64_build "$root"
seconds=$(date +%s)
chroot "$ARM64_CHROOT" sh -c 'cd "$1" && ctest -L unit --output-on-failure -j"$(nproc)" "$@"' _ "$root/build-arm64" "$@"
echo "arm64 unit tests done in $(($(date +%s) - seconds)) s"

start_x
shot=$root/build-arm64/arm64.png
chroot "$ARM64_CHROOT" env -i HOME=/root DISPLAY="$DISPLAY" LANG=C.UTF-8 PATH=/usr/bin:/bin \
    qemu-aarch64 "$root/build-arm64/probix" >"$root/build-arm64/arm64-window.log" 2>&1 &
pid=$!
if ! wid=$(wait_window '^(硬件检测|Hardware detection)$' "$pid" 60) ||
    ! text=$(read_window "$wid" "$shot" eng english_rows 4); then
    echo "the arm64 window did not come up:" >&2
    tail -n 20 "$root/build-arm64/arm64-window.log" >&2
    exit 1
fi
kill "$pid"
english_rows "$text" || { printf 'the window read as:\n%s\n' "$text" >&2; exit 1; }
echo "arm64 window with its five rows: $shot"
