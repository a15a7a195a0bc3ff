#!/usr/bin/python3
"""What straightening adds to a scan: the same sheet in colour at 400 dpi, found and straightened, and only found.

usage: straighten_share.py BUILD_FOLDER OUTPUT_FOLDER [--quick]

At the simulated scanner's full speed, and at that of a device of 4 inches a second. Prints wall-clock and processor
seconds (medians of runs in turn), and the peak memory.
"""
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

SHEET = "width=700,size=594x841,at=60x30,skew=1.5,length=900"
DPI = 400
DEVICE_LINES = 4 * DPI  # a second


def scan(program, folder, speed, straightens):
    out = folder / "share.tif"
    out.unlink(missing_ok=True)
    env = dict(os.environ, HOME=str(folder), XDG_CONFIG_HOME=str(folder / "config"),
               XDG_STATE_HOME=str(folder / "state"), XDG_DATA_HOME=str(folder / "data"))
    device = f"sim:{SHEET}" + (f",speed={speed}" if speed else "")
    command = [str(program), "-d", device, "--mode", "rgb", "-r", str(DPI), "--area", "auto", "--set",
               f"m_fDeskew={int(straightens)}", "--option", "Compression=none", "-q", "-o", str(out)]
    begin = time.monotonic()
    process = subprocess.Popen(command, env=env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE)
    message = process.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(process.pid, 0)
    took = time.monotonic() - begin
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{' '.join(command)} failed: {message}")
    size = out.stat().st_size
    out.unlink()
    return took, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024, size


def main():
    build, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve() / "share"
    folder.mkdir(parents=True, exist_ok=True)
    program = build / "bin" / "quillbay-scan"
    quick = "--quick" in sys.argv
    for name, speed, runs in (("full speed", 0, 3 if quick else 7), (f"{DEVICE_LINES} lines a second", DEVICE_LINES, 1)):
        rows = {False: [], True: []}
        for _ in range(runs):
            for straightens in rows:
                rows[straightens].append(scan(program, folder, speed, straightens))
        plain, straight = ([statistics.median(r[i] for r in rows[s]) for i in range(4)] for s in (False, True))
        for label, row in (("found", plain), ("found and straightened", straight)):
            print(f"  {name:24s} {label:24s} {row[3] / 1e9:5.2f} GB  wall {row[0]:6.2f} s  processor {row[1]:6.2f} s  "
                  f"peak {row[2]:4.0f} MiB", flush=True)
        print(f"  {name:24s} straightening adds {straight[0] - plain[0]:5.2f} s of {straight[0]:.2f} s "
              f"({100 * (straight[0] - plain[0]) / straight[0]:.0f} %)", flush=True)
    print(f"aim  {'straightening, part of a colour scan at 4 inches a second':58s} "
          f"{max(0.0, 100 * (straight[0] - plain[0]) / straight[0]):7.1f} %    below    5  "
          f"{'met' if straight[0] - plain[0] < 0.05 * straight[0] else 'MISSED'}")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
