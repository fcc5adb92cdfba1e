#!/usr/bin/env python3
"""End to end on a real X server: the on-screen panels where they belong, camera orbit, pan and
wheel zoom with their limits, every navigation button pressed once and one held, the Rotate toggle,
the effects presets, and the pointer leaving the window in the middle of a drag.

Usage: test_e2e_camera.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import math
import sys
import time

import quindle_x11 as q

W, H = 1280, 720
ORBIT_DEG_PER_PX = 0.25
ZOOM_STEP = 20.0
MOVE_DISTANCES_PER_S, TURN_DEG_PER_S = 0.8, 90.0
NAV_ZOOM_RATE, NAV_ROTATE_DEG, NAV_PAN_SPEED, NAV_HOLD_RATE = 5.0, 5.0, 0.08, 6.0

# The widget: 0.18 of the width (the smallest legible size) with a 0.07 margin, bottom right, so
# it ends above the Rotate toggle.
NAV_X1, NAV_X2 = 0.75, 0.93
NAV_Y1, NAV_Y2 = 0.93 - 1.55 * 0.18, 0.93
NAV_BUTTONS = {  # code: (u1, v1, u2, v2) in the panel
    1: (0.04, 0.04, 0.30, 0.20), 3: (0.34, 0.04, 0.66, 0.20), 2: (0.70, 0.04, 0.96, 0.20),
    4: (0.43, 0.26, 0.57, 0.37), 6: (0.27, 0.38, 0.41, 0.49), 7: (0.59, 0.38, 0.73, 0.49),
    5: (0.43, 0.50, 0.57, 0.61), 8: (0.43, 0.62, 0.57, 0.73), 10: (0.27, 0.74, 0.41, 0.85),
    11: (0.59, 0.74, 0.73, 0.85), 9: (0.43, 0.86, 0.57, 0.97)}
ROTATE_TOGGLE = (0.89, 0.935, 0.985, 0.985)  # viewport-local
EFFECTS_PANEL = (0.6, 0.02, 0.98, 0.36)
STATUS_BAR_PX = 22


def nav_point(code, fu=0.5, fv=0.5):
    """Window pixel at fraction (fu, fv) of a navigation button."""
    u1, v1, u2, v2 = NAV_BUTTONS[code]
    u, v = u1 + fu * (u2 - u1), v1 + fv * (v2 - v1)
    return (NAV_X1 + u * (NAV_X2 - NAV_X1)) * W, (NAV_Y1 + v * (NAV_Y2 - NAV_Y1)) * H


def toggle_indicator_point():
    """Middle of the toggle's indicator square."""
    x1, y1, x2, _ = ROTATE_TOGGLE
    return (x1 + (0.06 + 0.09) * (x2 - x1)) * W, (y1 + 0.3 * (ROTATE_TOGGLE[3] - y1)) * H


def preset_point(button, dx_px=14.0):
    """A pixel inside effects preset button 0 (Low), 1 (Medium) or 2 (High), clear of its text."""
    left, right, top = 0.2, 0.96, 0.96  # the panel in global units
    width = (right - left - 0.04) / 3.0
    gx = left + 0.012 + button * (width + 0.006)
    return (gx + 1.0) * 0.5 * W + dx_px, (1.0 - (top - 0.08)) * 0.5 * H


def wrap_deg(a):
    r = math.fmod(a, 360.0)
    return r - 360.0 if r > 180.0 else r + 360.0 if r <= -180.0 else r


def is_purple(c):
    return c[2] > c[0] + 40 and c[2] > c[1] + 80


def is_orange(c):
    return c[0] > c[2] + 100 and c[0] > c[1] + 40


def is_blue(c):
    return c[2] > c[0] + 100


def is_lit_cyan(c):
    return c[2] > 180 and c[1] > 120 and c[2] > c[0] + 100


def is_dark(c, limit=60):
    return max(c) < limit


def check_pixels(s, image, points, test, what):
    got = [image.pixel(x, y) for x, y in points]
    s.check(all(test(c) for c in got), "screenshot: " + what, test.__name__.replace("_", " "), got)


