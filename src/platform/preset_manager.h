#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillbay {

/// The presets of the host's profile: named values of settings pages. Pages are named by their numbers
/// (`IUIScanPage::GetNumber`). User-interface thread only.
class IPresetManager {
 public:
  /// In place of a page's number: all pages.
  static constexpr int kAnyPage = -1;
  /// Entries of a page's menu that are no preset.
  enum MenuCommand : std::int32_t { kResetPage = 12, kAddPreset = 13, kDisablePreview = 32814 };

  struct Preset {
    std::int32_t id = 0;  ///< follows from the name; may be negative
    std::string name;     ///< for the user
  };

  virtual ~IPresetManager() = default;

  /// The presets in the profile's order; with a page only those that hold values of it.
  [[nodiscard]] virtual std::vector<Preset> List(int page) = 0;
  /// The preset that was applied or created last, while no setting that presets follow has changed since. Returns
  /// 0, or 1 and fills in `*id`.
  virtual int GetChosen(std::int32_t* id) = 0;
  /// Asks the user for a name, a comment and which pages of the current mode take part, of all or of one page,
  /// stores their values and chooses the new preset. Asks before a preset of the same id is replaced. Returns 0
  /// when the user cancelled.
  virtual int Create(int page) = 0;
  /// Lets one or all pages, of every mode, load what the preset holds for them; a page for which it holds nothing
  /// stays as it is. Returns 0 when it holds nothing at all.
  virtual int Apply(std::int32_t id, int page) = 0;
  /// Brings one or all pages to their defaults. Presets stay.
  virtual int Reset(int page) = 0;
  /// Writes a preset into a file, and reads one from a file that the user chooses; the user is told what cannot be
  /// read, and asked before one is replaced. Return 0 when nothing was written or stored.
  virtual int Export(std::int32_t id) = 0;
  virtual int Import() = 0;
  /// Deletes a preset for good; afterwards none is chosen. Returns 0 when there is no such preset.
  virtual int Delete(std::int32_t id) = 0;
  /// Carries out an entry of a page's menu: a `MenuCommand`, or a preset's id, which is applied to that page only.
  virtual int OnMenuCommand(int page, std::int32_t command) = 0;
  /// A scan parameter changed. None is chosen any more when presets follow it, unless `Apply` or `Reset` sets it.
  virtual void OnParamChanged(std::string_view key) = 0;
};

}  // namespace quillbay
