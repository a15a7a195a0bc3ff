#include "stores/stripe_reducer.h"

#include "quillbay/color_space.h"

namespace quillbay {

bool StripeReducer::canReduce(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle:
    case KxColorSpace::Palette:
    case KxColorSpace::Grey:
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return true;
    default: return false;
  }
}

bool StripeReducer::reduce(const std::vector<KxPtr<IScanBuffer>>& stripes, KxSize size, Picture* out) {
  IScanBuffer& first = *stripes.front();
  KxSize scan;
  first.GetSize(&scan);
  out->width = size.width;
  out->height = size.height;
  out->stride = static_cast<std::size_t>(size.width) * 4;
  out->bytes.resize(out->stride * static_cast<std::size_t>(size.height));
  const KxColorSpace colorSpace = first.GetColorSpace();
  if (isRunList(colorSpace)) {
    collectInk(stripes);
    m_ink.reduce(m_inkLines, scan.width, size, out);
    return true;
  }
  collectLines(stripes);
  return m_tones.reduce(m_lines, scan.width, colorSpace, first.GetPalette(), size, out);
}

void StripeReducer::collectLines(const std::vector<KxPtr<IScanBuffer>>& stripes) {
  m_lines.clear();
  for (const auto& stripe : stripes) {
    KxSize size;
    stripe->GetSize(&size);
    for (std::int32_t i = 0; i < size.height; ++i) m_lines.push_back(stripe->GetLine(i));
  }
}

/// A stripe of packed lines is not made to list its runs.
void StripeReducer::collectInk(const std::vector<KxPtr<IScanBuffer>>& stripes) {
  m_inkLines.clear();
  for (const auto& stripe : stripes) {
    KxSize size;
    stripe->GetSize(&size);
    const auto packed = query<IPackedLines>(stripe.get());
    for (std::int32_t i = 0; i < size.height; ++i) {
      InkLine line;
      if (packed) {
        line.bits = packed->GetBits() + static_cast<std::size_t>(i) * packed->GetStride();
      } else {
        line.runs = reinterpret_cast<const std::uint32_t*>(stripe->GetLine(i));
      }
      m_inkLines.push_back(line);
    }
  }
}

}  // namespace quillbay
