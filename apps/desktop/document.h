#pragma once
#include <QImage>
#include <QObject>
#include <QSizeF>
#include <QString>
#include <vector>

#include "quillbay/raster.h"

namespace desktop {

/// A page of the program's document.
struct Page {
  int id = 0;
  quillbay::KxPtr<quillbay::IRStor> raster;
  QString name;  ///< for a person: of its file, else "Page 3"
  QString file;  ///< that holds it; empty for a page that is in no file
  bool saved = false;
  QImage overview;  ///< the whole page, small; null until it was made

  [[nodiscard]] QSizeF sizeMm() const;
  /// Dots per inch; a usual one for files that do not tell theirs.
  [[nodiscard]] double dpi() const;
};

/// The pages that were scanned or opened, in the order in which they came. User-interface thread.
class Document : public QObject {
  Q_OBJECT
 public:
  using QObject::QObject;

  /// Adds a page that is in no file (`file` is empty; `suggestedName` may name it, and is numbered on while another
  /// page has it) or that was read from one.
  /// Answers its number, which no other page ever gets.
  int add(quillbay::KxPtr<quillbay::IRStor> raster, const QString& suggestedName, const QString& file = {});
  void remove(int id);
  /// Takes all pages off. `restore` brings back those of the last time, in front of what came meanwhile.
  void clear();
  void restore();
  [[nodiscard]] bool canRestore() const { return !m_cleared.empty(); }
  void markSaved(int id, const QString& file);
  void setOverview(int id, const QImage& overview);

  [[nodiscard]] const std::vector<Page>& pages() const { return m_pages; }
  /// Null when there is none (any more).
  [[nodiscard]] const Page* page(int id) const;
  /// The page that came last; 0 without one.
  [[nodiscard]] int lastId() const { return m_pages.empty() ? 0 : m_pages.back().id; }
  [[nodiscard]] std::vector<int> unsaved() const;

 signals:
  void added(int id);
  void removed(int id);
  void changed(int id);

 private:
  Page* find(int id);
  [[nodiscard]] bool isNamed(const QString& name) const;
  std::vector<Page> m_pages, m_cleared;
  int m_next = 1;
};

}  // namespace desktop
