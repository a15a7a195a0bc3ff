#include "prompts.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QUrl>

#include "quillbay/formats.h"
#include "scanner_dialog.h"

namespace desktop {

namespace {

QString text(const char* english) { return QCoreApplication::translate("Prompts", english); }

QString patternsOf(const quillbay::FormatInfo& format) {
  QStringList patterns;
  for (const auto& extension : format.extensions) patterns += "*" + QString::fromStdString(extension);
  return patterns.join(' ');
}

/// Where file dialogs begin: the folder that was used last in this run, else the person's documents.
QString& lastFolder() {
  static QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
  if (!QFileInfo(folder).isDir()) folder = QDir::homePath();
  return folder;
}

QStringList filesToOpen(QWidget* parent) {
  QStringList all;
  for (const auto& format : quillbay::ListFormats()) all += patternsOf(format);
  QStringList files =
      QFileDialog::getOpenFileNames(parent, text("Open pages"), lastFolder(),
                                    text("Pictures (%1)").arg(all.join(' ')) + ";;" + text("All files (*)"));
  if (!files.isEmpty()) lastFolder() = QFileInfo(files.front()).absolutePath();
  return files;
}

QString nameToSave(QWidget* parent, const QString& suggested, bool paged) {
  QFileDialog dialog(parent, paged ? text("Save all pages in one file") : text("Save page"));
  dialog.setAcceptMode(QFileDialog::AcceptSave);
  dialog.setDirectory(lastFolder());
  QStringList filters;
  for (const auto& format : quillbay::ListFormats()) {
    if (paged && !format.paged) continue;
    filters += QString("%1 (%2)").arg(QString::fromStdString(format.name), patternsOf(format));
  }
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

UnsavedAnswer askUnsaved(QWidget* parent, const QStringList& pages) {
  QMessageBox box(QMessageBox::Warning, text("Unsaved pages"), {}, QMessageBox::NoButton, parent);
  box.setText(pages.size() == 1 ? text("The page %1 is not saved.").arg(pages.front())
                                : text("%1 pages are not saved.").arg(pages.size()));
  box.setInformativeText(text("Without saving, what was scanned is lost."));
  if (pages.size() > 1) box.setDetailedText(pages.join('\n'));
  auto* save = box.addButton(pages.size() == 1 ? text("&Save...") : text("&Save all..."), QMessageBox::AcceptRole);
  auto* discard = box.addButton(text("&Discard"), QMessageBox::DestructiveRole);
  box.addButton(QMessageBox::Cancel);
  box.setDefaultButton(save);
  box.exec();
  if (box.clickedButton() == save) return UnsavedAnswer::Save;
  return box.clickedButton() == discard ? UnsavedAnswer::Discard : UnsavedAnswer::Cancel;
}

int askBatchPages(QWidget* parent) {
  bool accepted = false;
  const int pages = QInputDialog::getInt(parent, text("Scan batch"), text("&Pages (0: until no document comes)"), 0,
                                         0, 100000, 1, &accepted);
  return accepted ? pages : -1;
}

quillbay::EventAnswer showMessage(QWidget* parent, const quillbay::HostMessage& message) {
  using quillbay::EventAnswer;
  using quillbay::EventButtons;
  QMessageBox box(parent);
  box.setWindowTitle(QCoreApplication::applicationName());
  box.setIcon(message.buttons == EventButtons::YesNo ? QMessageBox::Question : QMessageBox::Warning);
  box.setTextFormat(Qt::PlainText);
  box.setText(QString::fromStdString(message.text));
  auto buttons = message.buttons == EventButtons::YesNo         ? QMessageBox::Yes | QMessageBox::No
                 : message.buttons == EventButtons::RetryCancel ? QMessageBox::Retry | QMessageBox::Cancel
                                                                : QMessageBox::StandardButtons(QMessageBox::Ok);
  if (!message.helpTopic.empty() && hasManual()) buttons |= QMessageBox::Help;
  box.setStandardButtons(buttons);
  int pressed = box.exec();
  while (pressed == QMessageBox::Help) {
    openManual(message.helpTopic);
    pressed = box.exec();
  }
  if (pressed == QMessageBox::Yes) return EventAnswer::Yes;
  if (pressed == QMessageBox::Retry) return EventAnswer::Retry;
  if (message.buttons == EventButtons::YesNo) return EventAnswer::No;
  return message.buttons == EventButtons::RetryCancel ? EventAnswer::GiveUp : EventAnswer::Ok;
}

/// The folder of the manual: of the installed program, or of the tree that it was built in.
QString manualFolder() {
  const QDir program(QCoreApplication::applicationDirPath());
  for (const char* place : {"../share/doc/quillbay/manual", "../../../docs/manual"}) {
    if (QFileInfo(program.filePath(place)).isDir()) return QDir::cleanPath(program.filePath(place));
  }
  return {};
}

}  // namespace

bool hasManual() { return !manualFolder().isEmpty(); }

bool openManual(const std::string& topic) {
  const QString folder = manualFolder();
  if (folder.isEmpty()) return false;
  const QString name = QString::fromStdString(topic).section(':', -1);
  for (const QString& page : {name + ".html", name + ".md", QString("index.html"), QString("index.md")}) {
    const QString file = folder + "/" + page;
    if (QFileInfo::exists(file)) return QDesktopServices::openUrl(QUrl::fromLocalFile(file));
  }
  return false;
}

Prompts windowPrompts(QWidget* parent) {
  Prompts prompts;
  prompts.openFiles = [parent] { return filesToOpen(parent); };
  prompts.saveName = [parent](const QString& suggested, bool paged) {
    return nameToSave(parent, suggested, paged);
  };
  prompts.folder = [parent] {
    return QFileDialog::getExistingDirectory(parent, text("Folder for the pages"), lastFolder());
  };
  prompts.unsaved = [parent](const QStringList& pages) { return askUnsaved(parent, pages); };
  prompts.stopScan = [parent] {
    return QMessageBox::question(parent, text("Scanning"), text("A scan is running. Stop it?")) == QMessageBox::Yes;
  };
  prompts.batchPages = [parent] { return askBatchPages(parent); };
  prompts.scanner = [parent](quillbay::IScanManager* manager, std::string* device) {
    ScannerDialog dialog(manager, parent);
    if (dialog.exec() != QDialog::Accepted) return false;
    *device = dialog.device();
    return true;
  };
  prompts.message = [parent](const quillbay::HostMessage& message) { return showMessage(parent, message); };
  return prompts;
}

}  // namespace desktop
