/// One page from memory into a file, by a format module or by a plain library, for format_bench.py to time:
///   format_bench ours OUT PICTURE [KEY=VALUE ...]    the module of OUT's extension, through the channels
///   format_bench libjpeg OUT PICTURE QUALITY 444|420 libjpeg-turbo alone
///   format_bench libtiff OUT PICTURE none|lzw|deflate|g4|jpeg QUALITY
///   format_bench long OUT WIDTH LINES 1|16|256 [KEY=VALUE ...]   lines made on the way; prints the peak memory in
///   MiB
/// PICTURE is a raw portable anymap (P4, P5 or P6), mapped into memory. The first three print the seconds that the
/// work alone took, with the picture in memory and the module loaded.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>
//
#include <jpeglib.h>

#include "bench_tools.h"
#include "channels/module_loader.h"
#include "channels/writing_file.h"
#include "quillbay/color_space.h"
#include "quillbay/errors.h"
#include "quillbay/process_memory.h"

namespace quillbay {
namespace {

constexpr std::size_t kStripeBytes = std::size_t{1} << 20;  // as those of a scan
constexpr std::uint32_t kDpi = 300;
constexpr int kStripTarget = 512 << 10;  // bytes of a strip of plain libtiff, as ours by default

[[noreturn]] void stop(const std::string& why) {
  std::fprintf(stderr, "format_bench: %s\n", why.c_str());
  std::exit(1);
}

/// A portable anymap, mapped.
class MappedPicture {
 public:
  explicit MappedPicture(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0) stop(path + " cannot be opened");
    m_size = static_cast<std::size_t>(info.st_size);
    m_bytes =
        static_cast<const std::uint8_t*>(::mmap(nullptr, m_size, PROT_READ, MAP_SHARED | MAP_POPULATE, fd, 0));
    ::close(fd);
    if (m_bytes == MAP_FAILED) stop(path + " cannot be mapped");
    int at = 0;
    char kind = 0;
    const std::string head(reinterpret_cast<const char*>(m_bytes), std::min<std::size_t>(m_size, 64));
    if (std::sscanf(head.c_str(), "P%c %d %d%n", &kind, &width, &height, &at) != 3) stop(path + " is no anymap");
    if (kind != '4') at += static_cast<int>(std::strlen(" 255"));
    space = kind == '4' ? KxColorSpace::Bitonal : kind == '5' ? KxColorSpace::Grey : KxColorSpace::Rgb;
    m_at = static_cast<std::size_t>(at) + 1;
    if (m_size - m_at != lineBytes() * static_cast<std::size_t>(height)) stop(path + " has a head of another kind");
  }
  ~MappedPicture() { ::munmap(const_cast<std::uint8_t*>(m_bytes), m_size); }
  MappedPicture(const MappedPicture&) = delete;
  MappedPicture& operator=(const MappedPicture&) = delete;
  [[nodiscard]] std::size_t lineBytes() const noexcept {
    return space == KxColorSpace::Bitonal ? (static_cast<std::size_t>(width) + 7) / 8
                                          : fixedLineBytes(space, width);
  }
  [[nodiscard]] const std::uint8_t* line(std::int32_t y) const noexcept {
    return m_bytes + m_at + lineBytes() * static_cast<std::size_t>(y);
  }
  std::int32_t width = 0, height = 0;
  KxColorSpace space = KxColorSpace::Grey;

 private:
  const std::uint8_t* m_bytes = nullptr;
  std::size_t m_size = 0, m_at = 0;
};

/// Prints the seconds since it was made.
class WorkTime {
 public:
  ~WorkTime() {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - m_start;
    std::printf("seconds %.4f\n", took.count());
  }

