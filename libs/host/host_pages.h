#pragma once
#include <functional>
#include <vector>

#include "quillbay/host.h"

namespace quillbay {

/// The pages of a program that keeps none itself. What was saved leaves when the next page comes, so that a long
/// batch does not pile up.
class CHostPages final : public CKxUnknownImpl<IHostPages> {
 public:
  int Add(const HostPage& page) override;
  int GetCurrent() override { return m_entries.empty() ? 0 : m_entries.back().id; }
  int GetPage(int id, HostPage* out) override;
  int Replace(int id, IRStor* raster) override;
  int NoteSaved(int id, const std::string& file) override;
  void NoteOverwritten(const std::string& file) override;
  int Remove(int id) override;
  int CountUnsaved() override;
  void Clear(int unsavedToo) override;

  [[nodiscard]] std::vector<HostDocument> documents() const;
  /// Pages for which this is true leave neither with a new page nor by `Clear`: they are worked on.
  void setKept(std::function<bool(int id)> isKept) { m_isKept = std::move(isKept); }

 private:
  struct Entry {
    int id = 0, document = 0;
    HostPage page;
  };
  Entry* find(int id);
  [[nodiscard]] bool isKept(const Entry& entry) const { return m_isKept && m_isKept(entry.id); }

  std::vector<Entry> m_entries;
  int m_nextId = 1, m_document = 0;
  std::function<bool(int)> m_isKept;
};

}  // namespace quillbay
