#pragma once
#include <memory>

#include "pages/bw_page.h"

namespace Ui {
class BWThresh;
}

namespace quillbay {

/// The page of "BW Threshold", "BW Copy Normal" and "BW Copy Photo": level, soften/sharpen and blur.
class CBWThresh final : public BwPage {
 public:
  CBWThresh(IPanelController& controller, KxPtr<CSharedScanParams> params, int mode);
  ~CBWThresh() override;

 protected:
  void createForm(int mode) override;

 private:
  std::unique_ptr<Ui::BWThresh> m_form;
};

}  // namespace quillbay
