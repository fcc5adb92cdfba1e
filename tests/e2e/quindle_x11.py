"""Drives a real Quindle window on a private Xvfb server with xdotool, the way a person would.

A Session starts the X server and the application, sends real pointer and key events, and reads the
application's state file and screenshot back. SIGUSR1 makes the application write both after its
current frame (SIGUSR2: the screenshot too); two such snapshots in a row guarantee that every event sent before them has been
through a whole frame, so the tests pace their input by frames, not by guessed sleeps.

Failures are collected, not raised: each one prints what was expected, what the state file said
and where the state file and screenshot of that moment were kept.
"""

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

SKIP = 77  # CTest's SKIP_RETURN_CODE for a machine without Xvfb or xdotool
SCREEN = (1600, 1000)  # larger than the window, so the pointer can leave it on every side
TIMEOUT_S = 30.0


def have_tools():
    return all(shutil.which(tool) for tool in ("Xvfb", "xdotool"))


class Session:
    """One X server and one application window for a group of scenarios."""

    def __init__(self, binary, work_dir, size=(1280, 720), args=()):
        self.binary = binary
        self.work = work_dir
        self.width, self.height = size
        self.args = list(args)
        self.state_path = os.path.join(work_dir, "state.json")
        self.shot_path = os.path.join(work_dir, "shot.png")
        self.state = None
        self.frames = -1
        self.failures = []
        self.saved = 0
        self.xvfb = None
        self.app = None
        self.window = None
        shutil.rmtree(work_dir, ignore_errors=True)
        os.makedirs(work_dir)

    # ---- lifetime -------------------------------------------------------------------------------

    def __enter__(self):
        self.start_x_server()
        self.start_app()
        return self

    def __exit__(self, *exc):
        for proc in (self.app, self.xvfb):
            if proc and proc.poll() is None:
                proc.kill()
                proc.wait()
        return False

    def start_x_server(self):
        read_fd, write_fd = os.pipe()
        screen = "%dx%dx24" % SCREEN
        self.xvfb = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_fd), "-screen", "0", screen, "-nolisten", "tcp"],
            pass_fds=(write_fd,), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_fd)
        number = b""
        deadline = time.monotonic() + TIMEOUT_S
        while not number.endswith(b"\n") and time.monotonic() < deadline:
            ready, _, _ = select.select([read_fd], [], [], 1.0)
            if ready:
                chunk = os.read(read_fd, 16)
                if not chunk:
                    break
                number += chunk
        os.close(read_fd)
        if not number.strip():
            raise RuntimeError("Xvfb did not report a display")
        # In a sanitizer build, the GL driver unloaded at exit looks like a leak to LeakSanitizer; the
        # soak test checks for leaks with the driver kept loaded, so these runs leave that to it.
        self.env = dict(os.environ, DISPLAY=":" + number.decode().strip(), SDL_VIDEO_DRIVER="x11",
                        LSAN_OPTIONS="detect_leaks=0")

    def start_app(self):
        command = [self.binary, "--size", "%dx%d" % (self.width, self.height), "--state-out",
                   self.state_path, "--screenshot", self.shot_path] + self.args
        self.app = subprocess.Popen(command, env=self.env, stdout=subprocess.DEVNULL)
        found = subprocess.run(["xdotool", "search", "--sync", "--name", "^Quindle - "], env=self.env,
                               capture_output=True, text=True, timeout=TIMEOUT_S)
        self.window = found.stdout.split()[0]
        self.xdo("windowfocus", "--sync", self.window)
        self.sync()

    def finish(self):
        """Ends the application as a window manager would (SIGTERM becomes SDL's quit event) and
        reads the files it writes at exit."""
        self.app.send_signal(signal.SIGTERM)
        code = self.app.wait(timeout=TIMEOUT_S)
        self.check(code == 0, "exit status", 0, code)
        self.state = self.read_state()
        return self.state

    # ---- input ----------------------------------------------------------------------------------

    def xdo(self, *args):
        subprocess.run(["xdotool"] + [str(a) for a in args], env=self.env, check=True, timeout=TIMEOUT_S)

    def move(self, x, y):
        """Moves the pointer to window pixel (x, y) and lets the application see it."""
        self.xdo("mousemove", "--window", self.window, int(round(x)), int(round(y)))
        return self.sync()

    def press(self, button):
        self.xdo("mousedown", button)
        return self.sync()

    def release(self, button):
        self.xdo("mouseup", button)
        return self.sync()

    def click(self, x, y, button=1, repeat=1):
        """A press carries its own position, so moving and clicking may share a frame."""
        self.xdo("mousemove", "--window", self.window, int(round(x)), int(round(y)), "click", "--repeat", repeat,
                 "--delay", 1, button)
        return self.sync()

    def key_down(self, key):
        self.xdo("keydown", key)
        return self.sync()

    def key_up(self, key):
        self.xdo("keyup", key)
        return self.sync()

    def tap(self, key):
        self.key_down(key)
        return self.key_up(key)

    def drag(self, button, points):
        """Presses at the first point, moves through the others frame by frame, releases."""
        self.move(*points[0])
        self.press(button)
        for point in points[1:]:
            self.move(*point)
        return self.release(button)

    # ---- reading the application back ----------------------------------------------------------

    def read_state(self):
        with open(self.state_path) as f:
            return json.load(f)

    def snapshot(self, screenshot=False):
        """Asks for the state file (and screenshot) and waits until a newer frame wrote them."""
        self.app.send_signal(signal.SIGUSR2 if screenshot else signal.SIGUSR1)
        deadline = time.monotonic() + TIMEOUT_S
        while time.monotonic() < deadline:
            if self.app.poll() is not None:
                raise RuntimeError("quindle exited with status %d" % self.app.returncode)
            try:
                state = self.read_state()
                if state["frames"] > self.frames:
                    self.state, self.frames = state, state["frames"]
                    return state
            except (OSError, ValueError, KeyError):
                pass  # not written yet, or caught half written
            time.sleep(0.005)
        raise RuntimeError("no snapshot within %.0f s" % TIMEOUT_S)

    def sync(self):
        """The second snapshot's frame started after the first one was written, so it has seen
        every event sent before this call."""
        self.snapshot()
        return self.snapshot()

    def wait_until(self, predicate, timeout_s):
        deadline = time.monotonic() + timeout_s
        while time.monotonic() < deadline:
            if predicate(self.snapshot()):
                return True
            time.sleep(0.1)
        return False

    def image(self):
        """A screenshot of the next frame; self.state is that frame's."""
        self.snapshot(screenshot=True)
        return Image.read(self.shot_path)

    def keep(self, label):
        """Copies the latest state file and screenshot under a name, for the failure report."""
        self.saved += 1
        base = os.path.join(self.work, "%02d-%s" % (self.saved, label))
        shutil.copyfile(self.state_path, base + ".json")
        if os.path.exists(self.shot_path):
            shutil.copyfile(self.shot_path, base + ".png")
        return base

    def camera(self):
        return Camera(self.state["camera"], self.width, self.height)

    def messages(self):
        return self.state["statusMessages"]

    # ---- checks ---------------------------------------------------------------------------------

    def check(self, ok, what, expected, got):
        if ok:
            return True
        base = self.keep("failure")
        self.failures.append("%s: expected %s, the state file says %s\n    state file: %s.json\n"
                             "    screenshot: %s.png" % (what, expected, got, base, base))
        print("FAIL " + self.failures[-1], flush=True)
        return False

    def check_near(self, got, expected, tolerance, what):
        return self.check(got is not None and abs(got - expected) <= tolerance, what,
                          "%.6g (within %g)" % (expected, tolerance), got)

    def check_new_messages(self, before, expected, what):
        """The messages shown since `before` (a count of messages) are exactly `expected`."""
        got = self.messages()[before:]
        return self.check(got == list(expected), what + ": status messages", expected, got)

    def report(self, name):
        if self.failures:
            print("%s: %d check(s) failed; files in %s" % (name, len(self.failures), self.work))
            return 1
        print("%s: all checks passed" % name)
        return 0


