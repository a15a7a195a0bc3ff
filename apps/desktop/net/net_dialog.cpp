#include "net/net_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QThread>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

namespace desktop {

using quillbay::HotFolderState;
using quillbay::NetPage;

namespace {

constexpr int kTryMs = 5000, kTypedMs = 600, kLookMs = 2000;
constexpr int kDialogWidth = 620;
constexpr int kEntryRole = Qt::UserRole;

QString netText(const std::string& text) { return QString::fromStdString(text); }

QString stateText(const NetPage& page) {
  switch (page.state) {
    case NetPage::Sending: return NetDialog::tr("Being sent");
    case NetPage::Stuck: return NetDialog::tr("Cannot be sent: %1").arg(netText(page.why));
    case NetPage::Waiting: break;
  }
  return page.why.empty() ? NetDialog::tr("Waits") : NetDialog::tr("Waits: %1").arg(netText(page.why));
}

}  // namespace

QString folderText(const HotFolderState& state) {
  if (state.fate != HotFolderState::Ready) {
    const QString why = netText(state.why);
    return why.left(1).toUpper() + why.mid(1);
  }
  QString text = NetDialog::tr("Ready");
  if (state.freeBytes >= 0) text += NetDialog::tr(", %1 free").arg(QLocale().formattedDataSize(state.freeBytes));
  const bool isMounted = !state.mountPoint.empty() && state.mountPoint != "/";
  if (isMounted)
    text += NetDialog::tr(", mounted at %1 (%2)").arg(netText(state.mountPoint), netText(state.fileSystem));
  return text;
}

NetDialog::NetDialog(quillbay::KxPtr<quillbay::INetQueue> queue,
                     std::function<bool(const QString&, const QString&)> agree,
                     std::function<void(const std::string&)> help, QWidget* parent)
    : QDialog(parent),
      m_queue(std::move(queue)),
      m_agree(std::move(agree)),
      m_help(std::move(help)),
      m_folder(new QLineEdit),
      m_name(new QLineEdit),
      m_state(new QLabel),
      m_problem(new QLabel),
      m_clients(new QListWidget),
      m_pages(new QTreeWidget),
      m_try(new QPushButton(tr("&Try"))),
      m_remove(new QPushButton(tr("&Remove"))),
      m_removePage(new QPushButton(tr("&Delete page..."))),
      m_reassign(new QPushButton(tr("For &another client"))),
      m_tryNow(new QPushButton(tr("Try &now"))) {
  setWindowTitle(tr("Network scanning"));
  auto* column = new QVBoxLayout(this);
  column->addWidget(makeServer());
  column->addWidget(makeClients());
  column->addWidget(makeQueue(), 1);
  m_problem->setWordWrap(true);
  m_problem->hide();
  column->addWidget(m_problem);
  column->addWidget(makeButtons());
  for (QPushButton* button : findChildren<QPushButton*>()) button->setAutoDefault(false);
  const quillbay::NetServer server = quillbay::GetNetServer();
  m_folder->setText(netText(server.hotFolder));
  for (const std::string& name : server.clients) m_clients->addItem(netText(name));
  // A queue's listener comes on any thread.
  m_advice =
      m_queue->Advise([this] { QMetaObject::invokeMethod(this, &NetDialog::showQueue, Qt::QueuedConnection); });
  auto* look = new QTimer(this);  // for what other programs send
  connect(look, &QTimer::timeout, this, &NetDialog::showQueue);
  look->start(kLookMs);
  showQueue();
  if (!server.hotFolder.empty()) tryFolder();
  resize(std::max(kDialogWidth, sizeHint().width()), sizeHint().height());
}

NetDialog::~NetDialog() { m_queue->Unadvise(m_advice); }

QWidget* NetDialog::makeServer() {
  auto* group = new QGroupBox(tr("Scan server"));
  auto* form = new QFormLayout(group);
  auto* row = new QHBoxLayout;
  auto* choose = new QPushButton("...");
  choose->setToolTip(tr("Choose the hot folder"));
  choose->setAccessibleName(choose->toolTip());
  choose->setMaximumWidth(choose->fontMetrics().horizontalAdvance("....") * 3);
  m_folder->setToolTip(tr("The folder that the scan server watches, as this computer sees it"));
  m_try->setToolTip(tr("See whether the folder can take pages now; nothing is written"));
  row->addWidget(m_folder, 1);
  row->addWidget(choose);
  row->addWidget(m_try);
  auto* label = new QLabel(tr("&Hot folder"));
  label->setBuddy(m_folder);
  form->addRow(label, row);
  m_state->setWordWrap(true);
  m_state->setTextFormat(Qt::PlainText);
  form->addRow(QString(), m_state);
  auto* typed = new QTimer(this);
  typed->setSingleShot(true);
  typed->setInterval(kTypedMs);
  connect(typed, &QTimer::timeout, this, &NetDialog::tryFolder);
  connect(m_folder, &QLineEdit::textEdited, typed, qOverload<>(&QTimer::start));
  connect(choose, &QPushButton::clicked, this, &NetDialog::browse);
  connect(m_try, &QPushButton::clicked, this, &NetDialog::tryFolder);
  return group;
}

QWidget* NetDialog::makeClients() {
  auto* group = new QGroupBox(tr("Clients"));
  auto* column = new QVBoxLayout(group);
  auto* add = new QPushButton(tr("A&dd"));
  auto* row = new QHBoxLayout;
  m_name->setPlaceholderText(tr("Name of a client, as the server knows it"));
  m_name->setAccessibleName(tr("Name of a client"));
  m_clients->setAccessibleName(tr("Clients"));
  m_clients->setToolTip(tr("The clients that pages can be scanned for"));
  m_clients->setMaximumHeight(6 * m_clients->fontMetrics().lineSpacing());
  row->addWidget(m_name, 1);
  row->addWidget(add);
  row->addWidget(m_remove);
  column->addWidget(m_clients);
  column->addLayout(row);
  connect(add, &QPushButton::clicked, this, &NetDialog::addClient);
  connect(m_name, &QLineEdit::returnPressed, this, &NetDialog::addClient);
  connect(m_remove, &QPushButton::clicked, this, [this] {
    delete m_clients->currentItem();
    updateButtons();
  });
  connect(m_clients, &QListWidget::currentRowChanged, this, &NetDialog::updateButtons);
  return group;
}

QWidget* NetDialog::makeQueue() {
  auto* group = new QGroupBox(tr("Pages that wait"));
  auto* column = new QVBoxLayout(group);
  m_pages->setHeaderLabels({tr("Page"), tr("Client"), tr("State")});
  m_pages->setRootIsDecorated(false);
  m_pages->setAccessibleName(tr("Pages that wait"));
  m_pages->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  m_pages->setMinimumHeight(5 * m_pages->fontMetrics().lineSpacing());
  m_tryNow->setToolTip(tr("Send the pages now, without waiting for the next try"));
  m_reassign->setToolTip(tr("Send the page to another client"));
  m_removePage->setToolTip(tr("Delete the page; it is not sent"));
  auto* row = new QHBoxLayout;
  row->addWidget(m_tryNow);
  row->addWidget(m_reassign);
  row->addWidget(m_removePage);
  row->addStretch(1);
  column->addWidget(m_pages, 1);
  column->addLayout(row);
  connect(m_tryNow, &QPushButton::clicked, this, [this] { m_queue->TryNow(); });
  connect(m_removePage, &QPushButton::clicked, this, &NetDialog::removePage);
  connect(m_reassign, &QPushButton::clicked, this, &NetDialog::reassignPage);
  connect(m_pages, &QTreeWidget::currentItemChanged, this, &NetDialog::updateButtons);
  return group;
}

QDialogButtonBox* NetDialog::makeButtons() {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help);
  connect(buttons, &QDialogButtonBox::accepted, this, &NetDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &NetDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { m_help("QBHelp:IDH_ScanToNet"); });
  return buttons;
}

