#include "channels/png/png_encoder.h"

#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "channels/codec/line_bytes.h"

namespace quillbay {
namespace {

constexpr std::uint8_t kFilterNone = 0, kFilterSub = 1, kFilterUp = 2;

std::uint64_t weight(const std::uint8_t* bytes, std::size_t size) noexcept {
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < size; ++i) {
    // The differences are signed: 255 is one below.
    sum += bytes[i] < 128 ? bytes[i] : 256U - bytes[i];
  }
  return sum;
}

class PngEncoder final : public IBandEncoder {
 public:
  explicit PngEncoder(const PngFormat& format) : m_format(format) {
    // Raw Deflate: head and checksum of the stream are written around all bands.
    const int strategy = format.isFiltered() ? Z_FILTERED : Z_DEFAULT_STRATEGY;
    if (deflateInit2(&m_stream, format.level, Z_DEFLATED, -15, 9, strategy) != Z_OK) throw std::bad_alloc();
  }
  ~PngEncoder() override { deflateEnd(&m_stream); }
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  void encode(const Band& band, ByteBuffer& out) override {
    const std::size_t size = (m_format.lineBytes() + 1) * static_cast<std::size_t>(band.lines());
    std::uint8_t* raw = m_raw.room(size);
    filterBand(band, raw);
    deflateReset(&m_stream);
    // The flush's empty block comes on top of the bound.
    const std::size_t room = deflateBound(&m_stream, size) + 64;
    std::uint8_t* chunk = out.room(kChunkHead + room + kChunkTail + sizeof(PngBandEnd));
    m_stream.next_in = raw;
    m_stream.avail_in = static_cast<uInt>(size);
    m_stream.next_out = chunk + kChunkHead;
    m_stream.avail_out = static_cast<uInt>(room);
    if (deflate(&m_stream, Z_SYNC_FLUSH) != Z_OK || m_stream.avail_in != 0 || m_stream.avail_out == 0) {
      throw std::runtime_error("Deflate failed on a band of lines");
    }
    const std::size_t used = room - m_stream.avail_out;
    sealChunk(chunk, "IDAT", used);
    const PngBandEnd end{static_cast<std::uint32_t>(adler32(1, raw, static_cast<uInt>(size))), size};
    const std::size_t chunkSize = kChunkHead + used + kChunkTail;
    std::memcpy(chunk + chunkSize, &end, sizeof end);
    out.setSize(chunkSize + sizeof end);
  }

 private:
  void filterBand(const Band& band, std::uint8_t* to) {
    const std::size_t size = m_format.lineBytes();
    const std::uint8_t* above = nullptr;  // bands are encoded apart: the first line does not look up
    std::size_t current = 0;
    band.eachLine([&](const std::uint8_t* line, bool packed) {
      if (!m_format.isFiltered()) {
        *to = kFilterNone;
        plainLine(line, packed, to + 1);
      } else {
        const std::uint8_t* colours = line;
        if (m_format.colorSpace == KxColorSpace::Bgr) {
          colours = swapped(line, current);
          current ^= 1;
        }
        filterLine(colours, above, size, to);
        above = colours;
      }
      to += size + 1;
    });
  }

  void plainLine(const std::uint8_t* line, bool packed, std::uint8_t* to) const {
    const std::size_t size = m_format.lineBytes();
    lineToBytes(m_format.colorSpace, m_format.width, line, packed, to);
    if (!isRunList(m_format.colorSpace)) return;
    for (std::size_t i = 0; i < size; ++i) to[i] = static_cast<std::uint8_t>(~to[i]);  // 1 is white
  }

  const std::uint8_t* swapped(const std::uint8_t* line, std::size_t which) {
    std::uint8_t* to = m_lines[which].room(m_format.lineBytes());
    toRgb<3, 2, 0>(line, m_format.width, to);
    return to;
  }

  /// Takes the filter, Sub or Up, that leaves the smaller numbers.
  void filterLine(const std::uint8_t* line, const std::uint8_t* above, std::size_t size, std::uint8_t* to) {
    const auto step = static_cast<std::size_t>(m_format.samples());
    to[0] = kFilterSub;
    std::memcpy(to + 1, line, std::min(step, size));
    for (std::size_t i = step; i < size; ++i) to[i + 1] = static_cast<std::uint8_t>(line[i] - line[i - step]);
    if (!above) return;
    std::uint8_t* up = m_up.room(size);
    for (std::size_t i = 0; i < size; ++i) up[i] = static_cast<std::uint8_t>(line[i] - above[i]);
    if (weight(up, size) >= weight(to + 1, size)) return;
    to[0] = kFilterUp;
    std::memcpy(to + 1, up, size);
  }

  PngFormat m_format;
  z_stream m_stream{};
  ByteBuffer m_raw, m_up, m_lines[2];
};

}  // namespace

void putBigEndian(std::uint8_t* to, std::uint32_t value) noexcept {
  const std::uint32_t swapped = __builtin_bswap32(value);
  std::memcpy(to, &swapped, 4);
}

void sealChunk(std::uint8_t* chunk, const char type[4], std::size_t dataSize) noexcept {
  putBigEndian(chunk, static_cast<std::uint32_t>(dataSize));
  std::memcpy(chunk + 4, type, 4);
  const uLong crc = crc32_z(0, chunk + 4, dataSize + 4);
  putBigEndian(chunk + kChunkHead + dataSize, static_cast<std::uint32_t>(crc));
}

std::unique_ptr<IBandEncoder> makePngEncoder(const PngFormat& format) {
  return std::make_unique<PngEncoder>(format);
}

}  // namespace quillbay
