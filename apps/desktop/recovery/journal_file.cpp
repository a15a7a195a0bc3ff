#include "recovery/journal_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <cerrno>
#include <cstring>
#include <utility>

namespace desktop {

namespace {

constexpr qint64 kLongestLine = qint64{1} << 20;  // far beyond the names that a system takes
constexpr const char* kArrived = "arrived";
constexpr const char* kKept = "kept";
constexpr const char* kDropped = "dropped";
constexpr const char* kOrder = "order";
constexpr const char* kWritten = "written";
constexpr const char* kPublished = "published";

QString journalText(const char* english) { return QCoreApplication::translate("JournalFile", english); }

QJsonObject line(const char* event) {
  return {{"event", event}, {"time", QDateTime::currentDateTimeUtc().toString(Qt::ISODate)}};
}

QJsonObject pageLine(const char* event, const KeptPage& page) {
  QJsonObject json = line(event);
  json["id"] = page.id;
  json["file"] = page.file;
  json["name"] = page.name;
  json["width"] = page.pixels.width();
  json["height"] = page.pixels.height();
  json["dpi"] = page.dpi;
  return json;
}

KeptPage pageOf(const QJsonObject& json) {
  KeptPage page;
  page.id = json["id"].toInt();
  page.file = json["file"].toString();
  page.name = json["name"].toString();
  page.pixels = {json["width"].toInt(), json["height"].toInt()};
  page.dpi = json["dpi"].toInt();
  page.time = QDateTime::fromString(json["time"].toString(), Qt::ISODate);
  return page;
}

using FileIndex = std::map<QString, std::size_t>;  // where a file is in the list: there may be very many

WrittenFile& fileIn(JournalContents& contents, FileIndex& index, const QString& name) {
  const auto [at, isNew] = index.try_emplace(name, contents.written.size());
  if (isNew) contents.written.push_back(WrittenFile{name, 0, {}, false});
  return contents.written[at->second];
}

/// False for a line that says nothing known.
bool apply(const QJsonObject& json, JournalContents& contents, FileIndex& index) {
  const QString event = json["event"].toString(), file = json["file"].toString();
  const int id = json["id"].toInt();
  if (event == kArrived && id > 0) {
    KeptPage page = pageOf(json);
    page.file.clear();
    contents.pages.try_emplace(id, std::move(page));  // an older copy stays until the new one is complete
  } else if (event == kKept && id > 0 && !file.isEmpty()) {
    const QString before = std::exchange(contents.pages[id], pageOf(json)).file;
    if (!before.isEmpty() && before != file) contents.dropped.insert(before);
  } else if (event == kDropped && id > 0) {
    contents.pages.erase(id);
    if (!file.isEmpty()) contents.dropped.insert(file);
  } else if (event == kOrder && json["ids"].isArray()) {
    contents.order.clear();
    for (const auto& one : json["ids"].toArray()) contents.order.push_back(one.toInt());
  } else if ((event == kWritten || event == kPublished) && !file.isEmpty()) {
    WrittenFile& written = fileIn(contents, index, file);
    written.published = event == kPublished || json["published"].toBool();
    if (event == kWritten) ++written.pages;
    written.time = QDateTime::fromString(json["time"].toString(), Qt::ISODate);
  } else {
    return false;
  }
  return true;
}

bool lockNow(int fd) { return ::flock(fd, LOCK_EX | LOCK_NB) == 0; }

}  // namespace

std::vector<int> JournalContents::pagesInOrder() const {
  std::vector<int> ids;
  std::set<int> known;
  const auto add = [&](int id) {
    if (pages.count(id) > 0 && known.insert(id).second) ids.push_back(id);
  };
  for (const int id : order) add(id);
  for (const auto& [id, page] : pages) add(id);  // those that came later
  return ids;
}

std::unique_ptr<JournalFile> JournalFile::create(const QString& folder, QString* why) {
  // It gets its name when it is locked: nobody ever sees it as one that its program left.
  const QString path = QString("%1/session-%2-%3")
                           .arg(folder)
                           .arg(QCoreApplication::applicationPid())
                           .arg(QDateTime::currentMSecsSinceEpoch());
  const QByteArray name = QFile::encodeName(path + kJournalSuffix), making = QFile::encodeName(path + ".new");
  if (!QDir().mkpath(folder)) {
    *why = journalText("The folder %1 cannot be created.").arg(folder);
    return {};
  }
  ::chmod(QFile::encodeName(folder).constData(), S_IRWXU);  // pages are nobody else's business
  const int fd = ::open(making.constData(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (fd >= 0 && lockNow(fd) && ::rename(making.constData(), name.constData()) == 0) {
    return std::unique_ptr<JournalFile>(new JournalFile(fd, path + kJournalSuffix));
  }
  *why = QString("%1: %2").arg(path + kJournalSuffix, QString::fromLocal8Bit(std::strerror(errno)));
  if (fd >= 0) {
    ::unlink(making.constData());
    ::close(fd);
  }
  return {};
}

std::unique_ptr<JournalFile> JournalFile::takeOver(const QString& path) {
  const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_APPEND | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return {};
  struct stat now {};
  // Another program may have taken it over and deleted it while this one waited for the disk.
  if (lockNow(fd) && ::fstat(fd, &now) == 0 && now.st_nlink > 0) {
    return std::unique_ptr<JournalFile>(new JournalFile(fd, path));
  }
  ::close(fd);
  return {};
}

JournalFile::~JournalFile() { ::close(m_fd); }

QString JournalFile::session() const { return QFileInfo(m_path).completeBaseName(); }

bool JournalFile::append(const QJsonObject& json) {
  QByteArray bytes = QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
  const std::lock_guard lock(m_mutex);
  // A line that was cut off, by a kill or a full disk, must not take the next one with it.
  struct stat now {};
  char last = '\n';
  if (::fstat(m_fd, &now) == 0 && now.st_size > 0 && ::pread(m_fd, &last, 1, now.st_size - 1) == 1 &&
      last != '\n') {
    bytes.prepend('\n');
  }
  ssize_t written = 0;
  do {
    written = ::write(m_fd, bytes.constData(), static_cast<std::size_t>(bytes.size()));
  } while (written < 0 && errno == EINTR);
  return written == bytes.size();
}

void JournalFile::sync() { ::fdatasync(m_fd); }

JournalContents JournalFile::read() const {
  JournalContents contents;
  QFile file(m_path);
  if (!file.open(QIODevice::ReadOnly)) {
    contents.damage += m_path + ": " + file.errorString();
    return contents;
  }
  FileIndex index;
  int damaged = 0, first = 0;
  for (int number = 1; !file.atEnd(); ++number) {
    const QByteArray bytes = file.readLine(kLongestLine);
    const QJsonDocument json = QJsonDocument::fromJson(bytes);
    if (json.isObject() && apply(json.object(), contents, index)) continue;
    if (!bytes.endsWith('\n') && file.atEnd()) break;  // the program ended while it wrote it
    if (damaged++ == 0) first = number;
  }
  if (damaged == 1) contents.damage += journalText("%1: line %2 is damaged.").arg(m_path).arg(first);
  if (damaged > 1) {
    contents.damage +=
        journalText("%1: %2 lines are damaged, the first is line %3.").arg(m_path).arg(damaged).arg(first);
  }
  return contents;
}

void JournalFile::remove() { ::unlink(QFile::encodeName(m_path).constData()); }

QJsonObject arrivedLine(const KeptPage& page) {
  QJsonObject json = pageLine(kArrived, page);
  json.remove("file");  // there is none yet
  return json;
}

QJsonObject keptLine(const KeptPage& page) { return pageLine(kKept, page); }

QJsonObject droppedLine(int id, const QString& file) {
  QJsonObject json = line(kDropped);
  json["id"] = id;
  json["file"] = file;
  return json;
}

QJsonObject orderLine(const std::vector<int>& ids) {
  QJsonObject json = line(kOrder);
  QJsonArray numbers;
  for (const int id : ids) numbers.append(id);
  json["ids"] = numbers;
  return json;
}

QJsonObject writtenLine(const QString& file, int page, bool published) {
  QJsonObject json = line(kWritten);
  json["file"] = file;
  json["page"] = page;
  json["published"] = published;
  return json;
}

QJsonObject publishedLine(const QString& file) {
  QJsonObject json = line(kPublished);
  json["file"] = file;
  return json;
}

}  // namespace desktop
