#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "scanners/sane/sane_option.h"

namespace quillbay {

[[nodiscard]] inline bool contains(std::string_view text, std::string_view part) noexcept {
  return text.find(part) != std::string_view::npos;
}

/// From where a device takes its documents, as its options say: "source", and for both sides of a sheet "adf-mode"
/// or "duplex". A device without them has no source that could be chosen.
class SaneSources {
 public:
  using Settings = std::vector<std::pair<std::string, std::string>>;  ///< options and their values
  struct Choice {
    UnitSource source = UnitSource::Flatbed;
    Settings settings;  ///< what chooses it
  };

  SaneSources() = default;
  explicit SaneSources(const std::vector<SaneOption>& options);

  /// In the order of `UnitSource`, each at most once.
  [[nodiscard]] const std::vector<Choice>& choices() const noexcept { return m_choices; }
  /// What is chosen with these settings over the device's own.
  [[nodiscard]] UnitSource current(const Settings& wanted = {}) const;
  [[nodiscard]] bool isFeeder() const { return current() != UnitSource::Flatbed; }

 private:
  void findChoices(const std::vector<SaneOption>& options);
  void add(UnitSource source, Settings settings);

  std::vector<Choice> m_choices;
  Settings m_now;             // of the options that choose
  std::string m_sides;        // the option for both sides, or empty
  std::string m_one, m_both;  // its values
};

/// What a source's name in "source" stands for.
[[nodiscard]] UnitSource sourceOf(const std::string& name);

}  // namespace quillbay
