"""quillbay-scan from outside: what it prints, what it writes, how it ends."""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

import tifffile

PROGRAM = os.environ["QUILLBAY_SCAN"]
SOURCE = Path(os.environ["QUILLBAY_SOURCE"])
SMALL = "sim:size=200x150,at=0x0,width=300,seed=5"  # a quick page
A_PAGE = ["--mode", "grey", "-r", "50", "--area", "custom:0,0,200,150"]
LIMIT = 60  # seconds for anything; nothing is measured


class Case(unittest.TestCase):
    """A folder to scan into, and a person without settings."""

    def setUp(self):
        self.root = Path(tempfile.mkdtemp(prefix="quillbay-scan-test-"))
        self.addCleanup(shutil.rmtree, self.root)
        self.out = self.root / "out"
        self.out.mkdir()
        self.config = self.root / "config" / "quillbay" / "settings.json"
        self.state = self.root / "state" / "quillbay" / "state.json"
        self.env = dict(os.environ, HOME=str(self.root), XDG_CONFIG_HOME=str(self.root / "config"),
                        XDG_STATE_HOME=str(self.root / "state"), XDG_DATA_HOME=str(self.root / "data"))
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "SANE_DEFAULT_DEVICE"):
            self.env.pop(name, None)

    def command(self, *arguments, device=SMALL):
        return [PROGRAM, *(["-d", device] if device else []), *arguments]

    def run_scan(self, *arguments, device=SMALL):
        return subprocess.run(self.command(*arguments, device=device), cwd=self.out, env=self.env, timeout=LIMIT,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True)

    def expect(self, status, *arguments, device=SMALL):
        done = self.run_scan(*arguments, device=device)
        self.assertEqual(done.returncode, status, (arguments, done.stdout, done.stderr))
        return done

    def files(self):
        return sorted(p.name for p in self.out.iterdir())

    def pages(self, name):
        """The shapes of a file's pages."""
        with tifffile.TiffFile(self.out / name) as tiff:
            return [page.shape for page in tiff.pages]

    def image(self, name):
        """The first page, decoded by libtiff's own tool."""
        plain = self.root / "plain.tif"
        subprocess.run(["tiffcp", "-c", "none", f"{self.out / name},0", plain], check=True, timeout=LIMIT)
        return tifffile.imread(plain)

    def start(self, *arguments, device=SMALL):
        """Runs beside the test; ends with it."""
        process = subprocess.Popen(self.command(*arguments, device=device), cwd=self.out, env=self.env,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        timer = threading.Timer(LIMIT, process.kill)
        timer.start()
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        self.addCleanup(timer.cancel)
        return process

    def wait_for(self, process, event, count=1):
        """Reads events until `count` of a kind came."""
        seen = []
        for line in process.stdout:
            seen.append(json.loads(line))
            count -= seen[-1]["event"] == event
            if count == 0:
                return seen
        self.fail(f"no {event}: {seen} {process.stderr.read()}")


class CommandLine(Case):
    """What is wrong is named, what is allowed is listed, and nothing is created."""

    CASES = [  # arguments, status, all of these in the one line on standard error
        (["--moed", "rgb"], 1, ["--moed", "--mode"]),
        (["--mode", "sepia"], 1, ["sepia", "bw-threshold", "rgb"]),
        (["--mode"], 1, ["--mode", "MODE"]),
        (["-x"], 1, ["-x", "-d", "-o"]),
        (["a.tif"], 1, ["a.tif", "-o"]),
        (["--json=1"], 1, ["--json", "no value"]),
        (["--o", "x.tif"], 1, ["not unique", "--output", "--option", "--overwrite"]),
        (["--resolution", "much"], 1, ["much", "whole number"]),
        (["--batch=0"], 1, ["--batch", "from 1"]),
        (["--to", "moon"], 1, ["moon", "file", "view"]),
        (["--area", "auto"], 1, ["auto", "auto-width"]),
        (["--area", "A44"], 1, ["A44", "A4", "--all-options"]),
        (["--area", "custom:0,0,10"], 1, ["four edges"]),
        (["--area", "custom:0,0,ten,10"], 1, ["ten", "length"]),
        (["--area", "custom:50,0,10,10"], 1, ["behind"]),
        (["--area", "custom:0,0,400,10"], 1, ["400", "300"]),
        (["--area", "A0"], 1, ["A0", "300", "A4"]),
        (["--area", "fixed-width:1m"], 1, ["1000", "300"]),
        (["--format", "doc"], 1, ["doc", "TIFF"]),
        (["-o", "x.doc"], 1, [".doc", ".tif"]),
        (["-o", "x.png", "--format", "tiff"], 1, ["PNG", "tiff"]),
        (["-o", "x.png", "--multipage"], 1, ["PNG", "TIFF"]),
        (["-o", "what?.tif"], 1, ["what?.tif", "<DATE>"]),
        (["-o", "x.tif", "--dir", "y"], 1, ["--dir"]),
        (["--overwrite", "--increment"], 1, ["--overwrite", "--increment"]),
        (["--overwrite", "--multipage"], 1, ["--multipage"]),
        (["--option", "compression=best"], 1, ["best", "LZW"]),
        (["--option", "depth=1"], 1, ["depth", "Compression"]),
        (["--option", "lzw"], 1, ["KEY=VALUE"]),
        (["--set", "m_uiDPY=1"], 1, ["m_uiDPY", "m_uiDPI"]),
        (["--set", "m_fCenter=yes"], 1, ["m_fCenter", "whole number"]),
        (["--set", "m_rcScan=1,2,3"], 1, ["m_rcScan", "four numbers"]),
        (["--set", "m_fFileFate=7"], 1, ["m_fFileFate"]),
        (["--resolution", "20000"], 2, ["20000"]),
        (["--device-option", "sauce=x"], 2, ["sauce", "--all-options"]),
        (["--device-option", "speed=fast"], 2, ["fast"]),
        (["-d", "sim:wide=3"], 2, ["wide", "width"]),
        (["-d", "nowhere:1"], 2, ["nowhere:1", "sim:"]),
        (["-d", "sim:colour=0", "--mode", "rgb"], 2, ["rgb", "grey"]),
    ]

    def test_refusals(self):
        for arguments, status, words in self.CASES:
            with self.subTest(arguments=arguments):
                done = self.expect(status, *arguments)
                lines = done.stderr.splitlines()
                self.assertEqual(len(lines), 1, done.stderr)
                self.assertTrue(lines[0].startswith("quillbay-scan: "))
                for word in words:
                    self.assertIn(word, lines[0])
                self.assertEqual(done.stdout, "")
                self.assertEqual(self.files(), [])
        self.assertFalse(self.config.parent.exists())
        self.assertFalse(self.state.parent.exists())

    def test_spellings_of_one_option(self):
        for arguments in (["-oa.tif"], ["-o", "a.tif"], ["--output=a.tif"], ["--outp", "a.tif"], ["-qoa.tif"]):
            self.assertEqual(self.expect(0, *A_PAGE, *arguments).stdout, f"{self.out}/a.tif\n")
            (self.out / "a.tif").unlink()


class Texts(Case):
    def test_help_and_version(self):
        text = self.expect(0, "--help", device=None).stdout
        self.assertTrue(all(len(line) <= 80 for line in text.splitlines()), text)
        self.assertIn("--device", text)
        self.assertNotIn("--help-man", text)
        self.assertRegex(self.expect(0, "--version", device=None).stdout, r"^quillbay-scan \d+\.\d+\.\d+\n$")

    def test_committed_texts_are_up_to_date(self):
        for option, path in (("--help-man", "docs/man/quillbay-scan.1"),
                             ("--help-completion", "docs/completion/quillbay-scan")):
            self.assertEqual((SOURCE / path).read_text(), self.expect(0, option, device=None).stdout,
                             f"make {path} anew with quillbay-scan {option}")

    def test_listings(self):
        self.assertRegex(self.expect(0, "-L", device=None).stdout, r"(?m)^device `sim:' is a .+ .+$")
        names = [json.loads(line)["device"] for line in self.expect(0, "-L", "--json", device=None).stdout.splitlines()]
        self.assertIn("sim:", names)
        text = self.expect(0, "-A").stdout
        for word in ("--mode bw-threshold|", "--resolution 50|", '--area "ARCH E"', "--option Compression=",
                     "--device-option skew=", "--set m_uiDPI=", "--set MODE="):
            self.assertIn(word, text)
        self.assertEqual(json.loads(self.expect(0, "-A", "--json").stdout)["bed"]["width"], 300)
        self.assertEqual(self.files(), [])

    def test_a_first_start_offers_the_simulated_scanner(self):
        done = self.expect(0, "--mode", "grey", "-r", "50", "-o", "a.tif", device=None)
        self.assertIn("simulated", done.stderr)
        self.env["SANE_DEFAULT_DEVICE"] = SMALL
        self.assertEqual(self.expect(0, *A_PAGE, "-o", "b.tif", device=None).stderr, "")


class Files(Case):
    def test_modes_and_sizes(self):
        cases = [  # arguments, shape, samples, resolution
            (["--mode", "rgb", "-r", "100", "--area", "custom:0,0,200,100"], (394, 787, 3), "uint8"),
            (["--mode", "grey", "-r", "75", "--area", "custom:10,10,8in,4in"], (271, 570), "uint8"),
            (["--mode", "grey", "-r", "77", "--area", "custom:0,0,200,100"], (303, 606), "uint8"),  # within the range
            (["--mode", "bw-threshold", "-r", "100", "--area", "custom:0,0,200,100"], (394, 787), "bool"),
            (["--mode", "palette", "-r", "50", "--area", "A5", "--landscape"], (291, 413), "uint8"),
            (["--mode", "grey", "-r", "50", "--area", "fixed-width:150"], None, "uint8"),
        ]
        for number, (arguments, shape, kind) in enumerate(cases):
            with self.subTest(arguments=arguments):
                name = f"{number}.tif"
                self.expect(0, *arguments, "-o", name)
                image = self.image(name)
                if shape:
                    for have, want in zip(image.shape, shape):
                        self.assertAlmostEqual(have, want, delta=1)
                    self.assertEqual(len(image.shape), len(shape))
                self.assertEqual(str(image.dtype), kind)
                self.assertGreater(image.max(), image.min())
                with tifffile.TiffFile(self.out / name) as tiff:
                    dpi = tiff.pages[0].tags["XResolution"].value
                self.assertEqual(dpi[0] / dpi[1], int(arguments[arguments.index("-r") + 1]))

    def test_names(self):
        cases = [  # arguments, the file
            (["-o", "a.tif"], "a.tif"),
            (["-o", "b.tiff"], "b.tiff"),
            (["-o", "sub/c.PNG"], "sub/c.PNG"),
            (["-o", "d"], "d.tif"),
            (["-o", "e.tif.tif"], "e.tif.tif"),
            (["--mask", "f<DPI>-"], "f50-000.tif"),
            (["--dir", "sub/new", "--format", "png"], "sub/new/scan000.png"),
            (["--set", "m_nCounter=7", "--set", "m_CounterFormat=%.5d"], "scan00007.tif"),
            (["-o", "g ä%d.tif"], "g ä%d.tif"),
        ]
        for arguments, name in cases:
            with self.subTest(arguments=arguments):
                before = set(self.out.rglob("*"))
                self.assertEqual(self.expect(0, *A_PAGE, "--dry-run", *arguments).stdout, f"{self.out / name}\n")
                self.assertEqual(set(self.out.rglob("*")), before)
                self.assertEqual(self.expect(0, *A_PAGE, *arguments).stdout, f"{self.out / name}\n")
                self.assertEqual(set(p for p in self.out.rglob("*") if p.is_file()) - before, {self.out / name})

    def test_a_file_in_the_way(self):
        own = b"somebody's own"
        (self.out / "a.tif").write_bytes(own)
        for arguments in ([], ["--dry-run"]):
            done = self.expect(3, *A_PAGE, "-o", "a.tif", *arguments)
            self.assertIn(str(self.out / "a.tif"), done.stderr)
            self.assertEqual(done.stdout, "")
        self.assertEqual((self.out / "a.tif").read_bytes(), own)
        done = self.expect(0, *A_PAGE, "-o", "a.tif", "--increment")
        self.assertEqual((self.out / "a.tif").read_bytes(), own)
        self.assertEqual(len(self.files()), 2)
        self.assertEqual(self.expect(0, *A_PAGE, "-o", "a.tif", "--overwrite").stdout, f"{self.out}/a.tif\n")
        self.assertEqual(len(self.pages("a.tif")), 1)
        self.assertEqual(len(self.files()), 2)

    def test_what_cannot_be_written(self):
        (self.out / "plain").write_text("")
        (self.out / "folder.tif").mkdir()
        for name in ("plain/a.tif", "folder.tif", "x" * 300 + ".tif"):
            done = self.expect(3, *A_PAGE, "-o", name, "--overwrite")
            self.assertIn(name, done.stderr)
        self.assertEqual(self.files(), ["folder.tif", "plain"])

    def test_through_the_view(self):
        self.expect(0, *A_PAGE, "--to", "view", "-o", "a.tif")
        self.expect(0, *A_PAGE, "-o", "b.tif")
        self.assertTrue((self.image("a.tif") == self.image("b.tif")).all())
        self.expect(0, *A_PAGE, "--to", "view")
        self.assertEqual(self.files(), ["a.tif", "b.tif"])


class Batches(Case):
    FEEDER = SMALL + ",count=3"

    def test_pages_and_files(self):
        cases = [  # arguments, {file: pages}
            (["--batch"], {"scan000.tif": 1, "scan001.tif": 1, "scan002.tif": 1}),
            (["--batch=2", "-o", "a.tif"], {"a000.tif": 1, "a001.tif": 1}),
            (["--batch", "--multipage", "-o", "m.tif"], {"m.tif": 3}),
            (["--batch=5", "--multipage", "-o", "m.tif"], {"m.tif": 6}),  # added to the three that it has
            (["--batch", "--to", "view", "--multipage", "-o", "v.tif"], {"v.tif": 3}),
        ]
        for arguments, want in cases:
            with self.subTest(arguments=arguments):
                done = self.expect(0, *A_PAGE, *arguments, device=self.FEEDER)
                self.assertEqual(set(done.stdout.splitlines()), {f"{self.out}/{name}" for name in want})
                for name, count in want.items():
                    self.assertEqual(len(self.pages(name)), count)
                self.assertFalse([name for name in self.files() if name.endswith(".part")])

    def test_pieces_of_a_long_document_are_the_whole(self):
        long = "sim:width=300,size=200x400,at=0x0,seed=9,count=1"
        self.expect(0, *A_PAGE, "--bursting", "-o", "b.tif", device=long)
        pieces = [self.image(name) for name in self.files()]
        self.assertGreater(len(pieces), 2)
        self.expect(0, "--mode", "grey", "-r", "50", "--area", "custom:0,0,200,400", "-o", "whole.tif", device=long)
        whole = self.image("whole.tif")
        joined = [line for piece in pieces for line in piece]
        self.assertTrue(all((a == b).all() for a, b in zip(joined, whole)))


class Faults(Case):
    def test_scanner_faults(self):
        cases = [("empty", 4), ("jam", 2), ("cover", 2), ("busy", 2), ("io", 2)]
        for fault, status in cases:
            with self.subTest(fault=fault):
                done = self.expect(status, *A_PAGE, "-o", "a.tif", device=f"{SMALL},fault={fault}")
                self.assertTrue(done.stderr)
                self.assertEqual(self.files(), [])
        self.expect(0, *A_PAGE, "-o", "a.tif")

    def test_a_jam_leaves_no_torn_page(self):
        for arguments, kept in ((["-o", "a.tif"], []), (["--multipage", "-o", "m.tif"], ["m.tif"])):
            if kept:
                self.expect(0, *A_PAGE, *arguments)
            done = self.expect(2, *A_PAGE, *arguments, device=f"{SMALL},jam-after=100")
            self.assertIn("jam", done.stderr)
            self.assertEqual(len(done.stderr.splitlines()), 1)
            self.assertEqual(self.files(), kept)
        self.assertEqual(len(self.pages("m.tif")), 1)

    def test_a_full_disk(self):
        if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=20m", "none", self.out],
                          capture_output=True).returncode != 0:
            self.skipTest("no file system can be mounted")
        self.addCleanup(subprocess.run, ["umount", self.out])
        big = ["--mode", "rgb", "-r", "500", "--area", "custom:0,0,200,150", "--option", "Compression=None"]
        self.expect(0, *A_PAGE, "-o", "first.tif")
        done = self.expect(3, *big, "-o", "big.tif")
        self.assertIn(f"{self.out}/big.tif", done.stderr)
        self.assertEqual(self.files(), ["first.tif"])
        self.assertEqual(len(self.pages("first.tif")), 1)


