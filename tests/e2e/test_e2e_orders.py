#!/usr/bin/env python3
"""End to end on a real X server: rubber-band selection of a group with the band on screen,
Shift-click adding one vehicle, right click and right drag orders with the formation preview on
screen, vehicles arriving, the Shift variants queueing, the pointer leaving the window during a band
and during a right drag, and a click on bare ground.

Usage: test_e2e_orders.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import math
import sys

import quindle_x11 as q

W, H = 1280, 720
ZOOM_IN_NOTCHES = 20  # 0.92^20 of the framing distance: vehicles some 50 pixels apart
SELECTED = "%d unit(s) selected. Right click to move."


def vehicle_pixels(s):
    camera = s.camera()
    return [camera.to_screen(v["position"]) for v in s.state["vehicles"]]


def ground_point(s, x, y):
    """The map point under a window pixel, on the plane of the vehicles' mean height: close enough
    to aim with, since the checks allow for the terrain."""
    heights = [v["position"][1] for v in s.state["vehicles"]]
    level = sum(heights) / len(heights)
    eye, d = s.camera().ray(x, y)
    t = (level - eye[1]) / d[1]
    return eye[0] + d[0] * t, level, eye[2] + d[2] * t


def is_band_cyan(c):
    return c[2] > 200 and c[1] > 170 and c[0] < 170


def is_path_yellow(c):
    return c[0] > 200 and c[1] > 170 and c[2] < 130


def count_near(image, points, test, reach=2):
    """How many of the points have a pixel passing the test within `reach` pixels."""
    found = 0
    for x, y in points:
        if any(test(image.pixel(x + dx, y + dy)) for dx in range(-reach, reach + 1)
               for dy in range(-reach, reach + 1)):
            found += 1
    return found


def along(a, b, steps):
    return [(a[0] + (b[0] - a[0]) * i / steps, a[1] + (b[1] - a[1]) * i / steps) for i in range(1, steps)]


def setup(s):
    s.click(W / 2, H / 2, 4, ZOOM_IN_NOTCHES)
    s.pixels = vehicle_pixels(s)
    visible = [p for p in s.pixels if p and 40 < p[0] < 0.55 * W and 40 < p[1] < 0.6 * H]
    s.check(len(visible) == len(s.pixels), "vehicles on screen, left of the panels", len(s.pixels), s.pixels)


def band_selection(s):
    """A band around the left-most vehicles selects exactly them; the band shows while dragging."""
    order = sorted(range(len(s.pixels)), key=lambda i: s.pixels[i][0])
    # Split where the gap between neighbours in x is widest, keeping at least two on each side.
    split = max(range(2, len(order) - 1), key=lambda k: s.pixels[order[k]][0] - s.pixels[order[k - 1]][0])
    group = sorted(order[:split])
    gap = s.pixels[order[split]][0] - s.pixels[order[split - 1]][0]
    s.check(gap > 10, "a gap of pixels between the group and the others", "> 10", gap)
    x1 = min(s.pixels[i][0] for i in group) - 25
    x2 = (s.pixels[order[split]][0] + s.pixels[order[split - 1]][0]) / 2
    y1 = min(s.pixels[i][1] for i in group) - 25
    y2 = max(s.pixels[i][1] for i in group) + 25
    before = s.image()
    edge = along((x1, y1), (x2, y1), 12) + along((x1, y1), (x1, y2), 8)
    messages = len(s.messages())
    s.move(x1, y1)
    s.press(1)
    s.move((x1 + x2) / 2, (y1 + y2) / 2)
    s.move(x2, y2)
    during = s.image()
    s.check(count_near(during, edge, is_band_cyan) >= 0.8 * len(edge) > count_near(before, edge, is_band_cyan),
            "screenshot: band outline on screen while dragging", "cyan along the band's edges",
            "%d of %d edge points cyan" % (count_near(during, edge, is_band_cyan), len(edge)))
    state = s.release(1)
    s.check_new_messages(messages, [SELECTED % len(group)], "band selection")
    s.check(state["selection"]["vehicles"] == group, "selected vehicles", group, state["selection"])
    s.group = group


def shift_click_adds(s):
    """Shift-click on one more vehicle adds it to the selection."""
    others = [i for i in range(len(s.pixels)) if i not in s.group]
    extra = min(others, key=lambda i: s.pixels[i][0])
    messages = len(s.messages())
    s.key_down("shift")
    state = s.click(*s.pixels[extra])
    s.key_up("shift")
    s.group = sorted(s.group + [extra])
    s.check_new_messages(messages, [SELECTED % len(s.group)], "Shift-click")
    s.check(state["selection"]["vehicles"] == s.group, "selection after Shift-click", s.group, state["selection"])


def right_click_order(s):
    """A right click sends the selected vehicles around the point; they arrive there."""
    cx = sum(s.pixels[i][0] for i in s.group) / len(s.group)
    cy = sum(s.pixels[i][1] for i in s.group) / len(s.group)
    target = (cx + 150, cy + 60)
    messages = len(s.messages())
    state = s.click(*target, button=3)
    s.check_new_messages(messages, ["Selected units ordered to waypoint."], "right click")
    aim = ground_point(s, *target)
    goals = {i: state["vehicles"][i]["target"] for i in s.group}
    s.check(all(goals.values()), "a goal for every selected vehicle", "targets", goals)
    s.check(all(state["vehicles"][i]["target"] is None for i in range(len(s.pixels)) if i not in s.group),
            "no goal for the others", "no target", [v["target"] for v in state["vehicles"]])
    if not all(goals.values()):
        return
    spread = max(math.hypot(g[0] - aim[0], g[2] - aim[2]) for g in goals.values())
    s.check(spread < 80.0, "goals around the clicked point %s" % (aim,), "within 80 units", goals)
    arrived = s.wait_until(lambda st: all(st["vehicles"][i]["target"] is None for i in s.group), 60.0)
    s.check(arrived, "vehicles arrived within 60 s", "no targets left", [v["target"] for v in s.state["vehicles"]])
    misses = {i: math.hypot(s.state["vehicles"][i]["position"][0] - goals[i][0],
                            s.state["vehicles"][i]["position"][2] - goals[i][2]) for i in s.group}
    s.check(max(misses.values()) < 16.0, "vehicles at their goals", "within 16 units", misses)
    s.pixels = vehicle_pixels(s)


def right_drag_formation(s):
    """A right drag draws a path, previewed on screen; the vehicles' goals spread along it."""
    cx = sum(s.pixels[i][0] for i in s.group) / len(s.group)
    cy = sum(s.pixels[i][1] for i in s.group) / len(s.group)
    a, b, c = (cx - 200, cy + 80), (cx - 60, cy + 100), (cx + 100, cy + 110)
    messages = len(s.messages())
    s.move(*a)
    s.press(3)
    for point in along(a, b, 3) + [b] + along(b, c, 3) + [c]:
        s.move(*point)
    during = s.image()
    path = along(a, b, 6) + along(b, c, 6)
    s.check(count_near(during, path, is_path_yellow) >= 0.8 * len(path), "screenshot: formation path while dragging",
            "yellow along the path", "%d of %d path points yellow" % (count_near(during, path, is_path_yellow),
                                                                     len(path)))
    state = s.release(3)
    s.check_new_messages(messages, ["Formation move order issued."], "right drag")
    goals = [state["vehicles"][i]["target"] for i in s.group]
    if not s.check(all(goals), "a goal for every selected vehicle", "targets", goals):
        return
    ends = [ground_point(s, *a), ground_point(s, *c)]
    nearest = [min(math.hypot(g[0] - e[0], g[2] - e[2]) for g in goals) for e in ends]
    s.check(max(nearest) < 40.0, "goals reaching both ends of the path", "a goal within 40 units of each end",
            nearest)
    pairs = [math.hypot(g[0] - h[0], g[2] - h[2]) for k, g in enumerate(goals) for h in goals[k + 1:]]
    s.check(min(pairs) > 4.0, "goals spread along the path", "no two goals on one spot", pairs)