void NetDialog::browse() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Hot folder"), m_folder->text());
  if (folder.isEmpty()) return;
  m_folder->setText(folder);
  tryFolder();
}

void NetDialog::addClient() {
  const QString name = m_name->text().trimmed();
  if (name.isEmpty()) return;
  const std::string why = quillbay::NetClientProblem(name.toStdString());
  if (!why.empty()) return say(netText(why));
  say({});
  if (m_clients->findItems(name, Qt::MatchFixedString).isEmpty()) m_clients->addItem(name);
  m_name->clear();
  updateButtons();
}

/// On a thread: a server may not answer.
void NetDialog::tryFolder() {
  const std::string folder = m_folder->text().toStdString();
  const int asked = ++m_asked;
  if (folder.empty()) return m_state->clear();
  m_state->setText(tr("Looking..."));
  auto* thread = QThread::create([self = QPointer<NetDialog>(this), folder, asked] {
    const HotFolderState state = quillbay::TryHotFolder(folder, {}, kTryMs);
    QMetaObject::invokeMethod(
        qApp,
        [self, state, asked] {
          if (self && self->m_asked == asked) self->showFolder(state);
        },
        Qt::QueuedConnection);
  });
  connect(thread, &QThread::finished, thread, &QObject::deleteLater);
  thread->start();
}

