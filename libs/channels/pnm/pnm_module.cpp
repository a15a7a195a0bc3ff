#include "channels/codec/module_edge.h"
#include "channels/pnm/pnm_page.h"
#include "channels/pnm/pnm_reader.h"

namespace {

int probe(const std::uint8_t* head, std::size_t size) {
  if (size < 3 || head[0] != 'P' || head[1] < '1' || head[1] > '6') return 0;
  return head[2] == '#' || head[2] == ' ' || (head[2] >= '\t' && head[2] <= '\r');
}

namespace kind = quillbay::page_kind;
constexpr unsigned kColourKinds = kind::Palette | kind::Colour | kind::WideColour;

constexpr QbOptionInfo kNoOptions[] = {{}};

constexpr QbFormat format(const char* name, const char* description, const char* const* extensions,
                          int (*accepts)(std::int32_t)) {
  using Writer = quillbay::SinglePageWriter<quillbay::PnmPage>;
  return quillbay::makeFormat<Writer, quillbay::PnmReader>(
      {name, description, extensions, false, kNoOptions, probe, accepts});
}

// Each name holds what its letters say; ".pnm" holds any of them.
constexpr const char* kAny[] = {".pnm", nullptr};
constexpr const char* kBits[] = {".pbm", nullptr};
constexpr const char* kGrey[] = {".pgm", nullptr};
constexpr const char* kColours[] = {".ppm", nullptr};
constexpr QbFormat kPnm =
    format("PNM", "Portable any maps", kAny, quillbay::acceptsKinds<kind::Bitonal | kind::Grey | kColourKinds>);
constexpr QbFormat kPbm = format("PBM", "Portable bitmaps", kBits, quillbay::acceptsKinds<kind::Bitonal>);
constexpr QbFormat kPgm = format("PGM", "Portable grey maps", kGrey, quillbay::acceptsKinds<kind::Grey>);
constexpr QbFormat kPpm = format("PPM", "Portable pixel maps", kColours, quillbay::acceptsKinds<kColourKinds>);

const QbFormat* const kFormats[] = {&kPnm, &kPbm, &kPgm, &kPpm};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
