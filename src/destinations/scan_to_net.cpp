#include "destinations/scan_to_net.h"

#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <algorithm>
#include <utility>

#include "destinations/name_fields.h"
#include "platform/base_services.h"
#include "platform/log_category.h"
#include "platform/post_command.h"
#include "quillbay/scan_keys.h"
#include "ui_scan_to_net.h"
#include "widgets/string_table.h"

namespace quillbay {

namespace {
constexpr int kLookMs = 2000;
}  // namespace

std::unique_ptr<CScanTo> makeScanToNet(const DestinationContext& context) {
  std::vector<NetClient> clients = ListNetClients();
  if (!clients.empty()) return std::make_unique<CScanToNet>(context, std::move(clients), OpenNetQueue());
  const std::string text = loadString(kTextNoNetClients);
  logLine(LogLevel::Warning, kStoreLog, splitEventText(text).text);
  context.controller->Message(EventKind::Information, text, EventButtons::Ok);
  return nullptr;
}

CScanToNet::CScanToNet(const DestinationContext& context, std::vector<NetClient> clients, KxPtr<INetQueue> queue)
    : CDialog(context.parent),
      m_context(context),
      m_params(*context.params),
      m_clients(std::move(clients)),
      m_queue(std::move(queue)),
      m_spool(m_queue.as<IPageSpool>()),
      m_form(std::make_unique<Ui::ScanToNet>()),
      m_nextName(this, kNameFound, [spool = m_spool](const NameContext& names) {
        return applyExistsRule(names, netNameTest(spool));
      }) {
  setUpForm();
  m_masks.load(query<IProfile>(m_params.app()).get());
  fillHistoryCombo(m_form->mask, m_masks);
  showText(m_form->mask, m_params.values().mask);
  m_clock.setInterval(1000);
  connect(&m_clock, &QTimer::timeout, this, [this] { refreshNextName(); });
  m_look.setInterval(kLookMs);
  connect(&m_look, &QTimer::timeout, this, [this] { showQueue(); });
  m_changes.Subscribe(m_params.connectionPoint());
  m_advice = m_queue->Advise([this] { PostCommand(this, kQueueChanged, 0, 0, true); });
  installStore();
  applyClient();
  showQueue();
}

CScanToNet::~CScanToNet() {
  m_queue->Unadvise(m_advice);
  m_changes.Unsubscribe();
  if (m_runFile.empty()) discardStaged();
  const auto profile = query<IProfile>(m_params.app());
  m_masks.save(profile.get());
  if (profile) profile->Flush();  // the panel's settings were written before
}

void CScanToNet::setUpForm() {
  m_form->setupUi(this);
  attachControls();
  preparePlainField(m_form->nextName);
  prepareHistoryCombo(m_form->mask);
  m_form->mask->setToolTip(maskTip(makeNameContext(m_params)));
  for (const NetClient& client : m_clients) m_form->client->addItem(QString::fromStdString(client.text));
  m_row = std::make_unique<NetQueueRow>(m_form->queueRow, m_form->queueText);
}

int CScanToNet::paramChanged(const char* key) {
  if (sameKey(key, key::Mask)) showText(m_form->mask, m_params.values().mask);
  // Later and merged: a load changes many values, and each look at the name asks the file system.
  if (isNamingKey(key)) PostCommand(this, kRefreshName, 0, 0, true);
  return 1;
}

bool CScanToNet::OnCommand(int id, int code, std::int64_t) {
  return m_context.controller->Guarded([&] { return handle(id, code); });
}

bool CScanToNet::handle(int id, int code) {
  switch (id) {
    case kRefreshName: refreshNextName(); return true;
    case kNameFound:
      if (const auto name = m_nextName.take()) showOutputName(m_form->nextName, *name);
      return true;
    case kQueueChanged:
      showQueue();
      refreshNextName();
      return true;
    case kClient:
      if (code == kCodeSelected) applyClient();
      return true;
    case kMask:
      if (code == kCodeComboEdited) maskEdited();
      // The list's text is in the field only after the choice was handled.
      if (code == kCodeSelected) PostCommand(this, id, kCodeComboEdited);
      return true;
    case kTryNow: m_queue->TryNow(); return true;
    case kOpenFolder: NetQueueRow::openFolder(m_queue->GetPages(), m_params.values().dir); return true;
    default: return false;
  }
}

void CScanToNet::maskEdited() {
  m_params.setIfChanged(scan_key::Mask, m_form->mask->currentText().toStdString());
  refreshNextName();
}

void CScanToNet::refreshNextName() {
  const ScanValues& v = m_params.values();
  if (namesTime(v)) {
    if (!m_clock.isActive()) m_clock.start();
  } else {
    m_clock.stop();
  }
  if (!v.dir.empty() && !v.mask.empty()) {
    m_nextName.ask(makeNameContext(m_params));
    return;
  }
  m_nextName.forget();
  m_form->nextName->clear();
  m_form->nextName->setToolTip({});
}

void CScanToNet::showQueue() {
  const std::vector<NetPage> pages = m_queue->GetPages();
  m_row->show(pages);
  if (pages.empty()) {
    m_look.stop();
    m_toldWhy.clear();
  } else if (!m_look.isActive()) {
    m_look.start();
  }
}

void CScanToNet::changeEvent(QEvent* event) {
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) refreshNextName();
  CDialog::changeEvent(event);
}

