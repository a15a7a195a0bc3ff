#include "channels/pnm/pnm_header.h"

namespace quillbay {
namespace {

constexpr std::size_t kPiece = std::size_t{256} << 10;
constexpr std::int32_t kMostNumber = 0x7ffffff0;

[[noreturn]] void truncated() { throw ModuleError(QB_E_TRUNCATED, ""); }
[[noreturn]] void damaged(const char* what) {
  throw ModuleError(QB_E_DAMAGED, std::string("the file is damaged: ") + what);
}

bool isBlank(int c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(int c) noexcept { return c >= '0' && c <= '9'; }

}  // namespace

bool ByteStream::fill() {
  const std::int64_t left = m_file.size() - m_position;
  if (left <= 0) return false;
  m_filled = static_cast<std::size_t>(std::min<std::int64_t>(left, kPiece));
  m_bytes.resize(std::max(m_bytes.size(), m_filled));
  m_file.read(m_position, m_bytes.data(), m_filled);
  m_position += static_cast<std::int64_t>(m_filled);
  m_at = 0;
  return true;
}

void ByteStream::take(std::uint8_t* out, std::size_t size) {
  while (size > 0) {
    const std::size_t there = std::min(size, m_filled - m_at);
    std::memcpy(out, m_bytes.data() + m_at, there);
    m_at += there;
    out += there;
    size -= there;
    if (size == 0) return;
    const std::int64_t left = m_file.size() - m_position;
    if (left <= 0) truncated();
    if (size < kPiece) {
      (void)fill();
      continue;
    }
    // A long line is read directly into its target.
    const auto direct = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(size)));
    m_file.read(m_position, out, direct);
    m_position += static_cast<std::int64_t>(direct);
    out += direct;
    size -= direct;
  }
}

std::int32_t readPnmNumber(ByteStream& from) {
  int c = from.next();
  while (c == '#' || isBlank(c)) {
    if (c == '#') {
      while (c != '\n' && c >= 0) c = from.next();
    }
    if (c >= 0) c = from.next();
  }
  if (c < 0) truncated();
  if (!isDigit(c)) damaged("there is text where a number should be");
  std::int64_t value = 0;
  for (; isDigit(c); c = from.next()) {
    value = value * 10 + (c - '0');
    if (value > kMostNumber) damaged("a number is too large");
  }
  return static_cast<std::int32_t>(value);
}

PnmHeader readPnmHeader(ByteStream& from) {
  PnmHeader header;
  const int magic = from.next();
  header.kind = from.next() - '0';
  if (magic != 'P' || header.kind < 1 || header.kind > 6) damaged("it is no portable anymap");
  header.width = readPnmNumber(from);
  header.height = readPnmNumber(from);
  if (!header.isBitonal()) header.most = readPnmNumber(from);
  if (header.width < 1) damaged("its lines have no pixels");
  if (header.most < 1 || header.most > 65535) damaged("its samples are of no known size");
  return header;
}

}  // namespace quillbay
