#!/usr/bin/python3
"""Kills the desktop program with SIGKILL while it scans to the view, and lets its next start bring the pages back.

usage: crash_test.py BUILD_FOLDER OUTPUT_FOLDER [--count N] [--seed N]

Needs Xvfb and xdotool. Every page whose copy the journal calls complete must hold what the same page of a run that
nobody killed holds; the next start must take all of them over, whole. Prints a summary; exit 1 when one was lost.
"""
import argparse
import hashlib
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import time

import tifffile

LIMIT = 60
PAGES = 4
DISPLAY = ":94"


def digest(path):
    with tifffile.TiffFile(path) as tiff:
        return hashlib.sha256(tiff.pages[0].asarray().tobytes()).hexdigest()


def complete_pages(folder):
    """Page number -> copy, as the journals tell."""
    pages = {}
    for journal in folder.glob("*.journal"):
        for line in journal.read_bytes().split(b"\n")[:-1]:
            event = json.loads(line)
            if event["event"] == "kept":
                pages[event["id"]] = pathlib.Path(event["file"])
    return pages


class Program:
    def __init__(self, build, home):
        self.folder = home / "state" / "quillbay" / "recovery"
        self.env = dict(os.environ, HOME=str(home), DISPLAY=DISPLAY, QT_QPA_PLATFORM="xcb",
                        SANE_CONFIG_DIR=str(home),
                        **{f"XDG_{name.upper()}_HOME": str(home / name) for name in ("config", "state", "data")})
        self.process = subprocess.Popen([str(build / "bin" / "quillbay")], env=self.env, stderr=subprocess.DEVNULL)

    def keys(self, *keys):
        subprocess.run(["xdotool", *keys], env=self.env, check=True, timeout=LIMIT)

    def until(self, holds):
        """Whether it came to hold while the program runs."""
        end = time.monotonic() + LIMIT
        while time.monotonic() < end and self.process.poll() is None:
            if holds():
                return True
            time.sleep(0.02)
        return False

    def window(self, name):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", name], env=self.env,
                               capture_output=True, check=False)
        return bool(found.stdout.strip())

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()


def scan(build, home, stop_after):
    """Scans pages until `stop_after(program, page)` says so, and is killed; answers the complete pages."""
    program = Program(build, home)
    if not program.until(lambda: program.window("Quillbay")):
        sys.exit("the program shows no window")
    program.keys("mousemove", "300", "300", "click", "1")
    for page in range(1, PAGES + 1):
        program.keys("key", "F5")
        if stop_after(program, page):
            break
        if not program.until(lambda number=page: number in complete_pages(program.folder)):
            sys.exit(f"page {page} was not kept")
    program.kill()
    return complete_pages(program.folder)


def faults_of_run(build, home, rng, want):
    last, delay = rng.randrange(1, PAGES + 1), rng.uniform(0.0, 0.8)

    def stop_after(_program, page):
        if page == last:
            time.sleep(delay)  # the moment is the test's random variable
        return page == last

    pages = scan(build, home, stop_after)
    for page, copy in pages.items():
        if digest(copy) != want[page]:
            yield f"page {page} holds other samples"
    if len(pages) < last - 1:
        yield f"{last - 1} pages were complete, the journal knows {len(pages)}"
    if not pages:
        return
    program = Program(build, home)
    if not program.until(lambda: program.window("Pages of the last run")):
        yield "the next start offers nothing"
    program.keys("key", "Return")
    mine = f"session-{program.process.pid}-"
    taken = program.until(lambda: len(complete_pages(program.folder)) >= len(pages) and all(
        copy.name.startswith(mine) for copy in complete_pages(program.folder).values()))
    program.kill()
    if not taken:
        yield "the next start did not take all pages over"
        return
    back = sorted(digest(copy) for copy in complete_pages(program.folder).values())
    if any(want[page] not in back for page in pages):
        yield "a page that was taken over holds other samples"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--count", type=int, default=20)
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    build, root, rng = args.build.resolve(), args.out.resolve(), random.Random(args.seed)
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    screen = subprocess.Popen(["Xvfb", DISPLAY, "-screen", "0", "1366x768x24"], stderr=subprocess.DEVNULL)
    start, faults, compared = time.monotonic(), [], 0
    try:
        time.sleep(1)
        want = {page: digest(copy) for page, copy in scan(build, root / "whole", lambda *_: False).items()}
        for number in range(args.count):
            home = root / f"run{number}"
            home.mkdir()
            faults += [f"run {number}: {fault}" for fault in faults_of_run(build, home, rng, want)]
            compared += len(complete_pages(home / "state" / "quillbay" / "recovery"))
            shutil.rmtree(home)
    finally:
        screen.terminate()
        screen.wait()
    shutil.rmtree(root)
    print(f"{args.count} runs killed, {compared} pages compared in {time.monotonic() - start:.0f} s: "
          f"{len(faults)} faults")
    for line in faults:
        print("  " + line)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
