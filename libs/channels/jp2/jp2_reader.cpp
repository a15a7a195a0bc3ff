#include "channels/jp2/jp2_reader.h"

#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "channels/jp2/jp2_head.h"
#include "channels/jp2/plane_rows.h"

namespace quillbay {
namespace {

constexpr std::size_t kReadBytes = std::size_t{256} << 10;
constexpr unsigned kMostThreads = 16;

std::int64_t ceilDivide(std::int64_t value, std::int64_t by) noexcept { return (value + by - 1) / by; }

/// The codestream within the file, for the library.
class CodestreamBytes {
 public:
  CodestreamBytes(const QbFile* file, std::int64_t begin, std::int64_t end)
      : m_file(file), m_begin(begin), m_size(end - begin) {}
  [[nodiscard]] bool hasFailed() const noexcept { return m_failed; }
  /// More was wanted than there is, or the mark of the end is not there.
  [[nodiscard]] bool wasCutOff() const noexcept {
    std::uint8_t end[2] = {};
    if (m_short || m_size < 2) return true;
    return m_file->read(m_file->self, m_begin + m_size - 2, end, 2) == QB_OK && (end[0] != 0xff || end[1] != 0xd9);
  }

  opj_stream_t* newStream() {
    opj_stream_t* stream = opj_stream_create(kReadBytes, OPJ_STREAM_READ);
    if (!stream) throw std::bad_alloc();
    opj_stream_set_user_data(stream, this, nullptr);
    opj_stream_set_user_data_length(stream, static_cast<OPJ_UINT64>(m_size));
    opj_stream_set_read_function(stream, [](void* to, OPJ_SIZE_T size, void* self) {
      return static_cast<CodestreamBytes*>(self)->read(to, size);
    });
    opj_stream_set_skip_function(stream, [](OPJ_OFF_T bytes, void* self) -> OPJ_OFF_T {
      auto* from = static_cast<CodestreamBytes*>(self);
      return from->moveTo(from->m_at + bytes) ? bytes : -1;
    });
    opj_stream_set_seek_function(stream, [](OPJ_OFF_T offset, void* self) -> OPJ_BOOL {
      return static_cast<CodestreamBytes*>(self)->moveTo(offset) ? OPJ_TRUE : OPJ_FALSE;
    });
    return stream;
  }

 private:
  OPJ_SIZE_T read(void* to, OPJ_SIZE_T size) noexcept {
    const std::int64_t left = m_size - m_at;
    if (left <= 0) {
      m_short = true;
      return static_cast<OPJ_SIZE_T>(-1);
    }
    const auto count = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(size)));
    if (m_failed || m_file->read(m_file->self, m_begin + m_at, to, count) != QB_OK) {
      m_failed = true;
      return static_cast<OPJ_SIZE_T>(-1);
    }
    m_at += static_cast<std::int64_t>(count);
    return count;
  }
  bool moveTo(std::int64_t offset) noexcept {
    if (offset < 0) return false;
    if (offset > m_size) {
      m_short = true;
      return false;
    }
    m_at = offset;
    return true;
  }

  const QbFile* m_file;
  std::int64_t m_begin, m_size;
  std::int64_t m_at = 0;
  bool m_failed = false, m_short = false;
};

}  // namespace

class Jp2Reader::Job {
 public:
  Job(const QbFile* file, Jp2Head head)
      : m_head(std::move(head)), m_rows(m_head), m_bytes(file, m_head.begin, m_head.end) {}
  ~Job() {
    if (m_image) opj_image_destroy(m_image);
    if (m_codec) opj_destroy_codec(m_codec);
    if (m_stream) opj_stream_destroy(m_stream);
  }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  void open(QbPicture* out);
  void readLine(std::uint8_t* out);

