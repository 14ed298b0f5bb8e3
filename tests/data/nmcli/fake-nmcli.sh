#!/bin/sh
# Fake nmcli: "device show NAME" and "con show NAME" print the answers linked next to it
# as "device" and "con"; only the connection "Wired connection 1" is known.
[ "$1" = con ] && [ "$3" != 'Wired connection 1' ] && exit 10
exec cat "${0%/*}/$1"
