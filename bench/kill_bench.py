#!/usr/bin/python3
"""Kills quillbay-scan with SIGKILL at random moments of a batch into one file of several pages, for each such format.

usage: kill_bench.py BUILD_FOLDER OUTPUT_FOLDER [--formats tif,pdf] [--count 50] [--pages 100] [--seed 1]

Every page that the program reported as finished must be there afterwards with all of its samples: in the published file,
or in its part after `--recover`. The files are read by other programs (libtiff's tools; poppler's, and checked by qpdf).
Prints a table, in which "as it lies" counts the parts that those programs read without `--recover`; exit 1 when a
finished page was lost or a published file was torn.
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
import tempfile
import threading
import time

import tifffile

LIMIT = 300
NEEDS = {"tif": ["tiffcp"], "pdf": ["pdfimages", "qpdf"]}
KINDS = {"tif": ["--mode", "grey"], "pdf": ["--mode", "bw-threshold"]}


class Run:
    def __init__(self, scan, root, pages):
        self.scan, self.root, self.pages = scan, root, pages
        self.env = dict(os.environ, HOME=str(root), **{f"XDG_{kind}_HOME": str(root / kind.lower())
                                                       for kind in ("CONFIG", "STATE", "DATA")})

    def command(self, suffix, file):
        device = f"sim:size=100x140,at=0x0,width=110,count={self.pages},seed=3"
        return [str(self.scan), "-d", device, *KINDS[suffix], "-r", "100", "--area", "custom:0,0,100,140", "--multipage",
                f"--batch={self.pages}", "-q", "--json", "-o", str(file)]

    def whole(self, suffix):
        """The digests of the pages of a run that nobody kills, and its seconds after the first page began."""
        file = self.root / f"whole.{suffix}"
        begun = time.monotonic()
        pages, _ = self.watch(suffix, file, None)
        took = time.monotonic() - begun
        have, trouble = digests(file)
        if pages != self.pages or len(have) != self.pages:
            sys.exit(f"a run that nobody killed wrote {len(have)} of {self.pages} pages of {suffix}: {trouble}")
        return have, took

    def watch(self, suffix, file, delay):
        """Starts a batch and kills it `delay` seconds after its first page began; answers (finished pages, killed)."""
        process = subprocess.Popen(self.command(suffix, file), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                                   env=self.env)
        finished, begun = [], threading.Event()

        def read():
            for line in process.stdout:
                if not line.endswith("\n"):
                    break  # killed while it wrote the line
                event = json.loads(line)["event"]
                if event == "started":
                    begun.set()
                finished.extend([1] if event == "page" else [])
            begun.set()

        reader = threading.Thread(target=read)
        reader.start()
        begun.wait(LIMIT)
        if delay is not None:
            time.sleep(delay)  # the moment is what is varied
            process.send_signal(signal.SIGKILL)
        killed = process.wait(LIMIT) == -signal.SIGKILL
        reader.join()
        return len(finished), killed

    def recover(self, part):
        done = subprocess.run([str(self.scan), "--recover", str(part)], capture_output=True, text=True, timeout=LIMIT,
                              env=self.env, check=False)
        return "" if done.returncode == 0 else done.stderr.strip() or f"--recover ended with {done.returncode}"


def digests(path, pages=None):
    """What each page holds (of the first `pages`), and what the reading programs had to say."""
    with tempfile.TemporaryDirectory(dir=path.parent) as folder:
        folder = pathlib.Path(folder)
        if "tif" in path.name.split("."):
            wanted = "" if pages is None else "," + ",".join(map(str, range(pages)))
            done = subprocess.run(["tiffcp", "-c", "none", f"{path}{wanted}", str(folder / "plain.tif")],
                                  capture_output=True, text=True, timeout=LIMIT, check=False)
            if done.returncode != 0 or done.stderr:
                return [], done.stderr.strip() or f"tiffcp ended with {done.returncode}"
            with tifffile.TiffFile(folder / "plain.tif") as tiff:
                return [hashlib.sha256(page.asarray().tobytes()).digest() for page in tiff.pages], ""
        trouble = ""
        if path.suffix == ".pdf":
            done = subprocess.run(["qpdf", "--check", str(path)], capture_output=True, text=True, timeout=LIMIT,
                                  check=False)
            trouble = "" if done.returncode == 0 else done.stdout + done.stderr
        last = [] if pages is None else ["-l", str(pages)]
        done = subprocess.run(["pdfimages", "-png", *last, str(path), str(folder / "i")], capture_output=True, text=True,
                              timeout=LIMIT, check=False)
        have = [hashlib.sha256(file.read_bytes()).digest() for file in sorted(folder.iterdir())]
        return have, trouble or done.stderr.strip()


def judge(run, file, count, want, row):
    """What is wrong with what a killed run left, of which `count` pages were finished."""
    part = file.with_name(file.name + ".part")
    if not file.exists() and part.exists() and count:
        have, _ = digests(part, count)
        row["lies"] += have[:count] == want[:count]
        row["parts"] += 1
        if trouble := run.recover(part):
            return f"the part of {count} finished pages was not recovered: {trouble}"
    if file.exists():
        have, trouble = digests(file)
        if trouble or have != want[:len(have)]:
            return f"the file is torn: {trouble or 'other samples'}"
        return "" if len(have) >= count else f"{count} pages were finished, the file holds {len(have)}"
    return f"{count} pages were finished, there is no file" if count else ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--formats", default="tif,pdf")
    parser.add_argument("--count", type=int, default=50)
    parser.add_argument("--pages", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    args = parser.parse_args()
    rng = random.Random(args.seed)
    root = args.out.resolve()
    shutil.rmtree(root, ignore_errors=True)
    root.mkdir(parents=True)
    run = Run(args.build.resolve() / "bin" / "quillbay-scan", root, args.pages)
    faults, rows, skipped = [], [], []
    for suffix in args.formats.split(","):
        missing = [program for program in NEEDS[suffix] if not shutil.which(program)]
        if missing:
            skipped.append(f"{suffix}: {', '.join(missing)} is not installed")
            continue
        want, took = run.whole(suffix)
        row = {"format": suffix, "kills": 0, "finished": 0, "parts": 0, "lies": 0, "lost": 0}
        for number in range(args.count):
            folder = root / f"{suffix}{number}"
            folder.mkdir()
            file = folder / f"all.{suffix}"
            count, killed = run.watch(suffix, file, rng.uniform(0.0, took))
            row["kills"] += killed
            row["finished"] += count
            fault = judge(run, file, count, want, row)
            row["lost"] += bool(fault)
            faults += [f"{suffix}, run {number}: {fault}"] if fault else []
            shutil.rmtree(folder)
        rows.append(row)
    shutil.rmtree(root)
    print(f"| format | runs | killed while they worked | finished pages compared | parts | of them readable as it lies "
          f"| runs with a lost or torn page |\n|---|---|---|---|---|---|---|")
    for row in rows:
        print(f"| {row['format']} | {args.count} | {row['kills']} | {row['finished']} | {row['parts']} | {row['lies']} | "
              f"{row['lost']} |")
    for line in faults:
        print("  " + line)
    if skipped:
        print(f"OK (skipped={len(skipped)}) {'; '.join(skipped)}")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
