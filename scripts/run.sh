#!/usr/bin/env bash
# Starts Quindle on the default map (extra arguments go to quindle, e.g. --map FILE).
# Without a display it renders a few hundred frames offscreen and writes quindle.png.
set -euo pipefail
cd "$(dirname "$0")/.."
binary=./build/src/quindle
[ -x "$binary" ] || { echo "run: $binary is missing; run 'make run' to build it" >&2; exit 1; }
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "run: no display (neither DISPLAY nor WAYLAND_DISPLAY is set): rendering offscreen"
  SDL_VIDEO_DRIVER=offscreen "$binary" --frames 300 --screenshot quindle.png "$@"
  echo "run: the last frame is in $(pwd)/quindle.png"
else
  exec "$binary" "$@"
fi
