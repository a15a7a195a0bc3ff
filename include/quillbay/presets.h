#pragma once
/// Presets: values of the panel's settings pages under a name. They are kept in the host's profile, for all
/// scanners, and written into files that other machines read.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/param.h"

namespace quillbay {

/// The extension of preset files, with its dot.
inline constexpr char kPresetExtension[] = ".qbpreset";

/// Numbers of pages that programs look for in presets.
enum PresetPageNumber : std::int32_t {
  kPresetMainPage = 0,  ///< mode, resolution, area
  kPresetSavePage = 10  ///< formats, counter, multi-page files
};

/// The values of one page.
struct PresetPage {
  std::int32_t number = 0;  ///< the page's
  KxPtr<IParam> values;     ///< never null
};

struct Preset {
  std::string name;  ///< UTF-8
  std::string comment;
  std::vector<PresetPage> pages;
};

/// A preset of the profile, without its values.
struct PresetEntry {
  std::int32_t id = 0;
  std::string name, comment;
  std::vector<std::int32_t> pages;  ///< the numbers of those that it has values of
};

/// The number that stands for a name: h = h × 257 + c for each byte c of its UTF-8, taken as a signed number, with
/// the wrap-around of 32 bits. Two names may have the same; they are one preset then.
[[nodiscard]] QUILLBAY_API std::int32_t PresetId(std::string_view name) noexcept;
/// What a page is called; empty for a number that no page has.
[[nodiscard]] QUILLBAY_API std::string PresetPageTitle(std::int32_t number);

// --- in the host's profile; user-interface thread

[[nodiscard]] QUILLBAY_API std::vector<PresetEntry> ListPresets(IApp* app);
/// Returns 1 and stores the preset, or 0 when there is none.
QUILLBAY_API int GetPreset(IApp* app, std::int32_t id, Preset* out);
/// Stores a preset under the number of its name, in place of one that has it, and writes the profile. Returns 1, or
/// 0 when the profile could not be written (the host has said why) or there is none.
QUILLBAY_API int StorePreset(IApp* app, const Preset& preset);

// --- in files; any thread

/// A preset as the text of a file: JSON, its values as plain numbers, texts and lists.
[[nodiscard]] QUILLBAY_API std::string WritePresetText(const Preset& preset);
/// Reads such a text. Returns 1 and stores the preset, or 0 with the reason in `*why` and `*out` as it was: no
/// preset, damaged, written by a newer version, a page that is not known, or a value of a wrong type.
QUILLBAY_API int ReadPresetText(std::string_view bytes, Preset* out, std::string* why);
/// Writes a file, whole or not at all; an existing one is replaced only with `mayReplace`. Returns 1, or 0 with the
/// reason, which names the file.
QUILLBAY_API int WritePresetFile(const Preset& preset, const std::string& path, bool mayReplace, std::string* why);
/// Reads a file: as `ReadPresetText`, with reasons that name the file.
QUILLBAY_API int ReadPresetFile(const std::string& path, Preset* out, std::string* why);

/// The presets of a panel; queried from its sink. User-interface thread.
class IQuillbayPresets : public IKxUnknown {
 public:
  /// Lets the panel's pages load what the preset holds; a page of which it holds nothing stays as it is. While a
  /// page is scanned, it is kept and applied afterwards. Returns 1, or 0 when there is no such preset.
  virtual int ApplyPreset(std::int32_t id) = 0;
  /// The values of the current mode's pages, without a name. Returns 1, or 0 without a window.
  virtual int TakePreset(Preset* out) = 0;
};

}  // namespace quillbay
