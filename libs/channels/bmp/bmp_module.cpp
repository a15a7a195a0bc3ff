#include "channels/bmp/bmp_page.h"
#include "channels/bmp/bmp_reader.h"
#include "channels/codec/module_edge.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  if (size < quillbay::kBmpFileHead + 4 || head[0] != 'B' || head[1] != 'M') return 0;
  const std::uint32_t info = quillbay::little32(head + quillbay::kBmpFileHead);
  return info == 12 || info == 16 || (info >= 40 && info <= 124);
}

constexpr unsigned kKinds = quillbay::page_kind::Bitonal | quillbay::page_kind::Palette |
                            quillbay::page_kind::Grey | quillbay::page_kind::Colour |
                            quillbay::page_kind::WideColour;

const char* const kExtensions[] = {".bmp", ".dib", nullptr};
const QbFormat kBmp = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::BmpPage>, quillbay::BmpReader>(
    {"BMP", "Bitmap pictures", kExtensions, false, quillbay::kBmpOptions, probe, quillbay::acceptsKinds<kKinds>});

const QbFormat* const kFormats[] = {&kBmp};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
