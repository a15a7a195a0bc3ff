#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/pdf/page_drawing.h"
#include "channels/pdf/pdf_source.h"

namespace quillbay {

/// Pages as poppler draws them: red, green, blue, in bands of lines. The file is held in memory, as poppler needs
/// it; a larger one than 512 MiB is refused.
class PageRendering {
 public:
  struct Size {
    std::int32_t width = 0, height = 0;
    std::uint32_t dpi = 0;  ///< what was asked for, or less for a page with too many pixels
  };
  PageRendering(const EdgeFile& file, const PdfEnd& end);
  ~PageRendering();
  PageRendering(const PageRendering&) = delete;
  PageRendering& operator=(const PageRendering&) = delete;

  /// Goes to the first line of page `page`, from 0. Throws ModuleError.
  Size open(std::int32_t page, const PageFrame& frame, double dpi);
  void read(std::uint8_t* out);

 private:
  struct Parts;
  void renderBand();

  std::vector<char> m_bytes;
  std::unique_ptr<Parts> m_parts;
  Size m_size;
  double m_unitDpi = 0;  // pixels to 72 of the page's units
  std::int32_t m_next = 0, m_bandFirst = 0, m_bandLines = 0;
};

}  // namespace quillbay
