#include <algorithm>

#include "channels/codec/module_edge.h"
#include "channels/png/png_page.h"
#include "channels/png/png_reader.h"

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

const char* const kExtensions[] = {".png", nullptr};
const QbFormat kPng = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::PngPage>, quillbay::PngReader>(
    {"PNG", "PNG pictures", kExtensions, false, quillbay::kPngOptions, probe, accepts});

const QbFormat* const kFormats[] = {&kPng};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
