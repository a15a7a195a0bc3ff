#include "document/document.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <map>
#include <utility>

#include "document/save_plan.h"

namespace desktop {

namespace {

/// The name that follows: "scan009.tif" is followed by "scan010.tif", "plan.tif" by "plan-2.tif".
QString nextName(const QString& name) {
  static const QRegularExpression parts(R"(^(.*?)(\d{0,9})(\.[^.]*)?$)");
  const auto match = parts.match(name);
  const QString digits = match.captured(2);
  if (digits.isEmpty()) return match.captured(1) + "-2" + match.captured(3);
  const QString number = QString("%1").arg(digits.toInt() + 1, static_cast<int>(digits.size()), 10, QChar('0'));
  return match.captured(1) + number + match.captured(3);
}

bool holds(const std::vector<int>& ids, int id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); }

}  // namespace

int Document::append(Page page) {
  page.id = m_next++;
  page.version = m_nextVersion++;
  m_pages.push_back(std::move(page));
  const int id = m_pages.back().id;
  m_current = id;
  emit added(id);
  return id;
}

int Document::add(quillbay::KxPtr<quillbay::IRStor> raster, const QString& suggestedName) {
  Page page;
  page.raster = std::move(raster);
  page.name = suggestedName.isEmpty() ? tr("Page %1").arg(m_next) : suggestedName;
  // Scans into the view are all offered the next file's name, which stays the same until a file has it.
  while (isNamed(page.name)) page.name = nextName(page.name);
  return append(std::move(page));
}

void Document::remove(int id) {
  if (!find(id)) return;
  takeOff({id});
  m_steps.forget(id);
}

void Document::setCurrent(int id) {
  if (id == m_current || !page(id)) return;
  m_current = id;
  emit currentChanged(id);
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

std::vector<int> Document::order() const {
  std::vector<int> ids;
  ids.reserve(m_pages.size());
  for (const Page& page : m_pages) ids.push_back(page.id);
  return ids;
}

std::vector<int> Document::unsaved() const {
  std::vector<int> ids;
  for (const Page& page : m_pages) {
    if (!page.isSaved()) ids.push_back(page.id);
  }
  return ids;
}

std::vector<int> Document::saved() const {
  std::vector<int> ids;
  for (const Page& page : m_pages) {
    if (page.isSaved()) ids.push_back(page.id);
  }
  return ids;
}

bool Document::isModified() const { return !unsaved().empty() || !reorderedFiles(m_pages).empty(); }

// What the user does, and how it is undone.

void Document::beginStep(const QString& text) {
  if (m_openSteps++ == 0) m_open = {text, {}};
}

void Document::endStep() {
  if (--m_openSteps > 0) return;
  m_steps.push(std::exchange(m_open, {}));
  emit stepsChanged();
}

void Document::did(PageChange change, const QString& text) {
  beginStep(text);
  m_open.changes.push_back(std::move(change));
  endStep();
}

PagesClosed Document::takeOff(const std::vector<int>& ids) {
  PagesClosed closed;
  for (std::size_t place = 0; place < m_pages.size(); ++place) {
    if (holds(ids, m_pages[place].id)) closed.pages.emplace_back(place, m_pages[place]);
  }
  std::erase_if(m_pages, [&](const Page& page) { return holds(ids, page.id); });
  for (const auto& [place, page] : closed.pages) emit removed(page.id);
  return closed;
}

/// The same for pages that the user closes: saving their files asks about them.
PagesClosed Document::closeNow(const std::vector<int>& ids) {
  for (const int id : ids) {
    if (const Page* page = find(id); page && page->source) ++page->source->closed;
  }
  return takeOff(ids);
}

void Document::close(const std::vector<int>& ids) {
  PagesClosed closed = closeNow(ids);
  if (closed.pages.empty()) return;
  const auto count = closed.pages.size();
  const QString text = count == 1 ? tr("Close page") : tr("Close %1 pages").arg(count);
  did(std::move(closed), text);
}

void Document::clear() { close(order()); }

void Document::insert(std::size_t place, const Page& page) {
  if (page.source) --page.source->closed;
  m_pages.insert(m_pages.begin() + static_cast<std::ptrdiff_t>(std::min(place, m_pages.size())), page);
  emit added(page.id);
}

/// Pages that `order` does not name come after the others.
void Document::arrange(const std::vector<int>& order) {
  std::map<int, std::size_t> ranks;
  for (const int id : order) ranks.emplace(id, ranks.size());
  const auto rank = [&](const Page& page) {
    const auto at = ranks.find(page.id);
    return at == ranks.end() ? ranks.size() : at->second;
  };
  std::stable_sort(m_pages.begin(), m_pages.end(),
                   [&](const Page& one, const Page& other) { return rank(one) < rank(other); });
  emit reordered();
}

void Document::reorder(const std::vector<int>& wanted) {
  const std::vector<int> before = order();
  if (before == wanted) return;
  arrange(wanted);
  did(PagesMoved{before, order()}, tr("Move pages"));
}

/// Has a page shown that got another raster.
void Document::show(Page& page, const PageReplaced::Version& version) {
  page.raster = version.raster;
  page.version = version.number;
  page.overview = {};
  const int id = page.id;
  emit replaced(id);
  emit changed(id);
}

bool Document::replace(int id, quillbay::KxPtr<quillbay::IRStor> raster) {
  Page* page = find(id);
  if (!page || !raster) return false;
  const PageReplaced change{id, {page->raster, page->version}, {std::move(raster), m_nextVersion++}};
  did(change, tr("Change page"));
  show(*page, change.after);
  return true;
}

void Document::takeBack(const PageChange& change) {
  if (const auto* replaced = std::get_if<PageReplaced>(&change)) {
    if (Page* page = find(replaced->id)) show(*page, replaced->before);
  } else if (const auto* closed = std::get_if<PagesClosed>(&change)) {
    for (const auto& [place, page] : closed->pages) insert(place, page);
  } else if (const auto* moved = std::get_if<PagesMoved>(&change)) {
    arrange(moved->before);
  }
}

void Document::doAgain(PageChange& change) {
  if (const auto* replaced = std::get_if<PageReplaced>(&change)) {
    if (Page* page = find(replaced->id)) show(*page, replaced->after);
  } else if (auto* closed = std::get_if<PagesClosed>(&change)) {
    std::vector<int> ids;
    ids.reserve(closed->pages.size());
    for (const auto& [place, page] : closed->pages) ids.push_back(page.id);
    *closed = closeNow(ids);  // as they are now: they may have been saved meanwhile
  } else if (const auto* moved = std::get_if<PagesMoved>(&change)) {
    arrange(moved->after);
  }
}

bool Document::undo() {
  if (m_openSteps > 0 || !m_steps.undo()) return false;
  UndoStep step = m_steps.takeUndo();
  for (auto change = step.changes.rbegin(); change != step.changes.rend(); ++change) takeBack(*change);
  m_steps.undone(std::move(step));
  emit stepsChanged();
  return true;
}

bool Document::redo() {
  if (m_openSteps > 0 || !m_steps.redo()) return false;
  UndoStep step = m_steps.takeRedo();
  for (PageChange& change : step.changes) doAgain(change);
  m_steps.redone(std::move(step));
  emit stepsChanged();
  return true;
}

}  // namespace desktop
