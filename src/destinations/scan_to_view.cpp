#include "destinations/scan_to_view.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPointer>
#include <algorithm>

#include "destinations/file_names.h"
#include "destinations/macro_list.h"
#include "destinations/name_fields.h"
#include "destinations/path_rules.h"
#include "platform/base_services.h"
#include "platform/post_command.h"
#include "quillbay/formats.h"
#include "quillbay/scan_keys.h"
#include "ui_scan_to_view.h"

namespace quillbay {

namespace {

bool isFormatExtension(const std::string& extension) {
  const std::vector<FormatInfo> formats = ListFormats();
  return std::any_of(formats.begin(), formats.end(), [&](const FormatInfo& format) {
    return std::any_of(format.extensions.begin(), format.extensions.end(),
                       [&](const std::string& known) { return sameKey(known, extension); });
  });
}

}  // namespace

CScanToView::CScanToView(const DestinationContext& context)
    : CDialog(context.parent),
      m_mode(context.mode),
      m_context(context),
      m_params(*context.params),
      m_form(std::make_unique<Ui::ScanToView>()) {
  setUpForm();
  const auto profile = query<IProfile>(m_params.app());
  m_dirs.load(profile.get());
  m_masks.load(profile.get());
  fillHistoryCombo(m_form->dir, m_dirs);
  fillHistoryCombo(m_form->mask, m_masks);
  m_useFileOut = m_mode != ScanToView;
  m_clock.setInterval(1000);
  connect(&m_clock, &QTimer::timeout, this, [this] { refreshNextName(); });
  m_changes.Subscribe(m_params.connectionPoint());
  installStore();
  showFields();
}

CScanToView::~CScanToView() {
  m_changes.Unsubscribe();
  saveHistories();
}

void CScanToView::setUpForm() {
  m_form->setupUi(this);
  attachControls();
  m_form->useFileOut->setVisible(m_mode == ScanToView);
  m_form->heading->setVisible(m_mode != ScanToView);
  preparePlainField(m_form->nextName);
  for (QComboBox* combo : {m_form->dir, m_form->mask}) {
    prepareHistoryCombo(combo);
    combo->lineEdit()->installEventFilter(this);
  }
  m_form->dir->setToolTip(
      QString::fromStdString(Supp_Translate("Folder for the files; \"~\" is your home folder")));
  m_form->mask->setToolTip(maskTip(makeNameContext(m_params)));
}

int CScanToView::paramChanged(const char* key) {
  if (sameKey(key, key::Dir)) showText(m_form->dir, m_params.values().dir);
  if (sameKey(key, key::Mask)) showText(m_form->mask, m_params.values().mask);
  const bool naming = isNamingKey(key);
  // Later and merged: a load changes many values, and each look at the name asks the file system.
  if (naming) PostCommand(this, kRefreshName, 0, 0, true);
  return 1;
}

bool CScanToView::OnCommand(int id, int code, std::int64_t) {
  return m_context.controller->Guarded([&] { return handle(id, code); });
}

bool CScanToView::handle(int id, int code) {
  switch (id) {
    case kRefreshName: refreshNextName(); return true;
    case kNameFound:
      if (const auto name = m_nextName.take()) showNextName(*name);
      return true;
    case kUseFileOut:
      m_useFileOut = m_form->useFileOut->isChecked();
      showFields();
      return true;
    case kBrowse: browse(); return true;
    case kDir:
    case kMask:
      if (code == kCodeComboEdited) fieldEdited(id);
      // The list's text is in the field only after the choice was handled.
      if (code == kCodeSelected) PostCommand(this, id, kCodeComboEdited);
      return true;
    default: return false;
  }
}

void CScanToView::fieldEdited(int id) {
  if (id == kDir)
    m_params.setIfChanged(scan_key::Dir, m_form->dir->currentText().toStdString());
  else
    m_params.setIfChanged(scan_key::Mask, m_form->mask->currentText().toStdString());
  refreshNextName();
}

void CScanToView::showFields() {
  m_form->useFileOut->setChecked(m_useFileOut);
  for (QWidget* field :
       std::initializer_list<QWidget*>{m_form->dir, m_form->browse, m_form->mask, m_form->nextName})
    field->setEnabled(m_useFileOut);
  showText(m_form->dir, m_params.values().dir);
  showText(m_form->mask, m_params.values().mask);
  refreshNextName();
}

void CScanToView::refreshNextName() {
  const ScanValues& v = m_params.values();
  if (namesTime(v) && m_useFileOut) {
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

void CScanToView::showNextName(const OutputName& name) { showOutputName(m_form->nextName, name); }

void CScanToView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) refreshNextName();
  CDialog::changeEvent(event);
}

PageDraft CScanToView::draft(bool isLast) const {
  PageDraft draft = m_output ? m_output->draft() : PageDraft{};
  const auto moment = draft.names.moment;
  draft.names = makeNameContext(m_params);
  if (moment != 0) draft.names.moment = moment;
  draft.isLast = isLast;
  return draft;
}

std::string CScanToView::nextFile() const { return applyExistsRule(makeNameContext(m_params)).path; }

std::string CScanToView::fileName() const { return fio::fileNameOf(buildOutputPath(makeNameContext(m_params))); }

std::string CScanToView::tags() const { return tagList(makeNameContext(m_params)); }

std::string CScanToView::askFolder() {
  const std::string start = fio::expandHome(m_params.values().dir);
  if (m_context.chooseFolder) return m_context.chooseFolder(this, start);
  return QFileDialog::getExistingDirectory(this, QString::fromStdString(Supp_Translate("Output folder")),
                                           QString::fromStdString(start))
      .toStdString();
}

void CScanToView::browse() {
  const QPointer<CScanToView> alive(this);
  const std::string folder = askFolder();
  if (alive && applyFolder(folder)) showFields();
}

bool CScanToView::applyFolder(const std::string& folder) {
  if (folder.empty()) return false;
  const std::string why = folderProblem(folder, *MacroList::process(m_params.values()));
  if (!why.empty()) {
    tell(why);
    return false;
  }
  m_params.setIfChanged(scan_key::Dir, folder);
  return true;
}

PasteField CScanToView::fieldOf(const QLineEdit* edit) const {
  return edit == m_form->dir->lineEdit() ? PasteField::Folder : PasteField::Mask;
}

bool CScanToView::pastePath(const std::string& text, PasteField field) {
  const auto pasted = splitPastedPath(text, field, isFormatExtension);
  if (!pasted) return false;
  if (!applyFolder(pasted->folder)) return true;
  if (!pasted->mask.empty()) m_params.setIfChanged(scan_key::Mask, pasted->mask);
  showFields();
  return true;
}

bool CScanToView::pasteInto(const QLineEdit* edit) {
  return m_context.controller->Guarded(
      [&] { return pastePath(QGuiApplication::clipboard()->text().toStdString(), fieldOf(edit)); });
}

bool CScanToView::eventFilter(QObject* watched, QEvent* event) {
  auto* edit = qobject_cast<QLineEdit*>(watched);
  if (edit && event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Paste) &&
      pasteInto(edit))
    return true;
  if (edit && event->type() == QEvent::ContextMenu)
    return showPasteMenu(edit, static_cast<const QContextMenuEvent&>(*event));
  return CDialog::eventFilter(watched, event);
}

