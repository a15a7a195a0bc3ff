#include "control/panel_status.h"

#include <QHBoxLayout>
#include <QLabel>

#include "platform/base_services.h"

namespace quillbay {

PanelStatus::PanelStatus(QWidget* parent) : QWidget(parent), m_text(new QLabel(this)), m_bar(new CProgStat(this)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(m_text, 1);
  row->addWidget(m_bar);
  m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  m_text->setMinimumWidth(1);  // a long text does not widen the panel
  m_bar->setMaximumWidth(m_bar->sizeHint().width());
  m_bar->hide();
  setMinimumHeight(m_bar->sizeHint().height());  // nothing above moves when the bar comes
}

void PanelStatus::setText(const std::string& text) {
  m_text->setText(QString::fromStdString(text));
  m_text->setToolTip(m_text->text());
}

void PanelStatus::setLines(std::int64_t lines, std::int64_t expected) {
  m_bar->setVisible(lines >= 0);
  m_bar->setLines(lines, expected);
}

std::string PanelStatus::text() const { return m_text->text().toStdString(); }

const char* statusTextOf(RunState state, RunKind kind) noexcept {
  switch (state) {
    case RunState::Detecting: return "Detecting margins....";
    case RunState::FindingPalette: return "Calculate palette....";
    case RunState::Prescanning:
    case RunState::AreaPrescanning: return "Scanning preview....";
    case RunState::Preparing: return isPreview(kind) ? "Scanning preview...." : "Scanning....";
    case RunState::Scanning:
    case RunState::Finishing: return "Scanning....";
    default: return "Ready...";
  }
}

}  // namespace quillbay
