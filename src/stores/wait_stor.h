#pragma once
#include <array>

#include "quillbay/raster.h"
#include "stores/stripe_feed.h"
#include "stores/stripe_readers.h"

namespace quillbay {

/// The raster that a running scan looks like to a file channel: lines come in order, from line 0 on, and reading
/// blocks until they were scanned. The height grows by a stripe at a time, always before the reader of the stripe
/// before has got its last line; a channel reads while line < height.
///
/// Two ways to read, one of them for a page: by the access context (which one follows from the colour space), or by
/// whole stripes as an `IStripeReader`, without copying a line. A stripe's reference goes as soon as the reader has
/// moved on (bitonal lines by pointer: two stripes later).
/// Threads: the reading thread's alone, but for the feed. Embedded in its owner: counts references, never deletes.
class CWaitStor final : public CKxUnknownImplStatic<IRStor, IStripeReader> {
 public:
  explicit CWaitStor(StripeFeed* feed);

  /// Blocks until there is a stripe and makes it the current one. False at the page's end and when the page was
  /// abandoned: then nothing changed.
  bool WaitForNextStripe();
  /// Gives every stripe back and counts anew. Not while a thread reads.
  void dropStripes() noexcept;

  [[nodiscard]] IScanBuffer* current() const noexcept { return m_current.get(); }
  [[nodiscard]] std::int32_t linesInStripe() const noexcept { return m_linesInStripe; }
  [[nodiscard]] int colorCount() const noexcept { return m_colorCount; }
  [[nodiscard]] const KXRGBQUAD* palette() const noexcept { return m_palette.data(); }

  int IsValid() override { return 1; }
  KxColorSpace GetColorSpace() override { return m_colorSpace; }
  KxSize GetSize() override { return {m_width, m_delivered}; }
  std::int32_t GetWidth() override { return m_width; }
  std::int32_t GetHeight() override { return m_delivered; }
  std::uint32_t GetResolution() override { return m_dpi; }
  void Flush() override {}
  int IsTiled() override { return 0; }
  int HasAlpha() override { return 0; }
  int IsModified() override { return 0; }
  int IsReadOnly() override { return 0; }
  int GetLevelCount() override { return 0; }
  int GetPlaneCount() override { return 1; }
  int GetFrameCount() override { return 1; }
  /// The reader that fits the current stripe: 256 and 512 `IRGBContext`, 8 and 16 `IPalContext`, bitonal codes
  /// `IARSContext`; null for others and before the first stripe.
  IAccessContext* GetAccessContext(int mode, int type) override;
  IRStorDraw* GetDrawing() override { return nullptr; }
  std::int32_t GetOriginX() override { return 0; }
  std::int32_t GetOriginY() override { return 0; }
  std::int64_t GetByteCount() override { return 0; }
  int GetGeneration() override { return 0; }

  int NextStripe(IScanBuffer** out, std::int32_t* lines) override;
  int WasAbandoned() override;

 private:
  StripeFeed* m_feed;
  KxPtr<IScanBuffer> m_current;
  bool m_handedOut = false;  // the current stripe went out through `NextStripe`
  std::int32_t m_linesInStripe = 0;
  std::int32_t m_delivered = 0;
  std::int32_t m_width = 0;
  // Of the last stripe, so that they last longer than its reference.
  KxColorSpace m_colorSpace = KxColorSpace::None;
  std::uint32_t m_dpi = 0;
  int m_colorCount = 0;
  std::array<KXRGBQUAD, 256> m_palette{};
  CIRGBContext m_rgb{this};
  CIPalContext m_pal{this};
  CIARSContext m_ars{this};
};

}  // namespace quillbay
