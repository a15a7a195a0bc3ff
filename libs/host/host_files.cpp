#include "host/host_files.h"

#include <algorithm>

#include "core/folders.h"
#include "host/file_dialog.h"
#include "platform/base_services.h"

namespace quillbay {

namespace {

constexpr const char* kTemplatesFolder = "templates";

/// What a channel's dialogs show.
struct FileChannel {
  const char* name;
  const char* title;
  const char* newTitle;  // of a file to write
  const char* filter;
  const char* suffix;
  const char* directory;  // where it begins; null: where the last one was chosen
};
constexpr FileChannel kFileChannels[] = {
    {kLutFileChannel, "Load LUT", "Save LUT", "Lookup files of colours (*.lut *.LUT);;All files (*)", "lut",
     kToolTemplatesDir},
    {kScriptFileChannel, "Choose a script", "Save the script", "Scripts (*.kxf *.txt);;All files (*)", "kxf",
     nullptr},
    {kPresetFileChannel, "Read a preset", "Save the preset", "Presets (*.qbpreset);;All files (*)", "qbpreset",
     nullptr}};

}  // namespace

int CHostFiles::GetDirectory(std::string_view name, std::string* out) {
  if (!sameKey(name, kToolTemplatesDir)) return 0;
  *out = fio::withDelimiter(m_dataFolder.empty() ? dataFolder() : m_dataFolder) + kTemplatesFolder;
  return 1;
}

int CHostFiles::ChooseFile(std::string_view channel, QWidget* parent, std::string* path) {
  return choose(channel, parent, path, false);
}

int CHostFiles::ChooseTarget(std::string_view channel, QWidget* parent, std::string* path) {
  return choose(channel, parent, path, true);
}

int CHostFiles::choose(std::string_view channel, QWidget* parent, std::string* path, bool isNew) {
  const auto* known = std::find_if(std::begin(kFileChannels), std::end(kFileChannels),
                                   [&](const FileChannel& c) { return sameKey(channel, c.name); });
  if (known == std::end(kFileChannels)) return 0;
  if (m_ask) return m_ask(known->name, path) ? 1 : 0;
  std::string start = fio::folderOf(*path);
  if (start.empty() && !known->directory) start = m_lastFolder.empty() ? fio::expandHome("~") : m_lastFolder;
  if (start.empty()) GetDirectory(known->directory, &start);
  const std::string chosen = askForFile(
      parent, {isNew ? known->newTitle : known->title, known->filter, start, *path, isNew, known->suffix});
  if (chosen.empty()) return 0;
  m_lastFolder = fio::folderOf(chosen);
  *path = chosen;
  return 1;
}

}  // namespace quillbay
