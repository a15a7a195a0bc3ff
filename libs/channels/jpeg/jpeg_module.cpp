#include "channels/codec/module_edge.h"
#include "channels/jpeg/jpeg_page.h"
#include "channels/jpeg/jpeg_reader.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  return size >= 3 && head[0] == 0xff && head[1] == 0xd8 && head[2] == 0xff;
}

int accepts(std::int32_t colorSpace) {
  switch (colorSpace) {
    case 16:
    case 32:
    case 64:
    case 256:
    case 512: return 1;
    default: return 0;
  }
}

const char* const kExtensions[] = {".jpg", ".jpeg", nullptr};
const QbFormat kJpeg = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::JpegPage>, quillbay::JpegReader>(
    {"JPEG", "JPEG pictures", kExtensions, false, quillbay::kJpegOptions, probe, accepts});

const QbFormat* const kFormats[] = {&kJpeg};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
