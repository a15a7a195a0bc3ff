#!/usr/bin/env python3
"""Runs clang-tidy over our own sources of a build tree, all cores, and prints only what it finds.

usage: tidy.py BUILD_FOLDER WORK_FOLDER

Sources that passed are remembered in the work folder by the content of all that went in. Precompiled headers are left
out: those of the compiler are no use to clang.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def headers_digest():
    """One digest of every header and of the checks: a change of any of them is a reason to look again."""
    digest = hashlib.sha256()
    for folder in ("include", "src", "libs", "apps"):
        for path in sorted((ROOT / folder).rglob("*.h")):
            digest.update(path.read_bytes())
    digest.update((ROOT / ".clang-tidy").read_bytes())
    return digest.hexdigest()


def without_precompiled(commands):
    for entry in commands:
        entry["command"] = re.sub(r"-Winvalid-pch|-include \S+cmake_pch\.hxx", "", entry["command"])
    return commands


def main():
    build, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    work.mkdir(parents=True, exist_ok=True)
    commands = without_precompiled(json.loads((build / "compile_commands.json").read_text()))
    (work / "compile_commands.json").write_text(json.dumps(commands))
    ours = sorted({c["file"] for c in commands
                   if any(c["file"].startswith(f"{ROOT}/{d}/") for d in ("src", "libs", "apps"))})
    seen_path = work / "tidy-passed.json"
    seen = json.loads(seen_path.read_text()) if seen_path.exists() else {}
    base = headers_digest()
    keys = {f: hashlib.sha256(base.encode() + pathlib.Path(f).read_bytes()).hexdigest() for f in ours}
    todo = [f for f in ours if seen.get(f) != keys[f]]

    def run(source):
        done = subprocess.run(["clang-tidy-16", "--quiet", "-p", str(work), source],
                              capture_output=True, text=True, check=False)
        return source, done.returncode, done.stdout, done.stderr

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source, code, out, err in pool.map(run, todo):
            if code == 0:
                seen[source] = keys[source]
                continue
            failed += 1
            print(out or err)
    seen_path.write_text(json.dumps(seen))
    print(f"clang-tidy: {len(todo)} sources looked at, {len(ours) - len(todo)} unchanged, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
