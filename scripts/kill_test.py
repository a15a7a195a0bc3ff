#!/usr/bin/python3
"""Kills quillbay-scan with SIGKILL at random moments and looks at what is left.

usage: kill_test.py BUILD_FOLDER OUTPUT_FOLDER [--count N] [--seed N]

Every page that the program reported as finished must be there afterwards with all of its samples, in the published
file or its part, no published file may be torn, and `--recover` must publish the pages of a part. Half of the runs
write one multi-page file, the others numbered files. Prints a summary; exit 1 when anything was lost.
"""
import argparse
import hashlib
import json
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

import tifffile

PAGES = 150  # more than a run gets to before it is killed
LONGEST = 1.2  # seconds from the first page's start to the kill
LIMIT = 120


def command(scan, *arguments):
    return [str(scan), "-d", f"sim:size=210x297,at=20x10,count={PAGES},seed=3", "--mode", "grey", "--resolution", "100",
            "--area", "custom:0,0,260,320", f"--batch={PAGES}", "-q", *map(str, arguments)]


def digests(path, pages=None):
    """What each page (of the first `pages`) holds, decoded by libtiff's own tool, which must have nothing to say."""
    wanted = "" if pages is None else "," + ",".join(map(str, range(pages)))
    with tempfile.TemporaryDirectory(dir=path.parent) as folder:
        plain = pathlib.Path(folder, "plain.tif")
        done = subprocess.run(["tiffcp", "-c", "none", f"{path}{wanted}", str(plain)], capture_output=True, text=True,
                              timeout=LIMIT, check=False)
        if done.returncode != 0 or done.stderr:
            return [], done.stderr.strip() or f"tiffcp ended with {done.returncode}"
        with tifffile.TiffFile(plain) as tiff:
            return [hashlib.sha256(page.asarray().tobytes()).digest() for page in tiff.pages], ""


def one_run(scan, folder, multipage, delay):
    """Starts a batch, kills it after `delay` seconds of scanning; answers (files of finished pages, killed in time)."""
    folder.mkdir(parents=True)
    where = ["--multipage", "-o", folder / "all.tif"] if multipage else ["--dir", folder, "--mask", "p"]
    process = subprocess.Popen(command(scan, "--json", *where), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                               text=True)
    pages, begun = [], threading.Event()

    def read():
        for line in process.stdout:
            if not line.endswith("\n"):
                break  # killed while it wrote the line
            event = json.loads(line)
            if event.get("event") == "started":
                begun.set()
            if event.get("event") == "page":
                pages.append(pathlib.Path(event["file"]))
        begun.set()

    reader = threading.Thread(target=read)
    reader.start()
    begun.wait(LIMIT)
    time.sleep(delay)  # the moment is the test's random variable
    process.send_signal(signal.SIGKILL)
    killed = process.wait() == -signal.SIGKILL
    reader.join()
    return pages, killed


def faults_of_one_file(scan, file, count, want):
    """What is wrong with a multi-page file, or its part, of which `count` pages were finished."""
    part = file.with_name(file.name + ".part")
    if not file.exists() and part.exists() and count:
        have, trouble = digests(part, count)
        if have != want[:count]:
            yield f"the part does not hold its {count} finished pages: {trouble}"
        done = subprocess.run([str(scan), "--recover", str(part)], capture_output=True, text=True, timeout=LIMIT,
                              check=False)
        if done.returncode != 0:
            yield f"the part of {count} finished pages was not recovered: {done.stderr.strip()}"
    if file.exists():
        have, trouble = digests(file)
        if trouble or have != want[:len(have)]:
            yield f"{file.name} is torn: {trouble or 'other samples'}"
        if len(have) < count:
            yield f"{count} pages were finished, {file.name} holds {len(have)}"
    elif count and not part.exists():
        yield f"{count} pages were finished, there is no file"


def faults_of_numbered_files(folder, pages, want):
    for page in pages:
        if not page.exists():
            yield f"{page.name} was finished and is not there"
    for number, file in enumerate(sorted(folder.glob("*.tif"))):
        have, trouble = digests(file)
        if have != want[number:number + 1]:
            yield f"{file.name} is torn: {trouble or 'other samples'}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=50)
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    scan = args.build.resolve() / "bin" / "quillbay-scan"
    root = args.out.resolve()
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    start = time.monotonic()
    subprocess.run(command(scan, "--multipage", "-o", root / "whole.tif"), check=True, timeout=LIMIT,
                   stdout=subprocess.DEVNULL)
    want, trouble = digests(root / "whole.tif")
    if len(want) != PAGES:
        sys.exit(f"a run that nobody killed wrote {len(want)} of {PAGES} pages {trouble}")
    faults, checked, killed_runs = [], 0, 0
    for number in range(args.count):
        multipage = number % 2 == 0
        folder = root / f"run{number}"
        pages, killed = one_run(scan, folder, multipage, rng.uniform(0.0, LONGEST))
        killed_runs += killed
        checked += len(pages)
        found = (faults_of_one_file(scan, folder / "all.tif", len(pages), want) if multipage
                 else faults_of_numbered_files(folder, pages, want))
        faults += [f"run {number}: {fault}" for fault in found]
        shutil.rmtree(folder)
    shutil.rmtree(root)
    print(f"{args.count} runs, {killed_runs} killed while they worked, {checked} finished pages compared in "
          f"{time.monotonic() - start:.0f} s: {len(faults)} lost or torn")
    for line in faults:
        print("  " + line)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
