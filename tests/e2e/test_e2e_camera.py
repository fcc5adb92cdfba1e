#!/usr/bin/env python3
"""End to end on a real X server: orbit, pan and wheel zoom with their limits, the Rotate toggle,
drags that leave the window, the view keys, edge scrolling, the sky at a low pitch, the minimap and
the help and minimap keys.

Usage: test_e2e_camera.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import math
import sys
import time

import quindle_x11 as q
from quindle_x11 import H, W, wrap_deg

ORBIT_DEG_PER_PX, ZOOM_STEP, MAP_WORLD = 0.25, 20.0, 2048.0
TOGGLE = ((0.89 + 0.15 * 0.095) * W, (0.935 + 0.3 * 0.05) * H)  # the Rotate toggle's indicator square
MINIMAP = (8, 8, 216)  # top left corner and side: 0.3 of the height, 8 px from the corner


def lit_cyan(c): return c[2] > 180 and c[1] > 120 and c[2] > c[0] + 100
def darkish(c): return max(c) < 80
def sky(c): return c[2] > 150 and c[2] > c[0] + 40


def per_px(camera):
    return 2.0 * camera["distance"] * math.tan(math.radians(camera["fovDeg"]) / 2.0) / H


def orbit(s):
    """Alt + left drag: 0.25 degree per pixel, yaw wrapped into (-180, 180], pitch held within 8..84;
    with Alt the press starts no band, so no selection message follows."""
    messages, camera = len(s.messages()), s.state["camera"]
    yaw, pitch, last = camera["yawDeg"], camera["pitchDeg"], (100, 400)
    s.xdo("keydown", "alt")
    s.move(*last)
    s.xdo("mousedown", 1)
    # 1000 px right (250 degrees, across the 180 seam), then down past 84 and up past 8.
    for x, y in [(300, 400), (500, 400), (700, 400), (900, 400), (1100, 400), (1100, 500), (1100, 600),
                 (1100, 300), (1100, 100), (1100, 50)]:
        camera = s.move(x, y)["camera"]
        yaw = wrap_deg(yaw + (x - last[0]) * ORBIT_DEG_PER_PX)
        pitch = min(84.0, max(8.0, pitch + (y - last[1]) * ORBIT_DEG_PER_PX))
        last = (x, y)
        s.check_near(camera["yawDeg"], yaw, 1e-6, "yaw after an Alt-drag to %s" % (last,))
        s.check_near(camera["pitchDeg"], pitch, 1e-6, "pitch after an Alt-drag to %s" % (last,))
    s.xdo("mouseup", 1)
    s.xdo("keyup", "alt")
    s.check(pitch == 8.0, "pitch limits reached", 8.0, pitch)
    s.check_messages(messages, [], "orbit")


def pan_and_wheel(s):
    """Middle drag: the view follows the pointer by the world per pixel at the orbit centre. Over the
    map a wheel notch moves 8 % of the distance (at least ZoomStep), within the limits."""
    start = s.state["camera"]
    camera = s.drag(2, [(640, 400), (700, 380), (740, 350)])["camera"]
    s.check_near(camera["panX"], start["panX"] + 100 * per_px(start), 1e-6, "panX after a 100 px middle drag right")
    s.check_near(camera["panY"], start["panY"] + 50 * per_px(start), 1e-6, "panY after a 50 px middle drag up")
    expected, low, high = camera["distance"], camera["minDistance"], camera["maxDistance"]
    for button, notches in ((5, 30), (4, 2), (4, 80), (5, 1)):
        camera = s.click(640, 360, button, notches)["camera"]
        for _ in range(notches):
            step = max(0.08 * expected, ZOOM_STEP)
            expected = min(high, expected + step) if button == 5 else max(low, expected - step)
        s.check_near(camera["distance"], expected, 1e-6 * expected, "distance after %d notches of %d" % (notches, button))
    s.check(expected == low + max(0.08 * low, ZOOM_STEP), "zoom limits met", "one notch out of the closest", expected)


def rotate_toggle(s):
    """The toggle flips auto-rotation and shows it; the drawn yaw goes on from where it was, turning
    at most 6 degrees a second while the click and the snapshot take their frames."""
    for expected in (True, False):
        started, yaw = time.monotonic(), s.snapshot()["camera"]["yawDeg"]
        camera = s.click(*TOGGLE)["camera"]
        s.check(camera["autoRotate"] is expected, "autoRotate after a click on Rotate", expected, camera["autoRotate"])
        s.check_near(wrap_deg(camera["yawDeg"] - yaw), 0.0, 6.0 * (time.monotonic() - started) + 1e-6,
                     "drawn yaw with auto-rotation switched %s" % ("on" if expected else "off"))
        s.check_pixels(s.image(), [TOGGLE], lit_cyan if expected else darkish, "Rotate indicator, checked %s" % expected)


def leave_during_drags(s):
    """An orbit ends when the pointer leaves the window and does not resume on return; a pan goes on
    outside and ends where the button is let go."""
    start, below = s.xdo("key", "Home")["camera"], (640, H + 60)
    # SDL may take the first motion back inside as the entry alone.
    camera = s.drag(1, [(300, 300), (400, 300), below, (500, 300), (600, 300), (700, 300)], keys=["alt"])["camera"]
    s.check_near(camera["yawDeg"], wrap_deg(start["yawDeg"] + 100 * ORBIT_DEG_PER_PX), 1e-6, "yaw of an orbit that left")
    camera = s.drag(2, [(640, 400), (700, 400), below, (W + 80, 300), (740, 410), (760, 420)])["camera"]
    s.check_near(camera["panX"], start["panX"] + 120 * per_px(start), 1e-6, "panX of a pan that left and came back")
    s.check_near(camera["panY"], start["panY"] - 20 * per_px(start), 1e-6, "panY of a pan that left and came back")


def view_keys(s):
    """Arrows move the orbit centre along the view at up to 0.8 camera distances a second, Q and E
    turn at up to 90 degrees a second, Page Up and Page Down tilt to 8 and 84 (at 8 the sky fills
    the top of the view), + and - zoom by a wheel notch."""
    start = s.xdo("key", "Home")["camera"]
    for key, dx, dz, dyaw in (("Up", 0, -1, 0), ("Right", 1, 0, 0), ("Down", 0, 1, 0), ("e", 0, 0, 1), ("q", 0, 0, -1)):
        before = s.state["camera"]
        held_s = s.hold(key, 0.3)
        after = s.state["camera"]
        moved = (after["worldOffsetX"] - before["worldOffsetX"], after["worldOffsetZ"] - before["worldOffsetZ"])
        turned = wrap_deg(after["yawDeg"] - before["yawDeg"])
        along, across = moved[0] * dx + moved[1] * dz, moved[0] * dz - moved[1] * dx
        s.check(0.0 < along <= 0.8 * start["distance"] * held_s and abs(across) < 1e-6 if dx or dz else
                moved == (0, 0), "move of %s held %.2f s" % (key, held_s), "(%d, %d), 0.8 distances/s" % (dx, dz), moved)
        s.check(0.0 < turned * dyaw <= 90.0 * held_s if dyaw else turned == 0.0, "turn of " + key, dyaw, turned)
    for key, limit in (("Next", 84.0), ("Prior", 8.0)):
        s.xdo("keydown", key)
        s.wait_until(lambda st: st["camera"]["pitchDeg"] == limit, 5.0)
        s.check_near(s.xdo("keyup", key)["camera"]["pitchDeg"], limit, 0.0, "pitch after holding " + key)
    s.check_pixels(s.image(), [(0.45 * W, 0.03 * H), (0.55 * W, 0.03 * H)], sky, "sky above the horizon at pitch 8")
    for key, scale in (("equal", 0.92), ("minus", 1.08)):
        before = s.state["camera"]["distance"]
        s.check_near(s.xdo("key", key)["camera"]["distance"], before * scale, 1e-6 * before, "distance after " + key)


def edge_scroll(s):
    """Ctrl+E switches edge scrolling: on, a pointer resting on the top edge moves the view forward;
    off, it stays."""
    s.xdo("key", "Home")
    for switch in ("on", "off"):
        messages = len(s.messages())
        before = s.move(W / 2, H / 2) and s.xdo("key", "ctrl+e")["camera"]["worldOffsetZ"]
        s.check_messages(messages, ["Edge scrolling " + switch], "Ctrl+E")
        s.move(W / 2, 1)
        time.sleep(0.3)
        moved = s.move(W / 2, H / 2)["camera"]["worldOffsetZ"] - before
        s.check(moved < -1.0 if switch == "on" else moved == 0.0, "view with edge scrolling " + switch,
                "forward" if switch == "on" else "still", moved)


def minimap(s):
    """A click on the minimap moves the orbit centre there; a drag from it past its edge stops at the
    map's edge and starts no band."""
    x, y, side = MINIMAP
    camera, messages = s.click(x + 0.25 * side, y + 0.75 * side)["camera"], len(s.messages())
    s.check_near(camera["worldOffsetX"], 0.25 * MAP_WORLD, 1.5 * MAP_WORLD / side, "centre X after a minimap click")
    s.check_near(camera["worldOffsetZ"], 0.75 * MAP_WORLD, 1.5 * MAP_WORLD / side, "centre Z after a minimap click")
    state = s.drag(1, [(x + 0.3 * side, y + 0.3 * side), (x + 0.5 * side, y + 0.4 * side), (700, 500)])
    s.check_near(state["camera"]["worldOffsetX"], MAP_WORLD, 1.5 * MAP_WORLD / side, "centre X after a drag past it")
    s.check_messages(messages, [], "drag starting on the minimap")


