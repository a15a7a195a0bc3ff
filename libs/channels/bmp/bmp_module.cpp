#include "channels/bmp/bmp_page.h"
#include "channels/bmp/bmp_reader.h"
#include "channels/codec/module_edge.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  if (size < quillbay::kBmpFileHead + 4 || head[0] != 'B' || head[1] != 'M') return 0;
  const std::uint32_t info = quillbay::little32(head + quillbay::kBmpFileHead);
  return info == 12 || info == 16 || (info >= 40 && info <= 124);
}

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

const char* const kExtensions[] = {".bmp", ".dib", nullptr};
const QbFormat kBmp = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::BmpPage>, quillbay::BmpReader>(
    {"BMP", "Bitmap pictures", kExtensions, false, quillbay::kBmpOptions, probe, accepts});

const QbFormat* const kFormats[] = {&kBmp};
const QbModule kModule = {QUILLBAY_FORMAT_ABI, sizeof(QbFormat), 1, kFormats};

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
