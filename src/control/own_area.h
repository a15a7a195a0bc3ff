#pragma once
#include "control/scan_run.h"
#include "params/shared_scan_params.h"

namespace quillbay {

/// While one lives, `key::RcScan` is the area that the user chose, also in a burst, which moves it from piece to
/// piece: for whatever saves, reports or changes settings. Stores silently. Nothing that scans runs meanwhile.
class OwnArea {
 public:
  OwnArea(CSharedScanParams& params, ScanRun& run)
      : m_params(params), m_run(run), m_moved(params.values().rcScan), m_burst(run.burst()) {
    if (m_burst) m_params.quiet().rcScan = run.ownArea();
  }
  ~OwnArea() {
    if (!m_burst) return;
    m_run.setOwnArea(m_params.values().rcScan);  // a host may have changed it
    m_params.quiet().rcScan = m_moved;
  }
  OwnArea(const OwnArea&) = delete;
  OwnArea& operator=(const OwnArea&) = delete;

 private:
  CSharedScanParams& m_params;
  ScanRun& m_run;
  const tagRRECT m_moved;
  const bool m_burst;
};

}  // namespace quillbay
