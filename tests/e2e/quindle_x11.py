"""Drives a real Quindle window on a private Xvfb server with xdotool, the way a person would.

SIGUSR1 makes the application write its state file after the current frame (SIGUSR2: the screenshot
too); after two such snapshots in a row every event sent before has been through a whole frame, so
scenarios pace their input by frames, not by guessed sleeps. A failed check keeps that moment's files."""

import json
import math
import os
import select
import shutil
import signal
import subprocess
import sys
import time
import zlib

W, H = 1280, 720  # the window; the screen is larger, so the pointer can leave it on every side
TIMEOUT_S = 30.0
SELECTED = "%d unit(s) selected. Right click to move."


class Session:
    def __init__(self, binary, work, args):
        self.work, self.frames, self.failures = work, -1, []
        self.state_path, self.shot_path = os.path.join(work, "state.json"), os.path.join(work, "shot.png")
        shutil.rmtree(work, ignore_errors=True)
        os.makedirs(work)
        read_fd, write_fd = os.pipe()
        self.xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write_fd), "-screen", "0", "1600x1000x24",
                                      "-nolisten", "tcp"], pass_fds=(write_fd,), stderr=subprocess.DEVNULL)
        os.close(write_fd)
        number = b""
        while not number.endswith(b"\n") and select.select([read_fd], [], [], TIMEOUT_S)[0]:
            number += os.read(read_fd, 16) or b"\n"
        os.close(read_fd)
        # LeakSanitizer would take the GL driver unloaded at exit for a leak; the soak test checks leaks.
        self.env = dict(os.environ, DISPLAY=":" + number.decode().strip(), SDL_VIDEO_DRIVER="x11",
                        LSAN_OPTIONS="detect_leaks=0")
        self.app = subprocess.Popen([binary, "--size", "%dx%d" % (W, H), "--state-out", self.state_path,
                                     "--screenshot", self.shot_path] + list(args), env=self.env,
                                    stdout=subprocess.DEVNULL)
        self.window = self.run("search", "--sync", "--name", "^Quindle - ").split()[0]
        self.run("windowfocus", "--sync", self.window)
        self.initial = self.sync()

    def run(self, *args):
        return subprocess.run(["xdotool"] + [str(a) for a in args], env=self.env, check=True, timeout=TIMEOUT_S,
                              capture_output=True, text=True).stdout

    # Input: each call returns the state once a whole frame has seen it.
    def xdo(self, *args):
        self.run(*args)
        return self.sync()

    def move(self, x, y):
        return self.xdo("mousemove", "--window", self.window, round(x), round(y))

    def click(self, x, y, button=1, repeat=1):
        """Moving and clicking may share a frame: a press carries its own position."""
        return self.xdo("mousemove", "--window", self.window, round(x), round(y), "click", "--repeat", repeat,
                        "--delay", 1, button)

    def drag(self, button, points, keys=()):
        """Holds the keys, presses at the first point, moves through the others frame by frame, releases."""
        for key in keys:
            self.xdo("keydown", key)
        self.move(*points[0])
        self.xdo("mousedown", button)
        for point in points[1:]:
            self.move(*point)
        self.xdo("mouseup", button)
        for key in keys:
            self.xdo("keyup", key)
        return self.state

    def hold(self, key, seconds):
        """Holds a key for about this long, at least a frame; returns the seconds it was down at most."""
        started = time.monotonic()
        self.xdo("keydown", key)
        time.sleep(max(0.0, seconds - (time.monotonic() - started)))
        self.xdo("keyup", key)
        return time.monotonic() - started

    def snapshot(self, screenshot=False):
        """Asks for the state file (and screenshot) and waits until a newer frame wrote them."""
        self.app.send_signal(signal.SIGUSR2 if screenshot else signal.SIGUSR1)
        deadline = time.monotonic() + TIMEOUT_S
        while time.monotonic() < deadline and self.app.poll() is None:
            try:
                with open(self.state_path) as f:
                    state = json.load(f)
                if state["frames"] > self.frames:
                    self.state, self.frames = state, state["frames"]
                    return state
            except (OSError, ValueError, KeyError):
                pass  # not written yet, or caught half written
            time.sleep(0.005)
        raise RuntimeError("no snapshot (quindle status %s)" % self.app.poll())

    def sync(self):
        """The second snapshot's frame started after the first was written, so it saw every event before."""
        self.snapshot()
        return self.snapshot()

    def wait_until(self, predicate, timeout_s):
        deadline = time.monotonic() + timeout_s
        while time.monotonic() < deadline and not predicate(self.snapshot()):
            pass
        return predicate(self.state)

    def image(self):
        return self.snapshot(screenshot=True) and Image(self.shot_path)  # self.state is the same frame's

    def camera(self):
        return Camera(self.state["camera"])

    def vehicle_pixels(self):
        return [self.camera().to_screen(v["position"]) for v in self.state["vehicles"]]

    def messages(self):
        return self.state["statusMessages"]

    def check(self, ok, what, expected, got):
        if not ok:
            base = os.path.join(self.work, "%02d-failure" % (len(self.failures) + 1))
            for path, ext in ((self.state_path, ".json"), (self.shot_path, ".png")):
                if os.path.exists(path):
                    shutil.copyfile(path, base + ext)
            self.failures.append("%s: expected %s, got %s\n    files: %s.json/.png" % (what, expected, got, base))
            print("FAIL " + self.failures[-1], flush=True)
        return ok

    def check_near(self, got, expected, tolerance, what):
        return self.check(got is not None and abs(got - expected) <= tolerance, what,
                          "%.6g (within %g)" % (expected, tolerance), got)

    def check_messages(self, before, expected, what):
        """The status messages shown since there were `before` of them are exactly `expected`."""
        got = self.messages()[before:]
        return self.check(got == list(expected), what + ": status messages", expected, got)

    def check_pixels(self, image, points, test, what):
        got = [image.pixel(x, y) for x, y in points]
        self.check(all(map(test, got)), "screenshot: " + what, test.__name__, got)