def cream(c): return min(c) > 170 and c[0] > c[2] + 10


def panels(s):
    """F1 lays the list of controls over the middle of the view and lifts it again; M hides the
    minimap, leaving the dark ground beyond the map, and brings it back; F2 shows the frame counter
    above the status bar, F3 the effects panel; a pointer resting on Rotate gets its tooltip beside it."""
    s.xdo("key", "Home")
    middle = [(W * 0.5 + dx, H * 0.45 + dy) for dx in (-150, -75, 0, 75, 150) for dy in (-40, 0, 40)]
    # The median: a few points may land on the list's text, whose glyphs are bright.
    def brightness(): return sorted(sum(c) for c in (s.image().pixel(x, y) for x, y in middle))[len(middle) // 2]
    plain = brightness()
    for key, dimmed in (("F1", True), ("F1", False)):
        s.xdo("key", key)
        got = brightness()
        s.check(got < 0.6 * plain if dimmed else got > 0.75 * plain, "middle of the view after " + key,
                "dimmed" if dimmed else "as before (%.0f)" % plain, got)
    x, y, side = MINIMAP
    corner = [(x + side * f, y + side * g) for f in (0.3, 0.7) for g in (0.3, 0.7)]
    for hidden in (True, False):
        s.xdo("key", "m")
        shown = [c for c in (s.image().pixel(px, py) for px, py in corner) if not darkish(c)]
        s.check(len(shown) == (0 if hidden else 4), "minimap " + ("hidden" if hidden else "shown"),
                "dark corner" if hidden else "the map's picture", shown)
    counter = (6, H - 22 - 6)  # inside the counter's dark box, left of its text
    effects = [(W * f, (H - 22) * g) for f in (0.62, 0.79, 0.96) for g in (0.05, 0.19, 0.33)]
    for key, panel, points in (("F2", "frameStats", [counter]), ("F3", "effects", effects)):
        for _ in range(2):
            before_state, before = s.state["panels"][panel], s.image()
            before_pixels = [before.pixel(x, y) for x, y in points]
            s.xdo("key", key)
            image, shown = s.image(), s.state["panels"][panel]
            changed = sum(image.pixel(x, y) != c for (x, y), c in zip(points, before_pixels))
            s.check(shown != before_state and changed >= (len(points) + 1) // 2, key + " shows or hides " + panel,
                    "flipped from %s, pixels changed" % before_state, "%s, %d of %d changed" % (shown, changed, len(points)))
        if key == "F2":
            s.check_pixels(s.xdo("key", key) and s.image(), [counter], darkish, "frame counter's box")
            s.xdo("key", key)
    corner = [(TOGGLE[0] - 13, TOGGLE[1] - 12), (TOGGLE[0] - 13, TOGGLE[1] - 30)]  # right edge of the box
    s.move(*TOGGLE)
    s.wait_until(lambda st: st["panels"]["tooltip"] is not None, 5.0)
    s.check(s.state["panels"]["tooltip"] == "Rotate: turn the camera slowly", "tooltip on Rotate",
            "its action", s.state["panels"]["tooltip"])
    s.check_pixels(s.image(), corner, cream, "tooltip box above and left of the pointer")
    s.check(s.move(W / 2, H / 2)["panels"]["tooltip"] is None, "tooltip after leaving", None, s.state["panels"]["tooltip"])


def main():
    return q.run("camera", [orbit, pan_and_wheel, rotate_toggle, leave_during_drags, view_keys, edge_scroll, minimap,
                            panels])


if __name__ == "__main__":
    sys.exit(main())
