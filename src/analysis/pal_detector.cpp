#include "analysis/pal_detector.h"

#include <cstring>
#include <utility>

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr std::size_t kPaletteBytes = 256 * sizeof(KXRGBQUAD);

}  // namespace

CPalDetector::CPalDetector(IPalettePage& page, KxPtr<IPalCalculator> calculator)
    : m_page(&page), m_calculator(std::move(calculator)) {}

int CPalDetector::ScanEnded(int) { return 1; }

int CPalDetector::QueryContinue() {
  keep(nullptr, 0);
  return 1;
}

int CPalDetector::ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) {
  m_calculator->Clear();
  return 1;
}

int CPalDetector::StripeArrived(std::int64_t, IScanBuffer* stripe, std::int64_t) {
  KxSize size;
  stripe->GetSize(&size);
  if (size.width <= 0 || size.height <= 0) return 1;
  KxPtr<IRStor> raster;
  const KxRect all{0, 0, size.width, size.height};
  if (stripe->CreateRaster(raster.put()) && m_calculator->AddRaster(raster.get(), &all)) return 1;
  throw CXIFaceException(Supp_Translate("the colours of the prescan cannot be read"));
}

int CPalDetector::NeedsPrescan(IParam* params) const {
  if (m_makesLut) return 1;
  return kept() ? 0 : paramInt(params, key::Adaptive);
}

int CPalDetector::ApplyCache(IParam* params) const { return Param_CopyTo(kept().get(), params); }

void CPalDetector::DropCache() {
  keep(nullptr, 0);
  if (m_page) m_page->PaletteChanged();
}

void CPalDetector::Calculate(int count, KXRGBQUAD* palette) {
  m_calculator->Calculate(count, palette, nullptr, 0);
  m_calculator->Clear();  // its memory, up to 64 MiB
}

void CPalDetector::Keep(IParam* params, const KXRGBQUAD* palette, int count) {
  CKxBlob bytes(kPaletteBytes);
  std::memcpy(bytes.data(), palette, bytes.size());
  auto set = new_MemParam();
  set->SetValue(key::Palette, bytes);
  params->SetValue(key::Palette, std::move(bytes));
  keep(std::move(set), count);
  if (m_page) m_page->PaletteChanged();
}

int CPalDetector::keptColors() const {
  const std::lock_guard lock(m_mutex);
  return m_keptColors;
}

KxPtr<IParam> CPalDetector::kept() const {
  const std::lock_guard lock(m_mutex);
  return m_kept;
}

void CPalDetector::keep(KxPtr<IParam> set, int colors) {
  const std::lock_guard lock(m_mutex);
  m_kept = std::move(set);
  m_keptColors = colors;
}

}  // namespace quillbay
