#!/usr/bin/env bash
# Builds and runs the tests under the sanitizers of CMakePresets.json: the whole
# suite with AddressSanitizer + UndefinedBehaviorSanitizer (asan), the server and
# model tests with ThreadSanitizer (tsan). Any sanitizer report fails its test.
#
# Usage: scripts/sanitize.sh [asan] [tsan]        (both when none is named)
# Builds go to build-asan/ and build-tsan/; extra ctest arguments in $CTEST_ARGS.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
variants=("$@")
[ ${#variants[@]} -eq 0 ] && variants=(asan tsan)
bash "$root/scripts/setup.sh" --hardening >/dev/null
cd "$root"
# shellcheck disable=SC2086 # CTEST_ARGS is a list of words
for variant in "${variants[@]}"; do
    case $variant in
    asan)
        cmake --preset asan >/dev/null
        cmake --build build-asan -j"$(nproc)"
        # Memory errors and undefined behaviour end every test program and every program
        # a test starts. Leaks are looked for in all but the window tests: the window's
        # GL driver and platform plugin allocate in code that is unloaded before the leak
        # check runs, so their blocks cannot be told apart by name; the same model is
        # leak-checked by the unit tests. Full unwinding lets scripts/lsan.supp match
        # frames inside Qt, which is built without frame pointers.
        export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
        ASAN_OPTIONS=detect_stack_use_after_return=1:fast_unwind_on_malloc=0 \
            LSAN_OPTIONS=suppressions=$root/scripts/lsan.supp \
            ctest --test-dir build-asan --output-on-failure -j"$(nproc)" -LE gui ${CTEST_ARGS:-}
        ASAN_OPTIONS=detect_stack_use_after_return=1:detect_leaks=0 \
            ctest --test-dir build-asan --output-on-failure -L gui ${CTEST_ARGS:-}
        ;;
    tsan)
        cmake --preset tsan >/dev/null
        cmake --build build-tsan -j"$(nproc)" --target tst_serverinfo tst_desklink tst_probix
        TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 history_size=4 suppressions=$root/scripts/tsan.supp" \
            ctest --test-dir build-tsan --output-on-failure -R '^tst_(serverinfo|desklink|probix)$' ${CTEST_ARGS:-}
        ;;
    *)
        echo "unknown variant $variant (asan, tsan)" >&2
        exit 2
        ;;
    esac
done
