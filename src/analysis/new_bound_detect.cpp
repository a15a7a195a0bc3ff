#include "analysis/bound_detect.h"
#include "params/shared_scan_params.h"
#include "platform/binarization.h"

namespace quillbay {

namespace {

BoundSettings panelSettings() {
  const ScanValues* values = CSharedScanParams::currentValues();
  if (!values) return {};
  return {values->autoPaper, values->deskew != 0, values->scanType};
}

double serviceAngle(IRStor* bitonal) {
  const auto service = query<IRSDeskew>(bitonal);
  double angle = 0;
  return service && service->GetSkewAngle(&angle, nullptr) ? angle : 0;
}

}  // namespace

const BoundServices& panelBoundServices() noexcept {
  static const BoundServices services{panelSettings, new_IRStor, AutoBinarizing, serviceAngle};
  return services;
}

KxPtr<IBoundDetect> new_IBoundDetect() {
  return KxPtr<IBoundDetect>::adopt(new CIBoundDetect(panelBoundServices()));
}

}  // namespace quillbay
