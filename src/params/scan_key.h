#pragma once
#include <span>
#include <string_view>
#include <variant>

#include "params/scan_values.h"

namespace quillbay {

/// A scan parameter with a name: where its value is and the key that its change is broadcast under.
template <class T>
struct ScanKey {
  const char* name;
  T ScanValues::*member;
};

namespace scan_key {
inline constexpr ScanKey<std::int32_t> Units{"m_nUnits", &ScanValues::units};
inline constexpr ScanKey<std::string> PaperName{"m_PaperName", &ScanValues::paperName};
inline constexpr ScanKey<std::string> Dir{"m_Dir", &ScanValues::dir};
inline constexpr ScanKey<std::string> Mask{"m_Mask", &ScanValues::mask};
inline constexpr ScanKey<std::int32_t> Counter{"m_nCounter", &ScanValues::counter};
inline constexpr ScanKey<std::string> CounterFormat{"m_CounterFormat", &ScanValues::counterFormat};
inline constexpr ScanKey<std::int32_t> UseAutoCounter{"m_fUseAutoCounter", &ScanValues::useAutoCounter};
inline constexpr ScanKey<std::int32_t> RectValid{"m_fRectValid", &ScanValues::rectValid};
inline constexpr ScanKey<std::int32_t> BoundDetectDirty{"m_fBoundDetectDirty", &ScanValues::boundDetectDirty};
inline constexpr ScanKey<std::int32_t> MultiPage{"m_fMultiPage", &ScanValues::multiPage};
inline constexpr ScanKey<std::int32_t> CurrMode{"m_CurrMode", &ScanValues::currMode};
inline constexpr ScanKey<std::int32_t> MinDpi{"m_nMinDPI", &ScanValues::minDpi};
inline constexpr ScanKey<std::int32_t> PreviewDpi{"m_nPreviewDPI", &ScanValues::previewDpi};
inline constexpr ScanKey<std::int32_t> Portrait{"m_bPortrait", &ScanValues::portrait};
inline constexpr ScanKey<std::int32_t> Autodetect{"m_dwAutodetect", &ScanValues::autodetect};
inline constexpr ScanKey<std::int32_t> CustomScanValid{"m_fCustomScanValid", &ScanValues::customScanValid};
inline constexpr ScanKey<std::int32_t> Dpi{"m_uiDPI", &ScanValues::dpi};
inline constexpr ScanKey<std::int32_t> ScanType{"m_eScanType", &ScanValues::scanType};
inline constexpr ScanKey<std::int32_t> Bursting{"m_fBursting", &ScanValues::bursting};
inline constexpr ScanKey<std::int32_t> FileFate{"m_fFileFate", &ScanValues::fileFate};
inline constexpr ScanKey<std::int32_t> UpdateRect{"m_fUpdateRect", &ScanValues::updateRect};
inline constexpr ScanKey<std::int32_t> ScannerKeyPressed{"m_ScannerKeyPressed", &ScanValues::scannerKeyPressed};
inline constexpr ScanKey<std::int32_t> Center{"m_fCenter", &ScanValues::center};
inline constexpr ScanKey<tagRRECT> RcScan{"m_rcScan", &ScanValues::rcScan};
inline constexpr ScanKey<tagRRECT> RcPreview{"m_rcPreview", &ScanValues::rcPreview};
inline constexpr ScanKey<tagRRECT> RcCustomScan{"m_rcCustomScan", &ScanValues::rcCustomScan};
}  // namespace scan_key

/// Any of them, for access by name.
using AnyScanKey = std::variant<ScanKey<std::int32_t>, ScanKey<std::string>, ScanKey<tagRRECT>>;

/// All keys, in the order above.
[[nodiscard]] std::span<const AnyScanKey> allScanKeys() noexcept;
/// The key of a name (case-blind), or null.
[[nodiscard]] const AnyScanKey* findScanKey(std::string_view name) noexcept;
[[nodiscard]] const char* nameOf(const AnyScanKey& key) noexcept;

}  // namespace quillbay
