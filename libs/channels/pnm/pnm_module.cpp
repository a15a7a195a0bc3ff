#include <memory>
#include <optional>

#include "channels/pnm/pnm_page.h"
#include "channels/pnm/pnm_reader.h"

using quillbay::EdgeFile;
using quillbay::PnmPage;
using quillbay::PnmReader;

struct QbWriter {
  EdgeFile file;
  std::int32_t pages;
  std::optional<PnmPage> page;
};

struct QbReader {
  PnmReader reader;
};

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  if (size < 3 || head[0] != 'P' || head[1] < '1' || head[1] > '6') return 0;
  return head[2] == '#' || head[2] == ' ' || (head[2] >= '\t' && head[2] <= '\r');
}

int acceptsBits(std::int32_t colorSpace) { return colorSpace == 1 || colorSpace == 2; }
int acceptsGrey(std::int32_t colorSpace) { return colorSpace == 16; }
int acceptsColours(std::int32_t colorSpace) {
  return colorSpace == 8 || colorSpace == 32 || colorSpace == 64 || colorSpace == 256 || colorSpace == 512;
}
int acceptsAll(std::int32_t colorSpace) {
  return acceptsBits(colorSpace) || acceptsGrey(colorSpace) || acceptsColours(colorSpace);
}

int openWriter(const QbFile* file, QbWriter** out, QbText* why) {
  return quillbay::atEdge(why, [&] {
    std::int32_t pages = 0;
    if (file->size(file->self) > 0) {
      quillbay::ByteStream bytes(file);
      pages = quillbay::readPnmHeader(bytes).height > 0 ? 1 : 0;
    }
    *out = std::make_unique<QbWriter>(QbWriter{EdgeFile(file), pages, std::nullopt}).release();
  });
}

int beginPage(QbWriter* writer, const QbPage* page, const QbOptions*, QbText* why) {
  return quillbay::atEdge(why, [&] { writer->page.emplace(writer->file, *page); });
}

int writeLines(QbWriter* writer, const QbBlock* block, QbText* why) {
  return quillbay::atEdge(why, [&] { writer->page->write(*block); });
}

int endPage(QbWriter* writer, QbText* why) {
  return quillbay::atEdge(why, [&] {
    writer->page->finish();
    writer->page.reset();
    writer->pages = 1;
  });
}

void dropPage(QbWriter* writer) {
  writer->page.reset();
  writer->pages = 0;
}

int openReader(const QbFile* file, QbReader** out, QbText* why) {
  return quillbay::atEdge(why, [&] { *out = std::make_unique<QbReader>(QbReader{PnmReader(file)}).release(); });
}

int openPage(QbReader* reader, std::int32_t, QbPicture* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.openPage(out); });
}

int readLine(QbReader* reader, std::uint8_t* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.readLine(out); });
}

constexpr QbOptionInfo kNoOptions[] = {{nullptr, nullptr, nullptr}};

constexpr QbFormat format(const char* name, const char* const* extensions, int (*accepts)(std::int32_t)) {
  return {
      .name = name,
      .extensions = extensions,
      .paged = 0,
      .options = kNoOptions,
      .probe = probe,
      .accepts = accepts,
      .open_writer = openWriter,
      .page_count = [](QbWriter* writer) { return writer->pages; },
      .begin_page = beginPage,
      .write_lines = writeLines,
      .end_page = endPage,
      .drop_page = dropPage,
      .close_writer = [](QbWriter* writer) { std::unique_ptr<QbWriter>(writer).reset(); },
      .open_reader = openReader,
      .reader_pages = [](QbReader*) { return std::int32_t{1}; },
      .open_page = openPage,
      .read_line = readLine,
      .close_reader = [](QbReader* reader) { std::unique_ptr<QbReader>(reader).reset(); },
  };
}

// Each name holds what its letters say; ".pnm" holds any of them.
constexpr const char* kAny[] = {".pnm", nullptr};
constexpr const char* kBits[] = {".pbm", nullptr};
constexpr const char* kGrey[] = {".pgm", nullptr};
constexpr const char* kColours[] = {".ppm", nullptr};
constexpr QbFormat kPnm = format("PNM", kAny, acceptsAll);
constexpr QbFormat kPbm = format("PBM", kBits, acceptsBits);
constexpr QbFormat kPgm = format("PGM", kGrey, acceptsGrey);
constexpr QbFormat kPpm = format("PPM", kColours, acceptsColours);

const QbFormat* const kFormats[] = {&kPnm, &kPbm, &kPgm, &kPpm};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 4, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
