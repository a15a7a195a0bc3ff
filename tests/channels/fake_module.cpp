// Format modules for the tests of the probe; FAKE_KIND says what is wrong with it.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "channels/format_module.h"

namespace {

enum Kind { Good, OtherAbi, NoFactory, Crashes, Hangs, Nothing, Document };

[[maybe_unused]] int opensWriter(const QbFile*, QbWriter**, QbText*) { return QB_E_REFUSED; }
[[maybe_unused]] int acceptsColour(std::int32_t code) { return code == 512; }
[[maybe_unused]] int acceptsRuns(std::int32_t code) { return code == 2; }
[[maybe_unused]] int acceptsNone(std::int32_t) { return 0; }
[[maybe_unused]] int begins(const std::uint8_t*, std::size_t) { return 0; }

[[maybe_unused]] QbFormat makeFormat(const char* name, const char* const* extensions, int paged,
                                     int (*accepts)(std::int32_t)) {
  static const QbOptionInfo kNone[] = {{}};
  QbFormat format{};
  format.name = name;
  format.description = "Fake pictures";
  format.extensions = extensions;
  format.paged = paged;
  format.options = kNone;
  format.probe = begins;
  format.accepts = accepts;
  format.open_writer = opensWriter;
  return format;
}

struct AtLoad {
  AtLoad() {
    if (FAKE_KIND == Crashes) std::abort();
    while (FAKE_KIND == Hangs) sleep(1);
  }
} s_atLoad;

}  // namespace

#if FAKE_KIND != 2  // NoFactory
extern "C" __attribute__((visibility("default"))) const QbModule* quillbay_format_module(std::uint32_t) {
  static const char* const kColour[] = {".fkc", nullptr};
  static const char* const kRuns[] = {".fkr", ".fkrr", nullptr};
  static const QbFormat kFormats[] = {
      makeFormat("FakeColour", kColour, FAKE_KIND == Document ? 1 : 0,
                 FAKE_KIND == Good ? acceptsColour : acceptsNone),
      makeFormat("FakeRuns", kRuns, FAKE_KIND == Good || FAKE_KIND == Document ? 1 : 0,
                 FAKE_KIND == Good ? acceptsRuns : acceptsNone),
  };
  static const QbFormat* const kList[] = {&kFormats[0], &kFormats[1]};
  static const QbModule kModule = {QUILLBAY_FORMAT_ABI + (FAKE_KIND == OtherAbi ? 1 : 0), sizeof(QbFormat), 2,
                                   kList};
  return &kModule;
}
#endif
