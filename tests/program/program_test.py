"""The whole desktop program, by clicks and keys, on a display of its own."""

import unittest

import numpy
import tifffile
from desk import wait_until
from program_case import Case, short

SHEET = "sim:width=500,size=297x420,at=0x0,seed=7"
SLOW = SHEET + ",speed=60"  # a page of the tests takes five seconds
DPI = 50
CONTROLS = ("filler", "combo box", "spin box", "text", "check box", "push button", "button menu", "list",
            "page tab list", "tree")


class Story(Case):
    def choose_area(self, width, length):
        self.choose("Paper", "Custom Size")
        self.tick("Centred document", False)
        self.type_into("Width", self.number(width))
        self.type_into("Length", self.number(length))

    def choose_small_page(self, scanner=SHEET):
        """A page of 200 x 150 mm in grey."""
        self.use_scanner(scanner)
        self.choose("Mode", "Greyscale")
        self.type_into("Resolution", str(DPI))
        self.choose_area("200.0", "150.0")

    def scan(self):
        self.press("Scan")

    def expect_idle(self):
        stop = self.find("push button", "Stop")
        scan = self.find("push button", "Scan")
        wait_until("the scan's end", lambda: scan.has("enabled") and not stop.has("enabled"))


class View(Story):
    """Scans into the view, and what becomes of the pages."""

    def test_areas_batch_and_bursting(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.scan()
            seen = ["200 × 150"]
            self.expect_pages(*seen)

            self.menu("View", "Units", "inch")
            self.expect_text(self.control("Width"), self.number("7.87"))
            self.choose_area("5.00", "3.00")
            self.scan()
            seen.append("127 × 76")
            self.menu("View", "Units", "mm")
            self.expect_pages(*seen)

            self.choose("Paper", "A4")
            for orientation, size in (("Portrait", "210 × 297"), ("Landscape", "297 × 210")):
                self.tick(orientation)
                self.scan()
                seen.append(size)
                self.expect_pages(*seen)

            self.choose_area("120.0", "150.0")
            self.tick("Bursting")
            self.scan()
            seen += ["120 × 150"] * 3  # a sheet of 420 mm
            self.expect_pages(*seen)
            self.tick("Bursting", False)

            self.menu("File", "Close all pages")
            self.focus_window("Unsaved")
            self.press("Discard")
            self.focus_window("Quillbay")
            self.expect_pages()
            self.menu("Scan", "Scan batch...")
            self.focus_window("Scan batch")
            self.type_into(self.find("spin box", lambda node: True), "3")
            self.press("OK")
            self.focus_window("Quillbay")
            self.expect_pages(*["120 × 150"] * 3)
            names = self.pages()
            self.assertEqual(len(set(names)), 3, names)

    def test_save_reopen_and_restart(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.scan()
            self.expect_pages("200 × 150")
            saved = self.out / "drawing.tif"
            self.menu("File", "Save as...")
            self.answer_file_dialog("Save page", saved, "Save")
            self.focus_window("Quillbay")
            self.expect_saved(saved.name)
            self.menu("File", "Close page")
            self.expect_pages()
            self.menu("File", "Open...")
            self.answer_file_dialog("Open pages", saved, "Open")
            self.focus_window("Quillbay")
            self.expect_saved(saved.name)
            self.scan()
            self.expect_pages("200 × 150", "200 × 150")

            self.menu("File", "Quit")
            self.focus_window("Unsaved")
            self.press("Cancel")
            self.focus_window("Quillbay")
            self.expect_pages("200 × 150", "200 × 150")
            later = self.out / "later.tif"
            self.menu("File", "Quit")
            self.focus_window("Unsaved")
            self.press("Save...")
            self.answer_file_dialog("Save page", later, "Save")
            self.expect_end()
            self.expect_files(saved.name, later.name)
            self.check_file(later.name)


    def test_pages_are_moved_by_dragging_and_saved_as_a_whole(self):
        def shapes():
            with tifffile.TiffFile(plan) as tiff:
                return [page.shape for page in tiff.pages]

        with self.shown_on_failure():
            plan = self.out / "plan.tif"
            with tifffile.TiffWriter(plan) as tiff:
                for length in (100, 200, 300):
                    tiff.write(numpy.full((length, 200), length // 2, "u1"), resolution=(DPI, DPI),
                               resolutionunit="INCH")
            self.menu("File", "Open...")
            self.answer_file_dialog("Open pages", plan, "Open")
            self.focus_window("Quillbay")
            short, middle, long = sizes = ("102 × 51", "102 × 102", "102 × 152")
            self.expect_pages(*sizes)

            entries = [item for item in self.find("list", "Pages").children() if item.role == "list item"]
            x, y, width, height = entries[2].rectangle()
            self.desk.drag(self.place(entries[0]), (x + width // 2, y + height - 4))
            self.expect_pages(middle, long, short)
            self.keys("ctrl+z")
            self.expect_pages(*sizes)
            self.keys("ctrl+shift+z")
            self.expect_pages(middle, long, short)
            self.keys("ctrl+s")
            wait_until(shapes, lambda: shapes() == [(200, 200), (300, 200), (100, 200)])

            self.desk.click(x + width // 2, y + height // 2)  # the entries are others now
            self.keys("Delete")
            self.expect_pages(middle, long)
            self.keys("ctrl+s")
            self.focus_window("Quillbay")
            self.press("Save 2 pages")
            wait_until(shapes, lambda: shapes() == [(200, 200), (300, 200)])


class Files(Story):
    """Scans into files, and settings that stay."""

    def choose_files(self, mask):
        self.menu("Scan", "Scans go", "To files")
        self.type_into("Folder", str(self.out))
        self.type_into("Mask", mask)

    def expect_next_name(self, name):
        self.expect_text(self.find("text", "Name of the next file"), name)

    def test_files(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.choose_files("plan")
            self.expect_next_name("plan000.tif")
            self.scan()
            self.expect_files("plan000.tif")
            self.expect_next_name("plan001.tif")
            self.check_file("plan000.tif")

            # The sheet covers 297 mm from the left of a bed of 500 mm: beside it the bed is dark.
            self.tick("Centred document")
            self.expect_text(self.control("Offset"), self.number("150.0"))
            self.scan()
            self.expect_files("plan000.tif", "plan001.tif")
            picture = self.picture("plan001.tif")
            edge = round(147 / 25.4 * DPI)
            self.assertGreater(picture[20:, : edge - 5].mean(), 150)
            self.assertLess(picture[20:, edge + 5 :].mean(), 80)

    def test_flatbed_batch_in_one_format(self):
        """Without a feeder a batch asks between its pages; the format is the chosen one."""
        with self.shown_on_failure():
            self.choose_small_page()
            self.choose("Source", "Flatbed")
            self.choose_files("bed")
            self.press("File settings")
            # The toolkit gives a list its entry as its name: this one is known by its label alone.
            self.choose(self.find("combo box", lambda node: node.label() == "Greyscale"), "(*.png) PNG pictures")
            self.type_into("Number of chars of the counter", "2")
            self.expect_next_name("bed00.png")
            self.press("Batch")
            self.press("Scan next page")
            self.expect_files("bed00.png", "bed01.png")
            self.press("Finish batch")
            self.expect_idle()
            self.expect_files("bed00.png", "bed01.png")

    def test_stops(self):
        with self.shown_on_failure():
            self.choose_small_page(SLOW)
            self.choose_files("stop")
            self.scan()
            wait_until("a page that is being written", self.files)
            self.keys("Escape")
            self.expect_idle()
            self.expect_files()

            self.press("Batch")
            wait_until("a page that is being written", self.files)
            self.press("Stop after this page")
            self.expect_idle()
            self.expect_files("stop000.tif")
            self.check_file("stop000.tif")

    def test_restart(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.menu("View", "Units", "inch")
            self.choose("Paper", "A4")
            self.tick("Portrait")
            self.choose_files("kept")
            place = ("40", "30", "1200", "690")
            self.desk.xdotool("windowmove", "--sync", self.windows("Quillbay")[0], *place[:2])
            self.desk.xdotool("windowsize", "--sync", self.windows("Quillbay")[0], *place[2:])
            wait_until("the window's place", lambda: self.window.rectangle() == tuple(map(int, place)))
            self.keys("ctrl+q")
            self.expect_end()

            self.start()
            wait_until(lambda: f"the window's place again, not {self.window.rectangle()}",
                       lambda: self.window.rectangle() == tuple(map(int, place)))
            shown = {name: short(self.control(name).value()) for name in ("Mode", "Resolution", "Paper", "Folder", "Mask")}
            self.assertEqual(shown, {"Mode": "Greyscale", "Resolution": str(DPI), "Paper": "A4",
                                     "Folder": str(self.out), "Mask": "kept"})
            self.assertTrue(self.control("Portrait").has("checked"))
            self.expect_text(self.control("Width"), self.number("8.27"))
            self.expect_next_name("kept000.tif")
            self.scan()
            self.expect_files("kept000.tif")
            self.check_file("kept000.tif", 210, 297)


class Preview(Story):
    """The preview: frames by the mouse, and what is scanned of them."""

    AREA = (290, 400)  # millimetres

    def setUp(self):
        super().setUp()
        with self.shown_on_failure():
            self.menu("Scan", "Scans go", "To files")

    def use(self, scanner):
        self.choose_small_page(scanner)
        self.choose_area(*(f"{length:.1f}" for length in self.AREA))
        self.type_into("Folder", str(self.out))
        self.type_into("Mask", "part")

    def show_tab(self, name):
        """Clicks on a tab, which may be beyond the end of the row."""
        tab = self.find("page tab", name)
        bar = self.find("page tab list", lambda node: tab in node.children())
        while tab.centre()[0] > bar.rectangle()[0] + bar.rectangle()[2] - 40:
            self.press("Scroll Right")
        while tab.centre()[0] < bar.rectangle()[0] + 10:
            self.press("Scroll Left")
        self.click(tab)

    def show_preview(self):
        self.show_tab("Preview")
        self.picture_node = self.find("filler|canvas|drawing area|panel", "Picture of the preview")
        self.place(self.picture_node)
        x, y, width, height = self.picture_node.rectangle()
        # The length fills the picture, 7 pixels from its edges; a custom size has no orientation.
        self.origin, self.scale = (x + 7, y + 7), (height - 14) / self.AREA[1]

    def at(self, x, y, dx=0, dy=0):
        """A place of the document, in millimetres, on the screen, with pixels beside it."""
        return (round(self.origin[0] + x * self.scale) + dx, round(self.origin[1] + y * self.scale) + dy)

    def preview(self):
        self.press("Preview")
        self.expect_idle()

    TOOLS = "push button|toggle button|check box"

    def tool(self, name):
        self.click(self.find(self.TOOLS, name))

    def expect_off(self, name):
        button = self.find(self.TOOLS, name)
        wait_until(f"{name} is off", lambda: not button.has("enabled"))

    def scan_fragment(self, name, width, height):
        """Scans; the file has this size, within a pixel and a half of the screen."""
        self.tool("Scan Fragment")
        self.expect_idle()
        self.expect_files(*self.files_before, name)
        self.files_before = self.files()
        with tifffile.TiffFile(self.out / name) as tiff:
            lines, pixels = tiff.pages[0].shape
        for what, got, wanted in (("width", pixels, width), ("height", lines, height)):
            self.assertAlmostEqual(got / DPI * 25.4, wanted, delta=1.5 / self.scale + 0.5, msg=what)

    def test_a_fragment_is_drawn_resized_moved_and_scanned(self):
        with self.shown_on_failure():
            self.use(SHEET)
            self.show_preview()
            self.files_before = []
            self.expect_off("New fragment")
            self.desk.drag(self.at(40, 50), self.at(190, 150))  # nothing is there to draw on
            self.preview()
            self.tool("Disable preview updating")

            self.tool("New fragment")
            self.desk.drag(self.at(190, 150), self.at(40, 50))
            self.scan_fragment("part000.tif", 150, 100)

            self.tool("New fragment")
            self.desk.drag(self.at(40, 50), self.at(190, 150))
            self.desk.drag(self.at(190, 150, 1, 1), self.at(230, 200, 1, 1))
            self.desk.drag(self.at(100, 100), self.at(130, 80))
            self.scan_fragment("part001.tif", 190, 150)

            self.tool("New fragment")
            self.desk.drag(self.at(40, 50), self.at(240, 250))
            self.tool("Set scan rectangle by fragment rectangle")
            self.expect_idle()
            self.show_tab("Main")
            self.assertAlmostEqual(float(self.control("Width").text().replace(",", ".")), 200, delta=2 / self.scale)

    def test_a_prescan_that_is_stopped_leaves_nothing_to_draw_on(self):
        with self.shown_on_failure():
            self.use(SLOW)
            self.show_preview()
            self.press("Preview")
            stop = self.find("push button", "Stop")
            wait_until("the prescan runs", lambda: stop.has("enabled"))
            self.press("Stop")
            self.expect_idle()
            self.expect_off("New fragment")
            self.desk.drag(self.at(40, 50), self.at(190, 150))
            self.expect_off("Set scan rectangle by fragment rectangle")
            self.expect_files()


class Keyboard(Story):
    """Everything without a mouse, and what a screen reader tells of it."""

    MENUS = {"File": "f", "Scan": "s", "Page": "p", "Tools": "l", "View": "v", "Help": "h"}
    FIELDS = {"Mode": "m", "Resolution": "u", "Paper": "r", "Width": "w", "Offset": "o", "Length": "g", "Top": "t",
              "Added": "a", "Folder": "d", "Mask": "k", "Next name": "x"}
    TICKS = {"Centred document": "c", "Bursting": "b", "Save pages to a file": "e"}

    def focus(self, window):
        """What has the keyboard's focus; of a field in several parts, the whole."""
        return next((node for node in self.controls(window) if node.has("focused")), None)

    def controls(self, window):
        """What the keyboard can reach. A list that drops down is one control, whatever it is made of."""

        def below(node):
            if not node.has("showing"):
                return
            if node.role in CONTROLS and node.has("focusable", "enabled"):
                yield node
            if node.role not in ("combo box", "spin box", "menu bar"):
                for child in node.children():
                    yield from below(child)

        return list(below(window))

    def tab(self, window, before, key="Tab"):
        self.keys(key)
        return wait_until(lambda: f"{key} leaves {before.role} {before.name!r}",
                          lambda: (now := self.focus(window)) and now != before and now)

    def check_tabbing(self, window):
        """Tab comes to every control, and back to the first one; the order is returned."""
        controls = self.controls(window)
        order = [wait_until("something with the focus", lambda: self.focus(window))]
        while len(order) <= len(controls):
            now = self.tab(window, order[-1])
            if now == order[0]:
                break
            order.append(now)
        names = [(node.role, self.name_of(node)) for node in order]
        missed = [(node.role, self.name_of(node)) for node in controls if node not in order]
        self.assertEqual((len(order), missed), (len(set(order)), []), names)
        self.assertEqual(now, order[0], names)
        for node in reversed(order):
            now = self.tab(window, now, "shift+Tab")
            self.assertEqual(now, node, f"{self.name_of(now)}, not {self.name_of(node)}, by shift+Tab in {names}")
        for node in order:
            self.assertTrue(self.name_of(node), (node.role, node.rectangle()))
        return order

    @staticmethod
    def name_of(node):
        return node.label() or node.name

    def check_reading_order(self, order):
        """Line by line, and from left to right in a line."""
        for before, after in zip(order, order[1:]):
            x0, y0, _, height0 = before.rectangle()
            x1, y1, _, height1 = after.rectangle()
            below = y1 >= y0 + height0 - 4
            beside = x1 > x0 and y1 + height1 > y0 + 4
            self.assertTrue(below or beside, (self.name_of(before), self.name_of(after)))

    def choose_all_enabled(self):
        self.choose_small_page()
        self.tick("Save pages to a file")
        self.type_into("Folder", str(self.out))

    def test_tab_order_and_names(self):
        with self.shown_on_failure():
            self.choose_all_enabled()
            self.click(self.find("filler", "Document"))
            order = self.check_tabbing(self.window)
            panel = set(self.controls(self.find("frame", "Scanning")))
            self.check_reading_order([node for node in order if node in panel])
            for node in panel:
                # The toolkit tells no description of a row of tabs, whatever is set.
                self.assertTrue(node.description or node.role == "page tab list", (node.role, self.name_of(node)))

            self.keys("alt+s", "c")
            self.focus_window("Choose scanner")
            self.find("list item", lambda node: node.name.endswith("(sim:)"))
            dialog = self.find("dialog", "Choose scanner")
            self.check_reading_order(self.check_tabbing(dialog)[1:])
            self.keys("Escape")
            self.focus_window("Quillbay")
            self.keys("shift+F5")
            self.focus_window("Scan batch")
            self.check_tabbing(self.find("dialog", "Scan batch"))

    def test_mnemonics(self):
        with self.shown_on_failure():
            self.choose_all_enabled()
            self.click(self.find("filler", "Document"))
            order = self.check_tabbing(self.window)
            for name, letter in self.FIELDS.items():
                # A letter that another control has as well would go there the second time.
                target = self.control(name)
                before = order[order.index(target) - 1]
                self.keys(f"alt+{letter}", f"alt+{letter}", "shift+Tab")
                wait_until(lambda: f"Alt+{letter} goes to {name} only; focus on {self.focused()}",
                           lambda: before.has("focused"))
            for name, letter in self.TICKS.items():
                box = self.control(name)
                for wanted in (not box.has("checked"), box.has("checked")):
                    self.keys(f"alt+{letter}")
                    wait_until(f"Alt+{letter} switches {name}", lambda: box.has("checked") == wanted)
            self.choose("Paper", "A4")
            for name, letter in {"Portrait": "i", "Landscape": "n"}.items():
                self.keys(f"alt+{letter}")
                wait_until(f"Alt+{letter} chooses {name}", lambda: self.control(name).has("checked"))

    def test_menus_scan_and_quit(self):
        with self.shown_on_failure():
            self.choose_small_page()
            bar = self.find("menu bar", "")
            menus = {item.name: item.children()[0] for item in bar.children()}
            self.assertLessEqual(self.MENUS.keys(), menus.keys())
            for name, letter in self.MENUS.items():
                self.keys(f"alt+{letter}")
                wait_until(f"Alt+{letter} opens {name}", lambda: menus[name].has("showing"))
                self.check_menu(menus[name])
                self.keys("Escape", "Escape")
                wait_until(f"{name} closes", lambda: not menus[name].has("showing"))
            self.keys("alt+f")
            wait_until("File opens", lambda: menus["File"].has("showing"))
            for name in reversed(menus):
                self.keys("Left")
                wait_until(f"Left opens {name}", lambda: menus[name].has("showing"))
            self.keys("Escape", "Escape")

            self.keys("F5")
            self.expect_pages("200 × 150")
            self.keys("ctrl+q")
            self.focus_window("Unsaved")
            self.keys("alt+d")
            self.expect_end()

    def check_menu(self, menu):
        """Down comes to every command that is enabled."""
        wanted = [item for item in menu.children() if item.role != "separator" and item.has("enabled")]
        for item in wanted:
            wait_until(f"Down comes to {item.name}", lambda: item.has("focused"))
            self.keys("Down")


if __name__ == "__main__":
    unittest.main(verbosity=2)
