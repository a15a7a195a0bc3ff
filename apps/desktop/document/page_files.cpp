#include "document/page_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include "quillbay/formats.h"
#include "window/guarded.h"
#include "window/progress_window.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

QString text(const char* english) { return QCoreApplication::translate("PageFiles", english); }

KxPtr<quillbay::IProgress> showProgress(const QString& what, int lines, QWidget* window) {
  return KxPtr<quillbay::IProgress>::adopt(new ProgressWindow(what, lines, window));
}

bool isKnownExtension(const QString& name) {
  const std::string extension = "." + QFileInfo(name).suffix().toLower().toStdString();
  for (const auto& format : quillbay::ListFormats()) {
    for (const auto& known : format.extensions) {
      if (known == extension) return true;
    }
  }
  return false;
}

}  // namespace

bool PageFiles::open(const QString& file, QString* why) {
  const QString whole = QFileInfo(file).absoluteFilePath();
  const std::string path = whole.toStdString();
  std::vector<KxPtr<quillbay::IRStor>> rasters;
  const bool done = guarded(whole, why, [&] {
    const int pages = quillbay::CountRasterPages(path);
    for (int page = 0; page < pages; ++page) {
      const QString what = text("Opening %1, page %2...").arg(QFileInfo(file).fileName()).arg(page + 1);
      const auto progress = showProgress(what, 0, m_window);
      auto raster = quillbay::LoadRasterFile(path, page, progress.get());
      if (!raster) return false;
      rasters.push_back(std::move(raster));
    }
    return true;
  });
  if (!done) return false;
  const QString name = QFileInfo(file).fileName();
  for (std::size_t i = 0; i < rasters.size(); ++i) {
    m_document->add(std::move(rasters[i]), rasters.size() == 1 ? name : text("%1, page %2").arg(name).arg(i + 1),
                    whole);
  }
  return true;
}

bool PageFiles::save(const std::vector<int>& ids, const QString& file, bool mayReplace, QString* why) {
  const QString whole = QFileInfo(file).absoluteFilePath();
  std::vector<KxPtr<quillbay::IRStor>> rasters;
  std::vector<std::pair<int, KxPtr<quillbay::IRStor>>> saved;
  int lines = 0;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (!page) continue;
    rasters.push_back(page->raster);
    saved.emplace_back(id, page->raster);
    lines = std::max(lines, page->raster->GetHeight());
  }
  const bool done = guarded(whole, why, [&] {
    const auto progress = showProgress(text("Saving %1...").arg(QFileInfo(file).fileName()), lines, m_window);
    return quillbay::SaveRasterFile(m_app, rasters, whole.toStdString(), mayReplace, progress.get()) != 0;
  });
  if (!done) return false;
  if (mayReplace) m_document->NoteOverwritten(whole.toStdString());
  for (const auto& [id, raster] : saved) {
    const Page* page = m_document->page(id);
    if (page && page->raster.get() == raster.get()) m_document->markSaved(id, whole);  // else it changed meanwhile
  }
  return true;
}

QString fileNameFor(const Page& page) {
  static const QRegularExpression forbidden("[/\\\\:*?\"<>|\\x00-\\x1f]");
  QString name = QString(page.name).replace(forbidden, "_");
  if (!isKnownExtension(name)) name += ".tif";
  return name;
}

QString PageFiles::freeName(const QString& folder, const Page& page) const {
  const QFileInfo wanted(QDir(folder), fileNameFor(page));
  QString path = wanted.filePath();
  for (int number = 2; QFileInfo::exists(path); ++number) {
    path = QString("%1/%2-%3.%4").arg(folder, wanted.completeBaseName()).arg(number).arg(wanted.suffix());
  }
  return path;
}

}  // namespace desktop