def run(name, scenarios, args=()):
    """Runs the scenarios in order on one window: argv[1] is the binary, argv[2] the folder for files.
    Exits 77 (CTest's skip) where Xvfb or xdotool is missing."""
    if not all(shutil.which(tool) for tool in ("Xvfb", "xdotool")):
        print("Xvfb or xdotool missing: skipped")
        return 77
    s = Session(sys.argv[1], os.path.join(sys.argv[2], name), args)
    try:
        for scenario in scenarios:
            print("-- " + scenario.__name__, flush=True)
            try:
                scenario(s)
            except Exception as error:  # noqa: BLE001 - a failed scenario; the rest still run
                s.check(False, scenario.__name__, "to run to its end", "an error: %r" % error)
        # SIGTERM is the window manager's close: SDL's quit event, a clean exit.
        s.app.send_signal(signal.SIGTERM)
        s.check(s.app.wait(timeout=TIMEOUT_S) == 0, "exit status", 0, s.app.returncode)
    finally:
        for proc in (s.app, s.xvfb):
            proc.kill()
            proc.wait()
    print("%s: %s" % (name, "%d check(s) failed" % len(s.failures) if s.failures else "all passed"))
    return 1 if s.failures else 0


def wrap_deg(a):
    r = math.fmod(a, 360.0)
    return r - 360.0 if r > 180.0 else r + 360.0 if r <= -180.0 else r


