#include "host/file_dialog.h"

#include <QFileDialog>
#include <QPointer>

#include "platform/base_services.h"

namespace quillbay {

std::string askForFile(QWidget* parent, const FileQuestion& question) {
  const auto text = [](const char* english) { return QString::fromStdString(Supp_Translate(english)); };
  // Deleted with its parent when the panel closes meanwhile.
  const QPointer<QFileDialog> dialog(new QFileDialog(
      parent, text(question.title), QString::fromStdString(question.folder), text(question.filter)));
  dialog->setAcceptMode(question.isNew ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  dialog->setFileMode(question.isNew ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
  dialog->setDefaultSuffix(question.suffix);
  if (!question.file.empty()) dialog->selectFile(QString::fromStdString(question.file));
  const bool isChosen = dialog->exec() == QDialog::Accepted && dialog && !dialog->selectedFiles().isEmpty();
  std::string path = isChosen ? dialog->selectedFiles().constFirst().toStdString() : std::string();
  delete dialog.data();
  return path;
}

}  // namespace quillbay
