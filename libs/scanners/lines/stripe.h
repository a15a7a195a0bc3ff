#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "quillbay/scan_buffer.h"

namespace quillbay {

/// Memory for stripes, used again and again: a page of any length costs as many blocks as are in flight.
/// Thread-safe; shared by the stripes that came from it, so that it lives until the last of them went.
class StripePool {
 public:
  using Block = std::unique_ptr<std::uint8_t[]>;
  /// A block of at least `bytes` (uninitialised). Throws CXMemException.
  [[nodiscard]] Block take(std::size_t bytes);
  /// Takes a block back for the next `take` of the same size; others are freed. Keeps at most `kKept` blocks.
  void give(Block block, std::size_t bytes) noexcept;

 private:
  static constexpr std::size_t kKept = 40;
  std::mutex m_mutex;
  std::size_t m_bytes = 0;  // size of the kept blocks
  std::vector<Block> m_blocks;
};

/// The stripe that units hand on. Three shapes:
/// - lines of equal length in one block, filled in place (`data`, `setLineCount`), without a copy;
/// - run lists, appended one after another into one block (`appendRuns`);
/// - packed bitonal lines, filled in place like the first; their run lists are made on demand.
/// Filled by one thread; not changed any more once it was handed to a sink.
class CStripe final : public CKxUnknownImpl<IScanBuffer, IContiguousLines, IPackedLines> {
 public:
  enum class Bitonal { Runs, Packed };
  /// Room for `capacity` lines of `width` pixels; for run lists, for `capacity` lines of about `width` pixels
  /// (grows).
  CStripe(std::shared_ptr<StripePool> pool, KxColorSpace colorSpace, std::int32_t width, std::int32_t capacity,
          std::uint32_t dpi, Bitonal bitonal = Bitonal::Runs);

  /// Lines that a stripe of about 1 MiB holds: at least 16.
  [[nodiscard]] static std::int32_t usualCapacity(KxColorSpace colorSpace, std::int32_t width,
                                                  Bitonal bitonal = Bitonal::Runs) noexcept;

  [[nodiscard]] std::uint8_t* data() noexcept { return m_block.get(); }
  [[nodiscard]] std::size_t lineBytes() const noexcept { return m_lineBytes; }
  [[nodiscard]] std::int32_t capacity() const noexcept { return m_capacity; }
  [[nodiscard]] std::int32_t lineCount() const noexcept { return m_lines; }
  void setLineCount(std::int32_t lines) noexcept { m_lines = lines; }
  void setPalette(const KXRGBQUAD* entries, int count) noexcept;
  /// Bytes that the lines occupy so far.
  [[nodiscard]] std::size_t usedBytes() const noexcept {
    return isRunList(m_colorSpace) ? m_used : m_lineBytes * static_cast<std::size_t>(m_lines);
  }
  /// Appends a run list (ended by `RunEnd`, valid within 0..width-1); copied.
  void appendRuns(const std::uint32_t* runs, std::size_t runCount);

  KxSize* GetSize(KxSize* out) override;
  const std::uint8_t* GetLine(std::int32_t i) override;
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return paletteSize(m_colorSpace); }
  const KXRGBQUAD* GetPalette() override { return m_palette; }
  std::uint32_t GetResolution() override { return m_dpi; }
  int AddToRaster(std::int32_t first, IRStor* raster) override;
  int CreateRaster(IRStor** out) override;
  /// A unit's stripe does not grow: answers 0.
  int AppendBuffer(IScanBuffer* other) override;
  const std::uint8_t* GetBytes() override { return m_block.get(); }
  std::size_t GetStride() override { return m_lineBytes; }
  const std::uint8_t* GetBits() override { return m_block.get(); }
  int QueryInterface(const std::type_info& wanted, void** out) override;

 private:
  ~CStripe() override;
  void makeRuns();

  std::shared_ptr<StripePool> m_pool;
  KxColorSpace m_colorSpace;
  std::int32_t m_width;
  std::int32_t m_capacity;
  std::uint32_t m_dpi;
  bool m_packed;
  std::size_t m_lineBytes;  // 0 for run lists
  std::size_t m_blockBytes;
  StripePool::Block m_block;
  std::int32_t m_lines = 0;
  std::vector<std::size_t> m_offsets;  // run lists: where each line starts in the block
  std::size_t m_used = 0;              // run lists: bytes used of the block
  std::once_flag m_runsMade;           // packed: guards the making of the next, and of the offsets
  std::vector<std::uint32_t> m_runs;   // packed: the run lists, in words
  KXRGBQUAD m_palette[256];
};

}  // namespace quillbay
