#include "channels/codec/module_edge.h"
#include "channels/pdf/pdf_reader.h"
#include "channels/pdf/pdf_writer.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) { return quillbay::looksLikePdf(head, size) ? 1 : 0; }

constexpr unsigned kKinds = quillbay::page_kind::Bitonal | quillbay::page_kind::Palette |
                            quillbay::page_kind::Grey | quillbay::page_kind::Colour;

const char* const kExtensions[] = {".pdf", nullptr};
const QbFormat kPdf = quillbay::makeFormat<quillbay::PdfWriter, quillbay::PdfReader>(
    {"PDF", "PDF documents", kExtensions, true, quillbay::kPdfOptions, probe, quillbay::acceptsKinds<kKinds>});

const QbFormat* const kFormats[] = {&kPdf};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
