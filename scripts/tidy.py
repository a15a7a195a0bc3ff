#!/usr/bin/env python3
"""Runs clang-tidy over our own sources of a build tree, all cores, and prints only what it finds.

usage: tidy.py BUILD_FOLDER WORK_FOLDER

Most of the time goes into headers, so sources of one target are looked at together, as one file that includes them. A
batch with findings, or whose sources do not compile as one, is halved until the source is found that they come from.
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
BATCH = 32


def headers_digest():
    """One digest of every header and of the checks: a change of any of them is a reason to look again."""
    digest = hashlib.sha256()
    for folder in ("include", "src", "libs", "apps"):
        for path in sorted((ROOT / folder).rglob("*.h")):
            digest.update(path.read_bytes())
    digest.update((ROOT / ".clang-tidy").read_bytes())
    return digest.hexdigest()


def options(entry):
    """The compiler's command without input, output and precompiled header: equal for sources that go together."""
    command = re.sub(r"-Winvalid-pch|-include \S+cmake_pch\.hxx| -o \S+| -M[DFT]( \S+)?", "", entry["command"])
    return re.sub(r" -c \S+\s*$", "", command)


def sources(commands):
    """The compile commands by source; what a build compiles as one file that includes several is taken apart."""
    for command in commands:
        if "/Unity/unity_" not in command["file"]:
            yield command
            continue
        together = pathlib.Path(command["directory"], command["file"]).read_text()
        for file in re.findall(r'^#include "(.+)"$', together, re.MULTILINE):
            yield {**command, "file": file}


def batches(entries):
    """Lists of at most BATCH sources with the same options."""
    groups = {}
    for entry in entries:
        groups.setdefault((entry["directory"], options(entry)), []).append(entry["file"])
    for key, files in groups.items():
        for start in range(0, len(files), BATCH):
            yield key, files[start:start + BATCH]


def look(key, files, work):
    """Whether clang-tidy passes the sources, and what it says."""
    directory, command = key
    name = hashlib.sha256("\n".join(files).encode()).hexdigest()[:16]
    place = work / name
    place.mkdir(exist_ok=True)
    source = pathlib.Path(files[0])
    checks = []
    if len(files) > 1:
        checks = ["--checks=-bugprone-suspicious-include"]
        source = place / "together.cpp"
        source.write_text("".join(f'#include "{f}"\n' for f in files))
    (place / "compile_commands.json").write_text(json.dumps(
        [{"directory": directory, "command": f"{command} -c {source}", "file": str(source)}]))
    done = subprocess.run(["clang-tidy-16", "--quiet", *checks, "-p", str(place), str(source)],
                          capture_output=True, text=True, check=False)
    return done.returncode == 0, done.stdout or done.stderr


def run(key, files, work):
    """[(source, findings)], with empty findings for what passed."""
    passed, findings = look(key, files, work)
    if passed:
        return [(f, "") for f in files]
    if len(files) == 1:
        return [(files[0], findings or "clang-tidy failed")]
    middle = len(files) // 2
    return run(key, files[:middle], work) + run(key, files[middle:], work)


def main():
    build, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    work.mkdir(parents=True, exist_ok=True)
    commands = json.loads((build / "compile_commands.json").read_text())
    ours = {c["file"]: c for c in sources(commands)
            if any(c["file"].startswith(f"{ROOT}/{d}/") for d in ("src", "libs", "apps"))}
    seen_path = work / "tidy-passed.json"
    seen = json.loads(seen_path.read_text()) if seen_path.exists() else {}
    base = headers_digest()
    keys = {f: hashlib.sha256(base.encode() + pathlib.Path(f).read_bytes()).hexdigest() for f in ours}
    if not ours:
        sys.exit(f"{build} builds none of our sources")
    todo = [ours[f] for f in sorted(ours) if seen.get(f) != keys[f]]

    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for results in pool.map(lambda batch: run(*batch, work), list(batches(todo))):
            for source, findings in results:
                if not findings:
                    seen[source] = keys[source]
                    continue
                failed += 1
                print(findings)
    seen_path.write_text(json.dumps(seen))
    print(f"clang-tidy: {len(todo)} sources looked at, {len(ours) - len(todo)} unchanged, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
