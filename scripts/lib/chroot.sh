# shellcheck shell=bash
# Shared by the package, install and arm64 scripts: bookworm folders made with
# debootstrap and used as chroots. Source it; it defines functions only.
#
# Every chroot is entered from a private mount and PID namespace (run_in_namespace),
# so the mounts made for it vanish with the namespace, also when a script fails or
# is killed, and no process inside can signal anything outside. Downloads are kept
# in $PROBIX_CACHE (default ~/.cache/probix), outside the clone; without it all
# still works, only slower.

PROBIX_CACHE=${PROBIX_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/probix}
PROBIX_MIRROR=${PROBIX_MIRROR:-http://deb.debian.org/debian}
PROBIX_SECURITY_MIRROR=${PROBIX_SECURITY_MIRROR:-http://deb.debian.org/debian-security}

need_root() {
    if [ "$(id -u)" -ne 0 ]; then
        echo "$(basename "$0"): needs root (debootstrap, chroot and mounts)" >&2
        exit 1
    fi
}

# Runs the calling script again inside a private mount and PID namespace, with
# PROBIX_WORK set to a scratch folder under /var/tmp, and exits with its status
# after removing that folder: its mounts died with the namespace, so nothing
# outside can be reached through them. The inner run gets an X socket folder of its
# own, so its X server is reachable from its chroots and nobody else's is.
# Use as the first thing a script does: [ -n "${PROBIX_WORK:-}" ] || run_in_namespace "$@"
run_in_namespace() {
    local rc=0 child
    PROBIX_WORK=$(mktemp -d /var/tmp/probix.XXXXXX)
    export PROBIX_WORK
    trap 'remove_chroot "$PROBIX_WORK"' EXIT
    unshare --mount --pid --fork --kill-child --mount-proc --propagation private \
        bash -c 'mkdir -p /tmp/.X11-unix && mount -t tmpfs -o mode=1777 tmpfs /tmp/.X11-unix &&
                 exec bash "$0" "$@"' "$0" "$@" &
    child=$!
    # Stopped from outside, the namespace goes down whole (unshare holds TERM back;
    # KILL takes it and --kill-child takes the rest), then the folder is removed.
    # Seen from here it holds no mounts, so removing it reaches only its own files.
    trap 'kill -KILL "$child" 2>/dev/null' TERM INT HUP
    wait "$child" || rc=$?
    while kill -0 "$child" 2>/dev/null; do
        wait "$child" || rc=$?
    done
    exit "$rc"
}

# debootstrap --variant=minbase of bookworm into $1 (which must not exist yet or be
# empty), with the updates and security suites in its sources and, when $2 is
# "backports", bookworm-backports too.
make_bookworm() {
    local dir=$1 extra=${2:-}
    mkdir -p "$PROBIX_CACHE/debs" "$PROBIX_CACHE/archives/partial"
    debootstrap --variant=minbase --cache-dir="$PROBIX_CACHE/debs" bookworm "$dir" "$PROBIX_MIRROR" \
        >"$dir.debootstrap.log" 2>&1 || { tail -n 30 "$dir.debootstrap.log" >&2; return 1; }
    rm -f "$dir.debootstrap.log"
    {
        echo "deb $PROBIX_MIRROR bookworm main"
        echo "deb $PROBIX_MIRROR bookworm-updates main"
        echo "deb $PROBIX_SECURITY_MIRROR bookworm-security main"
        if [ "$extra" = backports ]; then echo "deb $PROBIX_MIRROR bookworm-backports main"; fi
    } >"$dir/etc/apt/sources.list"
    cat >"$dir/etc/apt/apt.conf.d/90probix" <<'CONF'
APT::Sandbox::User "root";
APT::Install-Recommends "false";
Acquire::Retries "3";
Dpkg::Use-Pty "0";
CONF
}

# Mounts what programs in the chroot $1 need. Only call inside run_in_namespace.
mount_chroot() {
    local dir=$1
    mount -t proc proc "$dir/proc"
    mount -t sysfs -o ro sysfs "$dir/sys"
    mount --bind /dev "$dir/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$dir/dev/shm"
    mkdir -p "$dir/var/cache/apt/archives" "$dir/tmp/.X11-unix"
    mount --bind "$PROBIX_CACHE/archives" "$dir/var/cache/apt/archives"
    # The X server of start_x runs outside the chroot; its socket folder is shared.
    mount --bind /tmp/.X11-unix "$dir/tmp/.X11-unix"
    cp /etc/resolv.conf "$dir/etc/resolv.conf" 2>/dev/null || true
}

# apt-get inside the chroot $1, quietly, with the rest of the arguments.
chroot_apt() {
    local dir=$1
    shift
    DEBIAN_FRONTEND=noninteractive chroot "$dir" apt-get -q -y "$@" >"$dir/tmp/apt.log" 2>&1 ||
        { tail -n 40 "$dir/tmp/apt.log" >&2; return 1; }
}

# Starts an X server for windows in chroots and sets DISPLAY. Its socket folder is
# bind-mounted into each chroot by mount_chroot; it is this namespace's own, so the
# server runs without access control.
start_x() {
    local fifo=$PROBIX_WORK/displayfd n=
    mkfifo "$fifo"
    Xvfb -displayfd 3 -nolisten tcp -ac -screen 0 1024x768x24 3>"$fifo" >"$PROBIX_WORK/xvfb.log" 2>&1 &
    read -r -t 20 n <"$fifo" || true
    rm -f "$fifo"
    if [ -z "$n" ]; then
        echo "Xvfb did not start:" >&2
        cat "$PROBIX_WORK/xvfb.log" >&2
        return 1
    fi
    export DISPLAY=":$n"
}

# Removes a chroot folder; refuses while anything is mounted below it.
remove_chroot() {
    local dir=$1
    [ -n "$dir" ] && [ -d "$dir" ] || return 0
    if grep -q " ${dir}[/ ]" /proc/self/mounts; then
        echo "not removing $dir: still mounted" >&2
        return 1
    fi
    rm -rf --one-file-system "$dir"
}