 private:
  void decodePart();
  void decodeTileRow();
  void decodeTile(std::int64_t top, std::int64_t bottom);
  void place(const std::vector<Plane>& planes, std::int64_t left, std::int64_t right, std::int64_t top,
             std::int64_t bottom);
  void check(bool isDone) const;
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return static_cast<std::size_t>(m_head.width()) * m_rows.pixelBytes();
  }

  const Jp2Head m_head;
  PlaneRows m_rows;
  CodestreamBytes m_bytes;
  opj_stream_t* m_stream = nullptr;
  opj_codec_t* m_codec = nullptr;
  opj_image_t* m_image = nullptr;
  std::string m_complaint;
  std::vector<std::uint8_t> m_tile;                 // decoded samples
  std::vector<std::uint8_t> m_lines;                // of the page
  std::int64_t m_first = 0, m_next = 0, m_end = 0;  // canvas lines: those held are m_first..m_end
  std::vector<bool> m_isThere;                      // tiles of the row
};

void Jp2Reader::Job::check(bool isDone) const {
  if (isDone) return;
  if (m_bytes.hasFailed()) throw ModuleError(QB_E_FILE, "");
  if (m_bytes.wasCutOff()) throw ModuleError(QB_E_TRUNCATED, "");
  std::string why = m_complaint.substr(0, m_complaint.find('\n'));
  throw ModuleError(QB_E_DAMAGED, "the file is damaged: " + (why.empty() ? "its tiles make no sense" : why));
}

void Jp2Reader::Job::open(QbPicture* out) {
  m_stream = m_bytes.newStream();
  m_codec = opj_create_decompress(OPJ_CODEC_J2K);
  if (!m_codec) throw std::bad_alloc();
  opj_set_error_handler(
      m_codec,
      [](const char* text, void* self) {
        auto* complaint = static_cast<std::string*>(self);
        if (complaint->empty()) complaint->append(text);
      },
      &m_complaint);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  check(opj_setup_decoder(m_codec, &parameters));
  const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
  if (threads > 1) (void)opj_codec_set_threads(m_codec, static_cast<int>(threads));  // else on this one
  check(opj_read_header(m_stream, m_codec, &m_image));
  if (m_image->numcomps != m_head.components.size())
    throw ModuleError(QB_E_DAMAGED, "the file is damaged: it says its colours twice");
  if (!m_head.hasOneTile()) check(opj_set_decode_area(m_codec, m_image, 0, 0, 0, 0));
  m_next = m_first = m_end = m_head.top;
  *out = {};
  out->color_space = static_cast<std::int32_t>(m_rows.colorSpace());
  out->width = static_cast<std::int32_t>(m_head.width());
  out->height = static_cast<std::int32_t>(m_head.height());
  out->dpi = m_head.dpi;
  out->orientation = 1;
  out->palette_count = m_head.paletteCount;
  std::memcpy(out->palette, m_head.palette.data(), m_head.palette.size());
}

void Jp2Reader::Job::readLine(std::uint8_t* out) {
  if (m_next == m_end) {
    if (m_head.hasOneTile()) {
      decodePart();
    } else {
      decodeTileRow();
    }
  }
  std::memcpy(out, m_lines.data() + static_cast<std::size_t>(m_next - m_first) * lineBytes(), lineBytes());
  ++m_next;
}

/// The next lines of a single tile: what they need of it is decoded.
void Jp2Reader::Job::decodePart() {
  m_first = m_end;
  m_end = std::min<std::int64_t>((m_first / m_head.partLines() + 1) * m_head.partLines(), m_head.bottom);
  for (OPJ_UINT32 c = 0; c < m_image->numcomps; ++c) {
    opj_image_data_free(m_image->comps[c].data);
    m_image->comps[c].data = nullptr;
  }
  check(opj_set_decode_area(m_codec, m_image, static_cast<OPJ_INT32>(m_head.left), static_cast<OPJ_INT32>(m_first),
                            static_cast<OPJ_INT32>(m_head.right), static_cast<OPJ_INT32>(m_end)));
  check(opj_decode(m_codec, m_stream, m_image));
  std::vector<Plane> planes;
  for (OPJ_UINT32 c = 0; c < m_image->numcomps; ++c) {
    const opj_image_comp_t& part = m_image->comps[c];
    planes.push_back({part.data, 4, part.x0, part.y0, part.data ? std::int64_t{part.w} : 0, part.h});
  }
  m_lines.resize(static_cast<std::size_t>(m_end - m_first) * lineBytes());
  place(planes, m_head.left, m_head.right, m_first, m_end);
}

