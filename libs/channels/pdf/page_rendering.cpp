#include "channels/pdf/page_rendering.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace quillbay {
namespace {

constexpr std::int64_t kMostFileBytes = std::int64_t{512} << 20;
constexpr std::int64_t kRenderedBytes = std::int64_t{32} << 20;  // of a band
constexpr double kMostSidePixels = 100'000;
constexpr double kLeastDpi = 1;

}  // namespace

struct PageRendering::Parts {
  std::unique_ptr<poppler::document> document;
  std::unique_ptr<poppler::page> page;
  poppler::page_renderer renderer;
  poppler::image band;
};

PageRendering::PageRendering(const EdgeFile& file, const PdfEnd& end) : m_parts(std::make_unique<Parts>()) {
  const std::int64_t size = end.end - end.base;
  if (size > kMostFileBytes) {
    throw ModuleError(QB_E_REFUSED, "the page is not an image alone, and a file of " + std::to_string(size) +
                                        " bytes is too large for showing such pages (at most " +
                                        std::to_string(kMostFileBytes) +
                                        "); take the page out into a file of its own");
  }
  m_bytes.resize(static_cast<std::size_t>(size));
  file.read(end.base, m_bytes.data(), m_bytes.size());
  poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr);
  m_parts->document.reset(poppler::document::load_from_raw_data(m_bytes.data(), static_cast<int>(size)));
  if (!m_parts->document) throw ModuleError(QB_E_DAMAGED, "the file is damaged (its pages cannot be drawn)");
  if (m_parts->document->is_locked()) {
    throw ModuleError(QB_E_REFUSED, "the document is protected by a password; remove the protection first");
  }
  m_parts->renderer.set_image_format(poppler::image::format_rgb24);
  m_parts->renderer.set_render_hints(poppler::page_renderer::antialiasing |
                                     poppler::page_renderer::text_antialiasing);
}

PageRendering::~PageRendering() = default;

PageRendering::Size PageRendering::open(std::int32_t page, const PageFrame& frame, double dpi) {
  m_parts->band = {};
  m_parts->page.reset(m_parts->document->create_page(page));
  if (!m_parts->page) throw ModuleError(QB_E_DAMAGED, "the file is damaged (the page cannot be drawn)");
  double wide = frame.area.width() * frame.unit / 72, high = frame.area.height() * frame.unit / 72;
  if (frame.rotation % 180 != 0) std::swap(wide, high);
  dpi = std::round(std::min(dpi, kMostSidePixels / std::max(wide, high)));
  if (dpi < kLeastDpi) {
    throw ModuleError(QB_E_REFUSED, "the page is " + std::to_string(std::llround(std::max(wide, high) * 25.4)) +
                                        " mm long and is not an image alone; it is too large to be shown");
  }
  const auto pixels = [dpi](double inches) {
    return std::max(1, static_cast<std::int32_t>(std::lround(inches * dpi)));
  };
  m_size = {pixels(wide), pixels(high), static_cast<std::uint32_t>(dpi)};
  m_unitDpi = dpi * frame.unit;
  m_next = m_bandFirst = m_bandLines = 0;
  return m_size;
}

void PageRendering::renderBand() {
  const std::int64_t lineBytes = std::int64_t{3} * m_size.width;
  const std::int64_t lines = std::max<std::int64_t>(kRenderedBytes / lineBytes, 16);
  m_bandFirst = m_next;
  m_bandLines = static_cast<std::int32_t>(std::min<std::int64_t>(lines, m_size.height - m_next));
  m_parts->band = {};
  m_parts->band = m_parts->renderer.render_page(m_parts->page.get(), m_unitDpi, m_unitDpi, 0, m_bandFirst,
                                                m_size.width, m_bandLines);
  if (!m_parts->band.is_valid() || m_parts->band.width() != m_size.width || m_parts->band.height() != m_bandLines) {
    throw ModuleError(QB_E_DAMAGED, "the page cannot be drawn; the file may be damaged");
  }
}

void PageRendering::read(std::uint8_t* out) {
  if (m_next >= m_bandFirst + m_bandLines) renderBand();
  const auto row = static_cast<std::size_t>(m_next - m_bandFirst);
  const auto stride = static_cast<std::size_t>(m_parts->band.bytes_per_row());
  std::memcpy(out, m_parts->band.const_data() + row * stride, static_cast<std::size_t>(m_size.width) * 3);
  ++m_next;
}

}  // namespace quillbay
