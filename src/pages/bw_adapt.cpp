#include "pages/bw_adapt.h"

#include "quillbay/scan_keys.h"
#include "ui_bw_adapt.h"

namespace quillbay {

CBWAdapt::CBWAdapt(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode)
    : BwPage(controller, std::move(params), mode), m_form(std::make_unique<Ui::BWAdapt>()) {}

CBWAdapt::~CBWAdapt() = default;

void CBWAdapt::createForm(int) {
  m_form->setupUi(this);
  setUp(
      {{key::Level, m_form->level, m_form->levelLabel, m_form->levelHelp, false},
       {key::BackgroundSuppression, m_form->suppression, m_form->suppressionLabel, m_form->suppressionHelp, false},
       {key::SoftenSharpen, m_form->sharpness, m_form->sharpnessLabel, m_form->sharpnessHelp, true},
       {key::Blur, m_form->blur, m_form->blurLabel, m_form->blurHelp, true}},
      m_form->note);
}

}  // namespace quillbay
