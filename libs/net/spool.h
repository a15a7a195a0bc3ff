#pragma once
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "net/spool_record.h"

namespace quillbay {

inline constexpr char kNetLog[] = "quillbay.net";

/// A page in the queue.
struct SpoolEntry {
  std::string id;
  std::string folder;  ///< of its own, without a delimiter at the end
  SpoolRecord record;
  std::string damaged;  ///< why its record cannot be used; empty for a good one
  [[nodiscard]] std::string page() const { return folder + "/" + record.image; }
};

/// An exclusive lock of the system on a file or folder, gone with the process. Movable.
class SpoolLock {
 public:
  SpoolLock() = default;
  explicit SpoolLock(int fd) noexcept : m_fd(fd) {}
  ~SpoolLock();
  SpoolLock(SpoolLock&& other) noexcept;
  SpoolLock& operator=(SpoolLock&& other) noexcept;
  explicit operator bool() const noexcept { return m_fd >= 0; }

 private:
  int m_fd = -1;
};

/// The queue on the disk:
///
///   staging/ID/            a page that is being scanned; locked by its program
///   queue/NUMBER-ID/       a page that waits: its file, and page.json (SpoolRecord); they are handed off in the
///                          order of their numbers
///   locks/                 one file for each hot folder: whoever has its lock hands pages to it
///
/// A page moves from staging to queue by one rename. Several programs may work with it at the same time. Any
/// thread.
class Spool {
 public:
  explicit Spool(std::string folder) : m_folder(std::move(folder)) {}

  /// See IPageSpool.
  [[nodiscard]] std::string stage();
  [[nodiscard]] std::string place(const std::string& id, const HandOff& handOff);
  void enqueue(const std::string& id, const std::string& file, const HandOff& handOff);
  void discard(const std::string& id) noexcept;

  /// The pages that wait, in their order.
  [[nodiscard]] std::vector<SpoolEntry> list();
  [[nodiscard]] std::optional<SpoolEntry> find(const std::string& id);
  /// Writes the entry's record. Throws CXFileException.
  void update(const SpoolEntry& entry);
  /// Deletes a page that was handed off, its record last. Throws CXFileException.
  void remove(const SpoolEntry& entry);
  /// The lock of a hot folder; empty while another thread or program has it.
  [[nodiscard]] SpoolLock tryLock(const std::string& hotFolder);
  /// Takes over what killed programs left in staging: complete pages, and the finished pages of a multi-page file,
  /// join the queue; what is incomplete is deleted with a line in the log.
  void adoptOrphans();
  [[nodiscard]] const std::string& folder() const noexcept { return m_folder; }

 private:
  struct Known {
    SpoolRecord record;
    std::string stamp;  // of the file that it was read from
  };
  void toQueue(const std::string& id);
  [[nodiscard]] SpoolEntry read(const std::string& name);
  void adopt(const std::string& id);

  const std::string m_folder;
  std::mutex m_mutex;  // guards the rest
  std::map<std::string, SpoolLock> m_staged;
  std::map<std::string, Known> m_known;
};

}  // namespace quillbay
