#include "core/store_file.h"
#include "core/store_json.h"
#include "platform/base_services.h"
#include "quillbay/storage.h"

namespace quillbay {

namespace {

/// Sections in memory, and the file behind them.
class CStorage final : public CKxUnknownImpl<IStorage> {
 public:
  CStorage(std::string path, StorageMode mode) : m_path(std::move(path)) {
    if (mode == StorageMode::Create) return;
    const auto bytes = readStoreFile(m_path);
    if (!bytes) fail(Supp_Translate("there is no such file"));
    try {
      fromJson(*bytes).writeTo(m_root.get());
    } catch (const StoreFormatError& e) {
      fail(e.what());
    }
  }

  IParam* GetSection(std::string_view path, int create) override { return m_root->GetSubStore(path, create); }

  void Commit() override {
    const std::string folder = fio::folderOf(m_path);
    if (!folder.empty()) fio::createFolder(folder);
    writeStoreFile(m_path, toJson(takeTree(m_root.get(), ObjectValues::Leave)));
  }

 private:
  [[noreturn]] void fail(const std::string& reason) const {
    throw CXFileException(formatText(Supp_Translate("The file \"%s\" cannot be used: %s"), {m_path, reason}),
                          m_path);
  }

  const std::string m_path;
  const KxPtr<IParam> m_root = new_MemParam();
};

}  // namespace

KxPtr<IStorage> new_Storage(const std::string& path, StorageMode mode) {
  return KxPtr<IStorage>::adopt(new CStorage(path, mode));
}

KxPtr<IParam> new_IXStorParam(IStorage* storage, std::string_view section, int create) {
  return storage ? KxPtr<IParam>::adopt(storage->GetSection(section, create)) : KxPtr<IParam>{};
}

}  // namespace quillbay
