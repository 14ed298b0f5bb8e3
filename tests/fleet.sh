#!/bin/sh
# The fleet playbook run by the real ansible-playbook against three local hosts:
# one whose management server answers, one with no server configured, and one
# whose probix-check is missing; then the CSV it wrote is read back.
# Arguments: probix-check, probix_testserver, the playbook.
# Exits 77 (skipped) where ansible-core is not installed.
set -eu
check=$1
server=$2
playbook=$3
if ! command -v ansible-playbook >/dev/null; then
    echo "skipped: needs the Debian package ansible-core"
    exit 77
fi
work=$(mktemp -d)
pid=
trap '[ -z "$pid" ] || kill "$pid"; rm -rf "$work"' EXIT

# probix-check looks beside itself for config/grpcserver.pem, so it gets a folder
# of its own holding the test's certificate.
mkdir -p "$work/bin/config" "$work/answering/Documents/Tessera" "$work/unconfigured"
cp "$check" "$work/bin/probix-check"
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=probix-test -addext subjectAltName=IP:127.0.0.1 \
    -keyout "$work/server.key" -out "$work/server.pem" 2>/dev/null
cp "$work/server.pem" "$work/bin/config/grpcserver.pem"
"$server" "$work" 0 >"$work/server.out" &
pid=$!
for _ in $(seq 100); do
    port=$(sed -n 's/^listening on 127.0.0.1://p' "$work/server.out")
    [ -n "$port" ] && break
    sleep 0.1
done
printf '[SERVERINFO]\nCURSERVERIP=127.0.0.1\nSERVERS\\size=1\nSERVERS\\1\\SERVERIP=127.0.0.1\nSERVERS\\1\\SERVERPORT=%s\n' \
    "$port" >"$work/answering/Documents/Tessera/settings.ini"

cat >"$work/inventory.yml" <<INVENTORY
all:
  vars:
    ansible_connection: local
    ansible_python_interpreter: $(command -v python3)
    probix_check: $work/bin/probix-check
  hosts:
    answering:
      probix_environment: {HOME: $work/answering}
    unconfigured:
      probix_environment: {HOME: $work/unconfigured}
    broken:
      probix_check: $work/bin/absent
INVENTORY

rc=0
ANSIBLE_HOME=$work/ansible ANSIBLE_NOCOLOR=1 ANSIBLE_RETRY_FILES_ENABLED=0 \
    ansible-playbook -i "$work/inventory.yml" "$playbook" -e "probix_csv=$work/fleet.csv" >"$work/play.log" 2>&1 ||
    rc=$?
# 2: a host failed, which "broken" must.
if [ "$rc" -ne 2 ]; then
    cat "$work/play.log"
    echo "FAIL: ansible-playbook exited $rc, not 2"
    exit 1
fi
# What probix-check itself says on the answering host, to hold the CSV against.
HOME=$work/answering "$work/bin/probix-check" --json >"$work/answering.json" 2>/dev/null || true
python3 - "$work/fleet.csv" "$work/answering.json" <<'PYTHON'
import csv, json, sys
rows = list(csv.reader(open(sys.argv[1], newline="")))
direct = json.load(open(sys.argv[2]))
assert rows[0] == ["host", "suitable", "cpu", "memory", "server", "os"], rows[0]
hosts = {row[0]: row for row in rows[1:]}
assert sorted(hosts) == ["answering", "broken", "unconfigured"], sorted(hosts)
answering = hosts["answering"]
assert answering[1:] == [str(direct["suitable"]).lower(), direct["cpu"]["ghz"], direct["memory"]["gb"],
                         "answered", direct["os"]["label"]], (answering, direct)
assert hosts["unconfigured"][1] == "false" and hosts["unconfigured"][4] == "not answered", hosts["unconfigured"]
assert hosts["broken"] == ["broken", "error", "", "", "", ""], hosts["broken"]
print("fleet CSV:", rows)
PYTHON
