#include "core/json_store.h"

#include <utility>

#include "core/publish_steps.h"
#include "core/store_file.h"
#include "core/store_json.h"
#include "platform/base_services.h"

namespace quillbay {
namespace {

// Quietly: the caller gets it too, and reports it once.
void logDamaged(const DamagedFile& damaged) { logLine(LogLevel::Info, "quillbay.core", damaged.text()); }

/// The tree that the file holds now, nothing without a file. Throws StoreFormatError when it is damaged.
std::optional<ParamTree> readTree(const std::string& path) {
  const std::optional<std::string> bytes = readStoreFile(path);
  return bytes ? std::optional(fromJson(*bytes)) : std::nullopt;
}

}  // namespace

std::string DamagedFile::text() const {
  if (aside.empty()) {
    return formatText(
        Supp_Translate("The settings file \"%s\" is damaged (%s). It is kept as it is; defaults are used."),
        {path, reason});
  }
  return formatText(
      Supp_Translate("The settings file \"%s\" is damaged (%s). It was renamed to \"%s\"; defaults are used."),
      {path, reason, aside});
}

JsonStore::JsonStore(std::string path, Mode mode) : m_path(std::move(path)), m_mode(mode), m_root(new_MemParam()) {}

ParamTree JsonStore::readLocked(const ParamTree& otherwise, std::optional<DamagedFile>* damaged) const {
  try {
    return readTree(m_path).value_or(otherwise);
  } catch (const StoreFormatError& e) {
    *damaged = DamagedFile{m_path, setStoreFileAside(m_path), e.what()};
  }
  logDamaged(**damaged);
  return otherwise;
}

std::optional<DamagedFile> JsonStore::load() {
  std::optional<DamagedFile> damaged;
  ParamTree tree;
  try {
    tree = readTree(m_path).value_or(ParamTree{});
  } catch (const StoreFormatError& e) {
    damaged = DamagedFile{m_path, {}, e.what()};
  }
  if (damaged && m_mode == Mode::ReadWrite) {
    // Read again under the lock: another process may have set the file aside and written a good one.
    std::optional<DamagedFile> still;
    try {
      const StoreLock lock(m_path);
      tree = readLocked({}, &still);
      damaged = still;
    } catch (const CXException& e) {
      damaged->reason += std::string("; ") + e.what();
    }
  }
  if (damaged && damaged->aside.empty()) logDamaged(*damaged);
  m_base = std::move(tree);
  bringTo(m_root.get(), m_base);
  return damaged;
}

std::optional<DamagedFile> JsonStore::save() {
  std::optional<DamagedFile> damaged;
  if (m_mode == Mode::ReadOnly) return damaged;
  const ParamTree mine = takeTree(m_root.get(), ObjectValues::Leave);
  if (sameTree(mine, m_base)) return damaged;
  fio::createFolder(systemFolderOf(m_path));
  const StoreLock lock(m_path);
  ParamTree merged = mergeTrees(m_base, mine, readLocked(m_base, &damaged));
  std::string bytes;
  try {
    bytes = toJson(merged);
  } catch (const StoreFormatError& e) {
    throw CXFileException(
        formatText(Supp_Translate("The settings file \"%s\" cannot be written: %s"), {m_path, e.what()}), m_path);
  }
  writeStoreFile(m_path, bytes);
  m_base = std::move(merged);
  bringTo(m_root.get(), m_base);
  return damaged;
}

}  // namespace quillbay
