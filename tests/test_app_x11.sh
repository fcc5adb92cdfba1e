#!/usr/bin/env bash
# End to end on a real X server (Xvfb) with a real pointer and keyboard (xdotool): wheel zoom, an
# Alt-drag orbit, a click on the Rotate toggle and Ctrl+Q, then the state file must show all four.
# Exits 77 (skipped) when Xvfb or xdotool is missing.
set -euo pipefail
quindle=$1
command -v Xvfb >/dev/null && command -v xdotool >/dev/null || exit 77
work=$(mktemp -d)
display=":$((200 + $$ % 500))"
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
quindle_pid=
cleanup() {
  [ -n "$quindle_pid" ] && kill "$quindle_pid" 2>/dev/null || true
  kill "$xvfb" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

"$quindle" --frames 1000000 --size 800x600 --state-out "$work/state.json" &
quindle_pid=$!
window=$(timeout 20 xdotool search --sync --name '^Quindle - ' | head -n1)
xdotool windowfocus --sync "$window" 2>/dev/null || true
# Each step waits long enough for a frame even on a loaded software rasteriser: events of one
# frame are read together, and an Alt released in the same frame as its press would be lost.
step() { xdotool "$@"; sleep 0.6; }
sleep 1
step mousemove --window "$window" 400 300
for _ in 1 2 3; do step click 4; done                        # wheel up: zoom in three notches
step keydown alt mousedown 1                                  # Alt + left drag: orbit
for x in 420 440 460 480; do step mousemove --window "$window" "$x" 300; done
step mouseup 1 keyup alt
step mousemove --window "$window" 750 572 click 1             # the Rotate toggle (bottom right)
step key ctrl+q
timeout 20 tail --pid="$quindle_pid" -f /dev/null
wait "$quindle_pid"
quindle_pid=

python3 - "$work/state.json" <<'PY'
import json, sys
state = json.load(open(sys.argv[1]))
camera = state["camera"]
problems = []
# The default map frames at 2966.59; three wheel notches over the map take 8 % each.
if not abs(camera["distance"] - 2966.585625 * 0.92 ** 3) < 1.0:
    problems.append("distance %r after three wheel notches" % camera["distance"])
# 80 pixels to the right at 0.25 degrees per pixel; the Rotate toggle then turns the drawn yaw
# on from there at 6 degrees a second until the quit, a few seconds later at most.
if not 20.0 - 1e-6 <= camera["yawDeg"] <= 20.0 + 6.0 * 5:
    problems.append("yaw %r after an 80 px Alt-drag" % camera["yawDeg"])
if camera["autoRotate"] is not True:
    problems.append("the Rotate toggle did not turn auto-rotation on")
if problems:
    sys.exit("; ".join(problems))
PY
