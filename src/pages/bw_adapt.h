#pragma once
#include <memory>

#include "pages/bw_page.h"

namespace Ui {
class BWAdapt;
}

namespace quillbay {

/// The page of "BW Adaptive" and "BW Copy Adaptive": level, background suppression, soften/sharpen and blur.
class CBWAdapt final : public BwPage {
 public:
  CBWAdapt(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode);
  ~CBWAdapt() override;

 protected:
  void createForm(int mode) override;

 private:
  std::unique_ptr<Ui::BWAdapt> m_form;
};

}  // namespace quillbay
