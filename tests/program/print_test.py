"""The desktop program and a printer: pages that are scanned to it, and pages of the document."""

import sys
import unittest
from pathlib import Path

from desk import wait_until
from program_test import Story

sys.path.append(str(Path(__file__).parent.parent / "scan"))

from ipp_printer import Printer, sheets  # noqa: E402  (beside the other tests of printing)

ROLL = 1181  # pixels of the roll's 300 mm at 100 dpi


class Printing(Story):
    """Scan To Print, and File, Print."""

    def setUp(self):
        self.printer = Printer(self)
        super().setUp()

    def printed(self, count):
        """The sheets of so many jobs, when the last one is complete."""

        def probe():
            files = self.printer.kept()
            if len(files) < count:
                return None
            try:
                return [sheet for path in files for sheet in sheets(path)]
            except (IndexError, ValueError):  # it still comes
                return None

        return wait_until(f"{count} jobs", probe)

    def check_sheet(self, sheet):
        """A grey page of 200 x 150 mm in the middle of the roll."""
        dpi, samples = sheet
        width, height = round(200 / 25.4 * 100), round(150 / 25.4 * 100)
        self.assertEqual(dpi, 100)
        self.assertEqual(samples.shape[1], ROLL)
        self.assertAlmostEqual(len(samples), height, delta=2)
        left = (ROLL - width) // 2
        self.assertTrue((samples[:, : left - 1] == 255).all())
        page = samples[:, left + 2 : left + width - 2]
        self.assertLess(page.min(), 128)
        self.assertGreater(page.mean(), 128)

    def choose_printer(self):
        self.press("Change the print options")
        self.focus_window("Print options")
        self.type_into(self.control("Printer"), self.printer.address)
        wait_until("what the printer takes", lambda: any("300 mm" in entry.name for entry in
                   self.control("Medium").children()[0].children()))
        self.press("OK")
        self.focus_window("Quillbay")
        self.expect_text(self.find("text", "Printer of these options"), self.printer.address)

    def test_a_scan_and_a_page_are_printed(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.type_into("Resolution", "100")
            self.menu("Scan", "Scans go", "To a printer")
            self.choose_printer()
            self.scan()
            self.check_sheet(self.printed(1)[0])
            self.expect_idle()
            wait_until("the job's number", lambda: any("Job 1" in node.name for node in self.app.walk()
                       if node.role == "label"))

            self.menu("Scan", "Scans go", "To the view")
            self.scan()
            self.expect_pages("200 × 150")
            self.expect_idle()
            self.keys("ctrl+p")
            self.focus_window("Print")
            self.press("Print")
            self.check_sheet(self.printed(2)[-1])

    def test_a_page_that_is_not_printed_is_kept(self):
        with self.shown_on_failure():
            self.choose_small_page("sim:width=500,size=297x420,at=0x0,seed=7,speed=30")
            self.type_into("Resolution", "200")
            self.menu("Scan", "Scans go", "To a printer")
            self.choose_printer()
            self.scan()
            stop = self.find("push button", "Stop")
            wait_until("the scan", lambda: stop.has("enabled"))
            wait_until("lines", lambda: any("Scanning, lines" in node.name for node in self.app.walk()))
            self.printer.stop()
            self.press("OK")
            self.expect_idle()
            wait_until(lambda: f"the page in {self.pages()}",
                       lambda: any("not printed" in page for page in self.pages()))


if __name__ == "__main__":
    unittest.main()
