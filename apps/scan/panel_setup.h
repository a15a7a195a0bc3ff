#pragma once
#include <string>

#include "failure.h"
#include "output_choice.h"
#include "quillbay/control.h"
#include "quillbay/host.h"
#include "quillbay/quillbay.h"
#include "reporter.h"
#include "scan_options.h"
#include "scanner_choice.h"

/// Brings the options into a panel.
class PanelSetup {
 public:
  /// `saved`: the user has saved settings for this scanner.
  PanelSetup(quillbay::IApp* app, quillbay::IQuillbaySink* sink, const ScannerChoice& scanner,
             const ScanOptions& options, Reporter& reporter, bool saved);

  /// Checks everything and sets it; nothing is created. Throws Failure that names what is wrong and lists what is
  /// allowed: usage, or device for what this device does not offer. A format that the options leave open is filled
  /// in.
  void apply(OutputChoice& output, bool writesFile);

 private:
  void applyPreset();
  void tellScript(std::int32_t preset) const;
  /// Whether the preset has values of a page.
  [[nodiscard]] bool presetHolds(std::int32_t page) const;
  void checkPaged(const OutputChoice& output) const;
  void applyMode();
  void applyResolution();
  void applyArea();
  void applyDeskew();
  void tellDeskew();
  void applyBursting();
  void applyOutput(const OutputChoice& output);
  void completeFormat(OutputChoice& output);
  void applyFormatOptions(const OutputChoice& output);
  /// Parts --set into parameters, set at once, and page keys, applied together.
  void chooseSliders(const std::vector<ScanOptions::KeyValue>& settings);
  void applySettings(bool writesFile);
  /// Where --set does not.
  void choosePreviewResolution();
  /// Sets a parameter; `what` is the option that it comes from.
  void set(const std::string& key, const quillbay::CKxVariant& value, const std::string& what, ExitStatus status);
  void checkOnBed(const ScanOptions::KeyValue& pair, const quillbay::CKxVariant& value) const;
  void tellChanged(const ScanOptions::KeyValue& asked, const quillbay::CKxVariant& wanted,
                   const quillbay::CKxVariant& taken) const;
  [[nodiscard]] int number(const std::string& key) const;

  quillbay::IApp* m_app;
  quillbay::IQuillbaySink* m_sink;
  quillbay::KxPtr<quillbay::IQuillbayControl> m_control;
  const ScannerChoice& m_scanner;
  const ScanOptions& m_options;
  Reporter& m_reporter;
  const bool m_saved;
  std::vector<std::int32_t> m_presetPages;
};
