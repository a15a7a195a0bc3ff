#pragma once
#include <string>

#include "control/panel_host.h"
#include "quillbay/scanner.h"

namespace quillbay {

/// A panel's scanner: finds and opens it, and passes the panel's calls on. User-interface thread only; a call of
/// the unit may run an event loop and throw `WindowGone`.
class ScannerConnection {
 public:
  ScannerConnection(const PanelLife& life, IScanSink* sink) : m_life(life), m_sink(KxPtr<IScanSink>::share(sink)) {}

  /// Opens the current scanner; while it is none that the panel can use, the user may choose another one. False
  /// when there is none. `station` gets the scanner's keys.
  [[nodiscard]] bool connect(CSharedScanParams& params, const PanelHost& host, IQuillbaySink* station);
  /// Takes the unit's bed, centring and colours, which its setup may have changed.
  void learn(CSharedScanParams& params) const;
  /// Tells the unit nothing more.
  void disconnect();

  [[nodiscard]] bool isConnected() const noexcept { return static_cast<bool>(m_unit); }
  [[nodiscard]] IQuillbayUnit* unit() const noexcept { return m_unit.get(); }
  /// The scanner's own name: its settings store.
  [[nodiscard]] const std::string& name() const noexcept { return m_name; }
  /// Writes the current device into the host's settings.
  void remember() const;

  int command(UnitCommand code) const;
  /// Whether a document is loaded, or the device cannot tell.
  [[nodiscard]] bool isLoaded() const;
  /// Hands the settings of a request over, and arms the unit for `run`.
  [[nodiscard]] bool take(IParam* request) const;
  [[nodiscard]] bool run() const { return command(UnitCommand::Run) != 0; }
  [[nodiscard]] UnitFault fault() const;
  /// Whether the next document of a batch comes by itself; also where the device cannot tell.
  [[nodiscard]] bool hasFeeder() const;
  /// Whether documents lie on a bed, anywhere along it; false where the device cannot tell.
  [[nodiscard]] bool isFlatbed() const;
  /// Whether the scanner scans with its own settings; then mode, area and answers of the panel are set for it.
  [[nodiscard]] bool takeDirectMode(CSharedScanParams& params) const;

 private:
  [[nodiscard]] bool openCurrent(CSharedScanParams& params, const PanelHost& host);
  void initialiseManager(IApp* app);

  const PanelLife& m_life;
  KxPtr<IScanSink> m_sink;
  KxPtr<IScanManager> m_manager;
  KxPtr<IQuillbayUnit> m_unit;
  std::string m_name;
};

}  // namespace quillbay
