#include "widgets/dialog.h"

#include <QAbstractButton>
#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QEventLoop>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QToolBar>
#include <cassert>

#include "platform/base_services.h"
#include "widgets/number_spin.h"
#include "widgets/posted_commands.h"
#include "widgets/spin_scroll_edit.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {

enum class Kind {
  Unknown,
  Silent,  // shows something or keeps a place
  Button,
  Group,
  Combo,
  Edit,
  Text,
  Spin,
  DoubleSpin,
  UnitField,
  SliderField,
  List,
  Tabs,
  Slider,
};

template <class T>
bool isA(const QWidget* control) {
  return qobject_cast<const T*>(control) != nullptr;
}

bool isPlain(const QWidget& control) {
  const std::string_view name = control.metaObject()->className();
  return name == "QWidget" || name == "QFrame" || name == "QStackedWidget";
}

Kind kindOf(const QWidget* control) {
  if (isA<QAbstractButton>(control)) return Kind::Button;
  if (isA<QGroupBox>(control)) return Kind::Group;
  if (isA<QComboBox>(control)) return Kind::Combo;
  if (isA<QLineEdit>(control)) return Kind::Edit;
  if (isA<QPlainTextEdit>(control)) return Kind::Text;
  if (isA<QSpinBox>(control)) return Kind::Spin;
  if (isA<QDoubleSpinBox>(control)) return Kind::DoubleSpin;
  if (isA<UnitSpin>(control)) return Kind::UnitField;
  if (isA<CSpinScrollEdit>(control)) return Kind::SliderField;
  if (isA<QListWidget>(control)) return Kind::List;
  if (isA<QTabBar>(control)) return Kind::Tabs;
  if (isA<QAbstractSlider>(control)) return Kind::Slider;
  const bool silent = isA<QLabel>(control) || isA<QProgressBar>(control) || isA<QToolBar>(control) ||
                      isPlain(*control) || dynamic_cast<const CDialog*>(control) != nullptr;
  return silent ? Kind::Silent : Kind::Unknown;
}

}  // namespace

/// A dialog that is shown until it ends. It stands on the stack of `DoModal` and outlives the dialog.
struct CDialog::Modal {
  QEventLoop loop;
  int answer = kAnswerCancel;
};

CDialog::CDialog(QWidget* parent) : QWidget(parent) {
  assertUserInterfaceThread();
  posted_commands::open(this);
}

CDialog::~CDialog() {
  assertUserInterfaceThread();
  posted_commands::close(this);
  if (m_modal) m_modal->loop.quit();
}

QWidget* CDialog::GetDlgItem(int id) const {
  assertUserInterfaceThread();
  const auto found = m_controls.find(id);
  return found == m_controls.end() ? nullptr : found->second;
}

QAction* CDialog::tool(int id) const {
  const auto found = m_tools.find(id);
  return found == m_tools.end() ? nullptr : found->second;
}

bool CDialog::OnCommand(int, int, std::int64_t) { return false; }

bool CDialog::knows(const QWidget& control) { return kindOf(&control) != Kind::Unknown; }

void CDialog::setSpinValue(QSpinBox* spin, int value) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(spin);
  spin->setValue(value);
}

void CDialog::setSpinValue(QDoubleSpinBox* spin, double value) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(spin);
  spin->setValue(value);
}

void CDialog::setListRow(QListWidget* list, int row) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(list);
  list->setCurrentRow(row);
}

void CDialog::setListCheck(QListWidget* list, int row, bool checked) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(list);
  if (QListWidgetItem* item = list->item(row)) item->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

void CDialog::setTab(QTabBar* tabs, int index) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(tabs);
  tabs->setCurrentIndex(index);
}

void CDialog::setText(QPlainTextEdit* edit, const QString& text) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(edit);
  edit->setPlainText(text);
}

void CDialog::attachControls() {
  assertUserInterfaceThread();
  attachBelow(*this);
}

void CDialog::attachBelow(const QWidget& parent) {
  for (QObject* child : parent.children()) {
    auto* widget = qobject_cast<QWidget*>(child);
    if (!widget) continue;
    const QVariant id = widget->property("controlId");
    if (id.isValid()) attach(widget, id.toInt());
    if (const auto* bar = qobject_cast<QToolBar*>(widget)) attachTools(*bar);
    if (!dynamic_cast<CDialog*>(widget)) attachBelow(*widget);
  }
}

void CDialog::attachTools(const QToolBar& bar) {
  for (QAction* action : bar.actions()) {
    const QVariant number = action->property("controlId");
    if (!number.isValid()) continue;
    const int id = number.toInt();
    m_tools[id] = action;
    connect(action, &QObject::destroyed, this, [this, id] { m_tools.erase(id); });
    connect(action, &QAction::triggered, this, [this, id](bool on) { command(id, kCodeClicked, on); });
  }
}

