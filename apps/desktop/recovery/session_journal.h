#pragma once
#include <QObject>
#include <map>
#include <memory>

#include "document/document.h"
#include "recovery/journal_file.h"
#include "recovery/page_keeper.h"

namespace desktop {

/// Keeps what a crash must not take: a copy of every page of the document that is in no file, and a list of the
/// files that scans went into. Copies go when their page is saved or closed. Begins with the first page; the folder
/// holds the journals and copies of all running programs. User-interface thread.
class SessionJournal : public QObject {
  Q_OBJECT
 public:
  /// `document` must outlive it.
  SessionJournal(Document* document, QString folder, QObject* parent = nullptr);
  /// What was kept stays, as after a crash.
  ~SessionJournal() override;

  /// Off: nothing is copied, and the copies that are there go.
  void setKeeping(bool keeps);
  [[nodiscard]] bool isKeeping() const { return m_keeps; }
  [[nodiscard]] const QString& folder() const { return m_folder; }

  void fileWritten(const QString& file, int page, bool published);
  void filePublished(const QString& file);
  /// The page that is added to the document next was read from this copy, which becomes its own; empty: it was not.
  void adoptNext(const QString& copy) { m_adopted = copy; }
  /// The user has closed the program: nothing is left to bring back, except a file that was not published.
  void close();

 signals:
  /// The page's copy is complete.
  void kept(int id);
  /// For the log.
  void noted(const QString& text);

 private:
  struct Entry {
    PageKeeper::CopyPtr copy;
    const quillbay::IRStor* raster = nullptr;  // only compared
    int generation = 0;
  };
  bool begin();
  void look(int id);
  void forget(int id);
  void noteOrder();
  void keep(const Page& page);
  [[nodiscard]] bool adopt(const KeptPage& page);

  Document* m_document;
  const QString m_folder;
  bool m_keeps = true, m_failed = false;
  bool m_told = false;  // that copies cannot be made
  std::shared_ptr<JournalFile> m_journal;
  std::map<int, Entry> m_entries;
  QString m_adopted;
  int m_copies = 0;
  PageKeeper m_keeper;  // last: its thread ends first
};

}  // namespace desktop
