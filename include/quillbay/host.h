#pragma once
/// A ready-made host for programs that have none of their own: an application object that answers everything the
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

/// What "IntClearAllRasters" does with the pages that the host holds. Nothing happens, and nobody is asked, before
/// a preview; a multi-page document stays.
enum class ClearPolicy {
  Keep,  ///< they stay
  /// They go; a person is asked first when some are not saved, and may refuse the scan. In a batch they stay.
  Ask,
  /// The saved ones go. Those that are not saved go only where nobody sits before the program.
  Discard,
};

/// How much of the log goes to standard error; messages for a person are no part of it.
enum class HostLog { Quiet, Warnings, Info, Debug };

/// Answers to questions when nobody sits before the program. What is not named here is answered with No, a retry
/// question with giving up.
struct AnswerPolicy {
  bool overwrite = false;      ///< "File ... already exists. Overwrite?"
  bool scanWholeImage = true;  ///< "Could not autodetect bounds, scan whole image?"
};

/// A message, as the host's program gets it.
struct HostMessage {
  EventKind kind = EventKind::Information;
  EventButtons buttons = EventButtons::Ok;
  int event = 0;                         ///< the number of an event (`kEventCannotWrite`), 0 for a plain message
  std::string text;                      ///< without its help topic
  std::string helpTopic;                 ///< "QBHelp:IDH_MaskEmpty"
  std::string path;                      ///< the file or folder that an event is about; empty without one
  std::string cause;                     ///< why, in a sentence of its own; empty when it is not known
  EventAnswer answer = EventAnswer::Ok;  ///< what the policy answers
};

/// A document of the host: the pages of "IntAddRaster".
struct HostDocument {
  std::string file;  ///< the name that the panel gave it; empty without one
  std::vector<KxPtr<IRStor>> pages;
  bool saved = false;
};

/// A page, as the panel or a script hands it to the host's pages.
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
  /// Takes a page; it is the current one then. Answers its number, or 0 when it was not taken.
  virtual int Add(const HostPage& page) = 0;
  /// The page that commands are about; 0 without one.
  virtual int GetCurrent() = 0;
  /// Answers 1 and stores the page, or 0 when there is none (any more).
  virtual int GetPage(int id, HostPage* out) = 0;
  /// Puts a raster in the place of a page's; the page is not saved then. Answers 1, or 0 without the page.
  virtual int Replace(int id, IRStor* raster) = 0;
  /// The page was written into a file. Answers 1, or 0 without the page.
  virtual int NoteSaved(int id, const std::string& file) = 0;
  /// A file was written over: pages that it held are in it no more, unless `NoteSaved` says so afterwards.
  virtual void NoteOverwritten(const std::string&) {}
  /// Lets go of a page. Answers 1, or 0 without it.
  virtual int Remove(int id) = 0;
  [[nodiscard]] virtual int CountUnsaved() = 0;
  /// Lets go of all pages, or with `unsavedToo` 0 of those that are saved.
  virtual void Clear(int unsavedToo) = 0;
};

struct HostOptions {
  std::string productName = "Quillbay";
  /// The running program's file; empty: found out. Its folder is the scanner manager's.
  std::string modulePath;
  /// Folder of the settings; empty: $XDG_CONFIG_HOME/quillbay.
  std::string configFolder;
  /// Folder of what a program can lose (the last scanner); empty: $XDG_STATE_HOME/quillbay.
  std::string stateFolder;
  /// False: saved settings are read, and nothing is ever written.
  bool keepSettings = true;
  /// True: messages are shown as windows, and questions asked. False: the policy answers.
  bool interactive = true;
  AnswerPolicy answers;
  ClearPolicy clear = ClearPolicy::Keep;
  HostLog log = HostLog::Warnings;
  /// Takes every message in place of windows and of standard error, and answers it (`HostMessage::answer` is the
  /// policy's). User-interface thread; already called while the application object is made.
  std::function<EventAnswer(const HostMessage& message)> onMessage;
  /// Takes every line that the panel notes (`IEvents::Note`), on whatever thread; empty: they go to the log.
  std::function<void(const std::string& category, const std::string& text)> onNote;
  /// Told about every file that a script command of the panel wrote a page into ("IntAddPage", "/SaveAs").
  std::function<void(const std::string& file)> onSaved;
  /// Lets the person choose a scanner: stores what opens it and answers true, or false when the person gave up.
  /// Empty: giving up. A simulated scanner is used only when it is chosen by its name.
  std::function<bool(IScanManager* manager, std::string* device)> chooseScanner;
  /// The program waits itself for a scanner that is gone (`IScannerWatch`): opening the current one never searches.
  bool watchesScanner = false;
  /// Shows a page of the manual in a window of the program, and answers that window, or null when it cannot: `page`
  /// is what `FindManualPage` gives. The window is brought to the front for it, over an open message as well.
  /// Empty: a plain window.
  std::function<QWidget*(const std::string& page)> showManual;
};

