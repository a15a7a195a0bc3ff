#include "pages/bw_page.h"

#include <QLabel>
#include <algorithm>
#include <cmath>
#include <utility>

#include "pages/field_texts.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {

BwPage::BwPage(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode)
    : CTab(controller, std::move(params), kFirstNumber + mode), m_mode(mode) {}

BwPage::~BwPage() = default;

std::string BwPage::GetTitle() { return Supp_Translate("BW Settings"); }

std::string BwPage::keyOf(const Slider& slider) const { return key::numbered(slider.stem, m_mode); }

void BwPage::setUp(std::vector<Slider> sliders, QLabel* note) {
  m_sliders = std::move(sliders);
  for (Slider& slider : m_sliders) {
    takeRange(slider);
    slider.control->setValue(slider.range.initial);
    explain(slider);
    showNotesOf(*slider.control->field(), note);
  }
}

void BwPage::takeRange(Slider& slider) {
  slider.range = {0, 0, 1, 1};
  const auto ranges = query<IUnitKeyRanges>(controller().Unit());
  const bool wasKnown = slider.isKnown;
  slider.isKnown = ranges && ranges->GetKeyRange(keyOf(slider), &slider.range) != 0;
  const auto& [initial, least, most, step] = slider.range;
  // What stood in a field for a key that the unit did not know was nobody's choice.
  const double value = slider.isKnown && !wasKnown ? initial : slider.control->value();
  slider.control->SetUp(nullptr, 0, std::clamp(value, least, std::max(least, most)), least, most, 1);
  const bool isOffered = slider.isKnown || !slider.isFilter;
  for (QWidget* part : {static_cast<QWidget*>(slider.control), static_cast<QWidget*>(slider.label),
                        static_cast<QWidget*>(slider.help)})
    part->setEnabled(isOffered);
}

/// The same sentences below the slider and as a hint; screen readers get them with the field.
void BwPage::explain(const Slider& slider) const {
  const QString help = QString::fromStdString(bwHelp(slider.stem, m_mode));
  slider.help->setText(help);
  const QString range =
      QString::fromStdString(formatText(Supp_Translate("From %s to %s"), {toText(std::trunc(slider.range.least)),
                                                                          toText(std::trunc(slider.range.most))}));
  describeSlider(*slider.control, *slider.label,
                 "<qt>" + help.toHtmlEscaped() + "<br>" + range.toHtmlEscaped() + "</qt>", help);
}

bool BwPage::OnPageCommand(int id, int code, std::int64_t) {
  return code == kCodeEdited && id >= kLevel && id <= kBlur;
}

/// The scanner was set up: it may know other keys now.
int BwPage::paramChanged(const char* key) {
  if (!sameKey(key, key::ScanModesChanged)) return 1;
  for (Slider& slider : m_sliders) {
    takeRange(slider);
    explain(slider);
  }
  return 1;
}

int BwPage::Load(IParam* store) {
  const Loading loading(*this);
  const bool resets = paramInt(store, key::ResetMark) != 0;
  for (const Slider& slider : m_sliders) {
    const CKxVariant stored = paramValue(store, keyOf(slider));
    if (stored.isEmpty() && !resets) continue;
    const auto& [initial, least, most, step] = slider.range;
    const double now = slider.control->value();
    const double value =
        stored.isEmpty() ? initial : std::clamp(std::trunc(stored.toDouble(now)), least, std::max(least, most));
    if (value != now) slider.control->setValue(value);
  }
  return 1;
}

int BwPage::Save(IParam* store) {
  for (const Slider& slider : m_sliders)
    store->SetValue(keyOf(slider), static_cast<std::int32_t>(std::trunc(slider.control->value())));
  return 1;
}

std::string BwPage::GetRefusal() {
  std::vector<UnitSpin*> fields;
  fields.reserve(m_sliders.size());
  for (const Slider& slider : m_sliders) fields.push_back(slider.control->field());
  return finishEdits(fields);
}

}  // namespace quillbay