def layout(s):
    """Panels at their places, colours sampled away from text and glyphs."""
    image = s.image()
    state = s.state
    s.check(state["statusMessages"][-1].startswith("F1: controls | Map Default: "), "first message", "'F1: controls | Map Default: ...'",
            state["statusMessages"])
    s.check(state["effects"] == {"quality": 1, "scale": 0.75}, "starting preset", "Medium", state["effects"])
    for codes, test in (((1, 2), is_purple), ((4, 5, 6, 7), is_orange), ((8, 9, 10, 11), is_blue)):
        check_pixels(s, image, [nav_point(c, 0.2, 0.25) for c in codes], test, "faces of buttons %s" % (codes,))
    check_pixels(s, image, [nav_point(3, 0.1, 0.3)], lambda c: abs(c[0] - c[2]) < 40 and c[0] > 60,
                 "grey face of the reset button")
    # Between the buttons only the translucent dark panel covers the map.
    check_pixels(s, image, [nav_point(6, 0.5, -0.6), nav_point(1, 0.5, 1.6)], is_dark, "widget panel")
    check_pixels(s, image, [toggle_indicator_point()], lambda c: is_dark(c, 80), "unchecked Rotate indicator")
    check_pixels(s, image, [(0.8 * W, 0.28 * H), (0.97 * W, 0.34 * H)], is_dark, "effects panel background")
    check_pixels(s, image, [preset_point(1), preset_point(1, 60)], is_lit_cyan, "active Medium preset")
    check_pixels(s, image, [preset_point(0), preset_point(2)], lambda c: not is_lit_cyan(c),
                 "inactive Low and High presets")
    check_pixels(s, image, [(0.5 * W, H - 3), (0.75 * W, H - 12), (0.86 * W, H - 6)], is_dark, "status bar")
    # Above the status bar the map shows: lit terrain, not the bar's near-black.
    check_pixels(s, image, [(0.3 * W, 0.5 * H)], lambda c: max(c) > 60, "terrain in the middle")


def orbit(s):
    """Alt + left drag: 0.25 degree per pixel, yaw wraps past 180, pitch held within 8..84; with Alt
    the press starts no rubber band, so no selection message follows."""
    start, messages = s.state["camera"], len(s.messages())
    s.key_down("alt")
    s.move(100, 400)
    s.press(1)
    yaw = start["yawDeg"]
    for x in (300, 500, 700, 900, 1100):  # 1000 px: 250 degrees, across the 180 seam
        camera = s.move(x, 400)["camera"]
        yaw = wrap_deg(yaw + 200 * ORBIT_DEG_PER_PX)
        s.check_near(camera["yawDeg"], yaw, 1e-6, "yaw after an Alt-drag to x=%d" % x)
        s.check(-180.0 < camera["yawDeg"] <= 180.0, "yaw range", "(-180, 180]", camera["yawDeg"])
    pitch, last_y, seen = start["pitchDeg"], 400, []
    for y in (500, 600, 300, 100, 50):  # down past 84, then up past 8, clamped in every frame
        camera = s.move(1100, y)["camera"]
        pitch = min(84.0, max(8.0, pitch + (y - last_y) * ORBIT_DEG_PER_PX))
        last_y = y
        seen.append(camera["pitchDeg"])
        s.check_near(camera["pitchDeg"], pitch, 1e-6, "pitch after an Alt-drag to y=%d" % y)
    s.release(1)
    s.key_up("alt")
    s.check(84.0 in seen and seen[-1] == 8.0, "pitch limits reached", "84 then 8", seen)
    s.check_new_messages(messages, [], "orbit")


def pan(s):
    """Middle drag: the view follows the pointer, world per pixel from distance, lens and height."""
    start = s.state["camera"]
    per_px = 2.0 * start["distance"] * math.tan(math.radians(start["fovDeg"]) / 2.0) / H
    camera = s.drag(2, [(640, 400), (700, 380), (740, 350)])["camera"]
    s.check_near(camera["panX"], start["panX"] + 100 * per_px, 1e-6, "panX after a 100 px middle drag right")
    s.check_near(camera["panY"], start["panY"] + 50 * per_px, 1e-6, "panY after a 50 px middle drag up")
    s.check_near(camera["yawDeg"], start["yawDeg"], 0.0, "yaw during a pan")


def wheel(s):
    """Over the map a notch moves 8 % of the distance (at least ZoomStep), within the limits."""
    s.move(640, 360)
    camera = s.state["camera"]
    expected, min_distance, max_distance = camera["distance"], camera["minDistance"], camera["maxDistance"]
    for button, notches in ((5, 30), (4, 2), (4, 80), (5, 1)):
        camera = s.click(640, 360, button, notches)["camera"]
        for _ in range(notches):
            step = max(0.08 * expected, ZOOM_STEP)
            expected = min(max_distance, expected + step) if button == 5 else max(min_distance, expected - step)
        s.check_near(camera["distance"], expected, 1e-6 * expected,
                     "distance after %d wheel %s notch(es)" % (notches, "out" if button == 5 else "in"))
    last_in = min_distance + max(0.08 * min_distance, ZOOM_STEP)
    s.check(expected == last_in, "zoom limits met", "%g then %g" % (min_distance, last_in), expected)


