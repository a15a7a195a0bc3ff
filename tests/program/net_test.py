"""The desktop program and a scan server: set up, pages that are handed off, and pages that wait over a restart."""

import unittest

from desk import wait_until
from program_case import OUTPUT
from program_test import Story


class Net(Story):
    """Scan To Net, from a program that knows no server."""

    def hand_offs(self):
        return sorted(path.name for path in self.out.glob("*.ini"))

    def expect_hand_offs(self, *names):
        wait_until(lambda: f"{self.hand_offs()} are {names}", lambda: self.hand_offs() == sorted(names))

    def test_set_up_scanned_and_waiting_over_a_restart(self):
        OUTPUT.mkdir(parents=True, exist_ok=True)
        with self.shown_on_failure():
            self.choose_small_page()
            self.menu("Scan", "Scans go", "To a scan server")
            self.press("Yes")
            self.focus_window("Network scanning")
            self.type_into("Hot folder", str(self.out))
            self.find("label", lambda node: node.name.startswith("Ready"))
            self.type_into("Name of a client", "SCANPC1", shown="SCANPC1")
            self.press("OK")
            self.focus_window("Quillbay")
            self.type_into("Mask", "plan")
            self.expect_text(self.find("text", "Name of the next file"), "plan000.tif")
            self.scan()
            self.expect_hand_offs("plan000.ini")
            self.check_file("plan000.tif")
            self.assertIn("Client=\\\\SCANPC1\r\n", (self.out / "plan000.ini").read_bytes().decode())

            away = self.out.rename(self.out.with_name("away"))
            self.scan()
            self.find("label", lambda node: node.name.startswith("1 page waits for"))
            self.expect_idle()
            self.desk.screenshot(OUTPUT / "scan-to-net.png")
            self.keys("ctrl+q")
            self.expect_end()
            self.start()
            self.find("label", lambda node: node.name.startswith("1 page waits for"))
            away.rename(self.out)
            self.press("Try now")
            self.expect_hand_offs("plan000.ini", "plan001.ini")
            self.check_file("plan001.tif")


if __name__ == "__main__":
    unittest.main()
