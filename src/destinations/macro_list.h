#pragma once
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "destinations/macro_item.h"

namespace quillbay {

/// The tags that file names know. Thread-safe.
class MacroList {
 public:
  /// `scanTags`: also the tags of mode, resolution and size, which a scanner that uses its own settings has not.
  MacroList(std::string user, bool scanTags);
  /// The list of the process for these settings: without the scan's tags in mode 8.
  [[nodiscard]] static std::shared_ptr<MacroList> process(const ScanValues& values);

  /// Replaces every tag, in any letter case, by its value; unknown tags stay.
  [[nodiscard]] std::string expand(std::string text, const NameContext& context);
  /// Every tag followed by a blank.
  [[nodiscard]] std::string tagList() const;
  /// The text without its known tags.
  [[nodiscard]] std::string withoutTags(std::string text) const;

 private:
  mutable std::mutex m_mutex;  // guards the items: each keeps its last value
  std::vector<std::unique_ptr<CIMacroItem>> m_items;
};

}  // namespace quillbay
