#pragma once
#include <QDateTime>
#include <QSize>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "recovery/journal_file.h"

namespace desktop {

/// Something that a program which crashed has left.
struct Leftover {
  enum class Kind {
    Page,  ///< the copy of a page that was in no file
    Part,  ///< the finished pages of a multi-page file ("NAME.part"), not published yet
    File   ///< a file that scans went into, whole; only told
  };
  Kind kind = Kind::Page;
  QString file;  ///< the copy, the part, or the file
  QString name;  ///< for a user
  QDateTime time;
  QSize pixels;  ///< of a page; empty when unknown
  int pages = 1;
  qint64 bytes = 0;
};

/// What a user decided about the things that a crash has left.
struct RecoveryAnswer {
  enum class Act { Open, Discard, Later };
  Act act = Act::Later;
  std::vector<std::size_t> chosen;  ///< of the list
};

/// What programs that ended without closing their journals have left; theirs are locked as long as this lives, so
/// that no other program offers the same. Nothing is deleted but what `settle` is told.
class Leftovers {
 public:
  explicit Leftovers(const QString& folder);
  ~Leftovers();

  [[nodiscard]] const std::vector<Leftover>& items() const { return m_items; }
  /// What cannot be brought back or read, each a sentence for a user.
  [[nodiscard]] const QStringList& troubles() const { return m_troubles; }
  [[nodiscard]] bool isEmpty() const { return m_items.empty() && m_troubles.isEmpty(); }

  enum class Fate { Kept, Delete };
  /// An item is done with: it was opened, or is to be deleted. One that was opened and whose file is still there is
  /// offered again next time. Only copies and parts are ever deleted. False with the reason in `*why` when it
  /// cannot be deleted.
  bool settle(std::size_t item, Fate fate, QString* why);
  /// Whether a copy or a part is left to offer.
  [[nodiscard]] bool isLeft() const;
  /// The user has seen the list: journals of which no copy and no part is left to offer go.
  void finish();

 private:
  struct Session;
  void read(Session& session);
  /// Where the copy is that a journal names: in this folder, which may have been moved. Empty for a file that is
  /// none of the session's copies: it is left alone.
  [[nodiscard]] QString placeOf(const Session& session, const QString& copy) const;
  void addPages(Session& session, const JournalContents& contents);
  void addFiles(Session& session, const JournalContents& contents);
  void addUnknown(Session& session, const JournalContents& contents);
  void add(Session& session, Leftover item, int id);

  const QString m_folder;
  std::vector<std::unique_ptr<Session>> m_sessions;
  std::vector<Leftover> m_items;
  std::vector<std::pair<Session*, int>> m_owners;  // of the items: the session and the page's number in it
  QStringList m_troubles;
};

}  // namespace desktop
