#pragma once
/// A ready-made host for programs without one: an application object that answers everything the
/// panel asks for, a sink for its script commands, and a policy for its questions.
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/export.h"
#include "quillbay/raster.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// The effect of "IntClearAllRasters" on the pages that the host holds. It has no effect before a preview, and none
/// on a multi-page document.
enum class ClearPolicy {
  Keep,  ///< all pages are kept
  /// All are closed. If some are not saved, the user is asked first and may refuse the scan. In a batch they are
  /// kept.
  Ask,
  /// Saved pages are closed; unsaved ones only if the host is not interactive.
  Discard,
};

/// The level of the log on standard error; messages for users are not part of the log.
enum class HostLog { Quiet, Warnings, Info, Debug };

/// Answers to questions if the host is not interactive. Every other question is answered with No, a retry question
/// with giving up.
struct AnswerPolicy {
  bool overwrite = false;      ///< "File ... already exists. Overwrite?"
  bool scanWholeImage = true;  ///< "Could not autodetect bounds, scan whole image?"
};

/// A message to the program of the host.
struct HostMessage {
  EventKind kind = EventKind::Information;
  EventButtons buttons = EventButtons::Ok;
  int event = 0;                         ///< the number of an event (`kEventCannotWrite`), 0 for a plain message
  std::string text;                      ///< without its help topic
  std::string helpTopic;                 ///< "QBHelp:IDH_MaskEmpty"
  std::string path;                      ///< the file or folder that an event is about; empty without one
  std::string cause;                     ///< the cause, a separate sentence; empty if unknown
  EventAnswer answer = EventAnswer::Ok;  ///< the answer of the policy
};

/// A document of the host: the pages of "IntAddRaster".
struct HostDocument {
  std::string file;  ///< the name that the panel gave it; empty without one
  std::vector<KxPtr<IRStor>> pages;
  bool saved = false;
};

/// A page that the panel or a script adds to the pages of the host.
struct HostPage {
  KxPtr<IRStor> raster;
  std::string file;  ///< the file that holds it (`saved`), or the name that the panel gave it; empty without one
  bool multipage = false, batch = false;
  bool saved = false;  ///< `file` holds exactly this raster
};

/// The pages of a program, for hosts that keep them themselves (`IHostApp::SetPages`). A page has a number above 0
/// that no other page ever gets. User-interface thread.
class IHostPages : public IKxUnknown {
 public:
  /// Adds a page and makes it the current one. Returns its number, or 0 if it was refused.
  virtual int Add(const HostPage& page) = 0;
  /// The page that commands apply to; 0 without one.
  virtual int GetCurrent() = 0;
  /// Returns 1 and stores the page, or 0 when there is none (any more).
  virtual int GetPage(int id, HostPage* out) = 0;
  /// Replaces the raster of a page, which is then unsaved. Returns 1, or 0 without the page.
  virtual int Replace(int id, IRStor* raster) = 0;
  /// The page was written into a file. Returns 1, or 0 without the page.
  virtual int NoteSaved(int id, const std::string& file) = 0;
  /// A file was overwritten: its pages are no longer in it, unless `NoteSaved` follows.
  virtual void NoteOverwritten(const std::string&) {}
  /// Closes a page. Returns 1, or 0 without it.
  virtual int Remove(int id) = 0;
  [[nodiscard]] virtual int CountUnsaved() = 0;
  /// Closes all pages, or with `unsavedToo` 0 the saved ones.
  virtual void Clear(int unsavedToo) = 0;
};

struct HostOptions {
  std::string productName = "Quillbay";
  /// The path of the program; empty: detected. The scanner manager uses its folder.
  std::string modulePath;
  /// Folder of the settings; empty: $XDG_CONFIG_HOME/quillbay.
  std::string configFolder;
  /// Folder of data that may be lost (the last scanner, `formats.json`); empty: $XDG_STATE_HOME/quillbay.
  std::string stateFolder;
  /// False: saved settings are read, and nothing is written but what was found out of format modules
  /// (`formats.json` in the state folder), so that the next start examines none.
  bool keepSettings = true;
  /// True: messages are shown as windows, and questions asked. False: the policy answers.
  bool interactive = true;
  AnswerPolicy answers;
  ClearPolicy clear = ClearPolicy::Keep;
  HostLog log = HostLog::Warnings;
  /// Receives every message instead of windows and standard error, and answers it (`HostMessage::answer` is the
  /// policy's). User-interface thread; may be called while the application object is being made.
  std::function<EventAnswer(const HostMessage& message)> onMessage;
  /// Receives every line of `IEvents::Note`, on any thread; empty: lines go to the log.
  std::function<void(const std::string& category, const std::string& text)> onNote;
  /// Called for every file that a script command of the panel wrote a page into ("IntAddPage", "/SaveAs").
  std::function<void(const std::string& file)> onSaved;
  /// Lets the user choose a scanner: stores its device name and returns true, or false if the user cancelled.
  /// Empty: giving up. A simulated scanner is used only when it is chosen by its name.
  std::function<bool(IScanManager* manager, std::string* device)> chooseScanner;
  /// The program watches for a missing scanner (`IScannerWatch`): opening the current one never searches.
  bool watchesScanner = false;
  /// Shows a page of the manual in a window of the program and returns that window, or null on failure; `page`
  /// comes from `FindManualPage`. The window is brought to the front for it, over an open message as well. Empty: a
  /// plain window.
  std::function<QWidget*(const std::string& page)> showManual;
  /// Folder of lookup files and templates; empty: $XDG_DATA_HOME/quillbay.
  std::string dataFolder;
  /// Scripts may run programs ("/Run") in this run, whatever the settings say (section "Scripts", key
  /// "AllowPrograms").
  bool allowPrograms = false;
  /// Chooses an existing file of a channel (`IFileDialogs::ChooseFile`) in place of a dialog.
  std::function<bool(const std::string& channel, std::string* path)> chooseFile;
};

