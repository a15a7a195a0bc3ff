"""What the tests of the desktop program share: the program on a desk of its own, found and driven as a person does."""

import contextlib
import os
import re
import subprocess
import sys
import unittest
from pathlib import Path

import tifffile
from desk import LIMIT, Desk, require_tools, wait_until

require_tools()

from accessible import Bus  # noqa: E402  (needs one of the tools)

PROGRAM = os.environ["QUILLBAY"]
OUTPUT = Path(os.environ["QUILLBAY_TEST_OUTPUT"])
SIMULATED = "Try the simulated scanner"
FIELDS = "combo box|spin box|text|check box|push button|list"


def short(entry):
    """An entry of a list without the size that stands beside a paper's name."""
    return re.split(",|  ", entry)[0]


class Case(unittest.TestCase):
    """A desk, an empty folder for what is scanned, and the program."""

    def setUp(self):
        self.desk = Desk()
        self.addCleanup(self.desk.close)
        self.out = self.desk.root / "out"
        self.out.mkdir()
        self.bus = Bus(self.desk.env["DBUS_SESSION_BUS_ADDRESS"])
        self.start()

    @contextlib.contextmanager
    def shown_on_failure(self):
        """Keeps what was on the screen, and tells what the program showed, when something in the block fails."""
        try:
            yield
        except BaseException:
            OUTPUT.mkdir(parents=True, exist_ok=True)
            picture = OUTPUT / (self.id().rpartition("__main__.")[2] + ".png")
            self.desk.screenshot(picture)
            print(f"{self.app.dump()}\nthe screen: {picture}", file=sys.stderr)
            raise

    def number(self, text):
        """A number as the program writes it in the person's locale."""
        return text.replace(".", "," if "," in self.control("Width").text() else ".")

    # The program

    def start(self, *arguments):
        self.process = subprocess.Popen([PROGRAM, *arguments], env=self.desk.env, cwd=self.desk.root,
                                        stdin=subprocess.DEVNULL)
        self.desk.children.append(self.process)
        self.app = wait_until("the program", lambda: self.alive() and self.bus.program(self.process.pid))
        self.window = wait_until("its window", lambda: next(iter(self.app.children()), None))
        self.focus_window("Quillbay")
        shown = self.find("push button|combo box", lambda node: node.name == SIMULATED or "Mode" in (node.name, node.label()))
        if shown.role == "push button":  # a first start
            self.click(shown)
        self.control("Mode")

    def alive(self):
        self.assertIsNone(self.process.poll(), "the program has ended")
        return True

    def expect_end(self):
        self.assertEqual(self.process.wait(LIMIT), 0)

    def focus_window(self, title):
        """Gives a window the keyboard: no window manager is there that would."""
        found = wait_until(f"window {title}", lambda: self.windows(title))
        self.desk.xdotool("windowfocus", "--sync", found[-1])

    def windows(self, title):
        return self.desk.search("--onlyvisible", "--pid", self.process.pid, "--name", title)

    # Finding

    def find(self, role, name, within=None):
        """A control that is shown, by its role (or one of several) and its name or label."""
        names = name if callable(name) else lambda node: name in (node.name, node.label())

        def probe():
            self.alive()
            tops = [within] if within else reversed(self.app.children())  # the latest window first
            for top in tops:
                for node in top.walk():
                    if node.role in role.split("|") and names(node):
                        return node
            return None

        return wait_until(f"{role} {name!r}", probe)

    def control(self, name):
        return self.find(FIELDS, name)

    def place(self, node):
        """Where to click on something, once it has come to rest and is enabled."""
        last = []

        def probe():
            self.alive()
            last.append(node.rectangle())
            return node.has("enabled", "showing") and len(last) > 1 and last[-1] == last[-2] and last[-1][2] > 0

        wait_until(f"{node.role} {node.name!r} can be clicked", probe)
        return node.centre()

    # Doing

    def click(self, node):
        self.desk.click(*self.place(node))
        return node

    def press(self, name):
        return self.click(self.find("push button", name))

    def keys(self, *names):
        self.desk.keys(*names)

    def menu(self, *path):
        """Chooses from the menu bar, by clicks."""
        node = self.click(self.find("menu item", path[0], self.find("menu bar", "")))
        for name in path[1:]:
            node = self.click(self.find("menu item", name, node))

    def expect_text(self, field, text):
        wait_until(lambda: f"{field.name}: {field.text()!r} is {text!r}", lambda: field.text() == text)

    def type_into(self, field, text, shown=None):
        """Replaces a field's text by typing and leaves the field."""
        field = self.control(field) if isinstance(field, str) else field
        if field.role == "combo box":
            field = self.find("text", lambda node: True, field)
        self.click(field)
        self.expect_focus(field)
        self.keys("ctrl+a")
        self.desk.type(text)
        self.expect_text(field, text)
        self.keys("Tab")
        self.expect_text(field, shown or text)

    def expect_focus(self, node):
        wait_until(lambda: f"focus on {node.role} {node.name!r}, is on {self.focused()}", lambda: node.has("focused"))

    def focused(self):
        return [(node.role, node.name) for node in self.app.walk() if node.has("focused")]

    def choose(self, field, item):
        """Takes an entry of a list that drops down, by clicks."""
        box = self.control(field) if isinstance(field, str) else field
        entries = box.children()[0]
        for _ in range(5):  # the keys pass over entries that are no choice: it may take more than one go
            names = [short(entry.name) for entry in entries.children()]
            wanted, now = names.index(item), names.index(short(box.value()))
            if wanted == now:
                return
            self.click(box)
            wait_until(f"the list of {field}", lambda: entries.has("showing"))
            self.keys(*["Down" if wanted > now else "Up"] * abs(wanted - now), "Return")
            wait_until(lambda: f"{field}: {box.value()!r} is no more {names[now]!r}",
                       lambda: short(box.value()) != names[now] and not entries.has("showing"))
        self.fail(f"{field}: {box.value()!r} is {item!r}")

    def tick(self, name, on=True):
        box = self.control(name)
        if box.has("checked") != on:
            self.click(box)
        wait_until(f"{name} is {on}", lambda: box.has("checked") == on)

    # The program's own things

    def use_scanner(self, device):
        """Chooses the simulated scanner from the list, with a set-up of its own."""
        self.menu("Scan", "Choose scanner...")
        self.focus_window("Choose scanner")
        self.click(self.find("list item", lambda node: node.name.endswith("(sim:)")))
        field = self.control("Device")
        wait_until("the simulated scanner's set-up", lambda: field.text().startswith("sim:"))
        self.type_into("Device", device)
        self.press("OK")
        self.focus_window("Quillbay")

    def pages(self):
        """What the list of pages tells of each: name, size, and whether it is saved."""
        pages = self.find("list", "Pages")
        return [item.name for item in pages.children() if item.role == "list item"]

    def expect_pages(self, *sizes):
        def probe():
            pages = self.pages()
            return len(pages) == len(sizes) and all(size + " mm" in page for page, size in zip(pages, sizes))

        wait_until(lambda: f"pages {self.pages()} of sizes {sizes}", probe)

    def expect_saved(self, name):
        """The list's last page is the one of a file."""
        wait_until(lambda: f"{name} in {self.pages()}",
                   lambda: self.pages() and self.pages()[-1].startswith(name) and "not saved" not in self.pages()[-1])

    def files(self):
        return sorted(path.name for path in self.out.iterdir())

    def expect_files(self, *names):
        wait_until(lambda: f"files {self.files()} are {names}", lambda: self.files() == sorted(names))

    def check_file(self, name, width=200, length=150, dpi=50):
        """A file's one page has a size in millimetres at a resolution."""
        with tifffile.TiffFile(self.out / name) as tiff:
            self.assertEqual(len(tiff.pages), 1)
            page = tiff.pages[0]
            self.assertEqual(page.shape, (round(length / 25.4 * dpi), round(width / 25.4 * dpi)))
            self.assertEqual([page.tags[tag].value for tag in ("XResolution", "YResolution")], [(dpi, 1)] * 2)

    def picture(self, name):
        """A file's samples, decoded by libtiff's own tool."""
        plain = self.desk.root / "plain.tif"
        subprocess.run(["tiffcp", "-c", "none", self.out / name, plain], check=True, timeout=LIMIT)
        return tifffile.imread(plain)

    def answer_file_dialog(self, title, path, button):
        self.focus_window(title)
        name = self.find("text", lambda node: node.label() == "File name:" or node.name == "File name:")
        self.type_into(name, str(path))
        self.press(button)
        wait_until("the dialog is gone", lambda: not self.windows(title))
