#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace quillbay {

/// What a raster keeps to: taken from the process's setting when the raster is made.
struct RasterPolicy {
  std::int64_t budgetBytes = 0;
  std::string scratchFolder;
  bool allowMemoryBacked = false;
};

/// The process's setting (`SetRasterBudget`). Any thread.
[[nodiscard]] RasterPolicy currentRasterPolicy();

/// Bytes of memory that all rasters of the process hold now, scratch files not counted. Any thread.
[[nodiscard]] std::int64_t rasterMemoryInUse() noexcept;

/// Zeroed memory that counts towards the budget and is returned to the system when the object is destroyed.
class BudgetedMemory {
 public:
  /// Null when `bytes` more would exceed `budgetBytes`, or the system has none.
  [[nodiscard]] static BudgetedMemory take(std::size_t bytes, std::int64_t budgetBytes) noexcept;

  BudgetedMemory() = default;
  BudgetedMemory(BudgetedMemory&& o) noexcept;
  BudgetedMemory& operator=(BudgetedMemory o) noexcept;
  ~BudgetedMemory();

  [[nodiscard]] std::uint8_t* data() const noexcept { return m_data; }

 private:
  std::uint8_t* m_data = nullptr;
  std::size_t m_bytes = 0;
};

}  // namespace quillbay
