#include "window/status_line.h"

#include <QFontMetrics>
#include <QLabel>
#include <QLocale>
#include <QStatusBar>

#include "window/lengths.h"

namespace desktop {

StatusLine::StatusLine(quillbay::IApp* app, QStatusBar* bar)
    : QObject(bar),
      m_styles(quillbay::query<quillbay::IStyleManager>(app)),
      m_pointer(addField(bar, tr("Position"), "0000.00; 00000.00 inch")),
      m_size(addField(bar, tr("Size"), "0000.0 × 00000.0 mm")),
      m_resolution(addField(bar, tr("Resolution"), "0000 dpi")),
      m_zoom(addField(bar, tr("Zoom"), "00000 %")) {
  setUnit("mm");
}

QLabel* StatusLine::addField(QStatusBar* bar, const QString& name, const QString& widest) {
  auto* field = new QLabel(bar);
  // No accessible name: it would be read out in place of the value.
  field->setToolTip(name);
  field->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  field->setMinimumWidth(field->fontMetrics().horizontalAdvance(widest) + 8);
  bar->addPermanentWidget(field);
  return field;
}

void StatusLine::setUnit(const std::string& name) {
  if (m_styles) m_unit = quillbay::KxPtr<quillbay::ILinearUnit>::adopt(m_styles->GetLinearUnit(name.c_str()));
}

QString StatusLine::pair(double x, double y, const QString& between) const {
  return lengthPair(m_unit.get(), x, y, between, false);
}

void StatusLine::showPointer(const QPointF& mm, bool inside) {
  m_pointer->setText(inside ? pair(mm.x(), mm.y(), "; ") : QString());
}

void StatusLine::showPage(const Page* page) {
  m_size->setText(page ? pair(page->sizeMm().width(), page->sizeMm().height(), " × ") : QString());
  const QString pixels =
      page ? tr("%1 × %2 pixels").arg(page->raster->GetWidth()).arg(page->raster->GetHeight()) : QString();
  m_size->setToolTip(page ? pixels : tr("Size"));
  const auto dpi = page ? page->raster->GetResolution() : 0;
  m_resolution->setText(dpi ? tr("%1 dpi").arg(dpi) : QString());
}

void StatusLine::showZoom(double zoom) {
  m_zoom->setText(zoom > 0 ? QLocale().toString(zoom * 100, 'f', zoom < 0.1 ? 1 : 0) + " %" : QString());
}

QString StatusLine::size() const { return m_size->text(); }
QString StatusLine::pointer() const { return m_pointer->text(); }

}  // namespace desktop
