#include "host/tools/bw_point_setup.h"

#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"

namespace quillbay {

namespace {

std::array<int, 3> channelsOf(KXRGBQUAD c) { return {c.red, c.green, c.blue}; }

KXRGBQUAD colorOfFields(const std::array<QSpinBox*, 3>& fields) {
  const auto level = [&](std::size_t i) { return static_cast<std::uint8_t>(fields[i]->value()); };
  return {level(0), level(1), level(2), 0};
}

}  // namespace

int BWPointSetup::Load(IParam* params) {
  if (!window()) return 0;
  if (paramInt(params, key::ResetMark) != 0) m_points = {};
  const CKxVariant stored = paramValue(params, key::HardBwPoint);
  if (const auto* bytes = stored.get<CKxBlob>(); bytes && !readBwPoints(*bytes, &m_points))
    logLine(LogLevel::Warning, "quillbay.host", "the black and white points of the settings are not used");
  return 1;
}

int BWPointSetup::Save(IParam* params) {
  if (!window() || !params) return 0;
  params->SetValue(key::HardBwPoint, bwPointBytes(m_points));
  return 1;
}

int BWPointSetup::Refresh() {
  if (!window()) return 0;
  const auto black = channelsOf(m_points.black), white = channelsOf(m_points.white);
  for (std::size_t i = 0; i < black.size(); ++i) {
    const QSignalBlocker quietBlack(m_blackLevels[i]), quietWhite(m_whiteLevels[i]);
    m_blackLevels[i]->setRange(0, white[i] - 1);
    m_whiteLevels[i]->setRange(black[i] + 1, 255);
    m_blackLevels[i]->setValue(black[i]);
    m_whiteLevels[i]->setValue(white[i]);
  }
  return 1;
}

void BWPointSetup::addRow(QWidget* window, QGridLayout* grid, int row, Pick what, Fields* fields) {
  QToolButton* choose = makePickButton(window, what);
  grid->addWidget(choose, row, 0);
  constexpr const char* kNames[] = {"Red", "Green", "Blue"};
  for (std::size_t i = 0; i < fields->size(); ++i) {
    auto* field = (*fields)[i] = new QSpinBox(window);
    field->setRange(0, 255);
    field->setAccessibleName(choose->text() + ", " + toolText(kNames[i]));
    field->setToolTip(field->accessibleName());
    grid->addWidget(field, row, static_cast<int>(i) + 1);
    QObject::connect(field, &QSpinBox::valueChanged, window, [this] { takeFields(); });
  }
}

void BWPointSetup::build(QWidget* window) {
  auto* grid = new QGridLayout(window);
  grid->setContentsMargins(0, 0, 0, 0);
  constexpr const char* kNames[] = {"Red", "Green", "Blue"};
  for (int i = 0; i < 3; ++i) grid->addWidget(new QLabel(toolText(kNames[i]), window), 0, i + 1);
  addRow(window, grid, 1, Pick::Black, &m_blackLevels);
  addRow(window, grid, 2, Pick::White, &m_whiteLevels);
  QToolButton* reset = makeButton(window, "Reset", "The scanner uses its own black and white");
  grid->addWidget(reset, 3, 0);
  QObject::connect(reset, &QToolButton::clicked, window, [this] {
    m_points = {};
    Refresh();
    changed();
  });
  Refresh();
}

void BWPointSetup::takeFields() {
  m_points = {colorOfFields(m_blackLevels), colorOfFields(m_whiteLevels)};
  Refresh();
  changed();
}

bool BWPointSetup::take(Pick what, KXRGBQUAD color) {
  BwPoints points = m_points;
  color.reserved = 0;
  (what == Pick::Black ? points.black : points.white) = color;
  if (!isUsable(points)) return false;
  m_points = points;
  Refresh();
  return true;
}

}  // namespace quillbay