void CDialog::attach(QWidget* control, int id) {
  m_controls[id] = control;
  connect(control, &QObject::destroyed, this, [this, id] { m_controls.erase(id); });
  const auto edited = [this, id] { command(id, kCodeEdited, 0); };
  switch (kindOf(control)) {
    case Kind::Button:
      connect(static_cast<QAbstractButton*>(control), &QAbstractButton::clicked, this,
              [this, id](bool on) { command(id, kCodeClicked, on); });
      break;
    case Kind::Group:
      connect(static_cast<QGroupBox*>(control), &QGroupBox::clicked, this,
              [this, id](bool on) { command(id, kCodeClicked, on); });
      break;
    case Kind::Combo: connectCombo(static_cast<QComboBox*>(control), id); break;
    case Kind::Edit: connect(static_cast<QLineEdit*>(control), &QLineEdit::textEdited, this, edited); break;
    case Kind::Text:
      connect(static_cast<QPlainTextEdit*>(control), &QPlainTextEdit::textChanged, this, edited);
      break;
    case Kind::Spin:
      connect(static_cast<QSpinBox*>(control), &QSpinBox::valueChanged, this,
              [this, id](int value) { command(id, kCodeEdited, value); });
      break;
    case Kind::DoubleSpin:
      connect(static_cast<QDoubleSpinBox*>(control), &QDoubleSpinBox::valueChanged, this, edited);
      break;
    case Kind::UnitField: connect(static_cast<UnitSpin*>(control), &UnitSpin::edited, this, edited); break;
    case Kind::SliderField:
      connect(static_cast<CSpinScrollEdit*>(control), &CSpinScrollEdit::edited, this, edited);
      break;
    case Kind::List: connectList(static_cast<QListWidget*>(control), id); break;
    case Kind::Tabs:
      connect(static_cast<QTabBar*>(control), &QTabBar::currentChanged, this,
              [this, id](int index) { command(id, kCodeSelected, index); });
      break;
    case Kind::Slider:
      // The value follows after this signal; the position is the new one already.
      connect(static_cast<QAbstractSlider*>(control), &QAbstractSlider::actionTriggered, this,
              [this, id, slider = static_cast<QAbstractSlider*>(control)] {
                command(id, kCodeScrolled, slider->sliderPosition());
              });
      break;
    case Kind::Silent: break;
    case Kind::Unknown:
      logLine(LogLevel::Error, "quillbay.widgets",
              formatText("control %s is a %s, which raises no commands",
                         {std::to_string(id), control->metaObject()->className()}));
      assert(knows(*control));
      break;
  }
  guardFromWheel(control);
}

void CDialog::entryChosen(int id, int index) {
  const QPointer<CDialog> self(this);
  command(id, kCodeAccepted, index);
  if (self) command(id, kCodeSelected, index);
}

void CDialog::connectCombo(QComboBox* combo, int id) {
  connect(combo, &QComboBox::activated, this, [this, id](int index) { entryChosen(id, index); });
  if (auto* edit = combo->lineEdit())
    connect(edit, &QLineEdit::textEdited, this, [this, id] { command(id, kCodeComboEdited, 0); });
}

void CDialog::connectList(QListWidget* list, int id) {
  connect(list, &QListWidget::currentRowChanged, this, [this, id](int row) { command(id, kCodeSelected, row); });
  connect(list->model(), &QAbstractItemModel::dataChanged, this,
          [this, id, list](const QModelIndex& entry, const QModelIndex&, const QList<int>& roles) {
            if (!list->signalsBlocked() && roles.contains(Qt::CheckStateRole))
              command(id, kCodeClicked, entry.row());
          });
}

void CDialog::guardFromWheel(QWidget* control) {
  if (auto* both = qobject_cast<CSpinScrollEdit*>(control)) {
    guardFromWheel(both->slider());
    guardFromWheel(both->field());
    return;
  }
  const bool moves = qobject_cast<QComboBox*>(control) || qobject_cast<QAbstractSpinBox*>(control) ||
                     (qobject_cast<QAbstractSlider*>(control) && !qobject_cast<QScrollBar*>(control));
  // A focus policy that takes the wheel would give the control the focus first.
  if (moves) control->setFocusPolicy(Qt::StrongFocus);
  if (moves || qobject_cast<QTabBar*>(control)) control->installEventFilter(this);
}

void CDialog::command(int id, int code, std::int64_t value) {
  assertUserInterfaceThread();
  const QPointer<CDialog> self(this);
  const bool handled = OnCommand(id, code, value);
  if (!self || handled || !m_modal || code != kCodeClicked) return;
  if (id == kAnswerOk || id == kAnswerCancel) EndDialog(id);
}

int CDialog::DoModal() {
  assertUserInterfaceThread();
  if (m_modal) return kAnswerCancel;
  Modal modal;
  m_modal = &modal;
  const QPointer<CDialog> self(this);
  setWindowFlags(Qt::Dialog);
  setWindowModality(parentWidget() ? Qt::WindowModal : Qt::ApplicationModal);
  show();
  activateWindow();
  modal.loop.exec(QEventLoop::DialogExec);
  if (!self) return modal.answer;
  m_modal = nullptr;
  hide();
  return modal.answer;
}

void CDialog::EndDialog(int answer) {
  if (!m_modal) return;
  m_modal->answer = answer;
  m_modal->loop.quit();
}

void CDialog::closeEvent(QCloseEvent* event) {
  EndDialog(kAnswerCancel);
  QWidget::closeEvent(event);
}

void CDialog::keyPressEvent(QKeyEvent* event) {
  if (!m_modal) return QWidget::keyPressEvent(event);
  if (event->key() == Qt::Key_Escape) return command(kAnswerCancel, kCodeClicked, 0);
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    for (auto* button : findChildren<QPushButton*>()) {
      if (button->isDefault() && button->isEnabled()) return button->click();
    }
  }
  QWidget::keyPressEvent(event);
}

bool CDialog::event(QEvent* event) {
  assertUserInterfaceThread();
  return QWidget::event(event);
}

void CDialog::customEvent(QEvent* event) {
  if (event->type() != PostedCommand::eventType()) return QWidget::customEvent(event);
  const auto* posted = static_cast<PostedCommand*>(event);
  posted_commands::delivered(this, posted->id);
  OnCommand(posted->id, posted->code, posted->value);
}

bool CDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
    event->ignore();
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace quillbay
