#include <algorithm>
#include <iterator>

#include "channels/codec/module_edge.h"
#include "channels/jp2/jp2_page.h"
#include "channels/jp2/jp2_reader.h"

namespace {

constexpr std::uint8_t kBoxes[] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', '\r', '\n', 0x87, '\n'};
constexpr std::uint8_t kCodestream[] = {0xff, 0x4f, 0xff, 0x51};

int probeBoxes(const std::uint8_t* head, std::size_t size) {
  return size >= sizeof kBoxes && std::equal(std::begin(kBoxes), std::end(kBoxes), head);
}

int probeCodestream(const std::uint8_t* head, std::size_t size) {
  return size >= sizeof kCodestream && std::equal(std::begin(kCodestream), std::end(kCodestream), head);
}

constexpr unsigned kLight =
    quillbay::page_kind::Grey | quillbay::page_kind::Colour | quillbay::page_kind::WideColour;

const char* const kBoxedNames[] = {".jp2", nullptr};
const char* const kCodestreamNames[] = {".j2k", ".j2c", nullptr};
const QbFormat kJp2 = quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::BoxedJp2Page>, quillbay::Jp2Reader>(
    {"JPEG 2000", "JPEG 2000 pictures", kBoxedNames, false, quillbay::kJp2Options, probeBoxes,
     quillbay::acceptsKinds<kLight | quillbay::page_kind::Palette>});
const QbFormat kJ2k =
    quillbay::makeFormat<quillbay::SinglePageWriter<quillbay::CodestreamPage>, quillbay::Jp2Reader>(
        {"JPEG 2000 codestream", "JPEG 2000 codestreams", kCodestreamNames, false, quillbay::kCodestreamOptions,
         probeCodestream, quillbay::acceptsKinds<kLight>});

const QbFormat* const kFormats[] = {&kJp2, &kJ2k};
const QbModule kModule = quillbay::makeModule(kFormats);

}  // namespace

extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  return &kModule;
}
