#include "rasters/ops/op_support.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <span>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/palette.h"
#include "quillbay/run_list.h"
#include "rasters/ops/raster_ops.h"

namespace quillbay {

void cannotReadLine(std::int32_t line) {
  throw CXIFaceException(
      formatText(Supp_Translate("Line %d of the picture cannot be read."), {toText(std::int64_t{line})}));
}

OpProgress::OpProgress(IProgress* progress, std::int64_t total)
    : m_progress(progress), m_total(std::max<std::int64_t>(1, total)) {
  if (m_progress) m_progress->SetPosition(0);
}

bool OpProgress::reached(std::int64_t done) {
  if (!m_progress) return true;
  const auto position = static_cast<int>(std::clamp<std::int64_t>(done, 0, m_total) * kOpSteps / m_total);
  if (position != m_position) {
    m_position = position;
    m_progress->SetPosition(position);
  }
  return m_progress->IsCancelled() == 0;
}

double resolutionOf(IRStor& raster) {
  constexpr double kUsualDpi = 100;
  const std::uint32_t dpi = raster.GetResolution();
  return dpi > 0 ? dpi : kUsualDpi;
}

KxPtr<IAccessContext> readerOf(IRStor* source) {
  KxPtr<IAccessContext> lines;
  if (source) lines = KxPtr<IAccessContext>::adopt(source->GetAccessContext(0, 0));
  if (!lines) throw CXIFaceException(Supp_Translate("There is no picture whose lines can be read."));
  return lines;
}

std::array<KXRGBQUAD, 256> paletteOf(IRStor& source) {
  std::array<KXRGBQUAD, 256> palette{};
  const auto lines = readerOf(&source);
  const int count = lines->GetColorCount();
  if (count > 0 && count <= 256) lines->GetPalette(palette.data());
  if (count > 0 || source.GetColorSpace() != KxColorSpace::Four) return palette;
  for (std::size_t i = 0; i < 16; ++i) {
    const auto grey = static_cast<std::uint8_t>(i * 17);
    palette[i] = {grey, grey, grey, 0};
  }
  return palette;
}

std::uint8_t whiteEntry(KxColorSpace colorSpace, const std::array<KXRGBQUAD, 256>& palette) noexcept {
  const std::span<const KXRGBQUAD> entries(palette);
  return static_cast<std::uint8_t>(nearestWhite(entries.first(colorSpace == KxColorSpace::Four ? 16 : 256)));
}

void checkSize(std::int64_t width, std::int64_t height) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  if (width > kMost || height > kMost) {
    throw CXIFaceException(
        formatText(Supp_Translate("A picture of %d x %d pixels is too large. Crop the page first."),
                   {toText(width), toText(height)}));
  }
}

KxPtr<RasterBase> newLike(IRStor& source, std::int64_t width, std::int64_t height) {
  checkSize(width, height);
  const auto made = new_IRStor(source.GetColorSpace(), static_cast<std::int32_t>(width),
                               static_cast<std::int32_t>(height), source.GetResolution());
  auto raster = made.as<RasterBase>();
  if (const auto target = made.as<IPalContext>()) {
    const auto palette = paletteOf(source);
    target->SetPalette(palette.data(), std::min(256, readerOf(&source)->GetColorCount()));
  }
  if (const auto colors = query<IRStorColors>(&source)) {
    raster->SetBackground(colors->GetBackground());
    raster->SetBlankColor(colors->GetBlankColor());
  }
  return raster;
}

PixelReader::PixelReader(IRStor& source)
    : m_lines(readerOf(&source)),
      m_four(source.GetColorSpace() == KxColorSpace::Four),
      m_stored(storedWidth(source)),
      m_packed(m_four ? static_cast<std::size_t>(m_stored) / 2 + 1 : 0) {}

void PixelReader::read(std::int32_t line, std::int32_t x, std::int32_t count, std::uint8_t* out) {
  if (count <= 0) return;
  const std::int32_t low = m_four ? x / 2 * 2 : x;
  const std::int32_t high = m_four ? std::min((x + count + 1) / 2 * 2, m_stored) : x + count;
  if (!m_lines->ReadLine(line, low, high - low, m_four ? m_packed.data() : out)) cannotReadLine(line);
  if (!m_four) return;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t at = x - low + i;
    const std::uint8_t pair = m_packed[static_cast<std::size_t>(at / 2)];
    out[i] = static_cast<std::uint8_t>(at % 2 == 0 ? pair >> 4 : pair & 15);
  }
}

void reversePixels(std::uint8_t* pixels, std::int32_t count, std::size_t bytes) noexcept {
  const auto reverse = [pixels, count](auto pixel) {
    std::uint8_t* left = pixels;
    std::uint8_t* right = pixels + static_cast<std::size_t>(count) * sizeof(pixel);
    for (; right - left >= static_cast<std::ptrdiff_t>(2 * sizeof(pixel)); left += sizeof(pixel)) {
      right -= sizeof(pixel);
      std::memcpy(&pixel, left, sizeof(pixel));
      std::memcpy(left, right, sizeof(pixel));
      std::memcpy(right, &pixel, sizeof(pixel));
    }
  };
  switch (bytes) {
    case 1: return reverse(std::array<std::uint8_t, 1>{});
    case 3: return reverse(std::array<std::uint8_t, 3>{});
    default: return reverse(std::array<std::uint8_t, 4>{});
  }
}

void reversePacked(std::uint8_t* bits, std::int32_t width) noexcept {
  const auto bytes = (static_cast<std::size_t>(width) + 7) / 8;
  std::reverse(bits, bits + bytes);
  const auto spare = static_cast<unsigned>(8 * bytes - static_cast<std::size_t>(width));
  // The spare bits have come to the left end: the line moves there by as many.
  unsigned next = 0;
  for (std::size_t i = bytes; i-- > 0;) {
    const auto turned = static_cast<unsigned>(reverseBits(std::uint64_t{bits[i]}) >> 56);
    bits[i] = static_cast<std::uint8_t>(turned << spare | next);
    next = spare ? turned >> (8 - spare) : 0;
  }
}

void packFour(const std::uint8_t* indices, std::int32_t count, std::uint8_t* out) noexcept {
  for (std::int32_t i = 0; i + 1 < count; i += 2) {
    out[i / 2] = static_cast<std::uint8_t>(indices[i] << 4 | (indices[i + 1] & 15));
  }
}

RunReader::RunReader(IRStor& source) : m_lines(readerOf(&source).as<IARSContext>()) {
  if (!m_lines) throw CXIFaceException(Supp_Translate("There is no picture whose lines can be read."));
}

RunView RunReader::read(std::int32_t line) {
  const std::uint32_t* runs = m_lines->GetLinePointer(line);
  if (!runs) cannotReadLine(line);
  return {runs, m_lines->GetLineSize(line) / 8 - 1};
}

}  // namespace quillbay
