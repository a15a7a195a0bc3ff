#include "window/prompts.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>

#include "quillbay/format_settings.h"
#include "quillbay/formats.h"
#include "quillbay/unit_setup.h"
#include "recovery/recovery_dialog.h"
#include "scanner/scanner_dialog.h"

namespace desktop {

namespace {

constexpr auto kSelectable = Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard;

QString promptText(const char* english) { return QCoreApplication::translate("Prompts", english); }

QString patternsOf(const quillbay::FormatInfo& format) {
  QStringList patterns;
  for (const auto& extension : format.extensions) patterns += "*" + QString::fromStdString(extension);
  return patterns.join(' ');
}

/// Where file dialogs begin: the folder that was used last in this run, else the user's documents.
QString& lastFolder() {
  static QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  if (!QFileInfo(folder).isDir()) folder = QDir::homePath();
  return folder;
}

QStringList filesToOpen(QWidget* parent) {
  QStringList all;
  for (const auto& format : quillbay::ListFormats()) all += patternsOf(format);
  QStringList files = QFileDialog::getOpenFileNames(
      parent, promptText("Open pages"), lastFolder(),
      promptText("Pictures (%1)").arg(all.join(' ')) + ";;" + promptText("All files (*)"));
  if (!files.isEmpty()) lastFolder() = QFileInfo(files.front()).absolutePath();
  return files;
}

/// What the host's settings list, each with all extensions of its module.
QStringList saveFilters(quillbay::IApp* app, bool paged) {
  const auto formats = quillbay::ListFormats();
  QStringList filters;
  for (const quillbay::SaveFormat& listed : quillbay::ListSaveFormats(app)) {
    if (paged && !listed.multiPage) continue;
    const QString usual = "*." + QString::fromStdString(listed.extension);
    QStringList patterns{usual};
    for (const auto& format : formats) {
      if (format.name == listed.name) patterns += patternsOf(format).split(' ');
    }
    patterns.removeDuplicates();
    filters += QString("%1 (%2)").arg(promptText(listed.description.c_str()), patterns.join(' '));
  }
  return filters;
}

QString nameToSave(QWidget* parent, const QStringList& filters, const QString& suggested, bool paged) {
  QFileDialog dialog(parent, paged ? promptText("Save all pages in one file") : promptText("Save page"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDirectory(lastFolder());
  dialog.setNameFilters(filters);
  const QString suffix = QFileInfo(suggested).suffix();
  dialog.setDefaultSuffix(suffix.isEmpty() ? "tif" : suffix);
  for (const QString& filter : filters) {
    if (filter.contains("*." + dialog.defaultSuffix())) dialog.selectNameFilter(filter);
  }
  // A name without an extension gets that of the chosen format.
  QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog](const QString& filter) {
    dialog.setDefaultSuffix(filter.section("*.", 1, 1).section(' ', 0, 0).remove(')'));
  });
  dialog.selectFile(suggested);
  if (dialog.exec() != QDialog::Accepted) return {};
  lastFolder() = dialog.directory().absolutePath();
  return dialog.selectedFiles().value(0);
}

QString tableToSave(QWidget* parent, const QString& suggested) {
  QString file = QFileDialog::getSaveFileName(parent, promptText("Save table"),
                                              QDir(lastFolder()).filePath(suggested), promptText("Table (*.csv)"));
  if (file.isEmpty()) return {};
  lastFolder() = QFileInfo(file).absolutePath();
  return file;
}

int askResolution(QWidget* parent, int now) {
  constexpr int kMost = 9600;
  bool accepted = false;
  const int dpi = QInputDialog::getInt(parent, promptText("Scan frame again"),
                                       promptText("&Resolution (dpi); the original must lie where it lay"), now, 1,
                                       kMost, 50, &accepted);
  return accepted ? dpi : 0;
}

UnsavedAnswer askUnsaved(QWidget* parent, const QStringList& pages) {
  QMessageBox box(QMessageBox::Warning, promptText("Unsaved pages"), {}, QMessageBox::NoButton, parent);
  box.setText(pages.size() == 1 ? promptText("The page %1 is not saved.").arg(pages.front())
                                : promptText("%1 pages are not saved.").arg(pages.size()));
  box.setInformativeText(promptText("Without saving, scanned pages and changes are lost."));
  box.setTextInteractionFlags(kSelectable);
  if (pages.size() > 1) box.setDetailedText(pages.join('\n'));
  auto* save = box.addButton(pages.size() == 1 ? promptText("&Save...") : promptText("&Save all..."),
                             QMessageBox::AcceptRole);
  auto* discard = box.addButton(promptText("&Discard"), QMessageBox::DestructiveRole);
  box.addButton(QMessageBox::Cancel);
  box.setDefaultButton(save);
  box.exec();
  if (box.clickedButton() == save) return UnsavedAnswer::Save;
  return box.clickedButton() == discard ? UnsavedAnswer::Discard : UnsavedAnswer::Cancel;
}

/// Return and Escape leave everything as it is.
bool askToAgree(QWidget* parent, const QString& question, const QString& yes) {
  QMessageBox box(QMessageBox::Warning, QCoreApplication::applicationName(), question, QMessageBox::Cancel, parent);
  box.setTextInteractionFlags(kSelectable);
  const auto* agree = box.addButton(yes, QMessageBox::DestructiveRole);
  box.setDefaultButton(QMessageBox::Cancel);
  box.exec();
  return box.clickedButton() == agree;
}

int askBatchPages(QWidget* parent) {
  bool accepted = false;
  const int pages =
      QInputDialog::getInt(parent, promptText("Scan batch"),
                           promptText("&Pages (0: until there are no more documents)"), 0, 0, 100000, 1, &accepted);
  return accepted ? pages : -1;
}

/// Whether a running scan is to be stopped; Return and Escape let it run.
bool askStop(QWidget* parent) {
  QMessageBox box(QMessageBox::Question, QCoreApplication::applicationName(), promptText("A scan is running."),
                  QMessageBox::NoButton, parent);
  box.setInformativeText(promptText("Stopping deletes the page that is being scanned."));
  box.setTextInteractionFlags(kSelectable);
  const auto* stop = box.addButton(promptText("&Stop the scan"), QMessageBox::DestructiveRole);
  auto* goOn = box.addButton(promptText("&Continue scanning"), QMessageBox::RejectRole);
  box.setDefaultButton(goOn);
  box.setEscapeButton(goOn);
  box.exec();
  return box.clickedButton() == stop;
}

}  // namespace

Prompts windowPrompts(QWidget* parent, std::function<void(const std::string& topic)> help,
                      std::function<quillbay::IApp*()> app) {
  Prompts prompts;
  prompts.openFiles = [parent] { return filesToOpen(parent); };
  prompts.saveName = [parent, app = std::move(app)](const QString& suggested, bool paged) {
    return nameToSave(parent, saveFilters(app(), paged), suggested, paged);
  };
  prompts.tableName = [parent](const QString& suggested) { return tableToSave(parent, suggested); };
  prompts.resolution = [parent](int now) { return askResolution(parent, now); };
  prompts.folder = [parent] {
    return QFileDialog::getExistingDirectory(parent, promptText("Folder for the pages"), lastFolder());
  };
  prompts.unsaved = [parent](const QStringList& pages) { return askUnsaved(parent, pages); };
  prompts.agree = [parent](const QString& question, const QString& yes) {
    return askToAgree(parent, question, yes);
  };
  prompts.stopScan = [parent] { return askStop(parent); };
  prompts.batchPages = [parent] { return askBatchPages(parent); };
  prompts.scanner = [parent, help](quillbay::IScanManager* manager, std::string* device) {
    ScannerDialog dialog(manager, help, parent);
    if (dialog.exec() != QDialog::Accepted) return false;
    *device = dialog.device();
    return true;
  };
  prompts.device = [parent](const quillbay::KxPtr<quillbay::IUnitOptions>& unit, const QString& name) {
    const auto setup = quillbay::UnitSetupOf(unit.get(), name.toStdString());
    return setup && setup->Show(parent) != 0;
  };
  prompts.recover = [parent](const std::vector<Leftover>& items, const QStringList& troubles) {
    RecoveryDialog dialog(items, troubles, parent);
    dialog.exec();
    return dialog.answer();
  };
  prompts.message = [parent, help = std::move(help)](const quillbay::HostMessage& message) {
    return quillbay::ShowMessageWindow(parent, message, help);
  };
  return prompts;
}

}  // namespace desktop
