#include <memory>
#include <utility>

#include "channels/codec/module_support.h"
#include "channels/tiff/tiff_chain.h"
#include "channels/tiff/tiff_page.h"
#include "channels/tiff/tiff_reader.h"

using quillbay::EdgeFile;
using quillbay::ModuleError;
using quillbay::TiffPage;
using quillbay::TiffReader;
using quillbay::TiffState;

struct QbWriter {
  EdgeFile file;
  TiffState state;   // with the page that was ended last
  TiffState before;  // without it
  std::unique_ptr<TiffPage> page;
};

struct QbReader {
  TiffReader reader;
};

namespace {

int probe(const std::uint8_t* head, std::size_t size) { return quillbay::looksLikeTiff(head, size) ? 1 : 0; }

int accepts(std::int32_t colorSpace) {
  switch (colorSpace) {
    case 1:
    case 2:
    case 8:
    case 16:
    case 32:
    case 64:
    case 256:
    case 512: return 1;
    default: return 0;
  }
}

/// What adding a page must know; a file that is not whole takes none.
TiffState stateOf(const EdgeFile& file) {
  try {
    return quillbay::readTiffChain(file, nullptr);
  } catch (const ModuleError& e) {
    if (e.code() == QB_E_FILE) throw;
    throw ModuleError(QB_E_REFUSED, e.text() + ", so no page can be added; choose another name");
  }
}

int openWriter(const QbFile* file, QbWriter** out, QbText* why) {
  return quillbay::atEdge(why, [&] {
    const EdgeFile edge(file);
    const TiffState state = stateOf(edge);
    *out = std::make_unique<QbWriter>(QbWriter{edge, state, state, nullptr}).release();
  });
}

int beginPage(QbWriter* writer, const QbPage* page, const QbOptions* options, QbText* why) {
  return quillbay::atEdge(why, [&] {
    writer->before = writer->state;
    writer->page = std::make_unique<TiffPage>(writer->file, writer->state, *page, options);
  });
}

int writeLines(QbWriter* writer, const QbBlock* block, QbText* why) {
  return quillbay::atEdge(why, [&] { writer->page->write(*block); });
}

int endPage(QbWriter* writer, QbText* why) {
  return quillbay::atEdge(why, [&] {
    writer->state = writer->page->finish();
    writer->page = nullptr;
  });
}

void dropPage(QbWriter* writer) {
  writer->page = nullptr;
  writer->state = writer->before;
}

int openReader(const QbFile* file, QbReader** out, QbText* why) {
  return quillbay::atEdge(why, [&] { *out = std::make_unique<QbReader>(QbReader{TiffReader(file)}).release(); });
}

int openPage(QbReader* reader, std::int32_t page, QbPicture* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.openPage(page, out); });
}

int readLine(QbReader* reader, std::uint8_t* out, QbText* why) {
  return quillbay::atEdge(why, [&] { reader->reader.readLine(out); });
}

const char* const kExtensions[] = {".tif", ".tiff", ".btf", nullptr};

const QbFormat kTiff = {
    .name = "TIFF",
    .extensions = kExtensions,
    .paged = 1,
    .options = quillbay::kTiffOptions,
    .probe = probe,
    .accepts = accepts,
    .open_writer = openWriter,
    .page_count = [](QbWriter* writer) { return writer->state.pages; },
    .begin_page = beginPage,
    .write_lines = writeLines,
    .end_page = endPage,
    .drop_page = dropPage,
    .close_writer = [](QbWriter* writer) { std::unique_ptr<QbWriter>(writer).reset(); },
    .open_reader = openReader,
    .reader_pages = [](QbReader* reader) { return reader->reader.pages(); },
    .open_page = openPage,
    .read_line = readLine,
    .close_reader = [](QbReader* reader) { std::unique_ptr<QbReader>(reader).reset(); },
};

const QbFormat* const kFormats[] = {&kTiff};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
