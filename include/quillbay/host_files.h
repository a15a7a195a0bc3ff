#pragma once
/// Files of the host that the panel's pages read and write. The panel queries its application object for both
/// interfaces; both are optional.
#include <string>
#include <string_view>

#include "quillbay/kx_unknown.h"

class QWidget;

namespace quillbay {

/// The folder of lookup files and templates (`IStdDirectories`).
inline constexpr char kToolTemplatesDir[] = "ToolTemplatesDir";
/// The channel of lookup files of classified colours (`IFileDialogs`).
inline constexpr char kLutFileChannel[] = "LUTFile";
/// The channel of scripts (`IFileDialogs`).
inline constexpr char kScriptFileChannel[] = "ScriptFiles";
/// The channel of preset files (`IFileDialogs`).
inline constexpr char kPresetFileChannel[] = "PresetFile";

/// The host's standard folders, by name. User-interface thread.
class IStdDirectories : public IKxUnknown {
 public:
  /// Stores the folder's complete path in `*out`; it need not exist. Returns 1, or 0 for a name that the host does
  /// not know.
  virtual int GetDirectory(std::string_view name, std::string* out) = 0;
};

/// The host's file dialogs, one for each channel: a kind of file. User-interface thread; runs an event loop.
class IFileDialogs : public IKxUnknown {
 public:
  /// Lets the user choose an existing file and stores its complete path in `*path`, which suggests one (empty:
  /// none). Returns 1, or 0 when the user cancelled or the host does not know the channel.
  virtual int ChooseFile(std::string_view channel, QWidget* parent, std::string* path) = 0;
  /// The same for a file to write; the user has agreed when it exists.
  virtual int ChooseTarget(std::string_view /*channel*/, QWidget* /*parent*/, std::string* /*path*/) { return 0; }
};

}  // namespace quillbay
