#pragma once
#include <array>

#include "params/scan_values.h"

namespace quillbay {

/// Numbers of the preview page's commands. The panel has those up to `Scan` as well.
namespace preview_command {
inline constexpr int Stop = 106;
inline constexpr int Prescan = 107;
inline constexpr int AreaPrescan = 32813;
inline constexpr int Scan = 1231;
inline constexpr int HandOver = 6502;  ///< the page in the destination's store goes to the destination
inline constexpr int NewArea = 32795;
inline constexpr int NewFragment = 32805;
inline constexpr int AreaFromFragment = 32799;
inline constexpr int ScanFragment = 32810;
inline constexpr int DisableUpdating = 32816;
inline constexpr int Dock = 32796;
inline constexpr int Float = 32797;
inline constexpr std::array kAll{Prescan,      AreaPrescan,     Stop, NewArea, NewFragment, AreaFromFragment,
                                 ScanFragment, DisableUpdating, Dock, Float};
}  // namespace preview_command

/// What the commands of the preview page depend on.
struct PreviewCondition {
  bool controllerAllows = false;  ///< the controller's own rule for the command
  bool rectValid = false;         ///< `key::RectValid`
  bool hasPicture = false;        ///< the preview store is not empty
  bool drawsArea = false;         ///< the new-preview-area mode
  bool drawsFragment = false;     ///< the new-fragment mode
  bool showsFragment = false;
  bool updatingDisabled = false;  ///< `key::DisablePreview`
  bool docked = true;
};

struct PreviewButton {
  bool enabled = false, checked = false, shown = true;
  bool operator==(const PreviewButton&) const = default;
};
[[nodiscard]] PreviewButton buttonOf(int command, const PreviewCondition& condition) noexcept;

/// The scan area that a fragment becomes. A scanner that never centres has its areas at the origin.
[[nodiscard]] tagRRECT areaOfFragment(const tagRRECT& fragment, std::int32_t centring) noexcept;

/// Whether the last area that was scanned is the one that the preview frame shows.
[[nodiscard]] bool isFrameScanned(const ScanValues& values) noexcept;

}  // namespace quillbay
