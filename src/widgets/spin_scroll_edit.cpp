#include "widgets/spin_scroll_edit.h"

#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>

#include "widgets/number_spin.h"
#include "widgets/user_interface_thread.h"

namespace quillbay {

namespace {
constexpr double kWidest = 1e9;  // what a slider can take
int whole(double value) { return static_cast<int>(std::clamp(value, -kWidest, kWidest)); }
}  // namespace

CSpinScrollEdit::CSpinScrollEdit(QWidget* parent)
    : QWidget(parent), m_slider(new QSlider(Qt::Horizontal, this)), m_field(new NumberSpin(this)) {
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(m_slider, 2);
  row->addWidget(m_field, 1);
  setFocusProxy(m_field);
  connect(m_field, &UnitSpin::edited, this, [this] {
    showOnSlider();
    Q_EMIT edited();
  });
  // The value follows after this signal; the position is the new one already.
  connect(m_slider, &QAbstractSlider::actionTriggered, this, [this] {
    m_field->setValue(m_slider->sliderPosition());
    Q_EMIT edited();
  });
}

void CSpinScrollEdit::SetUp(IUnit* unit, int kind, double value, double minimum, double maximum, double step) {
  const auto [least, most] = std::minmax(minimum, maximum);
  m_field->setUnit(unit, kind);
  m_field->setLimits(least, most);
  m_field->setStep(step > 0 ? step : 1);
  m_slider->setRange(whole(least), whole(most));
  m_slider->setSingleStep(std::max(1, whole(step)));
  setValue(value);
}

double CSpinScrollEdit::value() const { return m_field->value(); }

void CSpinScrollEdit::setValue(double value) {
  assertUserInterfaceThread();
  m_field->setValue(value);
  showOnSlider();
}

void CSpinScrollEdit::showOnSlider() {
  const QSignalBlocker quiet(m_slider);
  m_slider->setValue(whole(m_field->value()));
}

}  // namespace quillbay
