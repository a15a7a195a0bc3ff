#pragma once
#include <QImage>
#include <QObject>
#include <QSizeF>
#include <QString>
#include <vector>

#include "quillbay/host.h"

namespace desktop {

/// A page of the program's document.
struct Page {
  int id = 0;
  quillbay::KxPtr<quillbay::IRStor> raster;
  QString name;  ///< for a person: of its file, else "Page 3"
  QString file;  ///< that holds it; empty for a page that is in no file
  bool saved = false;
  QImage overview;  ///< the whole page, small; null until it was made
  /// What the page was before its last change, for one step back.
  struct Previous {
    quillbay::KxPtr<quillbay::IRStor> raster;
    bool saved = false;
  } previous;

  [[nodiscard]] QSizeF sizeMm() const;
  /// Dots per inch; a usual one for files that do not tell theirs.
  [[nodiscard]] double dpi() const;
};

/// The pages that were scanned or opened, in the order in which they came; the host and its scripts work on them
/// as well. User-interface thread.
class Document : public QObject, public quillbay::CKxUnknownImplStatic<quillbay::IHostPages> {
  Q_OBJECT
 public:
  explicit Document(QObject* parent = nullptr) : QObject(parent) {}

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
  /// The page that commands are about: the one that was chosen, else the last one; 0 without pages.
  void setCurrent(int id);
  [[nodiscard]] int current() const { return page(m_current) ? m_current : lastId(); }
  /// Puts a raster in the place of a page's, which is kept for one `undoReplace`. The page is not saved then.
  bool replace(int id, quillbay::KxPtr<quillbay::IRStor> raster);
  /// Brings back what the last `replace` took away. False when there is nothing to bring back.
  bool undoReplace(int id);

  [[nodiscard]] const std::vector<Page>& pages() const { return m_pages; }
  /// Null when there is none (any more).
  [[nodiscard]] const Page* page(int id) const;
  /// The page that came last; 0 without one.
  [[nodiscard]] int lastId() const { return m_pages.empty() ? 0 : m_pages.back().id; }
  [[nodiscard]] std::vector<int> unsaved() const;

  // IHostPages
  int Add(const quillbay::HostPage& page) override;
  int GetCurrent() override { return current(); }
  int GetPage(int id, quillbay::HostPage* out) override;
  int Replace(int id, quillbay::IRStor* raster) override;
  int NoteSaved(int id, const std::string& file) override;
  void NoteOverwritten(const std::string& file) override;
  int Remove(int id) override;
  int CountUnsaved() override { return static_cast<int>(unsaved().size()); }
  void Clear(int unsavedToo) override;

 signals:
  void added(int id);
  void removed(int id);
  void changed(int id);
  /// The page has another raster.
  void replaced(int id);
  void currentChanged(int id);

 private:
  Page* find(int id);
  void show(Page& page);
  [[nodiscard]] bool isNamed(const QString& name) const;
  std::vector<Page> m_pages, m_cleared;
  int m_next = 1, m_current = 0;
};

}  // namespace desktop
