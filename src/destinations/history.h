#pragma once
#include <string>
#include <vector>

#include "quillbay/app.h"

namespace quillbay {

/// The folders and masks that were used before, newest first, kept in the host's profile.
class History {
 public:
  static constexpr std::size_t kMost = 16;

  /// `name` is "Dir" or "Mask".
  explicit History(std::string name) : m_name(std::move(name)) {}
  /// `profile` may be null: nothing is known then.
  void load(IProfile* profile);
  /// The first 16; what an earlier run left beyond them goes.
  void save(IProfile* profile) const;
  /// Puts a text on top. Returns false for an empty one and for one that is there already, in any letter case.
  bool add(const std::string& text);
  [[nodiscard]] const std::vector<std::string>& items() const noexcept { return m_items; }

 private:
  [[nodiscard]] KxPtr<IParam> store(IProfile* profile, bool create) const;

  std::string m_name;
  std::vector<std::string> m_items;
};

}  // namespace quillbay
