#pragma once
#include <cstdint>
#include <vector>

#include "platform/picture.h"
#include "quillbay/scan_buffer.h"
#include "stores/ink_reducer.h"
#include "stores/tone_reduction.h"

namespace quillbay {

/// Reduces the lines of stripes to pictures, straight from line bytes, run lists or packed bits. A pixel of the
/// picture is the average of the area that it covers; of bitonal lines it is as dark as its darkest part, scaled by
/// coverage (`InkReducer`). Buffers are kept from call to call. One thread at a time.
class StripeReducer {
 public:
  /// Whether stripes of this colour space have a picture: bitonal ones, and 8, 16, 256 and 512.
  [[nodiscard]] static bool canReduce(KxColorSpace colorSpace) noexcept;

  /// All lines of `stripes` in order as one picture of `size`. The stripes have one width and one colour space,
  /// which has a picture; the palette is the first one's. False when a pixel would cover so many of the scan's that
  /// their sum does not fit (some 2,900 each way): there is no picture then.
  [[nodiscard]] bool reduce(const std::vector<KxPtr<IScanBuffer>>& stripes, KxSize size, Picture* out);

 private:
  void collectLines(const std::vector<KxPtr<IScanBuffer>>& stripes);
  void collectInk(const std::vector<KxPtr<IScanBuffer>>& stripes);

  std::vector<const std::uint8_t*> m_lines;
  std::vector<InkLine> m_inkLines;
  ToneReduction m_tones;
  InkReducer m_ink;
};

}  // namespace quillbay
