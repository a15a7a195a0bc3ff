#pragma once
#include <QStringList>
#include <vector>

#include "document/document.h"
#include "quillbay/app.h"

namespace desktop {

/// Reads pages from files and writes them, with a window that shows long ones and lets the person cancel.
class PageFiles {
 public:
  /// Both must outlive it; `window` is the one that a progress window belongs to.
  PageFiles(quillbay::IApp* app, Document* document, QWidget* window)
      : m_app(app), m_document(document), m_window(window) {}

  /// Adds all pages of a file to the document. Answers false with the reason in `*why` (empty when it was
  /// cancelled): the document is as it was then.
  bool open(const QString& file, QString* why);
  /// Writes pages into one file and marks them as saved. Answers as `open`.
  bool save(const std::vector<int>& ids, const QString& file, bool mayReplace, QString* why);
  /// A free name in a folder for a page: its own, with a number when that is taken.
  [[nodiscard]] QString freeName(const QString& folder, const Page& page) const;

 private:
  quillbay::IApp* m_app;
  Document* m_document;
  QWidget* m_window;
};

/// A page's name with the extension of a format, and without what no file name may hold.
[[nodiscard]] QString fileNameFor(const Page& page);

}  // namespace desktop
