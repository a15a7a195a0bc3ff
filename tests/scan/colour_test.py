"""Adjustments and palettes of quillbay-scan, from the settings to the bytes of the file."""

import unittest

import numpy
import tifffile

from scan_case import Case


class Colours(Case):
    def test_palettes(self):
        area = ["-r", "60", "--area", "custom:0,0,200,100"]
        self.expect(0, "--mode", "rgb", *area, "-o", "rgb.tif")
        bright = self.image("rgb.tif") > 127
        want = bright[..., 0] * 4 + bright[..., 1] * 2 + bright[..., 2]  # the corners of the cube, red slowest
        self.assertGreater(len(numpy.unique(want)), 1)
        corners = [[255 * (i >> bit & 1) for i in range(8)] for bit in (2, 1, 0)]
        for setting in ("SCAN_PALETTE_NUM=8", "colors=8"):
            with self.subTest(setting=setting):
                self.expect(0, "--mode", "palette", "--set", setting, *area, "--overwrite", "-o", "p.tif")
                self.assertTrue(numpy.array_equal(self.image("p.tif"), want))
                with tifffile.TiffFile(self.out / "p.tif") as tiff:
                    page = tiff.pages[0]
                    self.assertEqual(page.photometric, tifffile.PHOTOMETRIC.PALETTE)
                    self.assertEqual((page.colormap[:, :8] >> 8).tolist(), corners)
        self.expect(0, "--mode", "palette", "--set", "colors=8", *area, "-o", "p.png")
        png = (self.out / "p.png").read_bytes()
        self.assertEqual(png[25], 3, "colour type: indexed")
        at = png.index(b"PLTE") + 4
        self.assertEqual([list(png[at + i:at + 24:3]) for i in range(3)], corners)

    def test_adjustments_are_what_the_curves_say(self):
        area = ["-r", "60", "--area", "custom:0,0,200,100"]
        for mode in ("rgb", "grey"):
            with self.subTest(mode=mode):
                self.expect(0, "--mode", mode, *area, "-o", mode + ".tif")
                self.expect(0, "--mode", mode, *area, "--set", "brightness=-30", "--set", "contrast=50",
                            "-o", mode + "-made.tif")
                level = self.image(mode + ".tif").astype(int)
                spread = numpy.floor((100 * level - 127 * 50) / 50 + 0.5)
                curve = numpy.where(level <= 63, 0, numpy.where(level >= 192, 255, spread)) - 30
                self.assertTrue(numpy.array_equal(self.image(mode + "-made.tif"), curve.clip(0, 255)))

    def test_sliders_that_are_named_count_although_curves_were_saved(self):
        area = ["-r", "60", "--area", "custom:0,0,200,100", "--mode", "rgb"]
        self.expect(0, *area, "--set", "brightness=-30", "-o", "plain.tif")
        self.expect(0, *area, "--set", "IsGamma=1", "--save-settings", "-o", "curves.tif")
        self.expect(0, *area, "--set", "brightness=-30", "-o", "made.tif")
        self.assertTrue(numpy.array_equal(self.image("made.tif"), self.image("plain.tif")))
        self.assertFalse(numpy.array_equal(self.image("curves.tif"), self.image("plain.tif")))

    def test_saturation_and_filters_reach_the_scanner(self):
        area = ["--mode", "rgb", "-r", "60", "--area", "custom:0,0,200,100"]
        self.expect(0, *area, "-o", "own.tif")
        own = self.image("own.tif").astype(int)
        self.expect(0, *area, "--set", "saturation=-100", "-o", "grey.tif")
        grey = (77 * own[..., 0] + 150 * own[..., 1] + 29 * own[..., 2] + 128) >> 8
        self.assertTrue((self.image("grey.tif") == grey[..., None]).all())
        self.expect(0, *area, "--set", "blur=1", "-o", "blurred.tif")
        padded = numpy.pad(own, ((1, 1), (1, 1), (0, 0)), "edge")
        height, width = own.shape[:2]
        total = sum(padded[y:y + height, x:x + width] for y in range(3) for x in range(3))
        self.assertTrue(numpy.array_equal(self.image("blurred.tif"), (total + 4) // 9))
        self.expect(0, *area, "--set", "sharpen=8", "-o", "sharp.tif")
        self.assertFalse(numpy.array_equal(self.image("sharp.tif"), own))


if __name__ == "__main__":
    unittest.main(verbosity=2)
