#!/usr/bin/env python3
"""End to end on a real X server: a click and a move away in one burst, a rubber band with the band
on screen, Shift-click adding a vehicle, right click and right drag orders with the formation
preview, vehicles arriving, Shift queueing, drags that leave the window, a click on bare ground and
the selection keys.

Usage: test_e2e_orders.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import math
import sys

import quindle_x11 as q
from quindle_x11 import H, SELECTED, W

BARE_SPOT = (150, 560)  # left of the units, below the minimap


def band_cyan(c): return c[2] > 200 and c[1] > 170 and c[0] < 170
def path_yellow(c): return c[0] > 200 and c[1] > 170 and c[2] < 130


def count_near(image, points, test, reach=2):
    """How many of the points have a pixel passing the test within `reach` pixels."""
    return sum(any(test(image.pixel(x + dx, y + dy)) for dx in range(-reach, reach + 1)
                   for dy in range(-reach, reach + 1)) for x, y in points)


def along(a, b, steps):
    return [(a[0] + (b[0] - a[0]) * i / steps, a[1] + (b[1] - a[1]) * i / steps) for i in range(1, steps)]


def ground(s, x, y):
    """The map point under a pixel at the vehicles' mean height: close enough to aim with."""
    return s.camera().ground_point(x, y, sum(v["position"][1] for v in s.state["vehicles"]) / len(s.state["vehicles"]))


def group_centre(s):
    pixels = s.vehicle_pixels()
    return [sum(pixels[i][k] for i in s.group) / len(s.group) for k in (0, 1)]


def band_selection(s):
    """Zoomed in, a click and a move away in one burst select the vehicle under the click; a band
    around the left-most vehicles selects exactly them, and shows while dragging."""
    pixels = s.click(W / 2, H / 2, 4, 20) and s.vehicle_pixels()
    s.check(all(p and 40 < p[0] < 0.55 * W and 40 < p[1] < 0.6 * H for p in pixels), "vehicles on screen", "all", pixels)
    for i in (0, len(pixels) - 1):
        x, y = round(pixels[i][0]), round(pixels[i][1])
        state = s.xdo("mousemove", "--window", s.window, x, y, "click", 1, "mousemove", "--window", s.window, 20, 20)
        s.check(state["selection"]["vehicles"] == [i], "selection after a click and a move away", [i], state["selection"])
    order = sorted(range(len(pixels)), key=lambda i: pixels[i][0])
    # Split where the gap between neighbours in x is widest, keeping at least two on each side.
    split = max(range(2, len(order) - 1), key=lambda k: pixels[order[k]][0] - pixels[order[k - 1]][0])
    s.group = sorted(order[:split])
    x1, x2 = min(pixels[i][0] for i in s.group) - 25, (pixels[order[split]][0] + pixels[order[split - 1]][0]) / 2
    y1, y2 = min(pixels[i][1] for i in s.group) - 25, max(pixels[i][1] for i in s.group) + 25
    edge, before, messages = along((x1, y1), (x2, y1), 12) + along((x1, y1), (x1, y2), 8), s.image(), len(s.messages())
    s.move(x1, y1)
    s.xdo("mousedown", 1)
    s.move((x1 + x2) / 2, (y1 + y2) / 2)
    s.move(x2, y2)
    during = count_near(s.image(), edge, band_cyan)
    s.check(during >= 0.8 * len(edge) > count_near(before, edge, band_cyan), "screenshot: band outline while dragging",
            "cyan along the band's edges", "%d of %d edge points" % (during, len(edge)))
    state = s.xdo("mouseup", 1)
    s.check_messages(messages, [SELECTED % len(s.group)], "band selection")
    s.check(state["selection"]["vehicles"] == s.group, "selected vehicles", s.group, state["selection"])


def shift_click(s):
    """A Shift-click adds one vehicle to the selection."""
    pixels = s.vehicle_pixels()
    extra = min((i for i in range(len(pixels)) if i not in s.group), key=lambda i: pixels[i][0])
    messages, s.group = len(s.messages()), sorted(s.group + [extra])
    s.xdo("keydown", "shift")
    state = s.click(*pixels[extra])
    s.xdo("keyup", "shift")
    s.check_messages(messages, [SELECTED % len(s.group)], "Shift-click")
    s.check(state["selection"]["vehicles"] == s.group, "selection after Shift-click", s.group, state["selection"])


def right_click_order(s):
    """A right click sends the selected vehicles around the point; they arrive there."""
    target, messages = [c + d for c, d in zip(group_centre(s), (150, 60))], len(s.messages())
    state = s.click(*target, button=3)
    s.check_messages(messages, ["Selected units ordered to waypoint."], "right click")
    aim, goals = ground(s, *target), {i: state["vehicles"][i]["target"] for i in s.group}
    s.check([v["target"] is not None for v in state["vehicles"]] == [i in s.group for i in range(len(state["vehicles"]))],
            "goals for the selected vehicles only", s.group, [v["target"] for v in state["vehicles"]])
    if not all(goals.values()):
        return
    spread = max(math.hypot(g[0] - aim[0], g[2] - aim[2]) for g in goals.values())
    s.check(spread < 80.0, "goals around the clicked point %s" % (aim,), "within 80 units", goals)
    s.check(s.wait_until(lambda st: all(st["vehicles"][i]["target"] is None for i in s.group), 60.0),
            "vehicles arrived within 60 s", "no targets left", [v["target"] for v in s.state["vehicles"]])
    misses = [math.hypot(s.state["vehicles"][i]["position"][0] - goals[i][0],
                         s.state["vehicles"][i]["position"][2] - goals[i][2]) for i in s.group]
    s.check(max(misses) < 16.0, "vehicles at their goals", "within 16 units", misses)


