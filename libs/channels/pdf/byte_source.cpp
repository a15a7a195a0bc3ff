#include "channels/pdf/byte_source.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace quillbay {
namespace {

constexpr std::size_t kInputBytes = std::size_t{64} << 10;

std::uint8_t paeth(int left, int above, int corner) noexcept {
  const int guess = left + above - corner;
  const int a = std::abs(guess - left), b = std::abs(guess - above), c = std::abs(guess - corner);
  return static_cast<std::uint8_t>(a <= b && a <= c ? left : b <= c ? above : corner);
}

/// A line of PNG's filter `kind`, in place. Lines have `step` zeros before them.
void unfilter(int kind, std::uint8_t* line, const std::uint8_t* above, std::size_t size,
              std::size_t step) noexcept {
  const auto at = [step](std::uint8_t* bytes, std::size_t i) { return bytes[i - step]; };
  for (std::size_t i = step; i < size + step; ++i) {
    int more = 0;
    switch (kind) {
      case 1: more = at(line, i); break;
      case 2: more = above[i]; break;
      case 3: more = (at(line, i) + above[i]) / 2; break;
      case 4: more = paeth(at(line, i), above[i], above[i - step]); break;
      default: return;
    }
    line[i] = static_cast<std::uint8_t>(line[i] + more);
  }
}

}  // namespace

std::size_t PartSource::read(std::uint8_t* out, std::size_t size) {
  const std::size_t count = std::min(size, static_cast<std::size_t>(std::max<std::int64_t>(m_left, 0)));
  if (count > 0) m_file.read(m_at, out, count);
  m_at += static_cast<std::int64_t>(count);
  m_left -= static_cast<std::int64_t>(count);
  return count;
}

InflateSource::InflateSource(std::unique_ptr<ByteSource> from) : m_from(std::move(from)), m_input(kInputBytes) {
  if (inflateInit(&m_stream) != Z_OK) throw std::bad_alloc();
}

std::size_t InflateSource::read(std::uint8_t* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size && !m_atEnd) {
    if (m_stream.avail_in == 0) {
      m_stream.next_in = m_input.data();
      m_stream.avail_in = static_cast<uInt>(m_from->read(m_input.data(), m_input.size()));
      if (m_stream.avail_in == 0) break;
    }
    const auto room = static_cast<uInt>(std::min<std::size_t>(size - done, 1U << 30));
    m_stream.next_out = out + done;
    m_stream.avail_out = room;
    const int code = inflate(&m_stream, Z_NO_FLUSH);
    done += room - m_stream.avail_out;
    if (code == Z_STREAM_END) {
      m_atEnd = true;
    } else if (code != Z_OK && code != Z_BUF_ERROR) {
      throw ModuleError(QB_E_DAMAGED, std::string("the file is damaged (") +
                                          (m_stream.msg ? m_stream.msg : "a compressed picture") + ")");
    }
  }
  return done;
}

PredictedLines::PredictedLines(const Prediction& prediction)
    : m_prediction(prediction),
      m_step(static_cast<std::size_t>(std::max(prediction.colors * prediction.bits / 8, 1))),
      m_line(prediction.lineBytes() + m_step),
      m_above(m_line.size()) {}

const std::uint8_t* PredictedLines::restore(const std::uint8_t* stored) noexcept {
  const int kind = hasKinds() ? *stored++ : 1;
  if (kind > 4) return nullptr;
  std::swap(m_line, m_above);
  std::memcpy(m_line.data() + m_step, stored, lineBytes());
  unfilter(kind, m_line.data(), m_above.data(), lineBytes(), m_step);
  return m_line.data() + m_step;
}

bool PredictedSource::nextLine() {
  const std::size_t got = m_from->read(m_stored.data(), m_stored.size());
  if (got == 0) return false;
  if (got < m_stored.size()) throw ModuleError(QB_E_TRUNCATED, "");
  m_next = m_lines.restore(m_stored.data());
  if (!m_next) throw ModuleError(QB_E_DAMAGED, "the file is damaged (a line of a picture is of an unknown kind)");
  m_left = m_lines.lineBytes();
  return true;
}

std::size_t PredictedSource::read(std::uint8_t* out, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    if (m_left == 0 && !nextLine()) break;
    const std::size_t count = std::min(size - done, m_left);
    std::memcpy(out + done, m_next, count);
    m_next += count;
    m_left -= count;
    done += count;
  }
  return done;
}

}  // namespace quillbay
