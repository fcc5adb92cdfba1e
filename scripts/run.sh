#!/usr/bin/env bash
# Starts Quindle on the default map; without a display it renders offscreen.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  export SDL_VIDEO_DRIVER=offscreen
fi
exec ./build/src/quindle "$@"
