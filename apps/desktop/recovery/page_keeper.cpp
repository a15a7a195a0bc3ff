#include "recovery/page_keeper.h"

#include <sys/resource.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "quillbay/app.h"
#include "quillbay/errors.h"
#include "quillbay/formats.h"

namespace desktop {

using quillbay::KxPtr;

namespace {

constexpr qint64 kSpareBytes = qint64{1} << 30;
constexpr int kNice = 10;

/// What pages are written with: without compression, since only speed counts.
class PlainFormat final : public quillbay::CKxUnknownImplStatic<quillbay::IApp, quillbay::IIOParams> {
 public:
  std::string GetProductName() override { return QCoreApplication::applicationName().toStdString(); }
  std::string GetSoftware() override { return GetProductName(); }
  quillbay::IParam* GetFormatOptions(std::string_view) override {
    auto options = quillbay::new_MemParam();
    for (const char* key : {"Compression", "BlackWhite"}) options->SetValue(key, "None");
    return options.detach();
  }
};

/// Stops a copy that nobody wants any more.
class CopyProgress final : public quillbay::CKxUnknownImplStatic<quillbay::IProgress> {
 public:
  CopyProgress(const std::atomic<bool>& dropped, const std::atomic<bool>& givesUp)
      : m_dropped(dropped), m_givesUp(givesUp) {}
  void SetText(const char*) override {}
  void Step() override {}
  int SetPosition(int position) override { return std::exchange(m_position, position); }
  void Reset() override { m_position = 0; }
  int IsCancelled() override { return m_dropped || m_givesUp ? 1 : 0; }

 private:
  const std::atomic<bool>& m_dropped;
  const std::atomic<bool>& m_givesUp;
  int m_position = 0;
};

qint64 bytesOf(quillbay::IRStor& raster) {
  const auto space = raster.GetColorSpace();
  const qint64 width = raster.GetWidth(), height = raster.GetHeight();
  const qint64 line = quillbay::isRunList(space)
                          ? (width + 7) / 8
                          : static_cast<qint64>(quillbay::fixedLineBytes(space, raster.GetWidth()));
  return line * height;
}

QString megabytes(qint64 bytes) { return QLocale().formattedDataSize(bytes); }

}  // namespace

PageKeeper::~PageKeeper() { finish(true); }

void PageKeeper::finish(bool giveUp) {
  m_givesUp = giveUp;
  m_thread.waitForDone();
  m_givesUp = false;
}

void PageKeeper::keep(std::shared_ptr<JournalFile> journal, CopyPtr copy, KxPtr<quillbay::IRStor> raster) {
  m_thread.start([this, journal = std::move(journal), copy = std::move(copy), raster = std::move(raster)] {
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), kNice);  // of this thread alone
    QString why;
    try {
      write(*journal, *copy, raster.get());
      return;
    } catch (const quillbay::CXException& e) {
      why = QString::fromStdString(e.what());
    } catch (const std::bad_alloc&) {
      why = tr("there is not enough memory");
    } catch (const std::exception& e) {  // no thread to write with, for instance: the program goes on
      why = QString::fromUtf8(e.what());
    }
    QMetaObject::invokeMethod(this, [this, id = copy->page().id, why] { emit failed(id, why); });
  });
}

void PageKeeper::write(JournalFile& journal, Copy& copy, quillbay::IRStor* raster) {
  if (copy.isDropped() || m_givesUp) return;
  const KeptPage& page = copy.page();
  const qint64 needed = bytesOf(*raster) + kSpareBytes;
  // The folder is asked itself: a list of mounted volumes may not have its own, as in a container.
  std::error_code unknown;
  const auto room = std::filesystem::space(QFile::encodeName(QFileInfo(page.file).path()).toStdString(), unknown);
  const auto free = static_cast<qint64>(std::min<std::uintmax_t>(room.available, INT64_MAX));
  if (!unknown && free < needed) {
    throw quillbay::CXException(
        tr("%1 are free, %2 are needed").arg(megabytes(free), megabytes(needed)).toStdString());
  }
  PlainFormat format;
  CopyProgress progress(copy.m_dropped, m_givesUp);
  if (!quillbay::SaveRasterFile(&format, {KxPtr<quillbay::IRStor>::share(raster)}, page.file.toStdString(), true,
                                &progress)) {
    return;
  }
  bool isWritten = false;
  {
    const std::lock_guard lock(m_mutex);
    if (copy.isDropped()) return;  // its deletion waits for this thread
    isWritten = copy.m_complete = journal.append(keptLine(page));
  }
  if (!isWritten) throw quillbay::CXException(tr("%1 cannot be written").arg(journal.path()).toStdString());
  journal.sync();
  if (!copy.m_replaces.isEmpty()) QFile::remove(copy.m_replaces);
  QMetaObject::invokeMethod(this, [this, id = page.id] { emit kept(id); });
}

QString PageKeeper::supersede(const CopyPtr& copy) {
  {
    const std::lock_guard lock(m_mutex);
    if (copy->m_complete) return copy->page().file;
    copy->m_dropped = true;
  }
  deleteLater(copy->page().file);
  return copy->m_replaces;
}

void PageKeeper::drop(const std::shared_ptr<JournalFile>& journal, const CopyPtr& copy) {
  {
    const std::lock_guard lock(m_mutex);
    if (copy->m_dropped.exchange(true)) return;
    for (const QString& file : {copy->m_replaces, copy->page().file}) {
      if (!file.isEmpty()) journal->append(droppedLine(copy->page().id, file));
    }
  }
  if (!copy->m_replaces.isEmpty()) deleteLater(copy->m_replaces);
  deleteLater(copy->page().file);
}

// A large file takes its time, and one that is being written must be complete first.
void PageKeeper::deleteLater(const QString& file) {
  m_thread.start([file] { QFile::remove(file); });
}

}  // namespace desktop
