#include "channels/png/png_reader.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <vector>

#include "quillbay/color_space.h"

namespace quillbay {
namespace {

std::uint8_t onWhite(int value, int opacity) noexcept {
  return static_cast<std::uint8_t>(255 - ((255 - value) * opacity + 127) / 255);
}

}  // namespace

/// All that outlives a jump of libpng back into `run`; nothing with a destructor lives inside of it.
struct PngReader::Job {
  explicit Job(const QbFile* from) : file(from) {}
  ~Job() { png_destroy_read_struct(&png, &info, nullptr); }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;

  const QbFile* file;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::int64_t position = 0;
  int code = QB_OK;
  char complaint[200] = "";
  png_uint_32 width = 0, height = 0;
  int colorType = 0, depth = 0, passes = 1;
  std::size_t rowBytes = 0;
  png_uint_32 next = 0;            // line
  bool hasOpacity = false;         // a sample of it follows each pixel
  std::vector<std::uint8_t> rows;  // interlaced: all of them; with opacity: one

  void readInfo();
  void chooseForm();
  void findOpacity();
  void readLine(std::uint8_t* out);
  void layOnWhite(const std::uint8_t* row, std::uint8_t* out) const noexcept;
  void describe(QbPicture* out);
  [[nodiscard]] bool isBitonal() const noexcept { return colorType == PNG_COLOR_TYPE_GRAY && depth == 1; }
  [[nodiscard]] bool isPalette() const noexcept { return colorType == PNG_COLOR_TYPE_PALETTE; }

