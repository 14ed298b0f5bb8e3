#!/usr/bin/env bash
# Builds the libFuzzer targets of fuzz/ (the asan preset: AddressSanitizer and
# UndefinedBehaviorSanitizer, every finding fatal) and runs each for a while, two
# at a time. Each run starts from a fresh corpus seeded from tests/data.
#
# Usage: scripts/fuzz.sh [seconds per target, default 30] [build folder, default build-asan]
#
# The build folder is configured with the asan preset when it has no CMakeCache.txt;
# a relative folder is taken from the repository's root. Corpora, logs and saved
# inputs go to <build folder>/fuzz-runs/<target>/. One line per target: name,
# executions, executions per second, corpus size (files), peak RSS and result.
# Exit status: 0 when no target found a crash, leak, time-out, memory excess or
# sanitizer report; otherwise 1, with the saved input of each failure named.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-30}
build=${2:-build-asan}
[[ $build == /* ]] || build=$root/$build
if ! [[ $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "usage: $0 [seconds per target] [build folder]" >&2
    exit 2
fi

if [ ! -f "$build/CMakeCache.txt" ]; then
    bash "$root/scripts/setup.sh" --hardening >/dev/null
    (cd "$root" && cmake --preset asan -B "$build")
elif ! grep -q '^PROBIX_FUZZ:BOOL=ON$' "$build/CMakeCache.txt"; then
    echo "$build is not configured with PROBIX_FUZZ=ON: use the asan preset or a new folder" >&2
    exit 1
else
    # Generated again on purpose: Makefiles written while fuzz/ was not part of the
    # build know no fuzzers target, and make would stop before it could regenerate them.
    cmake -S "$root" -B "$build" >/dev/null
fi
cmake --build "$build" --target fuzzers -j2

# UBSan findings stop the run as ASan's do (the build has -fno-sanitize-recover=all
# as well); abort lets libFuzzer save the input that caused them.
export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1:symbolize=1:handle_abort=1
export UBSAN_OPTIONS=halt_on_error=1:abort_on_error=1:print_stacktrace=1:symbolize=1

runs=$build/fuzz-runs
data=$root/tests/data

# Copies the named fixture folders of tests/data into a corpus, folder name first so
# that equal file names of two folders do not meet.
seed() {
    local corpus=$1 folder file
    shift
    for folder in "$@"; do
        for file in "$data/$folder"/*; do
            [ -f "$file" ] && cp "$file" "$corpus/$folder-${file##*/}"
        done
    done
    return 0
}

seed_target() {
    local name=$1 corpus=$2 file
    case $name in
    fuzz_cpu) seed "$corpus" cpuinfo lscpu dmidecode ;;
    fuzz_os) seed "$corpus" os-release meminfo ;;
    fuzz_proc) seed "$corpus" meminfo diskstats net-dev top dmidecode ;;
    fuzz_xnet)
        seed "$corpus" nmcli
        # The values behind nmcli's key column, one a line, as the program's awk cuts them.
        for file in "$data"/nmcli/*.txt; do
            sed -E 's/^[^:]*:[[:space:]]*//' "$file" >"$corpus/values-${file##*/}"
        done
        printf '192.168.1.10\n255.255.255.0\n00:1A:2B:3C:4D:5E\n02-50-F2-00-00-02\n24\n' >"$corpus/addresses"
        ;;
    fuzz_ini)
        # No INI fixture exists: the three files as the client and the agent write them,
        # cut at the 0x1e byte the target splits at.
        printf '[System]\nLanguage=English\n\036[commoninfo]\nproductname=Tessera\n\036%s\n' \
            '[SERVERINFO]
CURSERVERIP=10.0.0.1
SERVERS\size=2
SERVERS\1\SERVERIP=10.0.0.9
SERVERS\1\SECONDSERVERIP=10.0.0.1
SERVERS\1\SERVERPORT=443
SERVERS\2\SERVERIP=10.0.0.1
SERVERS\2\SERVERPORT=8443' >"$corpus/client"
        printf '[System]\nLanguage=Auto\n\036[commoninfo]\nproductname=fennlake_alpha\n\036[SERVERINFO]\nCURSERVERIP=\n' \
            >"$corpus/auto"
        ;;
    *) ;;
    esac
}

# Runs one target; its log and exit status stay in its folder for the report.
run_target() {
    local name=$1 folder=$runs/$1 rc=0
    rm -rf "$folder"
    mkdir -p "$folder/corpus" "$folder/artifacts"
    seed_target "$name" "$folder/corpus"
    "$build/fuzz/$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$folder/artifacts/" "$folder/corpus" >"$folder/log" 2>&1 || rc=$?
    echo "$rc" >"$folder/status"
}

final_stat() {
    sed -n "s/^stat::$1: *//p" "$2" | tail -n 1
}

mapfile -t targets < <(find "$root/fuzz" -maxdepth 1 -name 'fuzz_*.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort)
if [ ${#targets[@]} -eq 0 ]; then
    echo "no fuzz targets in $root/fuzz" >&2
    exit 1
fi

mkdir -p "$runs"
running=0
for name in "${targets[@]}"; do
    if [ ! -x "$build/fuzz/$name" ]; then
        echo "$name was not built in $build" >&2
        exit 1
    fi
    run_target "$name" &
    running=$((running + 1))
    if [ "$running" -ge 2 ]; then
        wait -n || true
        running=$((running - 1))
    fi
done
wait

failed=0
printf '%-10s %12s %8s %8s %8s  %s\n' target executions exec/s corpus rss-MB result
for name in "${targets[@]}"; do
    folder=$runs/$name
    log=$folder/log
    rc=$(cat "$folder/status" 2>/dev/null || echo missing)
    executions=$(final_stat number_of_executed_units "$log")
    speed=$(final_stat average_exec_per_sec "$log")
    rss=$(final_stat peak_rss_mb "$log")
    corpus=$(find "$folder/corpus" -type f | wc -l)
    # A slow unit is only a note: past -timeout it is a time-out and saved as one.
    saved=$(find "$folder/artifacts" -type f ! -name 'slow-unit-*' | sort | paste -sd ' ')
    result=ok
    if [ "$rc" != 0 ] || [ -n "$saved" ] || [ -z "$executions" ]; then
        failed=1
        kind=$(grep -m 1 -oE 'ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer): [a-z -]+|runtime error: .*|fuzz_[a-z]+: .*' \
            "$log" || true)
        result="FAIL (exit $rc${kind:+, $kind}) input: ${saved:-none saved}; log: $log"
    fi
    printf '%-10s %12s %8s %8s %8s  %s\n' "$name" "${executions:-?}" "${speed:-?}" "$corpus" "${rss:-?}" "$result"
done
exit "$failed"
