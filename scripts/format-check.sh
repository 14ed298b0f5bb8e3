#!/usr/bin/env bash
# Checks every tracked C++ source and header against the committed .clang-format,
# names the files that differ and exits 1 when there is any. clang-format comes
# from scripts/setup.sh; `clang-format -i <file>` puts a file right.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if ! command -v clang-format >/dev/null; then
    echo "format-check: clang-format is missing (bash scripts/setup.sh installs it)" >&2
    exit 2
fi
files=0
deviating=()
while IFS= read -r -d '' file; do
    # Tracked but deleted in the working tree: nothing to check.
    [ -f "$file" ] || continue
    files=$((files + 1))
    clang-format --dry-run -Werror "$file" >/dev/null 2>&1 || deviating+=("$file")
done < <(git ls-files -z -- '*.cpp' '*.h')
if [ ${#deviating[@]} -gt 0 ]; then
    echo "format-check: ${#deviating[@]} of $files files differ from .clang-format:" >&2
    printf '  %s\n' "${deviating[@]}" >&2
    exit 1
fi
echo "format-check: $files files follow .clang-format"
