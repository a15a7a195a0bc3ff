"""Palette scans from outside: the colours of the files, computed or classified."""

import json
import subprocess
import unittest

import numpy
import tifffile

from scan_case import LIMIT, Case, read_picture

MAP = "sim:drawing=map,size=200x150,at=0x0,width=300,seed=5"
A_MAP = ["--mode", "palette", "-r", "100", "--area", "custom:0,0,200,150", "--overwrite"]


class Palettes(Case):
    def scan_map(self, *arguments):
        return self.expect(0, *A_MAP, *arguments, device=MAP)

    def indices(self, name):
        """The indices of a TIFF's pixels, and its palette by rows of red, green, blue."""
        with tifffile.TiffFile(self.out / name) as tiff:
            page = tiff.pages[0]
            self.assertEqual(page.photometric, tifffile.PHOTOMETRIC.PALETTE)
            palette = (page.colormap.T >> 8).astype("u1")
        return self.image(name), palette

    def colors(self, name):
        """The colours of a file's pixels."""
        if name.endswith(".tif"):
            indices, palette = self.indices(name)
            return {tuple(c) for c in palette[numpy.unique(indices)].tolist()}
        pixels = read_picture(self.out / name).reshape(-1, 3)
        return {tuple(c) for c in numpy.unique(pixels, axis=0).tolist()}

    def test_a_palette_is_computed_of_the_map(self):
        done = self.scan_map("--set", "nMode=2", "--set", "m_Colors=16", "--json", "-o", "map.tif")
        started = [e for e in map(json.loads, done.stdout.splitlines()) if e["event"] == "started"]
        self.assertEqual([e["paletteColors"] for e in started], [16], "the prescan is no page")
        indices, palette = self.indices("map.tif")
        self.assertLess(indices.max(), 16)
        self.assertGreater(len(numpy.unique(indices)), 8, "it is the map's")
        self.assertEqual(len(numpy.unique(palette[:16], axis=0)), 16)
        self.scan_map("--set", "nMode=2", "--set", "m_Colors=16", "-o", "map.png")
        kind = subprocess.run(["file", self.out / "map.png"], capture_output=True, text=True, timeout=LIMIT).stdout
        self.assertTrue(kind == "" or "8-bit colormap" in kind, kind)
        self.assertEqual(self.colors("map.png"), self.colors("map.tif"))

    def test_its_colors_are_closer_than_evenly_spread_ones(self):
        self.expect(0, *A_MAP, "--mode", "rgb", "-o", "true.tif", device=MAP)
        true = self.image("true.tif").astype(int)
        errors = []
        for method in (0, 1):
            self.scan_map("--set", f"nMode={method}", "-o", "mapped.tif")
            indices, palette = self.indices("mapped.tif")
            errors.append(float(((palette[indices].astype(int) - true) ** 2).mean()))
        self.assertLess(errors[1] * 10, errors[0])

    def test_the_first_palette_scan_takes_evenly_spread_colors(self):
        done = self.scan_map("--json", "-o", "map.tif")
        self.assertIn('"paletteColors":256', done.stdout)
        _, palette = self.indices("map.tif")
        for corner in ((0, 0, 0), (255, 0, 0), (0, 255, 255), (255, 255, 255)):
            self.assertIn(corner, [tuple(c) for c in palette.tolist()])

    def test_every_pixel_is_one_of_the_classes(self):
        self.scan_map("-r", "50", "--set", "nMode=2", "--set", "m_Colors=12", "-o", "preview.tif")
        _, palette = self.indices("preview.tif")
        palette = palette[:12].astype(int)
        codes = numpy.arange(32768)
        middle = numpy.stack([codes >> 10, codes >> 5 & 31, codes & 31], axis=1) * 8 + 3
        classes = ((middle[:, None, :] - palette[None]) ** 2).sum(axis=2).argmin(axis=1).astype("u1")
        lines = "MORVANE-LUT\r\n0402\r\n12\r\n" + "".join("%d %d %d\r\n" % tuple(c) for c in palette) + "0\r\n"
        lut = self.root / "auto.lut"
        lut.write_bytes(lines.encode() + classes.tobytes())
        classified = ["--set", "nMode=3", "--set", f"m_LutFileName={lut}"]
        self.scan_map(*classified, "-o", "map.tif")
        self.scan_map(*classified, "-o", "map.png")
        self.expect(0, *A_MAP, "--mode", "rgb", "-o", "true.tif", device=MAP)
        true = self.image("true.tif").astype(int) >> 3
        wanted = classes[true[..., 0] << 10 | true[..., 1] << 5 | true[..., 2]]
        indices, _ = self.indices("map.tif")
        self.assertTrue(numpy.array_equal(indices, wanted))
        known = {tuple(c) for c in palette.tolist()}
        for name in ("map.tif", "map.png"):
            self.assertEqual(self.colors(name) - known, set(), name)

    def test_a_lookup_file_that_is_none_scans_nothing(self):
        (self.root / "empty.lut").touch()
        for name in ("empty.lut", "missing.lut", ""):
            path = f"{self.root}/{name}"
            done = self.expect(1, *A_MAP, "--set", "nMode=3", "--set", f"m_LutFileName={path}", "-o", "m.tif",
                               device=MAP)
            self.assertIn(f"LUT file {path} not found. The file", done.stderr)
            self.assertEqual(self.files(), [])


if __name__ == "__main__":
    unittest.main()
