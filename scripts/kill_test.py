#!/usr/bin/env python3
"""Kills quillbay-scan with SIGKILL at random moments and looks at what is left.

usage: kill_test.py BUILD_FOLDER OUTPUT_FOLDER [--count N] [--seed N]

Every page that the program reported as finished must be readable afterwards, in the published file or its part,
and no published file may be torn. Half of the runs write one multi-page file, the others numbered files.
Prints a summary; exit 1 when anything was lost.
"""
import argparse
import json
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import threading
import time


def readable_pages(path):
    """How many pages of a TIFF decode to their last line, and what was wrong with the next one."""
    done = subprocess.run(["tiffinfo", "-D", str(path)], capture_output=True, text=True, check=False)
    pages = done.stdout.count("TIFF Directory at offset")
    trouble = [l for l in done.stderr.splitlines() if "warning" not in l.lower()]
    return pages, trouble


def one_run(scan, folder, multipage, delay):
    """Starts a batch, kills it after `delay` seconds of scanning; answers (finished pages, killed in time)."""
    folder.mkdir(parents=True)
    command = [str(scan), "-d", "sim:size=210x297,at=20x10,count=100,seed=3", "--mode", "grey", "--resolution", "100",
               "--area", "custom:0,0,260,320", "--batch=100", "--json", "-q"]
    command += ["--multipage", "-o", str(folder / "all.tif")] if multipage else ["--dir", str(folder), "--mask", "p"]
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    pages, begun = [], threading.Event()

    def read():
        for line in process.stdout:
            event = json.loads(line)
            if event.get("event") == "started":
                begun.set()
            if event.get("event") == "page":
                pages.append(event)
        begun.set()

    reader = threading.Thread(target=read)
    reader.start()
    begun.wait(20)
    time.sleep(delay)  # the moment is the test's random variable
    killed = process.poll() is None
    process.send_signal(signal.SIGKILL)
    process.wait()
    reader.join()
    return pages, killed


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
    start = time.monotonic()
    lost, torn, checked, killed_runs = [], [], 0, 0
    for number in range(args.count):
        multipage = number % 2 == 0
        folder = root / f"run{number}"
        pages, killed = one_run(scan, folder, multipage, rng.uniform(0.0, 1.2))
        killed_runs += killed
        published = sorted(folder.glob("*.tif"))
        parts = sorted(folder.glob("*.part"))
        for file in published:
            _, trouble = readable_pages(file)
            if trouble:
                torn.append(f"run {number}: {file.name}: {trouble[0]}")
        if multipage:
            files = published or parts
            left, trouble = readable_pages(files[0]) if files else (0, [])
            if left < len(pages) or (trouble and left < len(pages) + 1 and published):
                lost.append(f"run {number}: {len(pages)} pages were finished, {left} can be read {trouble[:1]}")
        elif len(published) < len(pages):
            lost.append(f"run {number}: {len(pages)} pages were finished, {len(published)} files are there")
        checked += len(pages)
        shutil.rmtree(folder)
    shutil.rmtree(root, ignore_errors=True)
    print(f"{args.count} runs, {killed_runs} killed while they worked, {checked} finished pages looked for in "
          f"{time.monotonic() - start:.0f} s: {len(lost)} lost, {len(torn)} published files torn")
    for line in lost + torn:
        print("  " + line)
    sys.exit(1 if lost or torn else 0)


if __name__ == "__main__":
    main()
