#include "host/host_files.h"

#include "core/folders.h"
#include "host/file_dialog.h"
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
    const std::string chosen = askForFile(parent, {known.title, known.filter, start, *path});
    if (chosen.empty()) return 0;
    *path = chosen;
    return 1;
  }
  return 0;
}

}  // namespace quillbay
