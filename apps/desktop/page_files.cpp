#include "page_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProgressDialog>
#include <QRegularExpression>
#include <new>

#include "quillbay/errors.h"
#include "quillbay/formats.h"

namespace desktop {

namespace {

constexpr int kShowAfterMs = 500, kRefreshMs = 50;

QString text(const char* english) { return QCoreApplication::translate("PageFiles", english); }

/// Runs a step that throws when it fails; stores what a person should read.
template <class Step>
bool guarded(const QString& file, QString* why, Step step) {
  try {
    why->clear();
    return step();
  } catch (const quillbay::CXException& e) {
    *why = QString::fromStdString(e.what());
  } catch (const std::bad_alloc&) {
    *why = text("There is not enough memory.");
  }
  if (!why->contains(file)) *why = file + ": " + *why;
  return false;
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

/// Shows how far a file is, once it takes noticeable time.
class FileProgress final : public quillbay::CKxUnknownImplStatic<quillbay::IProgress> {
 public:
  FileProgress(const QString& text, int lines, QWidget* window)
      : m_dialog(text, QCoreApplication::translate("PageFiles", "Cancel"), 0, lines, window) {
    m_dialog.setWindowModality(Qt::WindowModal);
    m_dialog.setMinimumDuration(kShowAfterMs);
    m_dialog.setAutoClose(false);
    m_dialog.setAutoReset(false);
    m_refreshed.start();
  }
  void SetText(const char* text) override { m_dialog.setLabelText(QString::fromUtf8(text)); }
  void Step() override { SetPosition(m_position + 1); }
  int SetPosition(int position) override {
    const int before = std::exchange(m_position, position);
    if (m_refreshed.elapsed() >= kRefreshMs) {
      m_dialog.setValue(position);  // shows it when it is time, and lets a modal window's events through
      m_refreshed.restart();
    }
    return before;
  }
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_dialog.wasCanceled() ? 1 : 0; }

 private:
  QProgressDialog m_dialog;
  QElapsedTimer m_refreshed;
  int m_position = 0;
};

bool PageFiles::open(const QString& file, QString* why) {
  const QString whole = QFileInfo(file).absoluteFilePath();
  const std::string path = whole.toStdString();
  std::vector<quillbay::KxPtr<quillbay::IRStor>> rasters;
  const bool done = guarded(whole, why, [&] {
    const int pages = quillbay::CountRasterPages(path);
    for (int page = 0; page < pages; ++page) {
      FileProgress progress(text("Opening %1, page %2...").arg(QFileInfo(file).fileName()).arg(page + 1), 0,
                            m_window);
      auto raster = quillbay::LoadRasterFile(path, page, &progress);
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
  std::vector<quillbay::KxPtr<quillbay::IRStor>> rasters;
  int lines = 0;
  for (const int id : ids) {
    const Page* page = m_document->page(id);
    if (!page) continue;
    rasters.push_back(page->raster);
    lines = std::max(lines, page->raster->GetHeight());
  }
  const bool done = guarded(whole, why, [&] {
    FileProgress progress(text("Saving %1...").arg(QFileInfo(file).fileName()), lines, m_window);
    return quillbay::SaveRasterFile(m_app, rasters, whole.toStdString(), mayReplace, &progress) != 0;
  });
  if (!done) return false;
  for (const int id : ids) m_document->markSaved(id, whole);
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
