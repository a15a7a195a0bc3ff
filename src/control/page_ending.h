#pragma once
#include "control/panel_parts.h"
#include "control/scan_router.h"

namespace quillbay {

/// What comes after the last line of a page: the document's way out, the writer's end, the destination, and what
/// became of the run's file. User-interface thread only; messages run event loops.
class PageEnding {
 public:
  explicit PageEnding(PanelParts& parts) : m_parts(parts) {}

  /// The scanner has said what it will deliver: where the page goes counts from now on. False when it can have no
  /// file.
  [[nodiscard]] bool begin(const ScanStarted& started);
  /// The device is through with a page: the document goes its way, and the writer finishes; `done` is called with
  /// `dialog` (any thread) when it has. False when nothing is to be waited for.
  [[nodiscard]] bool release(bool cancelled, void (*done)(void*), void* dialog);
  /// Hands the page to the destination.
  [[nodiscard]] PageEnd handOver(bool cancelled, std::int64_t lines);
  /// Nobody takes the open page.
  void drop();
  /// Unloads the document as the settings say.
  void unload() const;
  /// Empties the stores and unloads the document.
  void leaveDocument();
  /// The run is over: tells what has not been told, and lets the destination name the run's file.
  void endRun();

 private:
  void tellStoreError();

  PanelParts& m_parts;
  ScanStarted m_started;
};

}  // namespace quillbay