def shift_queues(s):
    """With Shift, a right click and a right drag queue behind the current orders."""
    cx = sum(s.pixels[i][0] for i in s.group) / len(s.group)
    cy = sum(s.pixels[i][1] for i in s.group) / len(s.group)
    queued = {i: len(s.state["vehicles"][i]["queued"]) for i in s.group}
    messages = len(s.messages())
    s.key_down("shift")
    s.click(cx + 120, cy - 80, button=3)
    state = s.drag(3, [(cx + 120, cy - 120), (cx + 200, cy - 130), (cx + 300, cy - 140)])
    s.key_up("shift")
    s.check_new_messages(messages, ["Waypoint queued for selected units.", "Formation waypoint queued."],
                         "Shift right click and drag")
    for i in s.group:
        vehicle = state["vehicles"][i]
        pending = len(vehicle["queued"]) + (vehicle["target"] is not None)
        s.check(pending >= queued[i] + 2, "goals pending for vehicle %d" % i,
                "the two queued behind %d" % queued[i], vehicle)


def leave_during_drags(s):
    """A band whose pointer leaves the window is dropped; a right drag released outside still
    orders."""
    selection = s.state["selection"]
    messages = len(s.messages())
    s.drag(1, [(260, 260), (400, 420), (640, H + 60), (450, 450), (460, 460)])
    s.check_new_messages(messages, [], "band that left the window")
    s.check(s.state["selection"] == selection, "selection after a band left the window", selection,
            s.state["selection"])
    s.drag(3, [(300, 500), (400, 520), (500, 540), (W / 2, H + 60)])
    s.check_new_messages(messages, ["Formation move order issued."], "right drag released outside")


