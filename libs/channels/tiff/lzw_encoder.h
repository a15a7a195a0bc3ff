#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "channels/codec/byte_buffer.h"

namespace quillbay {

/// TIFF's LZW: codes of 9 to 12 bits, first bit highest, widened one code early. One thread.
class LzwEncoder {
 public:
  /// `bytes` as one strip into `out`.
  void encode(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out);

 private:
  static constexpr unsigned kTableBits = 13;  // at most half full: 3837 strings
  static constexpr std::size_t kTableSize = std::size_t{1} << kTableBits;
  // A string (prefix code, byte) in the upper 20 bits, its code in the lower 12; 0 is free.
  std::unique_ptr<std::uint32_t[]> m_table = std::make_unique<std::uint32_t[]>(kTableSize);
};

}  // namespace quillbay
