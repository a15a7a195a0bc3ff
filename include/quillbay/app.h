#pragma once
#include <string>
#include <string_view>

#include "quillbay/events.h"
#include "quillbay/kx_unknown.h"
#include "quillbay/param.h"
#include "quillbay/units.h"

class QWidget;

namespace quillbay {

/// The host's application object. The panel queries it for: `IAppInterior`, `IEvents`, `IHelp`, `IProfile`,
/// `IParam` (the host's parameter root), `IIOParams`, `IStyleManager`, `IStdPapersParam`, `IScriptSyntaxParam`,
/// `IScanManager`, `IScannerChooser`, `IToolsFactory`, `IParamProvider`, `IStdDirectories`, `IFileDialogs`,
/// `IFormatSettings`. All of them are optional.
class IApp : public IKxUnknown {
 public:
  /// The program's name and version for messages and for software tags in files.
  [[nodiscard]] virtual std::string GetProductName() = 0;
};

class IAppInterior : public IKxUnknown {
 public:
  virtual QWidget* GetMainWindow() = 0;  // 3
  virtual int IsClosing() = 0;           // 4
  virtual int IsInteractive() = 0;       // 5: 0 if no user can answer
  /// The path of the program; the scanner manager uses its folder. 6
  [[nodiscard]] virtual std::string GetModulePath() = 0;
};

/// Settings that live between runs.
class IProfile : public IKxUnknown {
 public:
  /// The section of a name with a reference; null when it does not exist and `create` is 0.
  virtual IParam* GetSection(std::string_view name, int create) = 0;
  /// Writes the changes. Returns 1, or 0 (the host has reported why).
  virtual int Flush() = 0;
};

/// The source of the file channels' options.
class IIOParams : public IKxUnknown {
 public:
  /// The options of a format ("TIFF", "PNG") with a reference, or null. Keys are the format module's.
  virtual IParam* GetFormatOptions(std::string_view format) = 0;
  /// The text of the software tag.
  [[nodiscard]] virtual std::string GetSoftware() = 0;
};

/// The list of standard papers: each a sub-store with "Used" (int), "Name" (text), "Size" (point), "Units" (the
/// name of a linear unit) and "More" (int, may be missing: not 0 for one that the panel lists behind "More").
class IStdPapersParam : public IKxUnknown {
 public:
  virtual IParam* GetPapers() = 0;
};

/// Marks a host that runs scripts ("ProcessScript").
class IScriptSyntaxParam : public IKxUnknown {
 public:
  /// The settings of the script commands, with a reference: a sub-store for each ("SaveAs"). An entry therein with
  /// "KeyWord" and "KeyName" = "_ignore_command_" and the int "_ignore_command_" = 1 makes the host skip "Open",
  /// "SaveAs" or "Close" in scripts until the entry is removed. The settings apply to this run of the program.
  virtual IParam* GetSyntax() = 0;
};

/// Takes the script commands that the panel sends.
class IScriptCmdSink : public IKxUnknown {
 public:
  /// Returns 0 for success.
  virtual int ExecCommand(const char* command, IParam* arguments) = 0;
};

}  // namespace quillbay
