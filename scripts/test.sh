#!/usr/bin/env bash
# Installs, builds and runs every test (unit, gui under Xvfb, net in namespaces).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
cd "$build"
ctest --output-on-failure -j"$(nproc)" "$@"
