#!/usr/bin/env bash
# Builds the Debian packages: probix_<version>_amd64.deb from the normal build
# (build/, or $BUILD_DIR) and probix_<version>_arm64.deb cross-built in its chroot
# (build-arm64/, see scripts/lib/arm64.sh). Each is checked with lintian (no
# errors) and its desktop entry with desktop-file-validate, then copied to dist/.
#
# Usage: scripts/package.sh [amd64] [arm64]        (both when none is named)
# The arm64 package needs root. The tools come from: bash scripts/setup.sh --packaging
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/lib/chroot.sh"
. "$root/scripts/lib/arm64.sh"
arches=("$@")
[ ${#arches[@]} -eq 0 ] && arches=(amd64 arm64)
mkdir -p "$root/dist"

# Lints the package $1 and copies it to dist/.
deliver() {
    local deb=$1 entry
    lintian --fail-on error "$deb"
    entry=$(mktemp --suffix=.desktop)
    dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/share/applications/probix.desktop >"$entry"
    desktop-file-validate "$entry"
    rm -f "$entry"
    cp "$deb" "$root/dist/"
    echo "package: dist/$(basename "$deb"), $(stat -c %s "$deb") bytes," \
        "Installed-Size $(dpkg-deb -f "$deb" Installed-Size) KiB"
}

if [ -z "${PROBIX_WORK:-}" ]; then
    for arch in "${arches[@]}"; do
        case $arch in
        amd64)
            build=${BUILD_DIR:-$root/build}
            bash "$root/scripts/build.sh"
            (cd "$build" && cpack) >"$build/cpack.log" 2>&1 || { cat "$build/cpack.log" >&2; exit 1; }
            deliver "$(ls -t "$build"/packages/probix_*_amd64.deb | head -n 1)"
            ;;
        arm64) ;;
        *) echo "usage: $0 [amd64] [arm64]" >&2; exit 2 ;;
        esac
    done
    case " ${arches[*]} " in
    *" arm64 "*) need_root; run_in_namespace arm64 ;;
    esac
    exit 0
fi

# Inside the namespace: the arm64 package.
arm64_chroot
arm64_build "$root"
chroot "$ARM64_CHROOT" sh -c 'cd "$1" && cpack' _ "$root/build-arm64" >"$root/build-arm64/cpack.log" 2>&1 ||
    { cat "$root/build-arm64/cpack.log" >&2; exit 1; }
deliver "$(ls -t "$root"/build-arm64/packages/probix_*_arm64.deb | head -n 1)"
