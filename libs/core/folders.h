#pragma once
#include <string>

namespace quillbay {

/// The user's home folder: $HOME, else from the user database, else the root.
[[nodiscard]] std::string homeFolder();

/// Folders of this program and this user, without a delimiter at their end. They need not exist: code that writes
/// there first creates them. By the XDG base directory rules; relative paths in the variables are ignored.
/// Any thread, except while `setFolders` runs.
[[nodiscard]] std::string settingsFolder();  ///< $XDG_CONFIG_HOME/quillbay: the choices of the user
[[nodiscard]] std::string stateFolder();  ///< $XDG_STATE_HOME/quillbay: what may be lost (histories, last device)
[[nodiscard]] std::string dataFolder();   ///< $XDG_DATA_HOME/quillbay: lookup tables, templates
[[nodiscard]] std::string documentsFolder();  ///< the user's documents, for a first output folder

/// Folders in place of the above, complete paths; an empty one leaves the default.
struct Folders {
  std::string settings, state, data, documents;
};
/// Injects folders, for tests and for hosts that keep everything elsewhere. Before other threads start.
void setFolders(const Folders& folders);

}  // namespace quillbay
