#include <algorithm>
#include <memory>
#include <utility>

#include "channels/codec/module_support.h"
#include "channels/png/png_page.h"
#include "channels/png/png_reader.h"

using quillbay::EdgeFile;
using quillbay::PngPage;
using quillbay::PngReader;

struct QbWriter {
  EdgeFile file;
  std::int32_t pages;
  std::unique_ptr<PngPage> page;
};

struct QbReader {
  PngReader reader;
};

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  return size >= sizeof quillbay::kPngSignature &&
         std::equal(std::begin(quillbay::kPngSignature), std::end(quillbay::kPngSignature), head);
}

int accepts(std::int32_t colorSpace) {
  switch (colorSpace) {
    case 1:
    case 2:
    case 8:
    case 16:
    case 256:
    case 512: return 1;
    default: return 0;
  }
}

/// A PNG that was ended says its height; one that is being written says 0.
std::int32_t finishedPages(const EdgeFile& file) {
  std::uint8_t head[24];
  if (file.size() < static_cast<std::int64_t>(sizeof head)) return 0;
  file.read(0, head, sizeof head);
  return probe(head, sizeof head) && std::any_of(head + 20, head + 24, [](std::uint8_t b) { return b != 0; }) ? 1
                                                                                                              : 0;
}

int openWriter(const QbFile* file, QbWriter** out, QbText* why) {
  return quillbay::atEdge(why, [&] {
    const EdgeFile edge(file);
    *out = std::make_unique<QbWriter>(QbWriter{edge, finishedPages(edge), nullptr}).release();
  });
}

int beginPage(QbWriter* writer, const QbPage* page, const QbOptions* options, QbText* why) {
  return quillbay::atEdge(why, [&] { writer->page = std::make_unique<PngPage>(writer->file, *page, options); });
}

int writeLines(QbWriter* writer, const QbBlock* block, QbText* why) {
  return quillbay::atEdge(why, [&] { writer->page->write(*block); });
}

int endPage(QbWriter* writer, QbText* why) {
  return quillbay::atEdge(why, [&] {
    writer->page->finish();
    writer->page = nullptr;
    writer->pages = 1;
  });
}

void dropPage(QbWriter* writer) {
  writer->page = nullptr;
  writer->pages = 0;
}

int openReader(const QbFile* file, QbReader** out, QbText* why) {
  return quillbay::atEdge(why, [&] { *out = std::make_unique<QbReader>(QbReader{PngReader(file)}).release(); });
}

int openPage(QbReader* reader, std::int32_t, QbPicture* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.openPage(out); });
}

int readLine(QbReader* reader, std::uint8_t* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.readLine(out); });
}

const char* const kExtensions[] = {".png", nullptr};

const QbFormat kPng = {
    .name = "PNG",
    .extensions = kExtensions,
    .paged = 0,
    .options = quillbay::kPngOptions,
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

const QbFormat* const kFormats[] = {&kPng};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
