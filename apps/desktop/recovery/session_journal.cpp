#include "recovery/session_journal.h"

#include <QFile>
#include <utility>

namespace desktop {

SessionJournal::SessionJournal(Document* document, QString folder, QObject* parent)
    : QObject(parent), m_document(document), m_folder(std::move(folder)), m_keeper(nullptr) {
  connect(document, &Document::added, this, [this](int id) {
    look(id);
    if (id != m_document->lastId()) noteOrder();  // it came back to its place
  });
  connect(document, &Document::reordered, this, &SessionJournal::noteOrder);
  connect(document, &Document::changed, this, &SessionJournal::look);
  connect(document, &Document::replaced, this, &SessionJournal::look);
  connect(document, &Document::removed, this, &SessionJournal::forget);
  connect(&m_keeper, &PageKeeper::kept, this, [this](int id) {
    m_told = false;
    emit kept(id);
  });
  connect(&m_keeper, &PageKeeper::failed, this, [this](int id, const QString& why) {
    const Page* page = m_document->page(id);
    // Once until there is room again: it may be a batch of hundreds.
    if (page && !std::exchange(m_told, true)) {
      emit noted(tr("%1 has no recovery copy: %2").arg(page->name, why));
    }
  });
}

SessionJournal::~SessionJournal() = default;

bool SessionJournal::begin() {
  if (m_journal || m_failed) return m_journal != nullptr;
  QString why;
  m_journal = JournalFile::create(m_folder, &why);
  m_failed = !m_journal;
  if (m_failed) emit noted(tr("Recovery copies of unsaved pages cannot be written: %1").arg(why));
  return !m_failed;
}

void SessionJournal::setKeeping(bool keeps) {
  if (std::exchange(m_keeps, keeps) == keeps) return;
  m_failed = m_told = false;  // switched on again, it tries again
  for (const Page& page : m_document->pages()) look(page.id);
}

void SessionJournal::look(int id) {
  const Page* page = m_document->page(id);
  if (!page || page->isSaved() || !m_keeps) return forget(id);
  const auto known = m_entries.find(id);
  const bool isSame = known != m_entries.end() && known->second.raster == page->raster.get() &&
                      known->second.generation == page->raster->GetGeneration();
  if (!isSame && begin()) keep(*page);
}

void SessionJournal::keep(const Page& page) {
  KeptPage kept;
  kept.id = page.id;
  kept.name = page.name;
  kept.file = QString("%1/%2-page%3.tif").arg(m_folder, m_journal->session()).arg(++m_copies);
  kept.pixels = {page.raster->GetWidth(), page.raster->GetHeight()};
  kept.dpi = static_cast<int>(page.raster->GetResolution());
  Entry& entry = m_entries[page.id];
  const auto before = std::exchange(entry.copy, nullptr);
  entry.raster = page.raster.get();
  entry.generation = page.raster->GetGeneration();
  const bool isThere = adopt(kept);
  if (!isThere) m_journal->append(arrivedLine(kept));
  const QString replaces = before ? m_keeper.supersede(before) : QString();
  entry.copy = std::make_shared<PageKeeper::Copy>(std::move(kept), replaces, isThere);
  if (!isThere) m_keeper.keep(m_journal, entry.copy, page.raster);
}

bool SessionJournal::adopt(const KeptPage& page) {
  const QString copy = std::exchange(m_adopted, {});
  return !copy.isEmpty() && QFile::rename(copy, page.file) && m_journal->append(keptLine(page));
}

void SessionJournal::forget(int id) {
  const auto known = m_entries.find(id);
  if (known == m_entries.end()) return;
  m_keeper.drop(m_journal, known->second.copy);
  m_entries.erase(known);
}

void SessionJournal::noteOrder() {
  std::vector<int> kept;
  for (const int id : m_document->order()) {
    if (m_entries.count(id) > 0) kept.push_back(id);
  }
  if (m_journal && kept.size() > 1) m_journal->append(orderLine(kept));
}

void SessionJournal::fileWritten(const QString& file, int page, bool published) {
  if (m_keeps && begin()) m_journal->append(writtenLine(file, page, published));
}

void SessionJournal::filePublished(const QString& file) {
  if (m_keeps && begin()) m_journal->append(publishedLine(file));
}

void SessionJournal::close() {
  while (!m_entries.empty()) forget(m_entries.begin()->first);
  m_keeper.finish(false);
  if (!m_journal) return;
  for (const WrittenFile& file : m_journal->read().written) {
    if (!file.published && QFile::exists(file.file + ".part")) return;  // the next start offers it
  }
  m_journal->remove();
  m_journal = nullptr;
}

}  // namespace desktop
