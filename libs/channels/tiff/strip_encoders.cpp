#include "channels/tiff/strip_encoders.h"

#include <libdeflate.h>
#include <zstd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "channels/codec/line_bytes.h"
#include "channels/tiff/g3_encoder.h"
#include "channels/tiff/g4_encoder.h"
#include "channels/tiff/lzw_encoder.h"

namespace quillbay {
namespace {

void convertLine(const StripFormat& format, const std::uint8_t* line, bool packed, std::uint8_t* to) {
  lineToBytes(format.colorSpace, format.width, line, packed, to);
}

void storeDifferences(const std::uint8_t* line, std::size_t size, std::size_t step, std::uint8_t* to) noexcept {
  std::memcpy(to, line, std::min(step, size));
  for (std::size_t i = step; i < size; ++i) to[i] = static_cast<std::uint8_t>(line[i] - line[i - step]);
}

/// Gives its band to `pack` as the bytes that the file's strip has before compression.
class BytesEncoder : public IBandEncoder {
 public:
  explicit BytesEncoder(const StripFormat& format) : m_format(format) {}
  void encode(const Band& band, ByteBuffer& out) override {
    const std::size_t lineBytes = m_format.lineBytes();
    const std::size_t size = lineBytes * static_cast<std::size_t>(band.lines());
    const bool asIs = m_format.isVerbatim() && !m_format.predictor;
    const std::uint8_t* bytes = asIs ? band.whole(lineBytes) : nullptr;
    if (!bytes) {
      bytes = m_raw.room(size);
      fill(band, m_raw.data());
    }
    pack(bytes, size, out);
  }

 protected:
  virtual void pack(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) = 0;
  StripFormat m_format;

 private:
  void fill(const Band& band, std::uint8_t* to) {
    const std::size_t lineBytes = m_format.lineBytes();
    const auto step = static_cast<std::size_t>(m_format.samples());
    band.eachLine([&](const std::uint8_t* line, bool packed) {
      if (m_format.predictor && m_format.isVerbatim()) {
        storeDifferences(line, lineBytes, step, to);
      } else if (m_format.predictor) {
        std::uint8_t* converted = m_line.room(lineBytes);
        convertLine(m_format, line, packed, converted);
        storeDifferences(converted, lineBytes, step, to);
      } else {
        convertLine(m_format, line, packed, to);
      }
      to += lineBytes;
    });
  }
  ByteBuffer m_raw, m_line;
};

/// No compression: the converted lines are the strip.
class PlainEncoder final : public IBandEncoder {
 public:
  explicit PlainEncoder(const StripFormat& format) : m_format(format) {}
  void encode(const Band& band, ByteBuffer& out) override {
    const std::size_t lineBytes = m_format.lineBytes();
    const std::size_t size = lineBytes * static_cast<std::size_t>(band.lines());
    std::uint8_t* to = out.room(size);
    band.eachLine([&](const std::uint8_t* line, bool packed) {
      convertLine(m_format, line, packed, to);
      to += lineBytes;
    });
    out.setSize(size);
  }

 private:
  StripFormat m_format;
};

/// One line of PackBits. Returns the end of what was written.
std::uint8_t* packLine(const std::uint8_t* from, const std::uint8_t* end, std::uint8_t* to) noexcept {
  while (from < end) {
    const std::uint8_t* last = from + 1;
    const std::uint8_t* limit = std::min(end, from + 128);
    while (last < limit && *last == *from) ++last;
    if (last - from >= 2) {
      *to++ = static_cast<std::uint8_t>(257 - (last - from));
      *to++ = *from;
      from = last;
      continue;
    }
    // Literals, up to where three equal bytes are worth a run of their own.
    while (last < limit && !(end - last >= 3 && last[0] == last[1] && last[1] == last[2])) ++last;
    const auto count = static_cast<std::size_t>(last - from);
    *to++ = static_cast<std::uint8_t>(count - 1);
    std::memcpy(to, from, count);
    to += count;
    from = last;
  }
  return to;
}

class PackBitsEncoder final : public BytesEncoder {
 public:
  using BytesEncoder::BytesEncoder;