def right_drag_formation(s):
    """A right drag draws a path, previewed on screen; the goals spread along it."""
    cx, cy = group_centre(s)
    a, b, c = (cx - 200, cy + 80), (cx - 60, cy + 100), (cx + 100, cy + 110)
    messages, path = len(s.messages()), along(a, b, 6) + along(b, c, 6)
    s.move(*a)
    s.xdo("mousedown", 3)
    for point in along(a, b, 3) + [b] + along(b, c, 3) + [c]:
        s.move(*point)
    found = count_near(s.image(), path, path_yellow)
    s.check(found >= 0.8 * len(path), "screenshot: formation path while dragging", "yellow along the path",
            "%d of %d path points" % (found, len(path)))
    state = s.xdo("mouseup", 3)
    goals = [state["vehicles"][i]["target"] for i in s.group]
    s.check_messages(messages, ["Formation move order issued."], "right drag")
    if not s.check(all(goals), "a goal for every selected vehicle", "targets", goals):
        return
    nearest = [min(math.hypot(g[0] - e[0], g[2] - e[2]) for g in goals) for e in (ground(s, *a), ground(s, *c))]
    s.check(max(nearest) < 40.0, "goals reaching both ends of the path", "within 40 units of each end", nearest)
    pairs = [math.hypot(g[0] - h[0], g[2] - h[2]) for k, g in enumerate(goals) for h in goals[k + 1:]]
    s.check(min(pairs) > 4.0, "goals spread along the path", "no two goals on one spot", pairs)


def shift_queues(s):
    """S stops the selected vehicles; with Shift, a right click and a right drag then give each a goal
    and a second one queued behind it."""
    cx, cy = group_centre(s)
    messages = len(s.messages())
    s.xdo("key", "s")
    s.xdo("keydown", "shift")
    # The queued click lies far beyond the drag, so even a slow build draws the drag before arriving.
    s.click(min(cx + 420, W - 40), max(cy - 260, 40), button=3)
    state = s.drag(3, [(cx + 120, cy - 120), (cx + 200, cy - 130), (cx + 300, cy - 140)])
    s.xdo("keyup", "shift")
    s.check_messages(messages, ["Stopped %d vehicles" % len(s.group), "Waypoint queued for selected units.",
                                "Formation waypoint queued."], "S, Shift orders")
    pending = [len(state["vehicles"][i]["queued"]) + (state["vehicles"][i]["target"] is not None) for i in s.group]
    # A vehicle near its first goal may have reached it already; most have both still ahead.
    s.check(min(pending) >= 1 and 2 * pending.count(2) >= len(pending), "goals pending", "two for most", pending)


def leave_and_bare_ground(s):
    """A band whose pointer leaves the window is dropped; a right drag released outside still orders;
    a plain click far from every unit clears the selection."""
    selection, messages = s.state["selection"], len(s.messages())
    s.drag(1, [(260, 260), (400, 420), (640, H + 60), (450, 450), (460, 460)])
    s.check(s.state["selection"] == selection, "selection after a band left the window", selection, s.state["selection"])
    s.drag(3, [(300, 500), (400, 520), (500, 540), (W / 2, H + 60)])
    nearest = min(math.hypot(p[0] - BARE_SPOT[0], p[1] - BARE_SPOT[1]) for p in s.vehicle_pixels())
    s.check(nearest > 150, "a bare spot", "150 px from every vehicle", nearest)
    state = s.click(*BARE_SPOT)
    s.check_messages(messages, ["Formation move order issued.", "No units selected."], "left drags, bare ground")
    s.check(state["selection"] == {"vehicles": [], "aircraft": False}, "selection", "empty", state["selection"])


def selection_keys(s):
    """Ctrl+A selects every vehicle, Ctrl+2 stores the selection and 2 brings it back, S drops every
    order, F frames the selection; each says what it did."""
    n, messages = len(s.state["vehicles"]), len(s.messages())
    everyone = list(range(n))
    for keys, expected in (("ctrl+a", everyone), ("ctrl+2", everyone), (None, []), ("2", everyone)):
        state = s.xdo("key", keys) if keys else s.click(*BARE_SPOT)
        s.check(state["selection"]["vehicles"] == expected, "selection after %s" % keys, expected, state["selection"])
    s.click(*s.vehicle_pixels()[0], button=3)
    s.check(any(v["target"] for v in s.state["vehicles"]), "an order given", "vehicles with a target", "none")
    state = s.xdo("key", "s")
    s.check(all(v["target"] is None and not v["queued"] for v in state["vehicles"]), "vehicles after S", "no goals",
            [v["target"] for v in state["vehicles"]])
    s.xdo("key", "Home")
    pixels = s.xdo("key", "f") and s.vehicle_pixels()
    s.check(all(p and 0 < p[0] < W and 0 < p[1] < H for p in pixels), "vehicles after F", "all on screen", pixels)
    s.check(s.state["camera"]["distance"] < 0.5 * s.initial["camera"]["distance"], "distance after F", "closer", s.state)
    all_of = "%d vehicles" % n
    s.check_messages(messages, ["Selected all: " + all_of, "Group 2 stored: " + all_of, "No units selected.",
                                "Group 2 selected: " + all_of, "Selected units ordered to waypoint.", "Stopped " + all_of,
                                "Framed " + all_of], "selection keys")


if __name__ == "__main__":
    sys.exit(q.run("orders", [band_selection, shift_click, right_click_order, right_drag_formation, shift_queues,
                              leave_and_bare_ground, selection_keys], args=["--aircraft", "0"]))
