#pragma once
#include <array>
#include <atomic>
#include <memory>

#include "quillbay/scan_buffer.h"

namespace quillbay {

/// A stripe of blank lines, however many, in the memory of one: white, or the palette entry nearest to white, or no
/// run. `setLineCount` before it is handed on.
class CIEmptyBuffer final : public CKxUnknownImpl<IScanBuffer> {
 public:
  /// @param size     width in pixels and the number of lines.
  /// @param palette  256 entries for codes 8 and 16, or null (zeros, and a colour count of 0).
  CIEmptyBuffer(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace, const KXRGBQUAD* palette);

  void setLineCount(std::int32_t lines) noexcept { m_size.height = lines; }

  KxSize* GetSize(KxSize* out) override;
  /// The same line for every `i`.
  const std::uint8_t* GetLine(std::int32_t i) override;
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  int GetColorCount() override { return m_colorCount; }
  const KXRGBQUAD* GetPalette() override { return m_palette.data(); }
  std::uint32_t GetResolution() override { return m_dpi; }
  int AddToRaster(std::int32_t first, IRStor* raster) override;
  int CreateRaster(IRStor** out) override;
  /// Blank lines take no others: returns 0.
  int AppendBuffer(IScanBuffer* other) override;

 private:
  ~CIEmptyBuffer() override = default;

  std::uint32_t m_dpi;
  KxSize m_size;
  KxColorSpace m_colorSpace;
  int m_colorCount = 0;
  std::array<KXRGBQUAD, 256> m_palette{};
  std::unique_ptr<std::uint8_t[]> m_line;
};

}  // namespace quillbay
