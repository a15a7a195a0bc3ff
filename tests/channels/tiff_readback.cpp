#include "tiff_readback.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace quillbay::test {
namespace {

std::string g_complaint;

__attribute__((format(printf, 2, 0))) void note(const char*, const char* format, va_list arguments) {
  char text[300];
  std::vsnprintf(text, sizeof text, format, arguments);
  g_complaint += std::string(text) + "; ";
}

bool readTiles(TIFF* tiff, ReadPage* page) {
  const auto row = static_cast<std::size_t>(TIFFTileRowSize(tiff));
  std::vector<std::uint8_t> tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
  for (std::uint32_t y = 0; y < page->height; y += page->tile) {
    const std::uint32_t count = std::min(page->tile, page->height - y);
    page->lines.resize(y + count);
    for (std::uint32_t x = 0; x < page->width; x += page->tile) {
      if (TIFFReadTile(tiff, tile.data(), x, y, 0, 0) < 0) return false;
      for (std::uint32_t i = 0; i < count; ++i) {
        auto& line = page->lines[y + i];
        line.insert(line.end(), tile.begin() + static_cast<long>(i * row),
                    tile.begin() + static_cast<long>((i + 1) * row));
        line.resize(std::min(line.size(), (std::size_t{page->width} * page->samples * page->bits + 7) / 8));
      }
    }
  }
  return true;
}

bool readPage(TIFF* tiff, ReadPage* page) {
  TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &page->width);
  TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &page->height);
  TIFFGetField(tiff, TIFFTAG_COMPRESSION, &page->compression);
  TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &page->photometric);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &page->bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &page->samples);
  TIFFGetField(tiff, TIFFTAG_RESOLUTIONUNIT, &page->unit);
  TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &page->dpiX);
  TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &page->dpiY);
  TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &page->subfile);
  TIFFGetField(tiff, TIFFTAG_ROWSPERSTRIP, &page->rowsPerStrip);
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &page->tile);
  TIFFGetField(tiff, TIFFTAG_GROUP3OPTIONS, &page->options);
  const void* profile = nullptr;
  TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &page->profile, &profile);
  std::uint16_t total = 0;
  TIFFGetField(tiff, TIFFTAG_PAGENUMBER, &page->page, &total);
  char* text = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_SOFTWARE, &text)) page->software = text;
  if (TIFFGetField(tiff, TIFFTAG_DATETIME, &text)) page->dateTime = text;
  if (TIFFGetField(tiff, TIFFTAG_DOCUMENTNAME, &text)) page->title = text;
  std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue)) {
    for (int i = 0; i < 256; ++i) {
      page->palette.push_back({static_cast<std::uint8_t>(red[i] >> 8), static_cast<std::uint8_t>(green[i] >> 8),
                               static_cast<std::uint8_t>(blue[i] >> 8), 0});
    }
  }
  if (page->compression == COMPRESSION_JPEG) TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  if (page->tile > 0) return readTiles(tiff, page);
  for (std::uint32_t y = 0; y < page->height; ++y) {
    std::vector<std::uint8_t> line(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    if (TIFFReadScanline(tiff, line.data(), y, 0) < 0) return false;
    page->lines.push_back(std::move(line));
  }
  return true;
}

bool readLevels(TIFF* tiff, ReadPage* page) {
  std::uint16_t count = 0;
  toff_t* places = nullptr;
  if (!TIFFGetField(tiff, TIFFTAG_SUBIFD, &count, &places)) return true;
  const std::vector<toff_t> levels(places, places + count);
  const auto self = TIFFCurrentDirectory(tiff);
  bool ok = true;
  for (const toff_t level : levels) {
    page->levels.emplace_back();
    ok = ok && TIFFSetSubDirectory(tiff, level) && readPage(tiff, &page->levels.back());
  }
  return TIFFSetDirectory(tiff, self) && ok;
}

}  // namespace

ReadFile readTiff(const std::string& file) {
  ReadFile result;
  TIFFSetErrorHandler(note);
  TIFFSetWarningHandler(note);
  g_complaint.clear();
  TIFF* tiff = TIFFOpen(file.c_str(), "rm");
  result.complaint = g_complaint;
  if (!tiff) return result;
  result.big = TIFFIsBigTIFF(tiff) != 0;
  result.ok = true;
  do {
    ReadPage page;
    if (!readPage(tiff, &page) || !readLevels(tiff, &page)) result.ok = false;
    result.pages.push_back(std::move(page));
  } while (TIFFReadDirectory(tiff));
  TIFFClose(tiff);
  result.complaint = g_complaint;
  if (!g_complaint.empty()) result.ok = false;
  return result;
}

std::string difference(const ReadPage& read, const TestPage& page) {
  if (static_cast<std::int32_t>(read.width) != page.width ||
      static_cast<std::int32_t>(read.height) != page.height()) {
    return "size " + std::to_string(read.width) + " x " + std::to_string(read.height);
  }
  for (std::size_t y = 0; y < page.seen.size(); ++y) {
    if (read.lines[y] == page.seen[y]) continue;
    for (std::size_t i = 0; i < page.seen[y].size(); ++i) {
      if (read.lines[y].size() > i && read.lines[y][i] == page.seen[y][i]) continue;
      return "line " + std::to_string(y) + ", byte " + std::to_string(i);
    }
    return "line " + std::to_string(y) + " is " + std::to_string(read.lines[y].size()) + " bytes";
  }
  return "";
}

}  // namespace quillbay::test
