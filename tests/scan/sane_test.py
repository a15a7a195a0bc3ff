"""quillbay-scan on real SANE drivers: every sample that the driver delivers is in the file, every fault is told.

What a driver delivers for a page is what `scanimage` gets for the same settings.
"""

import os
import shutil
import signal
import socket
import subprocess
import sys
import threading
import unittest

import numpy

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
SANED_PORT = 6566  # the network driver takes no other
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

    def check_page(self, mode, dpi, area, options, outputs):
        """Scans a page of the test picture into each of the outputs and compares all of its samples."""
        left, top, width, height = area
        settings = {**SCANIMAGE_MODES[mode], "resolution": dpi, **options}
        if "16" in options.values():
            settings.pop("three-pass", None)  # scanimage takes no such frames; the page is the same in one
        want = self.delivered(settings, area=() if "hand-scanner" in options else area)
        if "hand-scanner" in options:  # which delivers all that it sees: the program cuts
            y, x, lines, columns = (round(edge * dpi / 25.4) for edge in (top, left, height, width))
            want = want[y:y + lines, x:x + columns]
        self.assertGreater(want.max(), want.min())
        edges = f"custom:{left},{top},{left + width},{top + height}"
        given = [word for name, value in options.items() for word in ("--device-option", f"{name}={value}")]
        for extension, *arguments in outputs:
            with self.subTest(mode=mode, dpi=dpi, area=area, options=options, output=(extension, *arguments)):
                name = f"page.{extension}"
                (self.out / name).unlink(missing_ok=True)
                self.expect(0, "--mode", mode, "-r", str(dpi), "--area", edges, *given, *arguments, "-o", name,
                            device=self.DEVICE)
                have = read_picture(self.out / name)
                self.assertEqual(have.shape, want.shape)
                self.assertTrue((have == want).all(), f"{(have != want).sum()} samples differ")
                self.assertFalse([file for file in self.files() if file.endswith(".part")])
        return want


PLAIN = ["tif"]
RAW = ["tif", "--option", "Compression=None"]
ZSTANDARD = ["tif", "--option", "Compression=Zstandard"]
DEFLATE = ["tif", "--option", "Compression=Deflate", "--option", "Predictor=on"]
PACKED = ["tif", "--option", "Compression=PackBits"]
G4 = ["tif", "--option", "Compression=G4"]
PNG = ["png"]