/// All tiles of the next row, in whatever order they come.
void Jp2Reader::Job::decodeTileRow() {
  m_first = m_end;
  const std::int64_t row = (m_first - m_head.tileTop) / m_head.tileLines;
  m_end = std::min<std::int64_t>(m_head.tileTop + (row + 1) * m_head.tileLines, m_head.bottom);
  m_lines.resize(static_cast<std::size_t>(m_end - m_first) * lineBytes());
  m_isThere.assign(static_cast<std::size_t>(m_head.columns()), false);
  for (std::int64_t i = 0; i < m_head.columns(); ++i) decodeTile(m_first, m_end);
}

void Jp2Reader::Job::decodeTile(std::int64_t top, std::int64_t bottom) {
  OPJ_UINT32 number = 0, size = 0, components = 0;
  OPJ_INT32 left = 0, upper = 0, right = 0, lower = 0;
  OPJ_BOOL goesOn = OPJ_FALSE;
  check(
      opj_read_tile_header(m_codec, m_stream, &number, &size, &left, &upper, &right, &lower, &components, &goesOn));
  if (!goesOn) throw ModuleError(QB_E_TRUNCATED, "");  // it ends before its last tile
  const std::int64_t column = number % m_head.columns();
  if (upper != top || lower != bottom || left < std::int64_t{m_head.left} || right > std::int64_t{m_head.right} ||
      left >= right) {
    throw ModuleError(QB_E_REFUSED,
                      "its tiles stand in an order that is not read; save it again with another program");
  }
  if (m_isThere[static_cast<std::size_t>(column)] || components != m_head.components.size())
    throw ModuleError(QB_E_DAMAGED, "the file is damaged: a tile comes twice");
  m_isThere[static_cast<std::size_t>(column)] = true;
  m_tile.resize(size);
  std::vector<Plane> planes;
  std::size_t at = 0;
  for (const Jp2Head::Component& c : m_head.components) {
    Plane plane;
    plane.bytes = c.bits <= 8 ? 1 : c.bits <= 16 ? 2 : 4;
    plane.left = ceilDivide(left, c.stepX);
    plane.top = ceilDivide(upper, c.stepY);
    plane.width = ceilDivide(right, c.stepX) - plane.left;
    plane.lines = ceilDivide(lower, c.stepY) - plane.top;
    plane.values = m_tile.data() + at;
    at += static_cast<std::size_t>(plane.width * plane.lines) * static_cast<std::size_t>(plane.bytes);
    planes.push_back(plane);
  }
  if (at > m_tile.size()) throw ModuleError(QB_E_DAMAGED, "the file is damaged: a tile is too small");
  check(opj_decode_tile_data(m_codec, number, m_tile.data(), size, m_stream));
  place(planes, left, right, upper, lower);
}

void Jp2Reader::Job::place(const std::vector<Plane>& planes, std::int64_t left, std::int64_t right,
                           std::int64_t top, std::int64_t bottom) {
  const std::size_t begin = static_cast<std::size_t>(left - m_head.left) * m_rows.pixelBytes();
  for (std::int64_t y = top; y < bottom; ++y)
    m_rows.row(planes, left, right, y,
               m_lines.data() + static_cast<std::size_t>(y - m_first) * lineBytes() + begin);
}

Jp2Reader::Jp2Reader(const QbFile* file) : m_file(file) {}
Jp2Reader::~Jp2Reader() = default;

void Jp2Reader::openPage(std::int32_t, QbPicture* out) {
  m_job = nullptr;
  Jp2Head head = readJp2Head(EdgeFile(m_file));
  checkJp2Limits(head);
  m_job = std::make_unique<Job>(m_file, std::move(head));
  m_job->open(out);
}

void Jp2Reader::readLine(std::uint8_t* out) { m_job->readLine(out); }

}  // namespace quillbay