def run(name, scenarios, args=(), size=(1280, 720)):
    """Runs the scenario functions in order on one window: argv[1] is the binary, argv[2] the
    folder for the files kept."""
    if not have_tools():
        print("Xvfb or xdotool missing: skipped")
        return SKIP
    binary, work = sys.argv[1], os.path.join(sys.argv[2], name)
    with Session(binary, work, size, args) as session:
        for scenario in scenarios:
            print("-- " + scenario.__name__, flush=True)
            try:
                scenario(session)
            except Exception as error:  # noqa: BLE001 - reported as a failed scenario, the rest still runs
                session.check(False, scenario.__name__, "to run to its end", "an error: %s" % error)
        session.finish()
    return session.report(name)


# ---- the orbit camera, as the renderer builds it ----------------------------------------------


class Camera:
    """World to window pixels: translate by (-WorldOffsetX, 0, -WorldOffsetZ), turn about Y by the
    yaw, about X by the pitch, translate by (PanX, PanY, -Distance), then a perspective of the
    vertical field of view over the whole window. Auto-rotation must be off."""

    def __init__(self, fields, width, height):
        self.f = fields
        self.width, self.height = width, height
        self.tan_half_fov = math.tan(math.radians(min(max(fields["fovDeg"], 1.0), 170.0)) / 2.0)

    def to_camera(self, x, y, z):
        f = self.f
        x, z = x - f["worldOffsetX"], z - f["worldOffsetZ"]
        yaw, pitch = math.radians(f["yawDeg"]), math.radians(f["pitchDeg"])
        x, z = x * math.cos(yaw) + z * math.sin(yaw), -x * math.sin(yaw) + z * math.cos(yaw)
        y, z = y * math.cos(pitch) - z * math.sin(pitch), y * math.sin(pitch) + z * math.cos(pitch)
        return x + f["panX"], y + f["panY"], z - f["distance"]

    def to_screen(self, point):
        """Window pixels of a world point, or None behind the eye."""
        x, y, z = self.to_camera(*point)
        if z >= -1e-6:
            return None
        aspect = self.width / self.height
        ndc_x = x / (-z) / (aspect * self.tan_half_fov)
        ndc_y = y / (-z) / self.tan_half_fov
        return (ndc_x + 1.0) * 0.5 * self.width, (1.0 - ndc_y) * 0.5 * self.height

    def ray(self, px, py):
        """Eye and (unnormalised) direction in the world of the ray under a window pixel."""
        f = self.f
        aspect = self.width / self.height
        rx = (2.0 * px / self.width - 1.0) * aspect * self.tan_half_fov
        ry = (1.0 - 2.0 * py / self.height) * self.tan_half_fov
        eye_cam = (-f["panX"], -f["panY"], f["distance"])
        return self.from_camera(*eye_cam, offset=True), self.from_camera(rx, ry, -1.0, offset=False)

    def from_camera(self, x, y, z, offset):
        f = self.f
        pitch, yaw = -math.radians(f["pitchDeg"]), -math.radians(f["yawDeg"])
        y, z = y * math.cos(pitch) - z * math.sin(pitch), y * math.sin(pitch) + z * math.cos(pitch)
        x, z = x * math.cos(yaw) + z * math.sin(yaw), -x * math.sin(yaw) + z * math.cos(yaw)
        if offset:
            x, z = x + f["worldOffsetX"], z + f["worldOffsetZ"]
        return x, y, z

    def ground_track_distance(self, px, py, point, max_height=2000.0):
        """How far a map point (X, Z) lies from the part of the pixel's ray between heights 0 and
        max_height, on the ground plane: a terrain pick under the pixel lies on that segment."""
        eye, d = self.ray(px, py)
        if d[1] >= 0.0:
            return float("inf")
        t0, t1 = (max_height - eye[1]) / d[1], (0.0 - eye[1]) / d[1]
        ax, az = eye[0] + d[0] * max(t0, 0.0), eye[2] + d[2] * max(t0, 0.0)
        bx, bz = eye[0] + d[0] * t1, eye[2] + d[2] * t1
        return distance_to_segment(point[0], point[2], ax, az, bx, bz)