def nav_buttons_once(s):
    """Each button pressed once applies its step once; reset frames the map as at the start. Presses
    on the widget never reach the map's selection."""
    messages = len(s.messages())
    s.click(*nav_point(3))
    camera = s.state["camera"]
    s.check(camera == s.initial_camera, "camera after Reset view", s.initial_camera, camera)
    for code in (1, 2, 5, 4, 7, 6, 8, 9, 11, 10):
        before = s.state["camera"]
        after = s.click(*nav_point(code))["camera"]
        expected = dict(before)
        pan_step = max(before["distance"] / 3.2, 0.5) * NAV_PAN_SPEED
        if code in (1, 2):
            expected["distance"] += (-1 if code == 1 else 1) * ZOOM_STEP * NAV_ZOOM_RATE
        elif code in (4, 5):
            expected["pitchDeg"] = min(84.0, max(8.0, before["pitchDeg"] + (NAV_ROTATE_DEG if code == 5 else -NAV_ROTATE_DEG)))
        elif code in (6, 7):
            expected["yawDeg"] = wrap_deg(before["yawDeg"] + (NAV_ROTATE_DEG if code == 7 else -NAV_ROTATE_DEG))
        elif code in (8, 9):
            expected["panY"] += pan_step if code == 8 else -pan_step
        else:
            expected["panX"] += pan_step if code == 11 else -pan_step
        # The state file holds ten significant digits.
        # The application keeps the closest zoom clear of the ground under the eye, so it may change.
        bad = [k for k in expected
               if k != "minDistance" and not math.isclose(after[k], expected[k], rel_tol=1e-8, abs_tol=1e-6)]
        s.check(not bad, "camera after one press of button %d" % code, expected, after)
    s.check_new_messages(messages, [], "navigation buttons")


def nav_button_held(s):
    """A held Rotate right repeats from 90 ms after the press at six steps a second."""
    s.move(*nav_point(7))
    before = s.snapshot()["camera"]["yawDeg"]
    pressed = time.monotonic()
    s.xdo("mousedown", 1)
    turned = []
    while time.monotonic() - pressed < 1.5:
        turned.append(wrap_deg(s.snapshot()["camera"]["yawDeg"] - before))
    s.xdo("mouseup", 1)
    total = wrap_deg(s.sync()["camera"]["yawDeg"] - before)
    held_s = time.monotonic() - pressed
    s.check(all(b >= a for a, b in zip(turned, turned[1:])), "yaw while held", "never decreasing", turned)
    limit = NAV_ROTATE_DEG * (1.0 + NAV_HOLD_RATE * held_s) + 1e-6
    s.check(NAV_ROTATE_DEG * 2.0 < total <= limit, "yaw after holding Rotate right %.2f s" % held_s,
            "more than two steps, at most %.3f" % limit, total)
    after = s.sync()["camera"]["yawDeg"]
    s.check_near(after, s.state["camera"]["yawDeg"], 0.0, "yaw once released")
    s.check_near(wrap_deg(after - before), total, 1e-9, "no repeat after the release")


def rotate_toggle(s):
    """The toggle flips auto-rotation and shows it; the drawn yaw goes on from where it was, turning
    at most 6 degrees a second while the click and the snapshot take their frames."""
    for expected in (True, False):
        started = time.monotonic()
        yaw = s.snapshot()["camera"]["yawDeg"]
        camera = s.click(*toggle_indicator_point())["camera"]
        s.check(camera["autoRotate"] is expected, "autoRotate after a click on Rotate", expected, camera["autoRotate"])
        s.check_near(wrap_deg(camera["yawDeg"] - yaw), 0.0, 6.0 * (time.monotonic() - started) + 1e-6,
                     "drawn yaw with auto-rotation switched %s" % ("on" if expected else "off"))
        test = is_lit_cyan if expected else (lambda c: is_dark(c, 80))
        check_pixels(s, s.image(), [toggle_indicator_point()], test, "Rotate indicator, checked %s" % expected)


