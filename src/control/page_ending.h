#pragma once
#include "control/panel_parts.h"
#include "control/scan_router.h"

namespace quillbay {

/// Pixels that the lines of a scan have when they are handed on: fewer than the device's where it is straightened.
[[nodiscard]] std::int64_t pageWidth(const ScanStarted& scan);
/// The lines that a page is going to have: of a straightened one those of its sheet. -1 when unknown.
[[nodiscard]] std::int64_t pageLines(const ScanStarted& scan);

/// What follows the last line of a page: the document is unloaded, the writer finishes, the destination takes the
/// page, and the run's file gets its name. User-interface thread only; messages run event loops.
class PageEnding {
 public:
  explicit PageEnding(PanelParts& parts) : m_parts(parts) {}

  /// The scanner has said what it will deliver: where the page goes counts from now on. False when it can have no
  /// file.
  [[nodiscard]] bool begin(const ScanStarted& started) const;
  /// The device has delivered a page: a batch unloads its document, and the writer finishes; it calls `done` with
  /// `dialog` (any thread) when it has. False when there is nothing to wait for.
  [[nodiscard]] bool release(const ScanStarted& page, bool cancelled, void (*done)(void*), void* dialog);
  /// Hands the page to the destination. `lines` is the number of lines that the device has delivered.
  [[nodiscard]] PageEnd handOver(const ScanStarted& page, bool cancelled, std::int64_t lines);
  /// Drops the open page.
  void drop();
  /// Unloads the document as the settings say.
  void unload() const;
  /// Empties the stores and unloads the document.
  void leaveDocument();
  /// The run is over: shows what the user has not been told, and lets the destination name the run's file. A
  /// message that throws is thrown on when the file has its name.
  void endRun();

 private:
  void tellFaults();
  void endFile();
  void tellStoreError();

  PanelParts& m_parts;
};

}  // namespace quillbay