def distance_to_segment(x, z, ax, az, bx, bz):
    dx, dz = bx - ax, bz - az
    length2 = dx * dx + dz * dz
    t = 0.0 if length2 == 0.0 else min(max(((x - ax) * dx + (z - az) * dz) / length2, 0.0), 1.0)
    return math.hypot(x - ax - t * dx, z - az - t * dz)


# ---- screenshots --------------------------------------------------------------------------------


class Image:
    """An 8-bit RGB or RGBA PNG, decoded with zlib alone."""

    def __init__(self, width, height, channels, rows):
        self.width, self.height, self.channels, self.rows = width, height, channels, rows

    @staticmethod
    def read(path):
        with open(path, "rb") as f:
            data = f.read()
        if data[:8] != b"\x89PNG\r\n\x1a\n":
            raise ValueError("%s is not a PNG" % path)
        pos, idat = 8, []
        while pos < len(data):
            length = int.from_bytes(data[pos:pos + 4], "big")
            kind, body = data[pos + 4:pos + 8], data[pos + 8:pos + 8 + length]
            if kind == b"IHDR":
                width, height = int.from_bytes(body[0:4], "big"), int.from_bytes(body[4:8], "big")
                depth, colour, interlace = body[8], body[9], body[12]
                if depth != 8 or colour not in (2, 6) or interlace:
                    raise ValueError("%s: only 8-bit RGB(A), not interlaced" % path)
                channels = 4 if colour == 6 else 3
            elif kind == b"IDAT":
                idat.append(body)
            pos += 12 + length
        raw = zlib.decompress(b"".join(idat))
        return Image(width, height, channels, unfilter(raw, width * channels, height, channels))

    def pixel(self, x, y):
        x, y = int(x), int(y)
        row, at = self.rows[y], x * self.channels
        return row[at], row[at + 1], row[at + 2]


def unfilter(raw, stride, height, bpp):
    rows, previous = [], bytearray(stride)
    for y in range(height):
        start = y * (stride + 1)
        kind, line = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        if kind == 1:
            for i in range(bpp, stride):
                line[i] = (line[i] + line[i - bpp]) & 255
        elif kind == 2:
            line = bytearray((a + b) & 255 for a, b in zip(line, previous))
        elif kind == 3:
            for i in range(stride):
                left = line[i - bpp] if i >= bpp else 0
                line[i] = (line[i] + ((left + previous[i]) >> 1)) & 255
        elif kind == 4:
            for i in range(stride):
                a = line[i - bpp] if i >= bpp else 0
                b, c = previous[i], previous[i - bpp] if i >= bpp else 0
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[i] = (line[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append(line)
        previous = line
    return rows
