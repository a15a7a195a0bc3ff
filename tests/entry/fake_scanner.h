#pragma once
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quillbay/app.h"
#include "quillbay/scan_keys.h"
#include "quillbay/scanner.h"
#include "stores/scan_buffer.h"

namespace quillbay {

/// A scanner as a test wants it. It delivers its page, grey, in two stripes.
class FakeUnit final : public CKxUnknownImpl<IScan, IQuillbayUnit, IQuillbayUnitEx, IUnitFault, IUnitMedia> {
 public:
  std::string GetName() override { return "fake"; }
  int GetResolutions(std::vector<UnitResolution>* out, int) override {
    if (onCall) onCall("GetResolutions");
    *out = {{"100", 100}, {"400", 400}};
    return 2;
  }
  int Scan(IScanSink* sink, IParam* request) override {
    if (onCall) onCall("Scan");
    m_sink = KxPtr<IScanSink>::share(sink);
    modes.push_back(paramInt(request, key::Mode, -1));
    types.push_back(paramInt(request, key::RequestType, -1));
    m_dpi = static_cast<std::uint32_t>(paramInt(request, key::ImageDpi, 100));
    m_armed = new_MemParam();
    Param_CopyTo(request, m_armed.get());
    return 1;
  }
  int Command(IScanSink*, int code) override {
    commands.push_back(code);
    if (onCall) onCall("Command " + std::to_string(code));
    if (code == static_cast<int>(UnitCommand::IsLoaded)) return 1;
    if (code != static_cast<int>(UnitCommand::Run)) return 1;
    ran.push_back(m_armed);
    deliver();
    return 1;
  }
  double GetMaxWidth() override { return 300; }
  int HasMode(int mode) override {
    return mode == kModeGrey || (mode == kModeDirect && direct) || (mode == kModePalette && palette) ? 1 : 0;
  }
  IConnectionPoint<IScanSink>* GetScanSinks() override { return nullptr; }
  double GetMaxLength() override { return 0; }
  int GetCentring() override { return 0; }
  UnitFault GetFault() override { return fault; }
  int GetSources(std::vector<UnitSource>* out) override {
    *out = {feeder ? UnitSource::Feeder : UnitSource::Flatbed};
    return 1;
  }
  UnitSource GetSource() override { return feeder ? UnitSource::Feeder : UnitSource::Flatbed; }
  int SetSource(UnitSource, std::string*) override { return 0; }
  int HasFeeder() override { return feeder ? 1 : 0; }
  int SetStationSink(IQuillbaySink*) override { return 1; }
  int DetectsMedia() override { return media ? 1 : 0; }
  int GetMedia(MeasuredMedia* out) override { return *out = *media, 1; }
  int GetMediaRect(tagRRECT* out) override { return *out = {0, 0, 0, pulledIn}, pulledIn > 0 ? 1 : 0; }

  bool direct = false, feeder = true, palette = false;
  std::function<void(const std::string& call)> onCall;
  std::vector<int> commands, modes, types;
  std::vector<KxPtr<IParam>> ran;      ///< the requests that were run
  std::optional<MeasuredMedia> media;  ///< what it measures by itself
  double pulledIn = 0;                 ///< millimetres, before a scan of found media begins
  UnitFault fault;                     ///< what its pages end with
  std::chrono::milliseconds pause{};   ///< between the halves of a page; 0: within the call that runs it

 private:
  void deliver() {
    constexpr KxSize kSize{400, 64};
    const auto sink = std::exchange(m_sink, nullptr);
    sink->ScanStarted(KxColorSpace::Grey, kSize.width, kSize.height, m_dpi);
    const KxSize half{kSize.width, kSize.height / 2};
    give(*sink, half);
    const auto rest = [this, sink, half] {
      give(*sink, half);
      sink->ScanEnded(fault.code == UnitFaultCode::None ? 1 : 2);
    };
    if (pause.count() == 0) return rest();
    QTimer::singleShot(pause, rest);
  }
  void give(IScanSink& sink, KxSize size) const {
    const auto stripe = KxPtr<CIScanBuffer>::adopt(new CIScanBuffer(m_dpi, size, KxColorSpace::Grey, nullptr));
    const std::vector<std::uint8_t> line(static_cast<std::size_t>(size.width), 128);
    for (std::int32_t y = 0; y < size.height; ++y) stripe->AddLine(y, line.data());
    sink.StripeArrived(0, stripe.get(), 0);
  }

  KxPtr<IScanSink> m_sink;
  KxPtr<IParam> m_armed;
  std::uint32_t m_dpi = 100;
};

/// An application object with one scanner; all else is another one's.
class FakeScannerApp final : public CKxUnknownImpl<IApp, IScanManager> {
 public:
  FakeScannerApp(IApp* host, KxPtr<FakeUnit> unit) : m_host(KxPtr<IApp>::share(host)), m_unit(std::move(unit)) {}
  int QueryInterface(const std::type_info& wanted, void** out) override {
    return CKxUnknownImpl::QueryInterface(wanted, out) ? 1 : m_host->QueryInterface(wanted, out);
  }
  std::string GetProductName() override { return m_host->GetProductName(); }
  int List(std::vector<ScannerEntry>*, std::string*) override { return 1; }
  IScan* GetCurrent() override { return KxPtr<IScan>::share(m_unit.get()).detach(); }
  int SetCurrent(std::string_view, std::string*) override { return 1; }
  int Choose(int) override { return 0; }
  int Initialise(std::string_view, IParam*, int) override { return 1; }
  std::string GetScannerName(IScan*) override { return "fake"; }
  int Remember() override { return 1; }
  int HasCurrent() override { return 1; }
  int GetChoices(std::vector<ScannerEntry>*) override { return 0; }

 private:
  KxPtr<IApp> m_host;
  KxPtr<FakeUnit> m_unit;
};

}  // namespace quillbay
