#pragma once
#include <optional>
#include <string>

#include "core/param_tree.h"
#include "quillbay/param.h"

namespace quillbay {

/// A settings file that could not be understood.
struct DamagedFile {
  std::string path;
  std::string aside;   ///< its new name; empty when it stayed where it was
  std::string reason;  ///< what is wrong with it, or why it could not be renamed
  /// The message for the user: both names, the reason, and that defaults are used.
  [[nodiscard]] std::string text() const;
};

/// A parameter set that lives between runs in one JSON file (store_json.h has the format). Several processes may
/// have the same file open: saving takes a lock, reads the file again and changes in it only the keys that this
/// process set differently or removed, so that no process loses its changes. Of two that write one key the last one
/// wins. Objects as values stay in memory. Not thread-safe.
class JsonStore {
 public:
  enum class Mode : int {
    ReadWrite,
    ReadOnly,  ///< reads what is saved and touches no file: writes stay in memory, `save` does nothing
  };

  /// @param path  the file; it and its folder need not exist. Nothing is read before `load`.
  explicit JsonStore(std::string path, Mode mode = Mode::ReadWrite);

  /// Replaces what is in memory by the file's content; without a file the set is empty. A damaged file is set aside
  /// as "NAME.damaged-N" (in read-only mode it stays), the set is empty, and the answer says so. Throws
  /// CXFileException when the file cannot be read at all.
  [[nodiscard]] std::optional<DamagedFile> load();

  /// Writes what changed since `load` or the last `save`, if anything did, creating missing folders; the file is
  /// replaced at once and whole. Afterwards the set also shows what other processes wrote. When the file has gone
  /// or was damaged meanwhile, all that this process knows is written again; a damaged one is set aside before, and
  /// the answer says so. Throws CXFileException; then the file is as it was, and a later `save` tries again.
  [[nodiscard]] std::optional<DamagedFile> save();

  /// The set itself; the same object for the store's whole life, and alive as long as somebody holds it.
  [[nodiscard]] const KxPtr<IParam>& root() const noexcept { return m_root; }
  [[nodiscard]] const std::string& path() const noexcept { return m_path; }

 private:
  /// The file's tree; `otherwise` when there is no file or a damaged one, which is set aside.
  ParamTree readLocked(const ParamTree& otherwise, std::optional<DamagedFile>* damaged) const;

  const std::string m_path;
  const Mode m_mode;
  const KxPtr<IParam> m_root;
  ParamTree m_base;  // what the file held when it was last read or written
};

}  // namespace quillbay
