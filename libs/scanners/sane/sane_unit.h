#pragma once
#include <memory>
#include <string>
#include <vector>

#include "quillbay/scanner.h"
#include "scanners/sane/sane_core.h"
#include "scanners/unit_options.h"

namespace quillbay {

/// The scanner unit of a SANE device.
///
/// - An area without a length ("RECT" with top = bottom) goes to the device's longest scan when its source feeds
///   sheets, since a feeder finds their end; elsewhere it is `key::PaperLength` millimetres long, or without that
///   as long as the bed. A device without an area (webcams, the "pnm" driver) delivers what it has, and the unit
///   cuts the area out of it; without a resolution of its own, its pages get the request's.
/// - "BW Threshold" without filters uses the device's own line art where it has some and takes the level (or none
/// is
///   asked for). The other black-and-white modes are made from its grey, or are its line art if it has no grey.
/// - "batchmode" with a feeder: the next page is started without a cancel in between.
/// - `SetOption` does not take what a request settles: mode, resolution and the area's corners.
class SaneUnit final : public CKxUnknownImpl<IScan, IQuillbayUnit, IUnitFault, IUnitOptions, IUnitResolutionRange,
                                             IUnitMedia, IUnitKeyRanges> {
 public:
  SaneUnit(std::shared_ptr<SaneCore> core, std::string name);

  std::string GetName() override { return m_name; }

  int GetResolutions(std::vector<UnitResolution>* out, int mode) override;
  int Scan(IScanSink* sink, IParam* request) override;
  int Command(IScanSink* sink, int code) override;
  double GetMaxWidth() override { return m_core->capabilities().maxWidth; }
  int HasMode(int mode) override { return m_core->capabilities().offers(mode) ? 1 : 0; }
  /// With a reference.
  IConnectionPoint<IScanSink>* GetScanSinks() override { return KxPtr(m_sinks).detach(); }
  double GetMaxLength() override { return m_core->capabilities().maxLength; }
  int GetRange(int mode, std::int32_t* least, std::int32_t* most) override;
  /// Coordinates of SANE devices begin at the left edge of the bed.
  int GetCentring() override { return 2; }

  UnitFault GetFault() override { return m_core->fault(); }

  std::vector<UnitOption> GetOptions() override;
  int SetOption(std::string_view name, std::string_view value, std::string* why) override;
  int SaveOptions(IParam* out) override;
  int LoadOptions(IParam* in) override { return loadUnitOptions(*this, in); }

  int GetSources(std::vector<UnitSource>* out) override;
  UnitSource GetSource() override;
  int SetSource(UnitSource source, std::string* why) override;
  int HasFeeder() override { return GetSource() != UnitSource::Flatbed ? 1 : 0; }

  /// What the black-and-white modes take; the level of "BW Threshold" starts where the device's own threshold
  /// stands. A device without grey has levels only.
  int GetKeyRange(std::string_view key, UnitKeyRange* out) override;

 private:
  ~SaneUnit() override;

  const std::shared_ptr<SaneCore> m_core;
  const std::string m_name;
  const KxPtr<TConnectionPointImpl<IScanSink>> m_sinks;
};

/// Opens a SANE device. `name` is the scanner's name for its settings; empty: the device's. Null with the reason in
/// `*fault` when it cannot be opened. `finder` (may be null) finds the device when it comes back under another
/// name.
[[nodiscard]] KxPtr<IScan> newSaneScan(IApp* app, const std::string& device, const std::string& name,
                                       UnitFault* fault, std::shared_ptr<ScannerFinder> finder = {});

}  // namespace quillbay
