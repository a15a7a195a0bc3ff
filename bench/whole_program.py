#!/usr/bin/env python3
"""quillbay-scan beside scanimage: the same device, page and file, in turn.

usage: whole_program.py BUILD_FOLDER OUTPUT_FOLDER [--quick]

Prints for each case the wall time of both (median), their ratio run by run (median), and the peak memory of each
program's largest process. Both write uncompressed TIFF, as scanimage does.
"""
import os
import pathlib
import statistics
import subprocess
import sys
import time

MB = 1 << 20


def config(folder, picture):
    """A private configuration: the test backend with ranges for large pages, and the picture backend."""
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "dll.conf").write_text("test\npnm\n")
    (folder / "test.conf").write_text(
        "number_of_devices 1\nresolution_min 1.0\nresolution_max 2400.0\nresolution_quant 1.0\n"
        "geometry_min 0.0\ngeometry_max 32000.0\ngeometry_quant 0.0\n"
        "tl-x 0.0\ntl-y 0.0\nbr-x 900.0\nbr-y 1000.0\nresolution 300.0\n"
        f'mode "Color"\ndepth 8\ntest-picture "{picture}"\nread-limit 0\nread-delay 0\nhand-scanner 0\n'
        "three-pass 0\nfuzzy-parameters 0\nppl-loss 0\ninvert-endianness 0\nread-status-code \"Default\"\n")


def run(command, env):
    """Wall seconds and peak memory in MiB of one run; a failure ends the benchmark."""
    start = time.monotonic()
    process = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    message = process.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(process.pid, 0)
    took = time.monotonic() - start
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{' '.join(command)} failed: {message}")
    return took, usage.ru_maxrss / 1024


def compare(name, ours, theirs, env, runs, after=None):
    results = []
    for _ in range(runs):
        row = []
        for command in (ours, theirs):
            subprocess.run(["sync"], check=True)  # nothing of the run before is still being written
            took, memory = run(command, env)
            if after:
                begin = time.monotonic()
                subprocess.run(after, check=True)
                took += time.monotonic() - begin
            row.append((took, memory))
            out = pathlib.Path(command[command.index("-o") + 1])
            size = out.stat().st_size
            out.unlink()
        results.append(row)
    a = statistics.median(r[0][0] for r in results)
    b = statistics.median(r[1][0] for r in results)
    ratio = statistics.median(r[0][0] / r[1][0] for r in results)
    print(f"{name:34s} {size / 1e9:6.2f} GB  quillbay-scan {a:7.2f} s {max(r[0][1] for r in results):6.0f} MiB   "
          f"scanimage {b:7.2f} s {max(r[1][1] for r in results):6.0f} MiB   ratio {ratio:.2f}", flush=True)
    return ratio


def commands(scan, out, device, mode, dpi, width, height):
    ours_mode, their_mode = {"colour": ("rgb", ["--mode", "Color"]), "grey": ("grey", ["--mode", "Gray"]),
                             "lineart": ("bw-threshold", ["--mode", "Gray", "--depth", "1"])}[mode]
    ours = [str(scan), "-d", device, "--mode", ours_mode, "-q", "--overwrite", "--option", "Compression=none",
            "-o", str(out / "ours.tif")]
    theirs = ["scanimage", "-d", device, "--format=tiff", "-o", str(out / "theirs.tif")]
    if device.startswith("test"):
        ours += ["--resolution", str(dpi), "--area", f"custom:0,0,{width},{height}"]
        theirs += their_mode + ["--resolution", str(dpi), "-l", "0", "-t", "0", "-x", str(width), "-y", str(height)]
    return ours, theirs


def picture(path, megapixels):
    """A picture for the pnm backend: noise over a gradient, so that no writer can cheat."""
    width = 10000
    height = megapixels * 100
    row = bytearray(os.urandom(width * 3 + 997))
    with open(path, "wb") as f:
        f.write(f"P6\n{width} {height}\n255\n".encode())
        for y in range(height):
            shift = (y * 31) % 997
            f.write(row[shift:shift + width * 3])


def main():
    build, out = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    quick = "--quick" in sys.argv
    out.mkdir(parents=True, exist_ok=True)
    config(out / "sane", "Color pattern")
    scan = build / "bin" / "quillbay-scan"
    env = dict(os.environ, SANE_CONFIG_DIR=str(out / "sane"), XDG_CONFIG_HOME=str(out / "config"),
               XDG_STATE_HOME=str(out / "state"))
    runs = 3 if quick else 7
    cases = [("A0 colour 300 dpi", "colour", 300, 841, 1189), ("colour 1.2 GB", "colour", 300, 900, 3200),
             ("grey 1.1 GB", "grey", 400, 900, 5000), ("lineart A0 600 dpi", "lineart", 600, 841, 1189),
             ("lineart roll 1.1 GB", "lineart", 1200, 900, 4400)]
    for name, mode, dpi, width, height in cases:
        ours, theirs = commands(scan, out, "test:0", mode, dpi, width, height)
        compare(name, ours, theirs, env, runs)
        if "GB" in name:
            compare(name + ", then sync", ours, theirs, env, 3 if quick else 5, after=["sync"])
    pnm = out / "picture.ppm"
    picture(pnm, 40 if quick else 120)
    ours, theirs = commands(scan, out, "pnm:0", "colour", 0, 0, 0)
    ours += ["--device-option", f"filename={pnm}"]
    theirs += ["--filename", str(pnm)]
    compare("picture over pnm:0", ours, theirs, env, runs)
    pnm.unlink()

    print("\nPeak memory by length, colour 300 dpi, uncompressed (the largest of several runs):")
    peaks = []
    for label, height, count in (("0.4 GB", 1062, 7), ("8 GB", 21200, 1 if quick else 2)):
        ours, _ = commands(scan, out, "test:0", "colour", 300, 900, height)
        results = []
        for _ in range(count):
            results.append(run(ours, env))
            (out / "ours.tif").unlink()
        peaks.append(max(memory for _, memory in results))
        print(f"  page of {label:7s} {statistics.median(took for took, _ in results):6.2f} s   peak {peaks[-1]:.0f} MiB",
              flush=True)
    print(f"  the long page takes {peaks[1] / peaks[0]:.2f} times the memory of the short one")


if __name__ == "__main__":
    main()
