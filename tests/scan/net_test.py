"""Scan To Net on the command line: setting up, handing off, waiting for a folder, and a program that is killed."""

import json
import random
import signal
import subprocess
import threading
import unittest

from scan_case import A_PAGE, Case, FilledDisk, LIMIT, read_picture

TO_NET = [*A_PAGE, "--to", "net"]


class Net(Case):
    def setUp(self):
        super().setUp()
        self.hot = self.root / "hot folder"
        self.hot.mkdir()
        self.queue = self.root / "state" / "quillbay" / "hand-off" / "queue"

    def set_up(self, *clients, folder=None):
        words = [word for name in clients for word in ("--add-client", name)]
        return self.expect(0, "--net-folder", folder or self.hot, *words, device=None)

    def hot_names(self):
        return sorted(p.name for p in self.hot.iterdir())

    def waiting(self):
        return list(self.queue.iterdir()) if self.queue.exists() else []

    def check_pages(self):
        """Each image is whole and has its hand-off file, and the other way round; returns their number."""
        images = sorted(self.hot.glob("*.tif"))
        self.assertEqual(self.hot_names(), sorted(p.name for i in images for p in (i, i.with_suffix(".ini"))))
        for image in images:
            text = image.with_suffix(".ini").read_bytes().decode()
            self.assertEqual(text.splitlines(), ["[Image]", f"Filename={image}", "[Destination]", r"Client=\\PC1",
                                                 f"Image={image.name}", "[Producer]", "Signature=Relayvox"])
            self.assertEqual(text.count("\r\n"), 7)
            self.assertEqual(read_picture(image).shape, (295, 394))
        return len(images)

    def test_set_up_and_listed(self):
        done = self.expect(1, *TO_NET)
        self.assertIn("--net-folder", done.stderr)
        self.set_up("PC1", "Büro [2]=;")
        self.expect(1, "--add-client", "a\nb", device=None)
        self.expect(1, "--remove-client", "PC9", device=None)
        lines = self.expect(0, "--list-clients", device=None).stdout.splitlines()
        self.assertEqual(lines, [f"KX:\\\\PC1\t{self.hot}/\tready", f"KX:\\\\Büro [2]=;\t{self.hot}/\tready"])
        entry = json.loads(self.expect(0, "--list-clients", "--json", device=None).stdout.splitlines()[0])
        self.assertEqual((entry["event"], entry["path"], entry["state"]), ("client", "\\\\PC1", "ready"))
        self.assertIn("KX:\\\\PC1", self.expect(1, *TO_NET).stderr, "several clients: one has to be chosen")
        self.expect(1, *TO_NET, "--client", "PC3")
        self.expect(1, *TO_NET, "-o", "x.tif")
        self.expect(1, *TO_NET, "--client", "PC1", "--multipage")
        self.expect(0, "--remove-client", "büro [2]=;", device=None)
        self.assertEqual(self.expect(0, *TO_NET, "--dry-run").stdout, f"{self.hot}/scan000.tif\n")
        self.hot.rmdir()
        self.assertIn("no such folder", self.expect(0, "--list-clients", device=None).stdout)

    def test_pages(self):
        self.set_up("PC1", "PC2")
        done = self.expect(0, *TO_NET, "--client", "pc1", "--batch=3", "--batch-delay", "0")
        self.assertEqual(done.stdout.splitlines(), [f"{self.hot}/scan00{n}.tif" for n in range(3)])
        self.assertEqual(self.check_pages(), 3)
        self.expect(0, *TO_NET, "--client", "KX:\\\\PC2", "--mask", "for two")
        self.assertIn(r"Client=\\PC2", (self.hot / "for two000.ini").read_text())
        self.assertEqual(self.files(), [], "nothing lands in the current folder")

    def test_a_folder_that_is_away(self):
        self.set_up("PC1")
        self.hot.rename(self.root / "away")
        done = self.expect(3, *TO_NET, "--net-wait", "0", "--batch=2", "--batch-delay", "0")
        self.assertEqual(done.stdout, "")
        self.assertIn(f"waits for {self.hot}/: there is no such folder", done.stderr)
        self.assertEqual(len(self.waiting()), 2)
        self.expect(3, "--deliver", "--net-wait", "0", device=None)
        process = self.start("--deliver", device=None)
        (self.root / "away").rename(self.hot)
        told, why = process.communicate(timeout=LIMIT)
        self.assertEqual((process.returncode, sorted(told.splitlines())),
                         (0, [f"{self.hot}/scan000.tif", f"{self.hot}/scan001.tif"]), why)
        self.assertEqual(self.check_pages(), 2)
        self.assertEqual(self.waiting(), [])

    def test_a_folder_that_is_a_file(self):
        self.set_up("PC1")
        self.hot.rmdir()
        self.hot.write_text("x")
        self.assertIn("it is a file", self.expect(3, *TO_NET).stderr)
        self.assertEqual(self.waiting(), [])
        self.hot.unlink()
        self.hot.mkdir()
        self.expect(0, *TO_NET)
        self.assertEqual(self.check_pages(), 1)

    def test_a_full_folder(self):
        FilledDisk(self, self.hot, "size=1100k")
        self.set_up("PC1")
        filler = self.hot / "filler"
        filler.write_bytes(b"x" * 1000000)
        done = self.expect(3, *TO_NET, "--net-wait", "0")
        self.assertIn("no space left", done.stderr)
        filler.unlink()
        self.expect(0, "--deliver", device=None)
        self.assertEqual(self.check_pages(), 1)

    def test_no_room_on_this_computer(self):
        FilledDisk(self, self.root / "state", "size=4m")
        self.set_up("PC1")
        self.assertIn("are free in", self.expect(3, *TO_NET).stderr)
        self.assertEqual((self.hot_names(), self.waiting()), ([], []))

    def test_a_mount_that_is_not_there(self):
        FilledDisk(self, self.hot, "size=20m")
        self.set_up("PC1")
        subprocess.run(["umount", self.hot], check=True)
        done = self.expect(3, *TO_NET, "--net-wait", "0")
        self.assertIn("nothing is mounted", done.stderr)
        self.assertEqual(self.hot_names(), [], "the place of a mount is no hot folder")

    def test_killed_at_any_moment(self):
        self.set_up("PC1")
        dice = random.Random(7)
        for _ in range(8):
            process = self.start(*TO_NET, "--json", "--batch=40", "--batch-delay", "0")
            timer = threading.Timer(dice.uniform(0.2, 1.2), process.send_signal, [signal.SIGKILL])
            timer.start()
            finished = sum('"event":"page"' in line for line in process.stdout)
            process.wait(timeout=LIMIT)
            timer.cancel()
            before = len(list(self.hot.glob("*.ini")))
            self.expect(0, "--deliver", device=None)
            self.assertEqual(self.waiting(), [])
            delivered = self.check_pages()
            # The page that was told last may have been complete one step before the kill.
            self.assertIn(delivered - finished, (0, 1), (before, finished))
            for path in self.hot.iterdir():
                path.unlink()
            staging = self.queue.parent / "staging"
            self.assertEqual(list(staging.iterdir()) if staging.exists() else [], [])


if __name__ == "__main__":
    unittest.main()
