#include "channels/codec/module_edge.h"
#include "channels/jpeg/jpeg_page.h"
#include "channels/jpeg/jpeg_reader.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  return size >= 3 && head[0] == 0xff && head[1] == 0xd8 && head[2] == 0xff;
}

constexpr unsigned kKinds =
    quillbay::page_kind::Grey | quillbay::page_kind::Colour | quillbay::page_kind::WideColour;

const char* const kExtensions[] = {".jpg", ".jpeg", nullptr};
const QbFormat kJpeg = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::JpegPage>, quillbay::JpegReader>(
    {"JPEG", "JPEG pictures", kExtensions, false, quillbay::kJpegOptions, probe, quillbay::acceptsKinds<kKinds>});

const QbFormat* const kFormats[] = {&kJpeg};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
