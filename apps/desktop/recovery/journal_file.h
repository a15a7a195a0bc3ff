#pragma once
#include <QDateTime>
#include <QJsonObject>
#include <QSize>
#include <QString>
#include <QStringList>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace desktop {

/// A page that is in no file of the user's: its copy, for the case of a crash.
struct KeptPage {
  int id = 0;
  QString file;  ///< the copy; empty while it was not complete
  QString name;  ///< for a user
  QDateTime time;
  QSize pixels;
  int dpi = 0;
};

/// A file that scans went into.
struct WrittenFile {
  QString file;
  int pages = 0;
  QDateTime time;
  bool published = false;  ///< false: the pages are in "file.part"
};

/// What a journal says was there when the program ended.
struct JournalContents {
  std::map<int, KeptPage> pages;     ///< by the page's number
  std::vector<WrittenFile> written;  ///< in their order
  std::vector<int> order;            ///< of pages whose order is not that of their numbers
  std::set<QString> dropped;         ///< copies that nobody wants any more
  QStringList damage;                ///< what cannot be read, for a user
  /// The pages' numbers in the order that the user gave them.
  [[nodiscard]] std::vector<int> pagesInOrder() const;
};

/// The journal of one running program: lines of JSON, each written at once, so that a kill leaves all but perhaps
/// the last. The program holds a lock on it as long as it lives. Any thread.
class JournalFile {
 public:
  /// Creates the folder and a journal with a free name in it. Null with the reason in `*why`.
  static std::unique_ptr<JournalFile> create(const QString& folder, QString* why);
  /// Opens the journal of a program that ended without closing it. Null when its program lives, another one has
  /// taken it over, or it cannot be read.
  static std::unique_ptr<JournalFile> takeOver(const QString& path);
  ~JournalFile();
  JournalFile(const JournalFile&) = delete;
  JournalFile& operator=(const JournalFile&) = delete;

  /// Writes a line into the system's memory: safe from a crash of the program. False when the disk is full.
  bool append(const QJsonObject& line);
  /// Makes what was written safe from a crash of the system; may take long.
  void sync();
  [[nodiscard]] JournalContents read() const;
  /// Deletes it.
  void remove();
  [[nodiscard]] const QString& path() const { return m_path; }
  /// "session-PID-TIME": what the names of its copies begin with.
  [[nodiscard]] QString session() const;

 private:
  JournalFile(int fd, QString path) : m_fd(fd), m_path(std::move(path)) {}
  std::mutex m_mutex;  // of the lines' order
  const int m_fd;
  const QString m_path;
};

inline constexpr const char* kJournalSuffix = ".journal";

// The lines of a journal.
[[nodiscard]] QJsonObject arrivedLine(const KeptPage& page);  ///< its copy is being written
[[nodiscard]] QJsonObject keptLine(const KeptPage& page);     ///< its copy is complete
[[nodiscard]] QJsonObject droppedLine(int id, const QString& file);
[[nodiscard]] QJsonObject orderLine(const std::vector<int>& ids);
[[nodiscard]] QJsonObject writtenLine(const QString& file, int page, bool published);
[[nodiscard]] QJsonObject publishedLine(const QString& file);

}  // namespace desktop
