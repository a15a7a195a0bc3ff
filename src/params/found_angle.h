#pragma once
#include "params/found_text.h"
#include "params/shared_scan_params.h"

namespace quillbay {

/// Switches "Auto deskew". Switched off, the document that was found stays, and is scanned as it lies; the user may
/// turn it all the same.
inline void setDeskew(CSharedScanParams& params, bool straightens) {
  ScanValues& v = params.quiet();
  const bool was = v.deskew != 0;
  v.deskew = straightens ? 1 : 0;
  if (!was || straightens || v.found.angle == 0) return;
  v.found.angle = v.skew = 0;
  v.found.sheet = {v.found.box.width(), v.found.box.height()};
  v.found.paper = paperOfSize(params.papers, v.found.sheet);
  params.NotifyParam(scan_key::RcScan.name);
}

}  // namespace quillbay
