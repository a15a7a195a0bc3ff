// Mutated PNG files get right checksums: a reader throws away a chunk with a wrong one before it looks at it.
#include <zlib.h>

#include <cstddef>
#include <cstdint>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t room);

namespace {

constexpr std::size_t kSignature = 8, kAround = 12;  // bytes; length, type and checksum of a chunk

std::uint32_t bigEndian(const std::uint8_t* at) {
  return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

void sealChunks(std::uint8_t* data, std::size_t size) {
  for (std::size_t at = kSignature; at + kAround <= size;) {
    const std::uint32_t length = bigEndian(data + at);
    if (length > size - at - kAround) return;
    const auto sum = static_cast<std::uint32_t>(crc32(0, data + at + 4, length + 4));
    for (int i = 0; i < 4; ++i)
      data[at + 8 + length + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    at += length + kAround;
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t room,
                                               unsigned seed) {
  size = LLVMFuzzerMutate(data, size, room);
  if (seed % 8 != 0) sealChunks(data, size);
  return size;
}
