#!/usr/bin/env python3
"""A page printed while it is scanned, beside `lp` of a ready TIFF file of the same page.

usage: print_bench.py BUILD_FOLDER OUTPUT_FOLDER [--quick]

The scanner is one of 100 MB/s, and one that never waits. The printer is the IPP simulator of CUPS on loopback, and a
queue of a print system of its own whose device is /dev/null. Times run from the scanner's first line to the printer's
last byte; a file is printed after its scan. Peak memory is that of the program that prints.
"""
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time

PLOTTER = """ATTR boolean color-supported true
ATTR rangeOfInteger copies-supported 1-9
ATTR keyword media-default roll_current_914.4x0mm
ATTR keyword media-ready roll_current_914.4x0mm
ATTR keyword media-supported roll_current_914.4x0mm
ATTR collection media-size-supported { MEMBER integer x-dimension 91440 MEMBER rangeOfInteger y-dimension 2000-20000000 }
ATTR collection media-col-database {
 MEMBER collection media-size { MEMBER integer x-dimension 91440 MEMBER rangeOfInteger y-dimension 2000-20000000 }
 MEMBER keyword media-size-name roll_current_914.4x0mm
 MEMBER integer media-bottom-margin 0 MEMBER integer media-left-margin 0
 MEMBER integer media-right-margin 0 MEMBER integer media-top-margin 0 }
ATTR resolution printer-resolution-supported 400dpi
ATTR resolution pwg-raster-document-resolution-supported 400dpi
ATTR keyword pwg-raster-document-type-supported black_1,sgray_8,srgb_8
"""
BUS = """<busconfig><type>system</type><listen>unix:path={}</listen><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>"""
LINE = 3 * 14394


