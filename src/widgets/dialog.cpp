#include "widgets/dialog.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalBlocker>
#include <QSpinBox>

#include "widgets/length_spin.h"
#include "widgets/posted_commands.h"

namespace quillbay {

CDialog::CDialog(QWidget* parent) : QWidget(parent) { posted_commands::open(this); }

CDialog::~CDialog() { posted_commands::close(this); }

QWidget* CDialog::GetDlgItem(int id) const {
  const auto found = m_controls.find(id);
  return found == m_controls.end() ? nullptr : found->second;
}

bool CDialog::OnCommand(int, int, std::int64_t) { return false; }

void CDialog::setSpinValue(QSpinBox* spin, int value) {
  const QSignalBlocker quiet(spin);
  spin->setValue(value);
}

void CDialog::attachControls() {
  for (QWidget* child : findChildren<QWidget*>()) {
    const QVariant id = child->property("controlId");
    if (id.isValid()) attach(child, id.toInt());
  }
}

void CDialog::attach(QWidget* control, int id) {
  m_controls[id] = control;
  connect(control, &QObject::destroyed, this, [this, id] { m_controls.erase(id); });
  if (auto* button = qobject_cast<QAbstractButton*>(control)) {
    connect(button, &QAbstractButton::clicked, this, [this, id](bool on) { OnCommand(id, kCodeClicked, on); });
  } else if (auto* combo = qobject_cast<QComboBox*>(control)) {
    connect(combo, &QComboBox::activated, this, [this, id](int index) {
      OnCommand(id, kCodeAccepted, index);
      OnCommand(id, kCodeSelected, index);
    });
    if (auto* edit = combo->lineEdit())
      connect(edit, &QLineEdit::textEdited, this, [this, id] { OnCommand(id, kCodeComboEdited, 0); });
  } else if (auto* edit = qobject_cast<QLineEdit*>(control)) {
    connect(edit, &QLineEdit::textEdited, this, [this, id] { OnCommand(id, kCodeEdited, 0); });
  } else if (auto* spin = qobject_cast<QSpinBox*>(control)) {
    connect(spin, &QSpinBox::valueChanged, this, [this, id](int value) { OnCommand(id, kCodeEdited, value); });
  } else if (auto* length = qobject_cast<LengthSpin*>(control)) {
    connect(length, &LengthSpin::edited, this, [this, id] { OnCommand(id, kCodeEdited, 0); });
  } else if (auto* list = qobject_cast<QListWidget*>(control)) {
    connect(list, &QListWidget::itemActivated, this,
            [this, id, list] { OnCommand(id, kCodeSelected, list->currentRow()); });
  } else if (auto* slider = qobject_cast<QAbstractSlider*>(control)) {
    // The value follows after this signal; the position is the new one already.
    connect(slider, &QAbstractSlider::actionTriggered, this,
            [this, id, slider] { OnCommand(id, kCodeScrolled, slider->sliderPosition()); });
  }
  if (qobject_cast<QComboBox*>(control) || qobject_cast<QAbstractSpinBox*>(control)) {
    control->setFocusPolicy(Qt::StrongFocus);
    control->installEventFilter(this);
  }
}

void CDialog::customEvent(QEvent* event) {
  if (event->type() != PostedCommand::eventType()) return QWidget::customEvent(event);
  const auto* command = static_cast<PostedCommand*>(event);
  posted_commands::delivered(this, command->id);
  OnCommand(command->id, command->code, command->value);
}

bool CDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
    event->ignore();
    return true;
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace quillbay
