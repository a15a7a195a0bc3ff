#include "view/view_settings.h"
#include "quillbay/scan_keys.h"

namespace quillbay {
namespace {

/// Colours above 0xFFFFFF are none.
std::optional<std::uint32_t> readColor(IParam* section, const char* key) {
  constexpr std::uint32_t kMost = 0xFFFFFF;
  const auto color = static_cast<std::uint32_t>(paramInt(section, key, static_cast<std::int32_t>(~kMost)));
  return color > kMost ? std::nullopt : std::optional(color);
}

}  // namespace

ViewSettings readViewSettings(IApp* app) {
  ViewSettings s;
  if (const auto profile = query<IProfile>(app)) {
    const auto section = [&](const char* name) { return KxPtr<IParam>::adopt(profile->GetSection(name, 0)); };
    const auto scroll = section(section_name::Scroll);
    s.arrowsScrollStep = paramDouble(scroll.get(), view_key::ArrowsScrollStep, s.arrowsScrollStep);
    s.wheelScaleStep = paramDouble(scroll.get(), view_key::WheelScaleStep, s.wheelScaleStep);
    s.cursor = readColor(section("Cursor").get(), "Color");
    s.halfTonePaint = paramInt(section("View").get(), "HalfTonePaint", s.halfTonePaint);
  }
  if (const auto colors = query<IStdColorsParam>(app)) {
    s.background = readColor(KxPtr<IParam>::adopt(colors->GetColors()).get(), "Background");
  }
  return s;
}

}  // namespace quillbay