class Pages(SaneCase):
    """Sizes are such that most lines end within a byte, and areas begin beside the bed's corner."""

    def test_modes_resolutions_and_areas(self):
        grey = [PLAIN, RAW, PNG]
        cases = [  # mode, dpi, area, outputs
            ("rgb", 50, (0, 0, 200, 100), [PLAIN, RAW, PNG]),
            ("rgb", 77, (13, 7, 151, 53), [PLAIN, RAW, PNG, ZSTANDARD, DEFLATE, PACKED]),
            ("rgb", 300, (5, 200, 161, 67), [PLAIN, RAW, PNG]),
            ("rgb", 1200, (0, 3, 113, 11), [PLAIN]),
            ("grey", 50, (0, 0, 200, 100), grey),
            ("grey", 75, (11, 0, 123, 91), [PLAIN, RAW, PNG, ZSTANDARD, DEFLATE, PACKED]),
            ("grey", 301, (100, 3, 133, 47), grey),
            ("grey", 1, (0, 0, 400, 400), grey),
            ("bw-threshold", 50, (0, 0, 200, 100), [PLAIN, RAW, G4, PNG]),
            ("bw-threshold", 73, (3, 3, 143, 59), [PLAIN, RAW, G4, PNG, ZSTANDARD, DEFLATE, PACKED]),
            ("bw-threshold", 300, (1, 1, 120, 80), [PLAIN, RAW, PNG]),
            ("bw-threshold", 1199, (7, 0, 111, 30), [G4, RAW]),
        ]
        widths = [self.check_page(mode, dpi, area, {}, outputs).shape[1] for mode, dpi, area, outputs in cases]
        self.assertGreater(sum(width % 8 != 0 for width in widths), len(widths) / 2)

    def test_what_drivers_do(self):
        area = (4, 6, 127, 41)
        hand = {"hand-scanner": "yes"}  # the page's length is unknown, its width the driver's
        cases = [  # modes, options, outputs
            ("rgb", {"three-pass": "yes"}, [PLAIN, RAW, PNG]),
            *[("rgb", {"three-pass": "yes", "three-pass-order": order}, [PLAIN])
              for order in ("RBG", "GBR", "GRB", "BRG", "BGR")],
            ("rgb", {"three-pass": "yes", "depth": "16", "ppl-loss": "5"}, [PLAIN]),
            ("rgb", {"three-pass": "yes", **hand}, [PLAIN]),
            ("rgb grey bw-threshold", hand, [PLAIN, RAW, PNG]),
            ("rgb grey", {"depth": "16"}, [PLAIN, PNG]),
            ("rgb grey", {"depth": "16", **hand}, [PLAIN]),
            ("rgb grey bw-threshold", {"ppl-loss": "1"}, [PLAIN]),
            ("rgb grey bw-threshold", {"ppl-loss": "13"}, [PLAIN, RAW, PNG]),
            ("rgb grey", {"ppl-loss": "128", "depth": "16"}, [PLAIN]),
            ("rgb grey bw-threshold", {"fuzzy-parameters": "yes"}, [PLAIN, RAW, PNG]),
            ("rgb", {"fuzzy-parameters": "yes", "three-pass": "yes"}, [PLAIN]),
            ("rgb grey bw-threshold", {"read-limit": "yes", "read-limit-size": "7"}, [PLAIN]),
            ("rgb", {"read-limit": "yes", "read-limit-size": "1000", "three-pass": "yes", "ppl-loss": "3"}, [PLAIN]),
            ("grey", {"non-blocking": "yes", "select-fd": "yes"}, [PLAIN]),
            ("grey", {"read-delay": "yes", "read-delay-duration": "1000"}, [PLAIN]),
            ("rgb grey bw-threshold", {"test-picture": "Grid"}, [PLAIN, RAW]),
        ]
        for modes, options, outputs in cases:
            for mode in modes.split():
                self.check_page(mode, 60, area, options, outputs)

    def test_made_by_the_program(self):
        """What the driver does not deliver itself is made from its samples."""
        area = ["-r", "60", "--area", "custom:4,6,131,47"]
        grey = self.check_page("grey", 60, (4, 6, 127, 41), {}, [PLAIN])
        self.expect(0, "--mode", "bw-threshold", "--device-option", "depth=8", *area, "-o", "a.tif", device=self.DEVICE)
        self.assertTrue((read_picture(self.out / "a.tif") == numpy.where(grey < 128, 0, 255)).all())
        # One-bit colour, which scanimage refuses: all bits of a picture of one colour.
        for colour, value in (("Solid black", 0), ("Solid white", 255)):
            self.expect(0, "--mode", "rgb", "--device-option", "depth=1", "--device-option", f"test-picture={colour}",
                        *area, "-o", "a.tif", "--overwrite", device=self.DEVICE)
            picture = read_picture(self.out / "a.tif")
            self.assertEqual((picture.min(), picture.max(), picture.shape), (value, value, (*grey.shape, 3)))


