#!/usr/bin/env python3
"""End to end on a real X server: aircraft patrols from the keyboard and the pointer. P arms
placement only with the aircraft selected; Shift-clicks append patrol points under the pointer; a
plain click after a route ends the sequence and drops the aircraft; a plain click while armed issues
a one-point route; Escape and a right click cancel.

Usage: test_e2e_patrol.py QUINDLE_BINARY WORK_DIR (exits 77 when Xvfb or xdotool is missing)."""

import sys

import quindle_x11 as q

W, H = 1280, 720
PATROL = 2  # the aircraft's command code for a patrol
ARMED = "Patrol: left click to place; Shift-click appends; Escape/right click cancels."
CANCELLED = "Patrol placement cancelled."
APPENDED = "Patrol point appended."
ISSUED = "Patrol route issued. Shift-click to append; Escape/right click cancels."
DESELECTED = "Air unit deselected."
POINTS = {"A": (300, 420), "B": (420, 520), "C": (560, 300), "D": (380, 360)}


def select_everything(s):
    """A band over the map view (right of the minimap) takes the aircraft with the vehicles."""
    messages = len(s.messages())
    state = s.drag(1, [(260, 20), (640, 360), (W - 20, H - 40)])
    vehicles = len(state["vehicles"])
    s.check_new_messages(messages, ["%d unit(s) selected. Right click to move." % (vehicles + 1)],
                         "band over everything")
    s.check(state["selection"] == {"vehicles": list(range(vehicles)), "aircraft": True}, "selection",
            "every vehicle and the aircraft", state["selection"])


def check_path_ends(s, names, what):
    """Every aircraft patrols, looping, and its last points lie under the pointer of those clicks."""
    camera = s.camera()
    for k, air in enumerate(s.state["aircraft"]):
        path = air["path"]
        s.check(air["command"] == PATROL and air["loop"] is True, "aircraft %d command" % k, "a looping patrol",
                air)
        if not s.check(len(path) >= len(names), "aircraft %d path length" % k, ">= %d" % len(names), path):
            continue
        for name, point in zip(names, path[len(path) - len(names):]):
            miss = camera.ground_track_distance(*POINTS[name], point)
            s.check(miss < 5.0, "%s: aircraft %d patrol point for click %s" % (what, k, name),
                    "under the pointer (within 5 units of the ray)", "%s, %.1f units off" % (point, miss))


def keys_without_aircraft(s):
    """P and Escape do nothing while the aircraft are not selected and nothing is armed."""
    messages = len(s.messages())
    s.tap("p")
    s.tap("Escape")
    s.check_new_messages(messages, [], "P and Escape with no aircraft selected")


def appending_then_plain_click(s):
    """Armed, Shift-click twice appends two points; the plain click after them drops the aircraft
    and places nothing."""
    select_everything(s)
    messages = len(s.messages())
    s.tap("p")
    s.key_down("shift")
    s.click(*POINTS["A"])
    s.click(*POINTS["B"])
    s.key_up("shift")
    check_path_ends(s, "AB", "after two Shift-clicks")
    lengths = [len(air["path"]) for air in s.state["aircraft"]]
    state = s.click(*POINTS["C"])
    s.check_new_messages(messages, [ARMED, APPENDED, APPENDED, DESELECTED], "Shift, Shift, plain click")
    s.check(state["selection"]["aircraft"] is False, "aircraft selection after the plain click", False,
            state["selection"])
    s.check([len(air["path"]) for air in state["aircraft"]] == lengths, "paths after the plain click",
            "unchanged %s" % lengths, [air["path"] for air in state["aircraft"]])
    messages = len(s.messages())
    s.tap("p")
    s.check_new_messages(messages, [], "P once the aircraft were deselected")


def plain_click_then_escape(s):
    """Armed, a plain click issues a one-point patrol and disarms; Escape then ends the sequence."""
    select_everything(s)
    messages = len(s.messages())
    s.tap("p")
    s.click(*POINTS["D"])
    check_path_ends(s, "D", "after a plain click")
    s.check(all(len(air["path"]) == 1 for air in s.state["aircraft"]), "paths after a plain click",
            "one point each", [air["path"] for air in s.state["aircraft"]])
    s.tap("Escape")
    s.tap("Escape")
    s.check_new_messages(messages, [ARMED, ISSUED, CANCELLED], "P, plain click, Escape twice")
    s.check(s.state["selection"]["aircraft"] is True, "aircraft after Escape", "still selected", s.state["selection"])


def right_click_cancels(s):
    """Armed, a right click cancels placement and gives no move order."""
    messages = len(s.messages())
    targets = [v["target"] for v in s.state["vehicles"]]
    s.tap("p")
    state = s.click(640, 400, button=3)
    s.check_new_messages(messages, [ARMED, CANCELLED], "P, right click")
    s.check([v["target"] for v in state["vehicles"]] == targets, "vehicle goals after the cancelling right click",
            "unchanged", [v["target"] for v in state["vehicles"]])
    check_path_ends(s, "D", "after the cancelling right click")


def main():
    return q.run("patrol", [keys_without_aircraft, appending_then_plain_click, plain_click_then_escape,
                            right_click_cancels], size=(W, H))


if __name__ == "__main__":
    sys.exit(main())
