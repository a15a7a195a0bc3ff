"""A bitonal drawing of thin lines through the whole chain: scanned, found, straightened, written, and still whole."""

import math
import sys
import unittest

import numpy

from scan_case import Case, read_picture

DPI = 200
PER_MM = DPI / 25.4
TURN = math.radians(3)  # of the sheet, clockwise
SHEET = (150, 110)  # mm
CORNER = (32, 14)  # of the sheet, on the bed
BED = (210, 150)


def place(x, y):
    """Millimetres on the sheet to pixels of the bed."""
    c, s = math.cos(TURN), math.sin(TURN)
    return (CORNER[0] + x * c - y * s) * PER_MM, (CORNER[1] + x * s + y * c) * PER_MM


def draw_line(bits, a, b):
    """Pixels that touch at least at their corners, one for each step along the longer axis."""
    (x0, y0), (x1, y1) = place(*a), place(*b)
    count = int(max(abs(x1 - x0), abs(y1 - y0))) + 1
    xs = numpy.rint(numpy.linspace(x0, x1, count)).astype(int)
    ys = numpy.rint(numpy.linspace(y0, y1, count)).astype(int)
    bits[ys, xs] = True


def components(dark):
    """How many 8-connected dark parts there are that do not touch the picture's edge."""
    left = {(int(y), int(x)) for y, x in zip(*numpy.nonzero(dark))}
    count = 0
    height, width = dark.shape
    while left:
        open_spots, touches = [left.pop()], False
        while open_spots:
            y, x = open_spots.pop()
            touches = touches or y in (0, height - 1) or x in (0, width - 1)
            for spot in ((y + j, x + i) for j in (-1, 0, 1) for i in (-1, 0, 1)):
                if spot in left:
                    left.remove(spot)
                    open_spots.append(spot)
        count += not touches
    return count


class Lines(Case):
    # Level ones, upright ones and slanting ones, none of which meet.
    LINES = ([((12, y), (100, y)) for y in range(12, 100, 8)] + [((x, 12), (x, 60)) for x in range(106, 140, 4)]
             + [((105 + 3 * n, 68), (125 + 3 * n, 98)) for n in range(4)])

    def test_thin_lines_stay_whole(self):
        width, height = (round(mm * PER_MM) for mm in BED)
        rows, columns = numpy.mgrid[0:height, 0:width]
        c, s = math.cos(TURN), math.sin(TURN)
        dx, dy = (columns + 0.5) / PER_MM - CORNER[0], (rows + 0.5) / PER_MM - CORNER[1]
        u, v = dx * c + dy * s, dy * c - dx * s
        bits = ~((u >= 0) & (v >= 0) & (u < SHEET[0]) & (v < SHEET[1]))  # the dark bed
        for a, b in self.LINES:
            draw_line(bits, a, b)
        drawn = components(bits)
        picture = self.root / "lines.pbm"
        picture.write_bytes(b"P4\n%d %d\n" % (width, height) + numpy.packbits(bits, axis=1).tobytes())
        device = f"sim:width={BED[0]},images={picture},image-dpi={DPI},at=0x0"
        self.expect(0, "--mode", "bw-threshold", "-r", str(DPI), "--area", "auto", "--set", "m_fDeskew=1", "-o",
                    "out.tif", device=device)
        page = read_picture(self.out / "out.tif") < 128
        for side, mm in zip(page.shape[::-1], SHEET):
            self.assertAlmostEqual(side / PER_MM, mm, delta=3)
        inner = page[round(3 * PER_MM):-round(3 * PER_MM), round(3 * PER_MM):-round(3 * PER_MM)]  # no rest of the bed
        self.assertEqual(components(inner), drawn)
        self.assertGreater(drawn, 5)


if __name__ == "__main__":
    unittest.main(argv=sys.argv)
