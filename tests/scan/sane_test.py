"""quillbay-scan on real SANE drivers: every sample that the driver delivers is in the file, every fault is told.

What a driver delivers for a page is what `scanimage` gets for the same settings.
"""

import os
import subprocess
import sys
import unittest

from scan_case import A_PAGE, Case, read_picture, read_pnm

TEST_CONF = """number_of_devices 1
mode Gray
depth 8
hand-scanner false
three-pass false
three-pass-order RGB
resolution_min 1.0
resolution_max 1200.0
resolution_quant 1.0
resolution 50.0
test-picture "Color pattern"
geometry_min 0.0
geometry_max 400.0
geometry_quant 1.0
tl_x 0.0
tl_y 0.0
br_x 200.0
br_y 200.0
"""
SCANIMAGE_MODES = {
    "rgb": {"mode": "Color", "depth": "8"},
    "grey": {"mode": "Gray", "depth": "8"},
    "bw-threshold": {"mode": "Gray", "depth": "1"},
}
PATIENCE = 10


def note_retry(text):
    """Tells that something is run again; who counts the retries of a whole run names a file for them."""
    print(text, file=sys.stderr)
    if notes := os.environ.get("QUILLBAY_RETRIES"):
        with open(notes, "a", encoding="utf-8") as file:
            file.write(text + "\n")


def patiently(run):
    """Runs once more what did not end in time.

    The test driver ends its reader thread at any instruction; once in some thousand runs that is within the C
    library's `free`, and whoever reads then waits for ever, scanimage as well.
    """
    try:
        return run(PATIENCE)
    except subprocess.TimeoutExpired as late:
        note_retry(f"did not end, is run again: {late.cmd}")
    return run(PATIENCE)


class SaneCase(Case):
    DEVICE = "test:0"

    def setUp(self):
        super().setUp()
        self.env["SANE_CONFIG_DIR"] = self.sane_folder("sane", {"dll.conf": "test\npnm\n", "test.conf": TEST_CONF})

    def sane_folder(self, name, files):
        folder = self.root / name
        folder.mkdir()
        for file, text in files.items():
            (folder / file).write_text(text)
        return str(folder)

    def run_scan(self, *arguments, device):
        def run(patience):
            for left in self.out.glob("*.part"):
                left.unlink()
            return super(SaneCase, self).run_scan(*arguments, device=device, limit=patience)

        return patiently(run)

    def delivered(self, settings, device=None, area=()):
        """The samples of a page as `scanimage` gets them; options in the order that the driver needs."""
        command = ["scanimage", "-d", device or self.DEVICE, "--format=pnm"]
        command += [f"--{name}={value}" for name, value in settings.items()]
        command += [f"-{edge}{value}" for edge, value in zip("ltxy", area)]
        for _ in range(2):  # now and then the daemon ends a page of unknown length before scanimage saw a line
            done = patiently(lambda limit: subprocess.run(command, env=self.env, timeout=limit, capture_output=True))
            self.assertEqual(done.returncode, 0, (command, done.stderr))
            try:
                return read_pnm(done.stdout)
            except ValueError as torn:
                note_retry(f"scanimage wrote no page ({torn}), is run again: {command}")
        return self.fail(f"scanimage wrote no page twice: {command}")


class Pages(SaneCase):
    """Sizes are such that most lines end within a byte, and areas begin beside the bed's corner."""

    PLAIN, PNG, RAW = ["tif"], ["png"], ["tif", "--option", "Compression=None", "--option", "BlackWhite=None"]
    CASES = [  # mode, dpi, area, outputs
        ("rgb", 77, (13, 7, 151, 53), [PLAIN, RAW, PNG, ["tif", "--option", "Compression=Zstandard"]]),
        ("grey", 301, (100, 3, 133, 47), [PLAIN, PNG, ["tif", "--option", "Compression=Deflate"]]),
        ("bw-threshold", 73, (3, 3, 143, 59), [PLAIN, RAW, PNG, ["tif", "--option", "BlackWhite=PackBits"]]),
    ]

    def test_every_sample_is_in_the_file(self):
        for mode, dpi, (left, top, width, height), outputs in self.CASES:
            want = self.delivered({**SCANIMAGE_MODES[mode], "resolution": dpi}, area=(left, top, width, height))
            self.assertGreater(want.max(), want.min())
            edges = f"custom:{left},{top},{left + width},{top + height}"
            for extension, *arguments in outputs:
                with self.subTest(mode=mode, output=(extension, *arguments)):
                    self.expect(0, "--mode", mode, "-r", str(dpi), "--area", edges, *arguments, "--overwrite", "-o",
                                f"page.{extension}", device=self.DEVICE)
                    have = read_picture(self.out / f"page.{extension}")
                    self.assertEqual(have.shape, want.shape)
                    self.assertTrue((have == want).all(), f"{(have != want).sum()} samples differ")


class Driver(SaneCase):
    def test_listed_scanned_and_refused(self):
        self.assertIn("device `test:0' is a ", self.expect(0, "-L", device=None).stdout)
        listed = self.expect(0, "-A", device="test:0").stdout
        self.assertIn("Scan source [source]: Flatbed|Automatic Document Feeder, now Flatbed\n", listed)
        self.assertIn("Scan resolution [resolution]: 1..1200 (in steps of 1) dpi, now 50 dpi\n", listed)
        done = self.expect(2, "--device-option", "source=shelf", *A_PAGE, "-o", "b.tif", device="test:0")
        self.assertIn("Flatbed", done.stderr)

    def test_without_a_device_the_only_one_is_taken(self):
        done = self.expect(2, *A_PAGE, "-o", "a.tif", device=None)
        for word in ("test:0", "pnm:0", "-d DEVICE"):
            self.assertIn(word, done.stderr)
        self.assertEqual(self.files(), [])
        self.env["SANE_CONFIG_DIR"] = self.sane_folder("one", {"dll.conf": "test\n", "test.conf": TEST_CONF})
        self.assertIn("test:0", self.expect(0, *A_PAGE, "-o", "a.tif", device=None).stderr)

    def test_a_flatbed_waits_for_each_document(self):
        batch = [*A_PAGE, "--batch", "--multipage", "-o", "m.tif"]
        done = self.expect(1, *batch, device="test:0")
        for word in ("--batch-prompt", "--batch-delay"):
            self.assertIn(word, done.stderr)
        self.assertEqual(self.files(), [])
        self.expect(0, *batch, "--batch=2", "--batch-delay", "0.01", device="test:0")
        self.assertEqual(len(self.pages("m.tif")), 2)
        asks = self.command(*batch, "--batch-prompt", device="test:0")
        done = patiently(lambda limit: subprocess.run(asks, input=b"\n", cwd=self.out, env=self.env, timeout=limit,
                                                      capture_output=True))
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(self.pages("m.tif")), 4)


if __name__ == "__main__":
    unittest.main(verbosity=2)
