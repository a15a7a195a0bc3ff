#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "printing/print_settings.h"
#include "printing/printer_info.h"

namespace quillbay {

/// One printed sheet: the part of the picture that it shows, and where. Pixels of the printer, which across and
/// along may differ in size.
struct PrintSheet {
  std::int64_t left = 0, top = 0;     ///< the part's first column and line in the picture
  std::int64_t width = 0, lines = 0;  ///< its size
  std::int64_t x = 0, y = 0;          ///< its place on the sheet
  bool operator==(const PrintSheet&) const = default;
};

/// How a page comes onto its sheets. "The picture" is the page scaled, and turned if it is turned.
struct PageLayout {
  PrinterMedia media;
  double sheetWidth = 0, sheetLength = 0;  ///< millimetres, of each sheet
  PrinterResolution resolution;            ///< dots per inch across and along the sheet
  std::int64_t sheetPixels = 0, sheetLines = 0;

  bool isTurned = false;                            ///< by 90° clockwise
  std::int64_t scaledWidth = 0, scaledLines = 0;    ///< before it is turned; lines 0: unknown
  double scaleX = 1, scaleY = 1;                    ///< printer's pixels for one of the page, before it is turned
  std::int64_t pictureWidth = 0, pictureLines = 0;  ///< lines 0: unknown

  std::int64_t columns = 1, rows = 1;         ///< sheets; rows 0: as many as it takes
  std::int64_t tileWidth = 0, tileLines = 0;  ///< the most that a sheet shows
  std::int64_t overlapX = 0, overlapY = 0;    ///< what two neighbours both show
  std::int64_t x = 0, y = 0;                  ///< the place of each part on its sheet
  bool hasCropMarks = false;
  std::int64_t markX = 0, markY = 0;  ///< length of a crop mark across and along, 0: none

  /// What is worth telling the user: "turned by 90°", "on 3 x 2 sheets".
  std::vector<std::string> notes;

  /// The page goes to the printer while it comes; otherwise it is kept until it has ended.
  [[nodiscard]] bool isStreamed() const noexcept { return !isTurned && columns == 1 && overlapY == 0; }
  /// The sheet in this column and row, from 0; rows beyond a known length are further pieces.
  [[nodiscard]] PrintSheet sheet(std::int64_t column, std::int64_t row) const;
};

/// Where the page is turned or cut into columns, its length must be known: whether this one must be kept until its
/// end before it can be laid out.
[[nodiscard]] bool needsWholePage(const PageShape& page, const PrintSettings& settings, const PrinterInfo& printer);

/// Lays a page out; `page` has a width and a resolution, `printer` its attributes. Throws CXDeviceException that
/// says what is too large, in millimetres, and what to do.
[[nodiscard]] PageLayout layOutPage(const PageShape& page, const PrintSettings& settings,
                                    const PrinterInfo& printer);

/// The resolution that a page is printed with: as `print_key::Resolution` says.
[[nodiscard]] PrinterResolution printResolution(const PrinterInfo& printer, std::uint32_t wanted,
                                                std::uint32_t pageDpi);

}  // namespace quillbay
