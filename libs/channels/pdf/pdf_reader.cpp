#include "channels/pdf/pdf_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quillbay {
namespace {

constexpr double kUnitsPerInchOf = 72;
constexpr double kUsualDpi = 300, kLeastRendered = 100, kMostRendered = 600;
constexpr double kMostDrawnPixels = 4e9;  // whose drawing takes a minute
constexpr double kSlack = 0.02;           // of a page's side, that an image may be off
constexpr double kSquareSlack = 0.05;     // by which a pixel may be longer than wide
constexpr std::int64_t kMostLines = 0x7ffffff0;

double dpiOf(double pixels, double units, double unit) { return pixels * kUnitsPerInchOf / (units * unit); }

/// How lines lie in a page that is turned clockwise, as TIFF counts.
std::int32_t orientationOf(int rotation) {
  switch (rotation) {
    case 90: return 6;
    case 180: return 3;
    case 270: return 8;
    default: return 1;
  }
}

bool fillsPage(const PageRect& area, const PageRect& page) {
  const double across = kSlack * page.width(), along = kSlack * page.height();
  return std::abs(area.left - page.left) <= across && std::abs(area.right - page.right) <= across &&
         std::abs(area.bottom - page.bottom) <= along && std::abs(area.top - page.top) <= along;
}

/// Whether `next` lies directly under `last`, half a pixel off at most.
bool liesUnder(const PlacedImage& last, const PlacedImage& next, const ImagePlan& plan) {
  const double across = next.area.width() / plan.width / 2, along = next.area.height() / plan.height / 2;
  return std::abs(last.area.bottom - next.area.top) <= along &&
         std::abs(last.area.left - next.area.left) <= across &&
         std::abs(last.area.right - next.area.right) <= across;
}

bool hasSquarePixels(const PlacedImage& image, const ImagePlan& plan) {
  const double ratio = image.area.width() / plan.width * plan.height / image.area.height();
  return std::abs(ratio - 1) <= kSquareSlack;
}

}  // namespace

/// The plans of a page's images, top one first; none for a page that is not made of images alone.
std::vector<ImagePlan> PdfReader::exactImages(const PageFrame& frame, PageDrawing& drawing) {
  std::vector<PlacedImage>& images = drawing.images;
  if (!drawing.isOnlyImages || !frame.isPlain || images.empty() || m_document.qpdf().isEncrypted()) return {};
  std::stable_sort(images.begin(), images.end(),
                   [](const PlacedImage& a, const PlacedImage& b) { return a.area.top > b.area.top; });
  PageRect all = images.front().area;
  all.bottom = images.back().area.bottom;
  if (!fillsPage(all, frame.area)) return {};
  std::vector<ImagePlan> plans;
  std::int64_t lines = 0;
  for (std::size_t i = 0; i < images.size(); ++i) {
    auto plan = planFor(images[i].stream, m_document.end().base, m_document.end().end);
    if (!plan || !hasSquarePixels(images[i], *plan)) return {};
    if (i > 0 && (!plan->joins(plans.front()) || !liesUnder(images[i - 1], images[i], *plan))) return {};
    lines += plan->height;
    if (lines > kMostLines) return {};
    plans.push_back(std::move(*plan));
  }
  return plans;
}

void PdfReader::describeImages(const PageFrame& frame, const PageRect& area, QbPicture* out) const {
  const ImagePlan& first = m_images.front();
  out->color_space = static_cast<std::int32_t>(first.colorSpace());
  out->width = first.width;
  out->height = 0;
  for (const ImagePlan& plan : m_images) out->height += plan.height;
  const double dpi = dpiOf(first.width, area.width(), frame.unit);
  out->dpi = dpi >= 1 && dpi < 1e6 ? static_cast<std::uint32_t>(std::lround(dpi)) : 0;
  out->orientation = orientationOf(frame.rotation);
  if (first.colorSpace() != KxColorSpace::Palette) return;
  out->palette_count = 256;
  for (std::size_t i = 0; i < first.palette.size() / 3; ++i) {
    std::memcpy(out->palette + 4 * i, first.palette.data() + 3 * i, 3);
  }
}

void PdfReader::render(std::int32_t page, const PageFrame& frame, const PageDrawing& drawing, QbPicture* out) {
  double finest = 0, pixels = 0;
  for (const PlacedImage& image : drawing.images) {
    QPDFObjectHandle dictionary = QPDFObjectHandle(image.stream).getDict();
    QPDFObjectHandle width = dictionary.getKey("/Width"), height = dictionary.getKey("/Height");
    if (width.isInteger() && height.isInteger()) pixels += width.getNumericValue() * height.getNumericValue();
    if (pixels > kMostDrawnPixels) {
      throw ModuleError(QB_E_REFUSED,
                        "the page has images of more pixels than can be drawn, or is damaged; take the "
                        "images out with another program");
    }
    if (!width.isInteger() || !(std::abs(image.area.width()) > 0)) continue;
    finest =
        std::max(finest, dpiOf(static_cast<double>(width.getIntValue()), std::abs(image.area.width()), frame.unit));
  }
  const double dpi = finest > 0 ? std::clamp(finest, kLeastRendered, kMostRendered) : kUsualDpi;
  if (!m_rendering) m_rendering = std::make_unique<PageRendering>(m_file, m_document.end());
  const PageRendering::Size size = m_rendering->open(page, frame, dpi);
  out->color_space = static_cast<std::int32_t>(KxColorSpace::Rgb);
  out->width = size.width;
  out->height = size.height;
  out->dpi = size.dpi;
  out->orientation = 1;
}

void PdfReader::openPage(std::int32_t page, QbPicture* out) {
  m_lines = nullptr;
  m_images.clear();
  m_image = 0;
  m_left = 0;
  *out = {};
  withQpdf([&] {
    const QPDFObjectHandle& object = m_document.pages()[static_cast<std::size_t>(page)];
    const PageFrame frame = frameOf(object);
    PageDrawing drawing = drawingOf(m_document.qpdf(), object);
    m_images = exactImages(frame, drawing);
    if (m_images.empty()) {
      render(page, frame, drawing, out);
    } else {
      describeImages(frame, drawing.images.front().area, out);
    }
  });
}

void PdfReader::readLine(std::uint8_t* out) {
  if (m_images.empty()) return m_rendering->read(out);
  if (m_left == 0) {
    const ImagePlan& plan = m_images.at(m_image++);
    m_lines = nullptr;
    m_lines = std::make_unique<ImageLines>(m_file, plan);
    m_left = plan.height;
  }
  m_lines->read(out);
  --m_left;
}

}  // namespace quillbay
