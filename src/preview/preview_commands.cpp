#include "preview/preview_commands.h"

#include <cmath>

namespace quillbay {

PreviewButton buttonOf(int command, const PreviewCondition& c) noexcept {
  using namespace preview_command;
  switch (command) {
    case Prescan:
    case AreaPrescan:
    case Stop: return {!c.docked && c.controllerAllows, false, !c.docked};
    case NewArea: return {c.controllerAllows && c.rectValid && c.hasPicture, c.drawsArea};
    case NewFragment:
      return {c.controllerAllows && c.rectValid && c.hasPicture, c.drawsFragment || c.showsFragment};
    case AreaFromFragment: return {c.controllerAllows && c.showsFragment};
    case ScanFragment: return {c.controllerAllows && c.rectValid};
    case DisableUpdating: return {true, c.updatingDisabled};
    case Dock: return {!c.docked, false, !c.docked};
    case Float: return {c.docked, false, c.docked};
    default: return {};
  }
}

tagRRECT areaOfFragment(const tagRRECT& fragment, std::int32_t centring) noexcept {
  if (centring != kNeverCentres) return fragment;
  return {0, 0, fragment.width(), fragment.height()};
}

bool isFrameScanned(const ScanValues& v) noexcept {
  constexpr double kTolerance = 0.001;
  const auto near = [](double a, double b) { return std::abs(a - b) <= kTolerance; };
  const tagRRECT& a = v.lastScanArea;
  const tagRRECT& b = v.rcPreview;
  return near(a.left, b.left) && near(a.top, b.top) && near(a.right, b.right) && near(a.bottom, b.bottom);
}

}  // namespace quillbay
