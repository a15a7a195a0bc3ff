#include "core/store_file.h"

#include <sys/stat.h>

#include <QFile>
#include <QLockFile>
#include <QSaveFile>
#include <cerrno>

#include "platform/base_services.h"
#include "quillbay/errors.h"

namespace quillbay {
namespace {

constexpr int kLockWaitMs = 10'000;

QString qtPath(const std::string& path) { return QFile::decodeName(path.c_str()); }

[[noreturn]] void fail(std::string_view pattern, const std::string& path, const std::string& reason, int error) {
  throw CXFileException(formatText(Supp_Translate(pattern), {path, reason}), path, error);
}

/// The system's number behind Qt's error, where Qt keeps the two apart; 0 otherwise.
int systemErrorOf(const QFileDevice& file) noexcept {
  switch (file.error()) {
    case QFileDevice::ResourceError: return ENOSPC;
    case QFileDevice::PermissionsError: return EACCES;
    default: return 0;
  }
}

[[noreturn]] void failWith(std::string_view pattern, const std::string& path, const QFileDevice& file) {
  const int error = systemErrorOf(file);
  fail(pattern, path, error ? fio::errorText(error) : file.errorString().toStdString(), error);
}

std::string lockHolder(const QLockFile& lock) {
  qint64 process = 0;
  QString host;
  QString program;
  if (!lock.getLockInfo(&process, &host, &program)) return Supp_Translate("another program");
  return formatText(Supp_Translate("process %d on %s"), {toText(std::int64_t{process}), host.toStdString()});
}

}  // namespace

StoreLock::StoreLock(const std::string& path) : m_lock(std::make_unique<QLockFile>(qtPath(path + ".lock"))) {
  if (m_lock->tryLock(kLockWaitMs)) return;
  constexpr std::string_view kPattern = "The settings file \"%s\" cannot be locked for writing: %s";
  switch (m_lock->error()) {
    case QLockFile::PermissionError: fail(kPattern, path, fio::errorText(EACCES), EACCES);
    case QLockFile::LockFailedError:
      fail(kPattern, path,
           formatText(Supp_Translate("%s has locked it; end that program, or delete \"%s\" if it no longer runs"),
                      {lockHolder(*m_lock), path + ".lock"}),
           EAGAIN);
    default:
      fail(kPattern, path, Supp_Translate("the lock file cannot be written; check whether the disk is full"), 0);
  }
}

StoreLock::~StoreLock() = default;

std::optional<std::string> readStoreFile(const std::string& path) {
  constexpr std::string_view kPattern = "The settings file \"%s\" cannot be read: %s";
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) {
    const int error = errno;
    if (error == ENOENT || error == ENOTDIR) return std::nullopt;
    fail(kPattern, path, fio::errorText(error), error);
  }
  // A pipe would wait for a writer forever.
  if (!S_ISREG(info.st_mode))
    fail(kPattern, path, Supp_Translate("it is not a regular file; move it away"), EINVAL);
  QFile file(qtPath(path));
  if (!file.open(QIODevice::ReadOnly)) failWith(kPattern, path, file);
  const QByteArray bytes = file.readAll();
  if (file.error() != QFileDevice::NoError) failWith(kPattern, path, file);
  return bytes.toStdString();
}

void writeStoreFile(const std::string& path, const std::string& bytes) {
  constexpr std::string_view kPattern = "The settings file \"%s\" cannot be written: %s";
  QSaveFile file(qtPath(path));
  if (!file.open(QIODevice::WriteOnly)) failWith(kPattern, path, file);
  const auto size = static_cast<qint64>(bytes.size());
  if (file.write(bytes.data(), size) != size || !file.commit()) failWith(kPattern, path, file);
}

std::string setStoreFileAside(const std::string& path) {
  for (std::int64_t number = 1;; ++number) {
    std::string aside = path + ".damaged-" + toText(number);
    try {
      fio::publish(path, aside, false);
      return aside;
    } catch (const CXFileException& e) {
      if (e.systemError() != EEXIST) throw;
    }
  }
}

}  // namespace quillbay
