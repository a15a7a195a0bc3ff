#include "recovery/leftovers.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <algorithm>
#include <set>

namespace desktop {

namespace {

constexpr const char* kPart = ".part";

QString leftoverText(const char* english) { return QCoreApplication::translate("Leftovers", english); }

/// The files "NAME.part" and, set aside by later scans into the same file, "NAME.part.3". Compared, since a name
/// may hold what name filters take for patterns.
QStringList partsOf(const QFileInfo& file) {
  static const QRegularExpression aside(R"(^(\.[0-9]+)?$)");
  const QString part = file.fileName() + kPart;
  QStringList parts;
  for (const QString& name : file.dir().entryList(QDir::Files | QDir::Hidden, QDir::Name)) {
    if (name.startsWith(part) && aside.match(name.mid(part.size())).hasMatch()) parts += name;
  }
  return parts;
}

/// "session-12-34" of "session-12-34-page5.tif".
QString sessionOf(const QString& copy) { return copy.left(copy.lastIndexOf('-')); }

}  // namespace

struct Leftovers::Session {
  QString name;
  std::unique_ptr<JournalFile> journal;  // null when there is none (any more)
  int open = 0;                          // copies and parts that are not settled
};

Leftovers::Leftovers(const QString& folder) : m_folder(folder) {
  const QDir dir(folder);
  // Before the journals: a program that starts meanwhile has its journal before its first copy.
  const QStringList copies = dir.entryList({"session-*-page*.tif"}, QDir::Files, QDir::Name);
  std::set<QString> named;
  for (const QString& file : dir.entryList({QString("session-*") + kJournalSuffix}, QDir::Files, QDir::Name)) {
    auto session = std::make_unique<Session>();
    session->name = QFileInfo(file).completeBaseName();
    named.insert(session->name);
    session->journal = JournalFile::takeOver(dir.filePath(file));
    if (session->journal) m_sessions.push_back(std::move(session));
  }
  for (const QString& copy : copies) {
    if (!named.insert(sessionOf(copy)).second) continue;
    m_sessions.push_back(std::make_unique<Session>());
    m_sessions.back()->name = sessionOf(copy);
  }
  for (const auto& session : m_sessions) read(*session);
}

Leftovers::~Leftovers() = default;

void Leftovers::add(Session& session, Leftover item, int id) {
  const QFileInfo file(item.file);
  item.bytes = file.size();
  if (!item.time.isValid()) item.time = file.lastModified();
  if (item.kind != Leftover::Kind::File) ++session.open;
  m_items.push_back(std::move(item));
  m_owners.emplace_back(&session, id);
}

void Leftovers::read(Session& session) {
  JournalContents contents;
  if (session.journal) contents = session.journal->read();
  m_troubles += contents.damage;
  for (const QString& copy : contents.dropped) {  // its page was saved or closed by the user
    const QString file = placeOf(session, copy);
    if (!file.isEmpty()) QFile::remove(file);
  }
  addPages(session, contents);
  addUnknown(session, contents);
  addFiles(session, contents);
}

QString Leftovers::placeOf(const Session& session, const QString& copy) const {
  const QString name = QFileInfo(copy).fileName();
  return name.startsWith(session.name + "-page") ? QDir(m_folder).filePath(name) : QString();
}

void Leftovers::addPages(Session& session, const JournalContents& contents) {
  for (const int id : contents.pagesInOrder()) {
    const KeptPage& page = contents.pages.at(id);
    const QString when = QLocale().toString(page.time.toLocalTime(), QLocale::ShortFormat);
    const QString file = placeOf(session, page.file);
    if (page.file.isEmpty()) {
      m_troubles += leftoverText("%1 (%2) was not copied yet when the program ended.").arg(page.name, when);
    } else if (!QFile::exists(file)) {
      m_troubles += leftoverText("The copy of %1 (%2), %3, is missing.").arg(page.name, when, page.file);
    } else {
      add(session, {Leftover::Kind::Page, file, page.name, page.time, page.pixels}, id);
    }
  }
}

/// Copies that the journal does not tell of: the program ended between the two, or the journal is damaged.
void Leftovers::addUnknown(Session& session, const JournalContents& contents) {
  std::set<QString> known;
  for (const QString& copy : contents.dropped) known.insert(placeOf(session, copy));
  for (const auto& [id, page] : contents.pages) known.insert(placeOf(session, page.file));
  const QDir dir(m_folder);
  for (const QString& name : dir.entryList({session.name + "-page*.tif"}, QDir::Files, QDir::Name)) {
    const QString file = dir.filePath(name);
    if (known.count(file) > 0) continue;
    add(session, {Leftover::Kind::Page, file, QFileInfo(name).completeBaseName().section('-', -1), {}, {}}, 0);
  }
}

void Leftovers::addFiles(Session& session, const JournalContents& contents) {
  for (const WrittenFile& written : contents.written) {
    const QFileInfo file(written.file);
    const QStringList parts = written.published ? QStringList() : partsOf(file);
    Leftover item{Leftover::Kind::Part, {}, file.fileName(), written.time, {}};
    item.pages = written.pages;
    for (const QString& part : parts) {
      item.file = file.dir().filePath(part);
      add(session, item, 0);
    }
    if (!parts.isEmpty()) continue;
    item.kind = Leftover::Kind::File;
    item.file = written.file;
    if (file.exists()) {
      add(session, item, 0);
    } else if (!written.published) {  // a whole file is the user's to move or delete
      m_troubles += leftoverText("%1 is missing.").arg(written.file + kPart);
    }
  }
}

bool Leftovers::settle(std::size_t item, Fate fate, QString* why) {
  const Leftover& left = m_items.at(item);
  const auto& [session, id] = m_owners.at(item);
  if (left.kind == Leftover::Kind::File) return true;
  QFile file(left.file);
  if (fate == Fate::Delete && file.exists() && !file.remove()) {
    *why = left.file + ": " + file.errorString();
    return false;
  }
  if (file.exists()) return true;  // kept where it is, so that it is offered again
  if (session->journal && left.kind == Leftover::Kind::Page && id > 0) {
    session->journal->append(droppedLine(id, left.file));
  }
  const QString whole = left.file.left(left.file.lastIndexOf(kPart));
  if (session->journal && left.kind == Leftover::Kind::Part && partsOf(QFileInfo(whole)).isEmpty()) {
    session->journal->append(publishedLine(whole));
  }
  --session->open;
  return true;
}

bool Leftovers::isLeft() const {
  return std::any_of(m_sessions.begin(), m_sessions.end(), [](const auto& session) { return session->open > 0; });
}

void Leftovers::finish() {
  const QDir dir(m_folder);
  for (const auto& session : m_sessions) {
    if (session->open > 0) continue;
    for (const QString& torn : dir.entryList({session->name + "-page*.tif" + kPart}, QDir::Files)) {
      QFile::remove(dir.filePath(torn));  // copies that were never complete
    }
    if (session->journal) session->journal->remove();
  }
}

}  // namespace desktop
