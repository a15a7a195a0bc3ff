#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "channels/tiff/tiff_directory.h"
#include "channels/tiff/tiff_plan.h"

namespace quillbay {

/// What a page's tags say besides its pixels.
struct TiffWords {
  explicit TiffWords(const QbPage& page);
  bool paged;
  std::uint32_t dpi;
  std::string software, dateTime, title;
  std::vector<std::uint8_t> icc;
  std::vector<std::uint16_t> colorMap;  ///< red, green, blue: 256 each; empty without a palette
};

/// A picture in the file: a page, or one of its levels.
struct TiffImage {
  std::int32_t width = 0;
  std::int64_t lines = 0;
  std::vector<std::uint64_t> offsets, sizes;  ///< of the strips or tiles
};

/// The directory of a page.
struct TiffPageTags {
  std::int32_t number;                ///< of the page, from 0
  std::vector<std::uint64_t> levels;  ///< where the directories of its levels are
};
void describePage(const TiffPlan& plan, const TiffWords& words, const TiffImage& image, const TiffPageTags& tags,
                  TiffDirectory* out);
/// The directory of a level; level 1 is half the page.
void describeLevel(const TiffPlan& plan, const TiffWords& words, const TiffImage& image, unsigned level,
                   TiffDirectory* out);

}  // namespace quillbay
