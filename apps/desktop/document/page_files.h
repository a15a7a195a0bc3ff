#pragma once
#include <QStringList>
#include <optional>
#include <vector>

#include "document/document.h"
#include "document/save_plan.h"
#include "quillbay/app.h"

namespace desktop {

class SideProgress;

/// Reads pages from files and writes them, with a window that shows long ones and lets the user cancel.
class PageFiles {
 public:
  /// Both must outlive it; `window` is the one that a progress window belongs to.
  PageFiles(quillbay::IApp* app, Document* document, QWidget* window)
      : m_app(app), m_document(document), m_window(window) {}

  struct Opened {
    QStringList files;     ///< whose pages the document has now
    QStringList failed;    ///< files that could not be read
    QStringList failures;  ///< why, also of files of which only the first pages could be read
  };
  /// Reads files on a thread of its own, one after the other, and adds all their pages to the document at the end.
  /// A file that cannot be read does not keep the others from being opened. None when the user cancelled it: the
  /// document is as it was.
  std::optional<Opened> open(const QStringList& files);
  /// Gives up what is being opened.
  void cancel();
  /// Reads page `page` of a file in the same way; null when it was cancelled. Throws as `LoadRasterFile`.
  quillbay::KxPtr<quillbay::IRStor> read(const QString& file, int page, const QString& what);
  /// Writes pages into one file, which takes the place of another only when `mayReplace`. They belong to it from
  /// then on. Returns false with the reason in `*why` (empty when it was cancelled): the file is as it was then.
  bool save(const std::vector<int>& ids, const QString& file, bool mayReplace, QString* why);
  /// Writes a file anew with all its pages. Returns as `save`.
  bool saveBack(const SavePlan::File& file, QString* why);
  /// A free name in a folder for a page: its own, with a number when that is taken.
  [[nodiscard]] QString freeName(const QString& folder, const Page& page) const;

 private:
  bool write(const std::vector<int>& ids, const PageSourcePtr& target, bool mayReplace, QString* why);
  quillbay::IApp* m_app;
  Document* m_document;
  QWidget* m_window;
  SideProgress* m_progress = nullptr;  // of what is being opened
};

/// A name for a page's file: its own with the extension of a format, without what no file name may hold. A page of
/// a file with several has the file's with its number.
[[nodiscard]] QString fileNameFor(const Page& page);

}  // namespace desktop
