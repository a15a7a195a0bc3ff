#include "document/page_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QScopeGuard>
#include <memory>

#include "quillbay/formats.h"
#include "window/guarded.h"
#include "window/progress_window.h"
#include "window/side_work.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

QString fileText(const char* english) { return QCoreApplication::translate("PageFiles", english); }

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

namespace {

struct ReadFile {
  QString file;
  FileStamp stamp;
  std::vector<KxPtr<quillbay::IRStor>> rasters;
};

/// On whatever thread; `of` tells which of several files it is. False when it was cancelled.
bool readPages(ReadFile& into, const QString& of, SideProgress& progress) {
  const QString name = QFileInfo(into.file).fileName() + of;
  const std::string path = into.file.toStdString();
  progress.begin(fileText("Opening %1...").arg(name), quillbay::kLoadSteps);
  into.stamp = stampOf(into.file);
  const int pages = quillbay::CountRasterPages(path);
  for (int page = 0; page < pages; ++page) {
    if (pages > 1)
      progress.begin(fileText("Opening %1, page %2 of %3...").arg(name).arg(page + 1).arg(pages),
                     quillbay::kLoadSteps);
    auto raster = quillbay::LoadRasterFile(path, page, &progress);
    if (!raster || progress.IsCancelled()) return false;
    into.rasters.push_back(std::move(raster));
  }
  return true;
}

}  // namespace

std::optional<PageFiles::Opened> PageFiles::open(const QStringList& files) {
  Opened opened;
  std::vector<ReadFile> read;
  SideProgress progress;
  m_progress = &progress;
  const auto over = qScopeGuard([this] { m_progress = nullptr; });
  workBeside(m_window, progress, [&] {
    for (qsizetype i = 0; i < files.size(); ++i) {
      const QString& file = files[i];
      const QString of = files.size() > 1 ? fileText(" (file %1 of %2)").arg(i + 1).arg(files.size()) : QString();
      if (progress.IsCancelled()) return;
      ReadFile one{QFileInfo(file).absoluteFilePath(), {}, {}};
      QString why;
      const bool whole = guarded(one.file, &why, [&] { return readPages(one, of, progress); });
      if (!whole && why.isEmpty()) return;  // cancelled
      if (!whole) opened.failures += why;
      if (one.rasters.empty()) {
        opened.failed += file;
      } else {
        read.push_back(std::move(one));  // of a truncated file what could be read of it
      }
    }
  });
  if (progress.IsCancelled()) return std::nullopt;
  for (ReadFile& one : read) {
    m_document->addFile(one.file, std::move(one.rasters), one.stamp);
    opened.files += one.file;
  }
  return opened;
}

void PageFiles::cancel() {
  if (m_progress) m_progress->cancel();
}

KxPtr<quillbay::IRStor> PageFiles::read(const QString& file, int page, const QString& what) {
  KxPtr<quillbay::IRStor> raster;
  SideProgress progress;
  progress.begin(what, quillbay::kLoadSteps);
  workBeside(m_window, progress, [&] { raster = quillbay::LoadRasterFile(file.toStdString(), page, &progress); });
  return raster;
}

bool PageFiles::write(const std::vector<int>& ids, const PageSourcePtr& target, bool mayReplace, QString* why) {
  std::vector<KxPtr<quillbay::IRStor>> rasters;
  std::vector<int> present, versions;
  int lines = 0;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (!page) continue;
    rasters.push_back(page->raster);
    present.push_back(id);
    versions.push_back(page->version);
    lines = std::max(lines, page->raster->GetHeight());
  }
  const QString file = target->file;
  const bool done = guarded(file, why, [&] {
    const auto progress = showProgress(fileText("Saving %1...").arg(QFileInfo(file).fileName()), lines, m_window);
    return quillbay::SaveRasterFile(m_app, rasters, file.toStdString(), mayReplace, progress.get()) != 0;
  });
  if (done) m_document->noteWritten(target, present, versions);
  return done;
}

bool PageFiles::save(const std::vector<int>& ids, const QString& file, bool mayReplace, QString* why) {
  const auto target = std::make_shared<PageSource>();
  target->file = QFileInfo(file).absoluteFilePath();
  return write(ids, target, mayReplace, why);
}

bool PageFiles::saveBack(const SavePlan::File& file, QString* why) {
  return write(file.ids, file.source, true, why);
}

QString fileNameFor(const Page& page) {
  static const QRegularExpression forbidden("[/\\\\:*?\"<>|\\x00-\\x1f]");
  const QFileInfo file(page.file());
  if (!page.file().isEmpty() && page.source->held > 1) {
    return QString("%1-%2.%3").arg(file.completeBaseName()).arg(page.place + 1).arg(file.suffix());
  }
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
