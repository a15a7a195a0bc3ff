#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillbay {

/// Turns the grey rows of a page into as many others, one after another. Rows do not change after they were given
/// out until the next call. Nothing is allocated per row.
class RowFilter {
 public:
  virtual ~RowFilter() = default;
  RowFilter() = default;
  RowFilter(const RowFilter&) = delete;
  RowFilter& operator=(const RowFilter&) = delete;
  /// Takes the next row. Returns a finished one, or null while it needs rows below.
  virtual const std::uint8_t* push(const std::uint8_t* row) = 0;
  /// After the page's last row: the next of those that waited for more; null when there is none.
  virtual const std::uint8_t* drain() { return nullptr; }
};

/// A filter that sees `reach` rows above and below its own. Beyond the page its first and last row repeat.
class BandFilter : public RowFilter {
 public:
  /// `width` >= 1, `reach` >= 0.
  BandFilter(std::size_t width, std::size_t reach);
  const std::uint8_t* push(const std::uint8_t* row) final;
  const std::uint8_t* drain() final;

 protected:
  [[nodiscard]] std::size_t width() const noexcept { return m_width; }
  [[nodiscard]] std::size_t reach() const noexcept { return m_reach; }
  /// The row `offset` below the one that is made, -reach to reach.
  [[nodiscard]] const std::uint8_t* row(std::ptrdiff_t offset) const noexcept;
  /// A row enters the band; `leaving` (null while the band fills) is the one that it displaces.
  virtual void enter(const std::uint8_t* entering, const std::uint8_t* leaving);
  /// Makes the row in the middle of the band.
  virtual const std::uint8_t* make() = 0;

 private:
  void take(const std::uint8_t* row);

  std::size_t m_width, m_reach, m_size;
  std::size_t m_taken = 0;  // rows that entered, repeated ones as well
  std::size_t m_waiting;    // rows of the page that are not made yet, at most `m_reach` at its end
  std::vector<std::uint8_t> m_rows;
};

}  // namespace quillbay
