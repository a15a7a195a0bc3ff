#pragma once
#include <QObject>
#include <QThreadPool>
#include <atomic>
#include <memory>
#include <mutex>

#include "quillbay/raster.h"
#include "recovery/journal_file.h"

namespace desktop {

/// Writes copies of pages, and deletes them, on a thread of its own at low priority, and says in the journal which
/// are complete.
/// Threads: the user-interface thread, except that the journal is told on the thread.
class PageKeeper : public QObject {
  Q_OBJECT
 public:
  /// A copy that is being written, or was.
  class Copy {
   public:
    /// `replaces`: an older copy of the same page, which stays until this one is complete; empty: none.
    /// `isComplete`: it is there already.
    Copy(KeptPage page, QString replaces, bool isComplete)
        : m_page(std::move(page)), m_replaces(std::move(replaces)), m_complete(isComplete) {}
    [[nodiscard]] const KeptPage& page() const { return m_page; }
    [[nodiscard]] bool isDropped() const { return m_dropped; }

   private:
    friend class PageKeeper;
    const KeptPage m_page;
    const QString m_replaces;
    std::atomic<bool> m_dropped{false};
    bool m_complete;  // guarded by the keeper's mutex
  };
  using CopyPtr = std::shared_ptr<Copy>;

  explicit PageKeeper(QObject* parent) : QObject(parent) { m_thread.setMaxThreadCount(1); }
  /// Gives up the copies that are not complete.
  ~PageKeeper() override;

  /// Begins a copy; `kept` or `failed` follows, unless it is dropped before.
  void keep(std::shared_ptr<JournalFile> journal, CopyPtr copy, quillbay::KxPtr<quillbay::IRStor> raster);
  /// The copy's page has changed. Returns what the next copy replaces: this one, or when it is not complete yet the
  /// one that it would have replaced; then its writing is given up.
  [[nodiscard]] QString supersede(const CopyPtr& copy);
  /// Nobody wants the copy any more: it is deleted.
  void drop(const std::shared_ptr<JournalFile>& journal, const CopyPtr& copy);
  /// Waits until the thread has nothing to do; with `giveUp` it drops what it works on.
  void finish(bool giveUp);

 signals:
  /// On the user-interface thread.
  void kept(int id);
  void failed(int id, const QString& why);

 private:
  void deleteLater(const QString& file);
  void write(JournalFile& journal, Copy& copy, quillbay::IRStor* raster);

  std::mutex m_mutex;  // of what the journal says about a copy: kept, or dropped before
  std::atomic<bool> m_givesUp{false};
  QThreadPool m_thread;
};

}  // namespace desktop