# Left of the units and below the minimap in the top-left corner.
BARE_SPOT = (150, 560)


def bare_ground(s):
    """A plain click far from every unit clears the selection."""
    camera_pixels = vehicle_pixels(s)
    spot = BARE_SPOT
    nearest = min(math.hypot(p[0] - spot[0], p[1] - spot[1]) for p in camera_pixels)
    s.check(nearest > 150, "a bare spot", "150 px from every vehicle", nearest)
    messages = len(s.messages())
    state = s.click(*spot)
    s.check_new_messages(messages, ["No units selected."], "click on bare ground")
    s.check(state["selection"] == {"vehicles": [], "aircraft": False}, "selection", "empty", state["selection"])


def selection_keys(s):
    """Ctrl+A selects every vehicle, Ctrl+2 stores the selection and 2 brings it back, S drops every
    order, F frames the selection; each says what it did."""
    n = len(s.state["vehicles"])
    everyone = "%d vehicles" % n
    messages = len(s.messages())
    for keys in ("ctrl+a", "ctrl+2"):
        s.xdo("key", keys)
    state = s.sync()
    s.check(state["selection"] == {"vehicles": list(range(n)), "aircraft": False}, "selection after Ctrl+A",
            "all", state["selection"])
    s.click(*BARE_SPOT)  # selects nothing
    s.xdo("key", "2")
    state = s.sync()
    s.check(state["selection"]["vehicles"] == list(range(n)), "selection after 2", "all", state["selection"])
    s.click(*vehicle_pixels(s)[0], button=3)
    s.check(any(v["target"] for v in s.state["vehicles"]), "an order given", "vehicles with a target", "none")
    s.xdo("key", "s")
    state = s.sync()
    s.check(all(v["target"] is None and not v["queued"] for v in state["vehicles"]), "vehicles after S",
            "no goals", [v["target"] for v in state["vehicles"]])
    s.xdo("key", "f")
    s.sync()
    pixels = vehicle_pixels(s)
    s.check(all(p and 0 < p[0] < W and 0 < p[1] < H for p in pixels), "vehicles after F", "all on screen", pixels)
    s.check_new_messages(messages, ["Selected all: " + everyone, "Group 2 stored: " + everyone, "No units selected.",
                                    "Group 2 selected: " + everyone, "Selected units ordered to waypoint.", "Stopped " + everyone,
                                    "Framed " + everyone], "selection keys")


def main():
    return q.run("orders", [setup, band_selection, shift_click_adds, right_click_order, right_drag_formation,
                            shift_queues, leave_during_drags, bare_ground, selection_keys], args=["--aircraft", "0"], size=(W, H))


if __name__ == "__main__":
    sys.exit(main())
