#!/usr/bin/env python3
"""Tests of printing by quillbay-scan, to a real IPP printer on loopback.

usage: print_test.py GROUP [unittest options]
Needs QUILLBAY_SCAN (the program) and QUILLBAY_SOURCE (the source tree).
"""

import json
import signal
import subprocess
import unittest

import numpy
import tifffile

from ipp_printer import Printer, sheets
from scan_case import LIMIT, Case, read_picture

SHEET = "sim:size=280x150,at=0x0,width=300,seed=5"
PAGE = ["-r", "100", "--area", "custom:0,0,280,150"]
WIDTH, HEIGHT = 1102, 590  # 280 x 150 mm at 100 dpi, as files have them


class Printing(Case):
    def print_page(self, printer, *arguments, status=0, device=SHEET):
        return self.expect(status, "--to", "print", "--printer", printer.address, *arguments, device=device)

    def printed(self, printer):
        return [sheet for path in printer.kept() for sheet in sheets(path)]

    def test_every_colour_class_is_printed_as_it_is_saved(self):
        printer = Printer(self)
        for mode in ("bw-threshold", "grey", "palette", "rgb"):
            with self.subTest(mode):
                before = len(printer.kept())
                self.expect(0, "--mode", mode, *PAGE, "-o", f"{mode}.tif", device=SHEET)
                done = self.print_page(printer, "--mode", mode, *PAGE)
                self.assertIn("was printed", done.stderr)
                (dpi, samples), = [s for p in printer.kept()[before:] for s in sheets(p)]
                self.assertEqual(dpi, 100)
                self.assertEqual(samples.shape[1], 1181, "the roll's width")
                saved = self.saved(f"{mode}.tif")
                left = (1181 - saved.shape[1]) // 2
                shown = samples[:saved.shape[0], left:left + saved.shape[1]]
                self.assertEqual(shown.shape, saved.shape)
                self.assertTrue(numpy.array_equal(shown, saved), "the same pixels")
                self.assertTrue((samples[:, :left] == 255).all())

    def saved(self, name):
        if name != "palette.tif":
            return read_picture(self.out / name)
        plain = self.root / "plain.tif"
        subprocess.run(["tiffcp", "-c", "none", self.out / name, plain], check=True, timeout=LIMIT)
        with tifffile.TiffFile(plain) as tiff:
            return (tiff.pages[0].colormap >> 8).astype("u1").T[tiff.pages[0].asarray()]

    def test_a_roll_goes_in_pieces_without_a_gap(self):
        printer = Printer(self)
        device = "sim:size=280x700,at=0x0,width=300,seed=5"
        area = ["--mode", "grey", "-r", "100", "--area", "fixed-width:280"]
        self.expect(0, *area, "-o", "roll.tif", device=device)
        saved = read_picture(self.out / "roll.tif")
        done = self.print_page(printer, *area, "--print-option", "pieces=300", device=device)
        self.assertIn("pieces", done.stderr)
        parts = self.printed(printer)
        self.assertGreater(len(parts), 1)
        whole = numpy.vstack([samples for _, samples in parts])
        left = (1181 - saved.shape[1]) // 2
        self.assertTrue(numpy.array_equal(whole[:len(saved), left:left + saved.shape[1]], saved))
        self.assertTrue((whole[len(saved):] == 255).all(), "the last one is filled")

    def test_a_found_document_is_printed_in_its_own_size(self):
        printer = Printer(self)
        device = "sim:size=200x140,at=40x20,width=300,seed=5"
        self.print_page(printer, "--mode", "grey", "-r", "100", "--area", "auto", device=device)
        (_, samples), = self.printed(printer)
        self.assertAlmostEqual(len(samples), 140 / 25.4 * 100, delta=30)

    def test_the_pages_of_a_batch_wait_for_a_printer_without_a_queue(self):
        printer = Printer(self)
        done = self.print_page(printer, "--mode", "grey", *PAGE, "--batch=2", device=SHEET + ",count=2")
        self.assertEqual(done.stderr.count("was printed"), 2)
        self.assertEqual(len(self.printed(printer)), 2)

    def test_options_templates_and_copies(self):
        printer = Printer(self)
        folder = self.root / "data" / "quillbay" / "templates" / "PrintOptions"
        folder.mkdir(parents=True)
        values = [{"key": "PrinterName", "text": printer.address}, {"key": "PrintScaling", "int": 1},
                  {"key": "PrintPercent", "int": 50}]
        template = {"format": "quillbay-settings", "version": 1, "values": [], "stores": [
            {"name": "PrintOptions", "values": [], "stores": [
                {"name": "template", "values": [{"key": "", "text": "PrintOptions"}], "stores": []},
                {"name": "parameters", "values": values, "stores": []}]}]}
        (folder / "Half.tpl").write_text(json.dumps(template))
        (folder / "Torn.tpl").write_text(json.dumps(template)[:80])
        page = ["--to", "print", "--mode", "grey", *PAGE]
        self.expect(0, *page, "--template", "Half", "--copies", "2", device=SHEET)
        self.expect(0, *page, "--template", "Half", "--print-option", "scaling=25", device=SHEET)
        heights = [len(samples) for _, samples in self.printed(printer)]
        self.assertAlmostEqual(heights[0], HEIGHT / 2, delta=2)
        self.assertAlmostEqual(heights[-1], HEIGHT / 4, delta=2)
        for arguments, says in (
                (["--template", "Quarter"], "Half"), (["--template", "Torn"], "Torn.tpl"),
                (["--print-option", "scaling=huge"], "true|fit|PERCENT"),
                (["--print-option", "paper=A0"], "media"), (["--copies", "0"], "from 1"),
                (["-o", "page.tif"], "printed, not written"), (["--script", "x.kxf"], "--script")):
            with self.subTest(arguments):
                self.assertIn(says, self.expect(1, *page, *arguments, device=SHEET).stderr)
        named = self.expect(0, *page, "--template", "Half", "--dry-run", device=SHEET)
        self.assertEqual(named.stdout, printer.address + "\n")
        self.assertIn("--to print", self.expect(1, "--printer", "x", *PAGE, device=SHEET).stderr)

    def test_how_a_job_ends(self):
        printer = Printer(self)
        done = self.print_page(printer, "--mode", "grey", *PAGE, "--json")
        events = [json.loads(line) for line in done.stdout.splitlines()]
        last = [e for e in events if e["event"] == "print"][-1]
        self.assertEqual(last["state"], "printed")
        self.assertGreater(last["job"], 0)
        self.assertEqual(events[-1]["event"], "ended")
        fails = Printer(self, "-c", "/bin/false")
        done = self.print_page(fails, "--mode", "grey", *PAGE, "--json", status=3)
        events = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([e for e in events if e["event"] == "print"][-1]["state"], "aborted")

    def test_printers_that_cannot_print(self):
        printer = Printer(self)
        printer.stop()
        done = self.print_page(printer, "--mode", "grey", *PAGE, status=3)
        self.assertIn(str(printer.port), done.stderr)
        self.env["CUPS_SERVER"] = str(self.root / "no-server")
        self.assertIn("listed", self.expect(3, "--list-printers", device=None).stderr)
        done = self.expect(3, "--to", "print", "--mode", "grey", *PAGE, "--printer", "plotter", device=SHEET)
        self.assertIn("CUPS", done.stderr)
        good = Printer(self)
        self.print_page(good, "--mode", "grey", *PAGE)

    def test_a_printer_that_goes_away_and_a_stop(self):
        device = "sim:size=280x480,at=0x0,width=300,seed=5,speed=60"
        page = ["--mode", "grey", "-r", "200", "--area", "custom:0,0,280,480", "--json"]
        for what, status in (("printer", 3), ("user", 128 + signal.SIGINT)):
            with self.subTest(what):
                printer = Printer(self)
                process = self.start("--to", "print", "--printer", printer.address, *page, device=device)
                self.wait_for(process, "lines", 2)
                if what == "printer":
                    printer.stop()
                else:
                    process.send_signal(signal.SIGINT)
                _, errors = process.communicate()
                self.assertEqual(process.returncode, status, errors)


if __name__ == "__main__":
    unittest.main()
