#include "analysis/deskew_stage.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "analysis/sheet_model.h"
#include "quillbay/scan_mode.h"

namespace quillbay {
namespace {

/// The least number of lines that is handed on.
constexpr std::int32_t kLeastLines = 128;

[[nodiscard]] std::int32_t truncated(double v) noexcept {
  constexpr double kMost = 1 << 30;
  return static_cast<std::int32_t>(std::clamp(v + 0.5, -kMost, kMost));
}

/// Grey lines keep their tones: their palette is not looked at.
[[nodiscard]] const KXRGBQUAD* paletteOf(IScanBuffer& stripe) {
  return stripe.GetColorCount() > 0 ? stripe.GetPalette() : nullptr;
}

}  // namespace

std::optional<DeskewLayout> layoutOf(const StraighteningBasis& basis, std::uint32_t dpi) {
  const double a = std::abs(basis.skew);
  if (!(a > kLeastSkew) || a > std::numbers::pi / 4 + kLeastSkew) return std::nullopt;
  const double boxWidth = mmToPixels(basis.area.right - basis.area.left, dpi);
  const double boxHeight = basis.scanType == kAreaAutoWidth ? boxWidth * kSheetLength
                                                            : mmToPixels(basis.area.bottom - basis.area.top, dpi);
  const double t = std::tan(a), width = sheetWidth(boxWidth, boxHeight, a);
  if (!(width >= 1)) return std::nullopt;
  DeskewLayout out;
  out.width = truncated(width);
  out.offset = {basis.skew > 0 ? 0 : truncated(boxWidth - width), truncated((boxWidth * t - width * t) * 0.5)};
  return out;
}

void DeskewStage::Begin(const StraighteningBasis& basis) {
  m_basis = basis;
  m_rotator = {};
  m_filler.fill({});
  m_output = {};
}

void DeskewStage::start(IScanBuffer& stripe, const DeskewLayout& layout) {
  KxSize size;
  stripe.GetSize(&size);
  m_rotator = CreateDynamicRasterRotator(stripe.GetColorSpace(), size.width, layout.offset, m_basis.skew, &m_filler,
                                         paletteOf(stripe));
  m_width = std::min(layout.width, m_rotator->GetLineWidth());
}

void DeskewStage::newOutput(IScanBuffer& stripe) {
  KxSize size;
  stripe.GetSize(&size);
  m_output = m_newBuffer(stripe.GetResolution(), {m_width, size.height}, stripe.GetColorSpace(), paletteOf(stripe));
  m_filler.fill(m_output.as<IRasterFiller>());
}

KxPtr<IScanBuffer> DeskewStage::takeOutput() {
  m_filler.fill({});
  return std::exchange(m_output, {});
}

KxPtr<IScanBuffer> DeskewStage::Pass(IScanBuffer* stripe, std::int64_t /*extra*/) {
  if (!stripe) {
    if (!m_rotator) return {};
    m_rotator->AddRow(nullptr, 1);
    m_rotator = {};
    return takeOutput();
  }
  const auto layout = layoutOf(m_basis, stripe->GetResolution());
  if (!layout) return KxPtr<IScanBuffer>::share(stripe);
  if (!m_rotator) start(*stripe, *layout);
  if (!m_output) newOutput(*stripe);
  KxSize size;
  stripe->GetSize(&size);
  for (std::int32_t i = 0; i < size.height; ++i) m_rotator->AddRow(stripe->GetLine(i), 0);
  m_output->GetSize(&size);
  if (size.height < kLeastLines) return {};
  auto ready = takeOutput();
  newOutput(*stripe);
  return ready;
}

}  // namespace quillbay