class Printers:
    """A simulated printer, and a print system with a queue, for as long as the measurements run."""

    def __init__(self, folder):
        self.folder = folder
        self.children = []
        bus = folder / "bus"
        (folder / "bus.conf").write_text(BUS.format(bus))
        self.start(["dbus-daemon", f"--config-file={folder}/bus.conf", "--nofork", "--nopidfile"], bus)
        (folder / "plotter.conf").write_text(PLOTTER)
        (folder / "kept").mkdir()
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        self.uri = f"ipp://localhost:{port}/ipp/print"
        self.start(["ippeveprinter", "-r", "off", "-n", "localhost", "-p", str(port), "-d", f"{folder}/kept", "-c",
                    "/bin/true", "-a", f"{folder}/plotter.conf", "Plotter"], port,
                   DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={bus}")
        self.start_system()

    def start_system(self):
        for name in ("root", "spool", "cache", "state", "tmp"):
            (self.folder / name).mkdir()
        place = {key: self.folder / name for key, name in
                 (("ServerRoot", "root"), ("RequestRoot", "spool"), ("CacheDir", "cache"), ("StateDir", "state"),
                  ("TempDir", "tmp"), ("AccessLog", "access"), ("ErrorLog", "error"), ("PageLog", "page"))}
        (self.folder / "cups-files.conf").write_text(
            "FileDevice Yes\nSandboxing relaxed\n" + "".join(f"{k} {v}\n" for k, v in place.items()))
        self.socket = self.folder / "sock"
        (self.folder / "cupsd.conf").write_text(
            f"Listen {self.socket}\nBrowsing Off\nDefaultAuthType None\nWebInterface No\nMaxRequestSize 0\n"
            "<Location />\nAllow all\n</Location>\n<Policy default>\n<Limit All>\nAllow all\n</Limit>\n</Policy>\n")
        self.start(["/usr/sbin/cupsd", "-f", "-c", f"{self.folder}/cupsd.conf", "-s",
                    f"{self.folder}/cups-files.conf"], self.socket)
        subprocess.run(["lpadmin", "-h", str(self.socket), "-p", "queue", "-E", "-v", "file:/dev/null", "-m", "raw"],
                       check=True, stderr=subprocess.DEVNULL)

    def start(self, command, ready, **env):
        path = os.environ["PATH"] + ":/usr/sbin"
        log = open(self.folder / "log", "a")
        child = subprocess.Popen(command, env={**os.environ, "PATH": path, **env}, stdout=log, stderr=log)
        self.children.append(child)
        for _ in range(300):
            if child.poll() is not None:
                sys.exit(f"{command[0]} did not start: {(self.folder / 'log').read_text()}")
            if isinstance(ready, int):
                with socket.socket() as probe:
                    if probe.connect_ex(("127.0.0.1", ready)) == 0:
                        return
            elif ready.exists():
                return
            time.sleep(0.05)
        sys.exit(f"{command[0]} does not answer")

    def end(self):
        for child in reversed(self.children):
            child.kill()
            child.wait()


def stream(build, printers, printer, speed, size, content):
    env = {**os.environ, "CUPS_SERVER": str(printers.socket)}
    out = subprocess.run([str(build / "bin/print_bench"), printer, str(speed), str(size), content], env=env,
                         capture_output=True, text=True)
    if out.returncode != 0:
        sys.exit(f"print_bench {printer}: {out.stderr}")
    scanned, sent, done, memory, _ = out.stdout.split()
    return float(scanned), float(sent), float(done), int(memory)


def scan(build, folder, size, *target):
    """Seconds and peak memory in MiB of `quillbay-scan` with a simulated scanner of 100 MB/s."""
    length = round(size * 1e9 / LINE / 400 * 25.4)
    command = [str(build / "bin/quillbay-scan"), "-d",
               f"sim:width=914,length={length},size=914x{length},at=0x0,speed={100 * 1000 * 1000 // LINE}", "--mode",
               "rgb", "-r", "400", "--area", f"custom:0,0,914,{length}", "-q", *target]
    env = {**os.environ, **{f"XDG_{name}_HOME": str(folder / name) for name in ("CONFIG", "STATE", "DATA")}}
    start = time.monotonic()
    process = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    message = process.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(process.pid, 0)
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{' '.join(command)} failed: {message}")
    return time.monotonic() - start, usage.ru_maxrss // 1024


def scan_and_print(build, printers, size):
    """`quillbay-scan` to a printer beside the same scan to a file."""
    path = printers.folder / "scan.tif"
    saved, _ = scan(build, printers.folder, size, "--option", "Compression=none", "-o", str(path))
    path.unlink()
    took, memory = scan(build, printers.folder, size, "--to", "print", "--printer", printers.uri)
    print(f"{size:5.2f} GB quillbay-scan at 100 MB/s: to a file {saved:.2f} s, printed {took:.2f} s "
          f"({(took / saved - 1) * 100:+.1f} %), {memory} MiB", flush=True)


def write_tiff(path, size):
    """An uncompressed TIFF file of white lines: `lp` sends its bytes, whatever they are."""
    lines = int(size * 1e9) // LINE
    path.write_bytes(b"II*\0\0\0\0\0")
    with open(path, "ab") as file:
        for _ in range(lines):
            file.write(b"\xff" * LINE)


def print_file(printers, path):
    """Seconds from `lp` to the end of its job."""
    start = time.monotonic()
    subprocess.run(["lp", "-h", str(printers.socket), "-d", "queue", str(path)], check=True, stdout=subprocess.DEVNULL)
    while "queue-" in subprocess.run(["lpstat", "-h", str(printers.socket), "-o"], capture_output=True,
                                     text=True).stdout:
        time.sleep(0.05)
    return time.monotonic() - start


def main():
    build, out = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    sizes = (0.25,) if "--quick" in sys.argv else (1, 8)
    out.mkdir(parents=True, exist_ok=True)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="print-", dir=out)).absolute()
    printers = Printers(folder)
    worst, most = 0, 0
    try:
        for size in sizes:
            for content in ("drawing", "noise"):
                for name, printer in (("IPP printer", printers.uri), ("CUPS queue", "queue")):
                    for speed in (100, 1000000):
                        scanned, sent, done, memory = stream(build, printers, printer, speed, size, content)
                        late = sent / scanned - 1
                        most = max(most, memory)
                        worst = max(worst, late if speed == 100 else 0)
                        pace = "100 MB/s" if speed == 100 else "no waits"
                        print(f"{size:5.2f} GB {content:8s} {name:12s} {pace}: scan {scanned:7.2f} s, printer has it "
                              f"{sent:7.2f} s ({late * 100:+.1f} %), done {done:7.2f} s, {size * 1000 / sent:5.0f} MB/s, "
                              f"{memory} MiB", flush=True)
            scan_and_print(build, printers, size)
            path = folder / "page.tif"
            write_tiff(path, size)
            took = print_file(printers, path)
            path.unlink()
            print(f"{size:5.2f} GB lp of a ready TIFF to the CUPS queue: {took:.2f} s after its scan of "
                  f"{size * 10:.0f} s ({took / size * 10:+.1f} %)", flush=True)
    finally:
        printers.end()
        shutil.rmtree(folder, ignore_errors=True)
    late = worst * 100
    print(f"aim  {'printing while scanning at 100 MB/s, beyond the time of the scan':58s} {late:7.2f} %    below  5.0   "
          f"{'met' if late < 5 else 'MISSED'}")
    print(f"aim  {'memory of printing a page, any length':58s} {most:7.0f} MiB  below   64   "
          f"{'met' if most < 64 else 'MISSED'}")


if __name__ == "__main__":
    main()
