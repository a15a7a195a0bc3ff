// The reader of preset files: whatever the text, nothing and a reason, or a preset that its own text brings back.
#include "memory_file.h"
#include "quillbay/presets.h"

using quillbay::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillbay::Preset preset;
  preset.name = "before";
  std::string why;
  if (!quillbay::ReadPresetText({reinterpret_cast<const char*>(data), size}, &preset, &why)) {
    require(!why.empty(), "a refusal says why");
    require(preset.name == "before" && preset.pages.empty(), "nothing is half read");
    return 0;
  }
  for (const quillbay::PresetPage& page : preset.pages) require(page.values.get() != nullptr, "a page has values");
  const std::string text = quillbay::WritePresetText(preset);
  quillbay::Preset again;
  require(quillbay::ReadPresetText(text, &again, &why) != 0, "what was read can be written and read");
  require(again.name == preset.name && again.comment == preset.comment &&
              again.pages.size() == preset.pages.size() && quillbay::WritePresetText(again) == text,
          "and is the same");
  return 0;
}
