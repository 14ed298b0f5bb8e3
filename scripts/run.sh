#!/usr/bin/env bash
# Installs, builds and starts the window. Without a display it runs under Xvfb
# for a few seconds and saves what a person would see to build/screenshot.png.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh"
if [ -n "${DISPLAY:-}" ]; then
  exec "$build/probix"
fi
export QSG_RENDER_LOOP=basic
xvfb-run -a -s "-screen 0 1024x768x24" bash -c '
  "$1" & pid=$!
  sleep 6
  import -window root -crop 740x570+0+0 "$2"
  kill $pid; wait $pid 2>/dev/null || true' _ "$build/probix" "$build/screenshot.png"
echo "screenshot: $build/screenshot.png"
