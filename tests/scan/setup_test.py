"""The black-and-white and setup pages from outside: what they hold is what is scanned, and is kept."""

import json
import unittest

import numpy

from scan_case import Case

MAP = "sim:drawing=map,size=200x150,at=0x0,width=300,seed=5"
AREA = ["-r", "100", "--area", "custom:0,0,200,150", "--overwrite"]
A_PAGE = ["--mode", "grey", "-r", "50", "--area", "custom:0,0,60,60", "--overwrite"]


class Setup(Case):
    def filled(self, name):
        """The share of the bits that are set: black or white, always the same."""
        return float(numpy.mean(self.image(name) != 0))

    def test_levels_and_filters(self):
        shares = []
        for level in (40, 128, 230):
            self.expect(0, "--mode", "bw-threshold", *AREA, "--set", f"LEVEL0={level}", "-o", "a.tif", device=MAP)
            shares.append(self.filled("a.tif"))
        self.assertEqual(len(set(shares)), 3)
        self.assertIn(shares, (sorted(shares), sorted(shares, reverse=True)))
        for mode, key in (("bw-adaptive", "BACKGROUNDSUPP1=0"), ("bw-copy-normal", "SOFTEN_SHARPEN2=8"),
                          ("bw-copy-photo", "BLUR3=4"), ("bw-copy-adaptive", "LEVEL4=220")):
            self.expect(0, "--mode", mode, *AREA, "-o", "usual.tif", device=MAP)
            self.expect(0, "--mode", mode, *AREA, "--set", key, "-o", "other.tif", device=MAP)
            self.assertTrue(numpy.any(self.image("usual.tif") != self.image("other.tif")), key)

    def test_ranges_are_listed_and_held(self):
        text = self.expect(0, "--mode", "bw-adaptive", "-A").stdout
        for line in ("[LEVEL1]: 64 (0 to 255)", "[BACKGROUNDSUPP1]: 85 (0 to 100)", "[SOFTEN_SHARPEN1]: 0 (-8 to 8)",
                     "[BLUR1]: 0 (0 to 4)"):
            self.assertIn(line, text)
        ranges = json.loads(self.expect(0, "--mode", "bw-threshold", "-A", "--json").stdout)["ranges"]
        self.assertEqual(ranges["LEVEL0"], {"initial": 128, "least": 0, "most": 255, "step": 1})
        told = self.expect(0, "--mode", "bw-threshold", *AREA, "--set", "LEVEL0=999", "-o", "a.tif").stderr
        self.assertIn("255 is used", told)

    def test_what_the_device_is_set_to_is_kept_until_somebody_sets_it(self):
        def mean(*arguments):
            self.expect(0, *A_PAGE, *arguments, "-o", "a.tif", device="test:0")
            return float(numpy.mean(self.image("a.tif")))

        grid = mean("--device-option", "test-picture=Grid", "--set", "m_Auto=60", "--save-settings")
        self.assertTrue(0 < grid < 255)
        self.assertEqual(mean(), grid, "as saved")
        self.assertEqual(mean("--device-option", "test-picture=Solid white"), 255, "the command line comes first")
        listed = json.loads(self.expect(0, "-A", "--json", device="test:0").stdout)
        self.assertEqual(listed["pageKeys"]["m_Auto"], "60")


if __name__ == "__main__":
    unittest.main()
