#pragma once
#include <string>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/param.h"

namespace quillbay {

/// The sets of print options that a page can be printed with: the host's current ones, automatic ones, and the
/// templates. User-interface thread.
class PrintOptionsList {
 public:
  enum class Kind { Current, Auto, Template };
  struct Entry {
    Kind kind;
    std::string text;     ///< for people
    std::string carried;  ///< what settings keep: a fixed text, or the template's path
  };

  /// `automatic`: the set of `Kind::Auto`, shared.
  PrintOptionsList(KxPtr<IApp> app, KxPtr<IParam> automatic);
  /// Looks for the templates again. Returns whether the list is another one now.
  bool rebuild();
  [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return m_entries; }
  /// The entry that carries this text; 0 when none does.
  [[nodiscard]] int find(const std::string& carried) const;
  /// The options of an entry: a copy of the current ones, the automatic set itself, or what the template holds.
  /// Null with the reason in `*why` (may be null).
  [[nodiscard]] KxPtr<IParam> options(int entry, std::string* why) const;

 private:
  const KxPtr<IApp> m_app;
  const KxPtr<IParam> m_automatic;
  std::vector<Entry> m_entries;
};

}  // namespace quillbay
