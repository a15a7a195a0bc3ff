"""Every format from outside: what quillbay-scan wrote is read back by readers that are not ours.

Each format with each of its options, in each colour class, of known and of unknown length, is written at least once; page
widths, resolutions and single or several pages take turns. With QUILLBAY_WHOLE_MATRIX=1 every combination is written,
which takes minutes.
"""

import itertools
import os
import shutil
import subprocess
import unittest
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from functools import lru_cache

import numpy

from format_readers import NEEDS, count_pages, output_of, read_page, signal_to_noise, size_in_mm
from scan_case import LIMIT, Case

MODES = {"bw": "bw-threshold", "grey": "grey", "palette": "palette", "rgb": "rgb"}
PAGES = [(33, 40, 50), (65, 51, 96), (127, 70, 150), (255, 90, 300), (301, 120, 600), (611, 301, 1200)]
"""Width and height in pixels, dots per inch; widths are odd, the last byte of packed pixels is never full."""
WHOLE = os.environ.get("QUILLBAY_WHOLE_MATRIX") == "1"
LOSSLESS = float("inf")


@dataclass(frozen=True)
class Kind:
    """A format with its options; `least` is the signal to noise in decibels that a page has at least."""
    suffix: str
    options: tuple = ()
    modes: tuple = ("bw", "grey", "palette", "rgb")
    least: float = LOSSLESS
    multi: bool = False

    def __str__(self):
        return " ".join((self.suffix, *self.options))


TONES = ("grey", "rgb")
COLOURS = ("grey", "palette", "rgb")
KINDS = [
    *(Kind(".tif", (f"Compression={c}", f"BlackWhite={c}"), multi=True)
      for c in ("None", "PackBits", "LZW", "Deflate", "Zstandard")),
    Kind(".tif", ("BlackWhite=G4",), ("bw",), multi=True),
    Kind(".tif", ("Compression=G3",), ("bw",), multi=True),
    Kind(".tif", ("Compression=JPEG", "Quality=92"), TONES, 33, True),
    Kind(".tif", ("Compression=JPEG",), ("bw", "palette"), multi=True),
    Kind(".tif", ("Compression=JPEG", "Quality=92", "Colour=half"), ("rgb",), 24, True),
    Kind(".tif", ("Layout=tiles",), multi=True),
    Kind(".tif", ("Layout=tiles", "Compression=JPEG", "Quality=92"), TONES, 33, True),
    Kind(".tif", ("TiffKind=classic",), COLOURS, multi=True),
    Kind(".tif", ("TiffKind=big",), ("bw",), multi=True),
    Kind(".png"),
    Kind(".jpg", ("Quality=92",), TONES, 33),
    Kind(".jpg", ("Quality=92", "Colour=half"), ("rgb",), 24),
    Kind(".pdf", (), ("bw", "palette"), multi=True),
    Kind(".pdf", ("Compression=Flate",), multi=True),
    Kind(".pdf", ("Compression=JPEG", "Quality=92"), TONES, 33, True),
    Kind(".pdf", ("Compression=Flate", "Archive=off"), ("rgb",), multi=True),
    Kind(".jp2", ("Coding=lossless",), COLOURS),
    Kind(".jp2", ("Coding=quality",), TONES, 33),
    Kind(".j2k", ("Coding=lossless",), ("rgb",)),
    Kind(".bmp"),
    Kind(".pnm"),
]


