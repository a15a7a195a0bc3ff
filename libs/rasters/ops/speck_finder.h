#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quillbay/geometry.h"

namespace quillbay {

/// Finds the 8-connected components of dark pixels that are small, from runs that come line by line. Of the page it
/// keeps the runs of the last lines only: a component that is not small yet is decided as soon as it grows too wide
/// or too high, so no line waits longer than the largest speck is high. One thread.
class SpeckFinder {
 public:
  struct Run {
    std::uint32_t first, last;  ///< inclusive
    std::uint32_t component;    ///< for `isSpeck`; changes with each line
  };
  /// A component that has ended.
  struct Speck {
    KxRect bounds;
    std::uint32_t component;  ///< for `isPartOf`
    std::uint32_t peak;       ///< the greatest that its runs had
  };

  /// Specks are up to `size` pixels wide and high; `kept` further lines are remembered.
  SpeckFinder(std::int32_t size, std::int32_t kept);

  /// The next line's runs, ascending; `peak` is any measure of them.
  void addRun(std::uint32_t first, std::uint32_t last, std::uint32_t peak = 0);
  /// Ends the line. Returns the small components that ended with the line before it; valid until the next call.
  const std::vector<Speck>& endLine();

  /// Lines that were ended.
  [[nodiscard]] std::int32_t lines() const noexcept { return m_lines; }
  /// Lines that all components of a line are decided after: of line `lines() - delay()` and those above.
  [[nodiscard]] std::int32_t delay() const noexcept { return m_size + 2; }
  /// The runs of one of the last `delay()` + `kept` lines.
  [[nodiscard]] const std::vector<Run>& runs(std::int32_t line) const noexcept {
    return m_rows[static_cast<std::size_t>(line) % m_rows.size()];
  }
  /// Whether a run of a decided line belongs to a speck.
  [[nodiscard]] bool isSpeck(const Run& run) noexcept { return !m_components[root(run.component)].large; }
  [[nodiscard]] bool isPartOf(const Run& run, const Speck& speck) noexcept {
    return root(run.component) == root(speck.component);
  }

 private:
  struct Component {
    std::uint32_t parent;
    std::uint32_t peak;
    KxRect bounds;
    bool large;
  };
  [[nodiscard]] std::uint32_t root(std::uint32_t component) noexcept;
  [[nodiscard]] std::uint32_t join(std::uint32_t a, std::uint32_t b) noexcept;
  void measure(Component& c) const noexcept {
    c.large = c.large || c.bounds.right - c.bounds.left > m_size || c.bounds.bottom - c.bounds.top > m_size;
  }
  void collectEnded();
  void forgetUnused();

  const std::int32_t m_size;
  std::int32_t m_lines = 0;
  std::vector<std::vector<Run>> m_rows;  // the last lines, and the one that is being made
  std::size_t m_above = 0;               // the run of the line above that may touch the next one
  std::vector<Component> m_components;   // a forest
  std::size_t m_tidyAt;                  // components from which on the unused ones are looked for
  std::vector<std::uint32_t> m_renamed;
  std::vector<Speck> m_ended;
};

}  // namespace quillbay
