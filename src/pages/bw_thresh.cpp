#include "pages/bw_thresh.h"

#include "quillbay/scan_keys.h"
#include "ui_bw_thresh.h"

namespace quillbay {

CBWThresh::CBWThresh(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode)
    : BwPage(controller, std::move(params), mode), m_form(std::make_unique<Ui::BWThresh>()) {}

CBWThresh::~CBWThresh() = default;

void CBWThresh::createForm(int) {
  m_form->setupUi(this);
  setUp({{key::Level, m_form->level, m_form->levelLabel, m_form->levelHelp, false},
         {key::SoftenSharpen, m_form->sharpness, m_form->sharpnessLabel, m_form->sharpnessHelp, true},
         {key::Blur, m_form->blur, m_form->blurLabel, m_form->blurHelp, true}},
        m_form->note);
}

}  // namespace quillbay
