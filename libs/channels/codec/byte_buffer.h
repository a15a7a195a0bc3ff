#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace quillbay {

/// Memory for encoded bytes that is used again and again and is not initialised.
class ByteBuffer {
 public:
  /// Room for at least `bytes`; what was there is lost.
  std::uint8_t* room(std::size_t bytes) {
    if (bytes > m_capacity) {
      m_bytes.reset();
      m_capacity = 0;
      m_bytes = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
      m_capacity = bytes;
    }
    m_size = 0;
    return m_bytes.get();
  }
  /// Room for at least `bytes`, the first `used` kept.
  std::uint8_t* grow(std::size_t used, std::size_t bytes) {
    auto more = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
    if (used > 0) std::memcpy(more.get(), m_bytes.get(), used);
    m_bytes = std::move(more);
    m_capacity = bytes;
    return m_bytes.get();
  }
  void setSize(std::size_t size) noexcept { m_size = size; }
  [[nodiscard]] std::uint8_t* data() noexcept { return m_bytes.get(); }
  [[nodiscard]] const std::uint8_t* data() const noexcept { return m_bytes.get(); }
  [[nodiscard]] std::size_t size() const noexcept { return m_size; }

 private:
  std::unique_ptr<std::uint8_t[]> m_bytes;
  std::size_t m_capacity = 0;
  std::size_t m_size = 0;
};

}  // namespace quillbay
