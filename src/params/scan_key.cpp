#include "params/scan_key.h"

#include <algorithm>
#include <array>

#include "platform/base_services.h"

namespace quillbay {

namespace {
constexpr std::array<AnyScanKey, 26> kKeys{{
    {scan_key::Units},
    {scan_key::PaperName},
    {scan_key::Dir},
    {scan_key::Mask},
    {scan_key::Counter},
    {scan_key::CounterFormat},
    {scan_key::UseAutoCounter},
    {scan_key::RectValid},
    {scan_key::BoundDetectDirty},
    {scan_key::MultiPage},
    {scan_key::CurrMode},
    {scan_key::MinDpi},
    {scan_key::PreviewDpi},
    {scan_key::Portrait},
    {scan_key::Autodetect},
    {scan_key::CustomScanValid},
    {scan_key::Dpi},
    {scan_key::ScanType},
    {scan_key::Bursting},
    {scan_key::FileFate},
    {scan_key::UpdateRect},
    {scan_key::ScannerKeyPressed},
    {scan_key::Center},
    {scan_key::RcScan},
    {scan_key::RcPreview},
    {scan_key::RcCustomScan},
}};
}  // namespace

std::span<const AnyScanKey> allScanKeys() noexcept { return kKeys; }

const char* nameOf(const AnyScanKey& key) noexcept {
  return std::visit([](const auto& k) { return k.name; }, key);
}

const AnyScanKey* findScanKey(std::string_view name) noexcept {
  const auto* found =
      std::find_if(kKeys.begin(), kKeys.end(), [&](const auto& k) { return sameKey(nameOf(k), name); });
  return found == kKeys.end() ? nullptr : found;
}

}  // namespace quillbay
