#pragma once
#include <cstdint>
#include <vector>

#include "channels/codec/band_pipeline.h"

namespace quillbay {

/// What a band becomes.
enum class G4Output {
  Block,  ///< a block of its own, with its end
  /// A piece of one block of all bands: no end, and the first line is coded by run lengths alone, which do not
  /// depend on the line above. One more byte follows: the bits, 1 to 8, that the last byte of the piece holds.
  Piece
};

/// CCITT Group 4 (ITU-T T.6) straight from run lists: foreground is black.
class G4Encoder final : public IBandEncoder {
 public:
  explicit G4Encoder(std::int32_t width, G4Output output = G4Output::Block) : m_width(width), m_output(output) {}
  void encode(const Band& band, ByteBuffer& out) override;

 private:
  std::int32_t m_width;
  G4Output m_output;
  std::vector<std::int32_t> m_line, m_above;  // pixels where the colour changes, ended by the width
};

}  // namespace quillbay
