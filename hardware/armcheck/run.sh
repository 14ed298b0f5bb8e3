#!/bin/sh
# Cross-builds the standard-only probes for aarch64 and runs armcheck under
# qemu-user. Arguments: a scratch build folder and the test data folder.
# Exits 77 (skipped) when the cross compiler or qemu-user is not installed.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
out=$1
data=$2
if ! command -v aarch64-linux-gnu-g++ >/dev/null || ! command -v qemu-aarch64 >/dev/null; then
    echo "skipped: needs the Debian packages g++-aarch64-linux-gnu and qemu-user"
    exit 77
fi
mkdir -p "$out"
aarch64-linux-gnu-g++ -std=c++17 -O1 -Wall -Wextra -I"$here/.." -o "$out/armcheck" \
    "$here/armcheck.cpp" "$here/../cpu.cpp" "$here/../cputopology.cpp" "$here/../osinfo.cpp"
exec qemu-aarch64 -L /usr/aarch64-linux-gnu "$out/armcheck" "$data"
