#pragma once
#include <span>
#include <string_view>
#include <variant>

#include "params/scan_values.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

/// A scan parameter with a name: where its value is and the key that its change is broadcast under.
template <class T>
struct ScanKey {
  const char* name;
  T ScanValues::*member;
};

namespace scan_key {
inline constexpr ScanKey<std::int32_t> Units{key::Units, &ScanValues::units};
inline constexpr ScanKey<std::string> PaperName{key::PaperName, &ScanValues::paperName};
inline constexpr ScanKey<std::string> Dir{key::Dir, &ScanValues::dir};
inline constexpr ScanKey<std::string> Mask{key::Mask, &ScanValues::mask};
inline constexpr ScanKey<std::int32_t> Counter{key::Counter, &ScanValues::counter};
inline constexpr ScanKey<std::string> CounterFormat{key::CounterFormat, &ScanValues::counterFormat};
inline constexpr ScanKey<std::int32_t> UseAutoCounter{key::UseAutoCounter, &ScanValues::useAutoCounter};
inline constexpr ScanKey<std::int32_t> RectValid{key::RectValid, &ScanValues::rectValid};
inline constexpr ScanKey<std::int32_t> BoundDetectDirty{key::BoundDetectDirty, &ScanValues::boundDetectDirty};
inline constexpr ScanKey<std::int32_t> MultiPage{key::MultiPage, &ScanValues::multiPage};
inline constexpr ScanKey<std::int32_t> CurrMode{key::CurrMode, &ScanValues::currMode};
inline constexpr ScanKey<std::int32_t> MinDpi{key::MinDpi, &ScanValues::minDpi};
inline constexpr ScanKey<std::int32_t> PreviewDpi{key::PreviewDpi, &ScanValues::previewDpi};
inline constexpr ScanKey<std::int32_t> Portrait{key::Portrait, &ScanValues::portrait};
inline constexpr ScanKey<std::int32_t> Autodetect{key::Autodetect, &ScanValues::autodetect};
inline constexpr ScanKey<std::int32_t> CustomScanValid{key::CustomScanValid, &ScanValues::customScanValid};
inline constexpr ScanKey<std::int32_t> Dpi{key::Dpi, &ScanValues::dpi};
inline constexpr ScanKey<std::int32_t> ScanType{key::ScanAreaType, &ScanValues::scanType};
inline constexpr ScanKey<std::int32_t> Bursting{key::Bursting, &ScanValues::bursting};
inline constexpr ScanKey<std::int32_t> FileFate{key::FileFate, &ScanValues::fileFate};
inline constexpr ScanKey<std::int32_t> UpdateRect{key::UpdateRect, &ScanValues::updateRect};
inline constexpr ScanKey<std::int32_t> ScannerKeyPressed{key::ScannerKeyPressed, &ScanValues::scannerKeyPressed};
inline constexpr ScanKey<std::int32_t> Center{key::Center, &ScanValues::center};
inline constexpr ScanKey<tagRRECT> RcScan{key::RcScan, &ScanValues::rcScan};
inline constexpr ScanKey<tagRRECT> RcPreview{key::RcPreview, &ScanValues::rcPreview};
inline constexpr ScanKey<tagRRECT> RcCustomScan{key::RcCustomScan, &ScanValues::rcCustomScan};
}  // namespace scan_key

/// Any of them, for access by name.
using AnyScanKey = std::variant<ScanKey<std::int32_t>, ScanKey<std::string>, ScanKey<tagRRECT>>;

/// All keys, in the order above.
[[nodiscard]] std::span<const AnyScanKey> allScanKeys() noexcept;
/// The key of a name (case-blind), or null.
[[nodiscard]] const AnyScanKey* findScanKey(std::string_view name) noexcept;
[[nodiscard]] const char* nameOf(const AnyScanKey& key) noexcept;

}  // namespace quillbay