class Signals(Case):
    SLOW = SMALL + ",speed=100"  # a page takes three seconds

    def test_the_first_one_stops(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start(*A_PAGE, "--json", "-o", "a.tif", device=self.SLOW)
            self.wait_for(process, "lines")
            process.send_signal(number)
            self.assertEqual(self.wait_for(process, "ended")[-1]["cause"], "stopped")
            self.assertEqual(process.wait(), 128 + number)
            self.assertEqual(self.files(), [])

    def test_finished_pages_stay(self):
        process = self.start(*A_PAGE, "--json", "--batch", "--multipage", "-o", "m.tif", device=self.SLOW)
        self.wait_for(process, "page")
        self.wait_for(process, "lines")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(), 130)
        self.assertEqual(self.files(), ["m.tif"])
        self.assertEqual(len(self.pages("m.tif")), 1)

    def test_finish_page(self):
        process = self.start(*A_PAGE, "--json", "--batch", "--finish-page", "-o", "a.tif", device=self.SLOW)
        self.wait_for(process, "lines")
        process.send_signal(signal.SIGINT)
        self.assertEqual(self.wait_for(process, "ended")[-1]["pages"], 1)
        self.assertEqual(process.wait(), 130)
        self.assertEqual(self.files(), ["a000.tif"])

    def test_the_second_one_ends_at_once(self):
        endless = SMALL.replace("200x150", "200x100000") + ",speed=10"
        process = self.start("--mode", "grey", "-r", "50", "--area", "fixed-width", "--json", "--finish-page", "-o",
                             "a.tif", device=endless)
        self.wait_for(process, "lines")
        process.send_signal(signal.SIGTERM)
        self.wait_for(process, "note")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(), 128 + signal.SIGINT)

    def test_a_killed_batch_is_recovered(self):
        process = self.start(*A_PAGE, "--json", "--batch", "--multipage", "-o", "m.tif", device=self.SLOW)
        self.wait_for(process, "page", 2)
        process.kill()
        process.wait()
        self.assertEqual(self.files(), ["m.tif.part"])
        done = self.expect(0, *A_PAGE, "-o", "m.tif")  # a new scan keeps the leftover, and says so
        self.assertIn("m.tif.part", done.stderr)
        part = next(name for name in self.files() if ".part" in name)
        self.assertIn('"m.tif"', self.expect(3, "--recover", part, device=None).stderr)
        (self.out / "m.tif").unlink()
        left = next(name for name in self.files() if ".part" in name)
        self.assertEqual(self.expect(0, "--recover", f"{self.out}/{left}", device=None).stdout, f"{self.out}/m.tif\n")
        self.assertEqual(self.files(), ["m.tif"])
        self.assertGreaterEqual(len(self.pages("m.tif")), 2)


