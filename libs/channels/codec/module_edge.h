#pragma once
#include <cstdint>
#include <memory>

#include "channels/codec/module_support.h"
#include "quillbay/color_space.h"

namespace quillbay {

/// Kinds of pages, to be added up for `acceptsKinds`. `WideColour`: four bytes to a pixel.
namespace page_kind {
inline constexpr unsigned Bitonal = 1, Palette = 2, Grey = 4, Colour = 8, WideColour = 16;
}

/// `QbFormat::accepts` of a format that takes the kinds of pages in `kinds`.
template <unsigned kinds>
int acceptsKinds(std::int32_t colorSpace) {
  const auto has = [](unsigned kind) { return (kinds & kind) != 0 ? 1 : 0; };
  switch (static_cast<KxColorSpace>(colorSpace)) {
    case KxColorSpace::Bitonal:
    case KxColorSpace::BitonalRle: return has(page_kind::Bitonal);
    case KxColorSpace::Palette: return has(page_kind::Palette);
    case KxColorSpace::Grey: return has(page_kind::Grey);
    case KxColorSpace::Rgb:
    case KxColorSpace::Bgr: return has(page_kind::Colour);
    case KxColorSpace::Rgba:
    case KxColorSpace::Bgra: return has(page_kind::WideColour);
    default: return 0;
  }
}

/// A module of these formats.
template <std::size_t count>
constexpr QbModule makeModule(const QbFormat* const (&formats)[count]) {
  return {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), static_cast<int>(count), formats};
}

/// What a format is called and takes: the first fields of `QbFormat`.
struct FormatWords {
  const char* name;
  const char* description;
  const char* const* extensions;
  bool paged;
  const QbOptionInfo* options;
  int (*probe)(const std::uint8_t* head, std::size_t size);
  int (*accepts)(std::int32_t colorSpace);
};

/// The edge of a format that two classes make, which throw what they like:
/// - `Writer(const QbFile*)`, `pages()`, `begin(const QbPage&, const QbOptions*)`, `write(const QbBlock&)`,
/// `end()`,
///   `drop()`;
/// - `Reader(const QbFile*)`, `pages()`, `openPage(page, QbPicture*)`, `readLine(bytes)`.
template <class Writer, class Reader>
constexpr QbFormat makeFormat(const FormatWords& words) {
  struct Of {
    static Writer& it(QbWriter* writer) noexcept { return *reinterpret_cast<Writer*>(writer); }
    static Reader& it(QbReader* reader) noexcept { return *reinterpret_cast<Reader*>(reader); }
    /// A writer with `wholeSize()` has an end that readers look for.
    static constexpr auto wholeSize() -> std::int64_t (*)(QbWriter*) {
      if constexpr (requires(const Writer& writer) { writer.wholeSize(); })
        return [](QbWriter* writer) -> std::int64_t {
          QbText why{};
          std::int64_t size = -1;
          atEdge(&why, [&] { size = it(writer).wholeSize(); });
          return size;
        };
      else
        return nullptr;
    }
  };
  return {
      .name = words.name,
      .description = words.description,
      .extensions = words.extensions,
      .paged = words.paged ? 1 : 0,
      .options = words.options,
      .probe = words.probe,
      .accepts = words.accepts,
      .open_writer = [](const QbFile* file, QbWriter** out, QbText* why) -> int {
        return atEdge(why, [&] { *out = reinterpret_cast<QbWriter*>(std::make_unique<Writer>(file).release()); });
      },
      .page_count = [](QbWriter* writer) -> std::int32_t { return Of::it(writer).pages(); },
      .begin_page = [](QbWriter* writer, const QbPage* page, const QbOptions* options, QbText* why) -> int {
        return atEdge(why, [&] { Of::it(writer).begin(*page, options); });
      },
      .write_lines = [](QbWriter* writer, const QbBlock* block, QbText* why) -> int {
        return atEdge(why, [&] { Of::it(writer).write(*block); });
      },
      .end_page = [](QbWriter* writer, QbText* why) -> int { return atEdge(why, [&] { Of::it(writer).end(); }); },
      .drop_page = [](QbWriter* writer) { Of::it(writer).drop(); },
      .close_writer = [](QbWriter* writer) { std::unique_ptr<Writer>(&Of::it(writer)).reset(); },
      .open_reader = [](const QbFile* file, QbReader** out, QbText* why) -> int {
        return atEdge(why, [&] { *out = reinterpret_cast<QbReader*>(std::make_unique<Reader>(file).release()); });
      },
      .reader_pages = [](QbReader* reader) -> std::int32_t { return Of::it(reader).pages(); },
      .open_page = [](QbReader* reader, std::int32_t page, QbPicture* out, QbText* why) -> int {
        return atEdge(why, [&] { Of::it(reader).openPage(page, out); });
      },
      .read_line = [](QbReader* reader, std::uint8_t* out, QbText* why) -> int {
        return atEdge(why, [&] { Of::it(reader).readLine(out); });
      },
      .close_reader = [](QbReader* reader) { std::unique_ptr<Reader>(&Of::it(reader)).reset(); },
      .whole_size = Of::wholeSize(),
  };
}

/// The writer of a format with one page to a file. A `Page` is made of file, page and options, and has `write`,
/// `finish` and, static, `isFinishedIn(EdgeFile)`.
template <class Page>
class SinglePageWriter {
 public:
  explicit SinglePageWriter(const QbFile* file) : m_file(file), m_pages(Page::isFinishedIn(m_file) ? 1 : 0) {}
  [[nodiscard]] std::int32_t pages() const noexcept { return m_pages; }
  void begin(const QbPage& page, const QbOptions* options) {
    m_before = m_pages;
    m_page = std::make_unique<Page>(m_file, page, options);
  }
  void write(const QbBlock& block) { m_page->write(block); }
  void end() {
    m_page->finish();
    m_page = nullptr;
    m_pages = 1;
  }
  void drop() noexcept {
    m_page = nullptr;
    m_pages = m_before;  // the file may hold a page that no other can follow
  }

 private:
  EdgeFile m_file;
  std::int32_t m_pages;
  std::int32_t m_before = 0;  // without the page that was begun last
  std::unique_ptr<Page> m_page;
};

}  // namespace quillbay