/// The application object. It answers queries for `IAppInterior`, `IEvents`, `IProfile`, `IParam`, `IIOParams`,
/// `IStyleManager`, `IStdPapersParam`, `IScriptSyntaxParam`, `IScanManager`, `IScannerChooser`,
/// `IScriptServices` and `IScriptCmdSink`, and with a person before it (`HostOptions::interactive`) for `IHelp`.
/// User-interface thread only, except what `IEvents` and `IIOParams` say.
///
/// Beside the panel's own commands the script sink takes from a program:
/// - "ProcessScript": runs a script over the current page, from the file "FileName", or from the text "Script".
/// - "Autocorrect": runs the script "FileName", else the one that the profile names (section "Scripts", key
///   "Autocorrect"), else the built-in correction.
/// "_ignore_command_" = 1 makes them do nothing. docs/scripts.md tells the language.
class IHostApp : public IApp {
 public:
  /// The window that messages belong to; may be null. The host must withdraw it before it goes.
  virtual void SetMainWindow(QWidget* window) = 0;
  virtual void SetAnswers(const AnswerPolicy& answers) = 0;
  virtual void SetClearPolicy(ClearPolicy clear) = 0;
  /// Told about every raster that came in ("IntAddRaster"); its page is the document's last.
  virtual void SetRasterHandler(std::function<void(const HostDocument&)> handler) = 0;
  /// Asked when the panel's holder wants to close ("KillCommand"): false keeps it open. Null: it may.
  virtual void SetCloseHandler(std::function<bool()> handler) = 0;
  /// What the host's own list holds. A page that is saved leaves it when the next one comes.
  [[nodiscard]] virtual std::vector<HostDocument> GetDocuments() = 0;
  /// Sets an option of a file format for this run, over the saved one. Answers 1, or 0 with the reason, which lists
  /// what is allowed, in `*why`.
  virtual int SetFormatOption(std::string_view format, std::string_view key, std::string_view value,
                              std::string* why) = 0;
  /// The program's pages take the place of the host's own list; null goes back to that one. The program withdraws
  /// them before they go.
  virtual void SetPages(IHostPages* pages) = 0;
};

/// A new application object. Needs a running QApplication, on its thread. A damaged settings file is set aside
/// under a new name, with a message; the defaults hold then. Settings are written when the panel or its host saves
/// them, and what was remembered of the scanner when the object goes.
QUILLBAY_API KxPtr<IHostApp> New_HostApp(const HostOptions& options);

/// Where `RecoverPart` puts the pages.
struct RecoverTarget {
  std::string file{};       ///< empty: the name that the leftover was written for
  bool mayReplace = false;  ///< a file of this name is replaced
  bool increment = false;   ///< else a counter behind the name is counted on until a name is free
};

/// Publishes the finished pages of a leftover ("NAME.part", or "NAME.part.N" when it was set aside). Answers 1 and
/// stores the file's name in `*file`, or 0 with the reason in `*why`, and nothing has changed: no such leftover, no
/// finished page in it, a running program writes it, a target of another format, or a file in the way.
QUILLBAY_API int RecoverPart(const std::string& part, const RecoverTarget& target, std::string* file,
                             std::string* why);

/// Reads a length as people type it: in the user's locale and also with a dot, with or without a unit
/// ("25,4", "25.4 mm", "1 in", "1\"", "2 cm", "3 ft"); without one it is millimetres. Answers 1, or 0 when the text
/// is no length.
QUILLBAY_API int ParseLengthMm(std::string_view text, double* millimetres);

/// The page of the manual, which is part of the library, for a help topic ("QBHelp:IDH_MaskEmpty", or with anything
/// else before the colon): "qrc:/quillbay/manual/maskempty.html". Empty when the manual has none; its first page
/// for an empty topic.
[[nodiscard]] QUILLBAY_API std::string FindManualPage(std::string_view topic);

/// Shows a message over `parent` (may be null) and waits for the answer. Closing the window gives the harmless one:
/// No, giving up, OK. `help` opens the manual at the message's topic while the message stays; null: no Help button.
QUILLBAY_API EventAnswer ShowMessageWindow(QWidget* parent, const HostMessage& message,
                                           const std::function<void(const std::string& topic)>& help);

/// The library's version, "0.1.0".
[[nodiscard]] QUILLBAY_API const char* LibraryVersion();

}  // namespace quillbay
