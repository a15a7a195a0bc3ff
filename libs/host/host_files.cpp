#include "host/host_files.h"

#include <QFileDialog>
#include <QPointer>

#include "core/folders.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kTemplatesFolder = "templates";

/// What a channel's dialog shows.
struct FileChannel {
  const char* name;
  const char* title;
  const char* filter;
};
constexpr FileChannel kFileChannels[] = {
    {kLutFileChannel, "Load LUT", "Lookup files of colours (*.lut *.LUT);;All files (*)"}};

}  // namespace

int CHostFiles::GetDirectory(std::string_view name, std::string* out) {
  if (!sameKey(name, kToolTemplatesDir)) return 0;
  *out = fio::withDelimiter(m_dataFolder.empty() ? dataFolder() : m_dataFolder) + kTemplatesFolder;
  return 1;
}

int CHostFiles::ChooseFile(std::string_view channel, QWidget* parent, std::string* path) {
  for (const FileChannel& known : kFileChannels) {
    if (!sameKey(channel, known.name)) continue;
    if (m_ask) return m_ask(known.name, path) ? 1 : 0;
    std::string start = *path;
    if (start.empty()) GetDirectory(kToolTemplatesDir, &start);
    const auto text = [](const char* english) { return QString::fromStdString(Supp_Translate(english)); };
    // Deleted with its parent when the panel closes meanwhile.
    const QPointer<QFileDialog> dialog(
        new QFileDialog(parent, text(known.title), QString::fromStdString(start), text(known.filter)));
    dialog->setFileMode(QFileDialog::ExistingFile);
    if (!path->empty()) dialog->selectFile(QString::fromStdString(*path));
    const bool chosen = dialog->exec() == QDialog::Accepted && dialog && !dialog->selectedFiles().isEmpty();
    if (chosen) *path = dialog->selectedFiles().constFirst().toStdString();
    delete dialog.data();
    return chosen ? 1 : 0;
  }
  return 0;
}

}  // namespace quillbay
