"""What a person chooses once and keeps: presets by their menus, and the options of a file format."""

import unittest

import tifffile

from desk import wait_until
from program_case import OUTPUT
from program_test import Story

ADOBE_DEFLATE = 8


class Choices(Story):
    def open_menu(self, node):
        """The toolkit tells nothing of a menu outside the menu bar: it is driven by keys."""
        def shown():
            return len(self.desk.search("--onlyvisible", "--pid", self.process.pid, "--name", ""))

        before = shown()
        self.click(node)
        wait_until("a menu", lambda: shown() > before)

    def open_page_menu(self):
        self.open_menu(self.find("push button", "Menu of the page"))

    def expect_resolution(self, value):
        box = self.control("Resolution")
        wait_until(lambda: f"{box.value()!r} is {value!r}", lambda: box.value() == value)

    def test_presets(self):
        OUTPUT.mkdir(parents=True, exist_ok=True)
        with self.shown_on_failure():
            self.choose_small_page()
            self.expect_resolution("50")
            self.open_page_menu()
            self.keys("Up", "Return")  # its last entry: "Add preset..."
            self.focus_window("New preset")
            self.type_into("Preset name", "Maps", shown="Maps")
            self.press("OK")
            self.focus_window("Quillbay")
            presets = self.find("combo box", lambda node: node.label() == "Preset")
            wait_until(lambda: f"{presets.value()!r} is the new preset", lambda: presets.value() == "Maps")

            self.type_into("Resolution", "100")
            wait_until(lambda: f"{presets.value()!r} is none", lambda: presets.value() != "Maps")
            self.open_page_menu()
            self.desk.screenshot(OUTPUT / "preset-menu.png")
            self.keys("Up", "Up", "Return")  # the preset, above it
            self.expect_resolution("50")
            self.type_into("Resolution", "100")
            self.click(presets)
            wait_until("the list of presets", lambda: presets.children()[0].has("showing"))
            self.keys("Home", "Return")
            self.expect_resolution("50")

            self.open_menu(self.find("button menu", "More about presets"))
            self.keys("Down", "Right", "Return")  # "Delete", and its only entry
            self.press("Yes")
            wait_until("there is no preset", lambda: not presets.has("enabled"))

    def test_options_of_a_format(self):
        with self.shown_on_failure():
            self.choose_small_page()
            self.menu("Scan", "Scans go", "To files")
            self.type_into("Folder", str(self.out))
            self.type_into("Mask", "kept")
            for compression, button in (("Deflate (ZIP)", "OK"), ("LZW", "Cancel")):
                self.press("File settings")
                self.press("Options of the format of greyscale pages")
                self.focus_window("Options of TIFF")
                self.choose(self.find("combo box", lambda node: node.label() == "Grey and colour"), compression)
                self.press(button)
                self.focus_window("Quillbay")
            self.scan()
            self.expect_files("kept000.tif")
            self.check_file("kept000.tif")
            with tifffile.TiffFile(self.out / "kept000.tif") as tiff:
                self.assertEqual(tiff.pages[0].compression, ADOBE_DEFLATE)


if __name__ == "__main__":
    unittest.main()
