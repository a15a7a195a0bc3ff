#include "pages/rgb_dlg.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "pages/field_texts.h"
#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scan_mode.h"
#include "ui_rgb_dlg.h"
#include "widgets/number_spin.h"
#include "widgets/spin_scroll_edit.h"

namespace quillbay {

namespace {

constexpr int kMostPercent = 100, kMostHue = 180;

int truncated(const CSpinScrollEdit& control) { return static_cast<int>(std::trunc(control.value())); }

}  // namespace

CRGBDlg::CRGBDlg(QWidget* parent)
    : CDialog(parent), m_form(std::make_unique<Ui::RGBDlg>()), m_sharpen{key::SoftenSharpen}, m_blur{key::Blur} {
  m_form->setupUi(this);
  m_sharpen.label = m_form->sharpenLabel;
  m_sharpen.control = m_form->sharpen;
  m_blur.label = m_form->blurLabel;
  m_blur.control = m_form->blur;
  attachControls();
}

CRGBDlg::~CRGBDlg() = default;

std::vector<CRGBDlg::Slider> CRGBDlg::sliders() const {
  return {{key::Brightness, m_form->brightnessLabel, m_form->brightness, kMostPercent},
          {key::Contrast, m_form->contrastLabel, m_form->contrast, kMostPercent},
          {key::Hue, m_form->hueLabel, m_form->hue, kMostHue},
          {key::Saturation, m_form->saturationLabel, m_form->saturation, kMostPercent},
          {key::RedBalance, m_form->redLabel, m_form->red, kMostPercent},
          {key::GreenBalance, m_form->greenLabel, m_form->green, kMostPercent},
          {key::BlueBalance, m_form->blueLabel, m_form->blue, kMostPercent}};
}

void CRGBDlg::initialise(IQuillbayUnit* unit, int mode) {
  m_mode = mode;
  for (const Slider& s : sliders()) {
    s.control->SetUp(nullptr, 0, 0, -s.most, s.most, 1);
    describe(*s.label, *s.control);
  }
  bool any = false;
  for (Filter* f : {&m_blur, &m_sharpen}) {
    setUp(*f, unit);
    f->label->setVisible(f->isKnown);
    f->control->setVisible(f->isKnown);
    any = any || f->isKnown;
    describe(*f->label, *f->control);
  }
  m_form->filters->setVisible(any);
}

void CRGBDlg::setMode(IQuillbayUnit* unit, int mode) {
  for (Filter* f : {&m_blur, &m_sharpen}) {
    if (f->isKnown) f->ofMode[m_mode] = truncated(*f->control);
  }
  m_mode = mode;
  for (Filter* f : {&m_blur, &m_sharpen}) {
    setUp(*f, unit);
    f->label->setEnabled(f->isKnown);
    f->control->setEnabled(f->isKnown);
    if (!f->isKnown) continue;
    // Another mode may have been without it.
    f->label->show();
    f->control->show();
    m_form->filters->show();
  }
}

void CRGBDlg::setUp(Filter& filter, IQuillbayUnit* unit) const {
  UnitKeyRange range{0, 0, 1, 1};
  const auto ranges = query<IUnitKeyRanges>(unit);
  filter.isKnown = ranges && ranges->GetKeyRange(key::numbered(filter.stem, m_mode), &range) != 0;
  if (!filter.isKnown) range = {1, 1, 2, 1};
  filter.range = range;
  const auto kept = filter.ofMode.find(m_mode);
  const double value = filter.isKnown && kept != filter.ofMode.end() ? kept->second : range.initial;
  filter.control->SetUp(nullptr, 0, range.initial, range.least, range.most, 1);
  show(filter, value);
}

void CRGBDlg::show(const Filter& filter, double value) {
  const double least = filter.range.least, most = std::max(least, filter.range.most);
  filter.control->setValue(std::clamp(value, least, most));
}

void CRGBDlg::describe(const QLabel& label, const CSpinScrollEdit& control) const {
  describeSlider(control, label, control.toolTip());
  showNotesOf(*control.field(), m_form->note);
}

void CRGBDlg::Load(IParam* params, bool keepsMissing) {
  for (const Slider& s : sliders()) {
    const int missing = keepsMissing ? truncated(*s.control) : 0;
    s.control->setValue(std::clamp(paramInt(params, s.key, missing), -s.most, s.most));
  }
  const bool resets = paramInt(params, key::ResetMark) != 0;
  for (Filter* f : {&m_blur, &m_sharpen}) {
    if (resets) f->ofMode.clear();
    for (int mode = kModeGrey; mode <= kModeRgb; ++mode) {
      const CKxVariant stored = paramValue(params, key::numbered(f->stem, mode));
      if (!stored.isEmpty()) f->ofMode[mode] = stored.toInt();
    }
    const CKxVariant stored = paramValue(params, key::numbered(f->stem, m_mode));
    if (!stored.isEmpty() && f->isKnown) show(*f, stored.toInt());
    if (stored.isEmpty() && resets) show(*f, f->range.initial);
  }
}

void CRGBDlg::Save(IParam* params) const {
  for (const Slider& s : sliders()) params->SetValue(s.key, truncated(*s.control));
  for (const Filter* f : {&m_blur, &m_sharpen}) {
    for (const auto& [mode, value] : f->ofMode) params->SetValue(key::numbered(f->stem, mode), value);
    // Of a filter that the unit does not know, what was loaded stays.
    if (f->isKnown || f->ofMode.count(m_mode) == 0)
      params->SetValue(key::numbered(f->stem, m_mode), truncated(*f->control));
  }
}

std::string CRGBDlg::finishEdits() {
  std::vector<UnitSpin*> fields;
  for (const Slider& s : sliders()) fields.push_back(s.control->field());
  for (const Filter* f : {&m_blur, &m_sharpen}) fields.push_back(f->control->field());
  return quillbay::finishEdits(fields);
}

bool CRGBDlg::OnCommand(int id, int code, std::int64_t) {
  if (code != kCodeEdited || id < kBrightness || id > kBlur) return false;
  if (onChanged) onChanged();
  return true;
}

}  // namespace quillbay
