#include "net/spool.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <random>
#include <system_error>
#include <utility>

#include "platform/base_services.h"
#include "platform/file_channel.h"

namespace quillbay {

namespace {

namespace fs = std::filesystem;
constexpr std::size_t kNumberDigits = 20;

[[noreturn]] void failSpool(const std::string& path, int error) {
  throw CXFileException(formatText(Supp_Translate("Pages for scan servers cannot be kept in \"%s\": %s"),
                                   {path, fio::errorText(error)}),
                        path, error);
}

void makeSpoolFolder(const std::string& path) {
  fio::createFolder(path);
  ::chmod(path.c_str(), 0700);
}

void syncSpoolFolder(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  if (::fsync(fd) != 0) logLine(LogLevel::Warning, kNetLog, path + ": " + fio::errorText(errno));
  ::close(fd);
}

/// A lock on a path; empty while somebody else has it, when `waits` is false.
SpoolLock lockPath(const std::string& path, int flags, bool waits) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
  if (fd < 0) failSpool(path, errno);
  SpoolLock lock(fd);
  while (::flock(fd, waits ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return {};
    if (errno != EINTR) failSpool(path, errno);
  }
  return lock;
}

std::string newId() {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::random_device source;
  std::string id;
  for (int i = 0; i < 16; ++i) id += kDigits[source() % 16];
  return id;
}

std::vector<std::string> foldersIn(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(path, error), end; !error && it != end; it.increment(error)) {
    if (it->is_directory(error)) names.push_back(it->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string idOf(const std::string& name) { return name.substr(std::min(name.size(), kNumberDigits + 1)); }

/// Later than every page that waits, whatever the clock does.
std::string nextNumber(const std::vector<std::string>& names) {
  using std::chrono::system_clock;
  std::int64_t number =
      std::chrono::duration_cast<std::chrono::microseconds>(system_clock::now().time_since_epoch()).count();
  std::int64_t last = 0;
  if (!names.empty() && parseNumber(names.back().substr(0, kNumberDigits), &last))
    number = std::max(number, last + 1);
  const std::string text = toText(number);
  return std::string(kNumberDigits - text.size(), '0') + text;
}

std::string stampOf(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return {};
  return toText(static_cast<std::int64_t>(info.st_ino)) + ' ' + toText(std::int64_t{info.st_mtim.tv_sec}) + ' ' +
         toText(std::int64_t{info.st_mtim.tv_nsec});
}

}  // namespace

SpoolLock::~SpoolLock() {
  if (m_fd >= 0) ::close(m_fd);
}
SpoolLock::SpoolLock(SpoolLock&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
SpoolLock& SpoolLock::operator=(SpoolLock&& other) noexcept {
  std::swap(m_fd, other.m_fd);
  return *this;
}

std::string Spool::stage() {
  makeSpoolFolder(m_folder);
  makeSpoolFolder(m_folder + "/staging");
  // A folder that is not locked yet must not be taken for one that a killed program left.
  const SpoolLock all = lockPath(m_folder + "/lock", O_RDWR | O_CREAT, true);
  std::string id = newId();
  const std::string path = m_folder + "/staging/" + id;
  if (::mkdir(path.c_str(), 0700) != 0) failSpool(path, errno);
  SpoolLock own = lockPath(path, O_RDONLY | O_DIRECTORY, true);
  const std::lock_guard lock(m_mutex);
  m_staged[id] = std::move(own);
  return id;
}

std::string Spool::place(const std::string& id, const HandOff& handOff) {
  const std::string path = m_folder + "/staging/" + id;
  SpoolRecord record;
  record.handOff = handOff;
  record.image = fio::fileNameOf(handOff.file);
  writeRecord(path, record);
  return path + "/" + record.image;
}

void Spool::enqueue(const std::string& id, const std::string& file, const HandOff& handOff) {
  SpoolRecord record;
  record.handOff = handOff;
  record.image = fio::fileNameOf(file);
  writeRecord(m_folder + "/staging/" + id, record);
  toQueue(id);
}

void Spool::toQueue(const std::string& id) {
  const std::string queue = m_folder + "/queue", staged = m_folder + "/staging/" + id;
  makeSpoolFolder(queue);
  const SpoolLock all = lockPath(m_folder + "/lock", O_RDWR | O_CREAT, true);
  const std::string waiting = queue + "/" + nextNumber(foldersIn(queue)) + "-" + id;
  if (::rename(staged.c_str(), waiting.c_str()) != 0) failSpool(staged, errno);
  syncSpoolFolder(queue);
  syncSpoolFolder(m_folder + "/staging");
  const std::lock_guard lock(m_mutex);
  m_staged.erase(id);
}

void Spool::discard(const std::string& id) noexcept {
  std::error_code error;
  fs::remove_all(m_folder + "/staging/" + id, error);
  if (error) logLine(LogLevel::Warning, kNetLog, m_folder + "/staging/" + id + ": " + error.message());
  const std::lock_guard lock(m_mutex);
  m_staged.erase(id);
}

SpoolEntry Spool::read(const std::string& name) {
  SpoolEntry entry;
  entry.id = idOf(name);
  entry.folder = m_folder + "/queue/" + name;
  const std::string stamp = stampOf(entry.folder + "/" + kRecordFile);
  {
    const std::lock_guard lock(m_mutex);
    const auto known = m_known.find(entry.id);
    if (!stamp.empty() && known != m_known.end() && known->second.stamp == stamp) {
      entry.record = known->second.record;
      return entry;
    }
  }
  const auto record = readRecord(entry.folder, &entry.damaged);
  if (!record) {
    if (entry.damaged.empty()) entry.damaged = Supp_Translate("its description is missing");
    return entry;
  }
  entry.record = *record;
  const std::lock_guard lock(m_mutex);
  m_known[entry.id] = {*record, stamp};
  return entry;
}

std::vector<SpoolEntry> Spool::list() {
  std::vector<SpoolEntry> entries;
  for (const std::string& name : foldersIn(m_folder + "/queue")) {
    SpoolEntry entry = read(name);
    // Removed meanwhile, or the last that a removal leaves.
    const bool isGone = !entry.damaged.empty() && (::rmdir(entry.folder.c_str()) == 0 || errno == ENOENT);
    if (!isGone) entries.push_back(std::move(entry));
  }
  return entries;
}

std::optional<SpoolEntry> Spool::find(const std::string& id) {
  for (const std::string& name : foldersIn(m_folder + "/queue"))
    if (idOf(name) == id) return read(name);
  return std::nullopt;
}

void Spool::update(const SpoolEntry& entry) { writeRecord(entry.folder, entry.record); }

void Spool::remove(const SpoolEntry& entry) {
  std::error_code error;
  // The page before the record: what is left tells that it was handed off.
  for (fs::directory_iterator it(entry.folder, error), end; !error && it != end; it.increment(error))
    if (it->path().filename() != kRecordFile) fs::remove_all(it->path(), error);
  if (!error) fs::remove(entry.folder + "/" + kRecordFile, error);
  if (!error) fs::remove(entry.folder, error);
  if (error) failSpool(entry.folder, error.value());
  const std::lock_guard lock(m_mutex);
  m_known.erase(entry.id);
}

SpoolLock Spool::tryLock(const std::string& hotFolder) {
  const std::string locks = m_folder + "/locks";
  makeSpoolFolder(locks);
  std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a
  for (const char c : hotFolder) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  return lockPath(locks + "/" + toText(static_cast<std::int64_t>(hash >> 1)), O_RDWR | O_CREAT, false);
}

void Spool::adoptOrphans() {
  std::vector<std::pair<std::string, SpoolLock>> left;
  const std::string staging = m_folder + "/staging/";
  if (!fio::isFolder(staging)) return;
  {
    const SpoolLock all = lockPath(m_folder + "/lock", O_RDWR | O_CREAT, true);
    for (const std::string& id : foldersIn(staging)) {
      SpoolLock own = lockPath(staging + id, O_RDONLY | O_DIRECTORY, false);
      if (own) left.emplace_back(id, std::move(own));
    }
  }
  for (const auto& [id, lock] : left) {
    try {
      adopt(id);
    } catch (const CXException& e) {
      logLine(LogLevel::Error, kNetLog, e.what());
    }
  }
}

void Spool::adopt(const std::string& id) {
  const std::string folder = m_folder + "/staging/" + id;
  std::string why;
  const auto record = readRecord(folder, &why);
  const std::string file = record ? folder + "/" + record->image : std::string();
  const bool hasPart = record && fio::exists(file + ".part");
  if (hasPart && !fio::exists(file)) {
    try {
      PublishLeftover(file + ".part", file, file, false);
    } catch (const CXException& e) {
      why = e.what();
    }
  }
  if (record && fio::exists(file)) {
    logLine(LogLevel::Info, kNetLog, file + " was left by a program that ended early, and is handed off");
    return toQueue(id);
  }
  logLine(LogLevel::Warning, kNetLog,
          (record ? record->handOff.file : folder) +
              " was not complete when its program ended, and is deleted: " + why);
  discard(id);
}

}  // namespace quillbay
