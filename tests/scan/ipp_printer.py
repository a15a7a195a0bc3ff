"""The IPP printer simulator of CUPS on loopback, and what it keeps of the rasters that it was sent."""

import os
import shutil
import socket
import struct
import subprocess
import tempfile
import time
from pathlib import Path

import numpy

# A1 without margins, a roll of 300 mm that is cut between 20 and 500 mm; 100 and 200 dpi; all colours.
PLOTTER = """ATTR text printer-make-and-model "Example Plotter"
ATTR boolean color-supported true
ATTR integer copies-default 1
ATTR rangeOfInteger copies-supported 1-9
ATTR keyword media-default roll_current_300x0mm
ATTR keyword media-supported iso_a1_594x841mm,roll_current_300x0mm
ATTR keyword media-ready roll_current_300x0mm
ATTR collection media-col-database {
 MEMBER collection media-size { MEMBER integer x-dimension 59400 MEMBER integer y-dimension 84100 }
 MEMBER integer media-bottom-margin 0 MEMBER integer media-left-margin 0
 MEMBER integer media-right-margin 0 MEMBER integer media-top-margin 0 },{
 MEMBER collection media-size { MEMBER integer x-dimension 30000 MEMBER rangeOfInteger y-dimension 2000-50000 }
 MEMBER keyword media-size-name roll_current_300x0mm
 MEMBER integer media-bottom-margin 0 MEMBER integer media-left-margin 0
 MEMBER integer media-right-margin 0 MEMBER integer media-top-margin 0 }
ATTR collection media-size-supported {
 MEMBER integer x-dimension 59400 MEMBER integer y-dimension 84100 },{
 MEMBER integer x-dimension 30000 MEMBER rangeOfInteger y-dimension 2000-50000 }
ATTR keyword print-color-mode-supported auto,color,monochrome
ATTR keyword print-color-mode-default auto
ATTR enum print-quality-supported 3,4,5
ATTR enum print-quality-default 4
ATTR keyword print-scaling-supported none
ATTR resolution printer-resolution-supported 100dpi,200dpi
ATTR resolution printer-resolution-default 200dpi
ATTR resolution pwg-raster-document-resolution-supported 100dpi,200dpi
ATTR keyword pwg-raster-document-type-supported black_1,sgray_8,srgb_8
ATTR keyword sides-supported one-sided
ATTR keyword sides-default one-sided
"""
BUS = """<busconfig><type>system</type><listen>unix:path={}</listen><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""
START = 30  # seconds


def is_installed():
    return bool(shutil.which("ippeveprinter", path="/usr/sbin:/usr/bin") and shutil.which("dbus-daemon"))


class Printer:
    """A simulated printer for as long as a test case runs, with a message bus of its own."""

    def __init__(self, case, *options):
        if not is_installed():
            case.skipTest("ippeveprinter or dbus-daemon is not installed")
        self.folder = Path(tempfile.mkdtemp(prefix="quillbay-printer-"))
        case.addCleanup(shutil.rmtree, self.folder, True)
        (self.folder / "kept").mkdir()
        (self.folder / "plotter.conf").write_text(PLOTTER)
        (self.folder / "bus.conf").write_text(BUS.format(self.folder / "bus"))
        self.bus = self._start(case, ["dbus-daemon", f"--config-file={self.folder / 'bus.conf'}", "--nofork",
                                      "--nopidfile"])
        self._wait(lambda: (self.folder / "bus").exists(), self.bus)
        for _ in range(5):  # the port may be taken between the look and the start
            with socket.socket() as free:
                free.bind(("127.0.0.1", 0))
                self.port = free.getsockname()[1]
            self.process = self._start(case, [
                "ippeveprinter", "-r", "off", "-n", "localhost", "-p", str(self.port), "-k", "-d",
                self.folder / "kept", "-a", self.folder / "plotter.conf", "-c", "/bin/true", *options, "Plotter"])
            if self._wait(self._answers, self.process):
                return
        case.fail("ippeveprinter does not start: " + (self.folder / "log").read_text())

    @property
    def address(self):
        return f"ipp://localhost:{self.port}/ipp/print"

    def stop(self):
        self.process.kill()
        self.process.wait()

    def kept(self):
        """The rasters of its jobs, in their order."""
        files = [f for f in (self.folder / "kept").iterdir() if f.suffix == ".pwg"]
        return sorted(files, key=lambda f: int(f.name.split("-")[0]))

    def _start(self, case, command):
        environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={self.folder / 'bus'}",
                           HOME=str(self.folder), PATH="/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin")
        with open(self.folder / "log", "a", encoding="utf-8") as log:
            process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        case.addCleanup(process.wait)
        case.addCleanup(process.kill)
        return process

    def _answers(self):
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    @staticmethod
    def _wait(test, process):
        end = time.monotonic() + START
        while time.monotonic() < end and process.poll() is None:
            if test():
                return True
            time.sleep(0.02)  # between two looks
        return False


def _line(data, at, size, pixel):
    """One line's bytes, and where the next one begins."""
    line = bytearray()
    while len(line) < size:
        code = data[at]
        count = code + 1 if code < 128 else 257 - code
        if code < 128:
            line += data[at + 1:at + 1 + pixel] * count
            at += 1 + pixel
        else:
            line += data[at + 1:at + 1 + pixel * count]
            at += 1 + pixel * count
    return bytes(line), at


def sheets(path):
    """The sheets of a PWG raster: (dpi, samples as rows of grey or RGB; of one bit 0 for black, 255)."""
    data = Path(path).read_bytes()
    assert data[:4] == b"RaS2", data[:4]
    found, at = [], 4
    while at < len(data):
        header = data[at:at + 1796]
        at += 1796
        dpi, = struct.unpack(">I", header[276:280])
        width, height = struct.unpack(">II", header[372:380])
        bits, size = struct.unpack(">I", header[388:392])[0], struct.unpack(">I", header[392:396])[0]
        rows = []
        while len(rows) < height:
            repeat = data[at] + 1
            line, at = _line(data, at + 1, size, max(1, bits // 8))
            rows += [line] * repeat
        samples = numpy.frombuffer(b"".join(rows), "u1").reshape(height, size)
        if bits == 1:
            samples = (1 - numpy.unpackbits(samples, axis=1)[:, :width]) * numpy.uint8(255)
        elif bits == 24:
            samples = samples.reshape(height, width, 3)
        found.append((dpi, samples))
    return found
