#pragma once
#include <QImage>
#include <QSizeF>
#include <QString>
#include <cstdint>
#include <memory>

#include "quillbay/raster.h"

namespace desktop {

/// Tells whether a file is still the one that it was. Unknown for a file that is not there.
struct FileStamp {
  std::int64_t size = -1, changed = 0;  ///< bytes; nanoseconds since 1970
  std::uint64_t node = 0;
  [[nodiscard]] bool isKnown() const { return size >= 0; }
  bool operator==(const FileStamp&) const = default;
};

[[nodiscard]] FileStamp stampOf(const QString& file);
/// Whether two names are of one file, which need not be there.
[[nodiscard]] bool isSameFile(const QString& one, const QString& other);
/// The pages of a picture file on the disk; 0 when it is not there or is no picture.
[[nodiscard]] int pagesInFile(const QString& file);

/// A file that pages of the document come from or were written to. Its pages share it, also those that were closed
/// and can come back.
struct PageSource {
  QString file;     ///< absolute; empty once another file has taken its place
  int writing = 1;  ///< counts how often it was written: pages of an earlier time are not in it
  int held = 0;     ///< its pages, as far as the document has seen them
  int closed = 0;   ///< of these, pages that the user has closed since
  FileStamp stamp;  ///< as it was read or written last
};
using PageSourcePtr = std::shared_ptr<PageSource>;

/// A page of the program's document.
struct Page {
  int id = 0;
  quillbay::KxPtr<quillbay::IRStor> raster;
  int version = 0;       ///< of the raster: no other one of the document ever has this number
  QString name;          ///< for a user: of its file, else "Page 3"
  QImage overview;       ///< the whole page, small; null until it was made
  PageSourcePtr source;  ///< null for a page that was never in a file
  int place = 0;         ///< in its file, from 0
  int savedVersion = 0;  ///< the raster that the file got, at its `savedWriting`
  int savedWriting = 0;

  /// Its file holds exactly this raster.
  [[nodiscard]] bool isSaved() const;
  /// The file that holds it or did so before it was changed; empty for a page that is in no file.
  [[nodiscard]] QString file() const { return source ? source->file : QString(); }
  [[nodiscard]] QSizeF sizeMm() const;
  /// Dots per inch; a usual one for files that do not tell theirs.
  [[nodiscard]] double dpi() const;
};

}  // namespace desktop
