#include "channels/codec/module_edge.h"
#include "channels/pdf/pdf_reader.h"
#include "channels/pdf/pdf_writer.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) { return quillbay::looksLikePdf(head, size) ? 1 : 0; }

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

const char* const kExtensions[] = {".pdf", nullptr};
const QbFormat kPdf = quillbay::makeFormat<quillbay::PdfWriter, quillbay::PdfReader>(
    {"PDF", "PDF documents", kExtensions, true, quillbay::kPdfOptions, probe, accepts});

const QbFormat* const kFormats[] = {&kPdf};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