 private:
  void pack(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) override {
    const std::size_t lineBytes = m_format.lineBytes();
    std::uint8_t* const base = out.room(size + size / 64 + 2 * (size / lineBytes) + 16);
    std::uint8_t* to = base;
    for (const std::uint8_t* line = bytes; line < bytes + size; line += lineBytes) {
      to = packLine(line, line + lineBytes, to);
    }
    out.setSize(static_cast<std::size_t>(to - base));
  }
};

class LzwStripEncoder final : public BytesEncoder {
 public:
  using BytesEncoder::BytesEncoder;

 private:
  void pack(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) override {
    m_lzw.encode(bytes, size, out);
  }
  LzwEncoder m_lzw;
};

class DeflateEncoder final : public BytesEncoder {
 public:
  explicit DeflateEncoder(const StripFormat& format)
      : BytesEncoder(format), m_compressor(libdeflate_alloc_compressor(format.level)) {
    if (!m_compressor) throw std::bad_alloc();
  }

 private:
  struct Free {
    void operator()(libdeflate_compressor* c) const noexcept { libdeflate_free_compressor(c); }
  };
  void pack(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) override {
    const std::size_t room = libdeflate_zlib_compress_bound(m_compressor.get(), size);
    std::uint8_t* to = out.room(room);
    const std::size_t used = libdeflate_zlib_compress(m_compressor.get(), bytes, size, to, room);
    if (used == 0) throw std::runtime_error("Deflate failed on a strip");
    out.setSize(used);
  }
  std::unique_ptr<libdeflate_compressor, Free> m_compressor;
};

class ZstdEncoder final : public BytesEncoder {
 public:
  explicit ZstdEncoder(const StripFormat& format) : BytesEncoder(format), m_context(ZSTD_createCCtx()) {
    if (!m_context) throw std::bad_alloc();
  }

 private:
  struct Free {
    void operator()(ZSTD_CCtx* c) const noexcept { ZSTD_freeCCtx(c); }
  };
  void pack(const std::uint8_t* bytes, std::size_t size, ByteBuffer& out) override {
    const std::size_t room = ZSTD_compressBound(size);
    std::uint8_t* to = out.room(room);
    const std::size_t used = ZSTD_compressCCtx(m_context.get(), to, room, bytes, size, m_format.level);
    if (ZSTD_isError(used)) throw std::runtime_error(std::string("Zstandard failed: ") + ZSTD_getErrorName(used));
    out.setSize(used);
  }
  std::unique_ptr<ZSTD_CCtx, Free> m_context;
};

}  // namespace

JpegFormat jpegFormatOf(const StripFormat& format) noexcept {
  JpegFormat jpeg;
  jpeg.colorSpace = format.colorSpace;
  jpeg.width = format.width;
  jpeg.quality = format.quality;
  jpeg.isHalved = format.isHalved;
  jpeg.isPart = true;
  return jpeg;
}

std::unique_ptr<IBandEncoder> makeStripEncoder(const StripFormat& format) {
  switch (format.compression) {
    case TiffCompression::PackBits: return std::make_unique<PackBitsEncoder>(format);
    case TiffCompression::Lzw: return std::make_unique<LzwStripEncoder>(format);
    case TiffCompression::Deflate: return std::make_unique<DeflateEncoder>(format);
    case TiffCompression::Zstandard: return std::make_unique<ZstdEncoder>(format);
    case TiffCompression::G4: return std::make_unique<G4Encoder>(format.width);
    case TiffCompression::G3: return std::make_unique<G3Encoder>(format.width);
    case TiffCompression::Jpeg: return makeJpegEncoder(jpegFormatOf(format));
    case TiffCompression::None: break;
  }
  return std::make_unique<PlainEncoder>(format);
}

}  // namespace quillbay
