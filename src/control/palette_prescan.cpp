#include "control/palette_prescan.h"

#include <algorithm>
#include <array>
#include <string>

#include "control/search_scan.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

constexpr int kMostPaletteColors = 256;

/// What of a request changes the colours of a scan, in any form that can be compared.
CKxBlob adjustmentsOf(IParam* request) {
  CKxBlob all;
  const CKxVariant curves = paramValue(request, key::Gamma);
  if (const auto* bytes = curves.get<CKxBlob>()) all = *bytes;
  for (const char* key : {key::Hue, key::Saturation}) {
    const std::string number = std::to_string(paramInt(request, key)) + ' ';
    all.insert(all.end(), number.begin(), number.end());
  }
  return all;
}

}  // namespace

int paletteColors(IParam* request) {
  const CKxVariant lut = paramValue(request, key::Lut);
  if (const auto* bytes = lut.get<CKxBlob>()) return static_cast<int>(colorsOfLut(*bytes).size());
  // A palette that is kept comes without its number.
  const bool isChosen = paramInt(request, key::PaletteMethod) == kPaletteMaps;
  const int otherwise = isChosen ? paramInt(request, key::PaletteColors, kMostPaletteColors) : kMostPaletteColors;
  return paramInt(request, key::PaletteCount, otherwise);
}

bool PalettePrescan::IsNeeded(IParam* request) const {
  if (m_parts.values().currMode != kModePalette) return false;
  return m_detector->NeedsPrescan(request) != 0 || isOutdated(request);
}

/// Whether the request has the palette that is kept, of colours that were adjusted in another way.
bool PalettePrescan::isOutdated(IParam* request) const {
  const bool isComputed = !paramValue(request, key::Palette).isEmpty() && paramValue(request, key::Lut).isEmpty();
  return isComputed && adjustmentsOf(request) != m_adjustments;
}

int PalettePrescan::Run(IParam* request, int dpi, EndCause* cause, UnitFault* fault) {
  const bool makesLut = m_detector->takeLutRequest();
  if (!makesLut && isOutdated(request)) {
    request->SetValue(key::PaletteCount, paletteColors(request));
    request->SetValue(key::Adaptive, 1);
    request->Remove(key::Palette);
    m_detector->DropCache();
  }
  if (!makesLut && paramInt(request, key::Adaptive) == 0) return 0;
  const bool isScanned = scan(request, dpi, cause, fault);
  if (IPalettePage* page = m_detector->page()) page->PaletteChanged();  // the one before may be dropped
  if (!isScanned) return 0;
  std::array<KXRGBQUAD, kMostPaletteColors> palette{};
  const int asked = makesLut ? kMostPaletteColors : paramInt(request, key::PaletteCount, kMostPaletteColors);
  const int count = std::clamp(asked, 1, kMostPaletteColors);
  m_detector->Calculate(count, palette.data());
  if (makesLut) return makeLut(request, palette.data(), cause);
  m_detector->Keep(request, palette.data(), count);
  m_adjustments = adjustmentsOf(request);
  return 1;
}

/// A colour prescan of the request's area, with its adjustments: the colours that are counted are those that the
/// scan maps to the palette.
bool PalettePrescan::scan(IParam* request, int dpi, EndCause* cause, UnitFault* fault) {
  const auto own = new_MemParam();
  Param_CopyTo(request, own.get());
  own->SetValue(key::ImageDpi, dpi);
  own->SetValue(key::Mode, kModeRgb);
  own->SetValue(key::RequestType, kRequestPrescan);
  SearchOutcome outcome = m_parts.search->run(RunState::FindingPalette, own.get(), m_detector.get());
  if (outcome.end == SearchEnd::Complete) return true;
  *cause = causeOf(outcome.end);
  *fault = std::move(outcome.fault);
  return false;
}

/// Writes the file, and lets this scan classify by it.
int PalettePrescan::makeLut(IParam* request, const KXRGBQUAD* palette, EndCause* cause) {
  *cause = EndCause::Output;
  IPalettePage* page = m_detector->page();
  std::string why, file;
  const bool isWritten = page && WriteAutoLut(*page, kMostPaletteColors, palette, &why, &file);
  if (!isWritten || !ReadLutFile(file, request, &why)) {
    if (page) m_parts.host.message(EventKind::Information, why, EventButtons::Ok);
    return 0;
  }
  for (const char* other : {key::Adaptive, key::Palette, key::PaletteCount}) request->Remove(other);
  request->SetValue(key::PaletteMethod, kPaletteClassified);
  request->SetValue(key::LutFileName, file);
  return 1;
}

}  // namespace quillbay
