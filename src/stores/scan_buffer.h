#pragma once
#include <array>
#include <memory>
#include <vector>

#include "quillbay/scan_buffer.h"

namespace quillbay {

/// The panel's own stripe: lines are appended as copies. Run lists are trimmed to the width as they come in, so
/// that whoever reads them gets valid ones. Filled by one thread; not changed any more once it was handed on.
class CIScanBuffer final : public CKxUnknownImpl<IScanBuffer, IRasterFiller, IContiguousLines> {
 public:
  /// @param size     width in pixels and the lines that are expected: room for them is made at once, the buffer
  ///                 begins with none.
  /// @param palette  256 entries for codes 8 and 16, or null (zeros).
  CIScanBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace, const KXRGBQUAD* palette);

  KxSize* GetSize(KxSize* out) override;
  const std::uint8_t* GetLine(std::int32_t i) override;
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return m_colorCount; }
  const KXRGBQUAD* GetPalette() override { return m_palette.data(); }
  std::uint32_t GetResolution() override { return m_dpi; }
  int AddToRaster(std::int32_t first, IRStor* raster) override;
  int CreateRaster(IRStor** out) override;
  /// Appends copies of the lines of another `CIScanBuffer` of the same width and colour space; 0 for all others.
  int AppendBuffer(IScanBuffer* other) override;

  /// Appends a line; `line` is not looked at.
  int AddLine(std::int32_t line, const std::uint8_t* bytes) override;
  /// Drops all lines.
  void clear() noexcept;

  /// Answers for `IContiguousLines` only when all lines lie in one piece.
  int QueryInterface(const std::type_info& wanted, void** out) override;
  const std::uint8_t* GetBytes() override { return m_lines.empty() ? nullptr : m_lines.front().bytes; }
  std::size_t GetStride() override { return fixedLineBytes(m_colorSpace, m_width); }

 private:
  struct LineRecord {
    const std::uint8_t* bytes;
    std::uint32_t length;
  };
  ~CIScanBuffer() override = default;
  [[nodiscard]] std::uint8_t* room(std::size_t bytes);
  void append(const std::uint8_t* bytes, std::size_t length);

  std::uint32_t m_dpi;
  std::int32_t m_width;
  KxColorSpace m_colorSpace;
  int m_colorCount;
  std::array<KXRGBQUAD, 256> m_palette{};
  std::vector<LineRecord> m_lines;
  // The lines' bytes, one after another in a few large chunks rather than an allocation for each line.
  std::size_t m_chunkBytes;
  std::vector<std::unique_ptr<std::uint8_t[]>> m_chunks;
  std::uint8_t* m_free = nullptr;
  std::size_t m_freeBytes = 0;
};

/// A new, empty buffer; fill it through its `IRasterFiller`. The parameters are those of `CIScanBuffer`.
[[nodiscard]] KxPtr<IScanBuffer> newScanBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace,
                                               const KXRGBQUAD* palette);

}  // namespace quillbay
