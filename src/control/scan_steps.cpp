#include "control/scan_steps.h"

#include "analysis/gamma_table.h"

namespace quillbay {

namespace {

class NoDetection final : public IAreaDetection {
 public:
  bool IsOffered() const override { return false; }
  int Detect(IParam*, int) override { return 1; }
  bool AreaFound() const override { return false; }
};

class NoPalette final : public IPalettePrescan {
 public:
  bool IsNeeded(IParam*) const override { return false; }
  int Run(IParam*, int, EndCause*, UnitFault*) override { return 1; }
  void Forget() override {}
};

class CurveTables final : public IColorTables {
 public:
  void Put(IParam* request) override { putGammaTable(request); }
};

class NoStraightening final : public IStraightening {
 public:
  void Begin(const StraighteningBasis&) override {}
  KxPtr<IScanBuffer> Pass(IScanBuffer* stripe, std::int64_t) override { return KxPtr<IScanBuffer>::share(stripe); }
};

NoDetection s_detection;
NoPalette s_palette;
CurveTables s_tables;

}  // namespace

ScanSteps::ScanSteps()
    : detection(&s_detection),
      palette(&s_palette),
      colors(&s_tables),
      straightening(std::make_shared<NoStraightening>()) {}

}  // namespace quillbay
