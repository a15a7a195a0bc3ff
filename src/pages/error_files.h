#pragma once
#include <string>
#include <vector>

#include "quillbay/param.h"

namespace quillbay {

/// The files of one output folder that a script could not process.
struct ErrorItem {
  std::string directory;
  std::string files;  ///< names, separated by ","
};

/// Collects the files that scripts report as not processed, for each output folder.
class CErrorFiles {
 public:
  /// A collector without a name lists nothing.
  explicit CErrorFiles(std::string listName = {}) : m_listName(std::move(listName)) {}
  void setListName(const std::string& name) { m_listName = name; }

  /// A report of a failed file; `directory` is the output folder, `isFlagged` what the report says of itself.
  /// Returns whether the file was listed: not one that is flagged, nor one whose parameters hold
  /// "DontProcessErrors".
  bool add(const std::string& file, IParam* parameters, bool isFlagged, const std::string& directory);
  [[nodiscard]] const std::vector<ErrorItem>& items() const noexcept { return m_items; }
  void clear() { m_items.clear(); }

 private:
  std::string m_listName;
  std::vector<ErrorItem> m_items;
};

}  // namespace quillbay