def drawing(mode, width, height, seed):
    """A page as a picture file: flat areas, edges, slopes and, in colour, at most 200 colours."""
    rng = numpy.random.default_rng(seed)
    y, x = numpy.mgrid[0:height, 0:width]
    slope = (x * 120 // width + y * 100 // height).astype("i4")
    picture = slope // 20 * 20 + 15
    for _ in range(6):
        left, top = rng.integers(0, width), rng.integers(0, height)
        picture[top:top + rng.integers(2, 12), left:left + rng.integers(2, width)] = rng.integers(0, 255)
    picture = numpy.clip(picture, 0, 255).astype("u1")
    if mode == "bw":
        return numpy.where(picture > 110, 255, 0).astype("u1")
    if mode == "grey":
        return picture
    return numpy.stack((picture, numpy.roll(picture, 3, axis=1), 255 - picture // 16 * 16), axis=-1)


def as_pnm(picture):
    kind = 5 if picture.ndim == 2 else 6
    return b"P%d\n%d %d\n255\n" % (kind, picture.shape[1], picture.shape[0]) + picture.tobytes()


def combinations():
    """(kind, mode, whether the length is known, whether there are two pages, (width, height, dpi))."""
    if WHOLE:
        for kind in KINDS:
            for mode, known, multi, page in itertools.product(kind.modes, (True, False), (False, True), PAGES):
                if not multi or kind.multi:
                    yield kind, mode, known, multi, page
        return
    turn = 0
    for kind in KINDS:
        for mode, known in itertools.product(kind.modes, (True, False)):
            yield kind, mode, known, kind.multi and turn % 2 == 1, PAGES[turn * 5 % len(PAGES)]
            turn += 1


class Formats(Case):
    def scan(self, folder, kind, mode, known, multi, page):
        """Scans two drawings into files of a kind; returns the file's or files' paths."""
        width, height, dpi = page
        sources = [self.root / self.source(mode, page, seed) for seed in range(1, 3 if multi else 2)]
        bed = width * 25.4 / dpi  # a bed this narrow is scanned whole
        device = (f"sim:width={bed:.6f},at=0x0,image-dpi={dpi},count={len(sources)},unknown-length={int(not known)},"
                  f"images={':'.join(map(str, sources))}")
        file = folder / f"page{kind.suffix}"
        area = f"custom:0,0,{width * 25.4 / dpi:.6f},{height * 25.4 / dpi:.6f}"
        options = [part for option in kind.options for part in ("--option", option)]
        batch = ["--multipage", f"--batch={len(sources)}"] if multi else []
        command = self.command("--mode", MODES[mode], "-r", str(dpi), "--area", area, *options, *batch, "-q", "-o",
                               str(file), device=device)
        done = subprocess.run(command, cwd=folder, env=self.env, timeout=LIMIT, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True)
        if done.returncode != 0:
            raise AssertionError(f"quillbay-scan ended with {done.returncode}: {done.stderr}")
        return file

    @staticmethod
    def source(mode, page, seed):
        return f"{mode}-{page[0]}-{seed}.pnm"

    @lru_cache(maxsize=None)
    def palette_page(self, page, seed):
        """What a page in palette colours is, by an uncompressed TIFF; palettes are tested elsewhere."""
        folder = self.root / f"reference-{page[0]}"
        folder.mkdir(exist_ok=True)
        file = self.scan(folder, KINDS[0], "palette", True, True, page)
        return [read_page(file, i) for i in range(2)][seed - 1]

    def wanted(self, mode, page, seed):
        return self.palette_page(page, seed) if mode == "palette" else drawing(mode, page[0], page[1], seed)

    def check(self, number, combination):
        """What is wrong with a file of this combination; empty when nothing is."""
        kind, mode, known, multi, page = combination
        folder = self.out / str(number)
        folder.mkdir()
        try:
            file = self.scan(folder, kind, mode, known, multi, page)
            if kind.suffix == ".pdf":
                output_of("qpdf", "--check", file)  # fails for warnings, too
            pages = count_pages(file)
            if pages != (2 if multi else 1):
                return f"{pages} pages"
            for i in range(pages):
                if why := self.fault(file, i, kind, self.wanted(mode, page, i + 1), page):
                    return f"page {i + 1}: {why}"
        except (AssertionError, ValueError, KeyError, OSError) as e:
            return repr(e)
        shutil.rmtree(folder)
        return ""

    def fault(self, file, number, kind, want, page):
        have = read_page(file, number)
        if have.ndim == 2 and want.ndim == 3:
            have = numpy.repeat(have[:, :, None], 3, axis=2)
        if have.ndim == 3 and want.ndim == 2 and (have == have[:, :, :1]).all():
            have = have[:, :, 0]
        if have.shape != want.shape:
            return f"shape {have.shape} instead of {want.shape}"
        noise = signal_to_noise(have, want)
        if noise < kind.least:
            return f"{noise:.1f} dB; {int((have != want).sum())} samples are others"
        size = size_in_mm(file, number)
        if size is None:
            return "" if kind.suffix in (".pnm", ".j2k") else "it does not say how large it is"
        for have_mm, pixels in zip(size, (page[0], page[1])):
            want_mm = pixels * 25.4 / page[2]
            # Formats that count pixels a metre, or points, round.
            if abs(have_mm - want_mm) > max(0.01, want_mm * 0.0003):
                return f"{have_mm:.3f} mm instead of {want_mm:.3f}"
        return ""

    def test_files_read_back_by_other_programs(self):
        missing = {kind.suffix for kind in KINDS if NEEDS[kind.suffix] and not shutil.which(NEEDS[kind.suffix])}
        wanted = [c for c in combinations() if c[0].suffix not in missing]
        for mode, page, seed in itertools.product(MODES, PAGES, (1, 2)):
            (self.root / self.source(mode, page, seed)).write_bytes(as_pnm(drawing(mode, page[0], page[1], seed)))
        for page in PAGES:  # made once, before threads ask for it
            if any(c[1] == "palette" and c[4] == page for c in wanted):
                self.palette_page(page, 1)
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            faults = list(pool.map(self.check, range(len(wanted)), wanted))
        for combination, fault in zip(wanted, faults):
            kind, mode, known, multi, page = combination
            with self.subTest(kind=str(kind), mode=mode, known=known, multi=multi, page=page):
                self.assertEqual(fault, "")
        if missing:
            self.skipTest(f"no reader of {', '.join(sorted(missing))} is installed")

    def test_a_roll_of_50_m_has_its_true_length(self):
        for suffix in (".pdf", ".tif"):
            with self.subTest(suffix=suffix):
                file = self.out / f"roll{suffix}"
                self.expect(0, "--mode", "bw-threshold", "-r", "50", "--area", "custom:0,0,30,50000", "-o", str(file),
                            device="sim:size=30x50000,at=0x0,width=30")
                width, length = size_in_mm(file)
                self.assertAlmostEqual(length, 50000, delta=1)
                self.assertAlmostEqual(width, 30, delta=0.5)


if __name__ == "__main__":
    unittest.main(verbosity=1)