/// The application object. It answers queries for `IAppInterior`, `IEvents`, `IProfile`, `IParam`, `IIOParams`,
/// `IStyleManager`, `IStdPapersParam`, `IScriptSyntaxParam`, `IScanManager`, `IScannerChooser`,
/// `IScriptServices`, `IScriptQueue`, `IScriptCmdSink`, `IFormatSettings` and `IStdDirectories`, and, if
/// `HostOptions::interactive`, for `IHelp` and `IFileDialogs`.
/// User-interface thread only, except as `IEvents` and `IIOParams` state.
///
/// Besides the commands of the panel, the script sink accepts from a program:
/// - "ProcessScript": runs a script over the current page, from the file "FileName", or from the text "Script".
/// - "Autocorrect": runs the script "FileName", else the one that the profile names (section "Scripts", key
///   "Autocorrect"), else the built-in correction.
/// "_ignore_command_" = 1 makes them do nothing. docs/scripts.md describes the language.
class IHostApp : public IApp {
 public:
  /// The window that messages belong to; may be null. The host must withdraw it before it is destroyed.
  virtual void SetMainWindow(QWidget* window) = 0;
  virtual void SetAnswers(const AnswerPolicy& answers) = 0;
  virtual void SetClearPolicy(ClearPolicy clear) = 0;
  /// Called for every added raster ("IntAddRaster"); its page is the last of the document.
  virtual void SetRasterHandler(std::function<void(const HostDocument&)> handler) = 0;
  /// Called when the holder of the panel is about to close ("KillCommand"): false keeps it open. Null: it closes.
  virtual void SetCloseHandler(std::function<bool()> handler) = 0;
  /// The documents of the host's own list. A saved page leaves it when the next page is added.
  [[nodiscard]] virtual std::vector<HostDocument> GetDocuments() = 0;
  /// Sets an option of a file format for this run, over the saved one. Returns 1, or 0 with the reason, which lists
  /// what is allowed, in `*why`.
  virtual int SetFormatOption(std::string_view format, std::string_view key, std::string_view value,
                              std::string* why) = 0;
  /// Replaces the host's own list by the pages of the program; null restores it. The program withdraws them before
  /// they are destroyed.
  virtual void SetPages(IHostPages* pages) = 0;
};

/// A new application object. Needs a running QApplication, on its thread. A damaged settings file is set aside
/// under a new name, with a message, and defaults are used. Settings are written when the panel or its host saves
/// them; the remembered scanner is written when the object is destroyed.
QUILLBAY_API KxPtr<IHostApp> New_HostApp(const HostOptions& options);

/// Checks a script file before it is used: whether it can be read, its commands, and, unless `mayRun` is not 0 or
/// the settings of `app` (may be null) allow it, that it runs no program. Returns 1, or 0 with the reason in
/// `*why`.
QUILLBAY_API int CheckScript(IApp* app, const std::string& file, int mayRun, std::string* why);

/// Where `RecoverPart` puts the pages.
struct RecoverTarget {
  std::string file{};       ///< empty: the name without ".part"
  bool mayReplace = false;  ///< a file of this name is replaced
  bool increment = false;   ///< otherwise a counter after the name is increased until the name is free
};

/// Publishes the finished pages of a part that a killed program left ("NAME.part", or "NAME.part.N"). Returns 1 and
/// stores the file's name in `*file`, or 0 with the reason in `*why`, and changes nothing: no such part, no
/// finished page in it, a running program writes it, the target has another format, or it exists.
QUILLBAY_API int RecoverPart(const std::string& part, const RecoverTarget& target, std::string* file,
                             std::string* why);

/// Reads a length that a user typed: in the user's locale and also with a dot, with or without a unit
/// ("25,4", "25.4 mm", "1 in", "1\"", "2 cm", "3 ft"); without one it is millimetres. Returns 1, or 0 if the text
/// is not a length.
QUILLBAY_API int ParseLengthMm(std::string_view text, double* millimetres);

/// The page of the manual, which is part of the library, for a help topic ("QBHelp:IDH_MaskEmpty", or with anything
/// else before the colon): "qrc:/quillbay/manual/maskempty.html". Empty when the manual has none; its first page
/// for an empty topic.
[[nodiscard]] QUILLBAY_API std::string FindManualPage(std::string_view topic);

/// Shows a message over `parent` (may be null) and waits for the answer. Closing the window gives the safe answer:
/// No, giving up, OK. `help` opens the manual at the topic of the message, which stays open; null: no Help button.
QUILLBAY_API EventAnswer ShowMessageWindow(QWidget* parent, const HostMessage& message,
                                           const std::function<void(const std::string& topic)>& help);

/// The library's version, "0.1.0".
[[nodiscard]] QUILLBAY_API const char* LibraryVersion();

}  // namespace quillbay