void NetDialog::showFolder(const HotFolderState& state) { m_state->setText(folderText(state)); }

void NetDialog::showQueue() {
  const std::vector<NetPage> pages = m_queue->GetPages();
  const std::string chosen = selectedPage();
  m_pages->clear();
  for (const NetPage& page : pages) {
    auto* item = new QTreeWidgetItem(
        m_pages, {netText(page.file.empty() ? page.kept : page.file), netText(page.client), stateText(page)});
    item->setData(0, kEntryRole, netText(page.id));
    item->setToolTip(0, tr("Kept in %1").arg(netText(page.kept)));
    item->setToolTip(2, item->text(2));
    if (page.id == chosen) m_pages->setCurrentItem(item);
  }
  updateButtons();
}

void NetDialog::updateButtons() {
  m_remove->setEnabled(m_clients->currentItem() != nullptr);
  const bool hasPage = m_pages->currentItem() != nullptr;
  m_removePage->setEnabled(hasPage);
  m_reassign->setEnabled(hasPage);
  m_tryNow->setEnabled(m_pages->topLevelItemCount() > 0);
}

std::string NetDialog::selectedPage() const {
  const QTreeWidgetItem* item = m_pages->currentItem();
  return item ? item->data(0, kEntryRole).toString().toStdString() : std::string();
}

void NetDialog::removePage() {
  const std::string id = selectedPage();
  const QString file = m_pages->currentItem() ? m_pages->currentItem()->text(0) : QString();
  if (id.empty() || !m_agree(tr("%1 was scanned and is in no other place. Delete it?").arg(file), tr("Delete")))
    return;
  std::string why;
  say(m_queue->Remove(id, &why) ? QString() : netText(why));
}

void NetDialog::reassignPage() {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  for (const quillbay::NetClient& client : quillbay::ListNetClients()) {
    QString text = netText(client.text);
    connect(menu->addAction(text.replace('&', "&&")), &QAction::triggered, this,
            [this, client, id = selectedPage()] {
              std::string why;
              say(m_queue->Reassign(id, client, &why) ? QString() : netText(why));
            });
  }
  if (menu->isEmpty()) menu->addAction(tr("No clients are saved yet"))->setEnabled(false);
  menu->popup(m_reassign->mapToGlobal(m_reassign->rect().bottomLeft()));
}

void NetDialog::say(const QString& text) {
  m_problem->setText(text);
  m_problem->setVisible(!text.isEmpty());
}

void NetDialog::accept() {
  addClient();  // a name that was typed only
  if (!m_name->text().trimmed().isEmpty()) return;
  quillbay::NetServer server;
  server.hotFolder = m_folder->text().trimmed().toStdString();
  for (int i = 0; i < m_clients->count(); ++i) server.clients.push_back(m_clients->item(i)->text().toStdString());
  std::string why;
  if (!quillbay::SetNetServer(server, &why)) return say(netText(why));
  QDialog::accept();
}

}  // namespace desktop