class Settings(Case):
    def test_are_kept_only_on_request(self):
        self.expect(0, *A_PAGE, "-o", "a.tif")
        self.assertFalse(self.config.exists() or self.state.exists())
        self.expect(0, "--mode", "rgb", "-r", "75", "--area", "custom:0,0,120,80", "-o", "b.tif", "--save-settings")
        saved = self.config.read_text()
        self.assertTrue(self.state.exists())
        # The next run scans as the saved one did, with its device, and changes nothing.
        self.expect(0, "-o", "c.tif", device=None)
        self.assertEqual(self.pages("c.tif"), self.pages("b.tif"))
        self.expect(0, "--mode", "grey", "-o", "d.tif", device=None)
        self.assertEqual(self.config.read_text(), saved)

    def test_damaged_ones_are_set_aside(self):
        self.config.parent.mkdir(parents=True)
        self.config.write_text('{"Quillbay2.0": ')
        done = self.expect(0, *A_PAGE, "-o", "a.tif", "--save-settings")
        self.assertIn("settings.json", done.stderr)
        self.assertEqual((self.config.parent / "settings.json.damaged-1").read_text(), '{"Quillbay2.0": ')
        json.loads(self.config.read_text())


class Json(Case):
    def test_events_of_a_batch(self):
        done = self.expect(0, *A_PAGE, "--json", "--batch=2", "-o", "a.tif")
        events = [json.loads(line) for line in done.stdout.splitlines()]
        steps = [e["event"] for e in events if e["event"] != "lines"]
        self.assertEqual(steps, ["started", "page", "published"] * 2 + ["ended"])
        started, page = events[0], next(e for e in events if e["event"] == "page")
        self.assertEqual((started["page"], started["width"], started["dpi"], started["color"]), (1, 394, 50, "grey"))
        self.assertEqual(page["file"], f"{self.out}/a000.tif")
        self.assertEqual((page["lines"], page["width"]), self.pages("a000.tif")[0])
        self.assertEqual(events[-1], {"event": "ended", "cause": "done", "pages": 2, "status": 0})

    def test_what_goes_wrong_is_an_event_too(self):
        done = self.expect(2, "--json", "--resolution", "20000")
        self.assertEqual(json.loads(done.stdout)["status"], 2)
        (self.out / "a.tif").write_text("")
        events = [json.loads(line) for line in self.expect(3, *A_PAGE, "--json", "-o", "a.tif").stdout.splitlines()]
        self.assertEqual([e["event"] for e in events], ["message", "ended"])
        self.assertEqual((events[0]["kind"], events[0]["answer"]), ("question", "no"))
        self.assertEqual((events[1]["cause"], events[1]["status"]), ("output", 3))


