#pragma once
#include <functional>
#include <string>

#include "quillbay/host_files.h"

namespace quillbay {

/// The standard folders and file dialogs of the ready-made host.
class CHostFiles final : public CKxUnknownImpl<IStdDirectories, IFileDialogs> {
 public:
  /// Asks in place of a dialog: a channel, and the path as in `IFileDialogs::ChooseFile`.
  using Ask = std::function<bool(const std::string& channel, std::string* path)>;
  /// `dataFolder` empty: the user's. `ask` empty: a dialog.
  CHostFiles(std::string dataFolder, Ask ask) : m_dataFolder(std::move(dataFolder)), m_ask(std::move(ask)) {}

  int GetDirectory(std::string_view name, std::string* out) override;
  int ChooseFile(std::string_view channel, QWidget* parent, std::string* path) override;
  int ChooseTarget(std::string_view channel, QWidget* parent, std::string* path) override;

 private:
  int choose(std::string_view channel, QWidget* parent, std::string* path, bool isNew);

  const std::string m_dataFolder;
  const Ask m_ask;
  std::string m_lastFolder;  // of the channels that have no folder of their own
};

}  // namespace quillbay
