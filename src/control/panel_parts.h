#pragma once
#include <functional>

#include "control/panel_host.h"
#include "control/panel_pages.h"
#include "control/scan_run.h"
#include "control/scan_steps.h"
#include "control/scanner_connection.h"
#include "destinations/file_destination.h"
#include "params/shared_scan_params.h"
#include "platform/scan_to.h"

namespace quillbay {

class IPresetManager;
class PanelStatus;
class SearchScan;

/// What carries out a run, for the classes that share its steps. All of it is the panel's and outlives them.
struct PanelParts {
  CSharedScanParams& params;
  ScanRun& run;
  PanelHost& host;
  ScannerConnection& scanner;
  PanelPages& pages;
  ScanSteps& steps;
  CScanTo* destination = nullptr;        ///< from the panel's start-up on
  PanelStatus* status = nullptr;         ///< from the start-up on
  SearchScan* search = nullptr;          ///< never null for a step of a run
  const void* owner = nullptr;           ///< what `CSharedScanParams::runs` is while this panel runs
  std::function<void()> stateChanged{};  ///< shows the run's state
  std::function<void()> areaFound{};     ///< shows a new scan area
  KxPtr<IParam> previewSettings{};       ///< the request of the preview that is shown; null without one
  IPresetManager* presets = nullptr;     ///< never null for a change of the settings
  bool keepsRasters = false;             ///< the host reads pages while they are scanned
  /// Settings changed without a broadcast; whether the mode did.
  std::function<void(bool modeChanged)> settingsApplied{};

  /// Whether another panel of the process runs: scanner and stores are its own meanwhile.
  [[nodiscard]] bool othersRun() const noexcept { return params.runs && params.runs != owner; }
  [[nodiscard]] ScanValues& quiet() const { return params.quiet(); }
  [[nodiscard]] const ScanValues& values() const { return params.values(); }
  /// The view store's raster with a reference, or null.
  [[nodiscard]] IRStor* viewRaster() const {
    IRStor* raster = nullptr;
    params.viewStore->Finish(&raster, 0, 0);
    return raster;
  }
  /// The destination as one that names files, or null.
  [[nodiscard]] IFileDestination* files() const { return dynamic_cast<IFileDestination*>(destination); }
};

}  // namespace quillbay
