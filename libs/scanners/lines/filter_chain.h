#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "scanners/lines/row_filter.h"

namespace quillbay {

/// Filters of a page's rows, one behind another; without any, rows pass as they are.
class FilterChain {
 public:
  template <class Filter, class... Args>
  void add(Args... args) {
    m_filters.push_back(std::make_unique<Filter>(args...));
  }
  [[nodiscard]] bool isEmpty() const noexcept { return m_filters.empty(); }
  /// As of `RowFilter`.
  const std::uint8_t* push(const std::uint8_t* row) { return pushInto(0, row); }
  const std::uint8_t* drain();

 private:
  const std::uint8_t* pushInto(std::size_t index, const std::uint8_t* row);

  std::vector<std::unique_ptr<RowFilter>> m_filters;
};

}  // namespace quillbay
