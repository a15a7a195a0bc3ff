#pragma once
/// Ready stripes of drawings, scanned by the simulated scanner before a clock runs.
#include <string>
#include <vector>

#include "platform/base_services.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "scanners/lines/line_pipeline.h"
#include "scanners/sim/sim_scan.h"
#include "stores/event.h"

namespace quillbay::bench {

/// Keeps the stripes of a simulated scan.
class Collector final : public CKxUnknownImpl<IScanSink> {
 public:
  int ScanEnded(int) override {
    m_done.set();
    return 1;
  }
  int QueryContinue() override { return 1; }
  int ScanStarted(KxColorSpace, std::int64_t, std::int64_t, std::uint32_t) override { return 1; }
  int StripeArrived(std::int64_t, IScanBuffer* stripe, std::int64_t) override {
    stripes.push_back(KxPtr<IScanBuffer>::share(stripe));
    return 1;
  }
  void wait() { m_done.wait(); }
  std::vector<KxPtr<IScanBuffer>> stripes;

 private:
  Event m_done{Event::Kind::Manual};
};

/// Scans a map of 860 mm into `sink`, which has to wait for the end; the unit has to live until then.
inline KxPtr<IQuillbayUnit> scanMap(IScanSink* sink, int mode, int dpi, double lengthMm) {
  std::string why;
  const auto scan = newSimScan("sim:width=900,size=860x5000,at=10x5,seed=4,drawing=map", &why);
  const auto unit = scan.as<IQuillbayUnit>();
  const auto request = new_MemParam();
  request->SetValue(key::Mode, mode);
  request->SetValue(key::ImageDpi, dpi);
  request->SetValue(key::Rect, tagRRECT{0, 0, 880, lengthMm});
  request->SetValue(key::RequestType, 2);
  unit->Scan(sink, request.get());
  unit->Command(sink, 0);
  return unit;
}

/// A drawing of some megabytes as ready stripes of a scan mode.
inline std::vector<KxPtr<IScanBuffer>> drawing(int mode, int dpi, double lengthMm) {
  const auto sink = KxPtr<Collector>::adopt(new Collector);
  const auto unit = scanMap(sink.get(), mode, dpi, lengthMm);
  sink->wait();
  return std::move(sink->stripes);
}

}  // namespace quillbay::bench
