// Adding a page to a file that may be damaged: it is refused, or the new page is there and the pages before it are
// what they were.
#include "fuzzed_module.h"

using quillbay::fuzz::checkAnswer;
using quillbay::fuzz::CheckedReader;
using quillbay::fuzz::fuzzedModule;
using quillbay::fuzz::MemoryFile;
using quillbay::fuzz::require;

namespace {

constexpr std::int32_t kWidth = 13, kHeight = 5, kMostPages = 3, kMostLines = 20;
constexpr std::size_t kMostReadBytes = std::size_t{1} << 20;

const QbFormat& fuzzedFormat() { return *fuzzedModule().formats[0]; }

using Lines = std::vector<std::uint8_t>;

/// The first lines of the first pages; empty where a page cannot be opened.
std::vector<Lines> pagesOf(const MemoryFile& file, std::int32_t* count) {
  std::vector<Lines> pages;
  CheckedReader reader(fuzzedFormat(), file);
  *count = reader.opened() ? reader.pages() : 0;
  for (std::int32_t page = 0; page < std::min(*count, kMostPages); ++page) {
    const auto picture = reader.openPage(page);
    const bool reads = picture && quillbay::fuzz::lineBytesOf(*picture) <= kMostReadBytes;
    pages.push_back(reads ? reader.readLines(*picture, kMostLines, 0) : Lines{});
  }
  return pages;
}

/// Adds a grey page; returns how many pages the file has then, or 0 when it was refused.
std::int32_t addPage(const MemoryFile& file) {
  const QbFormat& format = fuzzedFormat();
  QbText why{};
  QbWriter* writer = nullptr;
  int code = format.open_writer(file.edge(), &writer, &why);
  checkAnswer(code, why);
  if (code != QB_OK) return 0;
  std::uint8_t pixels[kWidth * kHeight];
  for (std::size_t i = 0; i < sizeof pixels; ++i) pixels[i] = static_cast<std::uint8_t>(i * 3);
  QbPage page{};
  page.color_space = 16;
  page.width = kWidth;
  page.expected_lines = kHeight;
  page.dpi = 300;
  page.paged = 1;
  page.software = "fuzz";
  page.date_time = "2020:02:02 20:20:20";
  page.title = "";
  QbOptions none{};
  none.text = [](void*, const char*, char*, std::size_t) { return 0; };
  QbBlock block{};
  block.lines = kHeight;
  block.bytes = pixels;
  block.stride = kWidth;
  block.add_hold = [](void*) {};
  block.release_hold = [](void*) {};
  code = format.begin_page(writer, &page, &none, &why);
  if (code == QB_OK) code = format.write_lines(writer, &block, &why);
  if (code == QB_OK) code = format.end_page(writer, &why);
  checkAnswer(code, why);
  const std::int32_t pages = code == QB_OK ? format.page_count(writer) : 0;
  if (code != QB_OK) format.drop_page(writer);
  format.close_writer(writer);
  return pages;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  require(fuzzedFormat().paged != 0, "the format takes several pages");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0 && !quillbay::fuzz::formatOf(data, size)) return -1;
  MemoryFile file(data, size);
  std::int32_t before = 0;
  const std::vector<Lines> were = pagesOf(file, &before);
  const std::int32_t counted = addPage(file);
  if (counted == 0) return 0;
  file.applyPatches();
  std::int32_t after = 0;
  const std::vector<Lines> are = pagesOf(file, &after);
  require(after == before + 1 && after == counted, "the file has one page more");
  for (std::size_t i = 0; i < were.size(); ++i) {
    // A page that ended with the file may find more now.
    const bool same = are[i].size() >= were[i].size() && std::equal(were[i].begin(), were[i].end(), are[i].begin());
    require(same, "the pages before are what they were");
  }
  CheckedReader reader(fuzzedFormat(), file);
  const auto picture = reader.openPage(after - 1);
  require(picture && picture->width == kWidth && picture->height == kHeight, "the new page is there");
  require(reader.readLines(*picture, kHeight, 0).size() == quillbay::fuzz::lineBytesOf(*picture) * kHeight,
          "with all of its lines");
  return 0;
}
