"""The tools of the view, by real mouse and key events: what is measured, and what is done to pages."""

import csv
import math
import unittest

import numpy
import tifffile
from desk import wait_until
from program_test import SLOW, Story

PLAN_DPI = 150
MM = 25.4 / PLAN_DPI  # of a pixel of the page, which is one of the screen at 1:1
BAR = (40, 630)  # columns of the scale bar's ends: 590 pixels are 99.9 mm
INK = 0


def plan():
    """A sheet with a scale bar, and a pattern that tells every place from its neighbours."""
    y, x = numpy.mgrid[0:470, 0:660]
    sheet = (200 + (x * 7 + y * 13) % 50).astype("u1")
    for column in BAR:
        sheet[20:40, column] = INK
    return sheet


class Tools(Story):
    """On a page that was opened, each pixel as one of the screen."""

    def setUp(self):
        super().setUp()
        self.file = self.out / "plan.tif"
        self.sheet = plan()

    def open_plan(self):
        with tifffile.TiffWriter(self.file) as tiff:
            tiff.write(self.sheet, resolution=(PLAN_DPI, PLAN_DPI), resolutionunit="INCH")
        self.menu("File", "Open...")
        self.answer_file_dialog("Open pages", self.file, "Open")
        self.focus_window("Quillbay")
        self.expect_pages("112 × 80")
        self.tool("ctrl+l")  # the list of measures takes its room
        self.keys("Escape")
        self.expect_no_tool()
        self.show_full_size()

    def show_full_size(self):
        self.keys("ctrl+1")
        self.origin = wait_until("the scale bar on the screen", self.find_origin)

    def view(self):
        return self.find("filler", "Document").rectangle()

    def find_origin(self):
        """Where the page's pixel (0, 0) is on the screen: its scale bar's ends are the only dark columns."""
        x, y, width, height = self.view()
        dark = self.desk.pixels()[y : y + height, x : x + width].max(axis=2) < 50
        rows, columns = numpy.nonzero(dark)
        ends = numpy.flatnonzero(numpy.bincount(columns, minlength=1) == 20)
        if len(ends) != 2 or ends[1] - ends[0] != BAR[1] - BAR[0]:
            return None
        return x + ends[0] - BAR[0], y + rows[columns == ends[0]].min() - 20

    def at(self, x, y):
        return self.origin[0] + x, self.origin[1] + y

    # What a person does

    def tool(self, *how):
        """Starts a tool, by its key or from the menu."""
        if how[0].startswith("ctrl+"):
            self.keys(*how)
        else:
            self.menu("Tools", *how)
        return self.find("text", "Place or length")

    def expect_no_tool(self):
        wait_until("no tool runs", lambda: not any(
            node.role == "text" and node.name == "Place or length" for node in self.app.walk()))

    def clicks(self, *places):
        for place in places:
            self.desk.click(*self.at(*place))

    def rest(self):
        """The pointer leaves the view, so that pictures of it have none."""
        self.desk.xdotool("mousemove", "--sync", 2, 2)

    def screen(self):
        x, y, width, height = self.view()
        return self.desk.pixels()[y : y + height, x : x + width].copy()

    def measured(self, count):
        """The list of measures, as a spreadsheet gets it: rows of the numbers."""
        self.press("Save as CSV")
        path = self.out / "measures.csv"
        path.unlink(missing_ok=True)
        self.answer_file_dialog("Save table", path, "Save")
        self.focus_window("Quillbay")
        text = path.read_text(encoding="utf-8-sig")
        comma = ";" in text.splitlines()[0]
        rows = list(csv.reader(text.splitlines(), delimiter=";" if comma else ","))[1:]
        self.assertEqual(len(rows), count)

        def number(cell):
            return float(cell.replace(",", ".")) if cell else None

        return [[row[1], *map(number, row[3:])] for row in rows]  # length, dx, dy, degrees, area

    def saved(self):
        """The page's samples, after saving it in its file."""
        self.keys("ctrl+s")
        self.expect_saved(self.file.name)
        return self.picture(self.file.name)

    def expect_changed(self, changed=True):
        wait_until(lambda: f"{self.pages()} changed: {changed}", lambda: ("not saved" in self.pages()[-1]) == changed)

    # The cases

    def test_every_measure(self):
        with self.shown_on_failure():
            self.open_plan()
            self.rest()
            before = self.screen()
            bar = [(BAR[0], 30), (BAR[1], 30)]
            self.tool("ctrl+l")
            self.clicks(*bar)
            self.tool("Measure from last point")
            self.clicks((BAR[1], 130))
            self.tool("Measure place")
            self.clicks((200, 350))
            self.tool("Measure path")
            self.clicks((100, 100), (400, 100), (400, 300), (600, 300))
            self.keys("BackSpace")
            self.desk.click(*self.at(450, 320), button=3)
            self.tool("Measure angle")
            self.clicks((300, 300), (200, 300), (200, 150))
            self.tool("ctrl+shift+a")
            self.clicks((100, 100), (400, 100), (400, 300))
            self.desk.click(*self.at(100, 300), times=2)
            self.tool("Measure area", "Frame")
            self.desk.drag(self.at(120, 120), self.at(420, 320))
            self.tool("Measure area", "Turned frame")
            self.clicks((300, 100), (480, 340), (220, 400))
            self.tool("Measure area", "Circle by its radius")
            self.clicks((400, 300), (400, 400))
            self.tool("Measure area", "Circle by its diameter")
            self.clicks((300, 300), (500, 300))
            self.tool("Measure area", "Freehand outline")
            corners = [(300, 200), (500, 200), (500, 350), (300, 350), (300, 204)]
            self.desk.xdotool("mousemove", "--sync", *self.at(*corners[0]), "mousedown", 1)
            for start, end in zip(corners, corners[1:]):
                for i in range(1, 11):
                    place = [round(a + (b - a) * i / 10) for a, b in zip(start, end)]
                    self.desk.xdotool("mousemove", "--sync", *self.at(*place))
            self.desk.xdotool("mouseup", 1)
            rows = self.measured(11)
            self.keys("Escape")
            self.expect_no_tool()
            self.rest()
            wait_until("the view as before", lambda: numpy.array_equal(self.screen(), before))

        length, onward, place, path, angle, polygon, frame, turned, radius, diameter, freehand = rows
        self.assertAlmostEqual(length[1], (BAR[1] - BAR[0]) * MM, delta=MM, msg="the scale bar")
        self.assertAlmostEqual(onward[1], 100 * MM, delta=MM, msg="from the scale bar's end downwards")
        self.assertAlmostEqual(onward[3], -100 * MM, delta=MM)
        self.assertAlmostEqual(place[2], 200 * MM, delta=MM)
        self.assertAlmostEqual(place[3], 350 * MM, delta=MM)
        self.assertAlmostEqual(path[1], 500 * MM, delta=MM, msg="its last point was taken back")
        self.assertAlmostEqual(angle[4], 90, delta=0.1)
        for row, around, inside in ((polygon, 1000, 300 * 200), (frame, 1000, 300 * 200),
                                    (radius, 200 * math.pi, 100**2 * math.pi),
                                    (diameter, 200 * math.pi, 100**2 * math.pi), (freehand, 700, 200 * 150)):
            self.assertAlmostEqual(row[1], around * MM, delta=4 * MM, msg=row)
            self.assertAlmostEqual(row[5], inside * MM * MM, delta=around * MM * MM, msg=row)
        # From (300, 100) to (480, 340) are 300 pixels; (220, 400) lies 244 beside that line.
        self.assertAlmostEqual(turned[5], 300 * 244 * MM * MM, delta=600 * MM * MM)

    def test_keys_and_typed_places(self):
        with self.shown_on_failure():
            self.open_plan()
            field = self.tool("ctrl+l")
            self.desk.type("10;20")
            self.expect_text(field, "10;20")
            self.keys("Return")
            self.expect_text(field, "")
            self.desk.type("50 mm<90")
            self.keys("Return")
            self.desk.type("10;")  # no place: it stays for mending
            self.keys("Return")
            self.expect_text(field, "10;")
            self.desk.type("10")
            self.keys("Return")
            self.expect_text(field, "")
            self.desk.type("@3 cm;4cm")
            self.keys("Return")
            self.expect_text(field, "")

            self.clicks((300, 300))
            self.keys("Right", "Right", "Right", "ctrl+Down", "Return")
            self.clicks((100, 100))
            self.desk.xdotool("keydown", "Shift_L")
            self.clicks((300, 112))
            self.desk.xdotool("keyup", "Shift_L")
            rows = self.measured(4)
            self.click(self.find("filler", "Document"))
            self.keys("Escape")
            self.expect_no_tool()
        self.assertAlmostEqual(rows[0][1], 50, delta=0.01)
        self.assertAlmostEqual(rows[0][3], 50, delta=0.01, msg="upwards")
        self.assertAlmostEqual(rows[1][1], 50, delta=0.01)
        self.assertAlmostEqual(rows[1][3], -40, delta=0.01, msg="typed places go down the page")
        self.assertAlmostEqual(rows[2][2], 3 * MM, delta=0.01)
        self.assertAlmostEqual(rows[2][3], -10 * MM, delta=0.01)
        self.assertAlmostEqual(rows[3][3], 0, delta=0.01, msg="Shift holds the direction")

    def test_pages_are_cleaned_cut_and_undone(self):
        square = [(200, 200), (300, 200), (300, 300), (200, 300)]
        with self.shown_on_failure():
            self.open_plan()
            self.tool("ctrl+b")
            self.clicks(*square, square[0])
            self.expect_changed()
            self.expect_no_tool()
            erased = self.saved()
            self.keys("ctrl+z")
            self.expect_changed()
            numpy.testing.assert_array_equal(self.saved(), self.sheet)

            self.tool("Keep inside", "Circle")
            self.clicks((400, 300), (400, 400))
            self.expect_changed()
            kept = self.saved()
            self.keys("ctrl+z")
            self.expect_changed()

            self.tool("Erase inside", "Outline of corners and curves")
            self.clicks((100, 100), (200, 100))
            self.keys("Escape")
            self.expect_no_tool()
            numpy.testing.assert_array_equal(self.saved(), self.sheet)

            self.tool("Save frame as...")
            self.clicks((300, 300), (400, 350))
            part = self.out / "part.tif"
            self.answer_file_dialog("Save page", part, "Save")
            self.focus_window("Quillbay")
            wait_until("the part's file", part.exists)
            self.tool("ctrl+t")
            self.desk.drag(self.at(100, 80), self.at(600, 430))
            self.expect_pages("85 × 59")
            cropped = self.saved()

        inside = erased[202:299, 202:299]
        self.assertTrue((inside == 255).all())
        outside = erased.copy()
        outside[199:302, 199:302] = self.sheet[199:302, 199:302]
        numpy.testing.assert_array_equal(outside, self.sheet)
        numpy.testing.assert_array_equal(kept[250:350, 350:450], self.sheet[250:350, 350:450])
        self.assertTrue((kept[:190] == 255).all())
        numpy.testing.assert_array_equal(self.picture(part.name), self.sheet[300:350, 300:400])
        numpy.testing.assert_array_equal(cropped, self.sheet[80:430, 100:600])

    def test_a_frame_is_scanned_again_and_escape_ends_the_tool_first(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.scan()
            self.expect_pages("200 × 150")
            x, y, width, height = self.view()
            middle, corner = (x + width // 2, y + height // 2), (x + width * 2 // 3, y + height * 2 // 3)
            self.tool("ctrl+F9")
            self.desk.click(*middle)
            self.desk.click(*corner)
            self.focus_window("Scan frame again")
            self.type_into(self.find("spin box", lambda node: True), "100")
            self.press("OK")
            self.focus_window("Quillbay")
            wait_until("a second page", lambda: len(self.pages()) == 2)
            self.expect_idle()
            resolution = self.control("Resolution")
            wait_until(lambda: f"{resolution.value()} is as before", lambda: resolution.value() == "50")

            self.choose_small_page(SLOW)
            self.scan()
            stop = self.find("push button", "Stop")
            wait_until("the scan runs", lambda: stop.has("enabled"))
            self.tool("ctrl+l")
            self.desk.click(*middle)
            self.keys("Escape")
            self.expect_no_tool()
            self.assertTrue(stop.has("enabled"), "the scan goes on")
            self.keys("Escape")
            self.expect_idle()
            self.assertEqual(len(self.pages()), 2)


if __name__ == "__main__":
    unittest.main()
