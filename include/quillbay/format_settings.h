#pragma once
/// The host's settings of file formats.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/param.h"

class QWidget;

namespace quillbay {

/// Sections of the settings, and the keys of an entry in them. An entry is a sub-store; its name is the format's.
namespace format_key {
inline constexpr char AllSaveFormats[] = "AllSaveFileFormats";  ///< section: what files can be saved in
inline constexpr char ExportedProject[] = "ExportedProject";    ///< section: the same, of a host's own
inline constexpr char Formats[] = "Formats";                    ///< section: for each format its `Options`
inline constexpr char Module[] = "FormatDLL";                   ///< text: in the formats' folder, or with a path
inline constexpr char Extension[] = "Extension";                ///< text, without its dot
inline constexpr char Description[] = "Description";            ///< text, for lists
inline constexpr char Enabled[] = "Enabled";                    ///< int: 0: in no list; 1 when it is missing
inline constexpr char DirectSave[] = "DirectSave";              ///< int: not 0: written while it is scanned
inline constexpr char MultiPage[] = "MultiPage";                ///< int: not 0: several pages in one file
inline constexpr char Options[] = "Options";                    ///< sub-store: keys of the module
inline constexpr char ColorSpaces[] = "TwSaveColorSpace";       ///< int: bits of what can be saved
inline constexpr char Exclude[] = "TwExclude";                  ///< int: not 0: the module cannot be used
inline constexpr char PreferredPage[] = "PreferredPage";        ///< int, of `Options`: a colour space to begin with
}  // namespace format_key

/// Queried from the application object; optional. User-interface thread.
class IFormatSettings : public IKxUnknown {
 public:
  /// The section of a name (`format_key`) with a reference, made when it is missing. The modules' answers are in
  /// it: what is new among them was examined before this returns.
  virtual IParam* GetSection(std::string_view name) = 0;
  /// Shows the options of a format over `parent` and changes those in the sub-store `Options` of `entry`. Returns
  /// 1, or 0 when the user cancelled (nothing was changed) or the format is not there. Runs an event loop.
  virtual int ShowOptions(std::string_view format, IParam* entry, QWidget* parent) = 0;
  /// The section `Formats` was written: pages that start from now on are saved with it.
  virtual void OptionsChanged() = 0;
};

/// A format that files can be saved in.
struct SaveFormat {
  std::string name;               ///< "TIFF"
  std::string extension;          ///< without its dot: "tif"
  std::string description;        ///< English; translate to show it
  std::uint32_t colorSpaces = 0;  ///< bits of `KxColorSpace` codes
  bool directSave = false;        ///< written while the page is scanned
  bool multiPage = false;         ///< several pages in one file
};

/// The formats that the host's settings list and whose modules can be used, in the order of the settings. Empty
/// when the host has no such settings. User-interface thread.
[[nodiscard]] QUILLBAY_API std::vector<SaveFormat> ListSaveFormats(IApp* app);

}  // namespace quillbay
