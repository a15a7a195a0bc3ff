#include "preview/window_placement.h"

#include <algorithm>

#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {
constexpr double kEdge = 2;

bool overlaps(const tagRRECT& window, const tagRRECT& screen) {
  return window.left < screen.right - kEdge && window.right > screen.left + kEdge &&
         window.top < screen.bottom - kEdge && window.bottom > screen.top + kEdge;
}
}  // namespace

void savePlacement(IParam* section, const WindowPlacement& placement) {
  if (!section) return;
  section->SetValue(placement_key::Flags, placement.flags);
  section->SetValue(placement_key::ShowCommand, placement.showCommand);
  section->SetValue(placement_key::Minimised, placement.minimised);
  section->SetValue(placement_key::Maximised, placement.maximised);
  section->SetValue(placement_key::Normal, placement.normal);
}

std::optional<WindowPlacement> loadPlacement(IParam* section) {
  const CKxVariant flags = paramValue(section, placement_key::Flags);
  const CKxVariant show = paramValue(section, placement_key::ShowCommand);
  const CKxVariant minimised = paramValue(section, placement_key::Minimised);
  const CKxVariant maximised = paramValue(section, placement_key::Maximised);
  const CKxVariant normal = paramValue(section, placement_key::Normal);
  const auto* least = minimised.get<tagRPOINT>();
  const auto* most = maximised.get<tagRPOINT>();
  const auto* own = normal.get<tagRRECT>();
  if (flags.isEmpty() || show.isEmpty() || !least || !most || !own) return std::nullopt;
  WindowPlacement placement{flags.toInt(), show.toInt(), *least, *most, *own};
  if (placement.showCommand == 0) placement.showCommand = static_cast<int>(WindowShow::Normal);
  return placement;
}

WindowShow shownOn(const WindowPlacement& placement, std::span<const tagRRECT> screens) noexcept {
  if (placement.showCommand == static_cast<int>(WindowShow::Minimised)) return WindowShow::Minimised;
  if (placement.showCommand == static_cast<int>(WindowShow::Maximised)) return WindowShow::Maximised;
  const bool seen = std::any_of(screens.begin(), screens.end(),
                                [&](const tagRRECT& screen) { return overlaps(placement.normal, screen); });
  return seen ? WindowShow::Normal : WindowShow::Maximised;
}

}  // namespace quillbay
