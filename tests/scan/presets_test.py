"""Presets on the command line: saved, listed, applied, and carried to other settings."""

import json
import subprocess
import time
import unittest

from scan_case import A_PAGE, Case, LIMIT

GREY = ["--mode", "grey", "-r", "75", "--area", "custom:0,0,120,80"]


class Presets(Case):
    def elsewhere(self):
        """Other settings, as those of another computer."""
        self.env["XDG_CONFIG_HOME"] = str(self.root / "elsewhere")

    def names(self):
        return self.expect(0, "--list-presets", device=None).stdout.splitlines()

    def test_round_trip_through_a_file(self):
        self.assertEqual(self.names(), [])
        done = self.expect(0, *GREY, "--set", "brightness=20", "--save-preset", "Plans é")
        self.assertEqual((done.stdout, self.files()), ("Plans é\n", []))
        self.expect(0, "--mode", "rgb", "-r", "50", "--save-preset", "Maps")
        self.assertEqual(self.names(), ["Plans é", "Maps"])
        entry = json.loads(self.expect(0, "--list-presets", "--json", device=None).stdout.splitlines()[0])
        self.assertEqual((entry["event"], entry["name"]), ("preset", "Plans é"))
        self.assertIn({"page": 0, "title": "Main"}, entry["pages"])
        self.expect(0, *GREY, "--set", "brightness=20", "-o", "wanted.tif")
        self.assertEqual(self.expect(0, "--export-preset", "plans É", "p.qbpreset", device=None).stdout, "p.qbpreset\n")
        self.elsewhere()
        self.assertEqual(self.expect(0, "--import-preset", "p.qbpreset", device=None).stdout, "Plans é\n")
        self.assertEqual(self.names(), ["Plans é"])
        self.expect(0, "--preset", "Plans é", "-o", "a.tif")
        self.assertEqual(self.image("a.tif").tolist(), self.image("wanted.tif").tolist())
        # Options win, and nothing of the run is saved.
        self.expect(0, "--preset", "plans é", "--mode", "rgb", "-r", "50", "-o", "b.tif")
        self.assertEqual(self.pages("b.tif"), [(157, 236, 3)])
        self.assertEqual(self.names(), ["Plans é"])

    def test_pipes(self):
        self.expect(0, *GREY, "--save-preset", "Plans")
        text = self.expect(0, "--export-preset", "Plans", "-", device=None).stdout
        self.assertEqual(json.loads(text)["format"], "quillbay-preset")
        self.elsewhere()
        for source in ("-", "/dev/stdin"):
            process = subprocess.Popen(self.command("--import-preset", source, "--overwrite", device=None),
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                       env=self.env, text=True, cwd=self.out)
            for piece in (text[:300], text[300:]):  # as a network brings it
                process.stdin.write(piece)
                process.stdin.flush()
                time.sleep(0.3)
            told, why = process.communicate(timeout=LIMIT)
            self.assertEqual((process.returncode, told), (0, "Plans\n"), why)

    def test_formats_and_files(self):
        self.expect(0, *GREY, "--format", "png", "--save-preset", " pictures ")
        self.expect(0, "--preset", "pictures", "--mask", "a")
        self.expect(0, "--preset", "pictures", "-o", "b.tif")
        self.assertEqual(self.files(), ["a000.png", "b.tif"])
        self.expect(0, *GREY, "--multipage", "--save-preset", "book")
        self.expect(0, "--preset", "book", "--batch=2", "-o", "book.tif", device="sim:size=200x150,count=2")
        self.assertEqual(len(self.pages("book.tif")), 2)
        self.assertIn("one page", self.expect(1, "--preset", "book", "-o", "c.png").stderr)
        # What a preset says about existing files replaces none.
        self.expect(0, *GREY, "--set", "m_fFileFate=1", "--set", "m_fUseAutoCounter=0", "--save-preset", "careless")
        before = (self.out / "b.tif").read_bytes()
        self.expect(3, "--preset", "careless", "-o", "b.tif")
        self.assertEqual((self.out / "b.tif").read_bytes(), before)

    def test_a_script_is_part_of_it(self):
        self.expect(1, *GREY, "--script", "missing.kxf", "--save-preset", "worked")
        self.expect(0, *GREY, "--script", "autocorrect", "--save-preset", "worked")
        entry = json.loads(self.expect(0, "--list-presets", "--json", device=None).stdout.splitlines()[0])
        self.assertIn("Post-processing", [page["title"] for page in entry["pages"]])
        self.assertIn("--to view", self.expect(0, "--preset", "worked", "-o", "a.tif").stderr)

    def test_refusals_name_their_cause(self):
        self.expect(0, *GREY, "--save-preset", "Plans")
        (self.out / "there").write_text("mine")
        (self.out / "torn").write_text('{"format": "quillbay-preset", ')
        (self.out / "newer").write_text('{"format": "quillbay-preset", "version": 9}')
        (self.out / "pages").write_text('{"format": "quillbay-preset", "version": 1, "name": "x", "pages": '
                                        '[{"page": 0, "settings": {"ImageDPI": 75}}, {"page": 50, "title": "Stamps"}]}')
        (self.out / "types").write_text('{"format": "quillbay-preset", "version": 1, "name": "x", "pages": '
                                        '[{"page": 0, "settings": {"ImageDPI": "75"}}]}')
        cases = [
            (1, ["--preset", "Plant", "-o", "a.tif"], ["Plant", "Plans"]),
            (3, [*GREY, "--save-preset", "Plans"], ["Plans", "--overwrite"]),
            (1, [*GREY, "--save-preset", " "], ["name"]),
            (3, ["--export-preset", "Plans", "there"], ["there", "--overwrite"]),
            (1, ["--export-preset", "Plans"], ["NAME FILE"]),
            (1, ["--export-preset", "none", "x"], ["none"]),
            (1, ["--import-preset", "missing"], ["missing"]),
            (1, ["--import-preset", "torn"], ["torn", "byte"]),
            (1, ["--import-preset", "newer"], ["newer version"]),
            (1, ["--import-preset", "pages"], ["Stamps"]),
            (1, ["--import-preset", "types"], ["ImageDPI", "number"]),
            (1, ["--save-preset", "x", "--batch"], ["--save-preset", "--batch"]),
            (1, ["--save-preset", "x", "-o", "a.tif"], ["--save-preset", "--output"]),
            (1, ["--save-preset", "x", "--option", "compression=lzw"], ["--save-preset", "--option"]),
            (1, ["--import-preset", "x", "--preset", "Plans"], ["--import-preset", "--preset"]),
            (1, ["--list-presets", "--save-preset", "x"], ["--list-presets", "--save-preset"]),
            (1, ["--export-preset", "Plans", "-", "--json"], ["standard output", "--json"]),
        ]
        files = self.files()
        for status, arguments, words in cases:
            with self.subTest(arguments=arguments):
                told = self.expect(status, *arguments).stderr + self.run_scan(*arguments).stdout
                for word in words:
                    self.assertIn(word, told)
        self.assertEqual((self.files(), self.names()), (files, ["Plans"]))
        self.assertEqual((self.out / "there").read_text(), "mine")
        self.expect(0, "--export-preset", "Plans", "there", "--overwrite", device=None)
        self.expect(3, "--import-preset", "there", device=None)
        self.expect(0, "--import-preset", "there", "--overwrite", device=None)

    def test_other_settings_stay(self):
        self.expect(0, *A_PAGE, "-o", "a.tif", "--save-settings")
        saved = json.loads(self.config.read_text())
        self.expect(0, *GREY, "--save-preset", "Plans")
        now = json.loads(self.config.read_text())
        panel = next(s for s in now["stores"] if s["name"] == "Quillbay2.0")
        panel["stores"] = [s for s in panel["stores"] if s["name"] != "presets"]
        self.assertEqual(now, saved)


if __name__ == "__main__":
    unittest.main()
