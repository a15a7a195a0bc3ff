#include "recovery/session_guard.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QStatusBar>

#include "quillbay/formats.h"
#include "scanner/panel_dock.h"
#include "window/guarded.h"
#include "window/log_dock.h"
#include "window/main_window.h"

namespace desktop {

namespace {

constexpr const char* kKeepPages = "KeepUnsavedPages";

QString recoveryFolder(const std::string& stateFolder) {
  if (!stateFolder.empty()) return QString::fromStdString(stateFolder) + "/recovery";
  const QString set = qEnvironmentVariable("XDG_STATE_HOME");
  return (QDir::isAbsolutePath(set) ? set : QDir::homePath() + "/.local/state") + "/quillbay/recovery";
}

}  // namespace

SessionGuard::SessionGuard(MainWindow* window, const std::string& stateFolder)
    : m_window(window),
      m_journal(&window->document(), recoveryFolder(stateFolder)),
      m_watch(std::make_unique<DeviceWatch>(quillbay::query<quillbay::IScanManager>(window->app()).get())) {
  m_journal.setKeeping(window->settings().number(kKeepPages, 1) != 0);
  connect(&m_journal, &SessionJournal::noted, this, [this](const QString& text) {
    m_window->log().note(text);
    m_window->statusBar()->showMessage(text);
  });
  m_watch->mayOpen = [this] { return !QApplication::activeModalWidget() && !m_window->isOccupied(); };
  connect(m_watch.get(), &DeviceWatch::noted, &window->log(), &LogDock::note);
  connect(m_watch.get(), &DeviceWatch::cameBack, this, &SessionGuard::cameBack);
  followScans();
}

SessionGuard::~SessionGuard() = default;

void SessionGuard::followScans() {
  PanelDock* panel = &m_window->panelDock();
  connect(panel, &PanelDock::started, this, [this] { m_inhibitor.take(tr("A document is being scanned")); });
  connect(panel, &PanelDock::ended, this, [this] { m_inhibitor.letGo(); });
  connect(panel, &PanelDock::pageDone, this, [this](const quillbay::PageInfo& page) {
    if (page.file.empty()) return;
    m_journal.fileWritten(QString::fromStdString(page.file), page.page, page.published);
  });
  connect(panel, &PanelDock::published, &m_journal, &SessionJournal::filePublished);
}

void SessionGuard::addCommands(QMenu* menu) {
  QAction* keep = menu->addAction(tr("&Keep recovery copies of unsaved pages"));
  keep->setStatusTip(tr("Copies each unsaved page until it is saved or closed, to recover it after a crash"));
  keep->setCheckable(true);
  keep->setChecked(m_journal.isKeeping());
  connect(keep, &QAction::triggered, this, [this](bool keeps) {
    m_window->settings().setNumber(kKeepPages, keeps ? 1 : 0);
    m_journal.setKeeping(keeps);
  });
}

void SessionGuard::addRecovery(QMenu* menu) {
  m_recover = menu->addAction(tr("Reco&ver pages..."));
  m_recover->setStatusTip(tr("Lists the pages that can be recovered after a crash"));
  m_recover->setEnabled(false);
  connect(m_recover, &QAction::triggered, this, [this] {
    if (!offerLeftovers()) m_window->statusBar()->showMessage(tr("There is nothing to recover"));
  });
}

bool SessionGuard::offerLeftovers() {
  Leftovers leftovers(m_journal.folder());
  const bool isOffered = !leftovers.isEmpty();
  m_recover->setEnabled(isOffered && offer(leftovers));
  return isOffered;
}

bool SessionGuard::offer(Leftovers& leftovers) {
  for (const QString& trouble : leftovers.troubles()) m_window->log().note(trouble);
  const RecoveryAnswer answer = m_window->prompts().recover(leftovers.items(), leftovers.troubles());
  switch (answer.act) {
    case RecoveryAnswer::Act::Later: return true;
    case RecoveryAnswer::Act::Open: open(leftovers, answer.chosen); break;
    case RecoveryAnswer::Act::Discard:
      QStringList troubles;
      for (const std::size_t item : answer.chosen) {
        QString why;
        if (!leftovers.settle(item, Leftovers::Fate::Delete, &why)) troubles += why;
      }
      tell(troubles);
      break;
  }
  leftovers.finish();
  return leftovers.isLeft();
}

void SessionGuard::open(Leftovers& leftovers, const std::vector<std::size_t>& chosen) {
  QStringList troubles, files;
  for (const std::size_t number : chosen) {
    const Leftover& item = leftovers.items().at(number);
    QString why;
    if (item.kind == Leftover::Kind::Page && !openPage(item, &why)) {
      if (why.isEmpty()) break;  // given up
      troubles += why;
      continue;
    }
    if (item.kind == Leftover::Kind::File) files += item.file;
    if (item.kind == Leftover::Kind::Part) {
      std::string file, reason;
      if (!quillbay::RecoverPart(item.file.toStdString(), {}, &file, &reason)) {
        troubles += QString::fromStdString(reason);
        continue;
      }
      files += QString::fromStdString(file);
    }
    leftovers.settle(number, Leftovers::Fate::Kept, &why);
  }
  m_window->openFiles(files);
  tell(troubles);
}

bool SessionGuard::openPage(const Leftover& page, QString* why) {
  return guarded(page.file, why, [&] {
    auto raster = m_window->files().read(page.file, 0, tr("Opening %1...").arg(page.name));
    if (!raster) return false;
    if (m_journal.isKeeping()) m_journal.adoptNext(page.file);
    m_window->document().add(std::move(raster), page.name);
    m_journal.adoptNext({});  // there may be no journal that could have taken it
    if (QFile::exists(page.file)) m_window->log().note(tr("%1 is kept as %2").arg(page.name, page.file));
    return true;
  });
}

void SessionGuard::tell(const QStringList& troubles) {
  if (troubles.isEmpty()) return;
  quillbay::HostMessage message;
  message.text = troubles.join("\n\n").toStdString();
  m_window->log().note(troubles.join("\n"));
  m_window->prompts().message(message);
}

void SessionGuard::panelTried(bool opened) {
  if (opened) return m_watch->stop();
  const QString before = m_watch->device();
  if (!m_watch->start()) return;
  m_window->panelDock().showLookingFor(m_watch->name());
  if (before == m_watch->device()) return;  // it is known already
  m_window->log().note(tr("The scanner %1 is not available. The program looks for it regularly and opens it")
                           .arg(m_watch->device()));
}

void SessionGuard::close() {
  m_watch->stop();
  m_journal.close();
}

void SessionGuard::cameBack(const QString& was, const QString& device) {
  if (!m_window->reopenPanel()) return;
  m_window->statusBar()->showMessage(was == device ? tr("The scanner %1 is available again").arg(device)
                                                   : tr("The scanner %1 was found again as %2").arg(was, device));
}

}  // namespace desktop