class Pictures(SaneCase):
    """Real pictures through the driver that reads files."""

    def setUp(self):
        super().setUp()
        random = numpy.random.default_rng(4)
        y, x = numpy.mgrid[0:347, 0:501]
        waves = 128 + 90 * numpy.sin(x / 23 + y / 31)[..., None] * [1, 0.5, -1] + random.normal(0, 12, (347, 501, 3))
        self.colour = waves.clip(0, 255).astype("u1")
        self.grey = self.colour[:, :, 1].copy()
        self.bits = numpy.where(self.grey < 120, 0, 255).astype("u1")
        self.write("P6", "255\n", self.colour)
        self.write("P5", "255\n", self.grey)
        self.write("P4", "", numpy.packbits(self.bits == 0, axis=1))

    def write(self, kind, most, samples):
        (self.root / kind).write_bytes(f"{kind}\n# made by a test\n501 347\n{most}".encode() + samples.tobytes())

    def scan(self, kind, mode, name, *options):
        given = [word for option in (f"filename={self.root / kind}", *options) for word in ("--device-option", option)]
        (self.out / name).unlink(missing_ok=True)
        return self.run_scan("--mode", mode, *given, "-o", name, device="pnm:0")

    def test_whole(self):
        cases = [("P6", "rgb", self.colour), ("P5", "grey", self.grey), ("P4", "bw-threshold", self.bits)]
        for kind, mode, want in cases:
            self.assertTrue((self.delivered({"filename": self.root / kind}, "pnm:0") == want).all())
            for name in ("a.tif", "a.png"):
                for options in ([], ["hand-scanner=yes"], ["three-pass=yes"] if mode == "rgb" else ["brightness=0"]):
                    with self.subTest(kind=kind, name=name, options=options):
                        done = self.scan(kind, mode, name, *options)
                        self.assertEqual((done.returncode, done.stderr), (0, ""))
                        self.assertTrue((read_picture(self.out / name) == want).all())
        self.scan("P6", "grey", "a.tif")
        weighed = self.colour @ [0.299, 0.587, 0.114]
        self.assertLess(abs(read_picture(self.out / "a.tif") - weighed).max(), 1.01)

    def test_one_that_ends_early(self):
        """A page of fewer lines than announced is as long as its lines, and a started line is said to be lost."""
        whole = (self.root / "P5").read_bytes()
        (self.root / "P5").write_bytes(whole[: len(whole) - 501 * 100 - 50])
        done = self.scan("P5", "grey", "a.tif")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertTrue((read_picture(self.out / "a.tif") == self.grey[:246]).all())


class Statuses(SaneCase):
    STATUSES = [  # the driver's status, the exit status, a word of its message
        ("UNSUPPORTED", 2, "support"), ("CANCELLED", 2, "cancelled"), ("DEVICE_BUSY", 2, "busy"),
        ("INVAL", 2, "invalid"), ("EOF", 2, "before the page"), ("JAMMED", 2, "jammed"), ("NO_DOCS", 4, "empty"),
        ("COVER_OPEN", 2, "cover"), ("IO_ERROR", 2, "input/output"), ("NO_MEM", 2, "memory"),
        ("ACCESS_DENIED", 2, "denied"),
    ]

    def test_every_status_has_its_message(self):
        messages = set()
        for name, status, word in self.STATUSES:
            with self.subTest(status=name):
                done = self.expect(status, *A_PAGE, "-o", "a.tif", "--device-option",
                                   f"read-return-value=SANE_STATUS_{name}", device=self.DEVICE)
                self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
                self.assertIn(self.DEVICE, done.stderr)
                self.assertIn(word, done.stderr.lower())
                self.assertEqual((done.stdout, self.files()), ("", []))
                messages.add(done.stderr)
                self.expect(0, *A_PAGE, "-o", "a.tif", device=self.DEVICE)
                (self.out / "a.tif").unlink()
        self.assertEqual(len(messages), len(self.STATUSES))


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

    def test_the_whole_bed_without_an_area(self):
        self.expect(0, "--mode", "grey", "-r", "50", "-o", "a.tif", device="test:0")
        for side in self.pages("a.tif")[0]:
            self.assertAlmostEqual(side, 400 * 50 / 25.4, delta=2)

    def test_the_feeder_runs_empty(self):
        feeder = ["--device-option", "source=Automatic Document Feeder"]
        done = self.expect(0, *A_PAGE, "--batch", "--multipage", "-o", "m.tif", *feeder, device="test:0")
        self.assertEqual(done.stdout, f"{self.out}/m.tif\n")
        self.assertEqual(len(self.pages("m.tif")), 10)
        self.expect(0, *A_PAGE, "-o", "one.tif", *feeder, device="test:0")
        want = read_picture(self.out / "one.tif")
        for page in range(10):
            self.assertTrue((read_picture(self.out / "m.tif", page) == want).all(), page)


