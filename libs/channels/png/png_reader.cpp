#include "channels/png/png_reader.h"

#include <png.h>

#include <cmath>
#include <csetjmp>
#include <cstdint>
#include <vector>

#include "quillbay/run_list.h"

namespace quillbay {
namespace {

constexpr std::uint64_t kMaxInterlacedBytes = std::uint64_t{1} << 30;

/// All that outlives a jump of libpng back into `run`; nothing with a destructor lives inside of it.
struct PngJob {
  const QbFile* file = nullptr;
  const QbRasterSink* sink = nullptr;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::int64_t position = 0;
  int code = QB_OK;
  char complaint[200] = "";
  png_uint_32 width = 0, height = 0;
  std::uint32_t dpi = 0;
  int colorType = 0;
  bool bitonal = false;
  std::uint8_t palette[256 * 4] = {};
  int paletteCount = 0;
  std::vector<std::uint8_t> rows, black;
  std::vector<std::uint32_t> runs;
  ~PngJob() { png_destroy_read_struct(&png, &info, nullptr); }
};

[[noreturn]] void onError(png_structp png, png_const_charp text) {
  auto* job = static_cast<PngJob*>(png_get_error_ptr(png));
  if (job->code == QB_OK) job->code = QB_E_DAMAGED;
  std::strncpy(job->complaint, text, sizeof job->complaint - 1);
  png_longjmp(png, 1);
}

void onRead(png_structp png, png_bytep bytes, png_size_t size) {
  auto* job = static_cast<PngJob*>(png_get_io_ptr(png));
  const std::int64_t left = job->file->size(job->file->self) - job->position;
  if (left < 0 || static_cast<std::uint64_t>(left) < size) png_error(png, "the file ends early");
  if (job->file->read(job->file->self, job->position, bytes, size) != QB_OK) {
    job->code = QB_E_FILE;
    png_error(png, "read");
  }
  job->position += static_cast<std::int64_t>(size);
}

void check(PngJob& job, int code) {
  if (code == QB_OK) return;
  job.code = code;
  png_error(job.png, "stopped");
}

void readHead(PngJob& job) {
  png_set_user_limits(job.png, 0x7fffffff, 0x7fffffff);
  png_read_info(job.png, job.info);
  job.width = png_get_image_width(job.png, job.info);
  job.height = png_get_image_height(job.png, job.info);
  job.colorType = png_get_color_type(job.png, job.info);
  const int depth = png_get_bit_depth(job.png, job.info);
  job.dpi = static_cast<std::uint32_t>(std::lround(png_get_x_pixels_per_meter(job.png, job.info) * 0.0254));
  job.bitonal = job.colorType == PNG_COLOR_TYPE_GRAY && depth == 1;
  if (depth == 16) png_set_strip_16(job.png);
  if (job.colorType == PNG_COLOR_TYPE_GRAY && depth < 8 && !job.bitonal) png_set_expand_gray_1_2_4_to_8(job.png);
  if (job.colorType == PNG_COLOR_TYPE_PALETTE && depth < 8) png_set_packing(job.png);
  if (job.colorType & PNG_COLOR_MASK_ALPHA) png_set_strip_alpha(job.png);
  png_colorp entries = nullptr;
  if (job.colorType == PNG_COLOR_TYPE_PALETTE && png_get_PLTE(job.png, job.info, &entries, &job.paletteCount)) {
    for (int i = 0; i < job.paletteCount; ++i) {
      job.palette[4 * i] = entries[i].red;
      job.palette[4 * i + 1] = entries[i].green;
      job.palette[4 * i + 2] = entries[i].blue;
    }
  }
}

void takeLine(PngJob& job, const std::uint8_t* row) {
  if (!job.bitonal) return check(job, job.sink->line(job.sink->self, row));
  for (std::size_t i = 0; i < job.black.size(); ++i) job.black[i] = static_cast<std::uint8_t>(~row[i]);
  bitsToRuns(job.black.data(), static_cast<std::int32_t>(job.width), job.runs.data());
  check(job, job.sink->line(job.sink->self, reinterpret_cast<const std::uint8_t*>(job.runs.data())));
}

/// Makes the buffers; may throw, so it runs outside of libpng's reach.
void makeRoom(PngJob& job, int passes, std::size_t rowBytes) {
  const std::uint64_t rows = passes > 1 ? job.height : 1;
  if (passes > 1 && rows * rowBytes > kMaxInterlacedBytes) {
    throw ModuleError(QB_E_REFUSED, "the interlaced picture is too large to be read; save it without interlacing");
  }
  job.rows.resize(rows * rowBytes);
  if (!job.bitonal) return;
  job.black.resize((std::size_t{job.width} + 7) / 8);
  job.runs.resize(std::size_t{job.width} + 4);
}

void readLines(PngJob& job, int passes, std::size_t rowBytes) {
  const int type = job.bitonal                                   ? 1
                   : job.colorType == PNG_COLOR_TYPE_PALETTE     ? 8
                   : (job.colorType & PNG_COLOR_MASK_COLOR) == 0 ? 16
                                                                 : 256;
  check(job, job.sink->begin(job.sink->self, type, static_cast<std::int32_t>(job.width),
                             static_cast<std::int32_t>(job.height), job.dpi, job.palette, job.paletteCount));
  for (int pass = 0; pass < passes; ++pass) {
    for (png_uint_32 y = 0; y < job.height; ++y) {
      std::uint8_t* row = job.rows.data() + (passes > 1 ? y * rowBytes : 0);
      png_read_row(job.png, row, nullptr);
      if (pass == passes - 1) takeLine(job, row);
    }
  }
  png_read_end(job.png, nullptr);
}

/// Runs a step; false when libpng jumped out of it.
template <class Step>
bool run(PngJob& job, Step step) {
  if (setjmp(png_jmpbuf(job.png))) return false;
  step();
  return true;
}

}  // namespace

void readPng(const QbFile* file, const QbRasterSink& sink) {
  PngJob job;
  job.file = file;
  job.sink = &sink;
  job.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &job, onError, [](png_structp, png_const_charp) {});
  job.info = job.png ? png_create_info_struct(job.png) : nullptr;
  if (!job.info) throw std::bad_alloc();
  png_set_read_fn(job.png, &job, onRead);
  int passes = 1;
  std::size_t rowBytes = 0;
  const bool known = run(job, [&] {
    readHead(job);
    passes = png_set_interlace_handling(job.png);
    png_read_update_info(job.png, job.info);
    rowBytes = png_get_rowbytes(job.png, job.info);
  });
  if (known) {
    makeRoom(job, passes, rowBytes);
    if (run(job, [&] { readLines(job, passes, rowBytes); })) return;
  }
  throw ModuleError(job.code, job.code == QB_E_DAMAGED ? std::string("the file is damaged: ") + job.complaint : "");
}

}  // namespace quillbay
