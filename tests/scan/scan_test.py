"""quillbay-scan from outside: what it prints, what it writes, how it ends."""

import fcntl
import json
import os
import pty
import re
import shlex
import signal
import subprocess
import termios
import threading
import unittest
from pathlib import Path

import numpy
import tifffile

from scan_case import A_PAGE, LIMIT, PROGRAM, SMALL, SOURCE, Case, FilledDisk, read_picture


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
        (["--area", "automatic"], 1, ["automatic", "auto-width"]),
        (["--area", "A44"], 1, ["A44", "A4", "--all-options"]),
        (["--area", "custom:0,0,10"], 1, ["four edges"]),
        (["--area", "custom:0,0,ten,10"], 1, ["ten", "length"]),
        (["--area", "custom:50,0,10,10"], 1, ["right", "greater"]),
        (["--area", "custom:0,0,400,10"], 1, ["400", "300"]),
        (["--area", "A0"], 1, ["A0", "300", "A4"]),
        (["--area", "fixed-width:1m"], 1, ["1000", "300"]),
        (["--format", "doc"], 1, ["doc", "TIFF"]),
        (["-o", "x.doc"], 1, [".doc", ".tif"]),
        (["-o", "x.png", "--format", "tiff"], 1, ["PNG", "tiff"]),
        (["-o", "x.png", "--multipage"], 1, ["PNG", "TIFF"]),
        (["-o", "what?.tif"], 1, ["what?.tif", "<DATE>"]),
        (["-o", "x.tif", "--dir", "y"], 1, ["--output", "--dir"]),
        (["--overwrite", "--increment"], 1, ["--overwrite", "--increment"]),
        (["--overwrite", "--multipage"], 1, ["--overwrite", "--multipage"]),
        (["--landscape", "--area", "custom:0,0,9,9"], 1, ["--landscape", "--area", "paper"]),
        (["--portrait", "--area", "auto"], 1, ["--portrait", "--area auto"]),
        (["--center", "--area", "AUTO"], 1, ["--center", "--area auto"]),
        (["--bursting", "--area", "auto"], 1, ["--bursting", "--area auto"]),
        (["--deskew", "--area", "A4"], 1, ["--deskew", "--area auto"]),
        (["--deskew", "--no-deskew"], 1, ["--deskew", "--no-deskew"]),
        (["--if-not-found", "cry"], 1, ["cry", "scan-all", "fail"]),
        (["--if-not-found", "fail", "--area", "A4"], 1, ["--if-not-found", "--area auto"]),
        (["--dry-run", "-A"], 1, ["-A", "--dry-run"]),
        (["-o", "-", "--batch=2"], 1, ["-o -", "--batch"]),
        (["--recover", "x.tif.part", "--dir", "y"], 1, ["--recover", "--dir", "--output"]),
        (["--batch-prompt"], 1, ["--batch-prompt", "needs --batch"]),
        (["--batch", "--batch-prompt", "--batch-delay", "1"], 1, ["--batch-prompt", "--batch-delay"]),
        (["--batch", "--batch-delay", "soon"], 1, ["soon", "seconds"]),
        (["--bursting", "--area", "auto-width"], 1, ["--bursting", "custom:L,T,R,B"]),
        (["--set", "m_rcScan=0,0,400,100"], 1, ["m_rcScan", "300"]),
        (["--option", "compression=best"], 1, ["best", "LZW"]),
        (["--option", "lzw"], 1, ["KEY=VALUE"]),
        (["--set", "m_uiDPY=1"], 1, ["m_uiDPY", "m_uiDPI"]),
        (["--set", "m_fCenter=yes"], 1, ["m_fCenter", "whole number"]),
        (["--set", "m_fFileFate=7"], 1, ["m_fFileFate"]),
        (["--resolution", "20000"], 2, ["20000"]),
        (["--device-option", "sauce=x"], 2, ["sauce", "--all-options"]),
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
        self.assertFalse(self.state.exists())

    def test_what_becomes_something_else_is_told(self):
        cases = [(["--set", "m_Add=999"], ["m_Add=999", "100"]), (["--set", "MODE=9"], ["MODE=9", "5"]),
                 (["--mask", "f<foo>"], ["f<foo>", "f-foo-000.tif"])]
        for arguments, words in cases:
            done = self.expect(0, *A_PAGE, "--dry-run", *arguments)
            for word in words:
                self.assertIn(word, done.stderr)

    def test_previews_tell_inks_from_paper_unless_the_user_chose(self):
        for chosen, dpi in (([], 100), (["--set", "m_nPreviewDPI=50"], 50), (["--set", "m_npreviewdpi=200"], 200)):
            for mode in ("rgb", "palette", "bw-threshold"):
                listed = self.expect(0, "--mode", mode, *chosen, "--all-options").stdout
                self.assertIn(f"[m_nPreviewDPI]: {dpi}", listed, mode)

    def test_settings_of_the_panel_outlive_those_of_its_pages(self):
        for settings in (["m_nPreviewDPI=150", "colors=16"], ["colors=16", "m_nPreviewDPI=150"]):
            chosen = [part for setting in settings for part in ("--set", setting)]
            listed = self.expect(0, "--mode", "palette", *chosen, "--all-options").stdout
            self.assertIn("[m_nPreviewDPI]: 150", listed)

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

    def test_documented_commands_are_taken(self):
        """Each names its file, which takes no scan; what has no name is run."""
        lines = (SOURCE / "README.md").read_text().splitlines()
        lines += (SOURCE / "docs/man/quillbay-scan.1").read_text().replace("\\", "").splitlines()
        commands = [shlex.split(line, comments=True) for line in lines if re.match("quillbay-scan -[a-zA-Z-]", line)]
        self.assertGreater(len(commands), 8)
        for command in commands:
            with self.subTest(command=command):
                arguments = command[1:command.index(">")] if ">" in command else command[1:]
                hasName = not {"-L", "-A", "-", "--list-printers"} & set(arguments)
                done = subprocess.run([*self.command(*arguments, device=None), *["--dry-run"][:hasName]], cwd=self.out,
                                      env=self.env, capture_output=True, timeout=LIMIT, stdin=subprocess.DEVNULL)
                if "--list-printers" in arguments:  # there may be no print system
                    self.assertIn(done.returncode, (0, 3))
                    continue
                self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_listings(self):
        self.assertRegex(self.expect(0, "-L", device=None).stdout, r"(?m)^device `sim:' is a .+ .+$")
        names = [json.loads(line)["device"] for line in self.expect(0, "-L", "--json", device=None).stdout.splitlines()]
        self.assertIn("sim:", names)
        text = self.expect(0, "-A").stdout
        for word in ("--mode bw-threshold|", "--resolution 50|", '--area "ARCH E"', "--option Compression=",
                     "[background]: dark|light|white|grey|dirty, now dark", "[m_uiDPI, --resolution]: ", "[MODE]: "):
            self.assertIn(word, text)
        self.assertEqual(json.loads(self.expect(0, "-A", "--json").stdout)["bed"]["width"], 300)
        self.assertEqual(self.files(), [])

    def test_it_simulates_only_when_asked(self):
        (self.root / "drivers" / "dll.conf").write_text("")
        done = self.expect(2, "--mode", "grey", "-r", "50", "-o", "a.tif", device=None)
        for word in ("no scanner", "-d sim:"):
            self.assertIn(word, done.stderr.lower())
        self.assertEqual(self.files(), [])
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
            (["-o", "sub/c.PNG"], "sub/c.PNG"),
            (["-o", "d"], "d.tif"),
            (["-o", "e.tif.tif"], "e.tif.tif"),
            (["--mask", "f<DPI>-"], "f50-000.tif"),
            (["--mask", "f<foo>"], "f-foo-000.tif"),
            (["--dir", "sub/new", "--format", "png"], "sub/new/scan000.png"),
            (["--format", "jpg"], "scan000.jpg"),
            (["--format", "tif", "-o", "h.tif"], "h.tif"),
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
        for name in ("a.tif", "a$b.tif", "$a$.tif"):
            (self.out / name).write_bytes(own)
            for arguments in ([], ["--dry-run"]):
                done = self.expect(3, *A_PAGE, "-o", name, *arguments)
                self.assertIn(f"{self.out / name} ", done.stderr)
                self.assertEqual(done.stdout, "")
            self.assertEqual((self.out / name).read_bytes(), own)
            done = self.expect(0, *A_PAGE, "-o", name, "--increment")
            self.assertEqual((self.out / name).read_bytes(), own)
            self.assertEqual(len(self.files()), 2)
            self.assertEqual(self.expect(0, *A_PAGE, "-o", name, "--overwrite").stdout, f"{self.out}/{name}\n")
            self.assertEqual(len(self.pages(name)), 1)
            self.assertEqual(len(self.files()), 2)
            for file in self.files():
                (self.out / file).unlink()

    def test_standard_output(self):
        for arguments, name in (([], "a.tif"), (["--format", "png"], "a.png"), (["--to", "view"], "a.tif")):
            with self.subTest(arguments=arguments):
                self.expect(0, *A_PAGE, *arguments, "-o", name, "--overwrite")
                done = subprocess.run(self.command(*A_PAGE, *arguments, "-o", "-"), cwd=self.out, capture_output=True,
                                      env=dict(self.env, TMPDIR=str(self.root / "drivers")), timeout=LIMIT)
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                (self.out / name).with_stem("b").write_bytes(done.stdout)
                self.assertTrue((read_picture((self.out / name).with_stem("b")) == read_picture(self.out / name)).all())
                self.assertFalse([p for p in (self.root / "drivers").iterdir() if p.name.startswith("quillbay")])
        with open("/dev/full", "wb") as full:
            done = subprocess.run(self.command(*A_PAGE, "-o", "-"), stdout=full, stderr=subprocess.PIPE, env=self.env)
        self.assertEqual((done.returncode, b"standard output" in done.stderr), (3, True))

    def test_what_cannot_be_written(self):
        (self.out / "plain").write_text("")
        (self.out / "folder.tif").mkdir()
        for name in ("plain/a.tif", "folder.tif", "x" * 300 + ".tif"):
            done = self.expect(3, *A_PAGE, "-o", name, "--overwrite")
            self.assertIn(name, done.stderr)
        done = self.expect(3, "--mode", "grey", "-r", "1200", "--area", "custom:0,0,10,1500", "-o", "tall.jpg")
        self.assertIn("70866", done.stderr)  # lines, refused before the paper moves
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
            (["--batch", "--mask", "p<counter>q"], {"p000q.tif": 1, "p001q.tif": 1, "p002q.tif": 1}),
            (["--batch=2", "-o", "r<COUNTER>.tif"], {"r000.tif": 1, "r001.tif": 1}),
            (["--batch", "--batch-delay", "0.01", "-o", "d.tif"], {"d000.tif": 1, "d001.tif": 1, "d002.tif": 1}),
        ]
        for arguments, want in cases:
            with self.subTest(arguments=arguments):
                done = self.expect(0, *A_PAGE, *arguments, device=self.FEEDER)
                self.assertEqual(set(done.stdout.splitlines()), {f"{self.out}/{name}" for name in want})
                for name, count in want.items():
                    self.assertEqual(len(self.pages(name)), count)
                self.assertFalse([name for name in self.files() if name.endswith(".part")])

    def test_a_prompt_comes_between_the_documents(self):
        flatbed = SMALL + ",source=flatbed"
        halves = ["--area", "custom:0,0,200,75", "--bursting"]
        cases = [  # device, arguments, what is typed, the exit status, the pages
            (self.FEEDER, ["--batch-prompt"], "", 0, 1),
            (self.FEEDER, ["--batch-prompt"], "\n", 0, 2),
            (self.FEEDER, ["--batch-prompt"], "next\n\n", 0, 3),
            (self.FEEDER, ["--batch-prompt"], "\n\n\n", 0, 3),
            (flatbed, ["--batch-prompt"], "\n", 0, 2),
            (flatbed, ["--batch-prompt", "--batch=2"], "\n\n\n", 0, 2),
            (flatbed, ["--batch-prompt", *halves], "\n", 0, 4),
            (flatbed, ["--batch-delay", "0.01", "--batch=2"], "", 0, 2),
            (flatbed, ["--batch=1"], "", 0, 1),
            (flatbed, [], "\n", 1, 0),  # nobody sits before a pipe
            (self.FEEDER, ["--batch-prompt", *halves], "\n", 1, 0),
        ]
        for device, arguments, typed, status, pages in cases:
            with self.subTest(device=device, arguments=arguments, typed=typed):
                command = self.command(*A_PAGE, "--batch", *arguments, "--multipage", "-o", "m.tif", device=device)
                done = subprocess.run(command, cwd=self.out, env=self.env, timeout=LIMIT, input=typed,
                                      capture_output=True, text=True)
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertEqual(len(done.stdout.splitlines()), int(pages > 0))
                self.assertEqual("Return" in done.stderr, "--batch-prompt" in arguments and pages > 0)
                if pages:
                    self.assertEqual(len(self.pages("m.tif")), pages)
                    (self.out / "m.tif").unlink()

    def pieces_and_sheets(self, device, area, *batch):
        """The pieces of a burst, and the sheets of the same device in one piece each, as lists of lines."""
        width, height = area
        self.expect(0, "--mode", "grey", "-r", "50", "--area", f"custom:0,0,{width},127", "--bursting", *batch, "-o",
                    "piece.tif", device=device)
        pieces = [self.image(name) for name in self.files()]
        self.expect(0, "--mode", "grey", "-r", "50", "--area", f"custom:0,0,{width},{height}", "--batch", "--multipage",
                    "-o", "sheets.tif", device=device)
        return pieces, [read_picture(self.out / "sheets.tif", page) for page in range(len(self.pages("sheets.tif")))]

    def test_pieces_of_a_long_document_are_the_whole(self):
        cases = [  # sheets, the area of a whole one, arguments, pieces
            (1, (254, 500), [], 4), (2, (254, 500), ["--batch"], 8), (3, (254, 500), ["--batch=2"], 8),
        ]
        for sheets, area, batch, count in cases:
            with self.subTest(sheets=sheets, batch=batch):
                device = f"sim:size=210x500,at=10x0,count={sheets},seed=7"
                pieces, wholes = self.pieces_and_sheets(device, area, *batch)
                self.assertEqual((len(pieces), len(wholes)), (count, sheets))
                for sheet in range(count // 4):
                    joined = numpy.concatenate(pieces[sheet * 4:sheet * 4 + 4])
                    self.assertTrue((joined[:len(wholes[sheet])] == wholes[sheet]).all(), sheet)
                self.assertFalse(sheets > 1 and (pieces[0] == pieces[4]).all())
                for file in self.files():
                    (self.out / file).unlink()


class Terminal(Case):
    """Standard input, output and error are one terminal."""

    SLOW = SMALL + ",count=2,speed=900"  # long enough for a progress line

    def run_there(self, *arguments, device, types=b""):
        """What the terminal shows. Every prompt is answered by the next of the characters `types`."""
        mine, its = pty.openpty()
        process = subprocess.Popen(self.command(*arguments, device=device), cwd=self.out, env=self.env, stdin=its,
                                   stdout=its, stderr=its, start_new_session=True,
                                   preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        timer = threading.Timer(LIMIT, process.kill)
        timer.start()
        os.close(its)
        shown, answered = b"", 0
        while True:
            try:
                piece = os.read(mine, 4096)
            except OSError:  # the program has closed it
                break
            if not piece:
                break
            shown += piece
            while shown.count(b"Ctrl-D") > answered:
                os.write(mine, types[answered:answered + 1])
                answered += 1
        status = process.wait()
        timer.cancel()
        os.close(mine)
        return status, shown.decode()

    def test_a_name_has_its_own_line(self):
        status, shown = self.run_there(*A_PAGE, "-o", "a.tif", device=self.SLOW)
        self.assertEqual(status, 0, shown)
        self.assertIn(" lines ", shown)
        self.assertRegex(shown, rf"\x1b\[K{self.out}/a\.tif\r\n")

    def test_standard_output_is_no_terminal(self):
        status, shown = self.run_there(*A_PAGE, "-o", "-", device=SMALL)
        self.assertEqual(status, 1)
        self.assertIn("terminal", shown)

    def test_answers(self):
        for types, pages in ((b"\n\x04", 2), (b"\x04", 1)):
            status, shown = self.run_there(*A_PAGE, "--batch", "--batch-prompt", "--multipage", "-o", "m.tif",
                                           device=SMALL, types=types)
            self.assertEqual(status, 0, shown)
            self.assertEqual(len(self.pages("m.tif")), pages)
            (self.out / "m.tif").unlink()
        status, shown = self.run_there(*A_PAGE, "--batch", "--batch-prompt", "--multipage", "-o", "m.tif",
                                       device=SMALL, types=b"\x03")  # Ctrl-C
        self.assertEqual((status, len(self.pages("m.tif"))), (130, 1))


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

    def test_a_name_that_somebody_takes_meanwhile(self):
        """Told once as a failure; nothing is replaced, and the pages are in the part."""
        cases = [  # arguments, pages in the part
            (["--batch", "--multipage", "-o", "m.tif"], 3),
            (["--batch=3", "--multipage", "-o", "m.tif"], 3),
            (["--bursting", "--area", "custom:0,0,200,50", "--multipage", "-o", "m.tif"], 3),
            (["-o", "m.tif"], 1),
        ]
        for arguments, pages in cases:
            with self.subTest(arguments=arguments):
                process = self.start(*A_PAGE, "--json", *arguments, device=SMALL + ",count=3,speed=600")
                self.wait_for(process, "lines")
                (self.out / "m.tif").write_text("somebody's own")
                events = [json.loads(line) for line in process.stdout]
                self.assertEqual(process.wait(), 3)
                self.assertEqual(len([e for e in events if e["event"] == "message" and "answer" not in e]), 1, events)
                self.assertEqual({k: events[-1][k] for k in ("event", "cause", "status")},
                                 {"event": "ended", "cause": "output", "status": 3})
                self.assertEqual((self.out / "m.tif").read_text(), "somebody's own")
                self.assertEqual(self.files(), ["m.tif", "m.tif.part"])
                self.expect(0, "--recover", "m.tif.part", "-o", "n.tif", device=None)
                self.assertEqual(len(self.pages("n.tif")), pages)
                for file in self.files():
                    (self.out / file).unlink()

    def test_a_full_disk(self):
        """Somewhere in the run: what was finished is whole, what was not is gone, and the file is named."""
        FilledDisk(self, self.out, "size=40m")
        uncompressed = ["--mode", "rgb", "-r", "415", "--option", "Compression=None"]  # 24 megabytes a page
        dense = ["--mode", "rgb", "-r", "1300"]  # 60 megabytes in any compression
        cases = [  # arguments, the file that is told, the files that are left with their pages
            ([*uncompressed, "-r", "600", "-o", "a.tif"], "a.tif", {}),
            ([*dense, "-o", "a.tif"], "a.tif", {}),
            ([*dense, "-o", "a.png"], "a.png", {}),
            ([*uncompressed, "--batch=3", "--multipage", "-o", "m.tif"], "m.tif", {"m.tif": 1}),
            ([*uncompressed, "--batch=3", "-o", "a.tif"], "a001.tif", {"a000.tif": 1}),
            (["--mode", "rgb", "-r", "415", "--option", "Level=0", "--batch=3", "-o", "a.png"], "a001.png",
             {"a000.png": 1}),
            ([*uncompressed, "-r", "600", "--multipage", "-o", "old.tif"], "old.tif", {"old.tif": 2}),
        ]
        for arguments, told, left in cases:
            with self.subTest(arguments=arguments):
                if "old.tif" in left:
                    self.expect(0, *A_PAGE, "--batch=2", "--multipage", "-o", "old.tif")
                done = self.expect(3, "--area", "custom:0,0,200,150", *arguments)
                self.assertIn(f"{self.out}/{told}", done.stderr)
                self.assertEqual(self.files(), sorted(left))
                for name, pages in left.items():
                    self.check_whole(name, pages)
                    (self.out / name).unlink()
                self.expect(0, *A_PAGE, "-o", "next.tif")
                (self.out / "next.tif").unlink()

    def check_whole(self, name, pages):
        for page in range(pages):
            picture = read_picture(self.out / name, page)
            self.assertGreater(picture.max(), picture.min())
        if name.endswith(".tif"):
            self.assertEqual(len(self.pages(name)), pages)

class Signals(Case):
    SLOW = SMALL + ",speed=150"  # a page takes two seconds

    def test_the_first_one_stops(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = self.start(*A_PAGE, "--json", "-o", "a.tif", device=self.SLOW)
            self.wait_for(process, "lines")
            process.send_signal(number)
            self.assertEqual(self.wait_for(process, "ended")[-1]["cause"], "stopped")
            self.assertEqual(process.wait(), 128 + number)
            self.assertEqual(self.files(), [])

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
        left = f"{self.out}/m.tif.part.1"
        self.assertIn(f"quillbay-scan --increment --recover '{left}'", done.stderr)
        (self.out / "taken.tif").write_text("")
        before = self.files()
        for arguments, told in (([], "m.tif"), (["-o", "taken.tif"], "taken.tif"), (["-o", "p.png"], "p.png")):
            self.assertIn(told, self.expect(3, "--recover", left, *arguments, device=None).stderr)
            self.assertEqual(self.files(), before)
        bytes_left = Path(left).read_bytes()
        cases = [  # arguments, the name
            (["--increment"], "m000.tif"), (["--increment", "-o", f"{self.out}/taken.tif"], "taken000.tif"),
            (["-o", f"{self.out}/new/named"], "new/named.tif"), (["--overwrite"], "m.tif"),
        ]
        for arguments, name in cases:
            Path(left).write_bytes(bytes_left)
            done = self.expect(0, "--recover", left, *arguments, device=None)
            self.assertEqual(done.stdout, f"{self.out}/{name}\n")
            self.assertGreaterEqual(len(self.pages(name)), 2)
            self.assertFalse(Path(left).exists())


class Settings(Case):
    def test_are_kept_only_on_request(self):
        self.expect(0, *A_PAGE, "-o", "a.tif")
        self.assertFalse(self.config.exists() or self.state.exists())
        self.expect(0, "--mode", "rgb", "-r", "75", "--area", "custom:0,0,120,80", "-o", "b.tif", "--save-settings")
        saved = self.config.read_text()
        self.assertTrue(self.state.exists())
        # The next run scans as the saved one did, with its device, and changes nothing.
        self.assertIn("simulated", self.expect(0, "-o", "c.tif", device=None).stderr)
        self.assertEqual(self.pages("c.tif"), self.pages("b.tif"))
        self.expect(0, "--mode", "grey", "-o", "d.tif", device=None)
        self.assertEqual(self.config.read_text(), saved)

    def test_format_modules_are_examined_once(self):
        """Also by runs that save nothing: the second finds what the first found out."""
        real = Path(PROGRAM).with_name("quillbay-probe-formats")
        helper, runs = self.root / "libexec" / "quillbay-probe-formats", self.root / "runs"
        helper.parent.mkdir()
        helper.write_text(f'#!/bin/sh\necho >> "{runs}"\nexec "{real}" "$@"\n')
        helper.chmod(0o755)
        self.env["QUILLBAY_LIBEXEC"] = str(helper.parent)
        for name in ("a.tif", "b.png"):
            self.expect(0, *A_PAGE, "-o", name)
            self.assertEqual(runs.read_text(), "\n")
        self.assertFalse(self.config.exists() or self.state.exists())
        # What is lost or damaged is found out again.
        self.state.with_name("formats.json").write_text("{")
        self.assertNotIn("formats.json", self.expect(0, *A_PAGE, "-o", "c.tif").stderr)
        self.expect(0, *A_PAGE, "-o", "d.tif")
        self.assertEqual(runs.read_text(), "\n\n")

    def test_of_a_device_with_a_slash_in_its_name(self):
        picture = self.root / "one.pgm"
        picture.write_bytes(b"P5 60 40 255\n" + bytes(range(200)) * 12)
        device = f"sim:images={picture}"
        self.expect(0, "--mode", "rgb", "-r", "75", "--area", "custom:0,0,120,80", "-o", "a.tif", "--save-settings",
                    device=device)
        self.expect(0, "-o", "b.tif", device=device)
        self.assertEqual(self.pages("b.tif"), self.pages("a.tif"))

    def test_damaged_ones_are_set_aside(self):
        self.config.parent.mkdir(parents=True)
        self.config.write_text('{"Quillbay2.0": ')
        done = self.expect(0, *A_PAGE, "-o", "a.tif", "--save-settings")
        self.assertIn("settings.json", done.stderr)
        self.assertEqual((self.config.parent / "settings.json.damaged-1").read_text(), '{"Quillbay2.0": ')
        json.loads(self.config.read_text())


class Found(Case):
    """Documents are found wherever they lie, and come out cropped and straight."""

    AUTO = ["--mode", "grey", "-r", "100", "--area", "auto"]

    def events(self, done, kind):
        return [e for e in map(json.loads, done.stdout.splitlines()) if e["event"] == kind]

    def test_sheets_at_any_small_angle(self):
        cases = [  # width, length in mm, degrees clockwise, bed, paper
            (420, 297, 2, "dark", "A3"), (420, 297, -2, "dark", "A3"), (297, 210, -2, "light", "A4"),
            (297, 210, 2, "light", "A4"), (594, 420, 1.2, "dark", "A2"), (594, 420, -4, "dark", "A2"),
        ]
        for width, length, skew, bed, paper in cases:
            with self.subTest(width=width, skew=skew, bed=bed):
                device = f"sim:size={width}x{length},at=200x100,skew={skew},background={bed},seed=3"
                done = self.expect(0, *self.AUTO, "--deskew", "--json", "-o", "a.tif", "--overwrite", device=device)
                found, = self.events(done, "detected")
                self.assertTrue(found["found"])
                self.assertIn(found["by"], ("prescan", "second-look"))
                self.assertEqual(found["paper"], paper)
                self.assertAlmostEqual(found["angle"], -skew, delta=0.05)
                sine, cosine = numpy.sin(numpy.radians(skew)), numpy.cos(numpy.radians(skew))
                x = [200 + a * width * cosine - b * length * sine for a in (0, 1) for b in (0, 1)]
                y = [100 + a * width * sine + b * length * cosine for a in (0, 1) for b in (0, 1)]
                for edge, truth in (("left", min(x)), ("right", max(x)), ("top", min(y)), ("bottom", max(y))):
                    self.assertAlmostEqual(found["area"][edge], truth, delta=1.5, msg=edge)
                rows, columns = self.pages("a.tif")[0]
                page, = self.events(done, "page")
                self.assertEqual((page["lines"], page["width"]), (rows, columns))
                started, = self.events(done, "started")
                self.assertAlmostEqual(started["expectedLines"], rows, delta=1)
                self.assertAlmostEqual(columns * 0.254, width, delta=3)
                self.assertAlmostEqual(rows * 0.254, length, delta=3)
                picture, inside = self.image("a.tif"), 14  # of the paper's white margin, in pixels
                edges = (picture[inside], picture[-inside], picture[:, inside], picture[:, -inside])
                tones = [float(numpy.mean(edge)) for edge in edges]
                self.assertGreater(min(tones), 225, "paper runs along all edges")

    def test_batches_and_the_view(self):
        device = "sim:size=420x297,at=200x100,skew=2,count=2"
        for target in ("file", "view"):
            done = self.expect(0, *self.AUTO, "--json", "--to", target, "--batch", "--multipage", "-o",
                               f"{target}.tif", device=device)
            self.assertEqual([e["angle"] for e in self.events(done, "detected")], [0, 0], "not asked for")
            for rows, columns in self.pages(f"{target}.tif"):
                self.assertAlmostEqual(columns * 0.254, 430, delta=4)
                self.assertAlmostEqual(rows * 0.254, 311.5, delta=4)
        done = self.expect(0, *self.AUTO, "--deskew", "-o", "n.tif", device=device)
        self.assertRegex(done.stderr, r"Found \d+ x \d+ mm \(A3\), turned by 2[.,]0 degrees to the right")

    def test_nothing_to_be_found(self):
        (self.out / "dark.pgm").write_bytes(b"P5 60 40 255\n" + bytes([28]) * 2400)
        nothing = "sim:images=dark.pgm,background=dark,image-dpi=10,width=300,count=2"
        done = self.expect(0, *self.AUTO, "--json", "--batch", "-o", "a.tif", device=nothing)
        self.assertEqual([e["found"] for e in self.events(done, "detected")], [False, False], "looked for again")
        self.assertEqual(len(self.files()), 3)
        done = self.expect(4, *self.AUTO, "--json", "--if-not-found", "fail", "-o", "b.tif", device=nothing)
        self.assertEqual(self.events(done, "message")[0]["answer"], "no")
        self.assertEqual((self.events(done, "ended")[0]["cause"], len(self.files())), ("refused", 3))

    def test_an_interrupt_while_it_looks(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            process = self.start(*self.AUTO, "--json", "-o", "a.tif", device="sim:speed=20")
            self.wait_for(process, "detecting")
            process.send_signal(number)
            self.assertEqual(self.wait_for(process, "ended")[-1]["cause"], "stopped")
            self.assertEqual(process.wait(), 128 + number)
            self.assertEqual(self.files(), [])

    def test_settings_are_kept_like_others(self):
        device = "sim:size=420x297,at=200x100,skew=2"
        done = self.expect(0, "--deskew", "-o", "d.tif", device=device)
        self.assertIn("--area auto", done.stderr, "nothing that could be straightened is looked for")
        self.expect(0, *self.AUTO, "--deskew", "--save-settings", "-o", "a.tif", device=device)
        done = self.expect(0, "--json", "-o", "b.tif", device=device)
        self.assertAlmostEqual(self.events(done, "detected")[0]["angle"], -2, delta=0.05)
        done = self.expect(0, "--json", "--area", "A3", "--landscape", "-o", "c.tif", device=device)
        self.assertEqual(self.events(done, "detecting"), [], "a paper is not looked for")


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
        for arguments in (["--moed", "rgb"], ["-o", "a.tif", "--dir", "b"], ["x.tif"], ["-o", "-"]):
            done = self.expect(1, *arguments, "--json")
            event = json.loads(done.stdout)
            self.assertEqual((event["event"], event["status"]), ("failed", 1))
            self.assertEqual(done.stderr, f"quillbay-scan: {event['text']}\n")
        done = self.expect(2, "--json", "--resolution", "20000")
        self.assertEqual(json.loads(done.stdout)["status"], 2)
        (self.out / "a.tif").write_text("")
        events = [json.loads(line) for line in self.expect(3, *A_PAGE, "--json", "-o", "a.tif").stdout.splitlines()]
        self.assertEqual([e["event"] for e in events], ["message", "ended"])
        self.assertEqual((events[0]["kind"], events[0]["answer"]), ("question", "no"))
        self.assertEqual((events[1]["cause"], events[1]["status"]), ("output", 3))


if __name__ == "__main__":
    unittest.main(verbosity=1)
