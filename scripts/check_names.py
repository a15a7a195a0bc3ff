#!/usr/bin/env python3
"""Fails when a key, a section or a script command is spelt out in place of its constant.

usage: check_names.py ROOT

The constants of include/quillbay/scan_keys.h are the only place of such names. Those of entries in lists
("Name", "Size") are too common to be looked for.
"""
import pathlib
import re
import sys

HEADER = "include/quillbay/scan_keys.h"
TOO_COMMON = {"paper_key"}
# Words that happen to be names of something else there.
OTHER_MEANING = {("apps/scan/option_table.cpp", "MODE"), ("libs/scanners/sim/sim_plan.cpp", "LEVEL"),
                 ("libs/channels/png/png_page.cpp", "Title")}
# Texts for users that name settings in their sentences.
PROSE = {"apps/scan/help_text.cpp"}
# Comments, raw and plain strings, characters: what is not a plain string is passed over.
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.|\n)*?\)"|"((?:[^"\\\n]|\\.)*)"|\'(?:[^\'\\\n]|\\.)*\'', re.S)
KEY = re.compile(r"\bm_[A-Za-z]+")


def constants(header):
    """The spelt names and the constants that stand for them."""
    names, space = {}, ""
    for line in header.splitlines():
        if opened := re.match(r"namespace (\w+) \{", line):
            space = opened.group(1)
        if constant := re.match(r'inline constexpr char (\w+)\[\] = "((?:[^"\\]|\\.)*)"', line):
            if space not in TOO_COMMON:
                names.setdefault(constant.group(2), f"{space}::{constant.group(1)}")
    return names


def check(root):
    names = constants((root / HEADER).read_text(encoding="utf-8"))
    if not names:
        return [f"{HEADER}: holds no constants"]
    found = []
    for top in ("include", "src", "libs", "apps", "bench"):
        for path in sorted((root / top).rglob("*")):
            place = str(path.relative_to(root))
            if path.suffix not in (".h", ".cpp") or place == HEADER:
                continue
            text = path.read_text(encoding="utf-8")
            for token in TOKEN.finditer(text):
                word = token.group(1)
                if word is None or (place, word) in OTHER_MEANING:
                    continue
                if not (word in names or (place not in PROSE and KEY.search(word))):
                    continue
                line = text.count("\n", 0, token.start()) + 1
                instead = names.get(word, f"a constant of {HEADER}")
                found.append(f'{place}:{line}: "{word}" is spelt out: use {instead}')
    return found


if __name__ == "__main__":
    problems = check(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(problems) if problems else "names: none is spelt out")
    sys.exit(1 if problems else 0)
