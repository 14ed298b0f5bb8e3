# shellcheck shell=bash
# Shared by scripts/package.sh and scripts/arm64-test.sh: a bookworm chroot that
# cross-builds for arm64 and runs the result under qemu-user, and the build in it.
# Source after chroot.sh, inside run_in_namespace.
#
# The chroot is kept in the cache and made again when the package list below
# changes. arm64 is added as a foreign architecture inside it, never on the machine.
# qemu-user comes from bookworm-backports: bookworm's own 7.2 rejects
# clone(CLONE_PIDFD), after which Qt's QProcess holds -1 as its child and kills
# every process it may signal; the namespace keeps even that inside.

ARM64_HOST_PACKAGES="cmake make pkg-config file dpkg-dev crossbuild-essential-arm64
 protobuf-compiler protobuf-compiler-grpc qtbase5-dev-tools qttools5-dev-tools qtdeclarative5-dev-tools
 openssl procps lsb-release fonts-noto-cjk"
ARM64_TARGET_PACKAGES="qtbase5-dev qtdeclarative5-dev qtquickcontrols2-5-dev qttools5-dev
 libgrpc++-dev libprotobuf-dev libqt5svg5 libgl1-mesa-dri
 qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-layouts qml-module-qtquick-controls2
 qml-module-qtquick-templates2 qml-module-qtquick-dialogs qml-module-qtgraphicaleffects"
ARM64_CHROOT=$PROBIX_CACHE/arm64-build

# Makes the chroot unless a complete one with the same package list is there.
arm64_chroot() {
    local want have target="" begun=$SECONDS
    want=$(echo "$ARM64_HOST_PACKAGES $ARM64_TARGET_PACKAGES qemu-user" | md5sum | cut -c1-32)
    have=$(cat "$ARM64_CHROOT.done" 2>/dev/null || true)
    if [ "$want" = "$have" ] && [ -d "$ARM64_CHROOT" ]; then
        mount_chroot "$ARM64_CHROOT"
        return 0
    fi
    echo "making the arm64 build chroot in $ARM64_CHROOT"
    rm -f "$ARM64_CHROOT.done"
    remove_chroot "$ARM64_CHROOT"
    make_bookworm "$ARM64_CHROOT" backports
    mount_chroot "$ARM64_CHROOT"
    chroot "$ARM64_CHROOT" dpkg --add-architecture arm64
    chroot_apt "$ARM64_CHROOT" update
    for package in $ARM64_TARGET_PACKAGES; do target="$target $package:arm64"; done
    # shellcheck disable=SC2086
    chroot_apt "$ARM64_CHROOT" install $ARM64_HOST_PACKAGES $target
    chroot_apt "$ARM64_CHROOT" install -t bookworm-backports qemu-user
    echo "$want" >"$ARM64_CHROOT.done"
    echo "arm64 chroot made in $((SECONDS - begun)) s"
}

# Cross-builds the project into $root/build-arm64 inside the chroot; the clone is
# bind-mounted at its own path, so the build folder is the same seen from either side.
arm64_build() {
    local root=$1 begun=$SECONDS
    mkdir -p "$ARM64_CHROOT$root" "$root/build-arm64"
    mount --bind "$root" "$ARM64_CHROOT$root"
    chroot "$ARM64_CHROOT" cmake -S "$root" -B "$root/build-arm64" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_TOOLCHAIN_FILE="$root/packaging/aarch64-linux-gnu.cmake" >"$root/build-arm64/configure.log" 2>&1 ||
        { tail -n 40 "$root/build-arm64/configure.log" >&2; return 1; }
    chroot "$ARM64_CHROOT" cmake --build "$root/build-arm64" -j"$(nproc)"
    echo "arm64 build done in $((SECONDS - begun)) s"
}
