#pragma once
#include <optional>
#include <string>
#include <vector>

#include "params/shared_scan_params.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// A list's entry: what is shown, and what it stands for.
struct ListEntry {
  std::string text;
  int data = 0;
  bool operator==(const ListEntry&) const = default;
};
using ListEntries = std::vector<ListEntry>;

/// The scan modes that the unit offers, with their numbers; modes in grey or colour only when it has colour.
[[nodiscard]] ListEntries modeEntries(IQuillbayUnit& unit, bool hasColor);
/// The entry of `areaEntries` that stands for the papers that are not listed.
inline constexpr int kMorePapers = -2;
/// "Auto", "Auto Width", "Fixed Width", "Custom Size" (0-3), then the papers, each with 4 and its place in
/// `papers`: all of them, or those that are in common use with an entry for more behind them.
[[nodiscard]] ListEntries areaEntries(const std::vector<PaperRecord>& papers, bool all);
/// The size of a paper in the current unit: "210 × 297 mm"; empty without a unit.
[[nodiscard]] std::string paperSizeText(CScanUnits& units, const tagRSIZE& size);
/// The unit's resolutions for a mode, in dots per inch.
[[nodiscard]] ListEntries resolutionEntries(IQuillbayUnit& unit, int mode);

/// The index of the entry that stands for `data`; -1 when there is none.
[[nodiscard]] int indexOfData(const ListEntries& entries, int data) noexcept;
/// The entry before or after `current`, wrapping around at both ends; -1 for an empty list.
[[nodiscard]] int stepIndex(int current, int count, int step) noexcept;

/// Resolutions between which a device takes any value.
struct DpiRange {
  int least = 0, greatest = 0;
  [[nodiscard]] bool holds(int dpi) const noexcept { return dpi >= least && dpi <= greatest; }
};
/// The range of a unit whose resolution is no list.
[[nodiscard]] std::optional<DpiRange> resolutionRange(IQuillbayUnit& unit);

/// A list of the page and the direction that a key of the scanner steps it.
enum class KeyList { None, Mode, Area, Resolution, Preset };
struct KeyStep {
  KeyList list = KeyList::None;
  int step = 0;
  bool operator==(const KeyStep&) const = default;
};
[[nodiscard]] KeyStep keyStep(int key) noexcept;

}  // namespace quillbay
