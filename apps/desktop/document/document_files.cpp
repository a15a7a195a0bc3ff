// Which pages of the document are in which files; the host's view of the document.
#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "document/document.h"

namespace desktop {

PageSourcePtr Document::newSource(const QString& file) {
  auto source = std::make_shared<PageSource>();
  source->file = QFileInfo(file).absoluteFilePath();
  std::erase_if(m_sources, [](const auto& known) { return known.expired(); });
  m_sources.push_back(source);
  return source;
}

/// The source of a page that was just written to a file by another program: the one of the pages that the file
/// still holds, or a new one when the file was replaced.
PageSourcePtr Document::sourceOf(const QString& file, bool continues) {
  PageSourcePtr source;
  for (const auto& known : m_sources) {
    const auto now = known.lock();
    if (now && !now->file.isEmpty() && isSameFile(now->file, file)) source = now;  // the latest
  }
  if (!source || (!continues && pagesInFile(file) <= source->held)) {
    detach(file, nullptr);
    source = newSource(file);
  }
  ++source->held;
  source->stamp = stampOf(file);
  return source;
}

/// Another file has taken the place of this one: its pages are in no file any more.
void Document::detach(const QString& file, const PageSource* keep) {
  const std::vector<int> before = saved();
  for (const auto& known : m_sources) {
    const auto source = known.lock();
    if (!source || source.get() == keep || source->file.isEmpty() || !isSameFile(source->file, file)) continue;
    source->file.clear();
    ++source->writing;
  }
  tellChanges(before);
}

void Document::tellChanges(const std::vector<int>& savedBefore) {
  for (const int id : savedBefore) {
    if (const Page* now = page(id); now && !now->isSaved()) emit changed(id);
  }
}

int Document::addFile(const QString& file, std::vector<quillbay::KxPtr<quillbay::IRStor>> rasters,
                      const FileStamp& stamp) {
  const PageSourcePtr source = newSource(file);
  source->stamp = stamp;
  source->held = static_cast<int>(rasters.size());
  const QString name = QFileInfo(file).fileName();
  int first = 0;
  for (std::size_t i = 0; i < rasters.size(); ++i) {
    Page page;
    page.raster = std::move(rasters[i]);
    page.name = rasters.size() == 1 ? name : tr("%1, page %2").arg(name).arg(i + 1);
    page.source = source;
    page.place = static_cast<int>(i);
    page.savedVersion = m_nextVersion;
    page.savedWriting = source->writing;
    const int id = append(std::move(page));
    if (i == 0) first = id;
  }
  return first;
}

int Document::addScanned(quillbay::KxPtr<quillbay::IRStor> raster, const QString& name, const QString& file,
                         bool continues) {
  Page page;
  page.source = sourceOf(file, continues);
  page.raster = std::move(raster);
  page.name = name;
  page.place = page.source->held - 1;
  page.savedVersion = m_nextVersion;
  page.savedWriting = page.source->writing;
  return append(std::move(page));
}

void Document::noteScanned(const QString& file, bool continues) { static_cast<void>(sourceOf(file, continues)); }

void Document::notePublished(const QString& file) {
  for (const auto& known : m_sources) {
    const auto source = known.lock();
    if (source && !source->file.isEmpty() && isSameFile(source->file, file)) {
      source->stamp = stampOf(file);
    }
  }
}

void Document::noteWritten(const PageSourcePtr& source, const std::vector<int>& ids,
                           const std::vector<int>& versions) {
  if (std::none_of(m_sources.begin(), m_sources.end(), [&](const auto& known) { return known.lock() == source; })) {
    m_sources.push_back(source);
  }
  const std::vector<int> before = saved();
  detach(source->file, source.get());
  ++source->writing;
  source->held = static_cast<int>(ids.size());
  source->closed = 0;
  source->stamp = stampOf(source->file);
  const QString name = QFileInfo(source->file).fileName();
  for (std::size_t i = 0; i < ids.size(); ++i) {
    Page* page = find(ids[i]);
    if (!page) continue;  // closed meanwhile
    page->source = source;
    page->place = static_cast<int>(i);
    page->savedVersion = versions[i];
    page->savedWriting = source->writing;
    page->name = ids.size() == 1 ? name : tr("%1, page %2").arg(name).arg(i + 1);
  }
  for (const int id : ids) {
    if (page(id)) emit changed(id);
  }
  tellChanges(before);
}

int Document::Add(const quillbay::HostPage& page) {
  const QString file = QString::fromStdString(page.file), name = QFileInfo(file).fileName();
  return page.saved && !file.isEmpty() ? addScanned(page.raster, name, file, false) : add(page.raster, name);
}

int Document::GetPage(int id, quillbay::HostPage* out) {
  const Page* found = page(id);
  if (!found) return 0;
  const bool isSaved = found->isSaved();
  *out = {found->raster, (isSaved ? found->file() : found->name).toStdString(), false, false, isSaved};
  return 1;
}

int Document::Replace(int id, quillbay::IRStor* raster) {
  return replace(id, quillbay::KxPtr<quillbay::IRStor>::share(raster)) ? 1 : 0;
}

int Document::NoteSaved(int id, const std::string& file) {
  Page* page = find(id);
  if (!page) return 0;
  const QString path = QString::fromStdString(file);
  const PageSourcePtr source = sourceOf(path, false);
  page->source = source;
  page->place = source->held - 1;
  page->savedVersion = page->version;
  page->savedWriting = source->writing;
  page->name = QFileInfo(path).fileName();
  emit changed(id);
  return 1;
}

void Document::NoteOverwritten(const std::string& file) { detach(QString::fromStdString(file), nullptr); }

int Document::Remove(int id) {
  const bool there = page(id) != nullptr;
  close({id});
  return there ? 1 : 0;
}

void Document::Clear(int unsavedToo) { close(unsavedToo ? order() : saved()); }

}  // namespace desktop
