#!/usr/bin/env python3
"""Fails when a folder includes what the layers forbid.

usage: check_layers.py ROOT

The rules, top to bottom: apps/ include include/quillbay alone; a folder of src/ includes include/quillbay, platform
and the folders before it, and params, analysis and stores no toolkit; libs/ include include/quillbay, platform and
the libraries before them; include/quillbay includes itself alone. Outside libraries belong to one place each.
"""
import pathlib
import re
import sys

SRC = ["platform", "params", "analysis", "stores", "widgets", "view", "preview", "pages", "destinations", "control",
       "entry"]
LIBS = ["core", "geometry", "rasters", "channels", "net", "palettes", "scanners", "printing", "drawing", "host"]
NO_QT = {"src/platform", "src/params", "src/analysis", "src/stores", "libs/rasters", "libs/channels", "libs/palettes",
         "libs/scanners", "libs/printing", "libs/net"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
# Outside libraries, and the only folders that may include their headers.
OUTSIDE = [
    (re.compile(r"^tiff(io)?\.h"), ("libs/channels/tiff",)),
    (re.compile(r"^png\.h"), ("libs/channels/png",)),
    (re.compile(r"^(zlib|libdeflate|zstd)\.h"), ("libs/channels",)),
    (re.compile(r"^sane/"), ("libs/scanners",)),
    (re.compile(r"^(leptonica/|allheaders\.h)"), ("libs/analysis", "libs/rasters")),
    (re.compile(r"^cups/"), ("libs/printing",)),
    (re.compile(r"^qpdf/"), ("libs/channels/pdf",)),
]


def is_qt(name):
    return re.match(r"^(Q[A-Z]|Qt[A-Z])", name) is not None


def problem(place, name, is_own):
    """Why the file in folder `place` may not include `name`, or None. `is_own`: a program's own folder holds it."""
    parts = place.split("/")
    top, folder = parts[0], parts[1] if len(parts) > 1 else ""
    for pattern, allowed in OUTSIDE:
        if pattern.match(name) and not any(place.startswith(a) for a in allowed):
            return f"only {', '.join(allowed)} may include it"
    if is_qt(name) and f"{top}/{folder}" in NO_QT:
        return "this folder does without the toolkit"
    first = name.split("/")[0] if "/" in name else ""
    if first == "quillbay" or first == "":
        return None
    if top == "include" and first in SRC + LIBS:
        return "public headers include public headers alone"
    if top == "apps" and first in SRC + LIBS and not is_own:
        return "a program is a host: it includes include/quillbay alone"
    if top == "src":
        if first in LIBS and first not in SRC:
            return "the panel sees the world through platform alone"
        if first in SRC and folder in SRC and SRC.index(first) > SRC.index(folder):
            return f"{first} comes after {folder}"
    if top == "libs":
        if first in SRC and first != "platform":
            return "libraries know the panel's platform declarations alone"
        if first in LIBS and folder in LIBS and LIBS.index(first) > LIBS.index(folder):
            return f"{first} comes after {folder}"
    return None


def check(root):
    found = []
    for top in ("include", "src", "libs", "apps"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            place = str(path.parent.relative_to(root))
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                match = INCLUDE.match(line)
                is_own = bool(match) and (root / "/".join(place.split("/")[:2]) / match.group(2)).is_file()
                why = problem(place, match.group(2), is_own) if match else None
                if why:
                    found.append(f"{path.relative_to(root)}:{number}: includes {match.group(2)}: {why}")
    return found


if __name__ == "__main__":
    problems = check(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(problems) if problems else "layers: in order")
    sys.exit(1 if problems else 0)
