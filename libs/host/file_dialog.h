#pragma once
#include <string>

class QWidget;

namespace quillbay {

/// A dialog that asks for one file.
struct FileQuestion {
  const char* title;        ///< English
  const char* filter;       ///< "Curves (*.curves);;All files (*)", English
  std::string folder;       ///< where it begins; empty: where the program is
  std::string file;         ///< chosen at first; may be empty
  bool isNew = false;       ///< the file is to be written
  const char* suffix = "";  ///< what a new name without one gets, without the dot
};

/// Asks the user over `parent`, which may be destroyed meanwhile. Returns the path, or nothing when the user or the
/// end of the window cancelled. Runs an event loop.
[[nodiscard]] std::string askForFile(QWidget* parent, const FileQuestion& question);

}  // namespace quillbay
