#include "channels/codec/module_edge.h"
#include "channels/tiff/tiff_reader.h"
#include "channels/tiff/tiff_writer.h"

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

const char* const kExtensions[] = {".tif", ".tiff", ".btf", nullptr};
const QbFormat kTiff = quillbay::makeFormat<quillbay::TiffWriter, quillbay::TiffReader>(
    {"TIFF", "TIFF pictures", kExtensions, true, quillbay::kTiffOptions, probe, accepts});

const QbFormat* const kFormats[] = {&kTiff};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
