"""Readers of picture files that are not ours: what a file holds, and how large it says it is.

`read_page(path, page)` gives the samples as an array: rows x columns of 0..255 for black and white (0 is black) and grey,
rows x columns x 3 for colour, and palettes resolved. `size_in_mm(path, page)` gives width and length, or None where the
format says nothing. Both use programs and packages of the distribution.
"""

import re
import struct
import subprocess
import tempfile
from pathlib import Path

import numpy
import tifffile

LIMIT = 120
MM = 25.4

# What has to be installed to read a format; packages as they are called.
NEEDS = {".tif": "tiffcp", ".png": "pngtopnm", ".jpg": "djpeg", ".bmp": "bmptopnm", ".pdf": "pdfimages",
         ".jp2": "opj_decompress", ".j2k": "opj_decompress", ".pnm": None}


def output_of(*command):
    done = subprocess.run([str(part) for part in command], capture_output=True, timeout=LIMIT, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command[0]} {command[1:]} ended with {done.returncode}: "
                             f"{done.stderr.decode(errors='replace')}")
    return done.stdout


def read_pnm(data):
    """A raw portable anymap, bits as 0 (black) and 255."""
    found = re.match(rb"P([456])\s(?:#.*\n|\s)*(\d+)\s+(\d+)\s", data)
    kind, width, height = (int(group) for group in found.groups())
    at = found.end()
    if kind == 4:
        bits = numpy.unpackbits(numpy.frombuffer(data, "u1", offset=at).reshape(height, -1), axis=1)[:, :width]
        return (1 - bits) * numpy.uint8(255)
    most = re.compile(rb"(\d+)\s").match(data, at)
    if most.group(1) not in (b"255", b"1"):
        raise AssertionError(f"samples to {most.group(1)}")
    samples = numpy.frombuffer(data, "u1", offset=most.end(), count=width * height * (3 if kind == 6 else 1))
    if most.group(1) == b"1":
        samples = samples * numpy.uint8(255)
    return samples.reshape((height, width) if kind == 5 else (height, width, 3))


def tiff_pages(path):
    """The full pages of a TIFF; smaller copies of them are none."""
    with tifffile.TiffFile(path) as tiff:
        return [i for i, page in enumerate(tiff.pages) if not page.subfiletype & 1]


def read_tiff(path, page):
    with tempfile.TemporaryDirectory() as folder:
        plain = Path(folder, "plain.tif")
        output_of("tiffcp", "-c", "none", f"{path},{tiff_pages(path)[page]}", plain)
        with tifffile.TiffFile(plain) as tiff:
            first = tiff.pages[0]
            if "YCbCrSubSampling" in first.tags and not first.is_tiled:
                # The tool has made red, green, blue of it, and kept the tags of what it was.
                strips = [plain.read_bytes()[at:at + size] for at, size in zip(first.dataoffsets, first.databytecounts)]
                return numpy.frombuffer(b"".join(strips), "u1").reshape(first.imagelength, first.imagewidth, 3)
            samples = first.asarray()
            if samples.dtype == bool:
                white = first.photometric == tifffile.PHOTOMETRIC.MINISBLACK
                return numpy.where(samples == white, 255, 0).astype("u1")
            if first.photometric == tifffile.PHOTOMETRIC.PALETTE:
                return (first.colormap.T[samples] >> 8).astype("u1")
            return samples


def size_of_tiff(path, page):
    with tifffile.TiffFile(path) as tiff:
        tags = tiff.pages[tiff_pages(path)[page]].tags
        unit = {2: MM, 3: 10}[tags["ResolutionUnit"].value]
        return tuple(tags[side].value * unit * tags[f"{axis}Resolution"].value[1] / tags[f"{axis}Resolution"].value[0]
                     for side, axis in (("ImageWidth", "X"), ("ImageLength", "Y")))


def size_by_density(shape, across, down, mm):
    return (shape[1] * mm / across, shape[0] * mm / down) if across and down else None


def size_of_png(path):
    data = path.read_bytes()
    at = data.find(b"pHYs")
    across, down, unit = struct.unpack_from(">IIB", data, at + 4) if at > 0 else (0, 0, 0)
    return size_by_density(read_page(path).shape, across, down, 1000) if unit == 1 else None


