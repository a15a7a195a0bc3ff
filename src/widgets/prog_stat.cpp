#include "widgets/prog_stat.h"

#include <QStyleOptionProgressBar>
#include <QStylePainter>
#include <algorithm>
#include <utility>

#include "platform/base_services.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
constexpr int kParts = 1000;
constexpr int kRefreshMs = 500;
constexpr int kMarkPart = 5;   // the mark takes a fifth of the width
constexpr int kUnderline = 5;  // and below a text a fifth of the height

QString translated(const std::string& text) { return QString::fromStdString(text); }
}  // namespace

CProgStat::CProgStat(QWidget* parent, MillisecondClock clock) : QProgressBar(parent), m_clock(std::move(clock)) {
  setRange(0, 0);
  setAccessibleName(translated(Supp_Translate("Progress of the page")));
}

void CProgStat::SetText(const char* text) {
  assertUserInterfaceThread();
  m_text = QString::fromUtf8(text ? text : "");
  m_mark.set(0);
  update();
}

void CProgStat::Step() {
  assertUserInterfaceThread();
  if (m_mark.step(m_clock())) update();
}

int CProgStat::SetPosition(int position) {
  assertUserInterfaceThread();
  const int before = m_mark.position();
  m_mark.set(position);
  if (m_mark.position() != before) update();
  return before;
}

void CProgStat::Reset() {
  assertUserInterfaceThread();
  m_left.restart();
  m_mark.set(0);
  setRange(0, 0);
  watch(false);
  showTime();
  update();
}

int CProgStat::IsCancelled() {
  assertUserInterfaceThread();
  return std::exchange(m_cancelled, false) ? 1 : 0;
}

void CProgStat::setLines(std::int64_t lines, std::int64_t expected) {
  assertUserInterfaceThread();
  if (lines < 0) return Reset();
  if (expected <= 0) {
    if (isMeasured()) Reset();
    return Step();
  }
  m_left.report(m_clock(), lines, expected);
  const double part = static_cast<double>(lines) / static_cast<double>(expected);
  setRange(0, kParts);
  setValue(static_cast<int>(std::clamp(part, 0.0, 1.0) * kParts));
  watch(true);
  showTime();
}

QString CProgStat::text() const { return isMeasured() ? m_shown : m_text; }

void CProgStat::showTime() {
  QString now;
  if (isMeasured()) {
    now = translated(formatText(Supp_Translate("%d %"), {std::to_string(m_left.percent())}));
    if (const auto seconds = m_left.secondsLeft(m_clock())) {
      now = translated(formatText(Supp_Translate("%s, %s"), {now.toStdString(), timeLeftText(*seconds)}));
    }
  }
  if (std::exchange(m_shown, now) == now) return;
  setAccessibleDescription(now);
  update();
}

void CProgStat::watch(bool runs) {
  if (runs == (m_timer != 0)) return;
  if (runs) {
    m_timer = startTimer(kRefreshMs);
  } else {
    killTimer(std::exchange(m_timer, 0));
  }
}

void CProgStat::timerEvent(QTimerEvent* event) {
  if (event->timerId() != m_timer) return QProgressBar::timerEvent(event);
  showTime();
}

QSize CProgStat::sizeHint() const {
  QSize hint = QProgressBar::sizeHint();
  hint.setWidth(fontMetrics().averageCharWidth() * 24);
  return hint;
}

void CProgStat::paintEvent(QPaintEvent* event) {
  assertUserInterfaceThread();
  if (isMeasured()) return QProgressBar::paintEvent(event);
  QStylePainter painter(this);
  QStyleOptionProgressBar option;
  initStyleOption(&option);
  option.minimum = 0;  // a style animates a range that is empty; this mark moves with the steps alone
  option.maximum = kParts;
  option.progress = 0;
  option.text = m_text;
  option.textVisible = !m_text.isEmpty();
  painter.drawControl(QStyle::CE_ProgressBarGroove, option);
  const QRect inner = style()->subElementRect(QStyle::SE_ProgressBarContents, &option, this).adjusted(2, 2, -2, -2);
  const int width = std::max(1, inner.width() / kMarkPart);
  const int left = (inner.width() - width) * m_mark.position() / 100;
  // Below a text, which would be hard to read on it.
  const int high = m_text.isEmpty() ? inner.height() : std::max(2, inner.height() / kUnderline);
  const QRect mark(inner.left() + left, inner.bottom() + 1 - high, width, high);
  painter.fillRect(QStyle::visualRect(layoutDirection(), inner, mark), palette().highlight());
  option.rect = style()->subElementRect(QStyle::SE_ProgressBarLabel, &option, this);
  painter.drawControl(QStyle::CE_ProgressBarLabel, option);
}

}  // namespace quillbay
