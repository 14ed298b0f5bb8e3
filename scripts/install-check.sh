#!/usr/bin/env bash
# Proves a probix package on a bare terminal: installs it with apt into a fresh
# minimal bookworm folder, runs probix-check there and starts the window as a
# normal user (English, Chinese, and on a read-only root), reading its rows from
# screenshots; checks that the sudoers rule allows the two firmware queries and
# nothing else; purges the package and checks that nothing of it is left while a
# certificate the administrator put in /etc/probix stays.
#
# Usage: scripts/install-check.sh probix_<version>_<arch>.deb [output folder]
# Screenshots and the log go to the output folder (default build/install-check).
# Needs root; changes nothing outside its scratch folder (see scripts/lib/chroot.sh).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/lib/chroot.sh"
. "$root/scripts/lib/window.sh"
need_root
[ $# -ge 1 ] && [ -f "$1" ] || { echo "usage: $0 probix_<version>_<arch>.deb [output folder]" >&2; exit 2; }
[ -n "${PROBIX_WORK:-}" ] || run_in_namespace "$(realpath "$1")" "$(realpath -m "${2:-$root/build/install-check}")"

deb=$1
out=$2
sys=$PROBIX_WORK/bare
user=terminal
mkdir -p "$out"
failures=0
pass() { echo "ok   $*"; }
fail() { echo "FAIL $*"; failures=$((failures + 1)); }
check() {
    local what=$1
    shift
    local said
    if said=$("$@" 2>&1); then pass "$what"; else fail "$what"; [ -z "$said" ] || sed 's/^/     /' <<<"$said"; fi
}
as_user() { chroot "$1" runuser -u "$user" -- "${@:2}"; }

seconds=$(date +%s)
make_bookworm "$sys"
mount_chroot "$sys"
echo "bare system made in $(($(date +%s) - seconds)) s"
chroot_apt "$sys" update
cp "$deb" "$sys/tmp/"
seconds=$(date +%s)
chroot_apt "$sys" install --no-install-recommends "/tmp/$(basename "$deb")"
echo "installed with its dependencies in $(($(date +%s) - seconds)) s:" \
    "$(grep -o '[0-9.,]* [kMG]B of additional disk space' "$sys/tmp/apt.log"), of which" \
    "$(chroot "$sys" dpkg-query -W -f='${Installed-Size}' probix) KiB for probix itself"
chroot "$sys" useradd -m -s /bin/bash "$user"

echo "== the sudoers rule"
check "visudo accepts /etc/sudoers.d/probix" chroot "$sys" visudo -c -f /etc/sudoers.d/probix
check "/etc/sudoers.d/probix has mode 0440" test "$(stat -c %a "$sys/etc/sudoers.d/probix")" = 440
for allowed in "dmidecode -t memory" "dmidecode -t 4"; do
    # shellcheck disable=SC2086
    check "$user may run sudo -n $allowed" as_user "$sys" sudo -n -l $allowed
done
for denied in "dmidecode -t 1" "dmidecode" "dmidecode -t memory -q" "id" "sh -c id"; do
    # shellcheck disable=SC2086
    if as_user "$sys" sudo -n -l $denied >/dev/null 2>&1; then fail "$user may not run sudo -n $denied"; else pass "$user may not run sudo -n $denied"; fi
done
if as_user "$sys" sudo -n dmidecode -t memory 2>&1 | grep -qi 'password'; then
    fail "sudo -n dmidecode -t memory runs without a password"
else
    pass "sudo -n dmidecode -t memory runs without a password"
fi

echo "== probix-check, as $user, no server configured"
rc=0
as_user "$sys" env -i HOME="/home/$user" LANG=C.UTF-8 PATH=/usr/bin:/bin probix-check --json \
    >"$out/check.json" 2>"$out/check.log" || rc=$?
check "probix-check --json exits 1: no server configured, so not suitable" test "$rc" = 1
check "probix-check --json prints its keys" python3 -c '
import json, sys
record = json.load(open(sys.argv[1]))
assert sorted(record) == ["cpu", "disks", "memory", "os", "server", "suitable", "version"], sorted(record)
assert record["server"]["answered"] is False and record["suitable"] is False
' "$out/check.json"

# The fleet playbook shipped with the package, run by this machine's ansible-playbook
# against the bare system as one host whose probix-check is the installed one.
cat >"$PROBIX_WORK/probix-check" <<WRAPPER
#!/bin/sh
exec chroot "$sys" runuser -u "$user" -- env -i HOME="/home/$user" LANG=C.UTF-8 PATH=/usr/bin:/bin probix-check "\$@"
WRAPPER
chmod +x "$PROBIX_WORK/probix-check"
printf 'terminal ansible_connection=local ansible_python_interpreter=%s probix_check=%s\n' \
    "$(command -v python3)" "$PROBIX_WORK/probix-check" >"$PROBIX_WORK/inventory.ini"
ANSIBLE_HOME=$PROBIX_WORK/ansible ANSIBLE_NOCOLOR=1 ansible-playbook -i "$PROBIX_WORK/inventory.ini" \
    "$sys/usr/share/doc/probix/examples/probix-check.yml" -e "probix_csv=$out/fleet.csv" >"$out/fleet.log" 2>&1 || true
check "the shipped playbook writes the bare terminal's CSV row" \
    grep -q '^terminal,false,[^,]*,[^,]*,not answered,"' "$out/fleet.csv"

# Starts the installed window as the normal user in the chroot $1 with the
# client's language $2, screenshots it to $3 and prints the screenshot's text.
# Fails when no window of the expected title and size comes up or it dies.
show_window() {
    local dir=$1 language=$2 shot=$3 title wid pid text
    title=$([ "$language" = English ] && echo "Hardware detection" || echo "硬件检测")
    mkdir -p "$sys/home/$user/Documents/Tessera"
    printf '[System]\nLanguage=%s\n' "$language" >"$sys/home/$user/Documents/Tessera/language_installed.ini"
    chroot "$sys" chown -R "$user:" "/home/$user/Documents"
    chroot "$dir" runuser -u "$user" -- env -i HOME="/home/$user" DISPLAY="$DISPLAY" LANG=C.UTF-8 \
        PATH=/usr/local/bin:/usr/bin:/bin probix >"$shot.log" 2>&1 &
    pid=$!
    if ! wid=$(wait_window "^$title\$" "$pid" 30); then
        echo "no window titled \"$title\"; the program said:" >&2
        tail -n 20 "$shot.log" >&2
        kill "$pid" 2>/dev/null
        return 1
    fi
    if [ "$language" = English ]; then
        text=$(read_window "$wid" "$shot" eng english_rows 3) || return 1
    else
        text=$(read_window "$wid" "$shot" chi_sim+eng chinese_title 3) || return 1
    fi
    local size
    size=$(xdotool getwindowgeometry "$wid" | awk '/Geometry/ { print $2 }')
    if ! kill "$pid" 2>/dev/null; then
        echo "the window died after its screenshot" >&2
        return 1
    fi
    wait "$pid" 2>/dev/null || true
    [ "$size" = 740x570 ] || { echo "window is $size, not 740x570" >&2; return 1; }
    printf '%s\n' "$text" >"$shot.txt"
    printf '%s\n' "$text"
}

# Succeeds when the text $1 holds the Chinese title: boxes instead of glyphs (a
# missing CJK font) would not read as it.
chinese_title() {
    grep -q '硬件检测' <<<"$1"
}

# The figure of the Memory row: the first "N GB" after the row's heading.
memory_figure() {
    awk '/RAM/ { found = 1; next } found && match($0, /[0-9.]+ ?GB/) { print substr($0, RSTART, RLENGTH); exit }' <<<"$1"
}

start_x
echo "== the window, as $user, without certificate or agent files"
if text=$(show_window "$sys" English "$out/installed-en.png"); then
    check "English window shows its five rows" english_rows "$text"
    english_rows "$text" 2>/dev/null || printf 'the window read as:\n%s\n' "$text" | sed 's/^/     /'
    memory=$(memory_figure "$text")
    echo "     Memory row: ${memory:-unread}"
    if chroot "$sys" dmidecode -t memory 2>/dev/null | grep -qE 'Size: [0-9]+ [MG]B'; then
        check "Memory row is not 0 GB on a machine with a firmware memory table" test "${memory// /}" != 0GB
    else
        echo "     (this machine has no firmware memory table: 0 GB is its right answer)"
    fi
else
    fail "English window comes up"
fi
if text=$(show_window "$sys" "Simplified Chinese" "$out/installed-zh.png"); then
    check "Chinese window shows its title in Chinese" chinese_title "$text"
    check "Chinese window shows the CPU row" grep -q 'CPU' <<<"$text"
else
    fail "Chinese window comes up"
fi

echo "== the window on a read-only root"
ro=$PROBIX_WORK/readonly
mkdir -p "$ro"
mount --rbind "$sys" "$ro"
mount -o remount,bind,ro "$ro"
if text=$(show_window "$ro" English "$out/installed-ro.png"); then
    check "read-only root: the window shows its five rows" english_rows "$text"
else
    fail "read-only root: the window comes up"
fi
umount -R "$ro"

echo "== removal"
check "the certificate folder is reached through /usr/lib/probix/config" \
    test "$(chroot "$sys" readlink -f /usr/lib/probix/config)" = /etc/probix
openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=probix -keyout /dev/null \
    -out "$sys/etc/probix/grpcserver.pem" >/dev/null 2>&1
cp "$sys/etc/probix/grpcserver.pem" "$PROBIX_WORK/admin.pem"
check "the administrator's certificate is readable by the program as $user" \
    as_user "$sys" test -r /usr/lib/probix/config/grpcserver.pem
chroot "$sys" dpkg-query -L probix >"$PROBIX_WORK/files"
chroot_apt "$sys" purge probix
check "dpkg knows probix no more" test "$(chroot "$sys" dpkg-query -W -f='${db:Status-Status}' probix 2>/dev/null || echo not-installed)" = not-installed
left=
while read -r path; do
    [ -e "$sys$path" ] || [ -L "$sys$path" ] || continue
    # Folders that other packages own stay, and so does the one holding the administrator's file.
    [ "$path" = /etc/probix ] && continue
    [ -d "$sys$path" ] && chroot "$sys" dpkg-query -S "$path" >/dev/null 2>&1 && continue
    left="$left $path"
done <"$PROBIX_WORK/files"
if [ -z "$left" ]; then pass "purge leaves nothing of the package"; else fail "purge leaves nothing of the package; left:$left"; fi
check "purge keeps the administrator's certificate" cmp "$PROBIX_WORK/admin.pem" "$sys/etc/probix/grpcserver.pem"
check "/etc/probix holds nothing but that certificate" test "$(ls -A "$sys/etc/probix")" = grpcserver.pem

echo "screenshots: $out"
if [ "$failures" -ne 0 ]; then
    echo "install check: $failures failed"
    exit 1
fi
echo "install check: all passed"
