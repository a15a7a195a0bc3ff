#pragma once
#include <QStringList>
#include <functional>
#include <string>

#include "quillbay/host.h"
#include "recovery/leftovers.h"

class QWidget;

namespace quillbay {
class IScanManager;
class IUnitOptions;
}  // namespace quillbay

namespace desktop {

enum class UnsavedAnswer { Save, Discard, Cancel };

/// Everything that the program asks a user, in one place; tests answer in the user's stead.
struct Prompts {
  /// Files to open; empty: given up.
  std::function<QStringList()> openFiles;
  /// The name to save under, agreed to when it exists; empty: given up. `paged`: for several pages.
  std::function<QString(const QString& suggested, bool paged)> saveName;
  /// The name to save a table under, agreed to when it exists; empty: given up.
  std::function<QString(const QString& suggested)> tableName;
  /// Dots per inch to scan a part of a page at, `now` those that are set; 0: given up.
  std::function<int(int now)> resolution;
  /// The folder for several pages; empty: given up.
  std::function<QString()> folder;
  /// What to do with pages that are in no file.
  std::function<UnsavedAnswer(const QStringList& pages)> unsaved;
  /// Whether to do what `question` warns of; `yes` is the text of the button that agrees.
  std::function<bool(const QString& question, const QString& yes)> agree;
  /// Whether a running scan may be stopped.
  std::function<bool()> stopScan;
  /// Pages of a batch, 0: until no document comes; negative: given up.
  std::function<int()> batchPages;
  /// Stores what opens the scanner; false: given up.
  std::function<bool(quillbay::IScanManager* manager, std::string* device)> scanner;
  /// Lets the user change a scanner's own settings, which are set at once; false: nothing was changed.
  std::function<bool(const quillbay::KxPtr<quillbay::IUnitOptions>& unit, const QString& name)> device;
  /// What to do with what a crash has left; `troubles` are told.
  std::function<RecoveryAnswer(const std::vector<Leftover>& items, const QStringList& troubles)> recover;
  /// A message of the panel or the program.
  std::function<quillbay::EventAnswer(const quillbay::HostMessage& message)> message;
};

/// Asks with windows over `parent`. `help` opens the manual at a help topic ("QBHelp:IDH_ScanError").
/// `app` returns the application object, whose settings say what pages can be saved in.
[[nodiscard]] Prompts windowPrompts(QWidget* parent, std::function<void(const std::string& topic)> help,
                                    std::function<quillbay::IApp*()> app);

}  // namespace desktop
