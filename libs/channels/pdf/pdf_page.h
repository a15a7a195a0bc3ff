#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "channels/codec/module_support.h"
#include "channels/pdf/pdf_images.h"
#include "channels/pdf/pdf_metadata.h"
#include "channels/pdf/pdf_update.h"

namespace quillbay {

/// The options of the PDF format, ended by a null key.
extern const QbOptionInfo kPdfOptions[];

/// Without a resolution a page is as large as at this one.
inline constexpr std::uint32_t kPdfUsualDpi = 300;

/// One page on its way into a file: an update that is appended. What was there before is not touched.
class PdfPage {
 public:
  /// Throws ModuleError for a page that cannot be written; nothing was appended then.
  PdfPage(const EdgeFile& file, const PdfState& before, const QbPage& page, const QbOptions* options);
  void write(const QbBlock& block) { m_images->write(block); }
  /// Returns the file's state with this page.
  PdfState finish();

 private:
  void choosePixels(const QbPage& page, const QbOptions* options);
  [[nodiscard]] std::string colorsText(const QbPage& page);
  void appendHead();
  void addPage(const std::vector<PdfImages::Image>& images);

  EdgeFile m_file;
  PdfState m_state;
  PdfUpdate m_update;
  PdfPixels m_pixels;
  PdfFacts m_facts;
  double m_unitsPerPixel;  // 1/72 inch
  std::unique_ptr<PdfImages> m_images;
};

}  // namespace quillbay
