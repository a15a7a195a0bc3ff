#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "analysis/bound_detect.h"

namespace quillbay {

/// Bound detection in a prescan that is too long to be kept, row by row while it arrives: what `IBoundDetect` finds
/// in it, with the skew of its beginning. Keeps an extent for each row.
class RollBounds {
 public:
  /// `beginning`: what has come before; its stripes are kept for the skew.
  RollBounds(BoundStripes beginning, const BoundSettings& settings);
  /// The next stripe; one that does not fit those before is left out.
  void add(IScanBuffer* stripe);
  /// At the end. The angle is 0 without a skew. Throws CXMemException.
  [[nodiscard]] std::optional<KxRect> detect(const BoundServices& services, double* angle);

 private:
  void addRows(const BoundStripes& stripes);

  const BoundStripes m_beginning;
  const BoundSettings m_settings;
  RowExtentFinder m_finder;
  std::vector<RowExtent> m_extents;  // of all rows but the last
  std::vector<std::uint8_t> m_current, m_room;
  std::int64_t m_rows = 0;
};

}  // namespace quillbay