class Sane(Case):
    """Through a real driver: SANE's own test backend."""

    def setUp(self):
        super().setUp()
        folder = self.root / "sane"
        folder.mkdir()
        (folder / "dll.conf").write_text("test\n")
        (folder / "test.conf").write_text("number_of_devices 1\nmode Gray\ndepth 8\nhand-scanner false\n"
                                          "three-pass false\nthree-pass-order RGB\nresolution_min 1.0\n"
                                          "resolution_max 1200.0\nresolution_quant 1.0\nresolution 50.0\n"
                                          "test-picture \"Color pattern\"\ngeometry_min 0.0\n"
                                          "geometry_max 400.0\ngeometry_quant 1.0\ntl_x 0.0\ntl_y 0.0\n"
                                          "br_x 200.0\nbr_y 200.0\n")
        self.env["SANE_CONFIG_DIR"] = str(folder)

    def test_listed_scanned_and_refused(self):
        self.assertIn("device `test:0' is a ", self.expect(0, "-L", device=None).stdout)
        self.assertIn("--device-option source=", self.expect(0, "-A", device="test:0").stdout)
        self.expect(0, "--mode", "rgb", "-r", "100", "--area", "custom:0,0,200,100", "-o", "a.tif", device="test:0")
        self.assertEqual(self.pages("a.tif")[0][2], 3)
        done = self.expect(2, "--device-option", "source=shelf", *A_PAGE, "-o", "b.tif", device="test:0")
        self.assertIn("Flatbed", done.stderr)

    def test_the_whole_bed_without_an_area(self):
        self.expect(0, "--mode", "grey", "-r", "50", "-o", "a.tif", device="test:0")
        for side in self.pages("a.tif")[0]:
            self.assertAlmostEqual(side, 400 * 50 / 25.4, delta=2)

    def test_driver_faults(self):
        for value, status in (("SANE_STATUS_NO_DOCS", 4), ("SANE_STATUS_JAMMED", 2), ("SANE_STATUS_IO_ERROR", 2)):
            with self.subTest(value=value):
                self.expect(status, *A_PAGE, "-o", "a.tif", "--device-option", f"read-return-value={value}",
                            device="test:0")
                self.assertEqual(self.files(), [])

    def test_the_feeder_runs_empty(self):
        done = self.expect(0, *A_PAGE, "--batch", "--multipage", "-o", "m.tif", "--device-option",
                           "source=Automatic Document Feeder", device="test:0")
        self.assertEqual(done.stdout, f"{self.out}/m.tif\n")
        self.assertEqual(len(self.pages("m.tif")), 10)


if __name__ == "__main__":
    unittest.main(verbosity=1)
