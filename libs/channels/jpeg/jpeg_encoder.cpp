#include "channels/jpeg/jpeg_encoder.h"

// jpeglib.h needs FILE and size_t declared before.
#include <cstdio>
//
#include <jpeglib.h>

#include <csetjmp>
#include <stdexcept>
#include <vector>

#include "channels/codec/module_support.h"

namespace quillbay {
namespace {

constexpr std::size_t kLeastRoom = std::size_t{64} << 10;
constexpr std::uint8_t kMarker = 0xff, kStartOfImage = 0xd8, kEndOfImage = 0xd9, kStartOfScan = 0xda;
constexpr std::uint8_t kBaseline = 0xc0;

J_COLOR_SPACE colourOrder(KxColorSpace colorSpace) noexcept {
  switch (colorSpace) {
    case KxColorSpace::Rgb: return JCS_EXT_RGB;
    case KxColorSpace::Bgr: return JCS_EXT_BGR;
    case KxColorSpace::Rgba: return JCS_EXT_RGBX;
    case KxColorSpace::Bgra: return JCS_EXT_BGRX;
    default: return JCS_GRAYSCALE;
  }
}

/// Coded bytes go into memory that grows by halves.
struct Target {
  jpeg_destination_mgr base{};
  ByteBuffer* out = nullptr;
  std::size_t room = 0;

  void take(std::uint8_t* bytes, std::size_t used) noexcept {
    base.next_output_byte = bytes + used;
    base.free_in_buffer = room - used;
  }
};

/// All that outlives a jump of libjpeg back into `encode`; nothing with a destructor lives inside of it.
class JpegEncoder final : public IBandEncoder {
 public:
  explicit JpegEncoder(const JpegFormat& format) : m_format(format) {
    m_codec.err = jpeg_std_error(&m_errors);
    m_errors.error_exit = [](j_common_ptr codec) {
      auto* self = static_cast<JpegEncoder*>(codec->client_data);
      codec->err->format_message(codec, self->m_complaint);
      std::longjmp(self->m_jump, 1);
    };
    m_errors.output_message = [](j_common_ptr) {};
    jpeg_create_compress(&m_codec);
    m_codec.client_data = this;
    m_target.base.init_destination = [](j_compress_ptr) {};
    m_target.base.term_destination = [](j_compress_ptr) {};
    m_target.base.empty_output_buffer = grow;
    m_codec.dest = &m_target.base;
  }
  ~JpegEncoder() override { jpeg_destroy_compress(&m_codec); }
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  void encode(const Band& band, ByteBuffer& out) override {
    m_rows.clear();
    // libjpeg only reads them.
    band.eachLine([this](const std::uint8_t* line) { m_rows.push_back(const_cast<JSAMPROW>(line)); });
    // A tenth is what a scan of middling quality takes.
    run(kLeastRoom + m_rows.size() * static_cast<std::size_t>(m_format.width) / 2, out, &JpegEncoder::code);
  }
  void tables(ByteBuffer& out) { run(kLeastRoom, out, &JpegEncoder::codeTables); }

 private:
  /// `step` may be left by a jump.
  void run(std::size_t room, ByteBuffer& out, void (JpegEncoder::*step)()) {
    m_target.out = &out;
    m_target.room = room;
    m_target.take(out.room(room), 0);
    if (setjmp(m_jump)) {
      jpeg_abort_compress(&m_codec);
      throw std::runtime_error(std::string("JPEG failed on a band of lines: ") + m_complaint);
    }
    (this->*step)();
    out.setSize(m_target.room - m_target.base.free_in_buffer);
  }

  void setUp() {
    m_codec.image_width = static_cast<JDIMENSION>(m_format.width);
    m_codec.image_height = static_cast<JDIMENSION>(m_rows.size());
    m_codec.in_color_space = colourOrder(m_format.colorSpace);
    m_codec.input_components = bitsPerPixel(m_format.colorSpace) / 8;
    jpeg_set_defaults(&m_codec);
    jpeg_set_quality(&m_codec, m_format.quality, TRUE);
    m_codec.comp_info[0].h_samp_factor = m_format.isColour() && m_format.isHalved ? 2 : 1;
    m_codec.comp_info[0].v_samp_factor = m_codec.comp_info[0].h_samp_factor;
    m_codec.dct_method = JDCT_ISLOW;
    if (m_format.isPart) {
      m_codec.write_JFIF_header = FALSE;
      return;
    }
    m_codec.restart_in_rows = 1;
    if (m_format.dpi > 0 && m_format.dpi <= 0xffff) {
      m_codec.density_unit = 1;
      m_codec.X_density = m_codec.Y_density = static_cast<UINT16>(m_format.dpi);
    }
  }

  void codeTables() {
    setUp();
    jpeg_write_tables(&m_codec);
  }

  void code() {
    setUp();
    if (m_format.isPart) jpeg_suppress_tables(&m_codec, TRUE);
    jpeg_start_compress(&m_codec, m_format.isPart ? FALSE : TRUE);
    while (m_codec.next_scanline < m_codec.image_height) {
      jpeg_write_scanlines(&m_codec, m_rows.data() + m_codec.next_scanline,
                           m_codec.image_height - m_codec.next_scanline);
    }
    jpeg_finish_compress(&m_codec);
  }

  static boolean grow(j_compress_ptr codec) {
    auto* target = reinterpret_cast<Target*>(codec->dest);
    const std::size_t used = target->room;  // the whole of it, as the library's contract says
    const std::size_t more = used + used / 2;
    try {
      std::uint8_t* bytes = target->out->grow(used, more);
      target->room = more;
      target->take(bytes, used);
    } catch (const std::bad_alloc&) {
      return FALSE;  // becomes the library's error
    }
    return TRUE;
  }

  const JpegFormat m_format;
  jpeg_compress_struct m_codec{};
  jpeg_error_mgr m_errors{};
  Target m_target;
  std::vector<JSAMPROW> m_rows;
  char m_complaint[JMSG_LENGTH_MAX] = "";
  std::jmp_buf m_jump{};
};

}  // namespace

std::unique_ptr<IBandEncoder> makeJpegEncoder(const JpegFormat& format) {
  return std::make_unique<JpegEncoder>(format);
}

std::vector<std::uint8_t> jpegTables(const JpegFormat& format) {
  ByteBuffer bytes;
  JpegEncoder(format).tables(bytes);
  return {bytes.data(), bytes.data() + bytes.size()};
}

JpegParts partsOf(const std::uint8_t* picture, std::size_t size) {
  JpegParts parts;
  const bool isWhole = size >= 4 && picture[0] == kMarker && picture[1] == kStartOfImage &&
                       picture[size - 2] == kMarker && picture[size - 1] == kEndOfImage;
  for (std::size_t at = 2; isWhole && at + 4 <= size && picture[at] == kMarker;) {
    const std::uint8_t marker = picture[at + 1];
    const std::size_t next = at + 2 + std::size_t{picture[at + 2]} * 256 + picture[at + 3];
    if (marker == kBaseline) parts.height = at + 5;
    at = next;
    if (marker != kStartOfScan) continue;
    if (next + 2 > size || parts.height == 0) break;
    parts.coded = next;
    parts.size = size - 2 - next;
    return parts;
  }
  throw ModuleError(QB_E_REFUSED, "the JPEG library made a picture of an unknown kind; choose another format");
}

}  // namespace quillbay
