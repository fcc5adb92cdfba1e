#!/usr/bin/env python3
"""End to end on a real X server: the application's own panels. The minimap (top left) moves the
view's centre on a left click or drag, orders the selection on a right click, starts no band, and M
hides it; F1 shows the list of controls over the view; F2 the frame counter; F3 hides the effects
panel; a navigation button names its action after half a second's hover, beside the pointer.

Usage: test_e2e_panels.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import sys
import time

import quindle_x11 as q

W, H = 1280, 720
# 216 px square (0.3 of the height) 8 px from the corner; the default map is square.
MINIMAP = (8, 8, 224, 224)
MAP_WORLD = 2048.0  # 256 squares of 8 units
ORDERED = "Selected units ordered to waypoint."


def minimap_point(u, v):
    x1, y1, x2, y2 = MINIMAP
    return x1 + u * (x2 - x1), y1 + v * (y2 - y1)


def brightness(c):
    return sum(c) / 3.0


def minimap(s):
    """Click and drag move the orbit centre; a drag starting there selects nothing; a right click
    orders the selected units; M hides the minimap."""
    tolerance = MAP_WORLD / (MINIMAP[2] - MINIMAP[0]) * 1.5
    camera = s.click(*minimap_point(0.25, 0.75))["camera"]
    s.check_near(camera["worldOffsetX"], 0.25 * MAP_WORLD, tolerance, "centre X after a minimap click")
    s.check_near(camera["worldOffsetZ"], 0.75 * MAP_WORLD, tolerance, "centre Z after a minimap click")
    messages = len(s.messages())
    state = s.drag(1, [minimap_point(0.3, 0.3), minimap_point(0.5, 0.4), (700, 500)])
    # Past the minimap's edge the centre stays on the map's edge.
    s.check_near(state["camera"]["worldOffsetX"], MAP_WORLD, tolerance, "centre X after a drag past the minimap")
    s.check_new_messages(messages, [], "drag starting on the minimap (no band, no selection)")
    s.check(state["selection"]["vehicles"] == [], "selection after the minimap drag", [], state["selection"])

    s.image()
    s.keep("minimap")
    s.tap("m")
    hidden = s.image()
    s.keep("minimap-hidden")
    s.tap("m")
    shown = s.image()
    edge = (MINIMAP[0], (MINIMAP[1] + MINIMAP[3]) // 2)  # the cyan outline's left edge
    s.check(shown.pixel(*edge) != hidden.pixel(*edge), "minimap outline with M pressed twice",
            "drawn again", (shown.pixel(*edge), hidden.pixel(*edge)))

    # A band right of the minimap over the middle of the view, then a right click on the minimap.
    s.tap("Home")
    s.drag(1, [(300, 100), (640, 360), (W - 300, H - 100)])
    if s.check(s.state["selection"]["vehicles"] != [], "band selection", "some vehicles", s.state["selection"]):
        messages = len(s.messages())
        s.click(*minimap_point(0.4, 0.6), button=3)
        s.check_new_messages(messages, [ORDERED], "right click on the minimap")


def help_and_counter(s):
    """F1 darkens the middle of the view with the list and takes it away again; F2 puts the frame
    counter above the status bar; F3 hides the effects panel."""
    before = s.image()
    s.tap("F1")
    with_help = s.image()
    s.keep("help")
    s.tap("F1")
    middle = (W // 2, H // 2)
    s.check(brightness(with_help.pixel(*middle)) < 40 and with_help.pixel(*middle) != before.pixel(*middle),
            "middle of the view with F1", "the list's dark box", with_help.pixel(*middle))
    counter = (12, H - 22 - 4 - 2)  # inside the counter's box, left of its text
    s.tap("F2")
    with_counter = s.image()
    s.keep("counter")
    s.tap("F2")
    s.check(brightness(with_counter.pixel(*counter)) < 40, "frame counter box with F2", "dark",
            with_counter.pixel(*counter))
    panel = (int(0.97 * W), int(0.3 * H))  # inside the effects panel, right of its text
    s.tap("F3")
    without_panel = s.image()
    s.tap("F3")
    s.check(without_panel.pixel(*panel) != s.image().pixel(*panel), "effects panel with F3", "hidden",
            without_panel.pixel(*panel))


def tooltip(s):
    """Resting on the zoom-in button names it in a light box above and left of the pointer."""
    x, y = (0.75 + 0.17 * 0.18) * W, (0.93 - 1.55 * 0.18 + 0.12 * 1.55 * 0.18) * H
    s.move(x, y)
    time.sleep(0.8)
    s.sync()
    image = s.image()
    s.keep("tooltip")
    box = image.pixel(x - 12, y - 12)
    s.check(brightness(box) > 200, "tooltip box above-left of the pointer", "light", box)


def main():
    return q.run("panels", [minimap, help_and_counter, tooltip], size=(W, H))


if __name__ == "__main__":
    sys.exit(main())
