#include "scanners/sane/three_pass.h"

#include <algorithm>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/palette.h"
#include "quillbay/run_list.h"

namespace quillbay {

namespace {

constexpr std::int32_t kGrowth = 4096;  // lines of room beyond what is needed, for pages of unknown length

void spread(const std::uint8_t* samples, std::size_t width, std::uint8_t* rgb) noexcept {
  for (std::size_t x = 0; x < width; ++x) rgb[3 * x] = samples[x];
}

}  // namespace

ThreePassPage::ThreePassPage(std::int32_t width, std::int64_t lines, std::uint32_t dpi)
    : m_width(width),
      m_samples(static_cast<std::size_t>(width)),
      m_other(static_cast<std::size_t>(width)),
      m_rgb(static_cast<std::size_t>(width) * 3) {
  const auto height = static_cast<std::int32_t>(std::clamp<std::int64_t>(lines, 0, INT32_MAX));
  for (Kept& kept : m_kept) {
    kept.raster = new_IRStor(KxColorSpace::Grey, width, height, dpi);
    kept.context = KxPtr<IAccessContext>::adopt(kept.raster->GetAccessContext(1, 0));
  }
}

void ThreePassPage::nextPass() noexcept {
  ++m_pass;
  m_line = 0;
}

void ThreePassPage::toBytes(const std::uint8_t* bytes, int depth) noexcept {
  if (depth == 8) {
    std::copy_n(bytes, m_samples.size(), m_samples.data());
    return;
  }
  if (depth == 1) {
    bitsToBytes(bytes, m_samples.size(), 0, 255, m_samples.data());
  } else {
    highBytes(bytes, m_samples.size(), m_samples.data());
  }
}

void ThreePassPage::growTo(Kept& kept, std::int32_t lines) {
  const std::int32_t height = kept.raster->GetHeight();
  if (lines <= height) return;
  const KxPtr<IRStorAddStripe> grow = kept.raster.as<IRStorAddStripe>();
  if (!grow || !grow->AddLines(0, height, kGrowth))
    throw CXMemException(
        Supp_Translate("The passes of a colour page could not be kept: the raster does not grow."));
  kept.context = KxPtr<IAccessContext>::adopt(kept.raster->GetAccessContext(1, 0));
}

void ThreePassPage::keepLine(int channel) {
  Kept& kept = m_kept[m_pass];
  kept.channel = channel;
  growTo(kept, m_line + 1);
  if (!kept.context || !kept.context->WriteLine(m_line, 0, m_width, m_samples.data()))
    throw CXMemException(
        Supp_Translate("The passes of a colour page could not be kept: a line could not be written."));
  kept.lines = m_line + 1;
}

const std::uint8_t* ThreePassPage::takeLine(int channel, const std::uint8_t* bytes, int depth) {
  toBytes(bytes, depth);
  if (m_pass < 2) {
    keepLine(channel);
    ++m_line;
    return nullptr;
  }
  if (m_line >= std::min(m_kept[0].lines, m_kept[1].lines)) return nullptr;
  spread(m_samples.data(), m_samples.size(), m_rgb.data() + channel);
  for (Kept& kept : m_kept) {
    kept.context->ReadLine(m_line, 0, m_width, m_other.data());
    spread(m_other.data(), m_other.size(), m_rgb.data() + kept.channel);
  }
  ++m_line;
  return m_rgb.data();
}

}  // namespace quillbay
