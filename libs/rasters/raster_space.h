#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "rasters/raster_memory.h"
#include "rasters/scratch_file.h"

namespace quillbay {

/// All the room of one raster: memory while the process's budget allows it, then a scratch file mapped into memory.
/// Everything is deleted with the raster. Used by the raster's writer only.
class RasterSpace {
 public:
  explicit RasterSpace(RasterPolicy policy) : m_policy(std::move(policy)) {}
  ~RasterSpace();
  RasterSpace(const RasterSpace&) = delete;
  RasterSpace& operator=(const RasterSpace&) = delete;

  struct Piece {
    std::uint8_t* data = nullptr;
    std::int64_t fileOffset = -1;  ///< -1: memory
  };
  /// Zeroed room of `bytes`, at a page's boundary. Throws CXMemException, whose text names the scratch folder and
  /// `stillNeeded` bytes.
  Piece allocate(std::size_t bytes, std::int64_t stillNeeded);
  /// Null as long as nothing went to the disk.
  [[nodiscard]] const ScratchFile* scratch() const noexcept { return m_file.get(); }

 private:
  struct Window {
    std::uint8_t* data;
    std::size_t bytes;
  };
  void openScratch();
  Piece allocateScratch(std::size_t bytes, std::int64_t stillNeeded);

  RasterPolicy m_policy;
  std::vector<BudgetedMemory> m_memory;
  std::unique_ptr<ScratchFile> m_file;
  std::vector<Window> m_windows;
  std::size_t m_windowUsed = 0;  // bytes of the last window
};

}  // namespace quillbay