class Camera:
    """World to window pixels as the renderer builds it (auto-rotation off): translate by minus the
    orbit centre, turn about Y by the yaw and about X by the pitch, translate by (PanX, PanY,
    -Distance), then a perspective of the vertical field of view over the whole window."""

    def __init__(self, f):
        self.f, self.tan_half_fov = f, math.tan(math.radians(min(max(f["fovDeg"], 1.0), 170.0)) / 2.0)
        self.cy, self.sy = math.cos(math.radians(f["yawDeg"])), math.sin(math.radians(f["yawDeg"]))
        self.cp, self.sp = math.cos(math.radians(f["pitchDeg"])), math.sin(math.radians(f["pitchDeg"]))

    def to_screen(self, point):
        """Window pixels of a world point, or None behind the eye."""
        f = self.f
        x, y, z = point[0] - f["worldOffsetX"], point[1], point[2] - f["worldOffsetZ"]
        x, z = x * self.cy + z * self.sy, -x * self.sy + z * self.cy
        y, z = y * self.cp - z * self.sp + f["panY"], y * self.sp + z * self.cp - f["distance"]
        if z >= -1e-6:
            return None
        return (((x + f["panX"]) / -z / (W / H * self.tan_half_fov) + 1.0) * 0.5 * W,
                (1.0 - y / -z / self.tan_half_fov) * 0.5 * H)

    def from_camera(self, x, y, z):
        y, z = y * self.cp + z * self.sp, -y * self.sp + z * self.cp
        return x * self.cy - z * self.sy, y, x * self.sy + z * self.cy

    def ground_point(self, px, py, level):
        """Where the ray under a window pixel crosses the height `level`."""
        f = self.f
        eye = self.from_camera(-f["panX"], -f["panY"], f["distance"])
        d = self.from_camera((2.0 * px / W - 1.0) * W / H * self.tan_half_fov, (1.0 - 2.0 * py / H) * self.tan_half_fov,
                             -1.0)
        t = (min(level, eye[1]) - eye[1]) / d[1]
        return eye[0] + d[0] * t + f["worldOffsetX"], eye[1] + d[1] * t, eye[2] + d[2] * t + f["worldOffsetZ"]

    def ground_track_distance(self, px, py, point):
        """How far a map point lies, on the ground plane, from the pixel's ray between heights 0 and
        2000 (or the eye): a terrain pick under the pixel lies on that stretch."""
        (ax, _, az), (bx, _, bz) = self.ground_point(px, py, 2000.0), self.ground_point(px, py, 0.0)
        dx, dz = bx - ax, bz - az
        t = min(max(((point[0] - ax) * dx + (point[2] - az) * dz) / (dx * dx + dz * dz or 1.0), 0.0), 1.0)
        return math.hypot(point[0] - ax - t * dx, point[2] - az - t * dz)


class Image:
    """An 8-bit RGB PNG as the application writes it, decoded with zlib alone."""

    def __init__(self, path):
        with open(path, "rb") as f:
            data = f.read()
        pos, idat = 8, b""
        while pos < len(data):
            length, kind, body = int.from_bytes(data[pos:pos + 4], "big"), data[pos + 4:pos + 8], data[pos + 8:]
            if kind == b"IHDR" and (body[8:10] != b"\x08\x02" or body[12]):
                raise ValueError("%s: not 8-bit RGB, not interlaced" % path)
            self.width = int.from_bytes(body[0:4], "big") if kind == b"IHDR" else self.width
            idat += body[:length] if kind == b"IDAT" else b""
            pos += 12 + length
        raw, stride, up, self.rows = zlib.decompress(idat), self.width * 3, bytearray(self.width * 3), []
        for start in range(0, len(raw), stride + 1):
            kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
            if kind == 2:
                line = bytearray((x + u) & 255 for x, u in zip(line, up))
            elif kind:
                for i in range(stride):
                    a, b, c = (line[i - 3] if i >= 3 else 0), up[i], (up[i - 3] if i >= 3 else 0)
                    pa, pb, pc = abs(b - c), abs(a - c), abs(a + b - 2 * c)
                    line[i] = (line[i] + (a if kind == 1 else (a + b) >> 1 if kind == 3 else
                                          a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
            self.rows.append(line)
            up = line

    def pixel(self, x, y):
        return tuple(self.rows[int(y)][int(x) * 3:int(x) * 3 + 3])