def size_of_jpeg(path):
    data = path.read_bytes()
    if data[6:11] != b"JFIF\0":
        return None
    unit, across, down = struct.unpack_from(">BHH", data, 13)
    mm = {1: MM, 2: 10}.get(unit)
    return size_by_density(read_page(path).shape, across, down, mm) if mm else None


def size_of_bmp(path):
    across, down = struct.unpack_from("<ii", path.read_bytes(), 38)
    return size_by_density(read_page(path).shape, across, down, 1000)


def size_of_jp2(path):
    """By the boxes of the resolution as it was captured, else as it is to be shown."""
    data = path.read_bytes()
    for kind in (b"resc", b"resd"):
        at = data.find(kind)
        if at > 0:
            down, below, across, left, up, right = struct.unpack_from(">HHHHbb", data, at + 4)
            return size_by_density(read_page(path).shape, across / left * 10.0**right, down / below * 10.0**up, 1000)
    return None


def pdf_pages(path):
    return int(re.search(rb"Pages:\s+(\d+)", output_of("pdfinfo", path)).group(1))


def read_pdf(path, page):
    with tempfile.TemporaryDirectory() as folder:
        output_of("pdfimages", "-png", "-f", page + 1, "-l", page + 1, path, Path(folder, "i"))
        files = sorted(Path(folder).iterdir())
        strips = [read_pnm(output_of("pngtopnm", file)) for file in files]
        if not strips:
            raise AssertionError(f"page {page + 1} of {path.name} holds no picture")
        return numpy.concatenate(strips)  # a page may come in pieces, one below the other


def size_of_pdf(path, page):
    """The page's box times its unit, which poppler's `pdfinfo` leaves out."""
    text = output_of("pdfinfo", "-f", page + 1, "-l", page + 1, path).decode()
    width, height = map(float, re.search(r"Page\s+\d+ size:\s+([\d.]+) x ([\d.]+) pts", text).groups())
    plain = output_of("qpdf", "--qdf", "--object-streams=disable", path, "-")
    units = [float(unit) for unit in re.findall(rb"/UserUnit ([\d.]+)", plain)]
    unit = units[min(page, len(units) - 1)] if units else 1.0
    return width * unit * MM / 72, height * unit * MM / 72


def read_page(path, page=0):
    suffix = path.suffix
    if suffix == ".tif":
        return read_tiff(path, page)
    if suffix == ".pdf":
        return read_pdf(path, page)
    if suffix in (".jp2", ".j2k"):
        with tempfile.TemporaryDirectory() as folder:
            for kind in ("ppm", "pgm"):
                out = Path(folder, f"o.{kind}")
                done = subprocess.run(["opj_decompress", "-i", path, "-o", out], capture_output=True, timeout=LIMIT,
                                      check=False)
                if done.returncode == 0 and out.exists() and out.stat().st_size:
                    return read_pnm(out.read_bytes())
        raise AssertionError(f"opj_decompress cannot read {path.name}: {done.stdout[-300:]} {done.stderr[-300:]}")
    if suffix == ".png":
        return read_pnm(output_of("pngtopnm", path))
    if suffix == ".jpg":
        return read_pnm(output_of("djpeg", path))
    if suffix == ".bmp":
        return read_pnm(output_of("bmptopnm", path))
    return read_pnm(path.read_bytes())


def count_pages(path):
    if path.suffix == ".tif":
        return len(tiff_pages(path))
    return pdf_pages(path) if path.suffix == ".pdf" else 1


def size_in_mm(path, page=0):
    sizes = {".tif": size_of_tiff, ".pdf": size_of_pdf}
    if path.suffix in sizes:
        return sizes[path.suffix](path, page)
    single = {".png": size_of_png, ".jpg": size_of_jpeg, ".bmp": size_of_bmp, ".jp2": size_of_jp2}
    return single[path.suffix](path) if path.suffix in single else None


def signal_to_noise(have, want):
    """Peak signal to noise in decibels of two arrays of bytes; infinite when they are equal."""
    error = numpy.mean((have.astype("f8") - want.astype("f8"))**2)
    return float("inf") if error == 0 else float(10 * numpy.log10(255**2 / error))