  static void onError(png_structp png, png_const_charp text);
  static void onRead(png_structp png, png_bytep bytes, png_size_t size);
  /// Runs a step; throws what made libpng jump out of it.
  template <class Step>
  void run(Step step) {
    if (!finishes(step))
      throw ModuleError(code, code == QB_E_DAMAGED ? std::string("the file is damaged: ") + complaint : "");
  }
  template <class Step>
  bool finishes(Step step) {
    if (setjmp(png_jmpbuf(png))) return false;
    step();
    return true;
  }
};

void PngReader::Job::onError(png_structp png, png_const_charp text) {
  auto* job = static_cast<Job*>(png_get_error_ptr(png));
  if (job->code == QB_OK) job->code = QB_E_DAMAGED;
  std::strncpy(job->complaint, text, sizeof job->complaint - 1);
  png_longjmp(png, 1);
}

void PngReader::Job::onRead(png_structp png, png_bytep bytes, png_size_t size) {
  auto* job = static_cast<Job*>(png_get_io_ptr(png));
  const std::int64_t left = job->file->size(job->file->self) - job->position;
  if (left < 0 || static_cast<std::uint64_t>(left) < size) {
    job->code = QB_E_TRUNCATED;
    png_error(png, "end");
  }
  if (job->file->read(job->file->self, job->position, bytes, size) != QB_OK) {
    job->code = QB_E_FILE;
    png_error(png, "read");
  }
  job->position += static_cast<std::int64_t>(size);
}

void PngReader::Job::readInfo() {
  png_set_user_limits(png, 0x7fffffff, 0x7fffffff);
  png_read_info(png, info);
  width = png_get_image_width(png, info);
  height = png_get_image_height(png, info);
  colorType = png_get_color_type(png, info);
  depth = png_get_bit_depth(png, info);
}

/// How lines come; libpng takes memory for them.
void PngReader::Job::chooseForm() {
  findOpacity();
  if (depth == 16) png_set_strip_16(png);
  if (colorType == PNG_COLOR_TYPE_GRAY && depth < 8 && !isBitonal()) png_set_expand_gray_1_2_4_to_8(png);
  if (isPalette() && depth < 8) png_set_packing(png);
  if (isBitonal()) png_set_invert_mono(png);
  passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  rowBytes = png_get_rowbytes(png, info);
}

/// A palette's entries are laid on white where it is described; a bitonal picture's transparent colour is left
/// alone.
void PngReader::Job::findOpacity() {
  const bool keyed = png_get_valid(png, info, PNG_INFO_tRNS) != 0 && !isPalette() && !isBitonal();
  if (keyed) png_set_tRNS_to_alpha(png);
  hasOpacity = keyed || (colorType & PNG_COLOR_MASK_ALPHA) != 0;
}

void PngReader::Job::describe(QbPicture* out) {
  *out = {};
  const KxColorSpace space = isBitonal()                               ? KxColorSpace::Bitonal
                             : isPalette()                             ? KxColorSpace::Palette
                             : (colorType & PNG_COLOR_MASK_COLOR) == 0 ? KxColorSpace::Grey
                                                                       : KxColorSpace::Rgb;
  out->color_space = static_cast<std::int32_t>(space);
  out->width = static_cast<std::int32_t>(width);
  out->height = static_cast<std::int32_t>(height);
  out->orientation = 1;
  out->dpi = static_cast<std::uint32_t>(std::lround(png_get_x_pixels_per_meter(png, info) * 0.0254));
  png_colorp entries = nullptr;
  int count = 0;
  if (!isPalette() || !png_get_PLTE(png, info, &entries, &count)) return;
  png_bytep opacity = nullptr;
  int opacities = 0;
  png_get_tRNS(png, info, &opacity, &opacities, nullptr);
  out->palette_count = std::min(count, 256);
  for (int i = 0; i < out->palette_count; ++i) {
    const int alpha = opacity && i < opacities ? opacity[i] : 255;
    out->palette[4 * i] = onWhite(entries[i].red, alpha);
    out->palette[4 * i + 1] = onWhite(entries[i].green, alpha);
    out->palette[4 * i + 2] = onWhite(entries[i].blue, alpha);
  }
}

void PngReader::Job::readLine(std::uint8_t* out) {
  for (int pass = next == 0 ? 0 : passes - 1; pass < passes - 1; ++pass) {
    for (png_uint_32 y = 0; y < height; ++y) png_read_row(png, rows.data() + y * rowBytes, nullptr);
  }
  std::uint8_t* row = rows.empty() ? out : rows.data() + (passes > 1 ? next * rowBytes : 0);
  png_read_row(png, row, nullptr);
  if (hasOpacity) {
    layOnWhite(row, out);
  } else if (row != out) {
    std::memcpy(out, row, rowBytes);
  }
  if (++next == height) png_read_end(png, nullptr);
}

void PngReader::Job::layOnWhite(const std::uint8_t* row, std::uint8_t* out) const noexcept {
  const std::size_t colours = (colorType & PNG_COLOR_MASK_COLOR) ? 3 : 1;
  for (png_uint_32 x = 0; x < width; ++x, row += colours + 1) {
    for (std::size_t c = 0; c < colours; ++c) *out++ = onWhite(row[c], row[colours]);
  }
}

PngReader::PngReader(const QbFile* file) : m_file(file) {}
PngReader::~PngReader() = default;

void PngReader::openPage(std::int32_t, QbPicture* out) {
  constexpr std::uint64_t kMaxInterlacedBytes = std::uint64_t{1} << 30;
  m_job = std::make_unique<Job>(m_file);
  Job& job = *m_job;
  job.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &job, Job::onError, [](png_structp, png_const_charp) {});
  job.info = job.png ? png_create_info_struct(job.png) : nullptr;
  if (!job.info) throw std::bad_alloc();
  png_set_read_fn(job.png, &job, Job::onRead);
  job.run([&job] { job.readInfo(); });
  checkLineBytes(std::uint64_t{job.width} * 4 * (job.depth == 16 ? 2 : 1));
  job.run([&job] { job.chooseForm(); });
  job.describe(out);
  if (job.passes == 1) return job.rows.resize(job.hasOpacity ? job.rowBytes : 0);
  if (std::uint64_t{job.height} * job.rowBytes > kMaxInterlacedBytes) {
    throw ModuleError(QB_E_REFUSED, "the interlaced picture is too large to be read; save it without interlacing");
  }
  job.rows.resize(job.height * job.rowBytes);
}

void PngReader::readLine(std::uint8_t* out) {
  Job& job = *m_job;
  job.run([&job, out] { job.readLine(out); });
}

}  // namespace quillbay
