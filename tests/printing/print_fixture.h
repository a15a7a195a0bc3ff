#pragma once
#include <cups/raster.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "printing/print_job.h"
#include "quillbay/run_list.h"
#include "support/ipp_printer.h"
#include "support/test_stripe.h"

namespace quillbay::test {

/// A sheet as the raster reader of the print system decodes it.
struct DecodedSheet {
  cups_page_header2_t header{};
  std::vector<Bytes> lines;

  /// Bytes of `count` pixels of a line of whole bytes a pixel.
  [[nodiscard]] Bytes part(std::size_t y, std::size_t x, std::size_t count) const {
    const std::size_t bytes = header.cupsBitsPerPixel / 8;
    const auto from = lines[y].begin() + static_cast<std::ptrdiff_t>(x * bytes);
    return {from, from + static_cast<std::ptrdiff_t>(count * bytes)};
  }
};

[[nodiscard]] inline std::vector<DecodedSheet> decode(const std::string& path) {
  std::vector<DecodedSheet> sheets;
  const int fd = ::open(path.c_str(), O_RDONLY);
  cups_raster_t* raster = cupsRasterOpen(fd, CUPS_RASTER_READ);
  DecodedSheet sheet;
  while (raster && cupsRasterReadHeader2(raster, &sheet.header)) {
    sheet.lines.assign(sheet.header.cupsHeight, Bytes(sheet.header.cupsBytesPerLine));
    for (Bytes& line : sheet.lines) {
      if (cupsRasterReadPixels(raster, line.data(), sheet.header.cupsBytesPerLine) != line.size()) {
        ADD_FAILURE() << path << " is short: " << cupsRasterErrorString();
        break;
      }
    }
    sheets.push_back(sheet);
  }
  if (raster) cupsRasterClose(raster);
  ::close(fd);
  return sheets;
}

/// A page of noise, the same each time, as stripes and as the pixels that are to be printed.
struct NoisePage {
  KxColorSpace colorSpace;
  std::int32_t width, height;
  std::vector<KxPtr<TestStripe>> stripes;
  std::vector<Bytes> printed;  // packed bits, bytes of grey, or R, G, B

  NoisePage(KxColorSpace space, std::int32_t pixels, std::int32_t lines, std::uint32_t dpi = 100,
            std::int32_t stripeLines = 10)
      : colorSpace(space), width(pixels), height(lines) {
    for (std::int32_t y = 0; y < lines; ++y) {
      if (y % stripeLines == 0) stripes.push_back(newStripe(space, pixels, Shape::Packed, dpi));
      if (y % stripeLines == 0) fillPalette(*stripes.back());
      addLine(*stripes.back());
    }
  }

 private:
  std::uint8_t next() {
    m_seed = m_seed * 1664525U + 1013904223U;
    return static_cast<std::uint8_t>(m_seed >> 24);
  }
  static void fillPalette(TestStripe& stripe) {
    for (std::size_t i = 0; i < 256; ++i) {
      stripe.palette()[i] = {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), 7, 0};
    }
  }
  void addLine(TestStripe& stripe) {
    if (isRunList(colorSpace)) {
      Bytes bits((static_cast<std::size_t>(width) + 7) / 8);
      for (std::uint8_t& byte : bits) byte = next();
      if (width % 8 != 0) bits.back() = static_cast<std::uint8_t>(bits.back() & 0xFF << (8 - width % 8));
      Runs runs(static_cast<std::size_t>(width) + 3);
      runs.resize(2 * bitsToRuns(bits.data(), width, runs.data()) + 2);
      stripe.add(runs);
      printed.push_back(bits);
      return;
    }
    Bytes line(fixedLineBytes(colorSpace, width));
    for (std::uint8_t& byte : line) byte = next();
    stripe.add(line);
    printed.push_back(asPrinted(line));
  }
  [[nodiscard]] Bytes asPrinted(const Bytes& line) const {
    const std::size_t bytes = static_cast<std::size_t>(bitsPerPixel(colorSpace)) / 8;
    const bool isBgr = colorSpace == KxColorSpace::Bgr || colorSpace == KxColorSpace::Bgra;
    Bytes out;
    if (bytes == 1 && colorSpace == KxColorSpace::Grey) return line;
    for (std::size_t i = 0; i < line.size(); i += std::max<std::size_t>(bytes, 1)) {
      if (bytes == 0) {
        out.push_back(static_cast<std::uint8_t>((line[i] >> 4) * 17));
        out.push_back(static_cast<std::uint8_t>((line[i] & 15) * 17));
      } else if (bytes == 1) {
        out.insert(out.end(), {line[i], static_cast<std::uint8_t>(255 - line[i]), 7});
      } else {
        out.insert(out.end(), {line[i + (isBgr ? 2 : 0)], line[i + 1], line[i + (isBgr ? 0 : 2)]});
      }
    }
    return out;
  }
  std::uint32_t m_seed = 12345;
};

/// Options as a host hands them over.
struct Options {
  KxPtr<IParam> set = new_MemParam();
  explicit Options(const std::string& printer, const NoisePage* page = nullptr) {
    set->SetValue(print_key::PrinterName, printer);
    if (!page) return;
    set->SetValue(print_key::PageLines, page->height);
    set->SetValue(print_key::PageWidth, page->width);
    set->SetValue(print_key::PageDpi, static_cast<std::int32_t>(page->stripes.front()->GetResolution()));
  }
  Options& with(const char* key, const CKxVariant& value) {
    set->SetValue(key, value);
    return *this;
  }
};

/// Prints a page to its end; what the job says when it fails.
inline std::string printPage(PrintJob& job, const NoisePage& page, const Options& options) {
  if (!job.start("Test page", options.set.get())) return "refused: " + job.error();
  for (const auto& stripe : page.stripes) {
    if (!job.push(stripe.get(), nullptr)) return "push: " + job.error();
  }
  if (!job.end(true)) return "end: " + job.error();
  std::string state;
  const PrintFate fate = job.await(30, &state);
  return fate == PrintFate::Printed ? "" : "fate " + std::to_string(static_cast<int>(fate)) + ": " + state;
}

class PrinterTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!IppPrinter::isInstalled()) GTEST_SKIP() << "the IPP printer simulator (cups-ipp-utils) is not installed";
  }
};

}  // namespace quillbay::test
