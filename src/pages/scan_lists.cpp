#include "pages/scan_lists.h"

#include <algorithm>

#include "platform/base_services.h"
#include "widgets/length_spin.h"

namespace quillbay {

ListEntries modeEntries(IQuillbayUnit& unit, bool hasColor) {
  ListEntries entries;
  for (int mode = kModeBwThreshold; mode <= kModeRgb; ++mode) {
    if (mode >= kModeGrey && !hasColor) continue;
    if (unit.HasMode(mode)) entries.push_back({Supp_Translate(modeName(mode)), mode});
  }
  return entries;
}

ListEntries areaEntries(const std::vector<PaperRecord>& papers, bool all) {
  ListEntries entries{{Supp_Translate("Auto"), kAreaAuto},
                      {Supp_Translate("Auto Width"), kAreaAutoWidth},
                      {Supp_Translate("Fixed Width"), kAreaFixedWidth},
                      {Supp_Translate("Custom Size"), kAreaCustom}};
  bool more = false;
  for (std::size_t i = 0; i < papers.size(); ++i) {
    more = more || papers[i].more;
    if (all || !papers[i].more) entries.push_back({papers[i].name, kAreaPaper + static_cast<int>(i)});
  }
  if (more && !all) entries.push_back({Supp_Translate("More papers..."), kMorePapers});
  return entries;
}

std::string paperSizeText(CScanUnits& units, const tagRSIZE& size) {
  ILinearUnit* unit = units.current();
  if (!unit) return {};
  const auto shortened = [&](double mm) {
    std::string text = lengthFieldText(units, mm);
    if (text.find_first_of(".,") == std::string::npos) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.') || text.ends_with(',')) text.pop_back();
    return text;
  };
  return shortened(size.cx) + " × " + shortened(size.cy) + ' ' + unit->GetName();
}

ListEntries resolutionEntries(IQuillbayUnit& unit, int mode) {
  std::vector<UnitResolution> offered;
  unit.GetResolutions(&offered, mode);
  ListEntries entries;
  for (const UnitResolution& one : offered) entries.push_back({one.text, one.dpi});
  return entries;
}

int indexOfData(const ListEntries& entries, int data) noexcept {
  const auto found =
      std::find_if(entries.begin(), entries.end(), [data](const ListEntry& e) { return e.data == data; });
  return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
}

int stepIndex(int current, int count, int step) noexcept {
  if (count <= 0) return -1;
  if (current < 0) return step > 0 ? 0 : count - 1;
  return (current + step % count + count) % count;
}

std::optional<DpiRange> resolutionRange(IQuillbayUnit& unit) {
  const auto range = query<IUnitResolutionRange>(&unit);
  std::int32_t lowest = 0, highest = 0;
  for (int mode = 0; range && mode < kModeDirect; ++mode) {
    if (unit.HasMode(mode) && range->GetRange(mode, &lowest, &highest)) return DpiRange{lowest, highest};
  }
  const auto options = query<IUnitOptions>(&unit);
  if (!options) return std::nullopt;
  for (const UnitOption& option : options->GetOptions()) {
    if (option.name != "resolution" || option.range.empty()) continue;
    const auto dots = option.range.find("..");
    const auto blank = option.range.find(' ');
    double least = 0, greatest = 0;
    if (dots == std::string::npos || !parseNumber(std::string_view(option.range).substr(0, dots), &least) ||
        !parseNumber(std::string_view(option.range).substr(dots + 2, blank - dots - 2), &greatest))
      return std::nullopt;
    return DpiRange{std::max(1, static_cast<int>(least)), static_cast<int>(std::min(greatest, 1e6))};
  }
  return std::nullopt;
}

KeyStep keyStep(int key) noexcept {
  switch (key) {
    case 12: return {KeyList::Mode, 1};
    case 18: return {KeyList::Mode, -1};
    case 11: return {KeyList::Area, 1};
    case 17: return {KeyList::Area, -1};
    case 13: return {KeyList::Resolution, 1};
    case 19: return {KeyList::Resolution, -1};
    case 16: return {KeyList::Preset, 1};
    case 14: return {KeyList::Preset, -1};
    default: return {};
  }
}

}  // namespace quillbay