def effects_presets(s):
    """Low and High buttons apply their presets; a press in the gap between buttons is swallowed."""
    messages = len(s.messages())
    for button, expected in ((0, {"quality": 0, "scale": 0.5}), (2, {"quality": 2, "scale": 1.0})):
        state = s.click(*preset_point(button, 40))
        s.check(state["effects"] == expected, "effects after the preset button %d" % button, expected, state["effects"])
        image = s.image()
        check_pixels(s, image, [preset_point(button)], is_lit_cyan, "pressed preset %d lit" % button)
        check_pixels(s, image, [preset_point(b) for b in range(3) if b != button], lambda c: not is_lit_cyan(c),
                     "the other presets dark")
    # The gap between Low and High is 0.006 wide: 3.8 pixels.
    state = s.click(preset_point(1, 0)[0] - 1.9, preset_point(1)[1])
    s.check(state["effects"] == {"quality": 2, "scale": 1.0}, "effects after a press in the gap", "High kept",
            state["effects"])
    # No press on the panel reaches the map's selection.
    s.check_new_messages(messages, [], "effects panel")


def leave_during_drags(s):
    """An orbit ends when the pointer leaves the window and does not resume on return; a pan goes on
    outside and ends where the button is let go."""
    below = (640, H + 60)
    start = s.state["camera"]
    s.key_down("alt")
    s.move(300, 300)
    s.press(1)
    s.move(400, 300)
    s.move(*below)
    s.move(500, 300)  # SDL may take the first motion back inside as the entry alone
    s.move(600, 300)
    camera = s.move(700, 300)["camera"]
    s.release(1)
    s.key_up("alt")
    s.check_near(camera["yawDeg"], wrap_deg(start["yawDeg"] + 100 * ORBIT_DEG_PER_PX), 1e-6,
                 "yaw of an orbit that left the window after 100 px")
    start = s.state["camera"]
    per_px = 2.0 * start["distance"] * math.tan(math.radians(start["fovDeg"]) / 2.0) / H
    camera = s.drag(2, [(640, 400), (700, 400), below, (W + 80, 300), (740, 410), (760, 420)])["camera"]
    s.check_near(camera["panX"], start["panX"] + 120 * per_px, 1e-6, "panX of a pan that left and came back")
    s.check_near(camera["panY"], start["panY"] - 20 * per_px, 1e-6, "panY of a pan that left and came back")


def view_keys(s):
    """Arrows move the orbit centre along the view at 0.8 camera distances a second, Q and E turn at
    90 degrees a second, Page Up and Page Down tilt within 8..84, + and - zoom by a wheel notch."""
    s.xdo("key", "Home")
    start = s.sync()["camera"]
    for key, direction in (("Up", (0.0, -1.0)), ("Right", (1.0, 0.0))):
        before = s.state["camera"]
        started = time.monotonic()
        s.key_down(key)
        s.key_up(key)
        held_s = time.monotonic() - started
        after = s.state["camera"]
        moved = (after["worldOffsetX"] - before["worldOffsetX"], after["worldOffsetZ"] - before["worldOffsetZ"])
        length = math.hypot(*moved)
        s.check(0.0 < length <= MOVE_DISTANCES_PER_S * start["distance"] * held_s, "move of %s held %.2f s" % (key, held_s),
                "along the view, at most 0.8 distances a second", moved)
        s.check_near(moved[0] * direction[1] - moved[1] * direction[0], 0.0, 1e-6 * length, "direction of " + key)
    for key, sign in (("e", 1.0), ("q", -1.0)):
        before, started = s.state["camera"]["yawDeg"], time.monotonic()
        s.key_down(key)
        turned = wrap_deg(s.key_up(key)["camera"]["yawDeg"] - before)
        limit = TURN_DEG_PER_S * (time.monotonic() - started)
        s.check(0.0 < turned * sign <= limit, "turn of " + key, "sign %+g, at most %.1f" % (sign, limit), turned)
    for key, limit in (("Prior", 8.0), ("Next", 84.0)):
        s.key_down(key)
        s.wait_until(lambda st: st["camera"]["pitchDeg"] == limit, 5.0)
        s.check_near(s.key_up(key)["camera"]["pitchDeg"], limit, 0.0, "pitch after holding " + key)
    for key, scale in (("equal", 0.92), ("minus", 1.08)):
        before = s.state["camera"]["distance"]
        s.xdo("key", key)
        s.check_near(s.sync()["camera"]["distance"], before * scale, 1e-6 * before, "distance after " + key)


def main():
    def remember_start(s):
        s.initial_camera = s.state["camera"]

    return q.run("camera", [remember_start, layout, orbit, pan, wheel, nav_buttons_once, nav_button_held,
                            rotate_toggle, effects_presets, leave_during_drags, view_keys], size=(W, H))


if __name__ == "__main__":
    sys.exit(main())
