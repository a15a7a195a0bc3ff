#pragma once
#include <cstdint>
#include <optional>

#include "platform/binarization.h"
#include "platform/straightening.h"

namespace quillbay {

/// Where a straightened sheet lies in the upright box that was scanned, in pixels.
struct DeskewLayout {
  std::int32_t width = 0;  ///< of the sheet
  KxSize offset;           ///< for `CreateDynamicRasterRotator`
  bool operator==(const DeskewLayout&) const = default;
};

/// The layout at `dpi` (`sheetWidth`), or nothing for an angle up to 0.001 either way, one over 45 degrees, one
/// that is no number, and an area that no sheet of this skew fills. "Auto Width" knows no length yet: it is that of
/// a sheet as long as 1.41428 times the area's width.
[[nodiscard]] std::optional<DeskewLayout> layoutOf(const StraighteningBasis& basis, std::uint32_t dpi);

/// Straightens a scan's stripes while they arrive: hands on stripes of at least 128 lines, and the rest at the end.
/// Without a skew stripes pass as they are. `Begin` comes before the scanner's thread calls `Pass`.
class DeskewStage final : public IStraightening {
 public:
  /// Makes an empty stripe that offers `IRasterFiller`: resolution, size (its height is room), palette (or null).
  using BufferFactory = KxPtr<IScanBuffer> (*)(std::uint32_t dpi, KxSize size, KxColorSpace colorSpace,
                                               const KXRGBQUAD* palette);
  explicit DeskewStage(BufferFactory newBuffer) : m_newBuffer(newBuffer) {}

  void Begin(const StraighteningBasis& basis) override;
  /// Throws CXMemException.
  KxPtr<IScanBuffer> Pass(IScanBuffer* stripe, std::int64_t extra) override;

 private:
  /// The rotator's output: fills the stripe that is to be handed on next.
  class Filler final : public CKxUnknownImplStatic<IRasterFiller> {
   public:
    int AddLine(std::int32_t line, const std::uint8_t* bytes) override {
      return m_to ? m_to->AddLine(line, bytes) : 0;
    }
    void fill(KxPtr<IRasterFiller> to) { m_to = std::move(to); }

   private:
    KxPtr<IRasterFiller> m_to;
  };
  void start(IScanBuffer& stripe, const DeskewLayout& layout);
  void newOutput(IScanBuffer& stripe);
  [[nodiscard]] KxPtr<IScanBuffer> takeOutput();

  const BufferFactory m_newBuffer;
  StraighteningBasis m_basis;
  Filler m_filler;
  KxPtr<IDynamicRasterSampler> m_rotator;
  std::int32_t m_width = 0;  // of the output
  KxPtr<IScanBuffer> m_output;
};

}  // namespace quillbay
