#include "tools/tool_entry.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>

#include "tools/typed_point.h"

namespace desktop {

namespace {
constexpr int kFieldMargin = 20, kLeastHint = 60;
}

ToolEntry::ToolEntry(QWidget* parent)
    : QWidget(parent), m_hint(new QLabel(this)), m_measures(new QLabel(this)), m_field(new QLineEdit(this)) {
  setObjectName("toolEntry");
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(4, 0, 4, 0);
  row->addWidget(m_hint, 1);
  row->addWidget(m_field);
  row->addWidget(m_measures);
  m_hint->setTextFormat(Qt::PlainText);
  m_hint->setMinimumWidth(kLeastHint);
  m_hint->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  m_measures->setTextFormat(Qt::PlainText);
  m_field->setObjectName("toolField");
  m_field->setAccessibleName(tr("Place or length"));
  m_field->setToolTip(typedPointHelp());
  m_field->setPlaceholderText(tr("x;y  @dx;dy  length<angle"));
  m_field->setMinimumWidth(m_field->fontMetrics().horizontalAdvance(m_field->placeholderText()) + kFieldMargin);
  m_field->installEventFilter(this);
  connect(m_field, &QLineEdit::textEdited, this, [this] {
    m_error.clear();
    showHint();
  });
}

void ToolEntry::showTexts(const QString& hint, const QString& measures) {
  m_hintText = hint;
  m_measures->setText(measures);
  showHint();
}

void ToolEntry::showError(const QString& why) {
  m_error = why;
  showHint();
  m_field->setFocus();
  m_field->end(false);
  QAccessibleEvent told(m_field, QAccessible::DescriptionChanged);
  QAccessible::updateAccessibility(&told);
}

void ToolEntry::showHint() {
  const QString text = m_error.isEmpty() ? m_hintText : m_error;
  m_hint->setText(m_hint->fontMetrics().elidedText(text, Qt::ElideRight, m_hint->width()));
  m_hint->setToolTip(m_error.isEmpty() ? text : m_error + "\n" + typedPointHelp());
  m_field->setAccessibleDescription(text);
  QFont font = m_hint->font();
  font.setBold(!m_error.isEmpty());
  m_hint->setFont(font);
}

void ToolEntry::type(const QString& text) {
  m_field->setFocus();
  m_field->deselect();
  m_field->end(false);
  m_field->insert(text);
  m_error.clear();
  showHint();
}

void ToolEntry::clear() {
  m_field->clear();
  m_error.clear();
  showHint();
}

QString ToolEntry::hint() const { return m_error.isEmpty() ? m_hintText : m_error; }
QString ToolEntry::measures() const { return m_measures->text(); }

bool ToolEntry::eventFilter(QObject* watched, QEvent* event) {
  const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
  if (watched != m_field || !isKey) return QWidget::eventFilter(watched, event);
  const auto& key = static_cast<const QKeyEvent&>(*event);
  const bool isReturn = key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
  const bool isArrow =
      key.key() >= Qt::Key_Left && key.key() <= Qt::Key_Down && !(key.modifiers() & Qt::AltModifier);
  const bool isEmpty = m_field->text().isEmpty();
  const bool leaves =
      key.key() == Qt::Key_Escape || (isEmpty && (isReturn || isArrow || key.key() == Qt::Key_Backspace));
  if (!leaves && !isReturn) return QWidget::eventFilter(watched, event);
  event->accept();  // no shortcut has it
  if (event->type() == QEvent::ShortcutOverride) return true;
  if (leaves) {
    emit keyLeft(key.key(), key.modifiers());
  } else {
    emit entered(m_field->text());
  }
  return true;
}

void ToolEntry::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  showHint();
}

}  // namespace desktop
