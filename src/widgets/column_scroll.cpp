#include "widgets/column_scroll.h"

#include <QEvent>
#include <QScrollBar>
#include <algorithm>

namespace quillbay {

namespace {
constexpr int kLeastRows = 3;  // rows of text that stay visible
}  // namespace

ColumnScroll::ColumnScroll(QWidget* parent) : QScrollArea(parent) {
  setWidgetResizable(true);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::NoFocus);
}

int ColumnScroll::barWidth() const { return verticalScrollBar()->sizeHint().width(); }

QSize ColumnScroll::sizeHint() const {
  const QSize column = widget() ? widget()->sizeHint() : QSize();
  return {std::max(0, column.width()) + barWidth(), std::max(0, column.height())};
}

QSize ColumnScroll::minimumSizeHint() const {
  const QSize column = widget() ? widget()->minimumSizeHint() : QSize();
  const int rows = kLeastRows * fontMetrics().lineSpacing();
  return {std::max(0, column.width()) + barWidth(), std::min(std::max(0, column.height()), rows)};
}

bool ColumnScroll::eventFilter(QObject* watched, QEvent* event) {
  if (watched == widget() && event->type() == QEvent::LayoutRequest) updateGeometry();
  return QScrollArea::eventFilter(watched, event);
}

}  // namespace quillbay
