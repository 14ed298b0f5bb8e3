#!/usr/bin/env bash
# Reliability run of the server check: builds only the soak program plainly, with
# AddressSanitizer + UndefinedBehaviorSanitizer and with ThreadSanitizer (the asan
# and tsan presets), and runs each build. Figures and reports go to docs/reliability.md by hand.
#
# Usage: scripts/soak.sh [plain] [asan] [tsan]        (all three when none is named)
# Environment: SOAK_REFRESHES (1000), SOAK_INTERVAL_MS (30), SOAK_JOBS (2),
#              BUILD_DIR (the plain build, build/ by default as for build.sh).
# Each run leaves its output in <build dir>/soak.log. Exit status: 0 when every run
# passed with no sanitizer report.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
refreshes=${SOAK_REFRESHES:-1000}
interval=${SOAK_INTERVAL_MS:-30}
jobs=${SOAK_JOBS:-2}
variants=("$@")
[ ${#variants[@]} -eq 0 ] && variants=(plain asan tsan)

# The sanitizer builds are those of CMakePresets.json, with the soak program added.
build() {
    local dir=$1
    shift
    (cd "$root" && cmake -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPROBIX_BENCH=ON "$@") \
        >"$dir/soak-configure.log" 2>&1 || { cat "$dir/soak-configure.log"; return 1; }
    cmake --build "$dir" --target soak_serverinfo -j"$jobs"
}

failed=0
run() {
    local name=$1 dir=$2 rc reports
    local log=$dir/soak.log
    echo "== $name: $dir/bench/soak_serverinfo $refreshes $interval"
    (cd "$dir/bench" && ./soak_serverinfo "$refreshes" "$interval") >"$log" 2>&1
    rc=$?
    grep -E '^(refresh|soak)' "$log"
    reports=$(grep -cE 'ERROR: (Address|Leak)Sanitizer|runtime error:|WARNING: ThreadSanitizer|SUMMARY: ' "$log")
    grep -E 'ERROR: (Address|Leak)Sanitizer|runtime error:|WARNING: ThreadSanitizer|SUMMARY: |INCONSISTENT' "$log"
    echo "== $name: exit $rc, sanitizer report lines $reports (log $log)"
    if [ "$rc" -ne 0 ] || [ "$reports" -ne 0 ]; then
        failed=1
        # A sanitizer that halts skips the program's own clean-up of the certificate beside it.
        rm -f "$dir/bench/config/grpcserver.pem"
        rmdir "$dir/bench/config" 2>/dev/null
    fi
}

for variant in "${variants[@]}"; do
    case $variant in
    plain)
        dir=${BUILD_DIR:-$root/build}
        mkdir -p "$dir"
        build "$dir" || { failed=1; continue; }
        run plain "$dir"
        ;;
    asan)
        dir=$root/build-asan
        mkdir -p "$dir"
        build "$dir" --preset asan || { failed=1; continue; }
        ASAN_OPTIONS=detect_leaks=1:strict_init_order=1:detect_stack_use_after_return=1 \
            UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
            run asan "$dir"
        ;;
    tsan)
        dir=$root/build-tsan
        mkdir -p "$dir"
        build "$dir" --preset tsan || { failed=1; continue; }
        options="halt_on_error=1 second_deadlock_stack=1 history_size=4"
        [ -f "$root/scripts/tsan.supp" ] && options+=" suppressions=$root/scripts/tsan.supp"
        TSAN_OPTIONS=$options run tsan "$dir"
        ;;
    *)
        echo "unknown variant $variant (plain, asan, tsan)" >&2
        exit 2
        ;;
    esac
done
exit $failed
