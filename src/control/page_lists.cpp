#include "control/page_lists.h"

#include <string_view>

#include "platform/scan_page.h"

namespace quillbay {

const char* helpTopicOf(PageRole role) noexcept {
  switch (role) {
    case PageRole::Main: return "QBHelp:IDH_quillbay_tab_main";
    case PageRole::Setup: return "QBHelp:IDH_quillbay_tab_setting";
    case PageRole::Palette: return "QBHelp:IDH_quillbay_tab_palette";
    case PageRole::Rgb: return "QBHelp:IDH_quillbay_tab_rgb";
    case PageRole::Save: return "QBHelp:IDH_quillbay_tab_save";
    case PageRole::PostProcessing: return "QBHelp:IDH_quillbay_tab_postprocess";
    default: return "QBHelp:IDH_quillbay_tab_bw";
  }
}

std::string destinationTopic(std::string scannerName, std::int32_t destinationMode) {
  for (char& c : scannerName) {
    if (std::string_view("\\\"*?<>|:/ ").find(c) != std::string_view::npos) c = '_';
  }
  const char* own = "IDH_ScanToView";
  if (destinationMode == ScanToFile) own = "IDH_ScanToFile";
  if (destinationMode == ScanToPrint) own = "IDH_ScanToPrint";
  if (destinationMode == ScanToNet) own = "IDH_ScanToNet";
  return scannerName + ':' + own;
}

int createModeOf(PageRole role) noexcept {
  if (role >= PageRole::Bw0 && role <= PageRole::Bw4)
    return static_cast<int>(role) - static_cast<int>(PageRole::Bw0);
  return role == PageRole::Rgb ? kModeRgb : kAllModes;
}

PageLists makePageLists(const std::array<bool, kPageRoles>& available, std::int32_t destinationMode) {
  PageLists lists;
  for (std::int32_t mode = 0; mode < kModeCount; ++mode) {
    std::vector<PageRole> wanted;
    if (mode != kModeDirect) wanted.push_back(PageRole::Main);
    if (mode <= kModeBwCopyAdaptive)
      wanted.push_back(static_cast<PageRole>(static_cast<int>(PageRole::Bw0) + mode));
    if (mode == kModePalette) wanted.push_back(PageRole::Palette);
    if (mode >= kModeGrey && mode <= kModeRgb) wanted.push_back(PageRole::Rgb);
    if (destinationMode == ScanToView) wanted.push_back(PageRole::PostProcessing);
    if (mode != kModeDirect) wanted.push_back(PageRole::Setup);
    if (mode != kModeDirect && destinationMode != ScanToPrint) wanted.push_back(PageRole::Save);
    for (const PageRole role : wanted) {
      if (available[static_cast<std::size_t>(role)]) lists[static_cast<std::size_t>(mode)].push_back(role);
    }
  }
  return lists;
}

}  // namespace quillbay