 private:
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// Options of the command line.
class GivenOptions {
 public:
  GivenOptions(char** first, char** end) {
    for (; first != end; ++first) {
      const std::string text = *first;
      const auto equals = text.find('=');
      if (equals == std::string::npos) stop(text + " is no KEY=VALUE");
      m_values.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    edge.self = this;
    edge.text = [](void* self, const char* key, char* out, std::size_t room) -> int {
      for (const auto& [name, value] : static_cast<GivenOptions*>(self)->m_values) {
        if (name != key) continue;
        std::snprintf(out, room, "%s", value.c_str());
        return 1;
      }
      return 0;
    };
  }
  QbOptions edge{};

 private:
  std::vector<std::pair<std::string, std::string>> m_values;
};

/// A page of the module that the file's name chooses; `write` makes its blocks.
template <class Write>
void writeByModule(const std::string& path, KxColorSpace space, std::int32_t width, std::int64_t lines,
                   const GivenOptions& options, Write write) {
  const QbFormat* format = formatForName(path);
  if (!format) stop("no module writes " + path);
  ::unlink(path.c_str());
  WritingFile file(format, path, path, PageFile::Mode::Create);
  QbPage page{};
  page.color_space = static_cast<std::int32_t>(space);
  page.width = width;
  page.expected_lines = lines;
  page.dpi = kDpi;
  page.software = "bench";
  page.date_time = "2020:02:02 20:20:20";
  page.title = "";
  file.beginPage(page, options.edge);
  write(file);
  file.endLines();
  file.finishPage();
}

int ours(const std::string& out, const MappedPicture& picture, const GivenOptions& options) {
  static_cast<void>(formatForName(out));  // loads the module
  const WorkTime time;
  writeByModule(out, picture.space, picture.width, picture.height, options, [&](WritingFile& file) {
    QbBlock block{};
    block.stride = picture.lineBytes();
    block.packed = picture.space == KxColorSpace::Bitonal ? 1 : 0;
    block.add_hold = [](void*) {};
    block.release_hold = [](void*) {};
    const auto step = static_cast<std::int32_t>(std::max<std::size_t>(1, kStripeBytes / block.stride));
    for (std::int32_t y = 0; y < picture.height; y += step) {
      block.lines = std::min(step, picture.height - y);
      block.bytes = picture.line(y);
      if (!file.writeLines(block)) throw quillbay::CXIFaceException("the format holds no such page");
    }
  });
  return 0;
}

/// A stripe of lines with its count of holds.
struct MadeStripe {
  explicit MadeStripe(std::size_t size) : bytes(size) {}
  std::vector<std::uint8_t> bytes;
  std::atomic<int> holds{1};
  static void add(void* self) { ++static_cast<MadeStripe*>(self)->holds; }
  static void release(void* self) {
    auto* stripe = static_cast<MadeStripe*>(self);
    if (--stripe->holds == 0) delete stripe;
  }
};

int longPage(const std::string& out, std::int32_t width, std::int64_t lines, KxColorSpace space,
             const GivenOptions& options) {
  const bool bitonal = space == KxColorSpace::Bitonal;
  const std::size_t lineBytes = bitonal ? (static_cast<std::size_t>(width) + 7) / 8 : fixedLineBytes(space, width);
  // A slope with a little noise; lines begin at changing places in it.
  std::vector<std::uint8_t> pattern(lineBytes + 4096);
  std::uint32_t random = 1;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    random = random * 1664525U + 1013904223U;
    pattern[i] = static_cast<std::uint8_t>(bitonal ? (i / 9 % 7 < 2 ? 0xff : 0) : i / 40 % 200 + (random >> 29));
  }
  const auto step = static_cast<std::int32_t>(std::max<std::size_t>(1, kStripeBytes / lineBytes));
  writeByModule(out, space, width, lines, options, [&](WritingFile& file) {
    for (std::int64_t y = 0; y < lines; y += step) {
      const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(step, lines - y));
      auto* stripe = new MadeStripe(lineBytes * static_cast<std::size_t>(count));
      for (std::int32_t i = 0; i < count; ++i) {
        const auto shift = static_cast<std::size_t>((y + i) * 31 % 4093);
        std::memcpy(stripe->bytes.data() + lineBytes * static_cast<std::size_t>(i), pattern.data() + shift,
                    lineBytes);
      }
      QbBlock block{};
      block.lines = count;
      block.bytes = stripe->bytes.data();
      block.stride = lineBytes;
      block.packed = bitonal ? 1 : 0;
      block.hold = stripe;
      block.add_hold = MadeStripe::add;
      block.release_hold = MadeStripe::release;
      if (!file.writeLines(block)) throw quillbay::CXIFaceException("the format holds no such page");
      MadeStripe::release(stripe);
    }
  });
  std::printf("%.1f\n", bench::memoryMib("VmHWM"));
  return 0;
}

int plainJpeg(const std::string& out, const MappedPicture& picture, int quality, bool full) {
  const WorkTime time;
  FILE* file = std::fopen(out.c_str(), "wb");
  if (!file) stop(out + " cannot be made");
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors{};
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  jpeg_stdio_dest(&codec, file);
  codec.image_width = static_cast<JDIMENSION>(picture.width);
  codec.image_height = static_cast<JDIMENSION>(picture.height);
  codec.input_components = picture.space == KxColorSpace::Rgb ? 3 : 1;
  codec.in_color_space = codec.input_components == 3 ? JCS_RGB : JCS_GRAYSCALE;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, quality, TRUE);
  if (full) codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = 1;
  jpeg_start_compress(&codec, TRUE);
  while (codec.next_scanline < codec.image_height) {
    auto* row = const_cast<JSAMPLE*>(picture.line(static_cast<std::int32_t>(codec.next_scanline)));
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  return std::fclose(file);
}

int plainTiff(const std::string& out, const MappedPicture& picture, const std::string& compression, int quality) {
  const std::pair<const char*, int> known[] = {{"none", COMPRESSION_NONE},
                                               {"lzw", COMPRESSION_LZW},
                                               {"deflate", COMPRESSION_ADOBE_DEFLATE},
                                               {"g4", COMPRESSION_CCITTFAX4},
                                               {"jpeg", COMPRESSION_JPEG}};
  const auto* chosen = std::find_if(std::begin(known), std::end(known),
                                    [&](const auto& entry) { return compression == entry.first; });
  if (chosen == std::end(known)) stop("libtiff writes no " + compression);
  TIFF* tiff = TIFFOpen(out.c_str(), "w");
  if (!tiff) stop(out + " cannot be made");
  const WorkTime time;
  const bool bitonal = picture.space == KxColorSpace::Bitonal, rgb = picture.space == KxColorSpace::Rgb;
  const bool jpeg = chosen->second == COMPRESSION_JPEG;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, rgb ? 3 : 1);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bitonal ? 1 : 8);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, chosen->second);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
               bitonal ? PHOTOMETRIC_MINISWHITE
               : !rgb  ? PHOTOMETRIC_MINISBLACK
               : jpeg  ? PHOTOMETRIC_YCBCR
                       : PHOTOMETRIC_RGB);
  if (jpeg) {
    TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, quality);
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  }
  if (compression == "lzw" || compression == "deflate") TIFFSetField(tiff, TIFFTAG_PREDICTOR, bitonal ? 1 : 2);
  if (compression == "deflate") TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 1);
  const int lines = std::max(16, kStripTarget / static_cast<int>(picture.lineBytes()) / 16 * 16);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, lines);
  std::vector<std::uint8_t> strip;  // libtiff changes what it encodes
  for (std::int32_t y = 0; y < picture.height; y += lines) {
    const std::size_t size = picture.lineBytes() * static_cast<std::size_t>(std::min(lines, picture.height - y));
    strip.assign(picture.line(y), picture.line(y) + size);
    if (TIFFWriteEncodedStrip(tiff, static_cast<std::uint32_t>(y / lines), strip.data(),
                              static_cast<tmsize_t>(size)) < 0)
      stop("libtiff failed");
  }
  TIFFClose(tiff);
  return 0;
}

int run(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  if (what == "ours" && argc >= 4)
    return ours(argv[2], MappedPicture(argv[3]), GivenOptions(argv + 4, argv + argc));
  if (what == "libjpeg" && argc == 6)
    return plainJpeg(argv[2], MappedPicture(argv[3]), std::atoi(argv[4]), std::string(argv[5]) == "444");
  if (what == "libtiff" && argc == 6)
    return plainTiff(argv[2], MappedPicture(argv[3]), argv[4], std::atoi(argv[5]));
  if (what == "long" && argc >= 6) {
    return longPage(argv[2], std::atoi(argv[3]), std::atoll(argv[4]), static_cast<KxColorSpace>(std::atoi(argv[5])),
                    GivenOptions(argv + 6, argv + argc));
  }
  stop("usage: format_bench ours|libjpeg|libtiff|long OUT ...; the first lines of its source say more");
}

}  // namespace
}  // namespace quillbay

int main(int argc, char** argv) {
  quillbay::keepFreedMemory();  // as our programs do; for the plain libraries, too
  try {
    return quillbay::run(argc, argv);
  } catch (const quillbay::CXException& e) {
    std::fprintf(stderr, "format_bench: %s\n", e.what());
    return 1;
  }
}
