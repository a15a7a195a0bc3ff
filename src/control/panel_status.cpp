#include "control/panel_status.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <algorithm>

#include "platform/base_services.h"

namespace quillbay {

PanelStatus::PanelStatus(QWidget* parent)
    : QWidget(parent),
      m_text(new QLabel(this)),
      m_bar(new CProgStat(this)),
      m_cancel(new QPushButton(QString::fromStdString(Supp_Translate("Cancel")), this)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(m_text, 1);
  row->addWidget(m_bar);
  row->addWidget(m_cancel);
  m_cancel->setObjectName("cancelSearch");
  m_cancel->setToolTip(
      QString::fromStdString(Supp_Translate("Give up looking; all settings stay as they are (Esc)")));
  m_cancel->hide();
  connect(m_cancel, &QPushButton::clicked, this, [this] {
    if (onCancel) onCancel();
  });
  m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
  m_text->setMinimumWidth(1);  // a long text does not widen the panel
  m_bar->setMaximumWidth(m_bar->sizeHint().width());
  m_bar->hide();
  // Nothing above moves when they come.
  setMinimumHeight(std::max(m_bar->sizeHint().height(), m_cancel->sizeHint().height()));
}

void PanelStatus::setText(const std::string& text) {
  m_text->setText(QString::fromStdString(text));
  m_text->setToolTip(m_text->text());
}

void PanelStatus::setLines(std::int64_t lines, std::int64_t expected) {
  m_bar->setVisible(lines >= 0);
  m_bar->setLines(lines, expected);
}

void PanelStatus::setCancellable(bool can) { m_cancel->setVisible(can); }

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
