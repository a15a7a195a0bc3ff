#pragma once
#include <QObject>
#include <memory>
#include <vector>

#include "document/page.h"
#include "document/undo_stack.h"
#include "quillbay/host.h"

namespace desktop {

/// The pages that were scanned or opened, in the order that the user gives them; the host and its scripts work on
/// them as well. What the user does to them can be undone. User-interface thread.
class Document : public QObject, public quillbay::CKxUnknownImplStatic<quillbay::IHostPages> {
  Q_OBJECT
 public:
  explicit Document(QObject* parent = nullptr) : QObject(parent) {}

  /// Adds a page that is in no file; `suggestedName` may name it, and is numbered on while another page has it.
  /// Returns its number, which no other page ever gets.
  int add(quillbay::KxPtr<quillbay::IRStor> raster, const QString& suggestedName);
  /// Adds the pages that were read from a file; `stamp` was taken before. Returns the number of the first.
  int addFile(const QString& file, std::vector<quillbay::KxPtr<quillbay::IRStor>> rasters, const FileStamp& stamp);
  /// Adds a page that a scan has written to a file. `continues`: the page before it in the run is in this file,
  /// too.
  int addScanned(quillbay::KxPtr<quillbay::IRStor> raster, const QString& name, const QString& file,
                 bool continues);
  /// A scan has written a page, which the document does not get, to a file.
  void noteScanned(const QString& file, bool continues);
  /// A scan has given a file its final name.
  void notePublished(const QString& file);
  /// A file of the document was written: these pages are all that it holds, `versions` the rasters that it got.
  /// Other pages that were in a file of this name are in no file any more, unless they share the source.
  void noteWritten(const PageSourcePtr& source, const std::vector<int>& ids, const std::vector<int>& versions);

  /// Takes a page off for good.
  void remove(int id);
  void setOverview(int id, const QImage& overview);
  /// The page that commands are about: the one that was chosen, else the last one; 0 without pages.
  void setCurrent(int id);
  [[nodiscard]] int current() const { return page(m_current) ? m_current : lastId(); }

  // What the user does, one step each, or together one between `beginStep` and `endStep`.

  void beginStep(const QString& text);
  void endStep();
  /// Takes pages off. Their files stay.
  void close(const std::vector<int>& ids);
  void clear();
  /// Gives the pages another order; `order` holds their numbers.
  void reorder(const std::vector<int>& order);
  /// Puts a raster in the place of a page's. The page is not saved then.
  bool replace(int id, quillbay::KxPtr<quillbay::IRStor> raster);
  [[nodiscard]] const UndoStep* nextUndo() const { return m_steps.undo(); }
  [[nodiscard]] const UndoStep* nextRedo() const { return m_steps.redo(); }
  /// Answer false when there is nothing to undo or to do again.
  bool undo();
  bool redo();
  void setUndoBound(const UndoStack::Bound& bound) { m_steps.setBound(bound); }

  [[nodiscard]] const std::vector<Page>& pages() const { return m_pages; }
  [[nodiscard]] std::vector<int> order() const;
  /// Null when there is none (any more).
  [[nodiscard]] const Page* page(int id) const;
  /// The last page; 0 without one.
  [[nodiscard]] int lastId() const { return m_pages.empty() ? 0 : m_pages.back().id; }
  [[nodiscard]] std::vector<int> unsaved() const;
  /// Whether something would be lost with the document: pages that are not saved, or their order.
  [[nodiscard]] bool isModified() const;

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
  void reordered();
  void currentChanged(int id);
  /// Another step is the next to be undone or done again.
  void stepsChanged();

 private:
  Page* find(int id);
  int append(Page page);
  void insert(std::size_t place, const Page& page);
  PagesClosed takeOff(const std::vector<int>& ids);
  PagesClosed closeNow(const std::vector<int>& ids);
  void show(Page& page, const PageReplaced::Version& version);
  void arrange(const std::vector<int>& order);
  void did(PageChange change, const QString& text);
  void takeBack(const PageChange& change);
  void doAgain(PageChange& change);
  [[nodiscard]] bool isNamed(const QString& name) const;

  PageSourcePtr newSource(const QString& file);
  [[nodiscard]] PageSourcePtr sourceOf(const QString& file, bool continues);
  void detach(const QString& file, const PageSource* keep);
  void tellChanges(const std::vector<int>& savedBefore);
  [[nodiscard]] std::vector<int> saved() const;

  std::vector<Page> m_pages;
  std::vector<std::weak_ptr<PageSource>> m_sources;
  UndoStack m_steps;
  UndoStep m_open;  // the step that is being done
  int m_openSteps = 0;
  int m_next = 1, m_nextVersion = 1, m_current = 0;
};

}  // namespace desktop
