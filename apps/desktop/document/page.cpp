#include "document/page.h"

#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>

#include "quillbay/errors.h"
#include "quillbay/formats.h"
#include "quillbay/geometry.h"

namespace desktop {

namespace {
constexpr double kUsualDpi = 100;
constexpr std::int64_t kNanoseconds = 1'000'000'000;
}  // namespace

FileStamp stampOf(const QString& file) {
  struct stat now {};
  if (::stat(QFile::encodeName(file).constData(), &now) != 0) return {};
  return {now.st_size, now.st_mtim.tv_sec * kNanoseconds + now.st_mtim.tv_nsec, now.st_ino};
}

bool isSameFile(const QString& one, const QString& other) {
  const QFileInfo first(one), second(other);
  if (first.absoluteFilePath() == second.absoluteFilePath()) return true;
  const QString path = first.canonicalFilePath();  // empty for a file that is not there
  return !path.isEmpty() && path == second.canonicalFilePath();
}

int pagesInFile(const QString& file) {
  if (!QFile::exists(file)) return 0;
  try {
    return quillbay::CountRasterPages(file.toStdString());
  } catch (const quillbay::CXException&) {
    return 0;  // whoever reads or writes it says what is wrong with it
  }
}

bool Page::isSaved() const {
  return source && !source->file.isEmpty() && savedVersion == version && savedWriting == source->writing;
}

double Page::dpi() const {
  const auto dpi = raster->GetResolution();
  return dpi > 0 ? dpi : kUsualDpi;
}

QSizeF Page::sizeMm() const {
  const auto size = raster->GetSize();
  return QSizeF(size.width, size.height) * (quillbay::kMmPerInch / dpi());
}

}  // namespace desktop
