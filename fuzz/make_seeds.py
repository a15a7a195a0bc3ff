#!/usr/bin/python3
"""Makes the small files that the fuzz targets start from, with other programs' writers and with quillbay-scan.

usage: make_seeds.py [--scan PROGRAM] [NAME ...]

Writes fuzz/corpus/NAME/...; without names, all of them. A program that is not there leaves its files out and is named.
"""
import argparse
import os
import pathlib
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

CORPUS = pathlib.Path(__file__).resolve().parent / "corpus"
WIDTH, HEIGHT = 21, 13


def grey():
    rng = random.Random(1)
    return bytes(min(255, x * 9 + y * 5 + rng.randrange(8)) for y in range(HEIGHT) for x in range(WIDTH))


def colours():
    rng = random.Random(2)
    return bytes(v for y in range(HEIGHT) for x in range(WIDTH) for v in (x * 12, y * 19, rng.randrange(256)))


def bits():
    rows = bytearray()
    for y in range(HEIGHT):
        row = sum(1 << (23 - x) for x in range(WIDTH) if (x // 3 + y // 2) % 3 == 0)
        rows += row.to_bytes(3, "big")
    return bytes(rows)


PGM = b"P5\n%d %d\n255\n" % (WIDTH, HEIGHT) + grey()
PPM = b"P6\n%d %d\n255\n" % (WIDTH, HEIGHT) + colours()
PBM = b"P4\n%d %d\n" % (WIDTH, HEIGHT) + bits()


class Seeds:
    def __init__(self, scan):
        self.scan = scan
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="quillbay-seeds-"))
        for name, data in (("g.pgm", PGM), ("c.ppm", PPM), ("b.pbm", PBM)):
            (self.folder / name).write_bytes(data)

    def put(self, target, name, data):
        folder = CORPUS / target
        folder.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(data)

    def run(self, target, name, *command):
        """What a program writes to its standard output, or to the file `out...` that its arguments name."""
        if not shutil.which(command[0]):
            print(f"{target}/{name}: {command[0]} is not there", file=sys.stderr)
            return
        files = [self.folder / part for part in command if part.startswith("out")]
        done = subprocess.run(command, cwd=self.folder, capture_output=True, check=False, timeout=60)
        data = files[-1].read_bytes() if files and files[-1].exists() else done.stdout
        if done.returncode != 0 or not data:
            sys.exit(f"{' '.join(command)}: {done.stderr.decode(errors='replace')}")
        self.put(target, name, data)
        for file in files:
            file.unlink(missing_ok=True)

    def ours(self, target, name, *options):
        if not self.scan:
            return
        out = f"out{pathlib.Path(name).suffix}"
        env = {part: str(self.folder / part) for part in ("XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME")}
        subprocess.run([self.scan, "-d", "sim:size=20x12,at=0x0,width=100,count=3,seed=5", "-r", "50", "--area",
                        "custom:0,0,20,12", "-q", "-o", out, *options], cwd=self.folder, check=True, timeout=60,
                       env=dict(os.environ, **env), stdout=subprocess.DEVNULL)
        self.put(target, name, (self.folder / out).read_bytes())
        (self.folder / out).unlink()

    # One for each target.

    def tiff(self):
        for name, source, options in (("g4", "b.pbm", ["-g4"]), ("g3", "b.pbm", ["-g3"]), ("lzw", "c.ppm", ["-lzw"]),
                                      ("deflate", "g.pgm", ["-flate"]), ("packbits", "g.pgm", ["-packbits"])):
            self.run("tiff", name, "pamtotiff", *options, source)
        self.run("tiff", "plain", "pamtotiff", "c.ppm")
        seed = self.folder / "seed.tif"
        seed.write_bytes((CORPUS / "tiff" / "plain").read_bytes())
        for name, options in (("jpeg", ["-c", "jpeg:r"]), ("jpeg_ycc", ["-c", "jpeg"]), ("planes", ["-p", "separate"]),
                              ("tiles", ["-t", "-w", "16", "-l", "16", "-c", "lzw:2"]), ("big", ["-8"]),
                              ("big_endian", ["-B", "-c", "zip"]), ("zstd", ["-c", "zstd"]), ("strips", ["-r", "2"])):
            self.run("tiff", name, "tiffcp", *options, "seed.tif", "out.tif")
        self.run("tiff", "pages", "tiffcp", "seed.tif", "seed.tif", "out.tif")
        self.ours("tiff", "ours_pages.tif", "--mode", "bw-threshold", "--multipage", "--batch=2")
        self.ours("tiff", "ours_tiles.tif", "--mode", "rgb", "--option", "Layout=tiles")
        self.ours("tiff", "ours_jpeg.tif", "--mode", "grey", "--option", "Compression=JPEG")
        for name in ("plain", "pages", "big", "big_endian", "ours_pages.tif"):
            if (CORPUS / "tiff" / name).exists():
                self.put("tiff_append", name, (CORPUS / "tiff" / name).read_bytes())

    def png(self):
        for name, source, options in (("grey", "g.pgm", []), ("colour", "c.ppm", []), ("bits", "b.pbm", []),
                                      ("interlaced", "c.ppm", ["-interlace"]), ("keyed", "g.pgm", ["-transparent=white"])):
            self.run("png", name, "pnmtopng", *options, source)

        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        def made(depth, colour, rows, *extra):
            head = struct.pack(">IIBBBBB", 3, len(rows), depth, colour, 0, 0, 0)
            return b"".join([b"\x89PNG\r\n\x1a\n", chunk(b"IHDR", head), *extra,
                             chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows))), chunk(b"IEND", b"")])

        self.put("png", "palette", made(4, 3, [b"\x01\x20", b"\x21\x00"], chunk(b"PLTE", bytes(range(9))),
                                        chunk(b"tRNS", b"\x80\xff")))
        self.put("png", "wide_opacity", made(16, 6, [bytes(range(24))], chunk(b"pHYs", struct.pack(">IIB", 11811, 11811, 1))))

    def jpeg(self):
        for name, source, options in (("grey", "g.pgm", []), ("colour", "c.ppm", []), ("progressive", "c.ppm", ["-progressive"]),
                                      ("restarts", "c.ppm", ["-restart", "1B"]), ("full", "c.ppm", ["-sample", "1x1"]),
                                      ("arithmetic", "g.pgm", ["-arithmetic"])):
            self.run("jpeg", name, "cjpeg", *options, source)
        self.ours("jpeg", "ours.jpg", "--mode", "rgb")
        plain = (CORPUS / "jpeg" / "grey").read_bytes()
        exif = (b"Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0")
        self.put("jpeg", "turned", plain[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + plain[2:])

    def pnm(self):
        for name, data in (("bits", PBM), ("grey", PGM), ("colour", PPM), ("plain_bits", b"P1 #x\n3 2\n101\n0 1 0\n"),
                           ("plain_grey", b"P2\n2 2 15\n0 15\n# y\n7 99\n"), ("plain_colour", b"P3 1 2 65535 1 2 3 4 5 6\n"),
                           ("wide", b"P5 2 2 65535\n\x12\x34\xff\0\0\x01\x80\0"), ("levels", b"P6 1 2 100\nabcdef")):
            self.put("pnm", name, data)

    def bmp(self):
        for name, source in (("bits", "b.pbm"), ("grey", "g.pgm"), ("colour", "c.ppm")):
            self.run("bmp", name, "ppmtobmp", source)
        self.run("bmp", "eight", "ppmtobmp", "-bpp=8", "g.pgm")
        self.run("bmp", "os2", "ppmtobmp", "-os2", "g.pgm")
        self.ours("bmp", "ours_palette.bmp", "--mode", "palette")
        info = struct.pack("<IiiHHIIiiII", 40, 4, 2, 1, 8, 1, 0, 2835, 2835, 2, 0)
        coded = bytes([2, 1, 2, 0, 0, 0, 0, 4, 0, 1, 1, 0, 0, 1])
        self.put("bmp", "rle8", b"BM" + struct.pack("<IHHI", 62 + len(coded), 0, 0, 62) + info + bytes(8) + coded)

    def jp2(self):
        for name, source, options in (("grey", "g.pgm", []), ("colour", "c.ppm", ["-r", "10"]), ("tiles", "c.ppm", ["-t", "8,8"])):
            self.run("jp2", f"{name}", "opj_compress", "-i", source, "-o", "out.jp2", "-n", "2", *options)
        self.run("jp2", "codestream", "opj_compress", "-i", "g.pgm", "-o", "out.j2k", "-n", "2")
        self.ours("jp2", "ours_palette.jp2", "--mode", "palette")
        self.ours("jp2", "ours_quality.jp2", "--mode", "rgb", "--option", "Coding=quality")
        self.ours("jp2", "ours.j2k", "--mode", "rgb")

    def pdf(self):
        for name, source in (("bits", "b.pbm"), ("grey", "g.pgm"), ("colour", "c.ppm")):
            self.run("pdf", name, "img2pdf", "-o", "out.pdf", source)
        (self.folder / "seed.jpg").write_bytes((CORPUS / "jpeg" / "colour").read_bytes())
        self.run("pdf", "jpeg", "img2pdf", "-o", "out.pdf", "seed.jpg")
        self.run("pdf", "pages", "img2pdf", "-o", "out.pdf", "g.pgm", "c.ppm")
        self.ours("pdf", "ours_pages.pdf", "--mode", "bw-threshold", "--multipage", "--batch=2")
        self.ours("pdf", "ours_grey.pdf", "--mode", "grey")
        self.ours("pdf", "ours_palette.pdf", "--mode", "palette")
        for name in ("pages", "ours_pages.pdf", "ours_grey.pdf"):
            if (CORPUS / "pdf" / name).exists():
                self.put("pdf_append", name, (CORPUS / "pdf" / name).read_bytes())

    def script(self):
        self.put("script", "all", b"/Open FNAME:\"a b.tif\"\n/Deskew ANGLE:-1.5\r\n/Crop LEFT:1 TOP:2 WIDTH:30 HEIGHT:4.5\n"
                 b"/CropToDocument\n/Despeckle SIZE:0.3\n/Invert _ignore_command_:1\n/Rotate ANGLE:90\n/Autocorrect\n"
                 b"/SaveAs FNAME:~/b.tif DontProcessErrors:1\n/Close\n")
        self.put("script", "mark", b"\xef\xbb\xbf/invert\n\n  /ROTATE angle:1e2\n")
        self.put("script", "run", b"/Run LIMIT:60 OUT:pdf tesseract %i \"%b\" -l deu --psm 1 50%% pdf\n")
        self.put("script", "wrong", b"/Crop WIDTH:\"\n")

    def preset(self):
        self.put("preset", "two", b'''{"format": "quillbay-preset", "version": 1, "name": "Maps", "comment": "for the archive",
"pages": [{"page": 0, "title": "Main", "settings": {"MODE": 7, "ImageDPI": 300, "m_rcScan": {"rect": [0, 0, 210.5, 297]},
"m_szPaper": "A4", "x": {"double": 2}}}, {"page": 10, "settings": {"m_CounterFormat": "%.3d", "m_fMultiPage": 1},
"stores": {"TIFF": {"settings": {"Compression": "LZW", "b": {"blob": "AAEC"}}}}}]}''')
        self.put("preset", "none", b'{"format": "quillbay-preset", "version": 1, "name": "n", "pages": []}')
        self.put("preset", "newer", b'{"format": "quillbay-preset", "version": 2}')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--scan")
    parser.add_argument("names", nargs="*")
    args = parser.parse_args()
    seeds = Seeds(args.scan and str(pathlib.Path(args.scan).resolve()))
    try:
        for name in args.names or ("tiff", "png", "jpeg", "pnm", "bmp", "jp2", "pdf", "script", "preset"):
            getattr(seeds, name)()
    finally:
        shutil.rmtree(seeds.folder)


if __name__ == "__main__":
    main()
