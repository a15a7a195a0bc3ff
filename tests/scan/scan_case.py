"""What the tests of quillbay-scan from outside share: runs, and what the files hold."""

import json
import os
import re
import shutil
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

import numpy
import tifffile

PROGRAM = os.environ["QUILLBAY_SCAN"]
SOURCE = Path(os.environ["QUILLBAY_SOURCE"])
SMALL = "sim:size=200x150,at=0x0,width=300,seed=5"  # a quick page
A_PAGE = ["--mode", "grey", "-r", "50", "--area", "custom:0,0,200,150"]
LIMIT = 60  # seconds for anything; nothing is measured


class Case(unittest.TestCase):
    """A folder to scan into, a person without settings, and no scanners of the machine."""

    def setUp(self):
        self.root = Path(tempfile.mkdtemp(prefix="quillbay-scan-test-"))
        self.addCleanup(shutil.rmtree, self.root)
        self.out = self.root / "out"
        self.out.mkdir()
        self.config = self.root / "config" / "quillbay" / "settings.json"
        self.state = self.root / "state" / "quillbay" / "state.json"
        self.env = dict(os.environ, HOME=str(self.root), XDG_CONFIG_HOME=str(self.root / "config"),
                        XDG_STATE_HOME=str(self.root / "state"), XDG_DATA_HOME=str(self.root / "data"))
        (self.root / "drivers").mkdir()
        (self.root / "drivers" / "dll.conf").write_text("test\n")
        self.env["SANE_CONFIG_DIR"] = str(self.root / "drivers")
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "SANE_DEFAULT_DEVICE"):
            self.env.pop(name, None)

    def command(self, *arguments, device=SMALL):
        return [PROGRAM, *(["-d", device] if device else []), *arguments]

    def run_scan(self, *arguments, device=SMALL, limit=LIMIT):
        return subprocess.run(self.command(*arguments, device=device), cwd=self.out, env=self.env, timeout=limit,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)

    def expect(self, status, *arguments, device=SMALL):
        done = self.run_scan(*arguments, device=device)
        self.assertEqual(done.returncode, status, (arguments, done.stdout, done.stderr))
        return done

    def files(self):
        return sorted(p.name for p in self.out.iterdir())

    def pages(self, name):
        """The shapes of a file's pages."""
        with tifffile.TiffFile(self.out / name) as tiff:
            return [page.shape for page in tiff.pages]

    def image(self, name):
        """The first page's samples as they are, decoded by libtiff's own tool."""
        plain = self.root / "plain.tif"
        subprocess.run(["tiffcp", "-c", "none", f"{self.out / name},0", plain], check=True, timeout=LIMIT)
        return tifffile.imread(plain)

    def start(self, *arguments, device=SMALL):
        """Runs beside the test; ends with it."""
        process = subprocess.Popen(self.command(*arguments, device=device), cwd=self.out, env=self.env,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        timer = threading.Timer(LIMIT, process.kill)
        timer.start()
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(timer.cancel)
        return process

    def wait_for(self, process, event, count=1):
        """Reads events until `count` of a kind came."""
        seen = []
        for line in process.stdout:
            seen.append(json.loads(line))
            count -= seen[-1]["event"] == event
            if count == 0:
                return seen
        self.fail(f"no {event}: {seen} {process.stderr.read()}")


class FilledDisk:
    """A small file system of its own, for as long as a test runs."""

    def __init__(self, case, folder, options):
        folder.mkdir(exist_ok=True)
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", folder], capture_output=True)
        if done.returncode != 0:
            case.skipTest("no file system can be mounted")
        case.addCleanup(subprocess.run, ["umount", folder])


def read_pnm(data):
    """A PNM picture of one or two bytes a sample (of which the high one counts); bits become 0 (black) and 255.

    The tools leave a driver's padding in their lines; it is dropped.
    """
    found = re.match(rb"P([456])\s(?:#.*\n|\s)*(\d+)\s+(\d+)\s", data)
    kind, width, height = (int(group) for group in found.groups())
    at = found.end()
    if kind == 4:
        bits = numpy.unpackbits(numpy.frombuffer(data, "u1", offset=at).reshape(height, -1), axis=1)[:, :width]
        return (1 - bits) * numpy.uint8(255)
    most = re.compile(rb"(\d+)\s").match(data, at)
    kinds = {b"255": ("u1", 0), b"65535": (">u2", 8)}[most.group(1)]
    samples = numpy.frombuffer(data, kinds[0], offset=most.end()).reshape(height, -1) >> kinds[1]
    shape = (height, width) if kind == 5 else (height, width, 3)
    return samples[:, : width * (kind == 5 or 3)].astype("u1").reshape(shape)


def read_picture(path, page=0):
    """A page of a file as `read_pnm` gives it, decoded by libtiff's and netpbm's own tools."""
    if path.suffix == ".png":
        return read_pnm(subprocess.run(["pngtopnm", path], check=True, timeout=LIMIT, capture_output=True).stdout)
    with tempfile.TemporaryDirectory() as folder:
        plain = Path(folder, "plain.tif")
        subprocess.run(["tiffcp", "-c", "none", f"{path},{page}", plain], check=True, timeout=LIMIT)
        with tifffile.TiffFile(plain) as tiff:
            samples = tiff.pages[0].asarray()
            if samples.dtype != bool:
                return samples
            white = tiff.pages[0].photometric == tifffile.PHOTOMETRIC.MINISBLACK
            return numpy.where(samples == white, 255, 0).astype("u1")
