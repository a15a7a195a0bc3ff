#include "stores/stripe_readers.h"

#include <cstring>

#include "stores/wait_stor.h"

namespace quillbay {

void StripeCursor::hold() {
  if (m_held.get() == m_owner->current()) return;
  m_held = KxPtr<IScanBuffer>::share(m_owner->current());
  m_index = 0;
}

void StripeCursor::drop() noexcept {
  m_held = nullptr;
  m_index = 0;
}

const std::uint8_t* StripeCursor::line() const { return m_held ? m_held->GetLine(m_index) : nullptr; }

void StripeCursor::step(KxPtr<IScanBuffer>* left) {
  if (++m_index < m_owner->linesInStripe()) return;
  m_index = 0;
  if (!m_owner->WaitForNextStripe()) return;
  if (left) *left = std::move(m_held);
  m_held = KxPtr<IScanBuffer>::share(m_owner->current());
}

int StripeCursor::copyLine(std::int32_t x, std::int32_t count, void* buffer) {
  const std::uint8_t* bytes = line();
  const std::int32_t width = m_owner->GetWidth();
  if (!bytes || x < 0 || count < 0 || x > width || count > width - x) return 0;
  const auto pixel = static_cast<std::size_t>(bitsPerPixel(m_owner->GetColorSpace())) / 8;
  std::memcpy(buffer, bytes + static_cast<std::size_t>(x) * pixel, static_cast<std::size_t>(count) * pixel);
  step();
  return 1;
}

int CIRGBContext::ReadLine(std::int32_t /*line*/, std::int32_t x, std::int32_t count, void* buffer) {
  return m_cursor.copyLine(x, count, buffer);
}

int CIPalContext::ReadLine(std::int32_t /*line*/, std::int32_t x, std::int32_t count, void* buffer) {
  return m_cursor.copyLine(x, count, buffer);
}

int CIPalContext::GetColorCount() { return m_owner->colorCount(); }

int CIPalContext::GetPalette(KXRGBQUAD* out) {
  const int count = m_owner->colorCount();
  std::memcpy(out, m_owner->palette(), static_cast<std::size_t>(count) * sizeof *out);
  return count;
}

int CIARSContext::ReadLine(std::int32_t /*line*/, std::int32_t /*x*/, std::int32_t /*count*/, void* buffer) {
  const std::uint8_t* bytes = m_cursor.line();
  if (!bytes) return 0;
  // The word after `RunEnd` is not read: a list may end with its mark.
  const std::size_t size = runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(bytes)));
  auto* out = static_cast<std::uint8_t*>(buffer);
  std::memcpy(out, bytes, size - 4);
  std::memset(out + size - 4, 0, 4);
  m_cursor.step(&m_previous);
  return 1;
}

std::size_t CIARSContext::GetLineSize(std::int32_t /*line*/) {
  const std::uint8_t* bytes = m_cursor.line();
  return bytes ? runListBytes(runCount(reinterpret_cast<const std::uint32_t*>(bytes))) : 0;
}

const std::uint32_t* CIARSContext::GetLinePointer(std::int32_t /*line*/) {
  const std::uint8_t* bytes = m_cursor.line();
  if (bytes) m_cursor.step(&m_previous);
  return reinterpret_cast<const std::uint32_t*>(bytes);
}

void CIARSContext::dropAll() noexcept {
  m_cursor.drop();
  m_previous = nullptr;
}

}  // namespace quillbay
