#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/band_pipeline.h"

namespace quillbay {

/// CCITT Group 3 (ITU-T T.4), one-dimensional, straight from run lists: foreground is black. Each line follows an
/// end of line that ends on a byte boundary, so bands that stand one behind another are one strip.
class G3Encoder final : public IBandEncoder {
 public:
  explicit G3Encoder(std::int32_t width) : m_width(width) {}
  void encode(const Band& band, ByteBuffer& out) override;

 private:
  std::int32_t m_width;
  std::vector<std::int32_t> m_line;  // pixels where the colour changes, ended by the width
};

}  // namespace quillbay
