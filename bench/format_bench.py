#!/usr/bin/python3
"""The file formats beside other programs: the same pixels from memory into a file in memory, in turn, on two cores.

usage: format_bench.py BUILD_FOLDER MEMORY_FOLDER [--quick] [--only WORD ...]

Prints Markdown tables. "MB/s" are megabytes of pixels a second of wall-clock time of the whole program (median), from a
raw portable anymap, or from an uncompressed TIFF where a program reads nothing else; "work alone" is without the program's
start and the reading of the picture, where the program tells. "beside" is its time divided by ours, of the work alone where
both tell: above 1, ours is faster. Sizes are those of the files; "dB" is the peak signal to noise of lossy ones against the pixels.
Programs that are not installed, and formats whose module is not there, are left out by name. The last table is the peak
memory (VmHWM) of pages that are made line by line.
"""
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "scan"))
from format_readers import read_page, read_pnm, signal_to_noise  # noqa: E402

QUALITY = 85
CORES = "0,1"
AIM_PLAIN, AIM_MIB, AIM_SIZE = 1.6, 120, 1.02


class Bench:
    def __init__(self, build, folder, quick, only):
        self.build, self.folder, self.quick, self.only = build, folder, quick, only
        self.tool = build / "bin" / "format_bench"
        self.env = dict(os.environ, VIPS_CONCURRENCY="2", OMP_NUM_THREADS="2",
                        **{f"XDG_{kind}_HOME": str(folder / kind.lower()) for kind in ("CONFIG", "STATE", "DATA")})
        self.skipped, self.aims, self.pixels = [], [], {}

    def run(self, *command):
        """(seconds, peak MiB, standard output) of a program on two cores; None when it is not there or fails."""
        if not shutil.which(str(command[0])):
            return None
        # The peak of a process begins with that of the one that starts it: one that is small, not this one.
        peak = self.folder / "peak"
        command = ["/usr/bin/time", "-o", peak, "-f", "%M", "taskset", "-c", CORES, *command]
        begin = time.monotonic()
        done = subprocess.run(list(map(str, command)), env=self.env, cwd=self.folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        took = time.monotonic() - begin
        text = done.stdout.decode(errors="replace")
        if done.returncode != 0:
            print(f"<!-- {' '.join(map(str, command[8:]))}: {text.strip()[-300:]} -->")
            return None
        return took, int(peak.read_text().split()[-1]) / 1024, text

    def make_pictures(self):
        """Maps and plans of the simulated scanner, as anymaps and, for programs that need one, as plain TIFF."""
        small = self.quick
        for name, suffix, mode, dpi, size in (("map", "ppm", "rgb", 150 if small else 300, (594, 420)),
                                              ("tones", "pgm", "grey", 200 if small else 400, (594, 420)),
                                              ("plan", "pbm", "bw-threshold", 300 if small else 600, (841, 594)),
                                              ("part", "ppm", "rgb", 150 if small else 300, (297, 210))):
            file = self.folder / f"{name}.{suffix}"
            device = f"sim:size={size[0]}x{size[1]},at=0x0,seed=4,drawing={'plan' if name == 'plan' else 'map'}"
            done = self.run(self.build / "bin" / "quillbay-scan", "-d", device, "--mode", mode, "-r", dpi, "--area",
                            f"custom:0,0,{size[0]},{size[1]}", "-q", "--overwrite", "-o", file)
            if not done:
                sys.exit(f"{file} could not be made")
            self.run(self.tool, "libtiff", self.folder / f"{name}.tif", file, "none", 0)
            head = file.read_bytes()[:40].split()
            width, height = int(head[1]), int(head[2])
            bits = {"ppm": 24, "pgm": 8, "pbm": 1}[suffix]
            self.pixels[name] = width * height * bits / 8e6

    def compare(self, title, picture, ours, others, lossless=True):
        """`ours` is (suffix, options); `others` are (label, suffix, command), with IN, TIFF and OUT in their places.

        A label that begins with "plain " is one that ours has to be 1.6 times as fast as.
        """
        if self.only and not any(word in title for word in self.only):
            return
        source = next(self.folder.glob(f"{picture}.p?m"))
        suffix, options = ours
        rows = [("quillbay", suffix, [self.tool, "ours", "OUT", "IN", *options]), *others]
        times, alone, peaks, sizes, noise = {}, {}, {}, {}, {}
        want = None if lossless else read_pnm(source.read_bytes())
        for turn in range(3 if self.quick else 5):
            for number, (label, kind, command) in enumerate(rows):
                if turn and label not in times:
                    continue
                out = self.folder / f"out{number}{kind}"
                words = {"OUT": out, "IN": source, "TIFF": self.folder / f"{picture}.tif", "MID": self.folder / "mid.jpg"}
                filled = []
                for part in command:
                    for word, value in words.items():
                        part = str(part).replace(word, str(value))
                    filled.append(part)
                done = self.run(*filled)
                if not done:
                    self.skipped.append(f"{title}: {label}")
                    if number == 0:
                        return
                    continue
                times.setdefault(label, []).append(done[0])
                if done[2].startswith("seconds "):
                    alone.setdefault(label, []).append(float(done[2].split()[1]))
                peaks[label] = max(peaks.get(label, 0), done[1])
                sizes[label] = out.stat().st_size
                if want is not None and label not in noise:
                    noise[label] = self.noise_of(out, want)
                out.unlink()
        self.table(title, picture, times, alone, peaks, sizes, noise)

    def noise_of(self, file, want):
        try:
            return signal_to_noise(read_page(file), want)
        except (AssertionError, NotImplementedError, ValueError, OSError) as e:
            print(f"<!-- {file.name}: {e!r} -->")
            return None

    def table(self, title, picture, times, alone, peaks, sizes, noise):
        print(f"\n**{title}** ({self.pixels[picture]:.0f} MB)\n")
        print("| program | MB/s | work alone | beside | file, MB | of ours | dB | peak, MiB |\n"
              "|---|---|---|---|---|---|---|---|")
        for label, all_times in times.items():
            took = statistics.median(all_times)
            compared = alone if label in alone else times
            ratio = statistics.median(compared[label]) / statistics.median(compared["quillbay"])
            beside = "" if label == "quillbay" else f"{ratio:.2f}"
            work = f"{self.pixels[picture] / statistics.median(alone[label]):.0f}" if label in alone else ""
            decibels = f"{noise[label]:.2f}" if noise.get(label) else ""
            print(f"| {label} | {self.pixels[picture] / took:.0f} | {work} | {beside} | {sizes[label] / 1e6:.2f} | "
                  f"{sizes[label] / sizes['quillbay']:.3f} | {decibels} | {peaks[label]:.0f} |")
            if label == "quillbay":
                continue
            limit = AIM_PLAIN if label.startswith("plain ") else 1.0
            self.aims.append((f"{title}, beside {label}", ratio, limit, ratio >= limit))
            if label.startswith("plain ") or "cjpeg" in label:
                size = sizes["quillbay"] / sizes[label]
                self.aims.append((f"{title}, file beside {label}", size, AIM_SIZE, size <= AIM_SIZE))
        sys.stdout.flush()

    def overviews(self):
        """What a map program finds in a file of tiles."""
        if self.only and "pyramid" not in self.only:
            return
        out = self.folder / "pyramid.tif"
        self.run(self.tool, "ours", out, self.folder / "map.ppm", "Compression=JPEG", "Layout=tiles")
        done = self.run("gdalinfo", out)
        if not done:
            self.skipped.append("overviews: gdalinfo")
            return
        found = [line.strip() for line in done[2].splitlines() if "Overviews" in line or "Block=" in line]
        print("\ngdalinfo of the tiles: " + "; ".join(found[:2]))
        out.unlink()

    def memory(self, cases):
        if self.only and "memory" not in self.only:
            return
        print("\n**Peak memory by length**\n\n| format | 1 GB, MiB | long page | MiB | seconds |\n|---|---|---|---|---|")
        for title, suffix, space, width, options, longest in cases:
            line = {1: (width + 7) // 8, 16: width, 256: 3 * width}[space]
            peaks, took = [], 0
            for gigabytes in (1, min(longest, 2) if self.quick else longest):
                out = self.folder / f"long{suffix}"
                done = self.run(self.tool, "long", out, width, int(gigabytes * 1e9) // line, space, *options)
                if not done:
                    self.skipped.append(f"memory: {title}")
                    break
                out.unlink()
                peaks.append(float(done[2].split()[-1]))
                took = done[0]
            if len(peaks) < 2:
                continue
            print(f"| {title} | {peaks[0]:.0f} | {gigabytes} GB | {peaks[1]:.0f} | {took:.1f} |", flush=True)
            self.aims.append((f"memory of {gigabytes} GB, {title}, MiB", peaks[1], AIM_MIB, peaks[1] <= AIM_MIB))


def all_cases(bench):
    q = str(QUALITY)
    vips = ["vips", "tiffsave", "IN", "OUT"]
    bench.compare("JPEG, half the colours' resolution", "map", (".jpg", [f"Quality={q}", "Colour=half"]), [
        ("plain libjpeg-turbo", ".jpg", [bench.tool, "libjpeg", "OUT", "IN", q, "420"]),
        ("cjpeg", ".jpg", ["cjpeg", "-quality", q, "-outfile", "OUT", "IN"]),
        ("vips jpegsave", ".jpg", ["vips", "jpegsave", "IN", "OUT", "--Q", q, "--subsample-mode", "on"])], lossless=False)
    bench.compare("JPEG, all of the colours' resolution", "map", (".jpg", [f"Quality={q}", "Colour=full"]), [
        ("plain libjpeg-turbo", ".jpg", [bench.tool, "libjpeg", "OUT", "IN", q, "444"]),
        ("cjpeg", ".jpg", ["cjpeg", "-quality", q, "-sample", "1x1", "-outfile", "OUT", "IN"]),
        ("vips jpegsave", ".jpg", ["vips", "jpegsave", "IN", "OUT", "--Q", q, "--subsample-mode", "off"])], lossless=False)
    bench.compare("JPEG in TIFF", "map", (".tif", ["Compression=JPEG", f"Quality={q}", "Colour=half"]), [
        ("plain libtiff", ".tif", [bench.tool, "libtiff", "OUT", "IN", "jpeg", q]),
        ("vips tiffsave", ".tif", [*vips, "--compression", "jpeg", "--Q", q])], lossless=False)
    bench.compare("Tiles with a pyramid, Deflate", "map",
                  (".tif", ["Compression=Deflate", "Layout=tiles"]), [
                      ("vips tiffsave", ".tif", [*vips, "--tile", "--pyramid", "--compression", "deflate", "--level", "1",
                                                 "--predictor", "horizontal", "--tile-width", "256", "--tile-height", "256"])])
    bench.compare("Tiles with a pyramid, JPEG", "map",
                  (".tif", ["Compression=JPEG", f"Quality={q}", "Colour=half", "Layout=tiles"]), [
                      ("vips tiffsave", ".tif", [*vips, "--tile", "--pyramid", "--compression", "jpeg", "--Q", q,
                                                 "--tile-width", "256", "--tile-height", "256"])], lossless=False)
    bench.overviews()
    bench.compare("PDF, G4", "plan", (".pdf", []), [
        ("img2pdf", ".pdf", ["img2pdf", "-o", "OUT", "IN"]),
        ("tiff2pdf", ".pdf", ["tiff2pdf", "-o", "OUT", "TIFF"])])
    bench.compare("PDF, JPEG", "map", (".pdf", ["Compression=JPEG", f"Quality={q}", "Colour=half"]), [
        ("plain libjpeg-turbo, then img2pdf", ".pdf",
         ["sh", "-c", f"{bench.tool} libjpeg MID IN {q} 420 >/dev/null && img2pdf -o OUT MID"]),
        ("tiff2pdf", ".pdf", ["tiff2pdf", "-j", "-q", q, "-o", "OUT", "TIFF"])], lossless=False)
    bench.compare("PDF, Flate", "map", (".pdf", ["Compression=Flate"]), [
        ("img2pdf", ".pdf", ["img2pdf", "-o", "OUT", "IN"]),
        ("tiff2pdf", ".pdf", ["tiff2pdf", "-z", "-o", "OUT", "TIFF"])])
    bench.compare("JPEG 2000, lossless", "part", (".jp2", ["Coding=lossless"]), [
        ("opj_compress", ".jp2", ["opj_compress", "-threads", "2", "-i", "IN", "-o", "OUT", "-t", "1024,1024"]),
        ("vips jp2ksave", ".jp2", ["vips", "jp2ksave", "IN", "OUT", "--lossless", "--tile-width", "1024",
                                   "--tile-height", "1024"])])
    bench.compare("JPEG 2000, a tenth", "part", (".jp2", ["Coding=ratio", "Ratio=10"]), [
        ("opj_compress", ".jp2", ["opj_compress", "-threads", "2", "-i", "IN", "-o", "OUT", "-t", "1024,1024", "-r", "10",
                                  "-I"])], lossless=False)
    bench.compare("LZW in TIFF", "map", (".tif", ["Compression=LZW"]), [
        ("plain libtiff", ".tif", [bench.tool, "libtiff", "OUT", "IN", "lzw", "0"]),
        ("vips tiffsave", ".tif", [*vips, "--compression", "lzw", "--predictor", "horizontal"])])
    bench.compare("G4 in TIFF", "plan", (".tif", ["Compression=G4"]), [
        ("plain libtiff", ".tif", [bench.tool, "libtiff", "OUT", "IN", "g4", "0"])])
    bench.compare("PNG, level 1", "map", (".png", ["Level=1"]), [
        ("vips pngsave", ".png", ["vips", "pngsave", "IN", "OUT", "--compression", "1"])])
    bench.compare("BMP", "map", (".bmp", []), [])
    bench.compare("PNM", "map", (".ppm", []), [("vips ppmsave", ".ppm", ["vips", "ppmsave", "IN", "OUT"])])
    wide = 41000  # 8 GB of colour are 65,040 lines, which a JPEG still holds
    bench.memory([
        ("JPEG", ".jpg", 256, wide, [], 8), ("TIFF, JPEG", ".tif", 256, wide, ["Compression=JPEG"], 8),
        ("TIFF, LZW", ".tif", 256, wide, ["Compression=LZW"], 8),
        ("TIFF, pyramid", ".tif", 256, wide, ["Compression=JPEG", "Layout=tiles"], 8),
        ("TIFF, G4", ".tif", 1, 48000, [], 8), ("PDF, JPEG", ".pdf", 256, wide, ["Compression=JPEG"], 8),
        ("PDF, Flate", ".pdf", 256, wide, ["Compression=Flate"], 8), ("PDF, G4", ".pdf", 1, 48000, [], 8),
        ("PNG", ".png", 256, wide, [], 8), ("PNM", ".ppm", 256, wide, [], 8),
        ("JPEG 2000", ".jp2", 256, 20000, [], 2)])


def main():
    words = sys.argv[3:]
    only = words[words.index("--only") + 1:] if "--only" in words else []
    folder = pathlib.Path(sys.argv[2]).resolve() / "formats"
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    bench = Bench(pathlib.Path(sys.argv[1]).resolve(), folder, "--quick" in words, only)
    try:
        bench.make_pictures()
        all_cases(bench)
    finally:
        shutil.rmtree(folder)
    if bench.skipped:
        print("\nLeft out: " + "; ".join(dict.fromkeys(bench.skipped)))
    print()
    for what, value, limit, met in bench.aims:
        beyond = "above" if "file" not in what and "memory" not in what else "below"
        print(f"aim  {what:70s} {value:8.2f}  {beyond} {limit:6.2f}  {'met' if met else 'MISSED'}")


if __name__ == "__main__":
    main()
