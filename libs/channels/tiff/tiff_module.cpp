#include "channels/codec/module_edge.h"
#include "channels/tiff/tiff_reader.h"
#include "channels/tiff/tiff_writer.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) { return quillbay::looksLikeTiff(head, size) ? 1 : 0; }

constexpr unsigned kKinds = quillbay::page_kind::Bitonal | quillbay::page_kind::Palette |
                            quillbay::page_kind::Grey | quillbay::page_kind::Colour |
                            quillbay::page_kind::WideColour;

const char* const kExtensions[] = {".tif", ".tiff", ".btf", nullptr};
const QbFormat kTiff = quillbay::makeFormat<quillbay::TiffWriter, quillbay::TiffReader>(
    {"TIFF", "TIFF pictures", kExtensions, true, quillbay::kTiffOptions, probe, quillbay::acceptsKinds<kKinds>});

const QbFormat* const kFormats[] = {&kTiff};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
