// The scroll bars of the document's view.
#include <QGridLayout>
#include <QScrollBar>
#include <QSignalBlocker>
#include <algorithm>

#include "view/document_view.h"

namespace desktop {

namespace {
/// More pixels than a bar counts come in larger units.
constexpr double kMostUnits = 1e9;
constexpr int kLinePixels = 60;
}  // namespace

void DocumentView::makeBars() {
  auto* grid = new QGridLayout(this);
  grid->setContentsMargins(1, 1, 1, 1);  // shows where the keys go
  grid->setSpacing(0);
  m_across = new QScrollBar(Qt::Horizontal, this);
  m_down = new QScrollBar(Qt::Vertical, this);
  grid->addWidget(m_surface, 0, 0);
  grid->addWidget(m_down, 0, 1);
  grid->addWidget(m_across, 1, 0);
  for (QScrollBar* bar : {m_across, m_down}) {
    connect(bar, &QScrollBar::valueChanged, this, [this, bar](int value) { scrollTo(bar, value); });
  }
}

/// What can be scrolled to is the pages, and whatever is in sight beside them.
void DocumentView::updateBars() {
  const QRectF client = m_surface->rect(), room = toView(everything()) | client;
  m_barStep = std::max({1.0, room.width() / kMostUnits, room.height() / kMostUnits});
  const auto units = [this](double pixels) { return qRound(pixels / m_barStep); };
  const auto set = [&](QScrollBar* bar, double length, double seen, double before) {
    const QSignalBlocker silent(bar);
    bar->setRange(0, units(length - seen));
    bar->setPageStep(std::max(1, units(seen)));
    bar->setSingleStep(std::max(1, units(kLinePixels)));
    bar->setValue(units(before));
    bar->setEnabled(bar->maximum() > 0);
  };
  set(m_across, room.width(), client.width(), client.left() - room.left());
  set(m_down, room.height(), client.height(), client.top() - room.top());
}

void DocumentView::scrollTo(const QScrollBar* bar, int value) {
  const QRectF client = m_surface->rect(), room = toView(everything()) | client;
  const bool isAcross = bar == m_across;
  const double by = (isAcross ? -room.left() : -room.top()) - value * m_barStep;
  pan(isAcross ? by : 0, isAcross ? 0 : by);
}

void DocumentView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  updateBars();
}

}  // namespace desktop
