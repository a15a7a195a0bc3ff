#include "scanners/sim/sim_scan.h"

#include "platform/base_services.h"
#include "quillbay/errors.h"
#include "quillbay/scan_keys.h"
#include "scanners/scan_request.h"
#include "scanners/sim/sim_core.h"
#include "scanners/sim/sim_rows.h"
#include "scanners/unit_options.h"

namespace quillbay {

namespace {

constexpr std::int32_t kResolutions[] = {50, 75, 100, 150, 200, 300, 400, 600, 800, 1200};

/// False with the reason in `*why` (may be null) for a malformed string or an image that cannot be read.
bool takeDevice(std::string_view deviceString, SimConfig* config, std::string* why) {
  std::string reason;
  try {
    if (parseSimDevice(deviceString, config, &reason)) {
      for (const std::string& image : config->images) SimImageRows{image};
      return true;
    }
  } catch (const CXException& e) {
    reason = e.what();
  }
  if (why) *why = reason;
  return false;
}

}  // namespace

/// The unit of a simulated scanner: answers the panel from its `SimCore`.
class SimUnit final : public CKxUnknownImpl<IScan, IQuillbayUnit, IQuillbayUnitEx, IUnitFault, IUnitOptions,
                                            IUnitResolutionRange, IUnitMedia, IUnitKeyRanges> {
 public:
  explicit SimUnit(SimConfig config) : m_core(std::make_shared<SimCore>(std::move(config))) {}

  std::string GetName() override { return "Simulated scanner"; }

  int GetResolutions(std::vector<UnitResolution>* out, int mode) override {
    out->clear();
    if (!HasMode(mode)) return 0;
    for (const std::int32_t dpi : kResolutions) out->push_back({std::to_string(dpi), dpi});
    return static_cast<int>(out->size());
  }
  int GetRange(int mode, std::int32_t* least, std::int32_t* most) override {
    if (!HasMode(mode)) return 0;
    *least = kSimLeastDpi;
    *most = kSimMostDpi;
    return 1;
  }
  int Scan(IScanSink* sink, IParam* request) override { return m_core->arm(sink, request) ? 1 : 0; }
  int Command(IScanSink* /*sink*/, int code) override {
    switch (static_cast<UnitCommand>(code)) {
      case UnitCommand::Run: return m_core->run() ? 1 : 0;
      case UnitCommand::Stop:
      case UnitCommand::Close: m_core->stop(); return 1;
      case UnitCommand::IsLoaded: return m_core->isLoaded() ? 1 : 0;
      case UnitCommand::UnloadForward:
      case UnitCommand::UnloadBack: m_core->unload(); return 1;
      default: return 0;
    }
  }
  double GetMaxWidth() override { return m_core->config().width; }
  int HasMode(int mode) override { return mode >= 0 && mode <= (m_core->config().colour ? 7 : 5) ? 1 : 0; }
  IConnectionPoint<IScanSink>* GetScanSinks() override { return KxPtr(m_sinks).detach(); }
  double GetMaxLength() override { return m_core->config().length; }
  int GetCentring() override { return m_core->config().centring; }

  /// There are no keys on a simulated scanner: nothing is ever sent.
  int SetStationSink(IQuillbaySink* /*sink*/) override { return 1; }

  UnitFault GetFault() override { return m_core->fault(); }

  std::vector<UnitOption> GetOptions() override { return simOptions(m_core->config()); }
  int SetOption(std::string_view name, std::string_view value, std::string* why) override {
    std::string reason;
    const bool ok = m_core->setKey(name, value, &reason);
    if (!ok && why) *why = reason;
    return ok ? 1 : 0;
  }
  /// Nothing: what a simulated scanner is like stands in its device string.
  int SaveOptions(IParam* /*out*/) override { return 1; }
  int LoadOptions(IParam* in) override { return loadUnitOptions(*this, in); }

  int GetSources(std::vector<UnitSource>* out) override {
    *out = {UnitSource::Flatbed, UnitSource::Feeder};
    return 2;
  }
  UnitSource GetSource() override { return m_core->config().flatbed ? UnitSource::Flatbed : UnitSource::Feeder; }
  int SetSource(UnitSource source, std::string* why) override {
    if (source == UnitSource::Duplex)
      return refuseSource(GetName(), source, {UnitSource::Flatbed, UnitSource::Feeder}, why);
    return SetOption("source", source == UnitSource::Flatbed ? "flatbed" : "feeder", why);
  }
  int HasFeeder() override { return m_core->config().flatbed ? 0 : 1; }

  int GetKeyRange(std::string_view key, UnitKeyRange* out) override {
    if (sameKey(key, key::ScanSpeed)) {  // as fast as possible has no other speeds
      if (m_core->config().speed > 0) *out = {kUsualSpeed, 25, kUsualSpeed, 25};
      return m_core->config().speed > 0 ? 1 : 0;
    }
    if (sameKey(key, key::HardBwPoint)) {
      if (!HasMode(kModeGrey)) return 0;
      *out = {0, 0, kMostLevel, 1};
      return 1;
    }
    const auto known = modeKeyRange(sameKey(key, key::Threshold) ? key::numbered(key::Level, 0) : key);
    if (!known || !HasMode(known->mode)) return 0;
    *out = known->range;
    return 1;
  }

 private:
  ~SimUnit() override { m_core->close(); }

  const std::shared_ptr<SimCore> m_core;
  const KxPtr<TConnectionPointImpl<IScanSink>> m_sinks =
      KxPtr<TConnectionPointImpl<IScanSink>>::adopt(new TConnectionPointImpl<IScanSink>);
};

KxPtr<IScan> newSimScan(std::string_view deviceString, std::string* why) {
  SimConfig config;
  if (!takeDevice(deviceString, &config, why)) return {};
  return KxPtr<IScan>::adopt(new SimUnit(std::move(config)));
}

int CheckSimulatedDevice(std::string_view device, std::string* why) {
  SimConfig config;
  return takeDevice(device, &config, why) ? 1 : 0;
}

std::vector<ScannerEntry> listSimScanners() {
  return {{"sim:", "Quillbay", "Simulated scanner", "virtual device"}};
}

}  // namespace quillbay
