#include "host/host_pages.h"

#include <algorithm>

namespace quillbay {

int CHostPages::Add(const HostPage& page) {
  if (!page.raster) return 0;
  std::erase_if(m_entries, [this](const Entry& e) { return e.page.saved && !isKept(e); });
  if (!page.multipage || m_document == 0) ++m_document;
  m_entries.push_back({m_nextId++, m_document, page});
  return m_entries.back().id;
}

CHostPages::Entry* CHostPages::find(int id) {
  const auto found = std::find_if(m_entries.begin(), m_entries.end(), [id](const Entry& e) { return e.id == id; });
  return found == m_entries.end() ? nullptr : &*found;
}

int CHostPages::GetPage(int id, HostPage* out) {
  const Entry* entry = find(id);
  if (!entry) return 0;
  *out = entry->page;
  return 1;
}

int CHostPages::Replace(int id, IRStor* raster) {
  Entry* entry = find(id);
  if (!entry || !raster) return 0;
  entry->page.raster = KxPtr<IRStor>::share(raster);
  entry->page.saved = false;
  return 1;
}

int CHostPages::NoteSaved(int id, const std::string& file) {
  Entry* entry = find(id);
  if (!entry) return 0;
  entry->page.file = file;
  entry->page.saved = true;
  return 1;
}

void CHostPages::NoteOverwritten(const std::string& file) {
  for (Entry& e : m_entries) e.page.saved = e.page.saved && e.page.file != file;
}

int CHostPages::Remove(int id) {
  return std::erase_if(m_entries, [id](const Entry& e) { return e.id == id; }) != 0 ? 1 : 0;
}

int CHostPages::CountUnsaved() {
  return static_cast<int>(
      std::count_if(m_entries.begin(), m_entries.end(), [](const Entry& e) { return !e.page.saved; }));
}

void CHostPages::Clear(int unsavedToo) {
  std::erase_if(m_entries, [&](const Entry& e) { return (unsavedToo || e.page.saved) && !isKept(e); });
}

std::vector<HostDocument> CHostPages::documents() const {
  std::vector<HostDocument> documents;
  int last = 0;
  for (const Entry& entry : m_entries) {
    if (entry.document != last) documents.push_back({{}, {}, true});
    last = entry.document;
    HostDocument& document = documents.back();
    document.file = entry.page.file;
    document.pages.push_back(entry.page.raster);
    document.saved = document.saved && entry.page.saved;
  }
  return documents;
}

}  // namespace quillbay
