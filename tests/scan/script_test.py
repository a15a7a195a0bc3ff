"""Scripts that work on pages after their scan, from outside: what is processed, what is listed, what is kept."""

import json
import signal
import unittest

import numpy

from scan_case import A_PAGE, SMALL, Case

FIVE = SMALL + ",count=5"


class Scripts(Case):
    def script(self, text):
        path = self.root / "work.kxf"
        path.write_text(text)
        return ["--script", path]

    def test_the_third_of_five_pages_fails(self):
        self.expect(0, *A_PAGE, "--batch", "--dir", "plain", device=FIVE)
        count = self.root / "count"
        work = self.script(f'/Run sh -c "echo x >> {count}; test $(wc -l < {count}) -ne 3 || '
                           '{ echo no third >&2; exit 3; }"\n/Invert\n')
        done = self.expect(5, *A_PAGE, "--batch", "--dir", "done", *work, "--allow-programs", "--json", device=FIVE)
        events = [json.loads(line) for line in done.stdout.splitlines()]
        names = sorted(p.name for p in (self.out / "done").iterdir())
        self.assertEqual(names, sorted(p.name for p in (self.out / "plain").iterdir()))
        self.assertEqual(len(names), 5)
        for index, name in enumerate(names):
            plain, worked = self.image(f"plain/{name}"), self.image(f"done/{name}")
            self.assertTrue(numpy.array_equal(worked, plain if index == 2 else 255 - plain), name)
        failed = [e for e in events if e["event"] == "unprocessed"]
        self.assertEqual([(e["file"], e["cancelled"]) for e in failed], [(str(self.out / "done" / names[2]), False)])
        self.assertIn("exit status 3: no third", failed[0]["reason"])
        self.assertEqual(sum(e["event"] == "published" for e in events), 5)
        self.assertEqual((events[-1]["event"], events[-1]["status"]), ("ended", 5))

    def test_what_is_refused_before_the_paper_moves(self):
        for text, told in (("/Run true\n", "--allow-programs"), ("/Turn\n", "unknown command")):
            done = self.expect(1, *A_PAGE, "-o", "a.tif", *self.script(text))
            self.assertIn(told, done.stderr)
        self.assertIn("cannot be read", self.expect(1, *A_PAGE, "-o", "a.tif", "--script", "none.kxf").stderr)
        self.assertIn("needs --script", self.expect(1, *A_PAGE, "-o", "a.tif", "--allow-programs").stderr)
        self.assertEqual(self.files(), [])

    def test_several_pages_in_one_file(self):
        self.expect(0, *A_PAGE, "--batch", "--multipage", "-o", "a.tif", *self.script("/Rotate ANGLE:90\n"),
                    device=FIVE)
        rows, columns = self.pages("a.tif")[0]
        self.assertEqual(len(self.pages("a.tif")), 5)
        self.assertGreater(rows, columns, "turned")

    def test_an_interrupt_keeps_the_pages(self):
        process = self.start(*A_PAGE, "-o", "a.tif", *self.script("/Run sleep 50\n"), "--allow-programs", "--json")
        self.wait_for(process, "page")
        process.send_signal(signal.SIGINT)
        events = [json.loads(line) for line in process.stdout]
        self.assertEqual(process.wait(), 128 + signal.SIGINT)
        self.assertEqual([e["cancelled"] for e in events if e["event"] == "unprocessed"], [True])
        self.assertEqual(self.files(), ["a.tif"])


if __name__ == "__main__":
    unittest.main()
