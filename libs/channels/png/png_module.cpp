#include <algorithm>

#include "channels/codec/module_edge.h"
#include "channels/png/png_page.h"
#include "channels/png/png_reader.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  return size >= sizeof quillbay::kPngSignature &&
         std::equal(std::begin(quillbay::kPngSignature), std::end(quillbay::kPngSignature), head);
}

constexpr unsigned kKinds = quillbay::page_kind::Bitonal | quillbay::page_kind::Palette |
                            quillbay::page_kind::Grey | quillbay::page_kind::Colour;

const char* const kExtensions[] = {".png", nullptr};
const QbFormat kPng = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::PngPage>, quillbay::PngReader>(
    {"PNG", "PNG pictures", kExtensions, false, quillbay::kPngOptions, probe, quillbay::acceptsKinds<kKinds>});

const QbFormat* const kFormats[] = {&kPng};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