bool CScanToView::showPasteMenu(QLineEdit* edit, const QContextMenuEvent& event) {
  // Not run in a loop of its own: the panel may close while it is open.
  QMenu* menu = edit->createStandardContextMenu();
  menu->setAttribute(Qt::WA_DeleteOnClose);
  if (auto* paste = menu->findChild<QAction*>(QStringLiteral("edit-paste"))) {
    paste->disconnect(edit);
    connect(paste, &QAction::triggered, this, [this, edit] {
      if (!pasteInto(edit)) edit->paste();
    });
  }
  menu->popup(event.globalPos());
  return true;
}

void CScanToView::remember() {
  if (m_dirs.add(m_params.values().dir)) fillHistoryCombo(m_form->dir, m_dirs);
  if (m_masks.add(m_params.values().mask)) fillHistoryCombo(m_form->mask, m_masks);
}

void CScanToView::saveHistories() {
  const auto profile = query<IProfile>(m_params.app());
  m_dirs.save(profile.get());
  m_masks.save(profile.get());
  if (profile) profile->Flush();  // the panel's settings were written before
}

int CScanToView::LoadParams(IParam* params) {
  m_useFileOut = m_mode != ScanToView || paramInt(params, key::UseFileOut, m_useFileOut ? 1 : 0) != 0;
  m_params.set(scan_key::Dir, paramString(params, key::Dir, m_params.values().dir));
  m_params.set(scan_key::Mask, paramString(params, key::Mask, m_params.values().mask));
  showFields();
  return 1;
}

int CScanToView::SaveParams(IParam* params) {
  params->SetValue(key::Dir, m_params.values().dir);
  params->SetValue(key::Mask, m_params.values().mask);
  if (m_mode == ScanToView)
    params->SetValue(key::UseFileOut, m_useFileOut ? 1 : 0);
  else
    m_useFileOut = true;
  return 1;
}

void CScanToView::Destroy() { delete this; }

HWND CScanToView::GetFooter() { return m_form->nextRow; }

int CScanToView::Enable(int enable) {
  setEnabled(enable != 0);
  return 1;
}

int CScanToView::Show(int command) {
  setVisible(command != 0);
  return 1;
}

void CScanToView::GetTargetText(std::string* out) { *out = buildOutputPath(makeNameContext(m_params)); }

KxPtr<IEvents> CScanToView::events() const {
  return m_context.events ? m_context.events : query<IEvents>(m_params.app());
}

bool CScanToView::isInteractive() const {
  const auto interior = query<IAppInterior>(m_params.app());
  return interior && interior->IsInteractive() != 0;
}

void CScanToView::tell(const std::string& text) {
  logLine(LogLevel::Warning, "quillbay.store", text);
  m_context.controller->Message(EventKind::Information, text, EventButtons::Ok);
}

}  // namespace quillbay
