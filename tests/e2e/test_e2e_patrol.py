#!/usr/bin/env python3
"""End to end on a real X server: aircraft patrols from the keyboard and the pointer. P arms
placement only with the aircraft selected; Shift-clicks append patrol points under the pointer; a
plain click after a route drops the aircraft; a plain click while armed issues a one-point route;
Escape and a right click cancel.

Usage: test_e2e_patrol.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import sys

import quindle_x11 as q
from quindle_x11 import H, SELECTED, W

ARMED = "Patrol: left click to place; Shift-click appends; Escape/right click cancels."
CANCELLED = "Patrol placement cancelled."
APPENDED = "Patrol point appended."
ISSUED = "Patrol route issued. Shift-click to append; Escape/right click cancels."
POINTS = {"A": (300, 420), "B": (420, 520), "C": (560, 300), "D": (380, 360)}


def select_everything(s):
    """A band over the map view (right of the minimap) takes the aircraft with the vehicles."""
    messages, state = len(s.messages()), s.drag(1, [(260, 20), (640, 360), (W - 20, H - 40)])
    s.check_messages(messages, [SELECTED % (len(state["vehicles"]) + 1)], "band over everything")
    s.check(state["selection"]["aircraft"], "aircraft selected", True, state["selection"])


def check_path_ends(s, names, lengths=None):
    """Every aircraft patrols, looping (command 2), its last points under the pointer of those clicks."""
    for k, air in enumerate(s.state["aircraft"]):
        path = air["path"]
        ok = air["command"] == 2 and air["loop"] and len(path) >= len(names)
        s.check(ok and (lengths is None or len(path) == lengths[k]), "aircraft %d patrol after clicks %s" % (k, names),
                "a looping patrol of %s points" % (lengths or "more"), air)
        for name, point in zip(names, path[-len(names):]):
            miss = s.camera().ground_track_distance(*POINTS[name], point)
            s.check(miss < 5.0, "aircraft %d patrol point for click %s" % (k, name), "within 5 units of the ray", miss)


def patrols(s):
    """Unselected, P and Escape do nothing. Armed, two Shift-clicks append; a plain click then drops the
    aircraft, placing nothing, and P says nothing. Armed again, a plain click issues a one-point route and
    Escape ends the sequence; then a right click cancels without a move order."""
    messages = len(s.messages())
    # P and Escape are read from the keyboard's state once a frame, so each tap spans a frame.
    s.hold("p", 0)
    s.hold("Escape", 0)
    s.check_messages(messages, [], "P and Escape with no aircraft selected")
    select_everything(s)
    messages = len(s.messages())
    s.hold("p", 0)
    s.drag(1, [POINTS["A"]], keys=["shift"])
    s.drag(1, [POINTS["B"]], keys=["shift"])
    check_path_ends(s, "AB")
    lengths = [len(air["path"]) for air in s.state["aircraft"]]
    s.click(*POINTS["C"])
    s.hold("p", 0)
    state = s.state
    s.check_messages(messages, [ARMED, APPENDED, APPENDED, "Air unit deselected."], "Shift, Shift, plain click, P")
    s.check(state["selection"]["aircraft"] is False, "aircraft after the plain click", False, state["selection"])
    check_path_ends(s, "AB", lengths)
    select_everything(s)
    messages, targets = len(s.messages()), [v["target"] for v in s.state["vehicles"]]
    s.hold("p", 0)
    s.click(*POINTS["D"])
    check_path_ends(s, "D", [1] * len(s.state["aircraft"]))
    s.hold("Escape", 0)
    s.hold("Escape", 0)
    s.hold("p", 0)
    state = s.click(640, 400, button=3)
    s.check_messages(messages, [ARMED, ISSUED, CANCELLED, ARMED, CANCELLED], "P, click, Escape twice, P, right click")
    s.check([v["target"] for v in state["vehicles"]] == targets, "vehicle goals after the cancelling right click",
            "unchanged", [v["target"] for v in state["vehicles"]])
    s.check(state["selection"]["aircraft"] is True, "aircraft after cancelling", "still selected", state["selection"])
    check_path_ends(s, "D", [1] * len(s.state["aircraft"]))


if __name__ == "__main__":
    sys.exit(q.run("patrol", [patrols]))
