#!/usr/bin/python3
"""Pictures in the five black-and-white modes, side by side, to be looked at.

usage: bw_contact_sheet.py BUILD_FOLDER OUTPUT.png PICTURE...

Each row: the picture in grey, then "BW Threshold", "BW Adaptive", "BW Copy Normal", "BW Copy Photo" and "BW Copy
Adaptive" with their defaults, scanned from the simulated scanner at the picture's own resolution. Needs ImageMagick.
"""
import os
import pathlib
import subprocess
import sys
import tempfile

MODES = ("grey", "bw-threshold", "bw-adaptive", "bw-copy-normal", "bw-copy-photo", "bw-copy-adaptive")
DPI = 200
CELL = 480  # pixels of the longer side, on the sheet


def scanned(program, picture, mode, folder, env):
    out = folder / f"{mode}.png"
    escaped = str(picture).replace("%", "%25").replace(",", "%2C").replace(":", "%3A")
    width, height = (int(n) * 25.4 / DPI for n in
                     subprocess.run(["identify", "-format", "%w %h", picture], check=True, capture_output=True,
                                    text=True).stdout.split())
    subprocess.run([program, "-d", f"sim:width={max(10, width):.3f},images={escaped},image-dpi={DPI},at=0x0", "--mode",
                    mode, "-r", str(DPI), "--area", f"custom:0,0,{width:.3f},{height:.3f}", "--overwrite", "-q", "-o",
                    out], check=True, env=env, stdout=subprocess.DEVNULL)
    return out


def main():
    program, sheet = pathlib.Path(sys.argv[1]).resolve() / "bin" / "quillbay-scan", sys.argv[2]
    rows = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        env = dict(os.environ, HOME=name, XDG_CONFIG_HOME=name, XDG_STATE_HOME=name, XDG_DATA_HOME=name)
        for index, picture in enumerate(sys.argv[3:]):
            plain = folder / f"{index}.pgm"
            subprocess.run(["convert", picture, "-background", "white", "-flatten", "-colorspace", "Gray", "-depth", "8",
                            plain], check=True)
            cells = [scanned(program, plain, mode, folder, env) for mode in MODES]
            row = folder / f"row{index}.png"
            subprocess.run(["montage", *cells, "-tile", f"{len(MODES)}x1", "-geometry", f"{CELL}x{CELL}+4+4", row],
                           check=True)
            rows.append(row)
        subprocess.run(["convert", *rows, "-append", "+repage", sheet], check=True)


if __name__ == "__main__":
    main()
