#include "document/document.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

namespace desktop {

namespace {
constexpr double kUsualDpi = 100;

/// The name that follows: "scan009.tif" is followed by "scan010.tif", "plan.tif" by "plan-2.tif".
QString nextName(const QString& name) {
  static const QRegularExpression parts(R"(^(.*?)(\d{0,9})(\.[^.]*)?$)");
  const auto match = parts.match(name);
  const QString digits = match.captured(2);
  if (digits.isEmpty()) return match.captured(1) + "-2" + match.captured(3);
  const QString number = QString("%1").arg(digits.toInt() + 1, static_cast<int>(digits.size()), 10, QChar('0'));
  return match.captured(1) + number + match.captured(3);
}
}  // namespace

double Page::dpi() const {
  const auto dpi = raster->GetResolution();
  return dpi > 0 ? dpi : kUsualDpi;
}

QSizeF Page::sizeMm() const {
  const auto size = raster->GetSize();
  return QSizeF(size.width, size.height) * (quillbay::kMmPerInch / dpi());
}

int Document::add(quillbay::KxPtr<quillbay::IRStor> raster, const QString& suggestedName, const QString& file) {
  Page page;
  page.id = m_next++;
  page.raster = std::move(raster);
  page.file = file;
  page.saved = !file.isEmpty();
  page.name = suggestedName.isEmpty() ? tr("Page %1").arg(page.id) : suggestedName;
  // Scans into the view are all offered the next file's name, which stays the same until a file has it.
  while (!page.saved && isNamed(page.name)) page.name = nextName(page.name);
  m_pages.push_back(std::move(page));
  const int id = m_pages.back().id;
  m_current = id;
  emit added(id);
  return id;
}

void Document::remove(int id) {
  if (std::erase_if(m_pages, [&](const Page& page) { return page.id == id; }) > 0) emit removed(id);
}

void Document::clear() {
  if (m_pages.empty()) return;  // what was taken off before can still come back
  m_cleared = std::exchange(m_pages, {});
  for (const Page& page : m_cleared) emit removed(page.id);
}

void Document::restore() {
  const auto back = std::exchange(m_cleared, {});
  m_pages.insert(m_pages.begin(), back.begin(), back.end());
  for (const Page& page : back) emit added(page.id);
}

void Document::markSaved(int id, const QString& file) {
  Page* page = find(id);
  if (!page) return;
  page->saved = true;
  page->previous.saved = false;  // the file may be the one that held it
  page->file = file;
  page->name = QFileInfo(file).fileName();
  emit changed(id);
}

void Document::setCurrent(int id) {
  if (id == m_current || !page(id)) return;
  m_current = id;
  emit currentChanged(id);
}

/// Has a page shown that got another raster.
void Document::show(Page& page) {
  page.overview = {};
  const int id = page.id;
  emit replaced(id);
  emit changed(id);
}

bool Document::replace(int id, quillbay::KxPtr<quillbay::IRStor> raster) {
  Page* page = find(id);
  if (!page || !raster) return false;
  page->previous = {std::exchange(page->raster, std::move(raster)), page->saved};
  page->saved = false;
  show(*page);
  return true;
}

bool Document::undoReplace(int id) {
  Page* page = find(id);
  if (!page || !page->previous.raster) return false;
  const Page::Previous back = std::exchange(page->previous, {});
  page->raster = back.raster;
  page->saved = back.saved;
  show(*page);
  return true;
}

int Document::Add(const quillbay::HostPage& page) {
  const QString file = QString::fromStdString(page.file);
  return add(page.raster, QFileInfo(file).fileName(), page.saved ? file : QString());
}

int Document::GetPage(int id, quillbay::HostPage* out) {
  const Page* found = page(id);
  if (!found) return 0;
  *out = {found->raster, (found->saved ? found->file : found->name).toStdString(), false, false, found->saved};
  return 1;
}

int Document::Replace(int id, quillbay::IRStor* raster) {
  return replace(id, quillbay::KxPtr<quillbay::IRStor>::share(raster)) ? 1 : 0;
}

int Document::NoteSaved(int id, const std::string& file) {
  markSaved(id, QString::fromStdString(file));
  return page(id) ? 1 : 0;
}

void Document::NoteOverwritten(const std::string& file) {
  const QFileInfo written(QString::fromStdString(file));
  std::vector<int> lost;
  for (auto* pages : {&m_pages, &m_cleared}) {
    for (Page& page : *pages) {
      if (page.file.isEmpty() || QFileInfo(page.file) != written) continue;
      if (page.saved) lost.push_back(page.id);
      page.saved = page.previous.saved = false;
    }
  }
  for (const int id : lost) emit changed(id);
}

int Document::Remove(int id) {
  const bool there = page(id) != nullptr;
  remove(id);
  return there ? 1 : 0;
}

void Document::Clear(int unsavedToo) {
  if (unsavedToo) return clear();
  std::vector<int> saved;
  for (const Page& page : m_pages) {
    if (page.saved) saved.push_back(page.id);
  }
  for (const int id : saved) remove(id);
}

void Document::setOverview(int id, const QImage& overview) {
  Page* page = find(id);
  if (!page) return;  // closed meanwhile
  page->overview = overview;
  emit changed(id);
}

Page* Document::find(int id) {
  const auto found = std::find_if(m_pages.begin(), m_pages.end(), [&](const Page& page) { return page.id == id; });
  return found == m_pages.end() ? nullptr : &*found;
}

const Page* Document::page(int id) const { return const_cast<Document*>(this)->find(id); }

bool Document::isNamed(const QString& name) const {
  return std::any_of(m_pages.begin(), m_pages.end(), [&](const Page& page) { return page.name == name; });
}

std::vector<int> Document::unsaved() const {
  std::vector<int> ids;
  for (const Page& page : m_pages) {
    if (!page.saved) ids.push_back(page.id);
  }
  return ids;
}

}  // namespace desktop
