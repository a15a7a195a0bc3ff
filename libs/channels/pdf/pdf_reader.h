#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/pdf/image_lines.h"
#include "channels/pdf/page_drawing.h"
#include "channels/pdf/page_rendering.h"
#include "channels/pdf/pdf_document.h"

namespace quillbay {

/// Reads documents: a page that is one image, or images directly under one another, pixel by pixel as the images
/// are; others as they look, at the resolution of their finest image or 300 dpi.
class PdfReader {
 public:
  /// Throws ModuleError, as all do.
  explicit PdfReader(const QbFile* file) : m_file(file), m_document(file) {}
  [[nodiscard]] std::int32_t pages() const noexcept { return static_cast<std::int32_t>(m_document.pages().size()); }
  void openPage(std::int32_t page, QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  [[nodiscard]] std::vector<ImagePlan> exactImages(const PageFrame& frame, PageDrawing& drawing);
  void describeImages(const PageFrame& frame, const PageRect& area, QbPicture* out) const;
  void render(std::int32_t page, const PageFrame& frame, const PageDrawing& drawing, QbPicture* out);

  EdgeFile m_file;
  PdfDocument m_document;
  std::vector<ImagePlan> m_images;  // of the page; none: it is rendered
  std::size_t m_image = 0;          // that is read next
  std::int32_t m_left = 0;          // lines of the one before
  std::unique_ptr<ImageLines> m_lines;
  std::unique_ptr<PageRendering> m_rendering;
};

}  // namespace quillbay
