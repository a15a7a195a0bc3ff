#pragma once
#include <dlfcn.h>

#include <algorithm>
#include <optional>

#include "channels/codec/module_support.h"
#include "memory_file.h"
#include "quillbay/color_space.h"

namespace quillbay::fuzz {

/// The format module that a target is built for, loaded as the channels load it.
inline const QbModule& fuzzedModule() {
  static const QbModule* const loaded = [] {
    void* handle = dlopen(QUILLBAY_FUZZED_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (!handle) std::fprintf(stderr, "%s\n", dlerror());
    require(handle != nullptr, "the module is loaded");
    const auto factory = reinterpret_cast<QbModuleFactory>(dlsym(handle, QUILLBAY_FORMAT_FACTORY));
    require(factory != nullptr, "it has a factory");
    const QbModule* module = factory(QUILLBAY_FORMAT_ABI);
    require(module && module->abi == QUILLBAY_FORMAT_ABI && module->table_size == sizeof(QbFormat), "it is ours");
    return module;
  }();
  return *loaded;
}

/// The module's format of a file that begins with these bytes; null when it has none.
inline const QbFormat* formatOf(const std::uint8_t* data, std::size_t size) {
  const QbModule& module = fuzzedModule();
  for (int i = 0; i < module.count; ++i) {
    if (module.formats[i]->probe(data, std::min<std::size_t>(size, 64))) return module.formats[i];
  }
  return nullptr;
}

/// The bytes of a line, as `QbFormat::read_line` has them.
inline std::size_t lineBytesOf(const QbPicture& picture) {
  const auto width = static_cast<std::size_t>(picture.width);
  switch (picture.color_space) {
    case 1: return (width + 7) / 8;
    case 256: return 3 * width;
    default: return width;
  }
}

/// The reader of a file, with what the channels count on checked at every step.
class CheckedReader {
 public:
  CheckedReader(const QbFormat& format, const MemoryFile& file) : m_format(format) {
    QbText why{};
    m_code = m_format.open_reader(file.edge(), &m_reader, &why);
    checkAnswer(m_code, why);
    require(m_code != QB_OK || m_reader, "an opened reader is there");
  }
  ~CheckedReader() {
    if (m_code == QB_OK) m_format.close_reader(m_reader);
  }
  CheckedReader(const CheckedReader&) = delete;
  CheckedReader& operator=(const CheckedReader&) = delete;

  [[nodiscard]] bool opened() const noexcept { return m_code == QB_OK; }
  [[nodiscard]] std::int32_t pages() const {
    const std::int32_t pages = m_format.reader_pages(m_reader);
    require(pages >= 0, "a file has no less than 0 pages");
    return pages;
  }

  std::optional<QbPicture> openPage(std::int32_t page) {
    QbPicture picture;
    std::memset(&picture, 0xee, sizeof picture);
    QbText why{};
    const int code = m_format.open_page(m_reader, page, &picture, &why);
    checkAnswer(code, why);
    if (code != QB_OK) return {};
    const std::int32_t space = picture.color_space;
    require(space == 1 || space == 8 || space == 16 || space == 256, "pages come in one of four colour spaces");
    require(picture.width > 0 && picture.height > 0, "a page has pixels");
    require(lineBytesOf(picture) <= kMostLineBytes, "a line is one that a picture has");
    require(picture.orientation >= 1 && picture.orientation <= 8, "lines lie in one of eight ways");
    require(picture.palette_count >= 0 && picture.palette_count <= 256, "a palette has at most 256 entries");
    require(picture.dpi < 10'000'000, "a resolution is a number that was read");
    return picture;
  }

  /// The next lines, at most `most`; fewer where one cannot be read. Bits beyond the width are cleared. Each line
  /// has memory of its own size, filled with `fill` before.
  std::vector<std::uint8_t> readLines(const QbPicture& picture, std::int32_t most, int fill) {
    const std::size_t lineBytes = lineBytesOf(picture);
    const int spare = static_cast<int>(lineBytes * 8 - static_cast<std::size_t>(picture.width));
    std::vector<std::uint8_t> lines;
    for (std::int32_t y = 0; y < std::min(picture.height, most); ++y) {
      std::vector<std::uint8_t> line(lineBytes, static_cast<std::uint8_t>(fill));
      QbText why{};
      const int code = m_format.read_line(m_reader, line.data(), &why);
      checkAnswer(code, why);
      if (code != QB_OK) break;
      if (picture.color_space == 1) line.back() = static_cast<std::uint8_t>(line.back() & (0xff << spare));
      lines.insert(lines.end(), line.begin(), line.end());
    }
    return lines;
  }

 private:
  const QbFormat& m_format;
  QbReader* m_reader = nullptr;
  int m_code = QB_OK;
};

}  // namespace quillbay::fuzz
