#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "test_pages.h"

namespace quillbay::test {

/// A page as libtiff reads it, without the code under test.
struct ReadPage {
  std::uint32_t width = 0, height = 0;
  std::uint16_t compression = 0, photometric = 0, bits = 0, samples = 0, unit = 0, page = 0xffff;
  float dpiX = 0, dpiY = 0;
  std::uint32_t subfile = 0, rowsPerStrip = 0, tile = 0, options = 0, profile = 0;
  std::string software, dateTime, title;
  std::vector<KXRGBQUAD> palette;
  std::vector<std::vector<std::uint8_t>> lines;  ///< JPEG as red, green, blue
  std::vector<ReadPage> levels;
};

struct ReadFile {
  bool ok = false;  ///< it could be opened and every page was read to its end
  bool big = false;
  std::string complaint;
  std::vector<ReadPage> pages;
};

[[nodiscard]] ReadFile readTiff(const std::string& file);

/// Empty, or where the page that was read differs from `page`.
[[nodiscard]] std::string difference(const ReadPage& read, const TestPage& page);

}  // namespace quillbay::test
