#include "host/message_window.h"

#include <QAccessible>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QTextBlock>
#include <QTextEdit>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <memory>

#include "platform/base_services.h"
#include "quillbay/host_services.h"

namespace quillbay {

namespace {

constexpr int kLeastColumns = 34, kMostColumns = 64;
constexpr double kMostOfScreen = 0.6;

QString shown(const std::string& text) { return QString::fromStdString(text); }

/// The messages of the kind "information" tell what did not go as asked, with one button to agree; so they warn.
QStyle::StandardPixmap pictureOf(const HostMessage& message) {
  if (message.event == kEventCannotWrite) return QStyle::SP_MessageBoxCritical;
  return message.kind == EventKind::Question ? QStyle::SP_MessageBoxQuestion : QStyle::SP_MessageBoxWarning;
}

QString pictureName(const HostMessage& message) {
  return shown(Supp_Translate(message.kind == EventKind::Question ? "Question" : "Warning"));
}

QDialogButtonBox::StandardButtons buttonsOf(EventButtons kind) {
  switch (kind) {
    case EventButtons::YesNo: return QDialogButtonBox::Yes | QDialogButtonBox::No;
    case EventButtons::OkCancel: return QDialogButtonBox::Ok | QDialogButtonBox::Cancel;
    case EventButtons::RetryCancel: return QDialogButtonBox::Retry | QDialogButtonBox::Cancel;
    case EventButtons::Ok: break;
  }
  return QDialogButtonBox::Ok;
}

/// What Return answers: the answer that loses nothing.
QDialogButtonBox::StandardButton defaultOf(EventButtons kind) {
  switch (kind) {
    case EventButtons::YesNo: return QDialogButtonBox::No;
    case EventButtons::RetryCancel: return QDialogButtonBox::Retry;
    case EventButtons::OkCancel:
    case EventButtons::Ok: break;
  }
  return QDialogButtonBox::Ok;
}

void fill(QTextDocument& document, const MessageTexts& texts, const QFont& font) {
  document.setDefaultFont(font);
  QTextCursor cursor(&document);
  if (!texts.heading.empty()) {
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    QTextBlockFormat apart;
    apart.setBottomMargin(QFontMetricsF(font).height() / 2);
    cursor.setBlockFormat(apart);
    cursor.insertText(shown(texts.heading), bold);
    cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
  }
  cursor.insertText(shown(texts.text), QTextCharFormat());
}

/// As wide as its longest line within limits, and as high as the text then is. Measured on a copy: the field lays
/// out its own document for the size that it has.
QSize sizeOf(const QTextDocument& document, const QFontMetricsF& metrics) {
  double longest = 0;
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    longest = std::max(longest, metrics.horizontalAdvance(block.text()) + 2);
  }
  const double column = metrics.averageCharWidth();
  const double width = std::ceil(std::clamp(longest, kLeastColumns * column, kMostColumns * column));
  const std::unique_ptr<QTextDocument> copy(document.clone());
  copy->setTextWidth(width);
  return {static_cast<int>(width), static_cast<int>(std::ceil(copy->size().height()))};
}

}  // namespace

MessageTexts messageTexts(const HostMessage& message) {
  if (message.event != kEventCannotWrite || message.path.empty()) return {{}, message.text};
  const QFileInfo file(shown(message.path));
  const std::string folder = file.isDir() ? message.path : file.path().toStdString();
  const std::string cause =
      message.cause.empty() ? Supp_Translate("Choose another folder, or make this one writable.") : message.cause;
  return {Supp_Translate("Cannot write to this folder"), folder + "\n\n" + cause};
}

MessageWindow::MessageWindow(const HostMessage& message, const std::function<void(const std::string& topic)>& help,
                             QWidget* parent)
    : QDialog(parent), m_kind(message.buttons), m_buttons(new QDialogButtonBox(buttonsOf(m_kind), this)) {
  setObjectName("messageWindow");
  setProperty(kMessageWindowMark, true);
  setWindowTitle(QApplication::applicationDisplayName());
  auto* column = new QVBoxLayout(this);
  auto* row = new QHBoxLayout;
  row->setSpacing(fontMetrics().averageCharWidth() * 2);
  column->addLayout(row);
  column->addSpacing(fontMetrics().height() / 2);
  column->addWidget(m_buttons);
  column->setSizeConstraint(QLayout::SetFixedSize);
  auto* picture = new QLabel(this);
  const int side = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
  picture->setPixmap(style()->standardIcon(pictureOf(message), nullptr, this).pixmap(side));
  picture->setAccessibleName(pictureName(message));
  row->addWidget(picture, 0, Qt::AlignTop);
  addText(*row, message);
  addButtons(message, help);
}

void MessageWindow::addText(QLayout& row, const HostMessage& message) {
  auto* text = new QTextEdit(this);
  text->setReadOnly(true);
  text->setFrameShape(QFrame::NoFrame);
  text->setTabChangesFocus(true);
  text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  text->viewport()->setAutoFillBackground(false);
  text->document()->setDocumentMargin(0);
  text->setAccessibleName(shown(Supp_Translate("Message")));
  fill(*text->document(), messageTexts(message), font());
  const QSize size = sizeOf(*text->document(), QFontMetricsF(font()));
  const int most = static_cast<int>(screen()->availableSize().height() * kMostOfScreen);
  // A bar that was there before the window had its size would stay, and take a part of the width.
  text->setVerticalScrollBarPolicy(size.height() <= most ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAlwaysOn);
  text->setFixedSize(size.boundedTo({size.width(), most}));
  row.addWidget(text);
  setAccessibleDescription(text->toPlainText());
}

void MessageWindow::addButtons(const HostMessage& message,
                               const std::function<void(const std::string& topic)>& help) {
  connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  if (message.event == kEventNextDocument && m_kind == EventButtons::OkCancel) {
    m_buttons->button(QDialogButtonBox::Ok)->setText(shown(Supp_Translate("Scan &next page")));
    m_buttons->button(QDialogButtonBox::Cancel)->setText(shown(Supp_Translate("&Finish batch")));
  }
  QPushButton* first = m_buttons->button(defaultOf(m_kind));
  first->setDefault(true);
  first->setFocus();
  if (message.helpTopic.empty() || !help) return;
  m_buttons->addButton(QDialogButtonBox::Help)->setAutoDefault(false);
  const auto open = [help, topic = message.helpTopic] { help(topic); };
  connect(m_buttons, &QDialogButtonBox::helpRequested, this, open);
  connect(new QShortcut(QKeySequence::HelpContents, this), &QShortcut::activated, this, open);
}

EventAnswer MessageWindow::ask() {
  QAccessibleEvent heard(this, QAccessible::Alert);  // screen readers say it at once
  QAccessible::updateAccessibility(&heard);
  const bool agreed = exec() == QDialog::Accepted;
  switch (m_kind) {
    case EventButtons::YesNo: return agreed ? EventAnswer::Yes : EventAnswer::No;
    case EventButtons::OkCancel: return agreed ? EventAnswer::Ok : EventAnswer::GiveUp;
    case EventButtons::RetryCancel: return agreed ? EventAnswer::Retry : EventAnswer::GiveUp;
    case EventButtons::Ok: break;
  }
  return EventAnswer::Ok;
}

EventAnswer ShowMessageWindow(QWidget* parent, const HostMessage& message,
                              const std::function<void(const std::string& topic)>& help) {
  return MessageWindow(message, help, parent).ask();
}

}  // namespace quillbay
