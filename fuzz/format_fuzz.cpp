// The reader of a format module: whatever the bytes, a page that is a page, or a reason. Lines hold nothing but
// what the file says: they are the same however the memory was filled before.
#include <limits>

#include "fuzzed_module.h"

using quillbay::fuzz::CheckedReader;
using quillbay::fuzz::MemoryFile;
using quillbay::fuzz::require;

namespace {

constexpr std::int32_t kMostPages = 8;
constexpr std::size_t kMostReadBytes = std::size_t{32} << 20;  // of a line
// A format may decode the whole page for its first line, so that a few bytes that claim many pixels take long.
#ifdef QUILLBAY_FUZZ_MOST_PIXELS
constexpr std::int64_t kMostPixels = QUILLBAY_FUZZ_MOST_PIXELS;
#else
constexpr std::int64_t kMostPixels = std::numeric_limits<std::int64_t>::max();
#endif
constexpr std::size_t kMostPageBytes = std::size_t{4} << 20;
constexpr std::size_t kMostComparedBytes = std::size_t{64} << 10;

void readPage(CheckedReader& reader, std::int32_t page) {
  const auto picture = reader.openPage(page);
  if (!picture) return;
  const std::size_t lineBytes = quillbay::fuzz::lineBytesOf(*picture);
  if (lineBytes > kMostReadBytes || std::int64_t{picture->width} * picture->height > kMostPixels) return;
  const auto most = static_cast<std::int32_t>(std::clamp<std::size_t>(kMostPageBytes / lineBytes, 1, 20'000));
  const auto lines = reader.readLines(*picture, most, 0x5a);
  if (lines.size() > kMostComparedBytes) return;
  const auto again = reader.openPage(page);
  require(again.has_value(), "a page that was opened opens again");
  require(again->width == picture->width && again->height == picture->height, "and is the same");
  require(reader.readLines(*again, most, 0xa5) == lines, "its lines are the same");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  (void)quillbay::fuzz::fuzzedModule();  // its counters are there before the first input
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QbFormat* format = quillbay::fuzz::formatOf(data, size);
  if (!format) return -1;  // no such file gets to this module
  const MemoryFile file(data, size);
  CheckedReader reader(*format, file);
  if (!reader.opened()) return 0;
  const std::int32_t pages = std::min(reader.pages(), kMostPages);
  for (std::int32_t page = 0; page < pages; ++page) readPage(reader, page);
  return 0;
}
