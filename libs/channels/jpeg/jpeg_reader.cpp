#include "channels/jpeg/jpeg_reader.h"

// jpeglib.h needs FILE and size_t declared before.
#include <cstdio>
//
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <vector>

#include "channels/jpeg/exif_orientation.h"
#include "quillbay/color_space.h"

namespace quillbay {
namespace {

constexpr std::size_t kReadBytes = std::size_t{256} << 10;
constexpr long kMostCoefficientBytes = 1L << 30;
constexpr int kMostScans = 100;  // of a progressive picture; each goes through all of its coefficients

std::uint8_t mixed(int ink, int black) noexcept { return static_cast<std::uint8_t>((ink * black + 127) / 255); }

}  // namespace

/// All that outlives a jump of libjpeg back into `run`; nothing with a destructor lives inside of it.
struct JpegReader::Job {
  explicit Job(const QbFile* from)
      : file(from),
        input(static_cast<std::size_t>(std::clamp<std::int64_t>(from->size(from->self), 1, kReadBytes))) {}
  ~Job() { jpeg_destroy_decompress(&codec); }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  const QbFile* file;
  std::vector<std::uint8_t> input;
  std::vector<std::uint8_t> inks;  // a line of CMYK
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors{};
  jpeg_source_mgr source{};
  jpeg_progress_mgr progress{};
  std::jmp_buf jump{};
  std::int64_t position = 0;
  int code = QB_OK;
  char complaint[JMSG_LENGTH_MAX] = "";

  void create();
  void readHead();
  void readLine(std::uint8_t* out);
  void describe(QbPicture* out) const;
  void fill();
  void skip(long bytes);
  [[nodiscard]] bool hasInks() const noexcept { return codec.out_color_space == JCS_CMYK; }
  [[noreturn]] void fail(int why) {
    code = why;
    std::longjmp(jump, 1);
  }

  static Job& of(j_decompress_ptr codec) noexcept { return *static_cast<Job*>(codec->client_data); }
  /// Runs a step; throws what made libjpeg jump out of it.
  template <class Step>
  void run(Step step) {
    if (finishes(step)) return;
    if (code == QB_E_REFUSED)
      throw ModuleError(code, "the progressive picture is too large to be read; save it as a baseline JPEG");
    throw ModuleError(code, code == QB_E_DAMAGED ? std::string("the file is damaged: ") + complaint : "");
  }
  template <class Step>
  bool finishes(Step step) {
    if (setjmp(jump)) return false;
    step();
    return true;
  }
};

void JpegReader::Job::create() {
  codec.err = jpeg_std_error(&errors);
  errors.error_exit = [](j_common_ptr c) {
    Job& job = *static_cast<Job*>(c->client_data);
    c->err->format_message(c, job.complaint);
    switch (c->err->msg_code) {
      case JERR_OUT_OF_MEMORY: return job.fail(QB_E_MEMORY);
      case JERR_NO_BACKING_STORE: return job.fail(QB_E_REFUSED);
      default: job.fail(QB_E_DAMAGED);
    }
  };
  errors.output_message = [](j_common_ptr) {};
  // Warnings: pixels that are not what was saved.
  errors.emit_message = [](j_common_ptr c, int level) {
    if (level < 0) c->err->error_exit(c);
  };
  codec.client_data = this;
  jpeg_create_decompress(&codec);
  progress.progress_monitor = [](j_common_ptr c) {
    Job& job = *static_cast<Job*>(c->client_data);
    if (job.codec.input_scan_number <= kMostScans) return;
    std::strcpy(job.complaint, "too many scans");
    job.fail(QB_E_DAMAGED);
  };
  codec.progress = &progress;
  codec.mem->max_memory_to_use = kMostCoefficientBytes;
  source.init_source = [](j_decompress_ptr) {};
  source.term_source = [](j_decompress_ptr) {};
  source.resync_to_restart = jpeg_resync_to_restart;
  source.fill_input_buffer = [](j_decompress_ptr c) -> boolean {
    of(c).fill();
    return TRUE;
  };
  source.skip_input_data = [](j_decompress_ptr c, long bytes) { of(c).skip(bytes); };
  codec.src = &source;
}

void JpegReader::Job::fill() {
  const std::int64_t left = file->size(file->self) - position;
  if (left <= 0) fail(QB_E_TRUNCATED);
  const auto size = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(input.size())));
  if (file->read(file->self, position, input.data(), size) != QB_OK) fail(QB_E_FILE);
  position += static_cast<std::int64_t>(size);
  source.next_input_byte = input.data();
  source.bytes_in_buffer = size;
}

void JpegReader::Job::skip(long bytes) {
  if (bytes <= 0) return;
  const auto count = static_cast<std::size_t>(bytes);
  const std::size_t here = std::min(count, source.bytes_in_buffer);
  source.next_input_byte += here;
  source.bytes_in_buffer -= here;
  position += static_cast<std::int64_t>(count - here);
}

void JpegReader::Job::readHead() {
  jpeg_save_markers(&codec, JPEG_APP0 + 1, 0xffff);
  jpeg_read_header(&codec, TRUE);
  switch (codec.jpeg_color_space) {
    case JCS_GRAYSCALE: codec.out_color_space = JCS_GRAYSCALE; break;
    case JCS_CMYK:
    case JCS_YCCK: codec.out_color_space = JCS_CMYK; break;
    default: codec.out_color_space = JCS_RGB;
  }
  codec.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&codec);
}

void JpegReader::Job::describe(QbPicture* out) const {
  *out = {};
  const bool isGrey = codec.out_color_space == JCS_GRAYSCALE;
  out->color_space = static_cast<std::int32_t>(isGrey ? KxColorSpace::Grey : KxColorSpace::Rgb);
  out->width = static_cast<std::int32_t>(codec.output_width);
  out->height = static_cast<std::int32_t>(codec.output_height);
  const double perInch = codec.density_unit == 1 ? 1 : codec.density_unit == 2 ? 2.54 : 0;
  out->dpi = static_cast<std::uint32_t>(std::lround(codec.X_density * perInch));
  out->orientation = 1;
  for (const jpeg_marker_struct* m = codec.marker_list; m; m = m->next) {
    if (const int found = exifOrientation(m->data, m->data_length)) out->orientation = found;
  }
}

void JpegReader::Job::readLine(std::uint8_t* out) {
  JSAMPROW row = hasInks() ? inks.data() : out;
  jpeg_read_scanlines(&codec, &row, 1);
  if (codec.output_scanline == codec.output_height) jpeg_finish_decompress(&codec);
  if (!hasInks()) return;
  // Programs that save inks in a JPEG save them turned over, and say so in a marker of their own.
  const int turned = codec.saw_Adobe_marker ? 0 : 255;
  const std::uint8_t* ink = inks.data();
  for (JDIMENSION x = 0; x < codec.output_width; ++x, ink += 4) {
    for (int c = 0; c < 3; ++c) *out++ = mixed(turned ^ ink[c], turned ^ ink[3]);
  }
}

JpegReader::JpegReader(const QbFile* file) : m_file(file) {}
JpegReader::~JpegReader() = default;

void JpegReader::openPage(std::int32_t, QbPicture* out) {
  m_job = std::make_unique<Job>(m_file);
  Job& job = *m_job;
  job.run([&job] { job.create(); });
  job.run([&job] { job.readHead(); });
  if (job.hasInks()) job.inks.resize(std::size_t{4} * job.codec.output_width);
  job.describe(out);
}

void JpegReader::readLine(std::uint8_t* out) {
  Job& job = *m_job;
  job.run([&job, out] { job.readLine(out); });
}

}  // namespace quillbay
