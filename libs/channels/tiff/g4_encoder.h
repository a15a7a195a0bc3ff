#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/band_pipeline.h"

namespace quillbay {

/// CCITT Group 4 (ITU-T T.6) straight from run lists: foreground is black, each band is a block of its own.
class G4Encoder final : public IBandEncoder {
 public:
  explicit G4Encoder(std::int32_t width) : m_width(width) {}
  void encode(const Band& band, ByteBuffer& out) override;

 private:
  std::int32_t m_width;
  std::vector<std::int32_t> m_line, m_above;  // pixels where the colour changes, ended by the width
};

}  // namespace quillbay
