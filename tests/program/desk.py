"""A desktop of its own for the tests: a display in memory, a session bus, the bus of the accessibility services, and a
person without settings. Key presses and clicks are the display's own events."""

import os
import shutil
import struct
import subprocess
import tempfile
import time
import zlib
from pathlib import Path

import numpy

LIMIT = 30  # seconds for anything; nothing is measured
TOOLS = ("Xvfb", "xdotool", "dbus-daemon", "tiffcp")


def require_tools():
    missing = [tool for tool in TOOLS if not shutil.which(tool)]
    if not Path("/usr/share/dbus-1/services/org.a11y.Bus.service").exists():
        missing.append("at-spi2-core")
    try:
        import gi  # noqa: F401
    except ImportError:
        missing.append("python3-gi")
    if missing:
        raise SystemExit(f"missing: {', '.join(missing)}; packaging/install-deps.sh installs them")


def wait_until(what, probe, limit=LIMIT):
    """The first answer of `probe` that is true; `what` says in a failure what was waited for."""
    end = time.monotonic() + limit
    while True:
        answer = probe()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"waited {limit} s for: {what() if callable(what) else what}")
        time.sleep(0.02)


class Desk:
    """Started once for a test; `close` ends everything that it started."""

    def __init__(self, width=1366, height=768):
        require_tools()
        self.root = Path(tempfile.mkdtemp(prefix="quillbay-program-test-"))
        self.children = []
        self.env = {name: value for name, value in os.environ.items()
                    if not name.startswith(("QT_", "XDG_", "WAYLAND_", "DBUS_", "AT_SPI_", "SANE_"))}
        for name in ("config", "state", "data", "cache", "runtime", "drivers"):
            (self.root / name).mkdir(mode=0o700)
        (self.root / "drivers" / "dll.conf").write_text("\n")  # no scanners of the machine
        self.env.update(HOME=str(self.root), SANE_CONFIG_DIR=str(self.root / "drivers"), LIBGL_ALWAYS_SOFTWARE="1",
                        QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_SCALE_FACTOR="1",
                        GSETTINGS_BACKEND="memory")
        for name in ("config", "state", "data", "cache"):
            self.env[f"XDG_{name.upper()}_HOME"] = str(self.root / name)
        self.env["XDG_RUNTIME_DIR"] = str(self.root / "runtime")
        try:
            number = self._announced(["Xvfb", "-displayfd", "{}", "-screen", "0", f"{width}x{height}x24", "-nolisten",
                                      "tcp", "-noreset", "-fbdir", str(self.root)])
            self.env["DISPLAY"] = f":{number}"
            self.env["DBUS_SESSION_BUS_ADDRESS"] = self._announced(
                ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address={}"])
        except BaseException:
            self.close()
            raise

    def _announced(self, command):
        """Starts a server that writes its address to the file descriptor in place of {}."""
        reading, writing = os.pipe()
        with open(reading) as pipe:
            command = [word.format(writing) for word in command]
            self.children.append(subprocess.Popen(command, env=self.env, pass_fds=[writing], stdin=subprocess.DEVNULL,
                                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            os.close(writing)
            address = pipe.readline().strip()
        if not address:
            raise AssertionError(f"{command[0]} did not start")
        return address

    def close(self):
        for child in reversed(self.children):
            child.terminate()
            try:
                child.wait(LIMIT)
            except subprocess.TimeoutExpired:
                child.kill()
                child.wait()
        shutil.rmtree(self.root, ignore_errors=True)

    def xdotool(self, *words):
        return subprocess.run(["xdotool", *map(str, words)], env=self.env, check=True, timeout=LIMIT,
                              capture_output=True, text=True).stdout

    def search(self, *words):
        """Numbers of windows; an empty list when there is none."""
        return subprocess.run(["xdotool", "search", "--all", *map(str, words)], env=self.env, timeout=LIMIT,
                              capture_output=True, text=True).stdout.split()

    def click(self, x, y, button=1, times=1):
        self.xdotool("mousemove", "--sync", x, y, "click", "--repeat", times, "--delay", 20, button)

    def drag(self, start, end, steps=12):
        """With the left button, in steps: a single leap is no drag."""
        places = [tuple(round(a + (b - a) * i / steps) for a, b in zip(start, end)) for i in range(steps + 1)]
        self.xdotool("mousemove", "--sync", *places[0], "mousedown", 1)
        for place in places[1:]:
            self.xdotool("mousemove", "--sync", *place)
        self.xdotool("mouseup", 1)

    def keys(self, *names):
        self.xdotool("key", "--delay", 4, *names)

    def type(self, text):
        self.xdotool("type", "--delay", 4, "--", text)

    def pixels(self):
        """What the display shows: rows of red, green, blue, from its frame buffer, which it keeps in a file."""
        data = next(self.root.glob("Xvfb_screen0")).read_bytes()
        head = struct.unpack(">25I", data[:100])
        width, height, stride, colours = head[4], head[5], head[12], head[19]
        rows = numpy.frombuffer(data, "u1", offset=head[0] + colours * 12).reshape(-1, stride)[:height, : width * 4]
        return rows.reshape(height, width, 4)[:, :, 2::-1]

    def screenshot(self, path):
        """What the display shows, as a PNG."""
        rgb = self.pixels()
        height, width = rgb.shape[:2]
        lines = b"".join(b"\0" + line.tobytes() for line in rgb)

        def chunk(kind, body):
            return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

        header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
        Path(path).write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines, 4))
                               + chunk(b"IEND", b""))
