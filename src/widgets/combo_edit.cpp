#include "widgets/combo_edit.h"

#include <QCompleter>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalBlocker>
#include <utility>

#include "widgets/user_interface_thread.h"

namespace quillbay {

CComboEdit::CComboEdit(QWidget* parent) : QComboBox(parent) {
  setEditable(true);
  setInsertPolicy(QComboBox::NoInsert);
  setCompleter(nullptr);  // would complete "30" to "300" under the user's fingers
  lineEdit()->installEventFilter(this);
  connect(lineEdit(), &QLineEdit::editingFinished, this, &CComboEdit::settle);
  connect(this, &QComboBox::activated, this, &CComboEdit::settle);
}

void CComboEdit::setText(const QString& text) {
  assertUserInterfaceThread();
  const QSignalBlocker quiet(this);
  setCurrentIndex(findText(text));
  setEditText(text);
  m_settled = text;
}

void CComboEdit::settle() {
  const QString now = currentText();
  if (std::exchange(m_settled, now) != now) Q_EMIT finished(now);
}

bool CComboEdit::eventFilter(QObject* watched, QEvent* event) {
  const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
  if (watched != lineEdit() || !isKey) return QComboBox::eventFilter(watched, event);
  const bool undoes = static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && currentText() != m_settled;
  if (!undoes) return QComboBox::eventFilter(watched, event);
  event->accept();  // not the dialog's Esc
  if (event->type() == QEvent::KeyPress) {
    setText(m_settled);
    lineEdit()->selectAll();
  }
  return true;
}

}  // namespace quillbay