const NetClient* CScanToNet::client() const {
  const int index = m_form->client->currentIndex();
  return index < 0 ? nullptr : &m_clients[static_cast<std::size_t>(index)];
}

void CScanToNet::applyClient() {
  if (const NetClient* chosen = client()) m_params.set(scan_key::Dir, chosen->hotFolder);
}

int CScanToNet::LoadParams(IParam* params) {
  m_params.set(scan_key::Mask, paramString(params, key::Mask, m_params.values().mask));
  CKxVariant user;
  if (params->GetValue(kNetUserKey, &user)) {
    const std::string text = paramString(params, kNetUserKey);
    const auto found =
        std::find_if(m_clients.begin(), m_clients.end(), [&](const NetClient& c) { return c.text == text; });
    m_form->client->setCurrentIndex(found == m_clients.end() ? 0 : static_cast<int>(found - m_clients.begin()));
  }
  applyClient();
  refreshNextName();
  return 1;
}

int CScanToNet::SaveParams(IParam* params) {
  params->SetValue(key::Mask, m_params.values().mask);
  params->SetValue(kNetUserKey, m_form->client->currentText().toStdString());
  return 1;
}

int CScanToNet::Enable(int enable) {
  // The queue goes on while a page is scanned.
  for (QWidget* field : std::initializer_list<QWidget*>{m_form->client, m_form->mask, m_form->nextName})
    field->setEnabled(enable != 0);
  return 1;
}

int CScanToNet::Show(int command) {
  setVisible(command != 0);
  return 1;
}

void CScanToNet::GetTargetText(std::string* out) { *out = m_form->client->currentText().toStdString(); }

HWND CScanToNet::GetFooter() { return m_form->nextRow; }

std::string CScanToNet::nextFile() const {
  const NetClient* chosen = client();
  return findNetName(makeNameContext(m_params), chosen ? chosen->mountPoint : std::string(), m_spool).name.path;
}

std::string CScanToNet::fileName() const { return fio::fileNameOf(buildOutputPath(makeNameContext(m_params))); }

std::string CScanToNet::tags() const { return tagList(makeNameContext(m_params)); }

KxPtr<IEvents> CScanToNet::events() const {
  return m_context.events ? m_context.events : query<IEvents>(m_params.app());
}

bool CScanToNet::isInteractive() const {
  const auto interior = query<IAppInterior>(m_params.app());
  return interior && interior->IsInteractive() != 0;
}

void CScanToNet::tell(const std::string& text) {
  logLine(LogLevel::Warning, kStoreLog, text);
  m_context.controller->Message(EventKind::Information, text, EventButtons::Ok);
}

}  // namespace quillbay
