#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "channels/pdf/byte_source.h"

namespace quillbay {

/// Lines of CCITT Group 4 (ITU-T T.6), one after the other, so that memory does not grow with the picture.
class G4Decoder {
 public:
  struct Setup {
    std::int32_t width = 0;
    bool alignsBytes = false;  ///< each line starts at a whole byte
  };
  G4Decoder(std::unique_ptr<ByteSource> from, const Setup& setup);
  /// The next line, packed, 1 is black. Throws ModuleError: QB_E_TRUNCATED where the block ends.
  void readLine(std::uint8_t* out);

 private:
  [[nodiscard]] std::uint32_t peek(int bits);
  void skip(int bits);
  std::int32_t readRun(bool black);
  std::int32_t readPiece(bool black);
  void readChanges();
  [[noreturn]] void failCode();

  std::unique_ptr<ByteSource> m_from;
  Setup m_setup;
  std::vector<std::uint8_t> m_input;
  std::size_t m_next = 0, m_filled = 0;
  std::uint64_t m_bits = 0;  // the lowest `m_count` bits are those that come next
  int m_count = 0;
  bool m_atEnd = false;        // bits behind the end are zeros
  std::int64_t m_missing = 0;  // of those that were taken
  bool m_failed = false;
  std::vector<std::int32_t> m_line, m_above;  // pixels where the colour changes, ended by the width
};

}  // namespace quillbay