class Net(SaneCase):
    """The same driver behind SANE's network daemon."""

    DEVICE = "net:127.0.0.1:test:0"

    def setUp(self):
        super().setUp()
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", SANED_PORT)) == 0:
                self.skipTest(f"port {SANED_PORT} is taken")
        self.daemon = shutil.which("saned", path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
        if not self.daemon:
            self.skipTest("there is no saned")
        self.server = self.sane_folder("server", {"dll.conf": "test\n", "test.conf": TEST_CONF,
                                                  "saned.conf": "127.0.0.1\n"})
        self.env["SANE_CONFIG_DIR"] = self.sane_folder("client", {"dll.conf": "net\n", "net.conf": "127.0.0.1\n"})
        self.start_daemon()

    def start_daemon(self):
        process = subprocess.Popen([self.daemon, "-l", "-e", "-d3", "-b", "127.0.0.1"], start_new_session=True,
                                   env=dict(self.env, SANE_CONFIG_DIR=self.server), stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)

        def stop():  # with the children that serve connections
            if process.poll() is None:
                os.killpg(process.pid, signal.SIGKILL)
            process.wait()

        self.addCleanup(process.stderr.close)
        self.addCleanup(stop)
        for line in process.stderr:
            if "waiting for control connection" in line:
                drain = threading.Thread(target=process.stderr.read)
                drain.start()
                self.addCleanup(drain.join)
                self.addCleanup(stop)
                self.stop_daemon = stop
                return
        self.skipTest(f"{self.daemon} does not listen")

    def test_pages(self):
        area = (4, 6, 127, 41)
        cases = [  # mode, dpi, area, options, outputs
            ("rgb", 77, (13, 7, 151, 53), {}, [PLAIN, PNG]),
            ("rgb", 200, (0, 0, 200, 200), {}, [PLAIN]),
            ("grey", 75, (11, 0, 123, 91), {}, [PLAIN, PNG]),
            ("bw-threshold", 73, (3, 3, 143, 59), {}, [PLAIN, PNG]),
            # No three passes: the daemon mixes up the ends of its frames, and scanimage gets another page each time.
            ("grey", 60, area, {"hand-scanner": "yes"}, [PLAIN]),
            ("rgb", 60, area, {"depth": "16", "ppl-loss": "13"}, [PLAIN]),
            ("grey", 60, area, {"depth": "16"}, [PLAIN]),
            ("rgb", 60, area, {"fuzzy-parameters": "yes"}, [PLAIN]),
        ]
        for case in cases:
            self.check_page(*case)

    def test_faults(self):
        for name, status, word in Statuses.STATUSES:
            with self.subTest(status=name):
                done = self.expect(status, *A_PAGE, "-o", "a.tif", "--device-option",
                                   f"read-return-value=SANE_STATUS_{name}", device=self.DEVICE)
                self.assertIn(self.DEVICE, done.stderr)
                self.assertIn(word, done.stderr.lower())
                self.assertEqual(self.files(), [])
        self.expect(0, *A_PAGE, "-o", "a.tif", device=self.DEVICE)

    def test_a_daemon_that_dies(self):
        """In the middle of a page: told, nothing torn; and the next daemon serves the next scan."""
        slow = ["--device-option", "read-delay=yes", "--device-option", "read-delay-duration=200000"]
        process = self.start("--mode", "rgb", "-r", "300", "--area", "custom:0,0,200,200", "--json", *slow, "-o",
                             "a.tif", device=self.DEVICE)
        self.wait_for(process, "lines")
        self.stop_daemon()
        self.assertEqual(process.wait(), 2)
        self.assertIn(self.DEVICE, process.stderr.read())
        self.assertEqual(self.files(), [])
        self.start_daemon()
        self.expect(0, *A_PAGE, "-o", "a.tif", device=self.DEVICE)


if __name__ == "__main__":
    unittest.main(verbosity=2)
